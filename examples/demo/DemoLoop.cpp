#include "DemoLoop.h"

#include <unistd.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "DemoAssets.h"
#include "DemoRandom.h"
#include "DemoSaveRestore.h"
#include "DemoScriptRunner.h"
#include "qv_helper/qv_helper.h"

namespace {

constexpr int kInstructionBudget = 500;  // per machine and frame
constexpr int kTrailEvery = 10;          // frames between two trail points
constexpr int kGuardEvery = 4;           // every fourth unit is a guard
constexpr float kProgressInterval = 0.5f;

}  // namespace

DemoGame::DemoGame(const DemoOptions& options, const DemoMap& map) : options(options), map(map) {
  Timer_init();
  QuadTree_init();
  FindPath_init();
  VM_init();
}

DemoGame::~DemoGame() {
  for (void* machine : machines) VM_deleteVirtualMachine(machine);
  worldPointer.reset();
  VM_exit();
  FindPath_exit();
  QuadTree_exit();
  Timer_exit();
}

bool DemoGame::setUp(std::string& error) {
  worldPointer = std::make_unique<DemoWorld>(map, statistics);
  if (!worldPointer->build(error)) return false;
  DemoRandom random(options.seed);
  for (int id = 0; id < options.units; ++id) {
    float x = 0.0f, y = 0.0f;
    if (!worldPointer->randomFreePoint(random, x, y)) {
      error = "the map has no room for the units";
      return false;
    }
    const DemoUnitKind kind = id % kGuardEvery == kGuardEvery - 1 ? DemoUnitKind::guard : DemoUnitKind::wanderer;
    unitList.push_back(std::make_unique<DemoUnit>(id, kind, x, y, random.next(), *worldPointer));
    unitList.back()->enterTree();

    void* machine = VM_createVirtualMachine();
    if (machine == nullptr) {
      error = "no memory for a machine";
      return false;
    }
    machines.push_back(machine);
    reportedFailure.push_back(false);
    VM_loadExecutable(machine, kind == DemoUnitKind::guard ? kDemoScript_guard : kDemoScript_unit, "main");
    if (VM_getCodeSize(machine) <= 2 || !VM_isRunning(machine)) {
      error = "a script image did not load";
      return false;
    }
    // Loading starts the machine, which clears the registers: the unit goes in after.
    VM_setPointerRegisterObject(machine, 1, unitList.back().get());
  }
  if (options.saveHalfway && options.frames >= 2) saveFrame = options.frames / 2;
  progress = isatty(fileno(stderr)) != 0;
  return true;
}

bool DemoGame::run(std::string& error) {
  const bool paced = options.speed > 0.0f;
  Timer_setSpeedFactor(paced ? options.speed : 1.0f);
  // Both events are in game seconds; the progress line comes about twice a
  // real second either way.
  const int frameEvent = Timer_createEvent(kDemoStep);
  const int progressEvent = Timer_createEvent(kProgressInterval * (paced ? options.speed : 1.0f));
  const auto start = std::chrono::steady_clock::now();
  for (int frame = 0; frame < options.frames; ++frame) {
    if (paced) {
      // Sleep until the frame event is due; a late frame is not made up for:
      // the world still advances by one step, so the outcome doesn't change.
      while (!Timer_isEventTriggered(frameEvent, nullptr)) {
        const float rest = Timer_getEventRestTime(frameEvent) / options.speed;
        if (rest > 0.0f) std::this_thread::sleep_for(std::chrono::duration<float>(rest));
      }
    }
    if (frame == saveFrame) {
      const auto saveStart = std::chrono::steady_clock::now();
      DemoSaveReport report;
      if (!saveAndRestoreMachines(machines, unitList, report, error)) return false;
      statistics.savedMachines = report.machines;
      statistics.savedBytes = report.bytes;
      statistics.saveRestoreMicroseconds =
          std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - saveStart).count();
    }
    timed(statistics.frames, [&] { runFrame(frame); });
    if (progress && Timer_isEventTriggered(progressEvent, nullptr)) showProgress(frame + 1, false);
  }
  realSeconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  Timer_deleteEvent(progressEvent);
  Timer_deleteEvent(frameEvent);
  for (auto& unit : unitList) unit->recordTrail();
  if (progress) showProgress(options.frames, true);
  return true;
}

void DemoGame::runFrame(int frame) {
  DemoWorld& world = *worldPointer;
  world.frame = frame;
  world.expireDrops();
  for (auto& unit : unitList) unit->sense();
  timed(statistics.scripts, [&] { runScripts(); });
  for (auto& unit : unitList) unit->advance(kDemoStep);
  if (frame % kTrailEvery == 0) {
    for (auto& unit : unitList) unit->recordTrail();
  }
}

void DemoGame::runScripts() {
  for (std::size_t i = 0; i < machines.size(); ++i) {
    void* machine = machines[i];
    const DemoSlice slice =
        options.countInstructions ? runCounted(machine, kInstructionBudget) : runSlice(machine, kInstructionBudget);
    if (slice.instructions > 0) statistics.instructions += slice.instructions;
    if (!slice.failed) continue;
    // A failing instruction would fail again every frame: report it once and
    // stop that machine.
    ++statistics.scriptErrors;
    if (!reportedFailure[i]) {
      char line[160];
      VM_disassemble(machine, line, sizeof line, VM_getCodePointerRegister(machine), false);
      std::fprintf(stderr, "qvdemo: unit %zu: script failed at %s\n", i, line);
      reportedFailure[i] = true;
    }
    VM_stop(machine);
  }
}

