// Quick sort with the last element of a range as its pivot.
//
// The exact scan below fixes which elements are exchanged, and so the order
// in which equal elements come out (it does not keep their order). Keep it:
// callers can observe it through the index form.
#pragma once

template <class T, class Comparator, class XchgOperator>
struct KX_ArrayQuickSortOperator {
  static void sort(T* storage, int first, int last) { sortRange<false>(storage, first, last, nullptr); }

  static void sort(T* storage, int first, int last, int* indices) { sortRange<true>(storage, first, last, indices); }

 private:
  // Splits [first, last] around the pivot at last and returns the pivot's
  // final place.
  template <bool withIndices>
  static int partition(T* storage, int first, int last, int* indices) {
    // The pivot stays at `last` during the scan: i stops there at the latest,
    // and j starts below it, so no exchange of the scan touches it.
    const T pivot = storage[last];
    int i = first - 1;
    int j = last;
    for (;;) {
      do {
        ++i;
      } while (i <= last && Comparator::isLess(storage[i], pivot));
      do {
        --j;
      } while (j >= first && Comparator::isLess(pivot, storage[j]));
      if (j <= i) break;
      XchgOperator::exchange(storage[i], storage[j]);
      if constexpr (withIndices) exchangeIndices(indices, i, j);
    }
    if (i < last) {
      XchgOperator::exchange(storage[i], storage[last]);
      if constexpr (withIndices) exchangeIndices(indices, i, last);
    }
    return i;
  }

  // The two sides of a split are disjoint, so the order in which they are
  // sorted does not matter: recursing into the smaller and looping on the
  // larger keeps the same exchanges and bounds the depth by log2 of the range,
  // where a sorted input would otherwise recurse as deep as it is long.
  template <bool withIndices>
  static void sortRange(T* storage, int first, int last, int* indices) {
    while (first < last) {
      int middle = partition<withIndices>(storage, first, last, indices);
      if (middle - first < last - middle) {
        sortRange<withIndices>(storage, first, middle - 1, indices);
        first = middle + 1;
      } else {
        sortRange<withIndices>(storage, middle + 1, last, indices);
        last = middle - 1;
      }
    }
  }

  static void exchangeIndices(int* indices, int left, int right) {
    int kept = indices[left];
    indices[left] = indices[right];
    indices[right] = kept;
  }
};
