// Everything a machine holds, flattened into numbers, so that a target can
// tell whether a refused image left the machine exactly as it was, or whether
// two restores of one image into one machine agree. Helpers count by their
// addresses, which stay with the machine; records that a restore makes anew
// (class records, watches) count by their contents and positions; floats by
// their bits.
#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <vector>

#include "vm/KX_VMObjectClass.h"
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
    addPositions(m.frameWatches, m.watches);
    addArray(m.objects);
    addPositions(m.objectClasses, m.objectClassTable);
    add(m.objectClassTable.getCount());
    for (int i = 0; i < m.objectClassTable.getCount(); ++i) {
      addText(static_cast<const KX_VMObjectClass*>(m.objectClassTable.at(i))->name.getText());
    }
    for (int r = 0; r < 8; ++r) add(m.ir[r]), add(m.fr[r]), add(m.pr[r]);
    for (long long v : {m.spi, m.spf, m.spp, m.cp, m.exitCode}) add(v);
    for (bool b : {m.running, m.pending, m.firstAttempt}) add(b);
    add(m.compareResult);
    addInstruction(m.instruction);
    add(m.watches.getCount());
    for (int i = 0; i < m.watches.getCount(); ++i) addWatch(*static_cast<const KX_VMWatch*>(m.watches.at(i)));
    addArray(m.symbolAddresses);
    add(m.symbolNames.getCount());
    for (int i = 0; i < m.symbolNames.getCount(); ++i) addText(m.symbolNames.getString(i)->getText());
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
  void addText(const char* text) {
    for (const char* c = text; *c != 0; ++c) add(*c);
    add(-1);
  }
  // Each element by its position in `owners`: -1 for null, -2 if absent.
  void addPositions(const KX_ObjectArray& elements, const KX_ObjectArray& owners) {
    add(elements.getCount());
    for (int i = 0; i < elements.getCount(); ++i) {
      int position = elements.at(i) == nullptr ? -1 : -2;
      for (int j = 0; j < owners.getCount() && position == -2; ++j) {
        if (owners.at(j) == elements.at(i)) position = j;
      }
      add(position);
    }
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
