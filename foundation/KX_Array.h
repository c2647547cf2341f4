// KX_Array: the dynamic array behind every variable-length collection.
//
// Storage has three states: inline (24 places inside the object), an owned
// heap block, or a borrowed block that belongs to the caller. Outside a
// borrowed block, the place behind the last element always holds a zero
// element (all bytes zero), so inline storage holds at most 23 elements and a
// KX_CharArray is always a terminated C string.
//
// Capacity grows by a fixed `growStep`, not by a factor, and shrinks in steps of
// 2 x growStep only when more than 3 x growStep + 1 places lie unused; resize
// shrinks by the fixed 64 once more than 97 places lie unused. These numbers
// are part of the array's observable behaviour: keep them.
//
// Elements must be trivially copyable: they are moved as raw bytes.
#pragma once

#include <cstring>
#include <type_traits>

#include "foundation/KX_ArrayPolicies.h"
#include "foundation/KX_ArraySortOperators.h"
#include "foundation/KX_Base.h"

template <class T, class Comparator, class Destructor, class CopyOperator, class XchgOperator, class SortOperator,
          class CloneOperator>
class KX_Array : public KX_Base {
  static_assert(std::is_trivially_copyable_v<T>, "KX_Array moves its elements as raw bytes");

 public:
  static constexpr int kInlineCapacity = 24;
  // Fixed numbers of the resize shrink rule, whatever growStep is.
  static constexpr int kResizeShrinkSlack = 97;
  static constexpr int kResizeShrinkStep = 64;

  explicit KX_Array(int growStep = 32) : growStep(growStep) { setZero(inlineStorage, 0); }
  KX_Array(const KX_Array&) = delete;
  KX_Array& operator=(const KX_Array&) = delete;
  ~KX_Array() override { releaseContents(); }

  int getCount() const { return count; }
  int getCapacity() const { return capacity; }
  int getGrowStep() const { return growStep; }
  bool isBufferBorrowed() const { return bufferBorrowed; }
  bool isInline() const { return heapStorage == nullptr; }

  // Element at index in the storage in use; the index is not checked.
  const T& at(int index) const { return heapStorage != nullptr ? heapStorage[index] : inlineStorage[index]; }
  // The storage in use. Call ownBuffer before writing through it.
  T* getBuffer() { return storage(); }
  const T* getBuffer() const { return storage(); }

  void set(int index, T value) {
    ownBuffer();
    storage()[index] = value;
  }

  // Inserts value at position (clamped to 0..count) and returns the position
  // used. The value is a copy taken before anything moves, so an element of
  // this same array may be passed.
  int insert(int position, T value) {
    ownBuffer();
    if (position < 0) position = 0;
    if (position > count) position = count;
    // `<=`: the new last element and the zero element behind it both need a place.
    if (capacity <= count + 1) {
      capacity += growStep;
      // Only a growStep below 1 gets here; the new element and the zero
      // element behind it still need their places.
      if (capacity < count + 2) capacity = count + 2;
      T* block = allocate(capacity);
      CopyOperator::move(block, storage(), count);
      freeBlock(heapStorage);
      heapStorage = block;
    }
    T* elements = storage();
    CopyOperator::move(elements + position + 1, elements + position, count - position);
    elements[position] = value;
    setZero(elements, count + 1);
    ++count;
    return position;
  }

  int append(T value) { return insert(count, value); }

  // Removes the element at index (not checked), destroying it unless the
  // elements are borrowed.
  void remove(int index) {
    ownBuffer();
    T* elements = storage();
    if (!elementsBorrowed) Destructor::destroy(elements + index, 1);
    int tail = count - index - 1;
    if (heapStorage == nullptr || capacity - (count - 1) <= 3 * growStep + 1) {
      CopyOperator::move(elements + index, elements + index + 1, tail);
    } else {
      capacity -= 2 * growStep;
      if (capacity < count) capacity = count;
      moveToSmallerStorage(index, index + 1, tail);
    }
    setZero(storage(), count - 1);
    --count;
  }

