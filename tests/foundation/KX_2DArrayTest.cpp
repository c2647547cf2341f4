// KX_2DArray grids: inline and heap storage, resize keeping elements at their
// column and row, borrowed buffers, and ownership of object grids.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "foundation/KX_2DByteArray.h"
#include "foundation/KX_2DFloatArray.h"
#include "foundation/KX_2DIntArray.h"
#include "foundation/KX_2DObjectArray.h"
#include "support/CountedObject.h"
#include "support/LiveBlockGuard.h"

namespace {

template <class Grid>
class ValueGrid : public LiveBlockTest {};

using ValueGrids = ::testing::Types<KX_2DIntArray, KX_2DFloatArray, KX_2DByteArray>;
TYPED_TEST_SUITE(ValueGrid, ValueGrids);

template <class Grid>
using Element = std::remove_const_t<std::remove_reference_t<decltype(std::declval<Grid>().at(0, 0))>>;

TYPED_TEST(ValueGrid, TwentyFiveElementsStayInlineAndZeroNewFillsTheRest) {
  long long blocks = KX_getLiveBlockCount();
  TypeParam grid(6, 5, true);
  EXPECT_FALSE(grid.isInline());
  EXPECT_EQ(KX_getLiveBlockCount(), blocks + 1);
  for (int i = 0; i < 30; ++i) grid.set(i % 6, i / 6, static_cast<Element<TypeParam>>(i));
  EXPECT_EQ(grid.getRow(3)[4], 22);  // row-major: y * width + x
  grid.resize(5, 5, false);
  EXPECT_TRUE(grid.isInline());
  EXPECT_EQ(KX_getLiveBlockCount(), blocks);
  EXPECT_EQ(grid.at(4, 4), 28);

  TypeParam small(2, 2, false);
  for (int i = 0; i < 4; ++i) small.set(i % 2, i / 2, static_cast<Element<TypeParam>>(i + 1));
  // Whatever lies in the unused inline places must not show through.
  std::memset(static_cast<void*>(small.inlineStorage + 4), 0x5A, sizeof(small.inlineStorage[0]) * 21);
  small.resize(3, 3, true);
  for (int y = 0; y < 3; ++y) {
    for (int x = 0; x < 3; ++x) EXPECT_EQ(small.at(x, y), x < 2 && y < 2 ? 1 + x + 2 * y : 0) << x << ", " << y;
  }
}

TYPED_TEST(ValueGrid, RandomResizesAndCopiesKeepWhatFits) {
  std::mt19937 random(77);
  TypeParam grid(3, 4, true);
  std::vector<std::vector<Element<TypeParam>>> oracle(4, std::vector<Element<TypeParam>>(3, 0));
  for (int step = 0; step < 300; ++step) {
    int width = static_cast<int>(random() % 12);
    int height = static_cast<int>(random() % 12);
    grid.resize(width, height, true);
    oracle.resize(height);
    for (auto& row : oracle) row.resize(width, 0);
    ASSERT_EQ(grid.isInline(), width * height <= 25);
    if (width > 0 && height > 0) {
      int x = static_cast<int>(random() % width);
      int y = static_cast<int>(random() % height);
      oracle[y][x] = static_cast<Element<TypeParam>>(1 + random() % 200);
      grid.set(x, y, oracle[y][x]);
    }
    TypeParam copy(1, 1, true);
    copy.copyFrom(&grid);
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        ASSERT_EQ(grid.at(x, y), oracle[y][x]) << "step " << step;
        ASSERT_EQ(copy.at(x, y), oracle[y][x]) << "step " << step;
      }
    }
  }
}

TYPED_TEST(ValueGrid, ABorrowedBufferIsCopiedOnTheFirstWrite) {
  std::vector<Element<TypeParam>> buffer(30);
  for (int i = 0; i < 30; ++i) buffer[i] = static_cast<Element<TypeParam>>(i + 1);
  TypeParam large;
  large.borrowBuffer(buffer.data(), 6, 5);
  large.set(0, 0, 99);
  EXPECT_FALSE(large.isInline());
  EXPECT_EQ(large.at(5, 4), 30);
  TypeParam small;
  small.borrowBuffer(buffer.data(), 4, 2);
  small.resize(2, 2, false);
  EXPECT_EQ(small.at(1, 1), 6);
  EXPECT_EQ(buffer[0], 1);
}

class ObjectGrid : public LiveBlockTest {
 protected:
  void SetUp() override {
    LiveBlockTest::SetUp();
    CountedObject::live = 0;
  }
  static void fill(KX_2DObjectArray& grid) {
    for (int y = 0; y < grid.getHeight(); ++y) {
      for (int x = 0; x < grid.getWidth(); ++x) grid.set(x, y, new CountedObject(10 * y + x));
    }
  }
  static int valueAt(const KX_2DObjectArray& grid, int x, int y) {
    return static_cast<CountedObject*>(grid.at(x, y))->value;
  }
};

TEST_F(ObjectGrid, ResizeAndDestructionDeleteOwnedObjectsOnly) {
  {
    KX_2DObjectArray grid(6, 6, true);
    fill(grid);
    grid.resize(4, 6, false);  // two columns of six
    EXPECT_EQ(CountedObject::live, 24);
    grid.resize(4, 3, false);  // three rows of four
    EXPECT_EQ(CountedObject::live, 12);
    EXPECT_EQ(valueAt(grid, 3, 2), 23);
    grid.resize(5, 4, false);  // places an object grid adds hold null even without zeroNew
    EXPECT_EQ(grid.at(4, 0), nullptr);
    EXPECT_EQ(grid.at(0, 3), nullptr);
  }
  EXPECT_EQ(CountedObject::live, 0);  // the destructor deleted the rest

  std::vector<CountedObject> objects(6);
  {
    KX_2DObjectArray borrowed(3, 2, true);
    borrowed.elementsBorrowed = true;
    for (int i = 0; i < 6; ++i) borrowed.set(i % 3, i / 3, &objects[i]);
    borrowed.resize(1, 1, false);
  }
  EXPECT_EQ(CountedObject::live, 6);
}

TEST_F(ObjectGrid, CopyFromClonesEveryObject) {
  KX_2DObjectArray source(7, 4, true);
  fill(source);
  delete source.at(6, 3);
  source.set(6, 3, nullptr);  // a null element is copied as null
  source.elementsBorrowed = true;
  {
    KX_2DObjectArray copy(2, 2, true);
    copy.set(0, 0, new CountedObject(-1));
    copy.copyFrom(&source);  // deletes the old object, clones 27
    EXPECT_EQ(CountedObject::live, 54);
    EXPECT_FALSE(copy.elementsBorrowed);
    EXPECT_NE(copy.at(2, 1), source.at(2, 1));
    EXPECT_EQ(valueAt(copy, 2, 1), 12);
    EXPECT_EQ(copy.at(6, 3), nullptr);
    KX_Base* fresh = copy.newInstance();
    EXPECT_EQ(static_cast<KX_2DObjectArray*>(fresh)->getWidth(), 7);
    EXPECT_EQ(static_cast<KX_2DObjectArray*>(fresh)->at(3, 3), nullptr);
    delete fresh;
  }
  EXPECT_EQ(CountedObject::live, 27);
  source.elementsBorrowed = false;
}

}  // namespace
