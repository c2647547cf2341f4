// qvdemo: a small game on the qv_helper library, run from the command line.
// It runs with no arguments: the scene and the scripts are compiled in.
#include <cstdio>
#include <fstream>
#include <sstream>

#include "DemoAssets.h"
#include "DemoLoop.h"
#include "DemoMap.h"
#include "DemoOptions.h"
#include "DemoSvg.h"

int main(int argc, char** argv) {
  DemoOptions options;
  std::string error;
  if (!parseDemoOptions(argc, argv, options, error)) {
    std::fprintf(stderr, "qvdemo: %s\n(qvdemo --help lists the options)\n", error.c_str());
    return 2;
  }
  if (options.help) {
    std::fputs(demoUsage(), stdout);
    return 0;
  }

  std::string mapText = reinterpret_cast<const char*>(kDemoDefaultMap);
  std::string mapName = "default.map";
  if (!options.mapFile.empty()) {
    std::ifstream file(options.mapFile, std::ios::binary);
    if (!file) {
      std::fprintf(stderr, "qvdemo: cannot read %s\n", options.mapFile.c_str());
      return 2;
    }
    std::ostringstream text;
    text << file.rdbuf();
    mapText = text.str();
    mapName = options.mapFile;
  }
  DemoMap map;
  if (!parseDemoMap(mapText, mapName, map, error)) {
    std::fprintf(stderr, "qvdemo: %s\n", error.c_str());
    return 2;
  }

  DemoGame game(options, map);
  if (!game.setUp(error) || !game.run(error)) {
    std::fprintf(stderr, "qvdemo: %s\n", error.c_str());
    return 1;
  }
  game.printSummary(stdout);
  if (!writeDemoSvg(options.out, game.world(), game.units(), game.legend(), error) ||
      (!options.positionsFile.empty() && !game.writePositions(options.positionsFile, error))) {
    std::fprintf(stderr, "qvdemo: %s\n", error.c_str());
    return 1;
  }
  std::printf("  picture        %s\n", options.out.c_str());
  return game.stats().scriptErrors == 0 ? 0 : 1;
}
