// The fuzz tools' own knowledge of the images and machines: the lengths and
// slots they read from saved states agree with real saves, repaired checksums
// are accepted, and the machine snapshot that decides "unchanged" sees every
// part of a machine but the records a restore makes anew.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "assembler/QV_Assembler.h"
#include "fuzz/QV_FuzzLoad.h"
#include "fuzz/QV_FuzzMachine.h"
#include "fuzz/QV_FuzzObjects.h"
#include "fuzz/QV_FuzzShape.h"
#include "fuzz/QV_FuzzSnapshot.h"
#include "fuzz/QV_FuzzStateLayout.h"
#include "support/LiveBlockGuard.h"
#include "support/MachineTest.h"
#include "vm/KX_VMWatch.h"

namespace {

using Bytes = std::vector<unsigned char>;

class FuzzSupport : public RegistryTest {
 protected:

  static KX_VirtualMachine& machineOf(void* handle) { return *static_cast<KX_VirtualMachine*>(handle); }

  static Bytes save(void* machine) {
    void* image = nullptr;
    int size = 0;
    VM_ObjectInterface** objects = nullptr;
    int count = 0;
    VM_saveCurrentState(machine, image, size, objects, count);
    Bytes bytes(static_cast<unsigned char*>(image), static_cast<unsigned char*>(image) + size);
    VM_deleteCurrentState(machine, image, objects);
    return bytes;
  }

  // The prepared machine of the fuzz targets after its script dropped the
  // object of slot 1 and its handler started: objects in slots 0 and 2, a
  // watch whose handler runs, an open call.
  void* machineWithHole() {
    void* machine = qvfuzz::preparedMachine(objects);
    KX_VirtualMachine& m = machineOf(machine);
    m.pr[2] = 0;
    m.intMemory.set(1, 10);  // the watch "9 < cell" fires before the next step
    VM_execute(machine, 1);
    EXPECT_EQ(m.frameWatches.getCount(), 2);
    EXPECT_NE(m.frameWatches.at(1), nullptr);
    return machine;
  }

