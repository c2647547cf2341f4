#include "pathfinding/KX_ShortestPathQueue.h"

#include <cstring>

namespace {

// The key's bits turned so that unsigned order is the order of `<` on the
// floats: negative keys below positive ones, -0 taken as 0 (the two are
// equal to `<`). The insertion number fills the low half.
long long pack(float key, std::uint32_t insertion) {
  float canonical = key + 0.0f;  // -0 + 0 is +0
  std::uint32_t bits;
  std::memcpy(&bits, &canonical, sizeof bits);
  bits = (bits & 0x80000000u) ? ~bits : bits | 0x80000000u;
  return static_cast<long long>((std::uint64_t(bits) << 32) | insertion);
}

bool isBefore(long long a, long long b) {
  return static_cast<std::uint64_t>(a) < static_cast<std::uint64_t>(b);
}

}  // namespace

KX_ShortestPathQueue::KX_ShortestPathQueue(int nodeCount)
    : entries(nodeCount + 1), nodes(nodeCount + 1), position(nodeCount + 1) {
  entries.resize(nodeCount);
  nodes.resize(nodeCount);
  position.resize(nodeCount);
  int* slots = position.getBuffer();
  for (int i = 0; i < nodeCount; ++i) slots[i] = -1;
}

void KX_ShortestPathQueue::place(int slot, long long entry, int node) {
  entries.getBuffer()[slot] = entry;
  nodes.getBuffer()[slot] = node;
  position.getBuffer()[node] = slot;
}

void KX_ShortestPathQueue::siftUp(int slot) {
  long long* keys = entries.getBuffer();
  int* heapNodes = nodes.getBuffer();
  long long entry = keys[slot];
  int node = heapNodes[slot];
  while (slot > 0) {
    int parent = (slot - 1) / 2;
    if (!isBefore(entry, keys[parent])) break;
    place(slot, keys[parent], heapNodes[parent]);
    slot = parent;
  }
  place(slot, entry, node);
}

void KX_ShortestPathQueue::siftDown(int slot) {
  long long* keys = entries.getBuffer();
  int* heapNodes = nodes.getBuffer();
  long long entry = keys[slot];
  int node = heapNodes[slot];
  for (;;) {
    int child = 2 * slot + 1;
    if (child >= heapSize) break;
    if (child + 1 < heapSize && isBefore(keys[child + 1], keys[child])) ++child;
    if (!isBefore(keys[child], entry)) break;
    place(slot, keys[child], heapNodes[child]);
    slot = child;
  }
  place(slot, entry, node);
}

void KX_ShortestPathQueue::put(int node, float key) {
  long long entry = pack(key, insertions++);
  int slot = position.at(node);
  if (slot < 0) {
    place(heapSize, entry, node);
    siftUp(heapSize++);
    return;
  }
  bool up = isBefore(entry, entries.at(slot));
  entries.getBuffer()[slot] = entry;
  if (up) {
    siftUp(slot);
  } else {
    siftDown(slot);
  }
}

bool KX_ShortestPathQueue::takeFirst(int& node) {
  if (heapSize == 0) return false;
  node = nodes.at(0);
  position.getBuffer()[node] = -1;
  --heapSize;
  if (heapSize > 0) {
    place(0, entries.at(heapSize), nodes.at(heapSize));
    siftDown(0);
  }
  return true;
}
