// The game loop of qvdemo: the scene's units and their machines, run frame
// by frame on the game timer. One DemoGame at a time: it brackets the
// library's families with their *_init and *_exit.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "DemoMap.h"
#include "DemoOptions.h"
#include "DemoStats.h"
#include "DemoUnit.h"
#include "DemoWorld.h"

class DemoGame {
 public:
  DemoGame(const DemoOptions& options, const DemoMap& map);
  ~DemoGame();
  DemoGame(const DemoGame&) = delete;
  DemoGame& operator=(const DemoGame&) = delete;

  // Builds the world, places the units and loads their scripts.
  bool setUp(std::string& error);
  // Runs every frame. False on a failed save or restore.
  bool run(std::string& error);

  void printSummary(std::FILE* out) const;
  std::vector<std::string> legend() const;
  // One line per unit: id, x, y, state and its script's two counters, exactly.
  bool writePositions(const std::string& file, std::string& error) const;

  const DemoWorld& world() const { return *worldPointer; }
  const std::vector<std::unique_ptr<DemoUnit>>& units() const { return unitList; }
  const DemoStats& stats() const { return statistics; }

 private:
  void runFrame(int frame);
  void runScripts();
  // An int of the unit's script memory, by exported symbol name.
  int scriptCounter(std::size_t unit, const char* name) const;
  void showProgress(int frame, bool done) const;

  const DemoOptions& options;
  const DemoMap& map;
  DemoStats statistics;
  std::unique_ptr<DemoWorld> worldPointer;
  std::vector<std::unique_ptr<DemoUnit>> unitList;
  std::vector<void*> machines;  // machines[i] drives unitList[i]
  std::vector<bool> reportedFailure;
  int saveFrame = -1;
  bool progress = false;
  double realSeconds = 0.0;
};
