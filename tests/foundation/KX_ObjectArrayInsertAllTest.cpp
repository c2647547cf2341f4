// insertAll: order, clamping, an empty source, inserting an array into itself,
// and handing objects over without deleting them twice.
#include <gtest/gtest.h>

#include "foundation/KX_ObjectArray.h"
#include "support/CountedObject.h"
#include "support/LiveBlockGuard.h"

namespace {

using KX_ObjectArrayInsertAll = LiveBlockTest;

int valueAt(const KX_ObjectArray& array, int index) {
  return static_cast<CountedObject*>(array.at(index))->value;
}

TEST_F(KX_ObjectArrayInsertAll, InsertsInOrderAtClampedPositionsAndMovesOwnership) {
  int liveBefore = CountedObject::live;
  {
    KX_ObjectArray target;
    KX_ObjectArray source;
    for (int v : {1, 2}) target.append(new CountedObject(v));
    for (int v : {10, 11, 12}) source.append(new CountedObject(v));
    target.insertAll(1, source);
    source.elementsBorrowed = true;
    int expected[] = {1, 10, 11, 12, 2};
    ASSERT_EQ(target.getCount(), 5);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(valueAt(target, i), expected[i]);

    KX_ObjectArray more;
    more.append(new CountedObject(20));
    target.insertAll(-5, more);
    more.elementsBorrowed = true;
    more.clear();  // borrowed: 20 lives on in `target`
    more.elementsBorrowed = false;
    more.append(new CountedObject(30));
    target.insertAll(99, more);
    more.elementsBorrowed = true;
    ASSERT_EQ(target.getCount(), 7);
    EXPECT_EQ(valueAt(target, 0), 20);
    EXPECT_EQ(valueAt(target, 6), 30);

    KX_ObjectArray empty;
    target.insertAll(0, empty);
    EXPECT_EQ(target.getCount(), 7);

    // Into itself: the pointers are read before any of them move.
    target.elementsBorrowed = true;
    target.insertAll(2, target);
    int doubled[] = {20, 1, 20, 1, 10, 11, 12, 2, 30, 10, 11, 12, 2, 30};
    ASSERT_EQ(target.getCount(), 14);
    for (int i = 0; i < 14; ++i) EXPECT_EQ(valueAt(target, i), doubled[i]) << i;
    target.removeRange(2, 7);
    target.elementsBorrowed = false;
    EXPECT_EQ(CountedObject::live, liveBefore + 7);
  }
  EXPECT_EQ(CountedObject::live, liveBefore);
}

}  // namespace
