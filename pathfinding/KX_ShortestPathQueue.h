// The open set of Dijkstra's algorithm: nodes ordered by their tentative
// distance, and among equal distances by the time they were (last) put in.
// That is the order of an unbalanced search tree that inserts equal keys to
// the right, without its worst case. A binary heap keyed by the pair
// (distance, insertion number) with a position per node, so that a node whose
// distance drops can be taken out and put in again.
#pragma once

#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "foundation/KX_LongLongArray.h"

class KX_ShortestPathQueue : public KX_Allocated {
 public:
  explicit KX_ShortestPathQueue(int nodeCount);

  bool isEmpty() const { return heap.getCount() == 0; }
  bool contains(int node) const { return position.at(node) >= 0; }
  // Puts the node in with this key, taking it out first if it is in already;
  // it then comes after every node of an equal key.
  void put(int node, float key);
  // Takes out the node of the smallest key, the earliest put in among equals.
  int takeFirst();

 private:
  bool isBefore(int a, int b) const;
  void place(int slot, int node);
  void siftUp(int slot);
  void siftDown(int slot);
  void removeAt(int slot);

  KX_IntArray heap;            // nodes in heap order
  KX_IntArray position;        // slot of each node in `heap`, -1 if out
  KX_FloatArray keys;          // key of each node
  KX_LongLongArray insertion;  // insertion number of each node's last put
  long long insertions = 0;
};
