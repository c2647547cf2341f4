// KX_BitArray: bit placement, the byte count across byte boundaries, clamping,
// borrowed buffers, and random operations against a std::vector<bool>.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <vector>

#include "foundation/KX_BitArray.h"
#include "support/LiveBlockGuard.h"

namespace {

class BitArray : public LiveBlockTest {};

int findInVector(const std::vector<bool>& bits, int start, bool value) {
  for (int i = start < 0 ? 0 : start; i < static_cast<int>(bits.size()); ++i) {
    if (bits[i] == value) return i;
  }
  return -1;
}

::testing::AssertionResult sameBits(const KX_BitArray& array, const std::vector<bool>& expected) {
  if (array.getBitCount() != static_cast<int>(expected.size()) || array.getCount() != (array.getBitCount() + 7) / 8) {
    return ::testing::AssertionFailure() << array.getBitCount() << " bits in " << array.getCount() << " bytes";
  }
  for (int i = 0; i < array.getBitCount(); ++i) {
    if (array.getBit(i) != expected[i]) return ::testing::AssertionFailure() << "bit " << i << " differs";
  }
  return ::testing::AssertionSuccess();
}

void fill(KX_BitArray& array, const std::vector<bool>& bits) {
  for (bool bit : bits) array.insertBit(array.getBitCount(), bit);
}

TEST_F(BitArray, EdgesOfPlacementClampingAndSearch) {
  KX_BitArray array;
  EXPECT_EQ(array.findBit(0, false), -1);  // empty
  array.removeBit(0);                      // nothing to remove
  EXPECT_EQ(array.getBitCount(), 0);

  fill(array, {true, false});
  EXPECT_EQ(array.at(0), 0x01);  // bit 0 is the lowest bit of the first byte
  EXPECT_EQ(array.insertBit(0, false), 0);
  EXPECT_TRUE(sameBits(array, {false, true, false}));
  EXPECT_EQ(array.insertBit(-4, true), 0);
  EXPECT_EQ(array.insertBit(99, true), 4);  // above bitCount: appends
  array.removeBit(99);                      // above the last index: the last bit goes
  EXPECT_TRUE(sameBits(array, {true, false, true, false}));

  // 8 to 9 bits makes two bytes, and back.
  KX_BitArray eight;
  fill(eight, std::vector<bool>(8, true));
  eight.insertBit(8, false);
  EXPECT_EQ(eight.getCount(), 2);
  EXPECT_EQ(eight.findBit(0, false), 8);
  eight.removeBit(8);
  EXPECT_EQ(eight.getCount(), 1);
  // All bits set, the spare ones clear: nothing to find, also from past the end.
  eight.removeBit(7);
  eight.removeBit(6);
  eight.insertBit(6, true);  // appending clears the spare bit above
  EXPECT_EQ(eight.at(0), 0x7F);
  EXPECT_EQ(eight.findBit(0, false), -1);
  EXPECT_EQ(eight.findBit(7, true), -1);
  EXPECT_EQ(eight.findBit(-5, true), 0);
}

TEST_F(BitArray, ABorrowedBufferIsNeverWritten) {
  unsigned char buffer[3] = {0xAA, 0x0F, 0x01};
  KX_BitArray setting;
  setting.borrowBuffer(buffer, 3);
  setting.bitCount = 17;
  EXPECT_EQ(setting.findBit(9, false), 12);
  setting.setBit(0, true);
  EXPECT_EQ(setting.at(0), 0xAB);

  KX_BitArray removing;
  removing.borrowBuffer(buffer, 3);
  removing.bitCount = 17;
  removing.removeBit(0);
  EXPECT_FALSE(removing.isBufferBorrowed());
  EXPECT_EQ(removing.getCount(), 2);
  EXPECT_EQ(removing.at(0), 0xD5);  // 0xAA >> 1, with the lowest bit of 0x0F on top
  EXPECT_EQ(buffer[0], 0xAA);
  EXPECT_EQ(buffer[1], 0x0F);
}

TEST_F(BitArray, RandomOperationsMatchAVectorOfBool) {
  std::mt19937 random(1234);
  for (int round = 0; round < 12; ++round) {
    KX_BitArray array(round % 2 == 0 ? 32 : 3);
    std::vector<bool> oracle;
    // Mostly clear, mixed or mostly set bits, so that findBit meets whole
    // bytes it can pass over as well as bytes it must look into.
    std::bernoulli_distribution setBit(round % 3 == 0 ? 0.03 : (round % 3 == 1 ? 0.5 : 0.97));
    for (int step = 0; step < 1500; ++step) {
      int size = static_cast<int>(oracle.size());
      int choice = static_cast<int>(random() % 10);
      // Grow for the first half, shrink for the second: the bytes cross
      // between inline and heap storage both ways.
      if (choice < (step < 750 ? 5 : 2)) {
        int position = static_cast<int>(random() % (size + 5)) - 2;
        bool value = setBit(random);
        int clamped = std::min(std::max(position, 0), size);
        ASSERT_EQ(array.insertBit(position, value), clamped);
        oracle.insert(oracle.begin() + clamped, value);
      } else if (choice < 8 && size > 0) {
        int position = static_cast<int>(random() % (size + 4)) - 2;
        array.removeBit(position);
        oracle.erase(oracle.begin() + std::min(std::max(position, 0), size - 1));
      } else if (size > 0) {
        int index = static_cast<int>(random() % size);
        oracle[index] = setBit(random);
        array.setBit(index, oracle[index]);
      }
      ASSERT_TRUE(sameBits(array, oracle)) << "round " << round << " step " << step;
      int start = static_cast<int>(random() % (oracle.size() + 10)) - 3;
      ASSERT_EQ(array.findBit(start, true), findInVector(oracle, start, true)) << "start " << start;
      ASSERT_EQ(array.findBit(start, false), findInVector(oracle, start, false)) << "start " << start;
      if (step == 700) {
        KX_BitArray copy;
        copy.copyFrom(&array);
        ASSERT_TRUE(sameBits(copy, oracle));
      }
    }
  }
}

}  // namespace