  QV_FuzzObjects objects;
};

TEST_F(FuzzSupport, StateLayoutReadsRealSaves) {
  const Bytes fresh = save(VM_createVirtualMachine());
  ASSERT_EQ(fresh.size(), 260u);
  EXPECT_EQ(qvfuzz::stateLength(fresh.data()), 260u);
  EXPECT_EQ(qvfuzz::highestObjectSlot(fresh.data(), fresh.size()), 0u);

  // One listed slot: the ones a restore grants from 2^16 on cost time.
  for (const auto& slot :
       {std::pair<std::uint32_t, bool>{0xFFFF, false}, {0x10000, true}, {0xFFFFF, true}, {0x100000, false}}) {
    Bytes listed = fresh;
    KX_VMImage::writeWord(listed.data() + qvfuzz::kStateObjectCount, 1);
    listed.resize(listed.size() + 4);
    KX_VMImage::writeWord(listed.data() + 260, slot.first);
    EXPECT_EQ(qvfuzz::highestObjectSlot(listed.data(), listed.size()), slot.first);
    EXPECT_EQ(qvfuzz::spendsTimeOnObjectSlots(listed.data(), listed.size()), slot.second) << slot.first;
  }

  const Bytes image = save(machineWithHole());
  EXPECT_EQ(qvfuzz::stateLength(image.data()), image.size());
  EXPECT_EQ(qvfuzz::highestObjectSlot(image.data(), image.size()), 2u);
  // The slot list is cut where the bytes end: a block that stops inside the
  // second entry knows only the first.
  const std::size_t slots = image.size() - 40 - 8;  // one watch record, two slots
  EXPECT_EQ(qvfuzz::highestObjectSlot(image.data(), slots + 7), 0u);
  EXPECT_EQ(qvfuzz::highestObjectSlot(image.data(), slots + 8), 2u);

  // The version 1 form: two bytes less per record, a right checksum, and
  // the watch back as a watch (not a trigger) that is armed.
  const Bytes old = qvfuzz::toVersion1(image);
  ASSERT_EQ(old.size(), image.size() - 2);
  EXPECT_EQ(qvfuzz::stateLength(old.data()), old.size());
  void* restored = VM_createVirtualMachine();
  ASSERT_EQ(VM_restoreCurrentStateChecked(restored, old.data(), static_cast<int>(old.size()), objects.list, 3), 0);
  ASSERT_EQ(machineOf(restored).watches.getCount(), 1);
  const KX_VMWatch& watch = *static_cast<const KX_VMWatch*>(machineOf(restored).watches.at(0));
  EXPECT_FALSE(watch.edgeTriggered);
  EXPECT_TRUE(watch.armed);
  EXPECT_TRUE(watch.active);
  qvfuzz::checkShape(machineOf(restored));
}

TEST_F(FuzzSupport, RepairedChecksumsAreAcceptedAndShortBlocksAreLeftAlone) {
  qvasm::Program program;
  std::vector<qvasm::Diagnostic> errors;
  ASSERT_TRUE(qvasm::assemble(".export main\nmain: HALT 3\n", program, errors));
  Bytes executable = qvasm::buildImage(program);
  executable[52 + 8 + 3] ^= 0x04;  // HALT 3 becomes HALT 7
  void* machine = VM_createVirtualMachine();
  const int size = static_cast<int>(executable.size());
  EXPECT_EQ(VM_loadExecutableChecked(machine, executable.data(), size, "main"), VM_ERROR_CHECKSUM);
  EXPECT_FALSE(qvfuzz::repairChecksum(executable.data(), executable.size() - 1));
  EXPECT_FALSE(qvfuzz::repairChecksum(executable.data(), 51));
  ASSERT_TRUE(qvfuzz::repairChecksum(executable.data(), executable.size()));
  ASSERT_EQ(VM_loadExecutableChecked(machine, executable.data(), size, "main"), 0);
  VM_execute(machine, 10);
  EXPECT_EQ(machineOf(machine).exitCode, 7);

  Bytes state = save(machine);
  state[208 + 2 * 8] ^= 0x01;  // int memory cell 0
  const int stateSize = static_cast<int>(state.size());
  EXPECT_EQ(VM_restoreCurrentStateChecked(machine, state.data(), stateSize, nullptr, 0), VM_ERROR_CHECKSUM);
  EXPECT_FALSE(qvfuzz::repairStateChecksum(state.data(), state.size() - 1));
  EXPECT_FALSE(qvfuzz::repairStateChecksum(state.data(), 207));
  ASSERT_TRUE(qvfuzz::repairStateChecksum(state.data(), state.size()));
  ASSERT_EQ(VM_restoreCurrentStateChecked(machine, state.data(), stateSize, nullptr, 0), 0);
  EXPECT_EQ(VM_getIntMemory(machine, 0), 1);
}

TEST_F(FuzzSupport, MemoryHungryImagesAreSkipped) {
  qvasm::Program program;
  program.code = {0, 0};
  program.intReserve = 1u << 22;  // just the limit
  Bytes image = qvasm::buildImage(program);
  EXPECT_FALSE(qvfuzz::asksTooMuchMemory(image.data(), image.size()));
  program.floatReserve = 1;
  image = qvasm::buildImage(program);
  EXPECT_TRUE(qvfuzz::asksTooMuchMemory(image.data(), image.size()));
  EXPECT_FALSE(qvfuzz::asksTooMuchMemory(image.data(), 51));
}

TEST_F(FuzzSupport, SnapshotSeesEveryPartOfAMachine) {
  KX_VirtualMachine& m = machineOf(machineWithHole());
  KX_VMWatch& watch = *static_cast<KX_VMWatch*>(m.watches.at(0));
  m.symbolNames.append(new KX_String());
  m.symbolAddresses.append(5);
  // Each change is undone by doing it again.
  const std::vector<std::pair<const char*, std::function<void()>>> changes = {
      {"code", [&] { m.code.set(1, m.code.at(1) ^ 1); }},
      {"int memory", [&] { m.intMemory.set(0, m.intMemory.at(0) ^ 1); }},
      {"float memory", [&] { m.floatMemory.set(0, -m.floatMemory.at(0)); }},
      {"pointer stack", [&] { m.pointerStack.set(0, m.pointerStack.at(0) ^ 1); }},
      {"saved cp", [&] { m.savedCp.set(0, m.savedCp.at(0) ^ 1); }},
      {"frame top", [&] { m.floatFrames.set(0, m.floatFrames.at(0) ^ 1); }},
      {"frame watch", [&] { std::swap(m.frameWatches.getBuffer()[0], m.frameWatches.getBuffer()[1]); }},
      {"object slot", [&] { std::swap(m.objects.getBuffer()[0], m.objects.getBuffer()[2]); }},
      {"class of a slot", [&] { std::swap(m.objectClasses.getBuffer()[0], m.objectClasses.getBuffer()[2]); }},
      {"int register", [&] { m.ir[7] ^= 1; }},
      {"float register", [&] { m.fr[7] = -m.fr[7]; }},
      {"pointer register", [&] { m.pr[7] ^= 1; }},
      {"cp", [&] { m.cp ^= 1; }},
      {"exit code", [&] { m.exitCode ^= 1; }},
      {"first attempt", [&] { m.firstAttempt = !m.firstAttempt; }},
      {"compare result", [&] { m.compareResult = static_cast<signed char>(m.compareResult ^ 2); }},
      {"decoded instruction", [&] { m.instruction.propertyId ^= 1; }},
      {"watch reference", [&] { watch.referenceFloat = -watch.referenceFloat; }},
      {"watch armed", [&] { watch.armed = !watch.armed; }},
      {"watch saved compare",
       [&] { watch.savedCompareResult = static_cast<signed char>(watch.savedCompareResult ^ 1); }},
      {"symbol name", [&] { m.symbolNames.getString(m.symbolNames.getCount() - 1)->append('x'); }},
      {"symbol address", [&] { m.symbolAddresses.set(0, m.symbolAddresses.at(0) ^ 1); }},
  };
  const QV_FuzzSnapshot before(m);
  for (const auto& change : changes) {
    change.second();
    EXPECT_TRUE(QV_FuzzSnapshot(m) != before) << change.first;
    if (std::string(change.first) == "symbol name") {
      m.symbolNames.getString(m.symbolNames.getCount() - 1)->clear();
    } else {
      change.second();
    }
    EXPECT_TRUE(QV_FuzzSnapshot(m) == before) << change.first << " undone";
  }
}

TEST_F(FuzzSupport, TwoRestoresOfOneImageLookAlike) {
  void* machine = machineWithHole();
  const Bytes image = save(machine);  // slots 0 and 2
  VM_ObjectInterface* given[] = {objects.list[0], objects.list[2]};
  VM_restoreCurrentState(machine, image.data(), given, 2);
  const QV_FuzzSnapshot first(machineOf(machine));
  VM_restoreCurrentState(machine, image.data(), given, 2);
  EXPECT_TRUE(QV_FuzzSnapshot(machineOf(machine)) == first);
  // The two objects the other way round are a different machine.
  VM_ObjectInterface* swapped[] = {objects.list[2], objects.list[0]};
  VM_restoreCurrentState(machine, image.data(), swapped, 2);
  EXPECT_TRUE(QV_FuzzSnapshot(machineOf(machine)) != first);
}

TEST_F(FuzzSupport, ShapeCheckStopsAtCallsOutOfStep) {
  void* machine = machineWithHole();
  qvfuzz::checkShape(machineOf(machine));
  machineOf(machine).savedSpf.append(0);
  EXPECT_DEATH(qvfuzz::checkShape(machineOf(machine)), "one saved stack pointer of each bank");
  machineOf(machine).savedSpf.remove(2);
  machineOf(machine).pointerFrames.append(1);
  EXPECT_DEATH(qvfuzz::checkShape(machineOf(machine)), "one frame top more than open calls");
}

}  // namespace
