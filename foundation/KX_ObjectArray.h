// An array of objects. It owns what its elements point to (deletes them on remove, clear and destruction) unless
// `elementsBorrowed` is set; it orders by the objects' own isLess and isEqual.
#pragma once

#include "foundation/KX_Array.h"

using KX_ObjectArrayBase =
    KX_Array<KX_Base*, KX_ArrayPointerComparator, KX_ArrayPointerDestructor<KX_Base*>,
             KX_ArrayDefaultCopyOperator<KX_Base*>, KX_ArrayDefaultXchgOperator<KX_Base*>,
             KX_ArrayQuickSortOperator<KX_Base*, KX_ArrayPointerComparator, KX_ArrayDefaultXchgOperator<KX_Base*>>,
             KX_ArrayObjectCloneOperator>;

class KX_ObjectArray : public KX_ObjectArrayBase {
 public:
  explicit KX_ObjectArray(int growStep = 32) : KX_ObjectArrayBase(growStep) {}
  ~KX_ObjectArray() override = default;
  KX_Base* newInstance() const override { return new KX_ObjectArray(growStep); }

  // Inserts the pointers of `source`, in their order, at `position` (clamped
  // to 0..count). Only the pointers move: whoever hands objects over sets
  // `elementsBorrowed` on `source` so that they are not deleted twice.
  void insertAll(int position, const KX_ObjectArray& source) {
    int n = source.getCount();
    if (n == 0) return;
    if (position < 0) position = 0;
    if (position > count) position = count;
    // Inserting an array into itself reads the pointers before any of them move.
    if (&source == this) {
      KX_ObjectArray snapshot(n + 1);
      snapshot.elementsBorrowed = true;
      for (int i = 0; i < n; ++i) snapshot.append(source.at(i));
      insertAll(position, snapshot);
      return;
    }
    resize(count + n);
    KX_Base** elements = getBuffer();
    KX_ArrayDefaultCopyOperator<KX_Base*>::move(elements + position + n, elements + position, count - n - position);
    for (int i = 0; i < n; ++i) elements[position + i] = source.at(i);
  }
};

// Binary search of an array kept in address order (objects that keep the
// address order of KX_Base) for `address`: the index, or -1. Unlike
// findSorted it never calls through the searched pointer, so a handle that is
// stale or was never an object is simply not found.
inline int KX_findByAddress(const KX_ObjectArray& array, const void* address) {
  int low = 0;
  int high = array.getCount() - 1;
  while (low <= high) {
    int middle = low + ((high - low) >> 1);
    const void* element = array.at(middle);
    if (element == address) return middle;
    if (KX_ArrayDefaultComparator<const void*>::isLess(address, element)) {
      high = middle - 1;
    } else {
      low = middle + 1;
    }
  }
  return -1;
}
