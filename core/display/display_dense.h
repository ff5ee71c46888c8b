// display_dense.h: the body of a dense array below its type header.
//
// obj2str_impl_m picks the element type of a value of kind 1..14 (whole
// valued double and single arrays are shown through an int32 copy) and
// obj2str_impl_m_cl lays out one element type: 2-D slices of an N-d array
// under "(:,:,k) = " headers, a scale line, column pages under "  列 a -- b"
// headers, rows of element texts; char arrays as quoted lines of text.
//
// The page headers are shared with the other column layouts (string and
// cell arrays), which is why they are exposed here.
//
//   internal::BufferedStream<0> s(&std::cout, 65536);
//   internal::obj2str_impl_m_cl(s, m, 80);   // m: matrix<double>
//   s.flush();
#pragma once

#include <string>
#include <vector>

#include "display/display_sinks.h"
#include "matrix/matrix.h"
#include "memory/type_lists.h"

namespace zorvat {

class zo_obj;

namespace internal {

// The body of a dense value (kinds 1..14); other kinds print the notice
// "  (暂不支持该类型数据的输出)".
template <class S>
void obj2str_impl_m(S& s, const zo_obj& obj, long width);

// The body of one dense array; M is matrix<T> for the fourteen arithmetic
// and text element types.
template <class S, class M>
void obj2str_impl_m_cl(S& s, const M& m, long width);

// "(:,:" then ",k+1" for every zero-based index k of the slice along the
// third and later dimensions, then ") = ".
std::string single_matrix_page_header(const std::vector<long>& index);

// The header of the column page of one-based columns first..last:
// "  列 first -- last\n", or "  列 first\n" when the page holds one column
// (or `single` is set); translated.
std::string column_page_header(long first, long last, bool single);

// Writes "\n" in loose spacing (global::fmt_fl.spacing == 256).
template <class S>
void loose_newline(S& s);

#define ZORVAT_EXTERN_DENSE_SINK(S)                                  \
  extern template void obj2str_impl_m(S&, const zo_obj&, long);     \
  extern template void loose_newline(S&);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_EXTERN_DENSE_SINK)
#undef ZORVAT_EXTERN_DENSE_SINK

#define ZORVAT_EXTERN_DENSE_CL(S, T) extern template void obj2str_impl_m_cl(S&, const matrix<T>&, long);
#define ZORVAT_EXTERN_DENSE_CL_TYPE(T) ZORVAT_FOR_EACH_DISPLAY_SINK_WITH(ZORVAT_EXTERN_DENSE_CL, T)
ZORVAT_FOR_EACH_ARITH_TYPE(ZORVAT_EXTERN_DENSE_CL_TYPE)
#undef ZORVAT_EXTERN_DENSE_CL_TYPE
#undef ZORVAT_EXTERN_DENSE_CL

}  // namespace internal
}  // namespace zorvat
