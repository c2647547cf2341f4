// The build machine of the visibility graph: it inflates the obstacles, merges
// those that overlap, enters them in the static quad tree, joins their corners
// by free lines, drops the corners that no line reaches or that lie outside
// the border, and sorts the corners into the index from position to node.
//
// Every state does a bounded piece of work and the machine runs to its end:
// the merge step removes an obstacle or moves on to the next pair, and node
// removal walks the node indices downwards once.
#include <cmath>
#include <limits>

#include "geometry/KX_Epsilon.h"
#include "pathfinding/KX_VisibilityGraph.h"

namespace {

// Tree bounds reach this far beyond the outermost obstacle on every side.
constexpr float kTreeMargin = 10.0f;

bool isFinite(const KX_Point2D& point) {
  return std::isfinite(point.x) && std::isfinite(point.y);
}

// Drops points with a NaN or infinite coordinate. A corner there could not be
// sorted into the vertex index nor reached by any line; inflating an outline
// with repeated points makes such corners.
void dropNonFinitePoints(KX_Polygon2D& polygon) {
  for (int i = polygon.getCount() - 1; i >= 0; --i) {
    if (!isFinite(polygon.at(i))) polygon.remove(i);
  }
}

}  // namespace

void KX_VisibilityGraph::build(const KX_PolygonList2D& polygons, float inflation, int treeLevels,
                               const KX_Polygon2D* outerBorder) {
  prepareBuild(polygons, inflation, treeLevels, outerBorder);
  while (!buildStep()) {
  }
}

void KX_VisibilityGraph::prepareBuild(const KX_PolygonList2D& polygons, float inflation, int treeLevels,
                                      const KX_Polygon2D* outerBorder) {
  this->inflation = inflation;
  this->treeLevels = treeLevels;
  obstacles.clear();
  border.clear();
  if (outerBorder != nullptr) {
    border.copyFrom(outerBorder);
    dropNonFinitePoints(border);
  }
  obstacleBoxes.clear();
  sortedVertices.clear();
  vertices.clear();
  sortedToNode.clear();
  pathCache.clear();
  // A second build starts from an empty graph: edges of the first one must
  // not survive in the matrices that the new node count only resizes.
  setNodeCount(0);
  int polygonCount = polygons.getCount();
  sortedVertices.growStep = polygonCount > 0 ? 4 * polygonCount : 4;
  delete staticTree;
  staticTree = nullptr;
  // Dynamic obstacles stay listed, but outside any tree until added again.
  delete dynamicTree;
  dynamicTree = nullptr;
  for (int i = 0; i < polygonCount; ++i) {
    KX_Polygon2D* copy = new KX_Polygon2D();
    copy->copyFrom(polygons.getPolygon(i));
    dropNonFinitePoints(*copy);
    if (copy->getCount() == 0) {
      delete copy;
      continue;
    }
    obstacles.append(copy);
  }
  buildIndexA = 0;
  buildIndexB = 0;
  buildState = kBuildStart;
}

bool KX_VisibilityGraph::buildStep() {
  switch (buildState) {
    case kBuildStart:
      boundsMin = KX_Point2D{std::numeric_limits<float>::max(), std::numeric_limits<float>::max()};
      boundsMax = KX_Point2D{-std::numeric_limits<float>::max(), -std::numeric_limits<float>::max()};
      buildIndexB = 0;
      // Without obstacles there is nothing to build: no graph, no tree.
      buildState = obstacles.getCount() > 0 ? kBuildInflate : kBuildFinish;
      return false;
    case kBuildInflate:
      inflateStep();
      return false;
    case kBuildMerge:
      mergeStep();
      return false;
    case kBuildCorners:
      cornersStep();
      return false;
    case kBuildNodes:
      setNodeCount(sortedVertices.getCount());
      buildState = kBuildTree;
      return false;
    case kBuildTree:
      treeStep();
      buildIndexA = 0;
      buildIndexB = 0;
      buildState = kBuildEdges;
      return false;
    case kBuildEdges: {
      int obstacle = buildIndexB;
      addEdgesFrom(obstacle, buildIndexA);
      buildIndexA += obstacles.getPolygon(obstacle)->getCount();
      ++buildIndexB;
      if (buildIndexB >= obstacles.getCount()) {
        buildIndexA = nodeCount - 1;
        buildState = kBuildRemoveNodes;
      }
      return false;
    }
    case kBuildRemoveNodes:
      removeNodeStep();
      return false;
    case kBuildIndex:
      indexStep();
      buildState = kBuildFinish;
      return false;
    default:
      obstacleBoxes.clear();
      buildState = kBuildDone;
      return true;
  }
}

