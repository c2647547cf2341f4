// A list of strings that it owns, ordered by the strings' own order.
#pragma once

#include "foundation/KX_ObjectArray.h"
#include "foundation/KX_String.h"

class KX_StringList : public KX_ObjectArray {
 public:
  KX_StringList() : KX_ObjectArray(32) {}
  ~KX_StringList() override = default;
  // A new list always has the default step, whatever this one's is.
  KX_Base* newInstance() const override { return new KX_StringList(); }

  // Appends a new string holding a copy of `text`; returns its index.
  int appendText(const char* text) { return append(new KX_String(text)); }
  KX_String* getString(int index) const { return static_cast<KX_String*>(at(index)); }
};
