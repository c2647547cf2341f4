// The checked restore of untrusted bytes, for the restore target.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "QV_FuzzCheck.h"
#include "QV_FuzzShape.h"
#include "QV_FuzzSnapshot.h"
#include "QV_FuzzStateLayout.h"
#include "qv_helper/qv_helper.h"
#include "vm/KX_VirtualMachine.h"

namespace qvfuzz {

// One checked restore from a block of exactly `size` bytes. A refusal must
// give one of the restore's codes and leave the machine as it was; a
// restored machine must be in shape.
inline int restoreChecked(void* machine, const unsigned char* image, std::size_t size, VM_ObjectInterface** objects,
                          int objectCount) {
  const KX_VirtualMachine& m = *static_cast<const KX_VirtualMachine*>(machine);
  const QV_FuzzSnapshot before(m);
  const int result = VM_restoreCurrentStateChecked(machine, image, static_cast<int>(size), objects, objectCount);
  if (result != 0) {
    QV_FUZZ_CHECK(result == VM_ERROR_MAGIC || result == VM_ERROR_VERSION || result == VM_ERROR_CHECKSUM ||
                      result == VM_ERROR_FORMAT,
                  "a refused restore gives one of its result codes");
    QV_FUZZ_CHECK(QV_FuzzSnapshot(m) == before, "a refused restore leaves the machine as it was");
  } else {
    checkShape(m);
  }
  return result;
}

}  // namespace qvfuzz
