// A small host of the path finder: builds the graph of a map of polygon
// obstacles inside a border, drops a barrier on it, and prints the path from the lower left to the upper right as "x,y x,y ...",
// the form tools/qvmap takes with --path. The graph build and the barrier
// leave their debugging dumps in the working directory, so that
//
//   path_query > path.txt && qvmap --inflation 1 --path "$(cat path.txt)" .
//
// draws the whole scene.
#include <cstdio>

#include "qv_helper/qv_helper.h"

int main() {
  // Four obstacles, one after the other, x, y pairs.
  float coordinates[] = {
      20, 10, 34, 14, 30, 40, 18, 34,          // a leaning block
      45, 45, 70, 48, 66, 60, 50, 62, 42, 55,  // a pentagon
      60, 10, 75, 8, 80, 30, 72, 32,           // a wedge
      10, 55, 25, 52, 28, 80, 14, 76,          // a tall block
  };
  int pointCounts[] = {4, 5, 4, 4};
  float border[] = {0, 0, 95, 0, 95, 90, 0, 90};
  const float inflation = 1.0f;

  FindPath_init();
  void* finder = FindPath_create();
  FindPath_computeGraph(finder, coordinates, pointCounts, 4, inflation, 5, border, 4);

  // A barrier: paths that reach it end just before it. (An obstacle added
  // with false instead is gone round; only barriers are dumped.)
  float fence[] = {84, 60, 86, 60, 86, 88, 84, 88};
  FindPath_addDynamicObstacle(finder, fence, 4, nullptr, true);

  float path[2 * 64];
  int count = FindPath_findPath(finder, path, 64, 5, 5, 90, 80);
  for (int i = 0; i < count; ++i) std::printf("%s%g,%g", i > 0 ? " " : "", path[2 * i], path[2 * i + 1]);
  std::printf("\n");
  FindPath_exit();
  return count > 0 ? 0 : 1;
}
