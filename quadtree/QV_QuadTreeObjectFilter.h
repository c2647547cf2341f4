// A filter that hands each object and the caller's data to the host's
// callback, unchanged, and returns its answer.
#pragma once

#include "quadtree/KX_ObjectFilter.h"

class QV_QuadTreeObjectFilter : public KX_ObjectFilter {
 public:
  using FilterFunction = bool (*)(void* object, int data);

  explicit QV_QuadTreeObjectFilter(FilterFunction filterFunction) : filterFunction(filterFunction) {}
  ~QV_QuadTreeObjectFilter() override = default;

  bool isObjectAccepted(void* object, int data) override { return filterFunction(object, data); }

  FilterFunction filterFunction;
};
