// The shape every machine keeps, whatever its script did and whatever image
// it was restored from: one saved stack pointer, return address and frame
// watch per open call and one frame top more, a class record slot per
// object slot, and frame watches that are running watches of the machine.
// A machine out of this shape would save an image that no restore accepts.
#pragma once

#include "QV_FuzzCheck.h"
#include "vm/KX_VMWatch.h"
#include "vm/KX_VirtualMachine.h"

namespace qvfuzz {

inline void checkShape(const KX_VirtualMachine& m) {
  QV_FUZZ_CHECK(m.code.getCount() >= 2 && m.intMemory.getCount() >= 1 && m.floatMemory.getCount() >= 1 &&
                    m.pointerMemory.getCount() >= 1,
                "code address 1 and a cell in each memory");
  const int calls = m.savedCp.getCount();
  QV_FUZZ_CHECK(m.savedSpi.getCount() == calls && m.savedSpf.getCount() == calls && m.savedSpp.getCount() == calls &&
                    m.frameWatches.getCount() == calls,
                "one saved stack pointer of each bank and one frame watch per open call");
  QV_FUZZ_CHECK(m.intFrames.getCount() == calls + 1 && m.floatFrames.getCount() == calls + 1 &&
                    m.pointerFrames.getCount() == calls + 1,
                "one frame top more than open calls in each bank");
  QV_FUZZ_CHECK(m.objectClasses.getCount() == m.objects.getCount(), "a class record slot per object slot");
  for (int i = 0; i < calls; ++i) {
    const KX_Base* watch = m.frameWatches.at(i);
    if (watch == nullptr) continue;
    bool found = false;
    for (int w = 0; w < m.watches.getCount() && !found; ++w) found = m.watches.at(w) == watch;
    QV_FUZZ_CHECK(found && static_cast<const KX_VMWatch*>(watch)->active, "a frame watch is a running watch");
  }
}

}  // namespace qvfuzz
