#include "pathfinding/KX_Graph.h"

#include <cmath>
#include <limits>

#include "foundation/KX_ByteArray.h"
#include "pathfinding/KX_GraphObject.h"
#include "pathfinding/KX_ShortestPathQueue.h"

namespace {

constexpr float kUnreached = std::numeric_limits<float>::max();

// Takes row and column `index` out of a square grid of side n in place: the
// cells behind them move up and left (each to a lower place, so one forward
// pass suffices), and the grid is cut to n - 1. The cells cut off hold
// nothing of value any more, so the grid must not destroy them.
template <class Grid>
void removeRowAndColumn(Grid& grid, int index) {
  int n = grid.getWidth();
  grid.ownBuffer();
  auto* cells = grid.getRow(0);
  for (int y = 0; y < n; ++y) {
    if (y == index) continue;
    int targetY = y > index ? y - 1 : y;
    for (int x = 0; x < n; ++x) {
      if (x == index) continue;
      int targetX = x > index ? x - 1 : x;
      cells[targetY * n + targetX] = cells[y * n + x];
    }
  }
  bool borrowed = grid.elementsBorrowed;
  grid.elementsBorrowed = true;
  grid.resize(n - 1, n - 1, false);
  grid.elementsBorrowed = borrowed;
}

}  // namespace

KX_Graph::KX_Graph(std::uint8_t flags) : flags(flags) {
  // The graph itself decides when its objects go.
  nodeObjects.elementsBorrowed = true;
  edgeObjects.elementsBorrowed = true;
}

KX_Graph::~KX_Graph() {
  releaseAllObjects();
}

void KX_Graph::copyFrom(const KX_Base* source) {
  const KX_Graph* other = static_cast<const KX_Graph*>(source);
  if (other == this) return;
  releaseAllObjects();
  flags = other->flags;
  nodeCount = other->nodeCount;
  nodeWeights.copyFrom(&other->nodeWeights);
  nodeObjects.copyFrom(&other->nodeObjects);
  adjacency.copyFrom(&other->adjacency);
  edgeWeights.copyFrom(&other->edgeWeights);
  edgeObjects.copyFrom(&other->edgeObjects);
  nodeObjects.elementsBorrowed = true;
  edgeObjects.elementsBorrowed = true;
  nodeObjectsShared = false;
  edgeObjectsShared = false;
  adoptAllObjects();
  dropSearchEdges();
}

void KX_Graph::releaseNodeObject(int node) {
  KX_GraphObject* object = getNodeObject(node);
  if (object == nullptr) return;
  nodeObjects.set(node, nullptr);
  object->owner = nullptr;
  if (!nodeObjectsShared) delete object;
}

// An undirected graph may hold one object in both cells of an edge; it is let
// go of once.
void KX_Graph::releaseEdgeObject(int from, int to) {
  KX_GraphObject* object = getEdgeObject(from, to);
  if (object == nullptr) return;
  edgeObjects.set(to, from, nullptr);
  if (from != to && getEdgeObject(to, from) == object) edgeObjects.set(from, to, nullptr);
  object->owner = nullptr;
  if (!edgeObjectsShared) delete object;
}

void KX_Graph::releaseAllObjects() {
  for (int node = 0; node < nodeObjects.getCount(); ++node) releaseNodeObject(node);
  for (int from = 0; from < edgeObjects.getHeight(); ++from) {
    for (int to = 0; to < edgeObjects.getWidth(); ++to) releaseEdgeObject(from, to);
  }
}

// After a copy the cloned objects belong to this graph. One object in both
// cells of an undirected edge was cloned twice, which keeps them apart.
void KX_Graph::adoptAllObjects() {
  for (int node = 0; node < nodeObjects.getCount(); ++node) {
    if (KX_GraphObject* object = getNodeObject(node)) object->owner = this;
  }
  for (int from = 0; from < edgeObjects.getHeight(); ++from) {
    for (int to = 0; to < edgeObjects.getWidth(); ++to) {
      if (KX_GraphObject* object = getEdgeObject(from, to)) object->owner = this;
    }
  }
}

KX_GraphObject* KX_Graph::getNodeObject(int node) const {
  return static_cast<KX_GraphObject*>(nodeObjects.at(node));
}

