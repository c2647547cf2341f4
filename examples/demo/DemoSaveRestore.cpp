#include "DemoSaveRestore.h"

#include <cstdio>

#include "qv_helper/qv_helper.h"

namespace {

// What the host keeps of one machine: bytes and ids, no library pointer.
struct StoredMachine {
  std::vector<unsigned char> image;
  std::vector<int> unitIds;  // the save's objects, in its order
};

int unitIdOf(const VM_ObjectInterface* object, const std::vector<std::unique_ptr<DemoUnit>>& units) {
  for (const auto& unit : units) {
    if (static_cast<const VM_ObjectInterface*>(unit.get()) == object) return unit->id;
  }
  return -1;
}

}  // namespace

bool saveAndRestoreMachines(std::vector<void*>& machines, const std::vector<std::unique_ptr<DemoUnit>>& units,
                            DemoSaveReport& report, std::string& error) {
  std::vector<StoredMachine> stored(machines.size());
  for (std::size_t i = 0; i < machines.size(); ++i) {
    void* image = nullptr;
    int imageSize = 0;
    VM_ObjectInterface** objects = nullptr;
    int objectCount = 0;
    VM_saveCurrentState(machines[i], image, imageSize, objects, objectCount);
    if (image == nullptr) {
      error = "machine " + std::to_string(i) + " saved no image";
      return false;
    }
    const unsigned char* bytes = static_cast<const unsigned char*>(image);
    stored[i].image.assign(bytes, bytes + imageSize);
    for (int k = 0; k < objectCount; ++k) stored[i].unitIds.push_back(unitIdOf(objects[k], units));
    VM_deleteCurrentState(machines[i], image, objects);
    for (int id : stored[i].unitIds) {
      if (id < 0) {
        error = "machine " + std::to_string(i) + " holds an object that is no unit";
        return false;
      }
    }
    report.bytes += imageSize;
  }

  for (void*& machine : machines) {
    VM_deleteVirtualMachine(machine);
    machine = nullptr;
  }
  for (std::size_t i = 0; i < machines.size(); ++i) {
    machines[i] = VM_createVirtualMachine();
    if (machines[i] == nullptr) {
      error = "no memory for a machine";
      return false;
    }
    std::vector<VM_ObjectInterface*> objects;
    for (int id : stored[i].unitIds) objects.push_back(units[static_cast<std::size_t>(id)].get());
    const int result =
        VM_restoreCurrentStateChecked(machines[i], stored[i].image.data(), static_cast<int>(stored[i].image.size()),
                                      objects.empty() ? nullptr : objects.data(), static_cast<int>(objects.size()));
    if (result != 0) {
      char code[16];
      std::snprintf(code, sizeof code, "0x%x", result);
      error = "machine " + std::to_string(i) + ": its image was refused (" + code + ")";
      return false;
    }
    ++report.machines;
  }
  return true;
}
