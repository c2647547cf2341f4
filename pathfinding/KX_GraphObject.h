// An object that a graph can carry on a node or an edge. The graph sets
// `owner` while it holds the object and clears it when it lets go; it deletes
// the object then unless its objects are shared.
#pragma once

#include "foundation/KX_Base.h"

class KX_Graph;

class KX_GraphObject : public KX_Base {
 public:
  KX_Base* newInstance() const override { return new KX_GraphObject(); }
  // The owner is not copied: a copy belongs to whoever takes it.
  void copyFrom(const KX_Base* source) override { (void)source; }

  KX_Graph* owner = nullptr;
};
