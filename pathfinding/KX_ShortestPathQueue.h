// The open set of Dijkstra's algorithm: nodes ordered by their tentative
// distance, and among equal distances by the time they were (last) put in.
// That is the order of an unbalanced search tree that inserts equal keys to
// the right, without its worst case.
//
// A binary heap of entries, each the pair (distance, insertion number) packed
// into one integer that orders like the pair. A node whose distance drops is
// put in again; its earlier entry stays in the heap, is known as superseded
// by its insertion number, and is passed over when it comes to the top. The
// valid entries are exactly the nodes with their last key, so nodes come out
// in the same order as from a heap that took the old entry out.
#pragma once

#include <cstdint>

#include "foundation/KX_IntArray.h"
#include "foundation/KX_LongLongArray.h"

class KX_ShortestPathQueue : public KX_Allocated {
 public:
  explicit KX_ShortestPathQueue(int nodeCount);

  // Puts the node in with this key (not NaN), superseding an earlier put of
  // it; it then comes after every node of an equal key.
  void put(int node, float key);
  // Takes out the node of the smallest key, the earliest put in among
  // equals; false once no node is left.
  bool takeFirst(int& node);

 private:
  void siftUp(int slot);
  void siftDown(int slot);

  // Packed (key, insertion) entries in heap order, the first `heapSize` of
  // them; the array's count is the most there were, so it never shrinks.
  KX_LongLongArray heap;
  int heapSize = 0;
  KX_IntArray nodeOfPut;  // the node of each insertion number
  KX_IntArray lastPut;    // each node's last insertion number, -1 if none
  std::uint32_t insertions = 0;
};
