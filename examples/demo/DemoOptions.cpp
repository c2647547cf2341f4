#include "DemoOptions.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace {

bool parseInt(const std::string& text, long long low, long long high, long long& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  errno = 0;
  value = std::strtoll(text.c_str(), &end, 10);
  return errno == 0 && *end == '\0' && value >= low && value <= high;
}

bool parseFloat(const std::string& text, float low, float high, float& value) {
  if (text.empty()) return false;
  char* end = nullptr;
  value = std::strtof(text.c_str(), &end);
  return *end == '\0' && std::isfinite(value) && value >= low && value <= high;
}

}  // namespace

const char* demoUsage() {
  return "usage: qvdemo [options]\n"
         "Runs a small game on the qv_helper library: units driven by scripts walk a map\n"
         "of obstacles, find paths, watch each other and drop obstacles and barriers.\n"
         "Writes an SVG picture of the run and prints a summary.\n"
         "\n"
         "  --seed N        the seed of the scene's random choices (default 1)\n"
         "  --units N       number of units, 1 to 1000 (default 40); every fourth is a guard\n"
         "  --frames N      frames to run, 1 to 10000000 (default 1800); each frame is a\n"
         "                  fixed step of 1/60 game second\n"
         "  --out FILE      the SVG picture (default demo.svg)\n"
         "  --map FILE      the obstacles, in the text format of examples/demo/default.map\n"
         "                  (default: that scene, compiled into the program)\n"
         "  --speed S       pace the frames by the game timer at S game seconds per real\n"
         "                  second, 0.01 to 100; without it the frames run as fast as\n"
         "                  they can. The outcome is the same either way.\n"
         "  --positions FILE  write each unit's final position and script counters\n"
         "  --no-save       skip the save and restore of every machine halfway\n"
         "  --slices        run each machine in one VM_execute slice per frame instead of\n"
         "                  one instruction at a time (faster; instructions not counted)\n"
         "  --help          this text\n"
         "\n"
         "A progress line goes to standard error when it is a terminal. The path finder\n"
         "leaves its debugging dumps (obstacles, obstacleborder, dynobstacles) in the\n"
         "working directory; tools/qvmap draws them. Bad options exit with 2.\n";
}

bool parseDemoOptions(int argc, const char* const* argv, DemoOptions& options, std::string& error) {
  for (int i = 1; i < argc; ++i) {
    std::string name = argv[i];
    std::string value;
    bool hasValue = false;
    const std::size_t equals = name.find('=');
    if (name.rfind("--", 0) == 0 && equals != std::string::npos) {
      value = name.substr(equals + 1);
      name = name.substr(0, equals);
      hasValue = true;
    }
    const bool flag = name == "--help" || name == "-h" || name == "--no-save" || name == "--slices";
    if (flag) {
      if (hasValue) {
        error = "option " + name + " takes no value";
        return false;
      }
      if (name == "--no-save") {
        options.saveHalfway = false;
      } else if (name == "--slices") {
        options.countInstructions = false;
      } else {
        options.help = true;
      }
      continue;
    }
    const bool known = name == "--seed" || name == "--units" || name == "--frames" || name == "--out" ||
                       name == "--map" || name == "--speed" || name == "--positions";
    if (!known) {
      error = "unknown option '" + name + "'";
      return false;
    }
    if (!hasValue) {
      if (i + 1 >= argc) {
        error = "option " + name + " needs a value";
        return false;
      }
      value = argv[++i];
    }
    long long number = 0;
    if (name == "--seed") {
      if (!parseInt(value, 0, 0x7FFFFFFFFFFFFFFFll, number)) {
        error = "--seed needs a whole number from 0, not '" + value + "'";
        return false;
      }
      options.seed = static_cast<std::uint64_t>(number);
    } else if (name == "--units") {
      if (!parseInt(value, 1, 1000, number)) {
        error = "--units needs a whole number from 1 to 1000, not '" + value + "'";
        return false;
      }
      options.units = static_cast<int>(number);
    } else if (name == "--frames") {
      if (!parseInt(value, 1, 10000000, number)) {
        error = "--frames needs a whole number from 1 to 10000000, not '" + value + "'";
        return false;
      }
      options.frames = static_cast<int>(number);
    } else if (name == "--speed") {
      if (!parseFloat(value, 0.01f, 100.0f, options.speed)) {
        error = "--speed needs a number from 0.01 to 100, not '" + value + "'";
        return false;
      }
    } else if (value.empty()) {
      error = "option " + name + " needs a file name";
      return false;
    } else if (name == "--out") {
      options.out = value;
    } else if (name == "--map") {
      options.mapFile = value;
    } else {
      options.positionsFile = value;
    }
  }
  return true;
}
