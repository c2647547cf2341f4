// A test fixture that fails a test which leaves more live memory blocks
// behind than it found.
#pragma once

#include <gtest/gtest.h>

#include "platform/kxsys.h"

class LiveBlockTest : public ::testing::Test {
 protected:
  void SetUp() override { liveBlocksAtStart = KX_getLiveBlockCount(); }
  void TearDown() override { EXPECT_EQ(KX_getLiveBlockCount(), liveBlocksAtStart) << "memory blocks leaked"; }

  long long liveBlocksAtStart = 0;
};
