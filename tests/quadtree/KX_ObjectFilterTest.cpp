// The filters through which a query asks about an object.
#include <gtest/gtest.h>

#include "quadtree/KX_ObjectFilter.h"
#include "quadtree/QV_QuadTreeObjectFilter.h"
#include "support/LiveBlockGuard.h"

namespace {

void* seenObject = nullptr;
int seenData = 0;
int calls = 0;

bool acceptEvenData(void* object, int data) {
  seenObject = object;
  seenData = data;
  ++calls;
  return data % 2 == 0;
}

TEST(KX_ObjectFilter, AcceptsEveryObject) {
  KX_ObjectFilter filter;
  int object = 0;
  EXPECT_TRUE(filter.isObjectAccepted(&object, 0));
  EXPECT_TRUE(filter.isObjectAccepted(nullptr, -1));
}

using QV_QuadTreeObjectFilterTest = LiveBlockTest;

TEST_F(QV_QuadTreeObjectFilterTest, QuadTreeFilterPassesObjectAndDataThroughAndReturnsTheAnswer) {
  int object = 0;
  KX_ObjectFilter* filter = new QV_QuadTreeObjectFilter(acceptEvenData);
  calls = 0;
  EXPECT_TRUE(filter->isObjectAccepted(&object, 42));
  EXPECT_EQ(seenObject, &object);
  EXPECT_EQ(seenData, 42);
  EXPECT_FALSE(filter->isObjectAccepted(nullptr, -7));
  EXPECT_EQ(seenObject, nullptr);
  EXPECT_EQ(seenData, -7);
  EXPECT_EQ(calls, 2);
  delete filter;
}

}  // namespace
