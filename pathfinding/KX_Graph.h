// A graph over the dense node indices 0 .. nodeCount - 1: adjacency in a bit
// matrix, edge weights in a float matrix (NaN where there is no edge), and
// optionally a weight and an object per node and an object per edge. `flags`
// tells which of these the graph carries. Shortest paths are found with
// Dijkstra's algorithm over the whole matrix.
#pragma once

#include <cstdint>

#include "foundation/KX_2DBitArray.h"
#include "foundation/KX_2DFloatArray.h"
#include "foundation/KX_2DObjectArray.h"
#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "foundation/KX_ObjectArray.h"

class KX_GraphObject;

class KX_Graph : public KX_Base {
 public:
  static constexpr std::uint8_t kDirected = 0x01;
  static constexpr std::uint8_t kNodeWeights = 0x02;
  static constexpr std::uint8_t kNodeObjects = 0x04;
  static constexpr std::uint8_t kEdgeWeights = 0x08;
  static constexpr std::uint8_t kEdgeObjects = 0x10;

  explicit KX_Graph(std::uint8_t flags);
  ~KX_Graph() override;
  KX_Base* newInstance() const override { return new KX_Graph(flags); }
  // Copies the flags and all containers (objects are cloned and belong to
  // this graph); the copy's objects are never shared.
  void copyFrom(const KX_Base* source) override;

  // Grows or shrinks every container the flags select. Cells keep their row
  // and column; new edge weights are NaN and new adjacency bits clear. A
  // negative n counts as 0.
  void setNodeCount(int n);
  // Sets the weight and the adjacency bit from `from` to `to`, and back
  // from `to` to `from` unless the graph is directed.
  void addEdge(int from, int to, float weight);
  // Set bits in the node's row (out) or column (in), the diagonal not counted.
  int getOutDegree(int node) const;
  int getInDegree(int node) const;
  // Removes the node with its row and column; higher indices drop by one.
  // A node out of range changes nothing.
  void removeNode(int node);

  // Dijkstra from `source`: one distance and one predecessor per node, the
  // largest float and -1 for a node that can't be reached. Of routes of equal
  // length the one found first stays. A source out of range reaches nothing.
  void computeShortestPaths(KX_FloatArray& distances, KX_IntArray& previous, int source) const;
  // The nodes from `source` to `target` along `previous`, and the distance;
  // an empty path and 0 if `target` can't be reached from `source`.
  float getPath(KX_IntArray& path, int source, int target, const KX_FloatArray& distances,
                const KX_IntArray& previous) const;
  float findShortestPath(KX_IntArray& path, int source, int target) const;

  // Node and edge objects, for graphs whose flags select them. Setting one
  // lets go of the object that was there.
  void setNodeObject(int node, KX_GraphObject* object);
  void setEdgeObject(int from, int to, KX_GraphObject* object);
  KX_GraphObject* getNodeObject(int node) const;
  KX_GraphObject* getEdgeObject(int from, int to) const;

  bool isDirected() const { return (flags & kDirected) != 0; }
  bool hasEdge(int from, int to) const { return adjacency.getBit(to, from); }
  // The searches read a compact copy of the edges that the first search after
  // a change makes (see searchOffsets). The methods above that change nodes or
  // edges drop it; code that writes `adjacency`, `edgeWeights` or the
  // kEdgeWeights flag directly calls this before the next search.
  void dropSearchEdges() const { searchEdgesValid = false; }

  std::uint8_t flags;
  int nodeCount = 0;
  KX_FloatArray nodeWeights;
  KX_ObjectArray nodeObjects;
  KX_2DBitArray adjacency;
  KX_2DFloatArray edgeWeights;
  KX_2DObjectArray edgeObjects;
  bool nodeObjectsShared = false;
  bool edgeObjectsShared = false;

 private:
  // Makes the compact copy of the edges if it was dropped.
  void prepareSearchEdges() const;

  // The compact copy: the out-edges of node u are entries searchOffsets[u]
  // to searchOffsets[u + 1] - 1, in the order of u's adjacency row (lowest
  // column first, the diagonal included), each with its target and weight
  // (1 in a graph without weights). A search reads a few hundred kilobytes
  // in order instead of picking weights out of the whole dense matrix.
  mutable KX_IntArray searchOffsets;
  mutable KX_IntArray searchTargets;
  mutable KX_FloatArray searchWeights;
  mutable bool searchEdgesValid = false;

  void releaseNodeObject(int node);
  void releaseEdgeObject(int from, int to);
  void releaseAllObjects();
  void adoptAllObjects();
};
