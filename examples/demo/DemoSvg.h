// The picture of a run: obstacles, border, the obstacles and barriers units
// dropped, each unit's trail and last path, and a few lines of legend.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "DemoUnit.h"
#include "DemoWorld.h"

bool writeDemoSvg(const std::string& file, const DemoWorld& world, const std::vector<std::unique_ptr<DemoUnit>>& units,
                  const std::vector<std::string>& legend, std::string& error);
