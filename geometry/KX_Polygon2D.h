// A simple polygon: the points in order, the edge from the last point back to
// the first implied. Orientation, convexity and an ear-clipping triangulation
// are computed on first use and cached; `flags` tells which caches are valid.
// The same class serves as an open polyline where `closed` is asked for.
//
// Changing the points through this class keeps the caches honest: adding or
// moving points drops them all, removing points keeps only the orientation.
// Code that writes through the buffer calls `invalidate` afterwards. Queries
// fill the caches, so even they must not run on two threads at once.
#pragma once

#include <cstdint>

#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "geometry/KX_LineSegment2D.h"
#include "geometry/KX_PointSet2D.h"

class KX_AABox2D;
class KX_PolygonList2D;

class KX_Polygon2D : public KX_PointSet2D {
 public:
  static constexpr std::uint8_t kCounterClockwiseValid = 0x01;
  static constexpr std::uint8_t kConvexValid = 0x02;
  static constexpr std::uint8_t kTrianglesValid = 0x08;

  KX_Polygon2D() : KX_PointSet2D(32) {}
  // Copies n points.
  KX_Polygon2D(const KX_Point2D* points, int n);
  ~KX_Polygon2D() override = default;

  KX_Base* newInstance() const override { return new KX_Polygon2D(); }
  // The points, then the cached values that the source holds.
  void copyFrom(const KX_Base* source) override;
  void invalidate() override;

  // Point changes that keep the caches consistent.
  int insert(int position, KX_Point2D point);
  int append(KX_Point2D point) { return insert(count, point); }
  void set(int index, KX_Point2D point);
  void remove(int index);
  void removeRange(int position, int n);
  void resize(int n);
  void clear();

  // By the sign of the summed corner turns (not always the sign of the area on
  // deep concave outlines); fewer than 3 points, or a sum of exactly zero,
  // count as counter-clockwise.
  bool isCounterClockwise();
  // No corner turns left while another turns right; straight corners don't count.
  bool isConvex();
  // Sum of the edge lengths; the closing edge only if `closed`.
  float getLength(bool closed) const;
  // Containment, borders included, through the cached triangulation.
  bool contains(const KX_Point2D& point);
  // Three vertex indices per triangle into `result`, which may be `triangles`.
  void triangulate(KX_IntArray& result);

  // Ray parameters of the edge crossings, in edge order; near-repeats dropped.
  int getRayHits(const KX_Point2D& origin, const KX_Point2D& direction, KX_FloatArray& parameters) const;
  // Crossing points of the ray, in edge order; a ray through a vertex counts once.
  int getRayIntersections(const KX_Point2D& origin, const KX_Point2D& direction, KX_PointSet2D& points) const;
  // Crossing points of the segment (or its line), in edge order.
  int getSegmentIntersections(const KX_LineSegment2D& segment, KX_PointSet2D& points, bool clipToSegment) const;
  bool intersectsSegment(const KX_LineSegment2D& segment, bool clipToSegment) const;
  // The outline crosses or touches the box outline; a polygon wholly inside
  // the box, or a box wholly inside the polygon, doesn't.
  bool intersectsBox(const KX_AABox2D& box) const;

  // How this polygon and `other` lie to each other: at most one of the three
  // results is true. `overlap`: the outlines cross; `insideOther`: this
  // polygon lies in `other`; `otherInside`: `other` lies in this one.
  void getRelation(KX_Polygon2D& other, bool& overlap, bool& insideOther, bool& otherInside);
  // Replaces this polygon by the outer outline of its union with `other`,
  // which keeps its points (only its caches may fill).
  void unionWith(KX_Polygon2D& other);
  // Moves every edge inwards by `distance` (outwards if negative), with
  // sharp corners, then removes crossings of the outline.
  void shrink(float distance);
  void expand(float distance) { shrink(-distance); }
  // Cuts the loops that crossings of the outline close off, keeping the
  // piece with the longest outline here; the other pieces go to `pieces`
  // (cleared first) or are deleted if it is null.
  void splitSelfIntersections(KX_PolygonList2D* pieces);

  void reverse();
  // Removes repeated points and points on a straight line between their
  // neighbours (cross product below `epsilon`, an absolute threshold).
  void simplify(bool closed);

  // Edge i runs from point i to point i + 1, the last one back to point 0.
  KX_LineSegment2D getEdge(int index) const {
    return KX_LineSegment2D{at(index), at(index + 1 < count ? index + 1 : 0)};
  }

  std::uint8_t flags = 0;
  bool counterClockwise = true;
  bool convex = true;
  KX_IntArray triangles;

 private:
  // The flags bits that removing points leaves valid.
  void pointsRemoved();
  bool triangleClaims(int a, int b, int c, const KX_Point2D& point, bool counterClockwiseOrder) const;
  bool sidesClaim(int a, int b, int c, const float* values, const KX_Point2D& point, bool counterClockwiseOrder) const;
  bool isEar(const KX_IntArray& remaining, int aPosition, int cPosition) const;
};
