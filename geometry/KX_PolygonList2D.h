// An owning list of polygons: it deletes them on remove, clear and
// destruction, and a copy clones every polygon. Polygons keep the order in
// which they were appended unless the owner sorts them.
#pragma once

#include "foundation/KX_ObjectArray.h"
#include "geometry/KX_Polygon2D.h"

class KX_PolygonList2D : public KX_ObjectArray {
 public:
  explicit KX_PolygonList2D(int growStep = 32) : KX_ObjectArray(growStep) {}
  ~KX_PolygonList2D() override;
  KX_Base* newInstance() const override { return new KX_PolygonList2D(growStep); }

  KX_Polygon2D* getPolygon(int index) const { return static_cast<KX_Polygon2D*>(at(index)); }
};
