// A map as an SVG picture: the y axis points up as in the game's world,
// with a grid of labelled coordinates and a scale bar.
#pragma once

#include <ostream>
#include <vector>

#include "QV_MapDumps.h"

struct QV_MapPicture {
  QV_MapDumps dumps;
  std::vector<QV_MapOutline> inflated;  // drawn dashed around the obstacles
  std::vector<QV_MapOutline> paths;     // open polylines
  int size = 800;                       // pixels of the longer side of the map
};

// Points that are not finite are left out; a picture without points shows
// the unit square.
void QV_writeMapSvg(std::ostream& out, const QV_MapPicture& picture);
