// Stateless policy classes that a KX_Array instantiation names for comparing,
// destroying, moving, exchanging and cloning its elements. Elements are plain
// values (numbers, points, pointers): they are moved as raw bytes.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

#include "foundation/KX_Base.h"

// `==` and `<` of T; pointers compare as unsigned numbers.
template <class T>
struct KX_ArrayDefaultComparator {
  static bool isEqual(const T& left, const T& right) { return left == right; }
  static bool isLess(const T& left, const T& right) {
    if constexpr (std::is_pointer_v<T>) {
      return reinterpret_cast<std::uintptr_t>(left) < reinterpret_cast<std::uintptr_t>(right);
    } else {
      return left < right;
    }
  }
};

// Asks the object that the left operand points to.
struct KX_ArrayPointerComparator {
  static bool isEqual(KX_Base* const& left, KX_Base* const& right) { return left->isEqual(right); }
  static bool isLess(KX_Base* const& left, KX_Base* const& right) { return left->isLess(right); }
};

template <class T>
struct KX_ArrayNullDestructor {
  static void destroy(T*, int) {}
};

// Deletes each non-null pointer through its virtual destructor, in ascending order.
template <class T>
struct KX_ArrayPointerDestructor {
  static void destroy(T* elements, int n) {
    for (int i = 0; i < n; ++i) delete elements[i];
  }
};

// Moves n elements as one block; source and target may overlap.
template <class T>
struct KX_ArrayDefaultCopyOperator {
  static void move(T* target, const T* source, int n) {
    if (n > 0) std::memmove(static_cast<void*>(target), static_cast<const void*>(source), sizeof(T) * n);
  }
};

template <class T>
struct KX_ArrayDefaultXchgOperator {
  static void exchange(T& left, T& right) {
    T kept = left;
    left = right;
    right = kept;
  }
};

// Copies n elements as one block into fresh storage.
template <class T>
struct KX_ArrayDefaultCloneOperator {
  static void clone(T* target, const T* source, int n) {
    if (n > 0) std::memcpy(static_cast<void*>(target), static_cast<const void*>(source), sizeof(T) * n);
  }
};

// Element by element: a null source gives a null target; otherwise the target
// is the source's newInstance, filled by copyFrom.
struct KX_ArrayObjectCloneOperator {
  static void clone(KX_Base** target, KX_Base* const* source, int n) {
    for (int i = 0; i < n; ++i) {
      KX_Base* original = source[i];
      KX_Base* copy = nullptr;
      if (original != nullptr) {
        copy = original->newInstance();
        if (copy != nullptr) copy->copyFrom(original);
      }
      target[i] = copy;
    }
  }
};
