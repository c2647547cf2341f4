// Decides which objects a query may report. The base filter accepts all of
// them; subclasses ask someone else.
#pragma once

#include "foundation/KX_Base.h"

class KX_ObjectFilter : public KX_Base {
 public:
  ~KX_ObjectFilter() override = default;
  // `data` is whatever the query's caller passed along with the filter.
  virtual bool isObjectAccepted(void* object, int data) {
    (void)object;
    (void)data;
    return true;
  }
};
