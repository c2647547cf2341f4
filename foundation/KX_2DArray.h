// KX_2DArray: a row-major grid of fixed size until resized.
//
// A grid of up to 25 elements lives in the object's own 25 places; a larger one
// has a block of exactly width * height elements. Unlike KX_Array there is no
// capacity, no growth step and no zero element behind the last element: every
// inline place is usable. The element at column x, row y lies at y * width + x.
//
// The policies are those of KX_Array; a grid has no sort operator.
#pragma once

#include <cstring>
#include <type_traits>

#include "foundation/KX_ArrayPolicies.h"
#include "foundation/KX_Base.h"

template <class T, class Comparator, class Destructor, class CopyOperator, class XchgOperator, class CloneOperator>
class KX_2DArray : public KX_Base {
  static_assert(std::is_trivially_copyable_v<T>, "KX_2DArray moves its elements as raw bytes");

 public:
  static constexpr int kInlineElements = 25;

  KX_2DArray() = default;
  // Without zeroFill the elements are unset (see kZeroUnsetElements).
  KX_2DArray(int width, int height, bool zeroFill) : width(width), height(height) {
    int n = width * height;
    if (n > kInlineElements) heapStorage = allocate(n);
    if (zeroFill || kZeroUnsetElements) zero(storage(), n);
  }
  KX_2DArray(const KX_2DArray&) = delete;
  KX_2DArray& operator=(const KX_2DArray&) = delete;
  ~KX_2DArray() override { releaseContents(); }

  int getWidth() const { return width; }
  int getHeight() const { return height; }
  int getElementCount() const { return width * height; }
  bool isInline() const { return heapStorage == nullptr; }
  bool isBufferBorrowed() const { return bufferBorrowed; }

  // First element of row y in the storage in use; y is not checked. Call
  // ownBuffer before writing through it.
  T* getRow(int y) { return storage() + y * width; }
  const T* getRow(int y) const { return storage() + y * width; }

  const T& at(int x, int y) const { return storage()[y * width + x]; }

  void set(int x, int y, T value) {
    ownBuffer();
    storage()[y * width + x] = value;
  }

  // Makes a newly constructed grid a view of the caller's width * height
  // elements. The buffer is neither written nor freed; the first writing
  // operation copies it.
  void borrowBuffer(T* buffer, int width, int height) {
    this->width = width;
    this->height = height;
    heapStorage = buffer;
    bufferBorrowed = true;
  }

  // Replaces a borrowed block by private storage: inline if it fits.
  void ownBuffer() {
    if (!bufferBorrowed) return;
    T* borrowed = heapStorage;
    int n = width * height;
    heapStorage = n > kInlineElements ? allocate(n) : nullptr;
    CopyOperator::move(storage(), borrowed, n);
    bufferBorrowed = false;
  }

  // Changes the size, keeping the elements that still have their column and
  // row. Elements cut off are destroyed unless the elements are borrowed. With
  // zeroNew the new elements are zero, otherwise unset.
  void resize(int newWidth, int newHeight, bool zeroNew) {
    if (newWidth == width && newHeight == height) return;
    ownBuffer();
    bool zeroAdded = zeroNew || kZeroUnsetElements;
    // Always through a new block, also for a grid that ends up inline: the old
    // and new rows may overlap in the same storage otherwise.
    T* block = allocate(newWidth * newHeight);
    T* old = storage();
    int keptRows = height < newHeight ? height : newHeight;
    int keptColumns = width < newWidth ? width : newWidth;
    for (int y = 0; y < keptRows; ++y) {
      T* from = old + y * width;
      T* to = block + y * newWidth;
      CopyOperator::move(to, from, keptColumns);
      if (newWidth < width) {
        if (!elementsBorrowed) Destructor::destroy(from + newWidth, width - newWidth);
      } else if (zeroAdded) {
        zero(to + width, newWidth - width);
      }
    }
    if (newHeight < height) {
      if (!elementsBorrowed) Destructor::destroy(old + newHeight * width, (height - newHeight) * width);
    } else if (zeroAdded) {
      zero(block + height * newWidth, (newHeight - height) * newWidth);
    }
    freeBlock(heapStorage);
    heapStorage = block;
    width = newWidth;
    height = newHeight;
    int n = newWidth * newHeight;
    if (n <= kInlineElements) {
      CopyOperator::move(inlineStorage, block, n);
      freeBlock(block);
      heapStorage = nullptr;
    }
  }

  // Deep copy of another grid of the same class. Copying a grid onto itself
  // does nothing.
  void copyFrom(const KX_Base* source) override {
    const KX_2DArray* other = static_cast<const KX_2DArray*>(source);
    if (other == this) return;
    releaseContents();
    heapStorage = nullptr;
    bufferBorrowed = false;
    width = other->width;
    height = other->height;
    int n = width * height;
    if (n > kInlineElements) heapStorage = allocate(n);
    CloneOperator::clone(storage(), other->storage(), n);
    elementsBorrowed = false;
  }

  // The fields, in the order of the grid's layout.
  int width = 0;
  int height = 0;
  T inlineStorage[kInlineElements];
  T* heapStorage = nullptr;
  bool bufferBorrowed = false;
  bool elementsBorrowed = false;

 protected:
  T* storage() { return heapStorage != nullptr ? heapStorage : inlineStorage; }
  const T* storage() const { return heapStorage != nullptr ? heapStorage : inlineStorage; }

 private:
  // Elements that a destructor policy will look at are never left unset: an
  // object grid made without zeroFill (by newInstance, say) would otherwise
  // delete whatever its unset places happened to hold.
  static constexpr bool kZeroUnsetElements = !std::is_same_v<Destructor, KX_ArrayNullDestructor<T>>;

  static T* allocate(int n) {
    void* block;
    KX_allocateMemoryBlock(static_cast<unsigned int>(sizeof(T) * n), &block);
    return static_cast<T*>(block);
  }
  static void freeBlock(T* block) {
    if (block != nullptr) KX_freeMemoryBlock(block);
  }
  static void zero(T* elements, int n) {
    if (n > 0) std::memset(static_cast<void*>(elements), 0, sizeof(T) * n);
  }

  // Destroys the elements (unless borrowed) and frees an owned block. A
  // borrowed block is untouched and its elements are not destroyed.
  void releaseContents() {
    if (bufferBorrowed) return;
    if (!elementsBorrowed) Destructor::destroy(storage(), width * height);
    freeBlock(heapStorage);
  }
};
