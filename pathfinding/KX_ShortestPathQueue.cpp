#include "pathfinding/KX_ShortestPathQueue.h"

#include <cstring>

namespace {

// The key's bits turned so that unsigned order is the order of `<` on the
// floats: negative keys below positive ones, -0 taken as 0 (the two are
// equal to `<`). The insertion number fills the low half.
std::uint64_t pack(float key, std::uint32_t insertion) {
  float canonical = key + 0.0f;  // -0 + 0 is +0
  std::uint32_t bits;
  std::memcpy(&bits, &canonical, sizeof bits);
  bits = (bits & 0x80000000u) ? ~bits : bits | 0x80000000u;
  return (std::uint64_t(bits) << 32) | insertion;
}

std::uint32_t insertionOf(long long entry) {
  return static_cast<std::uint32_t>(static_cast<std::uint64_t>(entry));
}

bool isBefore(long long a, long long b) {
  return static_cast<std::uint64_t>(a) < static_cast<std::uint64_t>(b);
}

}  // namespace

// A search puts a node in a few times on average: the entry arrays grow in
// steps of four times the node count.
KX_ShortestPathQueue::KX_ShortestPathQueue(int nodeCount)
    : heap(4 * nodeCount + 4), nodeOfPut(4 * nodeCount + 4), lastPut(nodeCount + 1) {
  lastPut.resize(nodeCount);
  int* last = lastPut.getBuffer();
  for (int i = 0; i < nodeCount; ++i) last[i] = -1;
}

void KX_ShortestPathQueue::siftUp(int slot) {
  long long* entries = heap.getBuffer();
  long long entry = entries[slot];
  while (slot > 0) {
    int parent = (slot - 1) / 2;
    if (!isBefore(entry, entries[parent])) break;
    entries[slot] = entries[parent];
    slot = parent;
  }
  entries[slot] = entry;
}

void KX_ShortestPathQueue::siftDown(int slot) {
  long long* entries = heap.getBuffer();
  int n = heapSize;
  long long entry = entries[slot];
  for (;;) {
    int child = 2 * slot + 1;
    if (child >= n) break;
    if (child + 1 < n && isBefore(entries[child + 1], entries[child])) ++child;
    if (!isBefore(entries[child], entry)) break;
    entries[slot] = entries[child];
    slot = child;
  }
  entries[slot] = entry;
}

void KX_ShortestPathQueue::put(int node, float key) {
  std::uint32_t insertion = insertions++;
  nodeOfPut.append(node);
  lastPut.getBuffer()[node] = static_cast<int>(insertion);
  long long entry = static_cast<long long>(pack(key, insertion));
  if (heapSize == heap.getCount()) {
    heap.append(entry);
  } else {
    heap.getBuffer()[heapSize] = entry;
  }
  siftUp(heapSize++);
}

bool KX_ShortestPathQueue::takeFirst(int& node) {
  long long* entries = heap.getBuffer();
  while (heapSize > 0) {
    long long first = entries[0];
    entries[0] = entries[--heapSize];
    if (heapSize > 0) siftDown(0);
    std::uint32_t insertion = insertionOf(first);
    int candidate = nodeOfPut.at(static_cast<int>(insertion));
    if (lastPut.at(candidate) != static_cast<int>(insertion)) continue;  // superseded
    lastPut.getBuffer()[candidate] = -1;
    node = candidate;
    return true;
  }
  return false;
}
