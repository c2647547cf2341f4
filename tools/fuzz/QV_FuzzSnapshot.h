// Everything a machine holds, flattened into numbers, so that a target can
// tell whether a refused image left the machine exactly as it was. Host
// objects and helpers count by their addresses; floats by their bits.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "vm/KX_VMWatch.h"
#include "vm/KX_VirtualMachine.h"

class QV_FuzzSnapshot {
 public:
  explicit QV_FuzzSnapshot(const KX_VirtualMachine& m) {
    addArray(m.code);
    addArray(m.intMemory);
    addArray(m.floatMemory);
    addArray(m.pointerMemory);
    addArray(m.intStack);
    addArray(m.floatStack);
    addArray(m.pointerStack);
    addArray(m.savedSpi);
    addArray(m.savedSpf);
    addArray(m.savedSpp);
    addArray(m.savedCp);
    addArray(m.intFrames);
    addArray(m.floatFrames);
    addArray(m.pointerFrames);
    addArray(m.frameWatches);
    addArray(m.objects);
    addArray(m.objectClasses);
    addArray(m.objectClassTable);
    for (int r = 0; r < 8; ++r) add(m.ir[r]), add(m.fr[r]), add(m.pr[r]);
    for (long long v : {m.spi, m.spf, m.spp, m.cp, m.exitCode}) add(v);
    for (bool b : {m.running, m.pending, m.firstAttempt}) add(b);
    add(m.compareResult);
    addInstruction(m.instruction);
    add(m.watches.getCount());
    for (int i = 0; i < m.watches.getCount(); ++i) addWatch(*static_cast<const KX_VMWatch*>(m.watches.at(i)));
    addArray(m.symbolAddresses);
    add(m.symbolNames.getCount());
    for (int i = 0; i < m.symbolNames.getCount(); ++i) {
      for (const char* c = m.symbolNames.getString(i)->getText(); *c != 0; ++c) add(*c);
      add(-1);
    }
  }

  bool operator==(const QV_FuzzSnapshot& other) const { return values == other.values; }
  bool operator!=(const QV_FuzzSnapshot& other) const { return values != other.values; }

 private:
  template <class Integer, class = std::enable_if_t<std::is_integral_v<Integer>>>
  void add(Integer v) {
    values.push_back(static_cast<long long>(v));
  }
  void add(float f) {
    std::uint32_t bits;
    std::memcpy(&bits, &f, sizeof bits);
    values.push_back(bits);
  }
  void add(const void* p) { values.push_back(static_cast<long long>(reinterpret_cast<std::uintptr_t>(p))); }
  template <class Array>
  void addArray(const Array& array) {
    add(array.getCount());
    for (int i = 0; i < array.getCount(); ++i) add(array.at(i));
  }
  void addInstruction(const KX_VMInstruction& in) {
    for (long long v : {in.group, in.subType, in.targetRegister, in.sourceRegister, in.baseRegister, in.indexRegister,
                        static_cast<int>(in.registerType), static_cast<int>(in.addressMode), in.intConstant, in.offset,
                        in.propertyId, in.localInts, in.localFloats, in.localPointers}) {
      add(v);
    }
    add(in.hasProperty);
    add(in.systemRegister);
  }
  void addWatch(const KX_VMWatch& w) {
    for (long long v : {static_cast<long long>(w.address), static_cast<long long>(w.pointerType),
                        static_cast<long long>(w.referenceInt), static_cast<long long>(w.referencePointer),
                        static_cast<long long>(w.condition), static_cast<long long>(w.handler)}) {
      add(v);
    }
    add(w.referenceFloat);
    add(static_cast<const void*>(w.object));
    add(static_cast<const void*>(w.referenceObject));
    for (bool b : {w.active, w.deletePending, w.savedPending, w.savedFirstAttempt, w.edgeTriggered, w.armed}) add(b);
    add(w.savedCompareResult);
  }

  std::vector<long long> values;
};
