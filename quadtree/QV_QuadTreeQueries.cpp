// The queries of QV_QuadTree. All share one traversal: the search box is
// turned into a range of cells at every level, and each object of those cells
// is tested against the query's shape, then the exclusion list, then the filter.
#include <cmath>
#include <cstring>
#include <limits>

#include "geometry/KX_Polygon2D.h"
#include "quadtree/QV_QuadTree.h"

namespace {

// Bounds of a list query result's growth step.
constexpr int kMinResultGrowStep = 0x100;
constexpr int kMaxResultGrowStep = 0x1000;

int clampToGrid(int index, int last) {
  if (index < 0) return 0;
  return index > last ? last : index;
}

KX_AABox2D objectBox(const KX_Point2D& position, const KX_Point2D& size) {
  return KX_AABox2D(position.x, position.y, size.x, size.y);
}

// Whether a box query can meet an object of the cell: an object that passes
// `intersectsBox` has x <= the area's right end and x + width >= its x, and
// both ends lie within its group's bounds, so a group whose lowest x lies
// right of the area, or whose highest x left of it (likewise on y), holds no
// such object. NaN in the area fails every comparison and passes the cell on.
struct BoxReach {
  float left;
  float bottom;
  float right;
  float top;

  explicit BoxReach(const KX_AABox2D& area)
      : left(area.x), bottom(area.y), right(area.x + area.width), top(area.y + area.height) {}

  bool operator()(QV_QuadTreeCellReach& reach, const QV_QuadTreeCell& cell) const {
    const QV_QuadTreeCellReach::Box* groups = reach.get(cell);
    for (int g = 0; g < 2; ++g) {
      const QV_QuadTreeCellReach::Box& group = groups[g];
      if (!(group.minX > right || group.maxX < left || group.minY > top || group.maxY < bottom)) return true;
    }
    return false;
  }
};

// A cheap test that passes every object the exact circle test can accept, so
// that the exact test runs only on what lies about the circle's box.
//
// Everything is measured from the centre: a, b are the box's two x ends (x and
// x + width, the float sum the exact test uses too) minus the centre's x, and
// likewise on y. The object is passed over only if both ends lie beyond
// limit = |radius| + (|radius| + R) * 2^-8 + 1e-18 on the same side of one
// axis, R being the sum of the four |end - centre|.
//
// Why this never passes over an object the exact test accepts: each way the
// exact test accepts yields a point P of the box (between its ends) that lies
// within |radius| of the centre up to rounding: the centre itself for
// `containsCircle`, a corner for `containsBox`, a point of an edge for
// `intersectsSegment`. The first two compare values formed by one or two float
// operations, which err by a few units of 2^-24 of the values involved, all
// below |radius| + R. The quadratic of `intersectsSegment` loses most: its
// discriminant b^2 - 4ac cancels, with an error of a few 2^-24 of |s|^2 and
// radius^2 (s the edge's start relative to the centre), which moves the
// accepted distance of the line from the centre by at most about
// 2^-11 * (|s| + |radius|), and its roots along the line by as much; |s| <= R.
// The margin of 2^-8 covers these bounds several times over. Squares of
// differences below 1e-19 lose their relative precision (they underflow),
// which the absolute 1e-18 covers; a radius whose square overflows makes
// `containsBox` accept every box, so for a radius of 1e18 or more nothing is
// passed over. NaN anywhere makes R or the limit NaN, every comparison false,
// and the object goes to the exact test; so do infinite ends.
struct CirclePretest {
  float centreX;
  float centreY;
  float radius;  // |radius|, or +inf where no object may be passed over

  explicit CirclePretest(const KX_Circle& circle)
      : centreX(circle.x), centreY(circle.y), radius(std::fabs(circle.radius)) {
    if (!(radius < 1e18f)) radius = std::numeric_limits<float>::infinity();
  }

  // Both ends beyond the limit on one side of either axis.
  bool beyond(float ax, float bx, float ay, float by, float sum) const {
    float limit = radius + (radius + sum) * 0.00390625f + 1e-18f;
    float below = -limit;
    return (ax > limit && bx > limit) || (ax < below && bx < below) || (ay > limit && by > limit) ||
           (ay < below && by < below);
  }

  bool excludes(const KX_Point2D& position, const KX_Point2D& size) const {
    float ax = position.x - centreX;
    float bx = (position.x + size.x) - centreX;
    float ay = position.y - centreY;
    float by = (position.y + size.y) - centreY;
    float sum = std::fabs(ax) + std::fabs(bx) + std::fabs(ay) + std::fabs(by);
    return beyond(ax, bx, ay, by, sum);
  }

