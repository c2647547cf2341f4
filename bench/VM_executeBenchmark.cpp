// Speed of the script machine's execution loop, beside Lua 5.4 running the
// same loop when it is available (bench/install-bench-dependencies.sh).
//
//   build/release/bench/VM_executeBenchmark
//
// BM_CountingLoop runs `s += i; i += 1` while i < 10^8 as four instructions
// (ADD, ADD, COMP, JUMPL) and reports VM instructions per second; with Lua it
// also reports Lua's time for the same loop and the ratio of the two times
// (below 1: the machine is faster). BM_CalledSumOverMemory exercises indexed
// memory operands, stack operands, LOCALS and CALL/RETURN.
// BM_CountingLoopWithWatches/n runs the counting loop (to 10^7) while n
// memory watches exist that never fire: each step first tests all of them.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>

#include "support/VMWordBuilder.h"

#if defined(QV_BENCH_WITH_LUA)
#include <lua.hpp>
#endif

namespace {

using namespace vmw;

constexpr int kLoopEnd = 100000000;

double secondsSince(std::chrono::steady_clock::time_point start) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

#if defined(QV_BENCH_WITH_LUA)
const char* const kLuaLoop = "local s, i = 0, 0 while i < 100000000 do s = s + i; i = i + 1 end return s";

// Lua's time for the loop: the best of three runs, measured once per process.
double luaLoopSeconds() {
  static double best = 0.0;
  if (best > 0.0) return best;
  lua_State* lua = luaL_newstate();
  luaL_openlibs(lua);
  for (int run = 0; run < 3; ++run) {
    luaL_loadstring(lua, kLuaLoop);
    auto start = std::chrono::steady_clock::now();
    lua_pcall(lua, 0, 1, 0);
    double seconds = secondsSince(start);
    lua_pop(lua, 1);
    if (best == 0.0 || seconds < best) best = seconds;
  }
  lua_close(lua);
  return best;
}

void BM_LuaCountingLoop(benchmark::State& state) {
  lua_State* lua = luaL_newstate();
  luaL_openlibs(lua);
  long long sum = 0;
  for (auto _ : state) {
    luaL_loadstring(lua, kLuaLoop);
    lua_pcall(lua, 0, 1, 0);
    sum = lua_tointeger(lua, -1);
    lua_pop(lua, 1);
  }
  lua_close(lua);
  if (sum != static_cast<long long>(kLoopEnd) * (kLoopEnd - 1) / 2) state.SkipWithError("Lua computed a wrong sum");
}
BENCHMARK(BM_LuaCountingLoop)->Unit(benchmark::kMillisecond)->Iterations(3);
#endif

void BM_CountingLoop(benchmark::State& state) {
  KX_VirtualMachine machine;
  loadProgram(machine, {
                           word("ADD", kInt, 0, reg(1)),          // 1: s += i
                           word("ADD", kInt, 1, imm(1)),          // 2: i += 1
                           word("COMP", kInt, 1, imm(kLoopEnd)),  // 3: i against the end
                           word("JUMPL", kPtr, imm(codePtr(1))),  // 4: again while below
                           word("HALT", kInt, imm(0)),            // 5
                       });
  double seconds = 0.0;
  for (auto _ : state) {
    machine.startMachine(1);
    auto start = std::chrono::steady_clock::now();
    int result = machine.execute(kVMUnlimitedSteps);
    seconds += secondsSince(start);
    if (result != 0 || machine.ir[1] != kLoopEnd) state.SkipWithError("the loop did not run to its end");
  }
  // 32-bit wrap-around of the sum, as the machine's ints.
  const unsigned int expected =
      static_cast<unsigned int>(static_cast<unsigned long long>(kLoopEnd) * (kLoopEnd - 1) / 2);
  if (static_cast<unsigned int>(machine.ir[0]) != expected) state.SkipWithError("wrong sum");
  const double instructions = 4.0 * kLoopEnd + 1.0;
  state.counters["VM_instr/s"] =
      benchmark::Counter(instructions * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
  const double vmSeconds = seconds / static_cast<double>(state.iterations());
  state.counters["vm_s"] = vmSeconds;
#if defined(QV_BENCH_WITH_LUA)
  const double lua = luaLoopSeconds();
  state.counters["lua_s"] = lua;
  state.counters["vm/lua"] = vmSeconds / lua;
#endif
}
BENCHMARK(BM_CountingLoop)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

// Sums int memory cells 1 to kCells - 1 over kPasses passes; each cell goes
// through PARAM to a function that keeps it in a local and adds it.
void BM_CalledSumOverMemory(benchmark::State& state) {
  constexpr int kCells = 1024;
  constexpr int kPasses = 10000;
  constexpr int kFunction = 14;
  KX_VirtualMachine machine;
  loadProgram(machine, {
                           word("LOAD", kInt, 2, imm(0)),                // 1: total
                           word("LOAD", kPtr, 1, imm(intPtr(0))),        // 2: base of the cells
                           word("LOAD", kInt, 5, imm(0)),                // 3: passes done
                           word("LOAD", kInt, 3, imm(1)),                // 4: cell index
                           word("PARAM", kInt, indexed(1, 3, 0)),        // 5: push the cell
                           word("CALL", kPtr, imm(codePtr(kFunction))),  // 6
                           word("ADD", kInt, 3, imm(1)),                 // 7
                           word("COMP", kInt, 3, imm(kCells - 1)),       // 8
                           word("JUMPLE", kPtr, imm(codePtr(5))),        // 9
                           word("ADD", kInt, 5, imm(1)),                 // 10
                           word("COMP", kInt, 5, imm(kPasses)),          // 11
                           word("JUMPL", kPtr, imm(codePtr(4))),         // 12
                           word("HALT", kInt, reg(2)),                   // 13
                           locals(1, 0, 0),                              // 14: one int local
                           word("LOAD", kInt, 4, stack(0)),              // 15: the parameter
                           word("STORE", kInt, 4, stack(-1)),            // 16: into the local
                           word("ADD", kInt, 2, stack(-1)),              // 17: total += local
                           word("RETURN"),                               // 18
                       });
  machine.intMemory.resize(kCells);
  long long cellSum = 0;
  for (int i = 1; i < kCells; ++i) {
    machine.intMemory.set(i, i * 3 - 100);
    cellSum += i * 3 - 100;
  }
  for (auto _ : state) {
    machine.startMachine(1);
    if (machine.execute(kVMUnlimitedSteps) != 0) state.SkipWithError("the program failed");
  }
  if (machine.exitCode != static_cast<int>(cellSum * kPasses)) state.SkipWithError("wrong sum");
  const double instructions = 3.0 + kPasses * (1.0 + 10.0 * (kCells - 1) + 3.0) + 1.0;
  state.counters["VM_instr/s"] =
      benchmark::Counter(instructions * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_CalledSumOverMemory)->Unit(benchmark::kMillisecond)->Iterations(3)->UseRealTime();

void BM_CountingLoopWithWatches(benchmark::State& state) {
  constexpr int kEnd = 10000000;
  const int watchCount = static_cast<int>(state.range(0));
  KX_VirtualMachine machine;
  machine.code.clear();
  machine.code.append(0);
  // Setup: WATCHE with the reference -1 on cells 1 to n, which stay 0.
  machine.code.append(static_cast<long long>(word("LOAD", kInt, 0, imm(-1))));
  machine.code.append(0);  // LOAD pr0, the handler; written below
  for (int cell = 1; cell <= watchCount; ++cell) {
    machine.code.append(static_cast<long long>(word("WATCHE", kInt, 0, imm(intPtr(cell)))));
  }
  const int loop = machine.code.getCount();
  for (std::uint64_t w : {word("ADD", kInt, 2, reg(1)), word("ADD", kInt, 1, imm(1)), word("COMP", kInt, 1, imm(kEnd)),
                          word("JUMPL", kPtr, imm(codePtr(loop))), word("HALT", kInt, imm(0)), word("RETURN")}) {
    machine.code.append(static_cast<long long>(w));
  }
  machine.code.set(2, static_cast<long long>(word("LOAD", kPtr, 0, imm(codePtr(machine.code.getCount() - 1)))));
  machine.intMemory.resize(watchCount + 1);
  for (auto _ : state) {
    machine.startMachine(1);
    if (machine.execute(kVMUnlimitedSteps) != 0 || machine.ir[1] != kEnd) state.SkipWithError("the loop failed");
    if (machine.watches.getCount() != watchCount) state.SkipWithError("watches missing");
  }
  const double instructions = 4.0 * kEnd + watchCount + 3.0;
  state.counters["VM_instr/s"] =
      benchmark::Counter(instructions * static_cast<double>(state.iterations()), benchmark::Counter::kIsRate);
}
BENCHMARK(BM_CountingLoopWithWatches)->Arg(1)->Arg(8)->Arg(64)->Unit(benchmark::kMillisecond)->Iterations(3);

}  // namespace

BENCHMARK_MAIN();
