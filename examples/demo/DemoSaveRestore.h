// The halfway save of qvdemo: every machine is frozen into an image, the
// machines are deleted, and each image comes back in a fresh machine.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "DemoUnit.h"

struct DemoSaveReport {
  int machines = 0;
  long long bytes = 0;  // of all images
};

// Saves machines[i] (driving units[i]) one by one as a host that stores a
// game would: it copies each image into storage of its own, turns the
// objects the save names into unit ids, and gives the library's blocks back.
// Then it deletes every machine and restores each image into a new one,
// with the units looked up by id (a unit's id is its index), and puts the new handles into `machines`.
// False, with a message, if a save names an object that is no unit or an
// image is refused; the machines are then those of the moment of failure.
bool saveAndRestoreMachines(std::vector<void*>& machines, const std::vector<std::unique_ptr<DemoUnit>>& units,
                            DemoSaveReport& report, std::string& error);
