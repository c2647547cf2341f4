// Ownership rules of KX_ObjectArray: what each operation destroys, clones or
// leaves to its owner, with and without `elementsBorrowed`.
#include <gtest/gtest.h>

#include "foundation/KX_ObjectArray.h"
#include "support/CountedObject.h"
#include "support/LiveBlockGuard.h"

namespace {

class ObjectArrayOwnership : public LiveBlockTest {
 protected:
  void SetUp() override {
    LiveBlockTest::SetUp();
    CountedObject::live = 0;
  }
  static void fill(KX_ObjectArray& array, int n) {
    for (int i = 0; i < n; ++i) array.append(new CountedObject(i));
  }
  static int valueAt(const KX_ObjectArray& array, int index) {
    return static_cast<CountedObject*>(array.at(index))->value;
  }
};

TEST_F(ObjectArrayOwnership, OwnedElementsDieWithEveryRemovingOperation) {
  {
    KX_ObjectArray array;
    fill(array, 30);
    array.remove(0);
    EXPECT_EQ(CountedObject::live, 29);
    array.removeRange(0, 4);
    EXPECT_EQ(CountedObject::live, 25);
    array.resize(20);
    EXPECT_EQ(CountedObject::live, 20);
    EXPECT_EQ(valueAt(array, 0), 5);
    array.append(nullptr);  // null elements are skipped by the destructor policy
    array.clear();
    EXPECT_EQ(CountedObject::live, 0);
    fill(array, 3);
  }
  EXPECT_EQ(CountedObject::live, 0);
}

TEST_F(ObjectArrayOwnership, BorrowedElementsSurviveEveryOperation) {
  CountedObject objects[30];
  {
    KX_ObjectArray array;
    array.elementsBorrowed = true;
    for (CountedObject& object : objects) array.append(&object);
    array.remove(3);
    array.removeRange(0, 2);
    array.resize(10);
    array.clear();
    EXPECT_TRUE(array.elementsBorrowed);  // clear keeps the flag
    for (CountedObject& object : objects) array.append(&object);
  }
  EXPECT_EQ(CountedObject::live, 30);
}

TEST_F(ObjectArrayOwnership, CopyFromClonesEveryObjectAndOwnsTheClones) {
  KX_ObjectArray source;
  CountedObject a(1), b(2);
  source.elementsBorrowed = true;
  source.append(&a);
  source.append(nullptr);
  source.append(&b);
  {
    KX_ObjectArray copy;
    fill(copy, 2);
    copy.copyFrom(&source);
    EXPECT_FALSE(copy.elementsBorrowed);
    EXPECT_EQ(CountedObject::live, 4);  // a, b and their two clones
    ASSERT_EQ(copy.getCount(), 3);
    EXPECT_NE(copy.at(0), &a);
    EXPECT_EQ(valueAt(copy, 0), 1);
    EXPECT_EQ(copy.at(1), nullptr);
    EXPECT_EQ(valueAt(copy, 2), 2);
  }
  EXPECT_EQ(CountedObject::live, 2);
}

TEST_F(ObjectArrayOwnership, ABorrowedBufferOwnsNothing) {
  CountedObject first(1), second(2);
  KX_Base* buffer[2] = {&first, &second};
  {
    KX_ObjectArray view;
    view.borrowBuffer(buffer, 2);
    EXPECT_EQ(view.findSorted(&second), &first < &second ? 1 : 0);
  }
  EXPECT_EQ(CountedObject::live, 2);
  EXPECT_EQ(buffer[0], &first);
}

TEST_F(ObjectArrayOwnership, AddressSearchFindsOnlyRegisteredObjects) {
  KX_ObjectArray registry;
  for (int i = 0; i < 40; ++i) {
    KX_Base* object = new CountedObject(i);
    registry.insert(registry.findInsertPosition(object), object);
  }
  for (int i = 1; i < registry.getCount(); ++i) EXPECT_TRUE(registry.at(i - 1)->isLess(registry.at(i)));
  for (int i = 0; i < registry.getCount(); ++i) EXPECT_EQ(KX_findByAddress(registry, registry.at(i)), i);
  int local = 0;
  EXPECT_EQ(KX_findByAddress(registry, &local), -1);
  EXPECT_EQ(KX_findByAddress(registry, nullptr), -1);
}

}  // namespace
