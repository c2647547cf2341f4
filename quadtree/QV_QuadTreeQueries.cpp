// The queries of QV_QuadTree. All share one traversal: the search box is
// turned into a range of cells at every level, and each object of those cells
// is tested against the query's shape, then the exclusion list, then the filter.
#include <cmath>
#include <cstring>

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
        const QV_QuadTreeCell& cell = cells[gridRow[column]];
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

// Binds a shape test to what is done with each object that passes.
template <class Shape, class Action>
struct Examiner {
  Shape inShape;
  Action& action;
  void operator()(void* object, const KX_Point2D& position, const KX_Point2D& size) { action(object, position, size); }
};

template <class Shape, class Action>
Examiner<Shape, Action> examine(Shape shape, Action& action) {
  return Examiner<Shape, Action>{shape, action};
}

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
  traverse(box, exclude, filter, filterData, examine(inBox, nearest));
  return nearest.best;
}

void* QV_QuadTree::findNearestObjectInCircle(const KX_Point2D& point, const KX_Circle& circle, KX_ObjectFilter* filter,
                                             int filterData, const KX_ObjectArray* exclude) const {
  NearestSearch nearest{point};
  auto inCircle = [&circle](const KX_Point2D& position, const KX_Point2D& size) {
    return circleMeetsBox(circle, position, size);
  };
  traverse(circleArea(circle), exclude, filter, filterData, examine(inCircle, nearest));
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
  traverse(area, exclude, filter, filterData, examine(inTriangle, nearest));
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
  traverse(box, exclude, filter, filterData, examine(inBox, collect));
}

void QV_QuadTree::getObjectListFromCircle(KX_ObjectArray& result, const KX_Circle& circle, KX_ObjectFilter* filter,
                                          int filterData, const KX_ObjectArray* exclude) const {
  KX_AABox2D area = circleArea(circle);
  if (!prepareList(result, area, objectCount, bounds)) return;
  ListCollector collect{result};
  auto inCircle = [&circle](const KX_Point2D& position, const KX_Point2D& size) {
    return circleMeetsBox(circle, position, size);
  };
  traverse(area, exclude, filter, filterData, examine(inCircle, collect));
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
  traverse(area, exclude, filter, filterData, examine(inTriangle, collect));
}