  // Removes up to n elements from position on; position and n are clamped.
  void removeRange(int position, int n) {
    if (position < 0) position = 0;
    if (position + n > count) n = count - position;
    if (n <= 0) return;
    ownBuffer();
    T* elements = storage();
    if (!elementsBorrowed) Destructor::destroy(elements + position, n);
    int remaining = count - n;
    int tail = count - position - n;
    if (heapStorage == nullptr || capacity - remaining <= 3 * growStep + 1) {
      CopyOperator::move(elements + position, elements + position + n, tail);
    } else {
      capacity -= 2 * growStep;
      // Measured from the count before the removal, on purpose.
      if (capacity > remaining + 2 * growStep + 1) capacity = count + 2 * growStep + 1;
      if (capacity < remaining + 1) capacity = remaining + 1;
      moveToSmallerStorage(position, position + n, tail);
    }
    setZero(storage(), remaining);
    count = remaining;
  }

  // Makes count n; new elements are all-zero. A negative n is taken as 0.
  void resize(int n) {
    ownBuffer();
    if (n < 0) n = 0;
    if (n == count) return;
    if (n == 0) {
      clear();
      return;
    }
    if (n < count) {
      T* elements = storage();
      if (!elementsBorrowed) Destructor::destroy(elements + n, count - n);
      if (heapStorage != nullptr && capacity - n > kResizeShrinkSlack) {
        capacity -= kResizeShrinkStep;
        moveToSmallerStorage(n, n, 0);
      }
      setZero(storage(), n);
    } else {
      if (capacity < n + 1) {
        if (growStep > 0) capacity += ((n - capacity + growStep) / growStep) * growStep;
        if (capacity < n + 1) capacity = n + 1;
        T* block = allocate(capacity);
        CopyOperator::move(block, storage(), count);
        freeBlock(heapStorage);
        heapStorage = block;
      }
      // Places count to n inclusive: the new elements and the zero element.
      std::memset(static_cast<void*>(storage() + count), 0, sizeof(T) * (n - count + 1));
    }
    count = n;
  }

  // Empties the array and returns to inline storage.
  void clear() {
    releaseContents();
    heapStorage = nullptr;
    bufferBorrowed = false;
    capacity = kInlineCapacity;
    count = 0;
    setZero(inlineStorage, 0);
  }

  // Gives back unused capacity of an owned heap block.
  void compact() {
    if (heapStorage == nullptr || bufferBorrowed || count + 1 >= capacity) return;
    capacity = count + 1;
    moveToSmallerStorage(count, count, 0);
    setZero(storage(), count);
  }

  // Sorts ascending. With `indices` (room for count ints), entry i tells from
  // which index the element now at i came.
  void sort(int* indices = nullptr) {
    if (count == 0) return;
    ownBuffer();
    if (indices != nullptr) {
      for (int i = 0; i < count; ++i) indices[i] = i;
      SortOperator::sort(storage(), 0, count - 1, indices);
    } else {
      SortOperator::sort(storage(), 0, count - 1);
    }
  }

  // Binary search in an ascending array: index of an equal element, or -1.
  int findSorted(const T& value) const {
    int low = 0;
    int high = count - 1;
    while (low <= high) {
      int found = halveRange(value, low, high);
      if (found >= 0) return found;
    }
    return -1;
  }

  // Binary search in an ascending array: where value is to be inserted. An
  // equal element found on the way ends the search with its index.
  int findInsertPosition(const T& value) const {
    if (count == 0) return 0;
    int low = 0;
    int high = count - 1;
    while (low < high) {
      int found = halveRange(value, low, high);
      if (found >= 0) return found;
    }
    return Comparator::isLess(value, at(low)) ? low : low + 1;
  }