KX_GraphObject* KX_Graph::getEdgeObject(int from, int to) const {
  return static_cast<KX_GraphObject*>(edgeObjects.at(to, from));
}

void KX_Graph::setNodeObject(int node, KX_GraphObject* object) {
  releaseNodeObject(node);
  nodeObjects.set(node, object);
  if (object != nullptr) object->owner = this;
}

void KX_Graph::setEdgeObject(int from, int to, KX_GraphObject* object) {
  releaseEdgeObject(from, to);
  if (!isDirected()) releaseEdgeObject(to, from);
  edgeObjects.set(to, from, object);
  if (!isDirected()) edgeObjects.set(from, to, object);
  if (object != nullptr) object->owner = this;
}

void KX_Graph::setNodeCount(int n) {
  dropSearchEdges();
  if (n < 0) n = 0;
  if (n < nodeCount) {
    if (flags & kNodeObjects) {
      for (int node = n; node < nodeCount; ++node) releaseNodeObject(node);
    }
    if (flags & kEdgeObjects) {
      for (int from = 0; from < nodeCount; ++from) {
        for (int to = from < n ? n : 0; to < nodeCount; ++to) releaseEdgeObject(from, to);
      }
    }
  }
  int old = nodeCount;
  if (flags & kNodeWeights) nodeWeights.resize(n);
  if (flags & kNodeObjects) nodeObjects.resize(n);
  adjacency.resize(n, n, true);
  if (flags & kEdgeWeights) {
    edgeWeights.resize(n, n, false);
    // The new cells: whole new rows, and the new columns of the old rows.
    for (int row = 0; row < n; ++row) {
      for (int column = row < old ? old : 0; column < n; ++column) edgeWeights.set(column, row, NAN);
    }
  }
  if (flags & kEdgeObjects) edgeObjects.resize(n, n, true);
  nodeCount = n;
}

void KX_Graph::addEdge(int from, int to, float weight) {
  dropSearchEdges();
  adjacency.setBit(to, from, true);
  if (flags & kEdgeWeights) edgeWeights.set(to, from, weight);
  if (isDirected()) return;
  adjacency.setBit(from, to, true);
  if (flags & kEdgeWeights) edgeWeights.set(from, to, weight);
}

int KX_Graph::getOutDegree(int node) const {
  int degree = 0;
  for (int column = 0; column < nodeCount; ++column) {
    if (column != node && adjacency.getBit(column, node)) ++degree;
  }
  return degree;
}

int KX_Graph::getInDegree(int node) const {
  int degree = 0;
  for (int row = 0; row < nodeCount; ++row) {
    if (row != node && adjacency.getBit(node, row)) ++degree;
  }
  return degree;
}

void KX_Graph::removeNode(int node) {
  if (node < 0 || node >= nodeCount) return;
  dropSearchEdges();
  if (flags & kNodeObjects) releaseNodeObject(node);
  if (flags & kEdgeObjects) {
    for (int other = 0; other < nodeCount; ++other) {
      releaseEdgeObject(node, other);
      releaseEdgeObject(other, node);
    }
  }
  if (flags & kNodeWeights) nodeWeights.remove(node);
  if (flags & kNodeObjects) nodeObjects.remove(node);
  // The bit matrix: the column goes from every row, then the row moves out.
  adjacency.removeColumns(node, 1);
  adjacency.ownBuffer();
  for (int row = node + 1; row < nodeCount; ++row) {
    unsigned char* target = adjacency.getRow(row - 1);
    const unsigned char* from = adjacency.getRow(row);
    for (int byte = 0; byte < adjacency.getWidth(); ++byte) target[byte] = from[byte];
  }
  adjacency.resize(nodeCount - 1, nodeCount - 1, false);
  if (flags & kEdgeWeights) removeRowAndColumn(edgeWeights, node);
  if (flags & kEdgeObjects) removeRowAndColumn(edgeObjects, node);
  --nodeCount;
}

