// The order and copies of KX_DateTime.
#include <gtest/gtest.h>

#include "foundation/KX_DateTime.h"
#include "support/LiveBlockGuard.h"

namespace {

class DateTimeTest : public LiveBlockTest {};

TEST_F(DateTimeTest, OrderGoesFromYearDownToMicroseconds) {
  KX_DateTime early;
  early.setDate(31, 12, 2020);
  early.setTime(23, 59, 59, 999999);
  KX_DateTime late;
  late.setDate(1, 1, 2021);
  EXPECT_TRUE(early.isLess(&late));  // the year decides before all later fields
  EXPECT_FALSE(late.isLess(&early));

  KX_DateTime same;
  same.copyFrom(&early);
  EXPECT_TRUE(same.isEqual(&early));
  EXPECT_FALSE(same.isLess(&early));
  same.microseconds -= 1;
  EXPECT_TRUE(same.isLess(&early));
  EXPECT_FALSE(same.isEqual(&early));

  KX_DateTime negative;
  negative.setDate(1, 1, -5);  // fields compare as signed numbers
  EXPECT_TRUE(negative.isLess(&late));

  KX_Base* fresh = early.newInstance();
  KX_DateTime zero;
  EXPECT_TRUE(fresh->isEqual(&zero));  // a new stamp has all fields 0
  EXPECT_FALSE(fresh->isEqual(&early));
  delete fresh;
}

}  // namespace
