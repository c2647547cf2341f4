// Everything a machine holds, as text, so that two machines (or one machine
// before and after a call) compare with one EXPECT_EQ that shows where they
// differ. Host objects are named by their place in a list the test gives,
// so machines with helpers of their own still compare; watches in frames by
// their place in the watch list. Floats are shown as bits (NaN included).
// The reference object of a watch shows only where it has a meaning, on an
// object property: elsewhere a save keeps it only while its slot lives.
// And a save through the exports, copied out and given back at once.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "qv_helper/qv_helper.h"
#include "support/StateImage.h"
#include "vm/KX_VMObjectClass.h"
#include "vm/KX_VMWatch.h"
#include "vm/KX_VirtualMachine.h"
#include "vm/VM_HelperObjectInterface.h"

namespace snapshot {

using Hosts = std::vector<const VM_ObjectInterface*>;

inline std::string hostName(const void* helper, const Hosts& hosts) {
  if (helper == nullptr) return "-";
  const VM_ObjectInterface* host =
      static_cast<const VM_HelperObjectInterface*>(static_cast<const KX_VMObjectInterface*>(helper))->hostObject;
  for (std::size_t i = 0; i < hosts.size(); ++i) {
    if (hosts[i] == host) return "o" + std::to_string(i);
  }
  return "?";
}

template <class Array>
void list(std::ostringstream& out, const char* name, const Array& array) {
  out << name << ":";
  for (int i = 0; i < array.getCount(); ++i) {
    std::uint32_t bits = 0;
    std::memcpy(&bits, &array.getBuffer()[i], sizeof bits);
    out << ' ' << std::hex << bits << std::dec;
  }
  out << '\n';
}

inline std::string describe(const KX_VirtualMachine& m, const Hosts& hosts = {}) {
  std::ostringstream out;
  out << "code:";
  for (int i = 0; i < m.code.getCount(); ++i) out << ' ' << std::hex << m.code.at(i) << std::dec;
  out << '\n';
  list(out, "int memory", m.intMemory);
  list(out, "float memory", m.floatMemory);
  list(out, "pointer memory", m.pointerMemory);
  list(out, "int stack", m.intStack);
  list(out, "float stack", m.floatStack);
  list(out, "pointer stack", m.pointerStack);
  list(out, "saved spi", m.savedSpi);
  list(out, "saved spf", m.savedSpf);
  list(out, "saved spp", m.savedSpp);
  list(out, "saved cp", m.savedCp);
  list(out, "int frames", m.intFrames);
  list(out, "float frames", m.floatFrames);
  list(out, "pointer frames", m.pointerFrames);
  out << "registers:";
  for (int i = 0; i < 8; ++i) {
    std::uint32_t bits;
    std::memcpy(&bits, &m.fr[i], sizeof bits);
    out << ' ' << m.ir[i] << '/' << std::hex << bits << '/' << m.pr[i] << std::dec;
  }
  out << "\nspi " << m.spi << " spf " << m.spf << " spp " << m.spp << " cp " << m.cp << " running " << m.running
      << " pending " << m.pending << " firstAttempt " << m.firstAttempt << " compare "
      << static_cast<int>(m.compareResult) << '\n';
  out << "objects:";
  for (int i = 0; i < m.objects.getCount(); ++i) {
    const KX_VMObjectClass* record = static_cast<const KX_VMObjectClass*>(m.objectClasses.at(i));
    out << ' ' << hostName(m.objects.at(i), hosts) << ':' << (record == nullptr ? "-" : record->name.getText());
  }
  out << "\nclasses:";
  for (int i = 0; i < m.objectClassTable.getCount(); ++i) {
    out << ' ' << static_cast<const KX_VMObjectClass*>(m.objectClassTable.at(i))->name.getText();
  }
  out << '\n';
  // Watches in the order of their text: the machine's own order rests on
  // the helpers' addresses. That it is sorted is a line of its own.
  std::vector<std::pair<std::string, const KX_Base*>> watches;
  bool sorted = true;
  for (int i = 0; i < m.watches.getCount(); ++i) {
    const KX_VMWatch* w = static_cast<const KX_VMWatch*>(m.watches.at(i));
    if (i > 0 && w->isLess(m.watches.at(i - 1))) sorted = false;
    std::uint32_t bits;
    std::memcpy(&bits, &w->referenceFloat, sizeof bits);
    std::ostringstream line;
    line << "watch " << w->address << ' ' << hostName(w->object, hosts) << ' ' << std::hex << w->pointerType << ' '
         << w->referenceInt << ' ' << bits << ' ' << w->referencePointer << std::dec << ' '
         << (w->object != nullptr && w->pointerType == VM_POINTER_OBJECT ? hostName(w->referenceObject, hosts) : "x")
         << " c" << int{w->condition} << " h" << w->handler << " flags " << w->active << w->deletePending
         << w->savedPending << w->savedFirstAttempt << ' ' << int{w->savedCompareResult} << ' ' << w->edgeTriggered
         << w->armed << '\n';
    watches.emplace_back(line.str(), w);
  }
  std::sort(watches.begin(), watches.end());
  for (const auto& watch : watches) out << watch.first;
  out << "watches sorted: " << sorted << "\nframe watches:";
  for (int f = 0; f < m.frameWatches.getCount(); ++f) {
    int number = m.frameWatches.at(f) == nullptr ? 0 : -1;
    for (std::size_t w = 0; w < watches.size(); ++w) {
      if (watches[w].second == m.frameWatches.at(f)) number = static_cast<int>(w) + 1;
    }
    out << ' ' << number;
  }
  out << "\nsymbols:";
  for (int i = 0; i < m.symbolNames.getCount(); ++i) {
    out << ' ' << m.symbolNames.getString(i)->getText() << '=' << m.symbolAddresses.at(i);
  }
  out << '\n';
  return out.str();
}

// A save through the exports, copied out of the library's blocks, which go
// back at once.
struct Saved {
  state::Bytes image;
  std::vector<VM_ObjectInterface*> objects;
};

inline Saved save(void* machine) {
  void* image = nullptr;
  int size = -1;
  VM_ObjectInterface** objects = nullptr;
  int count = -1;
  VM_saveCurrentState(machine, image, size, objects, count);
  Saved saved;
  EXPECT_NE(image, nullptr);
  if (image == nullptr) return saved;
  const unsigned char* bytes = static_cast<const unsigned char*>(image);
  saved.image.assign(bytes, bytes + size);
  EXPECT_EQ(objects == nullptr, count == 0);
  if (objects != nullptr) saved.objects.assign(objects, objects + count);
  VM_deleteCurrentState(machine, image, objects);
  return saved;
}

inline void restore(void* machine, const Saved& saved) {
  VM_restoreCurrentState(machine, saved.image.data(), const_cast<VM_ObjectInterface**>(saved.objects.data()),
                         static_cast<int>(saved.objects.size()));
}

}  // namespace snapshot
