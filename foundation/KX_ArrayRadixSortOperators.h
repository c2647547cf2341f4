// Radix sorts on the raw bits of the elements, one bit per pass, least
// significant bit first. They never call the Comparator.
//
// Each pass splits the source stably into the elements with the bit clear
// followed by those with the bit set, so after the last bit the range is in
// the order of its bits taken as an unsigned number. No bias or flip is
// applied to the keys: a signed number or float with its sign bit set lands
// behind all others, and the signed operator moves that part to the front
// afterwards (see below). The operators allocate their scratch blocks once
// per sort, never per pass, and even a range of one element makes every pass.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "platform/kxsys.h"

namespace KX_RadixSortDetail {

template <std::size_t size>
struct UnsignedOfSize;
template <>
struct UnsignedOfSize<1> {
  using Type = std::uint8_t;
};
template <>
struct UnsignedOfSize<2> {
  using Type = std::uint16_t;
};
template <>
struct UnsignedOfSize<4> {
  using Type = std::uint32_t;
};
template <>
struct UnsignedOfSize<8> {
  using Type = std::uint64_t;
};

// The element's bits as an unsigned number of the same width: a float is taken
// as its 32 bits, a pointer as its address.
template <class T>
inline typename UnsignedOfSize<sizeof(T)>::Type keyOf(const T& value) {
  typename UnsignedOfSize<sizeof(T)>::Type key;
  std::memcpy(&key, &value, sizeof(T));
  return key;
}

template <class T>
inline T* allocateScratch(int n) {
  void* block;
  KX_allocateMemoryBlock(static_cast<unsigned int>(sizeof(T) * static_cast<unsigned int>(n)), &block);
  return static_cast<T*>(block);
}

// Runs one pass per bit over elements[0, n), ping-ponging between the range
// and `scratch`. The width of every element type is an even number of bits,
// so the result is back in `elements` at the end.
//
// The two passes of a bit (clear ones to the front, then set ones behind
// them) are made as one pass with two write cursors: the set elements start
// where the clear ones end, and their number is counted during the pass
// before (and for bit 0 by one counting pass first). The order written is
// the same as that of two separate passes.
template <class T, bool withIndices>
void sortByBits(T* elements, T* scratch, int n, int* indices, int* indexScratch) {
  using Key = typename UnsignedOfSize<sizeof(T)>::Type;
  constexpr int kBits = static_cast<int>(sizeof(T) * 8);
  static_assert(kBits % 2 == 0, "the passes must end in the caller's storage");

  int setCount = 0;
  for (int i = 0; i < n; ++i) setCount += static_cast<int>(keyOf(elements[i]) & 1u);

  T* source = elements;
  T* target = scratch;
  int* indexSource = indices;
  int* indexTarget = indexScratch;
  for (int bit = 0; bit < kBits; ++bit) {
    // Both write positions stay in registers; the place is chosen without a branch.
    int clearPosition = 0;
    int setPosition = n - setCount;
    int nextSetCount = 0;
    for (int i = 0; i < n; ++i) {
      const T value = source[i];
      const Key key = static_cast<Key>(keyOf(value) >> bit);
      const int isSet = static_cast<int>(key & 1u);
      // Shifted in two steps so that the last bit never shifts by the full width.
      nextSetCount += static_cast<int>((key >> 1) & 1u);
      const int place = isSet ? setPosition : clearPosition;
      target[place] = value;
      if constexpr (withIndices) indexTarget[place] = indexSource[i];
      setPosition += isSet;
      clearPosition += 1 - isSet;
    }
    setCount = nextSetCount;
    T* swapped = source;
    source = target;
    target = swapped;
    if constexpr (withIndices) {
      int* swappedIndices = indexSource;
      indexSource = indexTarget;
      indexTarget = swappedIndices;
    }
  }
}

// The raw order has the numbers below zero behind all others. It brings them
// to the front: two's-complement integers are already ascending there, floats
// (whose bits grow with the magnitude) are descending and are reversed. Which
// of the two holds is decided from the elements themselves, so one routine
// serves integers and floats. The reversal also reverses equal negative floats.
template <class T, bool withIndices>
void moveNegativesToFront(T* elements, T* scratch, int n, int* indices, int* indexScratch) {
  const T lastValue = elements[n - 1];
  if (!(lastValue < T(0))) return;
  int firstNegative = 0;
  while (!(elements[firstNegative] < T(0))) ++firstNegative;
  const int negatives = n - firstNegative;
  if (firstNegative != n - 1 && lastValue < elements[firstNegative]) {
    for (int i = 0; i < negatives; ++i) {
      scratch[i] = elements[n - 1 - i];
      if constexpr (withIndices) indexScratch[i] = indices[n - 1 - i];
    }
  } else {
    std::memcpy(static_cast<void*>(scratch), elements + firstNegative, sizeof(T) * negatives);
    if constexpr (withIndices) std::memcpy(indexScratch, indices + firstNegative, sizeof(int) * negatives);
  }
  std::memcpy(static_cast<void*>(scratch + negatives), elements, sizeof(T) * firstNegative);
  std::memcpy(static_cast<void*>(elements), scratch, sizeof(T) * n);
  if constexpr (withIndices) {
    std::memcpy(indexScratch + negatives, indices, sizeof(int) * firstNegative);
    std::memcpy(indices, indexScratch, sizeof(int) * n);
  }
}

template <class T, bool signedFixUp, bool withIndices>
void radixSort(T* storage, int first, int last, int* indices) {
  const int n = last - first + 1;
  if (n <= 0) return;
  T* scratch = allocateScratch<T>(n);
  int* indexScratch = withIndices ? allocateScratch<int>(n) : nullptr;
  int* rangeIndices = withIndices ? indices + first : nullptr;
  sortByBits<T, withIndices>(storage + first, scratch, n, rangeIndices, indexScratch);
  if constexpr (signedFixUp)
    moveNegativesToFront<T, withIndices>(storage + first, scratch, n, rangeIndices, indexScratch);
  KX_freeMemoryBlock(scratch);
  if (indexScratch != nullptr) KX_freeMemoryBlock(indexScratch);
}

}  // namespace KX_RadixSortDetail

// For numbers and chars: int, float, long long, char, and unsigned bytes
// (which are never below zero, so that the second step never runs for them).
template <class T, class Comparator, class XchgOperator>
struct KX_ArraySignedRadixSortOperator {
  static_assert(std::is_arithmetic_v<T>, "sorts numbers by their bits");
  static constexpr bool kCanBeNegative = std::is_signed_v<T>;

  static void sort(T* storage, int first, int last) {
    KX_RadixSortDetail::radixSort<T, kCanBeNegative, false>(storage, first, last, nullptr);
  }
  static void sort(T* storage, int first, int last, int* indices) {
    KX_RadixSortDetail::radixSort<T, kCanBeNegative, true>(storage, first, last, indices);
  }
};

// For pointers, as unsigned numbers of the pointer's full width.
template <class T, class Comparator, class XchgOperator>
struct KX_ArrayPointerRadixSortOperator {
  static_assert(std::is_pointer_v<T>, "sorts pointers by their addresses");

  static void sort(T* storage, int first, int last) {
    KX_RadixSortDetail::radixSort<T, false, false>(storage, first, last, nullptr);
  }
  static void sort(T* storage, int first, int last, int* indices) {
    KX_RadixSortDetail::radixSort<T, false, true>(storage, first, last, indices);
  }
};
