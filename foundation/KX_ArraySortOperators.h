// The three sort operators of KX_Array. Each sorts a range [first, last]
// (both inclusive) in ascending order, alone or with a parallel index array
// that is moved along with the elements.
#pragma once

template <class T, class Comparator, class XchgOperator>
struct KX_ArrayQuickSortOperator;

template <class T, class Comparator, class XchgOperator>
struct KX_ArraySignedRadixSortOperator;

template <class T, class Comparator, class XchgOperator>
struct KX_ArrayPointerRadixSortOperator;
