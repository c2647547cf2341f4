// The world of the demo: the map's path finder and the quad tree of the
// units, the frame clock, and the obstacles and barriers units drop.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "DemoMap.h"
#include "DemoRandom.h"
#include "DemoStats.h"

struct DemoDrop {
  std::vector<float> points;  // x, y pairs
  bool barrier = false;
  float start = 0.0f;  // game seconds
  float end = 0.0f;    // when it goes
  bool active = true;
};

class DemoWorld {
 public:
  DemoWorld(const DemoMap& map, DemoStats& stats);
  ~DemoWorld();
  DemoWorld(const DemoWorld&) = delete;
  DemoWorld& operator=(const DemoWorld&) = delete;

  // Builds the visibility graph of the map and an empty tree over the world.
  bool build(std::string& error);

  float time() const;  // game seconds at the current frame
  bool insideBorder(float x, float y) const;
  // Inside the border and outside every static and dynamic obstacle.
  bool isFree(float x, float y) const;
  // A free point drawn from `random`; false if 100 draws found none.
  bool randomFreePoint(DemoRandom& random, float& x, float& y) const;

  // FindPath_findPath into `path` (x, y pairs), timed; the number of points.
  int findPath(float fromX, float fromY, float toX, float toY, std::vector<float>& path);

  // Drops an obstacle (a square) or a barrier (a bar across the direction)
  // a little ahead of (x, y) along (directionX, directionY). Refused, and
  // false, where it would come near another drop or leave the border.
  bool drop(float x, float y, float directionX, float directionY, bool barrier);
  // Takes away the drops whose time is up.
  void expireDrops();

  const DemoMap& map;
  DemoStats& stats;
  void* finder = nullptr;
  void* tree = nullptr;
  int frame = 0;
  const std::deque<DemoDrop>& drops() const { return dropList; }

 private:
  // A deque keeps each drop at its address, the data pointer by which the
  // path finder gives back its index.
  std::deque<DemoDrop> dropList;
};
