// insertAll: order, clamped positions, an empty source, an array into itself,
// and objects handed over without being deleted twice.
#include <gtest/gtest.h>

#include "foundation/KX_ObjectArray.h"
#include "support/CountedObject.h"
#include "support/LiveBlockGuard.h"

namespace {

using KX_ObjectArrayInsertAll = LiveBlockTest;

void expectValues(const KX_ObjectArray& array, std::initializer_list<int> values) {
  ASSERT_EQ(array.getCount(), int(values.size()));
  int i = 0;
  for (int value : values) EXPECT_EQ(static_cast<CountedObject*>(array.at(i++))->value, value) << i - 1;
}

TEST_F(KX_ObjectArrayInsertAll, InsertsInOrderAtClampedPositions) {
  int liveBefore = CountedObject::live;
  {
    KX_ObjectArray target, first, source, empty;
    target.elementsBorrowed = true;  // `first` and `source` keep owning the objects
    for (int v : {1, 2}) first.append(new CountedObject(v));
    for (int v : {10, 11}) source.append(new CountedObject(v));
    target.insertAll(0, first);
    target.insertAll(1, source);
    target.insertAll(-5, source);
    target.insertAll(99, source);
    target.insertAll(0, empty);
    expectValues(target, {10, 11, 1, 10, 11, 2, 10, 11});
    target.insertAll(2, target);  // read before any of them move
    expectValues(target, {10, 11, 10, 11, 1, 10, 11, 2, 10, 11, 1, 10, 11, 2, 10, 11});
    EXPECT_EQ(CountedObject::live, liveBefore + 4);
    EXPECT_EQ(source.getCount(), 2);
  }
  EXPECT_EQ(CountedObject::live, liveBefore);
}

}  // namespace
