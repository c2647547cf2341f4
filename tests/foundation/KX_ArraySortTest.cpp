// The sort operators against the standard library's sorts on random arrays of
// every element type, with indices telling where each element came from.
#include <gtest/gtest.h>
#include <pthread.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <numeric>
#include <random>
#include <vector>

#include "foundation/KX_ByteArray.h"
#include "foundation/KX_CharArray.h"
#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "foundation/KX_LongLongArray.h"
#include "foundation/KX_ObjectArray.h"
#include "foundation/KX_VoidPtrArray.h"
#include "geometry/KX_PointSet2D.h"
#include "support/CountedObject.h"
#include "support/LiveBlockGuard.h"

namespace {

class ArraySort : public LiveBlockTest {};

template <class Array, class T>
void fill(Array& array, const std::vector<T>& values) {
  for (const T& value : values) array.append(value);
}

template <class Array, class T>
std::vector<T> contents(const Array& array) {
  std::vector<T> out;
  for (int i = 0; i < array.getCount(); ++i) out.push_back(array.at(i));
  return out;
}

// Indices of a stable sort of `values` under `less`: the order a stable
// sort must give, equal elements in their original order.
template <class T, class Less>
std::vector<int> stableOrder(const std::vector<T>& values, Less less) {
  std::vector<int> order(values.size());
  std::iota(order.begin(), order.end(), 0);
  std::stable_sort(order.begin(), order.end(), [&](int a, int b) { return less(values[a], values[b]); });
  return order;
}

// Sorts `values` in the array with indices and checks the result against a
// stable sort by `less`, element by element and index by index.
template <class Array, class T, class Less>
void expectStableSort(const std::vector<T>& values, Less less) {
  Array array;
  fill(array, values);
  std::vector<int> indices(values.size());
  array.sort(indices.data());
  std::vector<int> expected = stableOrder(values, less);
  ASSERT_EQ(indices, expected);
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(std::memcmp(&array.at(static_cast<int>(i)), &values[expected[i]], sizeof(T)), 0) << i;
  }
  // The plain form gives the same elements.
  Array plain;
  fill(plain, values);
  plain.sort();
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(std::memcmp(&plain.at(static_cast<int>(i)), &values[expected[i]], sizeof(T)), 0) << i;
  }
}

TEST_F(ArraySort, IntegerRadixSortsAreStableAndAscending) {
  std::mt19937 random(7);
  for (int n : {1, 2, 23, 24, 25, 100, 1000}) {
    std::vector<int> ints;
    std::vector<long long> longs;
    std::vector<char> chars;
    std::vector<unsigned char> bytes;
    std::uniform_int_distribution<int> small(-20, 20);
    for (int i = 0; i < n; ++i) {
      // Few distinct values so that equal elements are common, and the extremes.
      int pick = static_cast<int>(random() % 10);
      ints.push_back(pick == 0 ? INT32_MIN : pick == 1 ? INT32_MAX : small(random));
      longs.push_back(pick == 0 ? INT64_MIN : pick == 1 ? static_cast<long long>(random()) << 31 : small(random));
      chars.push_back(static_cast<char>(random()));
      bytes.push_back(static_cast<unsigned char>(random() % 7 == 0 ? 200 + random() % 56 : random() % 20));
    }
    std::less<> less;
    expectStableSort<KX_IntArray>(ints, less);
    expectStableSort<KX_LongLongArray>(longs, less);
    expectStableSort<KX_CharArray>(chars, less);
    expectStableSort<KX_ByteArray>(bytes, less);
  }
}

TEST_F(ArraySort, PointerRadixSortOrdersAddressesAsUnsignedNumbers) {
  std::mt19937 random(11);
  std::vector<void*> pointers;
  for (int i = 0; i < 500; ++i) {
    std::uintptr_t address = random() % 64;
    if (i % 3 == 0) address += 0x80000000u;              // above the signed 32-bit range
    if (i % 5 == 0) address |= std::uintptr_t(1) << 63;  // the top bit of the address
    pointers.push_back(reinterpret_cast<void*>(address));
  }
  expectStableSort<KX_VoidPtrArray>(pointers, [](void* a, void* b) {
    return reinterpret_cast<std::uintptr_t>(a) < reinterpret_cast<std::uintptr_t>(b);
  });

  KX_VoidPtrArray array;
  fill(array, std::vector<void*>{reinterpret_cast<void*>(0x80000000u), reinterpret_cast<void*>(0x10)});
  array.sort();
  EXPECT_EQ(array.at(0), reinterpret_cast<void*>(0x10));
}

