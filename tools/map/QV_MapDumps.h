// Reading the path finder's debugging dumps ("obstacles", "obstacleborder",
// "dynobstacles") back into outlines, with a check that each file's size fits
// the counts it announces.
#pragma once

#include <string>
#include <vector>

struct QV_MapPoint {
  float x;
  float y;
};
using QV_MapOutline = std::vector<QV_MapPoint>;

struct QV_MapDumps {
  std::vector<QV_MapOutline> obstacles;
  QV_MapOutline border;   // empty without an "obstacleborder" file
  QV_MapOutline barrier;  // the last barrier added; empty without "dynobstacles"
};

// Reads the three files from `directory`; a missing file leaves its part
// empty. False, with `error` naming the file and what does not fit, when a
// file that exists cannot be read or its size does not fit its counts.
bool QV_readMapDumps(const std::string& directory, QV_MapDumps& dumps, std::string& error);
