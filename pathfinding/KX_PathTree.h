// The shortest-path tree of one source node: the distance and the predecessor
// of every node. Trees are ordered and found by their source.
#pragma once

#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"

class KX_PathTree : public KX_Base {
 public:
  explicit KX_PathTree(int source = 0) : source(source) {}
  ~KX_PathTree() override = default;

  KX_Base* newInstance() const override { return new KX_PathTree(source); }
  void copyFrom(const KX_Base* other) override;
  bool isLess(const KX_Base* other) const override { return source < static_cast<const KX_PathTree*>(other)->source; }
  bool isEqual(const KX_Base* other) const override { return source == static_cast<const KX_PathTree*>(other)->source; }

  int source;
  KX_FloatArray distances;
  KX_IntArray previous;
  // How often the tree has served a query.
  int useCount = 0;
};
