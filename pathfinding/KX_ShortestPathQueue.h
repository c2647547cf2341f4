// The open set of Dijkstra's algorithm: nodes ordered by their tentative
// distance, and among equal distances by the time they were (last) put in.
// That is the order of an unbalanced search tree that inserts equal keys to
// the right, without its worst case.
//
// A binary heap of the nodes in the set, each under the pair (distance,
// insertion number) packed into one integer that orders like the pair. The
// pairs are all different, so the order in which nodes come out is fixed,
// whatever the heap's shape. A node put in again moves within the heap: up
// when its key drops, as it does in a search, down otherwise.
#pragma once

#include <cstdint>

#include "foundation/KX_IntArray.h"
#include "foundation/KX_LongLongArray.h"

class KX_ShortestPathQueue : public KX_Allocated {
 public:
  explicit KX_ShortestPathQueue(int nodeCount);

  // Puts the node in with this key (not NaN), replacing an earlier key of
  // it; it then comes after every node of an equal key.
  void put(int node, float key);
  // Takes out the node of the smallest key, the earliest put in among
  // equals; false once no node is left.
  bool takeFirst(int& node);

 private:
  void place(int slot, long long entry, int node);
  void siftUp(int slot);
  void siftDown(int slot);

  // Packed (key, insertion) entries and their nodes, in heap order; the
  // first `heapSize` places are in use.
  KX_LongLongArray entries;
  KX_IntArray nodes;
  int heapSize = 0;
  KX_IntArray position;  // each node's slot, -1 when it is not in the heap
  std::uint32_t insertions = 0;
};