// Float order of the raw-bit sort: numbers below zero ascending, then +0,
// then the positive numbers, and negative zero last (its sign bit is set,
// but it is not below zero). Equal negative numbers come out reversed when
// the negative part was reversed, that is when it holds two different values.
std::vector<int> expectedFloatOrder(const std::vector<float>& values) {
  auto rank = [](float v) { return v < 0 ? 0 : std::signbit(v) ? 2 : 1; };
  std::vector<int> order =
      stableOrder(values, [&](float a, float b) { return rank(a) != rank(b) ? rank(a) < rank(b) : a < b; });
  std::size_t negatives = 0;
  while (negatives < order.size() && values[order[negatives]] < 0) ++negatives;
  if (negatives >= 2 && values[order[0]] != values[order[negatives - 1]]) {
    for (std::size_t i = 0; i < negatives;) {
      std::size_t end = i;
      while (end < negatives && values[order[end]] == values[order[i]]) ++end;
      std::reverse(order.begin() + static_cast<long>(i), order.begin() + static_cast<long>(end));
      i = end;
    }
  }
  return order;
}

void expectFloatSort(const std::vector<float>& values) {
  KX_FloatArray array;
  fill(array, values);
  std::vector<int> indices(values.size());
  array.sort(indices.data());
  std::vector<int> expected = expectedFloatOrder(values);
  ASSERT_EQ(indices, expected);
  for (std::size_t i = 0; i < values.size(); ++i) {
    float got = array.at(static_cast<int>(i));
    EXPECT_EQ(std::memcmp(&got, &values[expected[i]], sizeof(float)), 0) << i;
  }
}

TEST_F(ArraySort, FloatRadixSortPutsNegativesFirstAndNegativeZeroLast) {
  std::mt19937 random(3);
  for (int n : {1, 5, 24, 300, 2000}) {
    std::vector<float> values;
    for (int i = 0; i < n; ++i) {
      int pick = static_cast<int>(random() % 12);
      float value = static_cast<float>(static_cast<int>(random() % 9) - 4) * 0.5f;
      if (pick == 0) value = -0.0f;
      if (pick == 1) value = std::ldexp(static_cast<float>(random() % 1000), -static_cast<int>(random() % 40));
      values.push_back(value);
    }
    expectFloatSort(values);
  }
  expectFloatSort({-1.5f, 2, -3, 0});
  expectFloatSort({4, 1, -2, 3});            // one negative: nothing reversed, it moves to the front
  expectFloatSort({-1, -1, -1});             // equal negatives alone keep their order
  expectFloatSort({-1, -1, -2, -1});         // all negative, reversed run of equal ones
  expectFloatSort({1, -0.0f, 0, -0.0f, 2});  // negative zero behind the positive numbers

  KX_FloatArray array;
  fill(array, std::vector<float>{-1.5f, 2, -3, 0});
  int indices[4];
  array.sort(indices);
  EXPECT_EQ((contents<KX_FloatArray, float>(array)), (std::vector<float>{-3, -1.5f, 0, 2}));
  EXPECT_EQ(std::vector<int>(indices, indices + 4), (std::vector<int>{2, 0, 3, 1}));
}

TEST_F(ArraySort, CharsAndBytes) {
  KX_CharArray letters;
  fill(letters, std::vector<char>{'c', 'a', 'b', static_cast<char>(-5)});
  letters.sort();
  EXPECT_EQ((contents<KX_CharArray, char>(letters)), (std::vector<char>{-5, 'a', 'b', 'c'}));
  EXPECT_EQ(letters.getBuffer()[4], 0);  // still a terminated text

  KX_ByteArray bytes;
  fill(bytes, std::vector<unsigned char>{200, 3, 255, 0});
  bytes.sort();
  EXPECT_EQ((contents<KX_ByteArray, unsigned char>(bytes)), (std::vector<unsigned char>{0, 3, 200, 255}));
}

TEST_F(ArraySort, QuickSortAgreesWithStdSortOnPoints) {
  std::mt19937 random(5);
  for (int n : {1, 2, 3, 24, 25, 500}) {
    std::vector<KX_Point2D> points;
    for (int i = 0; i < n; ++i) {
      points.push_back({static_cast<float>(random() % 6), static_cast<float>(random() % 4)});
    }
    KX_PointSet2D set;
    fill(set, points);
    std::vector<int> indices(points.size());
    set.sort(indices.data());
    std::vector<KX_Point2D> expected = points;
    std::sort(expected.begin(), expected.end());
    std::vector<bool> seen(points.size(), false);
    for (int i = 0; i < n; ++i) {
      EXPECT_EQ(set.at(i), expected[i]) << i;
      ASSERT_TRUE(indices[i] >= 0 && indices[i] < n);
      EXPECT_FALSE(seen[indices[i]]) << "index " << indices[i] << " twice";
      seen[indices[i]] = true;
      EXPECT_EQ(set.at(i), points[indices[i]]) << i;
    }
  }

  KX_PointSet2D set;
  fill(set, std::vector<KX_Point2D>{{1, 2}, {1, 1}, {0, 5}});
  int indices[3];
  set.sort(indices);
  EXPECT_EQ(set.at(0), (KX_Point2D{0, 5}));
  EXPECT_EQ(set.at(1), (KX_Point2D{1, 1}));
  EXPECT_EQ(set.at(2), (KX_Point2D{1, 2}));
  EXPECT_EQ(std::vector<int>(indices, indices + 3), (std::vector<int>{2, 1, 0}));
}

