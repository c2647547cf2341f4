// The command line of qvdemo.
#pragma once

#include <cstdint>
#include <string>

struct DemoOptions {
  std::uint64_t seed = 1;
  int units = 40;
  int frames = 1800;  // 30 game seconds at the fixed step
  std::string out = "demo.svg";
  std::string mapFile;        // empty: the scene compiled into the program
  std::string positionsFile;  // empty: none written
  float speed = 0.0f;         // game seconds per real second; 0 runs unpaced
  bool saveHalfway = true;
  bool countInstructions = true;  // false: one VM_execute slice per machine and frame
  bool help = false;
};

// The fixed simulation step in game seconds: the world advances by exactly
// this much per frame, however fast or slow the frames come.
constexpr float kDemoStep = 1.0f / 60.0f;

// Parses argv[1..]. Returns false with a one-line message in `error` for an
// unknown option, a missing or bad value.
bool parseDemoOptions(int argc, const char* const* argv, DemoOptions& options, std::string& error);

// The --help text.
const char* demoUsage();