void KX_Graph::computeShortestPaths(KX_FloatArray& distances, KX_IntArray& previous, int source) const {
  distances.clear();
  previous.clear();
  distances.growStep = nodeCount + 1;
  previous.growStep = nodeCount + 1;
  distances.resize(nodeCount);
  previous.resize(nodeCount);
  for (int node = 0; node < nodeCount; ++node) {
    distances.set(node, kUnreached);
    previous.set(node, -1);
  }
  if (source < 0 || source >= nodeCount) return;
  distances.set(source, 0.0f);

  prepareSearchEdges();
  KX_ShortestPathQueue open(nodeCount);
  KX_ByteArray settled(nodeCount + 1);
  settled.resize(nodeCount);
  open.put(source, 0.0f);
  // The scan over a node's out-edges is the inner loop of every search; the
  // edges come in the order of the node's adjacency row, as a scan of its set
  // bits would find them.
  float* distance = distances.getBuffer();
  int* from = previous.getBuffer();
  unsigned char* isSettled = settled.getBuffer();
  const int* offsets = searchOffsets.getBuffer();
  const int* targets = searchTargets.getBuffer();
  const float* weights = searchWeights.getBuffer();
  int u;
  while (open.takeFirst(u)) {
    isSettled[u] = 1;
    const float distanceOfU = distance[u];
    for (int edge = offsets[u]; edge < offsets[u + 1]; ++edge) {
      int v = targets[edge];
      float through = distanceOfU + weights[edge];
      // Only a strictly shorter way replaces the one found first; a NaN
      // weight fails the comparison.
      if (!(through < distance[v])) continue;
      distance[v] = through;
      from[v] = u;
      if (!isSettled[v]) open.put(v, through);
    }
  }
}

void KX_Graph::prepareSearchEdges() const {
  if (searchEdgesValid) return;
  bool weighted = (flags & kEdgeWeights) != 0;
  const int rowBytes = (nodeCount + 7) / 8;
  int edges = 0;
  for (int u = 0; u < nodeCount; ++u) {
    const unsigned char* neighbours = adjacency.getRow(u);
    for (int byte = 0; byte < rowBytes; ++byte) edges += __builtin_popcount(neighbours[byte]);
  }
  searchOffsets.clear();
  searchTargets.clear();
  searchWeights.clear();
  searchOffsets.resize(nodeCount + 1);
  searchTargets.resize(edges);
  searchWeights.resize(edges);
  int* offsets = searchOffsets.getBuffer();
  int* targets = searchTargets.getBuffer();
  float* weightOf = searchWeights.getBuffer();
  int edge = 0;
  for (int u = 0; u < nodeCount; ++u) {
    offsets[u] = edge;
    const unsigned char* neighbours = adjacency.getRow(u);
    const float* weights = weighted ? edgeWeights.getRow(u) : nullptr;
    for (int byte = 0; byte < rowBytes; ++byte) {
      for (unsigned bits = neighbours[byte]; bits != 0; bits &= bits - 1) {
        int v = byte * 8 + __builtin_ctz(bits);
        if (v >= nodeCount) break;  // spare bits of the last byte
        targets[edge] = v;
        weightOf[edge] = weighted ? weights[v] : 1.0f;
        ++edge;
      }
    }
  }
  offsets[nodeCount] = edge;
  searchEdgesValid = true;
}

float KX_Graph::getPath(KX_IntArray& path, int source, int target, const KX_FloatArray& distances,
                        const KX_IntArray& previous) const {
  path.clear();
  path.growStep = nodeCount;
  if (target < 0 || target >= previous.getCount()) return 0.0f;
  // A predecessor chain has at most one node per graph node; a longer one
  // runs in a circle (negative weights can make one) and never reaches
  // `source`. Entries out of range end the chain like -1.
  int node = target;
  while (node != source && node >= 0 && node < previous.getCount() && path.getCount() < previous.getCount()) {
    path.append(node);
    node = previous.at(node);
  }
  if (node != source) {
    path.clear();
    return 0.0f;
  }
  path.append(source);
  int* nodes = path.getBuffer();
  for (int low = 0, high = path.getCount() - 1; low < high; ++low, --high) {
    int kept = nodes[low];
    nodes[low] = nodes[high];
    nodes[high] = kept;
  }
  return distances.at(target);
}

float KX_Graph::findShortestPath(KX_IntArray& path, int source, int target) const {
  KX_FloatArray distances;
  KX_IntArray previous;
  computeShortestPaths(distances, previous, source);
  return getPath(path, source, target, distances, previous);
}