  // Every box of a group has its ends within the group's bounds, so after the
  // (monotonic) subtraction of the centre its a and b lie between the group's,
  // and its sum is at most twice the group's: the group's limit is at least
  // each box's, and a group beyond it holds only boxes that `excludes` passes over.
  bool reaches(QV_QuadTreeCellReach& reach, const QV_QuadTreeCell& cell) const {
    const QV_QuadTreeCellReach::Box* groups = reach.get(cell);
    for (int g = 0; g < 2; ++g) {
      const QV_QuadTreeCellReach::Box& group = groups[g];
      float ax = group.minX - centreX;
      float bx = group.maxX - centreX;
      float ay = group.minY - centreY;
      float by = group.maxY - centreY;
      float sum = 2.0f * (std::fabs(ax) + std::fabs(bx)) + 2.0f * (std::fabs(ay) + std::fabs(by));
      if (!beyond(ax, bx, ay, by, sum)) return true;
    }
    return false;
  }
};

KX_AABox2D circleArea(const KX_Circle& circle) {
  return KX_AABox2D(circle.x - circle.radius, circle.y - circle.radius, 2.0f * circle.radius, 2.0f * circle.radius);
}

// The circle meets the box: the box holds the circle, the circle holds the
// box, or the outline crosses one of the box's edges.
bool circleMeetsBox(const KX_Circle& circle, const KX_Point2D& position, const KX_Point2D& size) {
  KX_AABox2D box = objectBox(position, size);
  if (box.containsCircle(circle) || circle.containsBox(box)) return true;
  float left = position.x;
  float right = position.x + size.x;
  float bottom = position.y;
  float top = position.y + size.y;
  const KX_LineSegment2D edges[4] = {
      {{left, bottom}, {left, top}},
      {{right, bottom}, {right, top}},
      {{left, bottom}, {right, bottom}},
      {{left, top}, {right, top}},
  };
  for (const KX_LineSegment2D& edge : edges) {
    if (circle.intersectsSegment(edge, true)) return true;
  }
  return false;
}

// The view triangle from `origin`: its apex there, its height the length of
// `direction`, its sides `halfAngle` to either side of it. With a direction
// of zero length, or a half angle of a right angle or more, the sides never
// reach the far side and there is no triangle: false, and the queries find
// nothing.
bool makeViewTriangle(const KX_Point2D& origin, const KX_Point2D& direction, float halfAngle, KX_Polygon2D& triangle,
                      KX_AABox2D& area) {
  float cosine = std::cos(halfAngle);
  float sine = std::sin(halfAngle);
  KX_Point2D r1{direction.x * cosine + direction.y * sine, -direction.x * sine + direction.y * cosine};
  KX_Point2D r2{direction.x * cosine - direction.y * sine, direction.x * sine + direction.y * cosine};
  // The far side runs through origin + direction, at right angles to it. A
  // side line origin + t * r meets it where t * (r . direction) equals
  // |direction|^2 (the cross products with the far side's direction).
  float heightSquared = direction.x * direction.x + direction.y * direction.y;
  float along1 = r1.x * direction.x + r1.y * direction.y;
  float along2 = r2.x * direction.x + r2.y * direction.y;
  if (!(heightSquared > 0.0f) || !(along1 > 0.0f) || !(along2 > 0.0f)) return false;
  float t1 = heightSquared / along1;
  float t2 = heightSquared / along2;
  KX_Point2D p1{origin.x + r2.x * t2, origin.y + r2.y * t2};
  KX_Point2D p2{origin.x + r1.x * t1, origin.y + r1.y * t1};
  if (!std::isfinite(p1.x) || !std::isfinite(p1.y) || !std::isfinite(p2.x) || !std::isfinite(p2.y)) return false;
  triangle.append(origin);
  triangle.append(p1);
  triangle.append(p2);
  float minX = std::fmin(origin.x, std::fmin(p1.x, p2.x));
  float minY = std::fmin(origin.y, std::fmin(p1.y, p2.y));
  float maxX = std::fmax(origin.x, std::fmax(p1.x, p2.x));
  float maxY = std::fmax(origin.y, std::fmax(p1.y, p2.y));
  area = KX_AABox2D(minX, minY, maxX - minX, maxY - minY);
  return true;
}

// The triangle meets the box: it holds a corner of the box, or the box holds
// all its vertices, or (only where `edgesCross` is asked) an edge crosses the box.
bool triangleMeetsBox(KX_Polygon2D& triangle, const KX_Point2D& position, const KX_Point2D& size, bool edgesCross) {
  float x = position.x;
  float y = position.y;
  float w = size.x;
  float h = size.y;
  const KX_Point2D corners[4] = {{x, y}, {x + w, y + h}, {x + w, y}, {x, y + h}};
  for (const KX_Point2D& corner : corners) {
    if (triangle.contains(corner)) return true;
  }
  bool allInside = true;
  for (int i = 0; i < triangle.getCount() && allInside; ++i) {
    const KX_Point2D& v = triangle.at(i);
    allInside = 0.0f <= v.x - x && v.x - x <= w && 0.0f <= v.y - y && v.y - y <= h;
  }
  if (allInside) return true;
  return edgesCross && triangle.intersectsBox(objectBox(position, size));
}

// Nearest by the squared distance to the box centre; of equal distances the
// first one met stays.
struct NearestSearch {
  KX_Point2D point;
  void* best = nullptr;
  float bestDistance = 0.0f;

