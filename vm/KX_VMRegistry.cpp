// The registry's object rows: one helper per host object and machine.
#include "vm/KX_VMRegistry.h"

#include "vm/VM_HelperObjectInterface.h"

VM_HelperObjectInterface* KX_VMRegistry::findHelper(const void* machine, VM_ObjectInterface* host) {
  if (host == nullptr || machines == nullptr) return nullptr;
  const int index = find(machine);
  if (index < 0) return nullptr;
  // The host row is sorted by address; the helper row runs parallel to it.
  KX_VoidPtrArray* hosts = static_cast<KX_VoidPtrArray*>(hostObjectRows->at(index));
  KX_VoidPtrArray* helpers = static_cast<KX_VoidPtrArray*>(helperRows->at(index));
  const int found = hosts->findSorted(host);
  if (found >= 0) return static_cast<VM_HelperObjectInterface*>(helpers->at(found));
  VM_HelperObjectInterface* helper = VM_HelperObjectInterface::create(host);
  if (helper == nullptr) return nullptr;
  const int position = hosts->findInsertPosition(host);
  hosts->insert(position, host);
  helpers->insert(position, helper);
  return helper;
}
