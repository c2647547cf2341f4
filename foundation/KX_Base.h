// Root class of the foundation classes and of every object an object array
// holds. By default objects are ordered and equal by address.
//
// Every object of the library is allocated through the memory block functions.
// The class-level operator new is noexcept, so a null block skips the
// constructor and the null becomes the result of the new-expression.
#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/kxsys.h"

// Gives a class allocation through the memory block functions. KX_Base has it;
// library classes outside the KX_Base tree derive from it directly.
struct KX_Allocated {
  static void* operator new(std::size_t size) noexcept {
    void* block;
    KX_allocateMemoryBlock(static_cast<unsigned int>(size), &block);
    return block;
  }
  static void operator delete(void* block) noexcept { KX_freeMemoryBlock(block); }
};

class KX_Base : public KX_Allocated {
 public:
  KX_Base() = default;
  KX_Base(const KX_Base&) = default;
  KX_Base& operator=(const KX_Base&) = default;
  virtual ~KX_Base() = default;

  // A new object of the object's own class, freshly constructed, without contents.
  virtual KX_Base* newInstance() const { return new KX_Base(); }
  // Takes over the contents of `source`, replacing its own.
  virtual void copyFrom(const KX_Base* source) { (void)source; }
  // Address order: this object's address below the other's, as unsigned numbers.
  virtual bool isLess(const KX_Base* other) const {
    return reinterpret_cast<std::uintptr_t>(this) < reinterpret_cast<std::uintptr_t>(other);
  }
  virtual bool isEqual(const KX_Base* other) const { return this == other; }
};