  void operator()(void* object, const KX_Point2D& position, const KX_Point2D& size) {
    float dx = position.x + size.x / 2.0f - point.x;
    float dy = position.y + size.y / 2.0f - point.y;
    float distance = dx * dx + dy * dy;
    if (best == nullptr || distance < bestDistance) {
      best = object;
      bestDistance = distance;
    }
  }
};

}  // namespace

template <class Accept>
void QV_QuadTree::traverse(const KX_AABox2D& area, const KX_ObjectArray* exclude, KX_ObjectFilter* filter,
                           int filterData, Accept&& accept) const {
  int x0 = toCellIndex((area.x - bounds.x) * cellsPerUnitX);
  int y0 = toCellIndex((area.y - bounds.y) * cellsPerUnitY);
  int x1 = toCellIndex((area.x + area.width - bounds.x) * cellsPerUnitX);
  int y1 = toCellIndex((area.y + area.height - bounds.y) * cellsPerUnitY);

  // A private sorted copy: the caller's list keeps its order and is never written.
  KX_VoidPtrArray excluded(32);
  bool excluding = exclude != nullptr && exclude->getCount() > 0;
  if (excluding) {
    int n = exclude->getCount();
    excluded.resize(n);
    std::memcpy(static_cast<void*>(excluded.getBuffer()), static_cast<const void*>(exclude->getBuffer()),
                sizeof(void*) * n);
    excluded.sort();
  }

  int levelCount = levels.getCount();
  for (int level = 0; level < levelCount; ++level) {
    int shift = levelCount - 1 - level;
    int last = (1 << level) - 1;
    int firstColumn = clampToGrid(x0 >> shift, last);
    int lastColumn = clampToGrid(x1 >> shift, last);
    int firstRow = clampToGrid(y0 >> shift, last);
    int lastRow = clampToGrid(y1 >> shift, last);
    const KX_2DIntArray& grid = getGrid(level);
    for (int row = firstRow; row <= lastRow; ++row) {
      const int* gridRow = grid.getRow(row);
      for (int column = firstColumn; column <= lastColumn; ++column) {
        int index = gridRow[column];
        const QV_QuadTreeCell& cell = cells[index];
        if (!accept.reaches(reaches[index], cell)) continue;
        int n = cell.objects.getCount();
        void* const* objects = cell.objects.getBuffer();
        const KX_Point2D* positions = cell.positions.getBuffer();
        const KX_Point2D* sizes = cell.sizes.getBuffer();
        for (int i = 0; i < n; ++i) {
          void* object = objects[i];
          if (!accept.inShape(positions[i], sizes[i])) continue;
          if (excluding && excluded.findSorted(object) >= 0) continue;
          if (filter != nullptr && !filter->isObjectAccepted(object, filterData)) continue;
          accept(object, positions[i], sizes[i]);
        }
      }
    }
  }
}

namespace {

// Binds a shape test, and a test that tells which cells may hold objects that
// pass it, to what is done with each object that passes.
template <class Reach, class Shape, class Action>
struct Examiner {
  Reach reaches;
  Shape inShape;
  Action& action;
  void operator()(void* object, const KX_Point2D& position, const KX_Point2D& size) { action(object, position, size); }
};

template <class Reach, class Shape, class Action>
Examiner<Reach, Shape, Action> examine(Reach reach, Shape shape, Action& action) {
  return Examiner<Reach, Shape, Action>{reach, shape, action};
}

// Every cell may hold objects that pass.
struct AnyCell {
  bool operator()(QV_QuadTreeCellReach&, const QV_QuadTreeCell&) const { return true; }
};

struct ListCollector {
  KX_ObjectArray& result;
  void operator()(void* object, const KX_Point2D&, const KX_Point2D&) { result.append(static_cast<KX_Base*>(object)); }
};

}  // namespace

namespace {

// Empties a list query's result and sizes its growth by the area's share of
// the tree. False for an area without width or height: the list stays empty.
bool prepareList(KX_ObjectArray& result, const KX_AABox2D& area, int objectCount, const KX_AABox2D& bounds) {
  result.clear();
  result.elementsBorrowed = true;
  if (area.width <= 0.0f || area.height <= 0.0f) return false;
  float share = objectCount * area.width * area.height / (bounds.width * bounds.height);
  int growStep = share < static_cast<float>(kMaxResultGrowStep) ? static_cast<int>(share) : kMaxResultGrowStep;
  result.growStep = growStep < kMinResultGrowStep ? kMinResultGrowStep : growStep;
  return true;
}

}  // namespace