TEST_F(ArraySort, QuickSortOrderAmongEqualElements) {
  // Three equal points: the scan exchanges 0 and 1, then puts the pivot at 1,
  // so the elements come out as originally at 1, 2, 0.
  KX_PointSet2D set;
  fill(set, std::vector<KX_Point2D>{{1, 1}, {1, 1}, {1, 1}});
  int indices[3];
  set.sort(indices);
  EXPECT_EQ(std::vector<int>(indices, indices + 3), (std::vector<int>{1, 2, 0}));
}

TEST_F(ArraySort, QuickSortOfObjectsUsesTheirOrder) {
  CountedObject::live = 0;
  {
    KX_ObjectArray array;
    std::vector<KX_Base*> objects;
    for (int i = 0; i < 40; ++i) objects.push_back(new CountedObject(i));
    std::mt19937 random(1);
    std::shuffle(objects.begin(), objects.end(), random);
    fill(array, objects);
    array.sort();
    for (int i = 1; i < 40; ++i) {
      EXPECT_LT(reinterpret_cast<std::uintptr_t>(array.at(i - 1)), reinterpret_cast<std::uintptr_t>(array.at(i)));
    }
  }
  EXPECT_EQ(CountedObject::live, 0);
}

// Runs the quick sort of an already sorted range on a thread with a small
// stack: a sort that recursed once per element would overflow it.
void* sortSortedPoints(void* argument) {
  auto* set = static_cast<KX_PointSet2D*>(argument);
  set->sort();
  return nullptr;
}

TEST_F(ArraySort, QuickSortOfSortedInputRunsOnASmallStack) {
  KX_PointSet2D set;
  const int n = 8000;
  for (int i = 0; i < n; ++i) set.append({static_cast<float>(i), 0});
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  ASSERT_EQ(pthread_attr_setstacksize(&attributes, 128 * 1024), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &attributes, sortSortedPoints, &set), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&attributes);
  for (int i = 0; i < n; ++i) ASSERT_EQ(set.at(i).x, static_cast<float>(i));
}

TEST_F(ArraySort, RadixSortsTakeOneBlockPerSortAndNoneWhenEmpty) {
  KX_IntArray empty;
  long long before = KX_getAllocationCount();
  empty.sort();
  EXPECT_EQ(KX_getAllocationCount(), before);

  KX_IntArray small;  // inline storage: only the scratch blocks are allocated
  fill(small, std::vector<int>{3, -1, 2});
  before = KX_getAllocationCount();
  small.sort();
  EXPECT_EQ(KX_getAllocationCount(), before + 1);
  int indices[3];
  before = KX_getAllocationCount();
  small.sort(indices);
  EXPECT_EQ(KX_getAllocationCount(), before + 2);

  KX_IntArray one;
  one.append(-7);
  one.sort(indices);
  EXPECT_EQ(one.at(0), -7);
  EXPECT_EQ(indices[0], 0);
}

TEST_F(ArraySort, OperatorsSortOnlyTheGivenRange) {
  int values[] = {9, 8, 3, -1, 2, 0, -9};
  int indices[] = {0, 1, 2, 3, 4, 5, 6};
  KX_ArraySignedRadixSortOperator<int, KX_ArrayDefaultComparator<int>, KX_ArrayDefaultXchgOperator<int>>::sort(
      values, 2, 4, indices);
  EXPECT_EQ(std::vector<int>(values, values + 7), (std::vector<int>{9, 8, -1, 2, 3, 0, -9}));
  EXPECT_EQ(std::vector<int>(indices, indices + 7), (std::vector<int>{0, 1, 3, 4, 2, 5, 6}));

  KX_Point2D points[] = {{5, 0}, {4, 0}, {3, 0}, {2, 0}, {1, 0}};
  KX_ArrayQuickSortOperator<KX_Point2D, KX_ArrayDefaultComparator<KX_Point2D>,
                            KX_ArrayDefaultXchgOperator<KX_Point2D>>::sort(points, 1, 3);
  EXPECT_EQ(points[0].x, 5);
  EXPECT_EQ(points[1].x, 2);
  EXPECT_EQ(points[3].x, 4);
  EXPECT_EQ(points[4].x, 1);
}

}  // namespace
