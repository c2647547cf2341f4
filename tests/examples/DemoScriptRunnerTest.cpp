// Counting instructions one VM_execute at a time, checked against budgets
// the machine itself enforces, and a unit's walk that waits in its host
// method while the world moves it.
#include <gtest/gtest.h>

#include "DemoAssets.h"
#include "DemoOptions.h"
#include "DemoScriptRunner.h"
#include "DemoUnit.h"
#include "DemoWorld.h"
#include "qv_helper/qv_helper.h"

extern const unsigned char kTestScript_fibonacci[];

namespace {

class DemoScriptRunnerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    VM_init();
    QuadTree_init();
    FindPath_init();
  }
  void TearDown() override {
    FindPath_exit();
    QuadTree_exit();
    VM_exit();
  }

  void* fibonacci() {
    void* machine = VM_createVirtualMachine();
    VM_loadExecutable(machine, kTestScript_fibonacci, "main");
    return machine;
  }
};

TEST_F(DemoScriptRunnerTest, CountsWhatABudgetOfThatSizeRuns) {
  void* counted = fibonacci();
  const DemoSlice all = runCounted(counted, 1000000);
  EXPECT_FALSE(all.failed);
  EXPECT_FALSE(VM_isRunning(counted));
  ASSERT_GT(all.instructions, 20);
  // The machine's own budget: one step fewer leaves it running, the count halts it.
  void* shorter = fibonacci();
  EXPECT_TRUE(VM_execute(shorter, all.instructions - 1));
  EXPECT_TRUE(VM_isRunning(shorter));
  void* exact = fibonacci();
  EXPECT_TRUE(VM_execute(exact, all.instructions));
  EXPECT_FALSE(VM_isRunning(exact));
  EXPECT_EQ(VM_getIntMemory(exact, 2), VM_getIntMemory(counted, 2));

  // A budget is kept exactly, and the slice goes on where it stopped.
  void* sliced = fibonacci();
  int total = 0;
  for (int budget : {7, 1, 30}) {
    const DemoSlice slice = runCounted(sliced, budget);
    EXPECT_EQ(slice.instructions, budget);
    total += slice.instructions;
  }
  total += runCounted(sliced, 1000000).instructions;
  EXPECT_EQ(total, all.instructions);

  // A halted machine runs nothing; the uncounted slice says it did not count.
  EXPECT_EQ(runCounted(counted, 10).instructions, 0);
  EXPECT_EQ(runSlice(counted, 10).instructions, -1);
}

TEST_F(DemoScriptRunnerTest, AFailingInstructionIsReportedAndNotCounted) {
  void* machine = VM_createVirtualMachine();
  VM_start(machine, 0);  // address 0 is never fetched
  const DemoSlice slice = runCounted(machine, 10);
  EXPECT_TRUE(slice.failed);
  EXPECT_EQ(slice.instructions, 0);
  EXPECT_TRUE(runSlice(machine, 10).failed);
}

TEST_F(DemoScriptRunnerTest, AWalkWaitsWithoutCountingUntilTheUnitArrives) {
  DemoMap map;
  map.border = {0, 0, 100, 0, 100, 100, 0, 100};
  map.points = {40, 40, 60, 40, 60, 60, 40, 60};
  map.pointCounts = {4};
  map.isBox = {true};
  DemoStats stats;
  DemoWorld world(map, stats);
  std::string error;
  ASSERT_TRUE(world.build(error)) << error;
  DemoUnit unit(0, DemoUnitKind::wanderer, 10.0f, 10.0f, 5, world);
  unit.enterTree();
  unit.sense();  // alone: nobody near, so the trigger stays quiet

  void* machine = VM_createVirtualMachine();
  VM_loadExecutable(machine, kDemoScript_unit, "main");
  VM_setPointerRegisterObject(machine, 1, &unit);
  const int start = VM_getCodePointerRegister(machine);
  const DemoSlice first = runCounted(machine, 500);
  // Straight-line code up to the walk, which waits: one word per instruction.
  EXPECT_FALSE(first.failed);
  EXPECT_EQ(first.instructions, VM_getCodePointerRegister(machine) - start);
  ASSERT_TRUE(unit.walking);
  EXPECT_EQ(stats.pathSearches.count(), 1u);

  int frames = 0;
  const float startX = unit.x, startY = unit.y;
  while (unit.walking && frames < 10000) {
    EXPECT_EQ(runCounted(machine, 500).instructions, 0) << "frame " << frames;
    unit.advance(kDemoStep);
    ++frames;
  }
  ASSERT_FALSE(unit.walking);
  EXPECT_NE(unit.x, startX);
  EXPECT_NE(unit.y, startY);
  // The walk came back with 1 (at the target) and the trip was counted.
  EXPECT_GT(runCounted(machine, 500).instructions, 0);
  EXPECT_EQ(unit.arrivals, 1);
  EXPECT_EQ(VM_getIntMemory(machine, VM_getSymbolAddress(machine, "trips")), 1);
  EXPECT_FLOAT_EQ(unit.x, unit.targetX);
  EXPECT_FLOAT_EQ(unit.y, unit.targetY);
}

}  // namespace