void KX_VisibilityGraph::inflateStep() {
  KX_Polygon2D* obstacle = obstacles.getPolygon(buildIndexB);
  if (inflation > 0.0f) {
    obstacle->expand(inflation);
    dropNonFinitePoints(*obstacle);
  }
  if (obstacle->getCount() == 0) {
    // Inflating a degenerate outline can leave no finite point: the obstacle goes.
    obstacles.remove(buildIndexB);
  } else {
    ++buildIndexB;
  }
  if (buildIndexB < obstacles.getCount()) return;
  if (obstacles.getCount() == 0) {
    buildState = kBuildFinish;
  } else if (obstacles.getCount() < 2) {
    buildIndexB = 0;
    buildState = kBuildCorners;
  } else {
    buildIndexA = 0;
    buildIndexB = 1;
    buildState = kBuildMerge;
  }
}

// One pair: the inner of two nested obstacles goes, two overlapping ones
// become their union, which then meets every later obstacle again.
void KX_VisibilityGraph::mergeStep() {
  int& a = buildIndexA;
  int& b = buildIndexB;
  KX_Polygon2D* p = obstacles.getPolygon(a);
  KX_Polygon2D* q = obstacles.getPolygon(b);
  bool overlap = false;
  bool insideOther = false;
  bool otherInside = false;
  p->getRelation(*q, overlap, insideOther, otherInside);
  if (insideOther) {
    obstacles.remove(a);
    b = a + 1;
  } else if (otherInside) {
    obstacles.remove(b);
  } else if (overlap) {
    p->unionWith(*q);
    obstacles.remove(b);
    b = a + 1;
  } else {
    ++b;
  }
  int count = obstacles.getCount();
  if (b < count) return;
  ++a;
  if (a < count - 1) {
    b = a + 1;
  } else {
    b = 0;
    buildState = kBuildCorners;
  }
}

// The box of obstacle B for the tree, and its corners as the next nodes: a
// node's index is the place of its corner in the list of all corners.
void KX_VisibilityGraph::cornersStep() {
  const KX_Polygon2D* obstacle = obstacles.getPolygon(buildIndexB);
  KX_AABox2D* box = new KX_AABox2D(getBoundingBox(*obstacle));
  obstacleBoxes.append(box);
  if (box->x < boundsMin.x) boundsMin.x = box->x;
  if (box->y < boundsMin.y) boundsMin.y = box->y;
  if (box->x + box->width > boundsMax.x) boundsMax.x = box->x + box->width;
  if (box->y + box->height > boundsMax.y) boundsMax.y = box->y + box->height;
  for (int i = 0; i < obstacle->getCount(); ++i) sortedVertices.append(obstacle->at(i));
  ++buildIndexB;
  if (buildIndexB >= obstacles.getCount()) buildState = kBuildNodes;
}

void KX_VisibilityGraph::treeStep() {
  boundsMin.x -= kTreeMargin;
  boundsMin.y -= kTreeMargin;
  boundsMax.x += kTreeMargin;
  boundsMax.y += kTreeMargin;
  // A tree needs one level at least; the host's count is kept as given.
  int levels = treeLevels > 0 ? treeLevels : 1;
  KX_AABox2D box(boundsMin.x, boundsMin.y, boundsMax.x - boundsMin.x, boundsMax.y - boundsMin.y);
  staticTree = new QV_QuadTree(box, levels, 0);
  for (int i = 0; i < obstacles.getCount(); ++i) {
    const KX_AABox2D* obstacleBox = static_cast<const KX_AABox2D*>(obstacleBoxes.at(i));
    staticTree->addObject(obstacles.at(i), KX_Point2D{obstacleBox->x, obstacleBox->y},
                          KX_Point2D{obstacleBox->width, obstacleBox->height});
  }
}

// Removes the first node at or below A that has no edge or lies outside the
// border. Going downwards keeps the indices below A, still to be looked at,
// stable; `sortedVertices` is still in node order here.
void KX_VisibilityGraph::removeNodeStep() {
  bool hasBorder = border.getCount() > 0;
  while (buildIndexA >= 0) {
    int node = buildIndexA--;
    int degree = isDirected() ? getOutDegree(node) : getOutDegree(node) + getInDegree(node);
    if (degree == 0 || (hasBorder && !border.contains(sortedVertices.at(node)))) {
      removeNode(node);
      sortedVertices.remove(node);
      return;
    }
  }
  buildState = kBuildIndex;
}

void KX_VisibilityGraph::indexStep() {
  vertices.copyFrom(&sortedVertices);
  int n = sortedVertices.getCount();
  sortedToNode.resize(n);
  int* toNode = sortedToNode.getBuffer();
  for (int k = 0; k < n; ++k) toNode[k] = k;
  sortedVertices.sort(toNode);
}
