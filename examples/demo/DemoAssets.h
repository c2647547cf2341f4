// What the build compiles into qvdemo (EmbedFile.cmake): the assembled
// scripts and the default scene. Each array ends with a zero byte beyond its size.
#pragma once

#include <cstddef>

extern const unsigned char kDemoScript_unit[];
extern const std::size_t kDemoScript_unitSize;
extern const unsigned char kDemoScript_guard[];
extern const std::size_t kDemoScript_guardSize;
extern const unsigned char kDemoDefaultMap[];
extern const std::size_t kDemoDefaultMapSize;
