// Storage rules of KX_Array: inline, heap and borrowed storage, growth and the
// shrink rules, clamping, and the zero element behind the last element.
#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "foundation/KX_ByteArray.h"
#include "foundation/KX_CharArray.h"
#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "foundation/KX_LongLongArray.h"
#include "foundation/KX_VoidPtrArray.h"
#include "geometry/KX_PointSet2D.h"
#include "support/LiveBlockGuard.h"

namespace {

// The place behind the last element holds all zero bytes.
template <class Array>
bool isTerminated(const Array& array) {
  using T = std::remove_const_t<std::remove_reference_t<decltype(array.at(0))>>;
  T zero;
  std::memset(static_cast<void*>(&zero), 0, sizeof zero);
  return std::memcmp(&array.getBuffer()[array.getCount()], &zero, sizeof zero) == 0;
}

template <class Array>
auto valueOf(int i) {
  using T = std::remove_const_t<std::remove_reference_t<decltype(std::declval<Array>().at(0))>>;
  if constexpr (std::is_same_v<T, KX_Point2D>) {
    return KX_Point2D{static_cast<float>(i + 1), static_cast<float>(-i)};
  } else if constexpr (std::is_pointer_v<T>) {
    return reinterpret_cast<T>(static_cast<std::uintptr_t>(i + 1) * 16);
  } else {
    return static_cast<T>(i + 1);
  }
}

template <class Array>
class NamedArrayStorage : public LiveBlockTest {};

using ValueArrays = ::testing::Types<KX_IntArray, KX_FloatArray, KX_LongLongArray, KX_ByteArray, KX_CharArray,
                                     KX_VoidPtrArray, KX_PointSet2D>;
TYPED_TEST_SUITE(NamedArrayStorage, ValueArrays);

TYPED_TEST(NamedArrayStorage, MovesToTheHeapOnTheTwentyFourthElementAndBackOnClear) {
  TypeParam array;
  for (int i = 0; i < 25; ++i) {
    array.append(valueOf<TypeParam>(i));
    int count = i + 1;
    EXPECT_EQ(array.getCapacity(), count <= 23 ? 24 : 56) << "after " << count << " elements";
    EXPECT_EQ(array.isInline(), count <= 23);
    EXPECT_TRUE(isTerminated(array));
  }
  for (int i = 0; i < 25; ++i) EXPECT_EQ(array.at(i), valueOf<TypeParam>(i));
  array.clear();
  EXPECT_EQ(array.getCount(), 0);
  EXPECT_EQ(array.getCapacity(), 24);
  EXPECT_TRUE(array.isInline());
  EXPECT_TRUE(isTerminated(array));
}

TYPED_TEST(NamedArrayStorage, RemovingBackBelowTheInlineSizeShrinksOnlyByTheRule) {
  TypeParam array(4);
  for (int i = 0; i < 40; ++i) array.append(valueOf<TypeParam>(i));
  EXPECT_EQ(array.getCapacity(), 44);
  // Removing from the front shrinks by 2 x growStep once more than
  // 3 x growStep + 1 places are unused: at 30, 22 and (inline) 14 elements.
  std::vector<int> capacities;
  while (array.getCount() > 10) {
    array.remove(0);
    EXPECT_TRUE(isTerminated(array));
    if (capacities.empty() || capacities.back() != array.getCapacity()) capacities.push_back(array.getCapacity());
  }
  EXPECT_EQ(capacities, (std::vector<int>{44, 36, 28, 24}));
  for (int i = 0; i < 10; ++i) EXPECT_EQ(array.at(i), valueOf<TypeParam>(30 + i));
  EXPECT_TRUE(array.isInline());
}

TYPED_TEST(NamedArrayStorage, NewInstanceIsAnEmptyArrayOfTheSameClass) {
  TypeParam array(7);
  array.append(valueOf<TypeParam>(1));
  KX_Base* fresh = array.newInstance();
  TypeParam* same = dynamic_cast<TypeParam*>(fresh);
  ASSERT_NE(same, nullptr);
  EXPECT_EQ(same->getCount(), 0);
  // Point sets always start with the default step.
  EXPECT_EQ(same->getGrowStep(), (std::is_same_v<TypeParam, KX_PointSet2D> ? 32 : 7));
  delete fresh;
}

class ArrayStorage : public LiveBlockTest {};

TEST_F(ArrayStorage, InsertClampsItsPosition) {
  KX_IntArray array;
  array.append(1);
  array.append(2);
  EXPECT_EQ(array.insert(-5, 0), 0);
  EXPECT_EQ(array.insert(99, 3), 3);
  EXPECT_EQ(array.append(4), 4);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(array.at(i), i);
  EXPECT_TRUE(isTerminated(array));
}

TEST_F(ArrayStorage, AppendingAnElementOfTheSameArrayAsItMovesToTheHeap) {
  KX_IntArray array;
  for (int i = 0; i < 23; ++i) array.append(100 + i);
  // The reference points into inline storage that the append leaves behind.
  array.append(array.at(5));
  array.insert(0, array.at(23));
  EXPECT_EQ(array.getCount(), 25);
  EXPECT_EQ(array.at(0), 105);
  EXPECT_EQ(array.at(24), 105);
  EXPECT_EQ(array.at(1), 100);
}

TEST_F(ArrayStorage, ResizeGrowsOnceAndShrinksByTheFixedSixtyFour) {
  KX_IntArray array;
  array.resize(23);
  EXPECT_TRUE(array.isInline());
  EXPECT_EQ(array.getCapacity(), 24);
  array.resize(0);
  array.resize(24);
  EXPECT_EQ(array.getCapacity(), 56);
  EXPECT_TRUE(isTerminated(array));

  long long allocationsBefore = KX_getAllocationCount();
  array.resize(300);  // one block, grown in whole steps: 56 + 8 x 32
  EXPECT_EQ(KX_getAllocationCount() - allocationsBefore, 1);
  EXPECT_EQ(array.getCapacity(), 312);
  for (int i = 0; i <= 300; ++i) ASSERT_EQ(array.getBuffer()[i], 0) << i;
  for (int i = 0; i < 300; ++i) array.set(i, i);

  array.resize(250);  // 62 unused places: within the 97 of slack
  EXPECT_EQ(array.getCapacity(), 312);
  EXPECT_TRUE(isTerminated(array));
  array.resize(200);  // 112 unused: one step of 64
  EXPECT_EQ(array.getCapacity(), 248);
  EXPECT_TRUE(isTerminated(array));
  array.resize(10);  // one step only, even though 238 are unused
  EXPECT_EQ(array.getCapacity(), 184);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(array.at(i), i);
  array.resize(0);
  EXPECT_TRUE(array.isInline());
  EXPECT_EQ(array.getCapacity(), 24);

  KX_IntArray small;
  for (int i = 0; i < 60; ++i) small.append(i);  // capacity 88
  small.resize(1);                               // 87 unused: no shrink
  EXPECT_EQ(small.getCapacity(), 88);
  small.resize(70);
  small.resize(0);
  small.resize(-3);  // a negative count is taken as 0
  EXPECT_EQ(small.getCount(), 0);
}

TEST_F(ArrayStorage, RemoveRangeClampsAndShrinksFromTheCountBeforeRemoval) {
  KX_IntArray array;
  for (int i = 0; i < 100; ++i) array.append(i);
  EXPECT_EQ(array.getCapacity(), 120);
  array.removeRange(10, 80);
  EXPECT_EQ(array.getCount(), 20);
  EXPECT_EQ(array.getCapacity(), 56);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(array.at(i), i);
  for (int i = 10; i < 20; ++i) EXPECT_EQ(array.at(i), 80 + i);
  EXPECT_TRUE(isTerminated(array));

  KX_IntArray large;
  for (int i = 0; i < 1000; ++i) large.append(i);
  EXPECT_EQ(large.getCapacity(), 1016);
  // 1016 - 64 is still far above what 10 elements need, so the capacity is
  // measured from the 1000 elements before the removal.
  large.removeRange(0, 990);
  EXPECT_EQ(large.getCapacity(), 1065);
  for (int i = 0; i < 10; ++i) EXPECT_EQ(large.at(i), 990 + i);

  KX_IntArray clamped;
  for (int i = 0; i < 6; ++i) clamped.append(i + 1);
  clamped.removeRange(7, 2);  // beyond the end: nothing
  EXPECT_EQ(clamped.getCount(), 6);
  clamped.removeRange(-2, 3);  // from 0, still 3 elements
  EXPECT_EQ(clamped.getCount(), 3);
  EXPECT_EQ(clamped.at(0), 4);
  clamped.removeRange(1, 50);  // what is left behind position 1
  EXPECT_EQ(clamped.getCount(), 1);
  EXPECT_EQ(clamped.getBuffer()[1], 0);
  clamped.removeRange(0, 0);
  EXPECT_EQ(clamped.getCount(), 1);
}

TEST_F(ArrayStorage, ABorrowedBufferIsCopiedOnFirstWriteAndNeverWritten) {
  int small[5] = {1, 2, 3, 4, 5};
  KX_IntArray view;
  view.borrowBuffer(small, 5);
  EXPECT_TRUE(view.isBufferBorrowed());
  EXPECT_EQ(view.getCapacity(), 6);
  EXPECT_EQ(view.at(4), 5);
  view.removeRange(9, 1);  // nothing to remove: still borrowed
  EXPECT_TRUE(view.isBufferBorrowed());
  view.ownBuffer();
  EXPECT_FALSE(view.isBufferBorrowed());
  EXPECT_TRUE(view.isInline());
  view.set(0, 99);
  EXPECT_EQ(small[0], 1);
  EXPECT_TRUE(isTerminated(view));

  int large[30];
  for (int i = 0; i < 30; ++i) large[i] = i;
  KX_IntArray bigView;
  bigView.borrowBuffer(large, 30);
  bigView.append(30);
  // ownBuffer gives a block of 31 places; the append then grows it at once.
  EXPECT_EQ(bigView.getCapacity(), 63);
  EXPECT_EQ(bigView.getCount(), 31);
  for (int i = 0; i < 31; ++i) EXPECT_EQ(bigView.at(i), i);
  for (int i = 0; i < 30; ++i) EXPECT_EQ(large[i], i);

  int kept[3] = {7, 8, 9};
  {
    KX_IntArray cleared;
    cleared.borrowBuffer(kept, 3);
    cleared.clear();  // leaves the caller's buffer alone
    EXPECT_TRUE(cleared.isInline());
    EXPECT_FALSE(cleared.isBufferBorrowed());
  }
  EXPECT_EQ(kept[2], 9);
}

TEST_F(ArrayStorage, CompactGivesBackUnusedPlaces) {
  KX_FloatArray array;
  for (int i = 0; i < 40; ++i) array.append(static_cast<float>(i));
  EXPECT_EQ(array.getCapacity(), 56);
  array.compact();
  EXPECT_EQ(array.getCapacity(), 41);
  EXPECT_TRUE(isTerminated(array));
  array.removeRange(20, 20);
  array.compact();
  EXPECT_TRUE(array.isInline());
  EXPECT_EQ(array.getCapacity(), 24);
  for (int i = 0; i < 20; ++i) EXPECT_EQ(array.at(i), static_cast<float>(i));
  EXPECT_TRUE(isTerminated(array));
}

TEST_F(ArrayStorage, CopyFromTakesGrowStepAndContentsIntoInlineOrExactBlock) {
  KX_CharArray source(5);
  const char* text = "a text of more than twenty-three characters";
  for (const char* c = text; *c != '\0'; ++c) source.append(*c);
  KX_CharArray copy;
  copy.append('x');
  copy.copyFrom(&source);
  EXPECT_STREQ(copy.getBuffer(), text);
  EXPECT_EQ(copy.getGrowStep(), 5);
  EXPECT_EQ(copy.getCapacity(), static_cast<int>(std::strlen(text)) + 1);

  KX_CharArray shortSource;
  shortSource.append('o');
  shortSource.append('k');
  copy.copyFrom(&shortSource);
  EXPECT_TRUE(copy.isInline());
  EXPECT_STREQ(copy.getBuffer(), "ok");
  copy.copyFrom(&copy);  // onto itself: unchanged
  EXPECT_STREQ(copy.getBuffer(), "ok");
}

TEST_F(ArrayStorage, BinarySearchesAgreeWithALinearScan) {
  std::srand(7);
  for (int round = 0; round < 200; ++round) {
    KX_IntArray array;
    int n = std::rand() % 40;
    int value = std::rand() % 5;
    for (int i = 0; i < n; ++i) {
      value += std::rand() % 3;  // ascending, with repeats
      array.append(value);
    }
    for (int probe = -1; probe <= value + 1; ++probe) {
      int found = array.findSorted(probe);
      bool present = false;
      for (int i = 0; i < n; ++i) present = present || array.at(i) == probe;
      if (present) {
        ASSERT_GE(found, 0);
        EXPECT_EQ(array.at(found), probe);
      } else {
        EXPECT_EQ(found, -1);
      }
      int position = array.findInsertPosition(probe);
      ASSERT_GE(position, 0);
      ASSERT_LE(position, n);
      if (position > 0) {
        EXPECT_LE(array.at(position - 1), probe);
      }
      if (position < n) {
        EXPECT_GE(array.at(position), probe);
      }
    }
  }
}

TEST_F(ArrayStorage, PointersCompareAsUnsignedNumbers) {
  KX_VoidPtrArray array;
  void* low = reinterpret_cast<void*>(std::uintptr_t{0x10});
  void* high = reinterpret_cast<void*>(~std::uintptr_t{0} - 0xF);
  array.insert(array.findInsertPosition(high), high);
  array.insert(array.findInsertPosition(low), low);
  EXPECT_EQ(array.at(0), low);
  EXPECT_EQ(array.at(1), high);
  EXPECT_EQ(array.findSorted(high), 1);
}

}  // namespace
