// display_sparse.h: the body of a sparse matrix below its type header.
//
// One line per stored entry in column order: the one-based position, padded
// to the digit counts of the row and column counts, then the element text of
// the current numeric format ("  (2,1)    1.5000").  A power-of-ten scale line
// precedes the entries in the fixed formats; format_sign shows signs; a matrix
// without entries prints the all-zero notice.  Entries in the slack behind a
// column's end are not shown.  Sparse output is never paged.
//
//   sparse_matrix<double> m(std::vector<triplet<double>>{{1.5, 1, 0}}, 3, 2);
//   internal::obj2str_impl_sparse(s, m);   // "  (2,1)    1.5000\n" (+ loose "\n")
#pragma once

#include "display/display_kinds.h"
#include "memory/type_lists.h"
#include "sparse/sparse_matrix.h"

namespace zorvat {
namespace internal {

// One sparse element type; T is one of ZORVAT_FOR_EACH_SPARSE_TYPE.
template <class S, class T>
void obj2str_impl_sparse(S& s, const sparse_matrix<T>& m);

// 10^e for e = floor(log10(M)), M the largest finite magnitude (modulus for
// complex) among the stored entries and at least 1, when e >= upper or
// e <= lower; otherwise exactly 1.  The display passes -3 and 3.
// M is sparse_matrix<T>, B the type of the bounds (double).
template <class M, class B>
double get_scale_float(const M& m, B lower, B upper);

#define ZORVAT_EXTERN_SPARSE_SCALE(T) extern template double get_scale_float(const sparse_matrix<T>&, double, double);
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_EXTERN_SPARSE_SCALE)
#undef ZORVAT_EXTERN_SPARSE_SCALE
#define ZORVAT_EXTERN_SPARSE_CL(S, T) extern template void obj2str_impl_sparse(S&, const sparse_matrix<T>&);
#define ZORVAT_EXTERN_SPARSE_CL_TYPE(T) ZORVAT_FOR_EACH_DISPLAY_SINK_WITH(ZORVAT_EXTERN_SPARSE_CL, T)
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_EXTERN_SPARSE_CL_TYPE)
#undef ZORVAT_EXTERN_SPARSE_CL_TYPE
#undef ZORVAT_EXTERN_SPARSE_CL

}  // namespace internal
}  // namespace zorvat
