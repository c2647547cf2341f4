// The three sort operators of KX_Array. Each sorts a range [first, last]
// (both inclusive) in ascending order, alone or with a parallel index array
// that is moved along with the elements.
//
// KX_ArrayQuickSortOperator: compares through the Comparator; for objects and points.
// KX_ArraySignedRadixSortOperator: sorts by the raw bits of numbers and chars.
// KX_ArrayPointerRadixSortOperator: sorts pointers as unsigned numbers.
#pragma once

#include "foundation/KX_ArrayQuickSortOperator.h"
#include "foundation/KX_ArrayRadixSortOperators.h"
