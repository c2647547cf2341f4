#include "pathfinding/KX_PathTree.h"

void KX_PathTree::copyFrom(const KX_Base* other) {
  const KX_PathTree* tree = static_cast<const KX_PathTree*>(other);
  if (tree == this) return;
  source = tree->source;
  distances.copyFrom(&tree->distances);
  previous.copyFrom(&tree->previous);
  useCount = tree->useCount;
}
