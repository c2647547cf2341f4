// A plain point of two floats. Equal when both coordinates are exactly equal;
// ordered by x, then by y.
#pragma once

struct KX_Point2D {
  float x;
  float y;

  bool operator==(const KX_Point2D& other) const { return x == other.x && y == other.y; }
  bool operator!=(const KX_Point2D& other) const { return !(*this == other); }
  bool operator<(const KX_Point2D& other) const { return x < other.x || (x == other.x && y < other.y); }
};