int DemoGame::scriptCounter(std::size_t unit, const char* name) const {
  const int address = VM_getSymbolAddress(machines[unit], name);
  return address == 0 ? 0 : VM_getIntMemory(machines[unit], address);
}

void DemoGame::showProgress(int frame, bool done) const {
  if (done) {
    std::fprintf(stderr, "\r%60s\r", "");
    return;
  }
  std::fprintf(stderr, "\rqvdemo: frame %d of %d, %d arrivals, %lld instructions ", frame, options.frames,
               statistics.arrivals, statistics.instructions);
  std::fflush(stderr);
}

std::vector<std::string> DemoGame::legend() const {
  int guards = 0, meetings = 0, alerts = 0;
  for (std::size_t i = 0; i < unitList.size(); ++i) {
    if (unitList[i]->kind == DemoUnitKind::guard) {
      ++guards;
      alerts += scriptCounter(i, "alerts");
    } else {
      meetings += scriptCounter(i, "meetings");
    }
  }
  char line[256];
  std::vector<std::string> lines;
  std::snprintf(line, sizeof line,
                "qvdemo --seed %llu: %d units (%d guards, squares), %d frames of 1/60 s; trails solid, last paths "
                "dashed",
                static_cast<unsigned long long>(options.seed), options.units, guards, options.frames);
  lines.push_back(line);
  std::snprintf(line, sizeof line,
                "%d arrivals, %d walks stopped short; %d meetings, %d guard alerts; %d obstacles (yellow) and %d "
                "barriers (red) dropped",
                statistics.arrivals, statistics.stoppedShort, meetings, alerts, statistics.obstaclesDropped,
                statistics.barriersDropped);
  lines.push_back(line);
  return lines;
}

void DemoGame::printSummary(std::FILE* out) const {
  int unitsArrived = 0, guards = 0, meetings = 0, alerts = 0;
  for (std::size_t i = 0; i < unitList.size(); ++i) {
    if (unitList[i]->arrivals > 0) ++unitsArrived;
    if (unitList[i]->kind == DemoUnitKind::guard) {
      ++guards;
      alerts += scriptCounter(i, "alerts");
    } else {
      meetings += scriptCounter(i, "meetings");
    }
  }
  const DemoStats& s = statistics;
  std::fprintf(out, "qvdemo: seed %llu, %d units (%d guards), %d frames of 1/60 s (%.1f game seconds), %s\n",
               static_cast<unsigned long long>(options.seed), options.units, guards, options.frames,
               static_cast<double>(options.frames) * kDemoStep,
               options.speed > 0.0f ? "paced by the game timer" : "unpaced");
  std::fprintf(out, "  frames         %.2f s real; per frame median %.3f ms, slowest %.3f ms\n", realSeconds,
               s.frames.median() / 1000.0, s.frames.maximum() / 1000.0);
  if (options.countInstructions) {
    std::fprintf(
        out,
        "  VM             %lld instructions, counted one VM_execute each; scripts %.3f ms a frame, %.1f ms in all\n",
        s.instructions, s.scripts.median() / 1000.0, s.scripts.total() / 1000.0);
  } else {
    std::fprintf(
        out, "  VM             one slice per machine and frame, not counted; scripts %.3f ms a frame, %.1f ms in all\n",
        s.scripts.median() / 1000.0, s.scripts.total() / 1000.0);
  }
  std::fprintf(out, "  tree queries   %zu, median %.2f us\n", s.treeQueries.count(), s.treeQueries.median());
  std::fprintf(out, "  path searches  %zu (%d without a way), median %.1f us, slowest %.1f us\n",
               s.pathSearches.count(), s.pathsNone, s.pathSearches.median(), s.pathSearches.maximum());
  std::fprintf(out, "  units arrived  %d times; %d of %d units at least once; %d walks stopped short\n", s.arrivals,
               unitsArrived, options.units, s.stoppedShort);
  std::fprintf(out, "  scripts        %d meetings, %d guard alerts, %d script errors\n", meetings, alerts,
               s.scriptErrors);
  std::fprintf(out, "  drops          %d obstacles, %d barriers, %d refused\n", s.obstaclesDropped, s.barriersDropped,
               s.dropsRefused);
  if (s.savedMachines > 0) {
    std::fprintf(out, "  save/restore   %d machines at frame %d, %lld bytes of images, %.2f ms\n", s.savedMachines,
                 saveFrame, s.savedBytes, s.saveRestoreMicroseconds / 1000.0);
  } else {
    std::fprintf(out, "  save/restore   none\n");
  }
}

bool DemoGame::writePositions(const std::string& file, std::string& error) const {
  std::ofstream out(file);
  for (std::size_t i = 0; i < unitList.size(); ++i) {
    const DemoUnit& unit = *unitList[i];
    const char* counter = unit.kind == DemoUnitKind::guard ? "alerts" : "meetings";
    char line[160];
    // Nine significant digits give a float back exactly.
    std::snprintf(line, sizeof line, "%d %.9g %.9g %d %d %d\n", unit.id, static_cast<double>(unit.x),
                  static_cast<double>(unit.y), unit.state, scriptCounter(i, "trips"), scriptCounter(i, counter));
    out << line;
  }
  out.close();
  if (!out) {
    error = "cannot write " + file;
    return false;
  }
  return true;
}
