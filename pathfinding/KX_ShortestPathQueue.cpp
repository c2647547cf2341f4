#include "pathfinding/KX_ShortestPathQueue.h"

KX_ShortestPathQueue::KX_ShortestPathQueue(int nodeCount)
    : heap(nodeCount + 1), position(nodeCount + 1), keys(nodeCount + 1), insertion(nodeCount + 1) {
  position.resize(nodeCount);
  for (int i = 0; i < nodeCount; ++i) position.set(i, -1);
  keys.resize(nodeCount);
  insertion.resize(nodeCount);
}

// Keys are compared with `<` only, so a NaN key (which no caller passes)
// would sort behind nothing but still come out.
bool KX_ShortestPathQueue::isBefore(int a, int b) const {
  float keyA = keys.at(a);
  float keyB = keys.at(b);
  if (keyA < keyB) return true;
  if (keyB < keyA) return false;
  return insertion.at(a) < insertion.at(b);
}

void KX_ShortestPathQueue::place(int slot, int node) {
  heap.set(slot, node);
  position.set(node, slot);
}

void KX_ShortestPathQueue::siftUp(int slot) {
  int node = heap.at(slot);
  while (slot > 0) {
    int parent = (slot - 1) / 2;
    if (!isBefore(node, heap.at(parent))) break;
    place(slot, heap.at(parent));
    slot = parent;
  }
  place(slot, node);
}

void KX_ShortestPathQueue::siftDown(int slot) {
  int n = heap.getCount();
  int node = heap.at(slot);
  for (;;) {
    int child = 2 * slot + 1;
    if (child >= n) break;
    if (child + 1 < n && isBefore(heap.at(child + 1), heap.at(child))) ++child;
    if (!isBefore(heap.at(child), node)) break;
    place(slot, heap.at(child));
    slot = child;
  }
  place(slot, node);
}

void KX_ShortestPathQueue::removeAt(int slot) {
  int removed = heap.at(slot);
  int last = heap.getCount() - 1;
  int moved = heap.at(last);
  heap.remove(last);
  position.set(removed, -1);
  if (slot == last) return;
  place(slot, moved);
  siftDown(slot);
  siftUp(position.at(moved));
}

void KX_ShortestPathQueue::put(int node, float key) {
  if (contains(node)) removeAt(position.at(node));
  keys.set(node, key);
  insertion.set(node, insertions++);
  int slot = heap.append(node);
  position.set(node, slot);
  siftUp(slot);
}

int KX_ShortestPathQueue::takeFirst() {
  int first = heap.at(0);
  removeAt(0);
  return first;
}