void* QV_QuadTree::findNearestObjectInAABox(const KX_Point2D& point, const KX_AABox2D& box, KX_ObjectFilter* filter,
                                            int filterData, const KX_ObjectArray* exclude) const {
  NearestSearch nearest{point};
  // A private copy, so that the area's fields stay in registers through the loop.
  auto inBox = [area = box](const KX_Point2D& position, const KX_Point2D& size) {
    return area.intersectsBox(objectBox(position, size));
  };
  traverse(box, exclude, filter, filterData, examine(BoxReach(box), inBox, nearest));
  return nearest.best;
}

void* QV_QuadTree::findNearestObjectInCircle(const KX_Point2D& point, const KX_Circle& circle, KX_ObjectFilter* filter,
                                             int filterData, const KX_ObjectArray* exclude) const {
  NearestSearch nearest{point};
  CirclePretest pretest(circle);
  auto inCircle = [&circle, pretest](const KX_Point2D& position, const KX_Point2D& size) {
    return !pretest.excludes(position, size) && circleMeetsBox(circle, position, size);
  };
  auto reach = [pretest](QV_QuadTreeCellReach& bounds, const QV_QuadTreeCell& cell) {
    return pretest.reaches(bounds, cell);
  };
  traverse(circleArea(circle), exclude, filter, filterData, examine(reach, inCircle, nearest));
  return nearest.best;
}

// Finds only objects that hold a vertex of the triangle or have a corner in
// it: a box that an edge merely crosses is passed over, unlike in the list query.
void* QV_QuadTree::findNearestObjectInSegment(const KX_Point2D& point, const KX_Point2D& direction, float halfAngle,
                                              KX_ObjectFilter* filter, int filterData,
                                              const KX_ObjectArray* exclude) const {
  KX_Polygon2D triangle;
  KX_AABox2D area;
  if (!makeViewTriangle(point, direction, halfAngle, triangle, area)) return nullptr;
  NearestSearch nearest{point};
  auto inTriangle = [&triangle](const KX_Point2D& position, const KX_Point2D& size) {
    return triangleMeetsBox(triangle, position, size, false);
  };
  traverse(area, exclude, filter, filterData, examine(AnyCell(), inTriangle, nearest));
  return nearest.best;
}

void QV_QuadTree::getObjectListFromAABox(KX_ObjectArray& result, const KX_AABox2D& box, KX_ObjectFilter* filter,
                                         int filterData, const KX_ObjectArray* exclude) const {
  if (!prepareList(result, box, objectCount, bounds)) return;
  ListCollector collect{result};
  // A private copy, so that the area's fields stay in registers through the loop.
  auto inBox = [area = box](const KX_Point2D& position, const KX_Point2D& size) {
    return area.intersectsBox(objectBox(position, size));
  };
  traverse(box, exclude, filter, filterData, examine(BoxReach(box), inBox, collect));
}

void QV_QuadTree::getObjectListFromCircle(KX_ObjectArray& result, const KX_Circle& circle, KX_ObjectFilter* filter,
                                          int filterData, const KX_ObjectArray* exclude) const {
  KX_AABox2D area = circleArea(circle);
  if (!prepareList(result, area, objectCount, bounds)) return;
  ListCollector collect{result};
  CirclePretest pretest(circle);
  auto inCircle = [&circle, pretest](const KX_Point2D& position, const KX_Point2D& size) {
    return !pretest.excludes(position, size) && circleMeetsBox(circle, position, size);
  };
  auto reach = [pretest](QV_QuadTreeCellReach& bounds, const QV_QuadTreeCell& cell) {
    return pretest.reaches(bounds, cell);
  };
  traverse(area, exclude, filter, filterData, examine(reach, inCircle, collect));
}

void QV_QuadTree::getObjectListFromSegment(KX_ObjectArray& result, const KX_Point2D& point, const KX_Point2D& direction,
                                           float halfAngle, KX_ObjectFilter* filter, int filterData,
                                           const KX_ObjectArray* exclude) const {
  KX_Polygon2D triangle;
  KX_AABox2D area;
  if (!makeViewTriangle(point, direction, halfAngle, triangle, area)) {
    result.clear();
    result.elementsBorrowed = true;
    return;
  }
  if (!prepareList(result, area, objectCount, bounds)) return;
  ListCollector collect{result};
  auto inTriangle = [&triangle](const KX_Point2D& position, const KX_Point2D& size) {
    return triangleMeetsBox(triangle, position, size, true);
  };
  traverse(area, exclude, filter, filterData, examine(AnyCell(), inTriangle, collect));
}
