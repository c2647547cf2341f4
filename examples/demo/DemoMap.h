// A scene's obstacles in the demo's small text format (see default.map):
//   border x y x y ...     inflation r     box x y width height     polygon x y x y ...
#pragma once

#include <string>
#include <vector>

struct DemoMap {
  std::vector<float> border;  // x, y pairs
  float inflation = 1.5f;
  // Boxes become four-point polygons here: the path finder builds its graph
  // from one list, and a scene mixes both.
  std::vector<float> points;     // every obstacle's x, y pairs, one after the other
  std::vector<int> pointCounts;  // points per obstacle
  std::vector<bool> isBox;       // per obstacle, for the picture's legend only

  float width() const;   // the largest border x
  float height() const;  // the largest border y
};

// Reads a scene. Returns false with "name:line: message" in `error` for a
// line it cannot read, or "name: no border" when the text has none.
bool parseDemoMap(const std::string& text, const std::string& name, DemoMap& map, std::string& error);
