// KX_2DBitArray: rows on byte boundaries, the spare bits of a row on growth,
// and removeColumns against a brute-force grid.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "foundation/KX_2DBitArray.h"
#include "support/LiveBlockGuard.h"

namespace {

class BitGrid : public LiveBlockTest {};

using Oracle = std::vector<std::vector<bool>>;

::testing::AssertionResult sameBits(const KX_2DBitArray& grid, int bitWidth, const Oracle& expected) {
  if (grid.getBitWidth() != bitWidth || grid.getWidth() != (bitWidth + 7) / 8 ||
      grid.getHeight() != static_cast<int>(expected.size())) {
    return ::testing::AssertionFailure() << grid.getBitWidth() << " bits, " << grid.getWidth() << " bytes wide";
  }
  for (int y = 0; y < grid.getHeight(); ++y) {
    for (int x = 0; x < bitWidth; ++x) {
      if (grid.getBit(x, y) != expected[y][x]) return ::testing::AssertionFailure() << "bit " << x << ", " << y;
    }
  }
  return ::testing::AssertionSuccess();
}

TEST_F(BitGrid, GrowingWithZeroNewClearsTheSpareBitsOfEveryRow) {
  for (bool zeroNew : {true, false}) {
    KX_2DBitArray grid(13, 2, true);
    EXPECT_EQ(grid.getWidth(), 2);
    grid.setBit(12, 1, true);
    EXPECT_EQ(grid.at(1, 1), 0x10);
    grid.getRow(0)[1] = 0xFF;  // bits 8 to 15 of row 0, the spare ones included
    grid.resize(16, 2, zeroNew);
    EXPECT_TRUE(grid.getBit(12, 0));
    EXPECT_TRUE(grid.getBit(12, 1));
    for (int x = 13; x < 16; ++x) EXPECT_EQ(grid.getBit(x, 0), !zeroNew) << "zeroNew " << zeroNew;
  }
}

TEST_F(BitGrid, RemovingColumnsAtTheEndOnlyShortensTheRows) {
  KX_2DBitArray grid(9, 2, true);
  grid.setBit(8, 0, true);
  grid.setBit(7, 1, true);
  grid.removeColumns(8, 1);
  EXPECT_EQ(grid.getWidth(), 1);
  EXPECT_EQ(grid.at(0, 0), 0x00);
  EXPECT_EQ(grid.at(0, 1), 0x80);
  grid.removeColumns(6, 50);  // n is cut to the columns there are
  EXPECT_EQ(grid.getBitWidth(), 6);
  grid.removeColumns(2, 0);  // a count below 1 removes nothing
  grid.removeColumns(9, 1);
  EXPECT_EQ(grid.getBitWidth(), 6);
}

TEST_F(BitGrid, RandomResizesAndRemovalsMatchABruteForceGrid) {
  std::mt19937 random(99);
  for (int round = 0; round < 40; ++round) {
    int bitWidth = 1 + static_cast<int>(random() % 60);
    int height = 1 + static_cast<int>(random() % 5);
    KX_2DBitArray grid(3, 2, true);
    grid.setBit(2, 1, true);
    grid.resize(bitWidth, height, true);
    Oracle oracle(height, std::vector<bool>(bitWidth));
    if (height > 1 && bitWidth > 2) oracle[1][2] = true;  // kept by the resize
    for (int i = 0; i < bitWidth * height / 2; ++i) {
      int x = static_cast<int>(random() % bitWidth);
      int y = static_cast<int>(random() % height);
      oracle[y][x] = !oracle[y][x];
      grid.setBit(x, y, oracle[y][x]);
    }
    ASSERT_TRUE(sameBits(grid, bitWidth, oracle)) << "round " << round;
    KX_2DBitArray copy;
    copy.copyFrom(&grid);
    while (copy.getBitWidth() > 0) {
      int position = static_cast<int>(random() % copy.getBitWidth());
      int n = 1 + static_cast<int>(random() % 4);
      copy.removeColumns(position, n);
      for (auto& row : oracle) row.erase(row.begin() + position, row.begin() + std::min<int>(position + n, row.size()));
      ASSERT_TRUE(sameBits(copy, static_cast<int>(oracle[0].size()), oracle)) << "round " << round;
    }
  }
}

}  // namespace