  // Replaces a borrowed block by private storage; the caller's block is
  // neither written nor freed.
  void ownBuffer() {
    if (!bufferBorrowed) return;
    T* borrowed = heapStorage;
    if (count < kInlineCapacity) {
      capacity = kInlineCapacity;
      heapStorage = nullptr;
    } else {
      capacity = count + 1;
      heapStorage = allocate(capacity);
    }
    CopyOperator::move(storage(), borrowed, count);
    setZero(storage(), count);
    bufferBorrowed = false;
  }

  // Makes a newly constructed array a view of n elements of the caller's
  // buffer, which need not hold a terminating element.
  void borrowBuffer(T* buffer, int n) {
    count = n;
    capacity = n + 1;
    growStep = 32;
    heapStorage = buffer;
    bufferBorrowed = true;
  }

  // Deep copy of another array of the same class. Copying an array onto
  // itself is left undefined by the array's contract; it does nothing here.
  void copyFrom(const KX_Base* source) override {
    const KX_Array* other = static_cast<const KX_Array*>(source);
    if (other == this) return;
    releaseContents();
    heapStorage = nullptr;
    growStep = other->growStep;
    count = other->count;
    capacity = count + 1;
    bufferBorrowed = false;
    elementsBorrowed = false;
    if (capacity <= kInlineCapacity) {
      capacity = kInlineCapacity;
    } else {
      heapStorage = allocate(capacity);
    }
    CloneOperator::clone(storage(), other->storage(), count);
    setZero(storage(), count);
  }

  // The fields, in the order of the array's layout. Owners such as result
  // lists set `elementsBorrowed` directly after construction or `clear`.
  int count = 0;
  int capacity = kInlineCapacity;
  int growStep;
  T inlineStorage[kInlineCapacity];
  T* heapStorage = nullptr;
  bool bufferBorrowed = false;
  bool elementsBorrowed = false;

 private:
  T* storage() { return heapStorage != nullptr ? heapStorage : inlineStorage; }
  const T* storage() const { return heapStorage != nullptr ? heapStorage : inlineStorage; }

  static T* allocate(int places) {
    void* block;
    KX_allocateMemoryBlock(static_cast<unsigned int>(sizeof(T) * places), &block);
    return static_cast<T*>(block);
  }
  static void freeBlock(T* block) {
    if (block != nullptr) KX_freeMemoryBlock(block);
  }
  // One step of the binary searches, with the searched value as the left
  // operand: the index of an equal middle element, or -1 after narrowing
  // [low, high] to the half that can hold the value.
  int halveRange(const T& value, int& low, int& high) const {
    int middle = low + ((high - low) >> 1);
    const T& element = at(middle);
    if (Comparator::isEqual(value, element)) return middle;
    if (Comparator::isLess(value, element)) {
      high = middle - 1;
    } else {
      low = middle + 1;
    }
    return -1;
  }

  static void setZero(T* elements, int index) { std::memset(static_cast<void*>(elements + index), 0, sizeof(T)); }

  // Moves an owned heap block's elements into storage of the (already
  // lowered) `capacity`: inline if that is 24 or less, else a new block. The
  // first `keep` elements stay in place, then `tail` elements from `tailFrom`
  // follow them; the old block is freed.
  void moveToSmallerStorage(int keep, int tailFrom, int tail) {
    T* old = heapStorage;
    T* target;
    if (capacity <= kInlineCapacity) {
      capacity = kInlineCapacity;
      target = inlineStorage;
      heapStorage = nullptr;
    } else {
      target = allocate(capacity);
      heapStorage = target;
    }
    CopyOperator::move(target, old, keep);
    CopyOperator::move(target + keep, old + tailFrom, tail);
    freeBlock(old);
  }

  // Destroys the elements (unless borrowed) and frees an owned block. A
  // borrowed block is untouched and its elements are not destroyed.
  void releaseContents() {
    if (heapStorage != nullptr) {
      if (!bufferBorrowed) {
        if (!elementsBorrowed && count != 0) Destructor::destroy(heapStorage, count);
        freeBlock(heapStorage);
      }
    } else if (!elementsBorrowed && count != 0) {
      Destructor::destroy(inlineStorage, count);
    }
  }
};
