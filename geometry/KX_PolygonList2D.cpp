#include "geometry/KX_PolygonList2D.h"

// The array's own destructor deletes the polygons unless they are borrowed.
KX_PolygonList2D::~KX_PolygonList2D() = default;
