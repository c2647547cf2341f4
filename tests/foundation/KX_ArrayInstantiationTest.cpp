// Instantiates every named array's base explicitly, so that every member of
// KX_Array compiles for every element type and policy set.
#include <type_traits>

#include "foundation/KX_ByteArray.h"
#include "foundation/KX_CharArray.h"
#include "foundation/KX_FloatArray.h"
#include "foundation/KX_IntArray.h"
#include "foundation/KX_LongLongArray.h"
#include "foundation/KX_ObjectArray.h"
#include "foundation/KX_VoidPtrArray.h"
#include "geometry/KX_PointSet2D.h"

template <class T>
using Sorter = KX_ArraySignedRadixSortOperator<T, KX_ArrayDefaultComparator<T>, KX_ArrayDefaultXchgOperator<T>>;

template <class T>
using NumberArray = KX_Array<T, KX_ArrayDefaultComparator<T>, KX_ArrayNullDestructor<T>, KX_ArrayDefaultCopyOperator<T>,
                             KX_ArrayDefaultXchgOperator<T>, Sorter<T>, KX_ArrayDefaultCloneOperator<T>>;

template class KX_Array<int, KX_ArrayDefaultComparator<int>, KX_ArrayNullDestructor<int>,
                        KX_ArrayDefaultCopyOperator<int>, KX_ArrayDefaultXchgOperator<int>, Sorter<int>,
                        KX_ArrayDefaultCloneOperator<int>>;
template class KX_Array<float, KX_ArrayDefaultComparator<float>, KX_ArrayNullDestructor<float>,
                        KX_ArrayDefaultCopyOperator<float>, KX_ArrayDefaultXchgOperator<float>, Sorter<float>,
                        KX_ArrayDefaultCloneOperator<float>>;
template class KX_Array<long long, KX_ArrayDefaultComparator<long long>, KX_ArrayNullDestructor<long long>,
                        KX_ArrayDefaultCopyOperator<long long>, KX_ArrayDefaultXchgOperator<long long>,
                        Sorter<long long>, KX_ArrayDefaultCloneOperator<long long>>;
template class KX_Array<unsigned char, KX_ArrayDefaultComparator<unsigned char>, KX_ArrayNullDestructor<unsigned char>,
                        KX_ArrayDefaultCopyOperator<unsigned char>, KX_ArrayDefaultXchgOperator<unsigned char>,
                        Sorter<unsigned char>, KX_ArrayDefaultCloneOperator<unsigned char>>;
template class KX_Array<char, KX_ArrayDefaultComparator<char>, KX_ArrayNullDestructor<char>,
                        KX_ArrayDefaultCopyOperator<char>, KX_ArrayDefaultXchgOperator<char>, Sorter<char>,
                        KX_ArrayDefaultCloneOperator<char>>;
template class KX_Array<
    void*, KX_ArrayDefaultComparator<void*>, KX_ArrayNullDestructor<void*>, KX_ArrayDefaultCopyOperator<void*>,
    KX_ArrayDefaultXchgOperator<void*>,
    KX_ArrayPointerRadixSortOperator<void*, KX_ArrayDefaultComparator<void*>, KX_ArrayDefaultXchgOperator<void*>>,
    KX_ArrayDefaultCloneOperator<void*>>;
template class KX_Array<
    KX_Base*, KX_ArrayPointerComparator, KX_ArrayPointerDestructor<KX_Base*>, KX_ArrayDefaultCopyOperator<KX_Base*>,
    KX_ArrayDefaultXchgOperator<KX_Base*>,
    KX_ArrayQuickSortOperator<KX_Base*, KX_ArrayPointerComparator, KX_ArrayDefaultXchgOperator<KX_Base*>>,
    KX_ArrayObjectCloneOperator>;
template class KX_Array<KX_Point2D, KX_ArrayDefaultComparator<KX_Point2D>, KX_ArrayNullDestructor<KX_Point2D>,
                        KX_ArrayDefaultCopyOperator<KX_Point2D>, KX_ArrayDefaultXchgOperator<KX_Point2D>,
                        KX_ArrayQuickSortOperator<KX_Point2D, KX_ArrayDefaultComparator<KX_Point2D>,
                                                  KX_ArrayDefaultXchgOperator<KX_Point2D>>,
                        KX_ArrayDefaultCloneOperator<KX_Point2D>>;

// The explicit instantiations above are the very types the named arrays use.
static_assert(std::is_same_v<KX_IntArrayBase, NumberArray<int>>);
static_assert(std::is_same_v<KX_FloatArrayBase, NumberArray<float>>);
static_assert(std::is_same_v<KX_LongLongArrayBase, NumberArray<long long>>);
static_assert(std::is_same_v<KX_ByteArrayBase, NumberArray<unsigned char>>);
static_assert(std::is_same_v<KX_CharArrayBase, NumberArray<char>>);
