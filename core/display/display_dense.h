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

#include <climits>
#include <cmath>
#include <complex>
#include <type_traits>
#include <string>
#include <vector>

#include "display/display_format.h"
#include "display/display_sinks.h"
#include "display/number_format.h"
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

// The slice walk shared by every layout of N-d arrays: the number of 2-D
// slices (the product of the dimensions from the third on), the storage
// offset of the slice at a zero-based index along those dimensions, and the
// step to the next index in storage order.
inline long slice_count(const std::vector<long>& dims) {
  long p = 1;
  for (size_t k = 2; k < dims.size(); ++k) p *= dims[k];
  return p;
}
inline long slice_offset(const std::vector<long>& index, const std::vector<long>& strides) {
  long off = 0;
  for (size_t k = 0; k < index.size(); ++k) off += index[k] * strides[k + 2];
  return off;
}
inline void next_slice(std::vector<long>& index, const std::vector<long>& dims) {
  for (size_t k = 0; k < index.size(); ++k) {
    if (++index[k] < dims[k + 2]) return;
    index[k] = 0;
  }
}

// a + b for non-negative widths, held at LONG_MAX instead of overflowing.
inline long sat_add(long a, long b) { return a > LONG_MAX - b ? LONG_MAX : a + b; }

// The sign character of format_sign: '+' above zero, '-' below, a blank for
// zero and NaN.  Complex elements are judged by their real part.
template <class T>
char sign_char(const T& v) {
  if constexpr (is_complex_v<T>)
    return sign_char(v.real());
  else
    return v > T(0) ? '+' : v < T(0) ? '-' : ' ';
}

// The text of one element into buf (compiled_format::max_text bytes) under
// the format f of `info`, divided by `scale` (floating and complex types);
// returns its length.  "nan" is left as printf writes it.
template <class T>
size_t format_element(char* buf, const compiled_format& f, const format_info& info, const T& v,
                      real_t<T> scale) {
  if constexpr (std::is_floating_point_v<T>) {
    return f.real(buf, static_cast<double>(v / scale));
  } else if constexpr (is_complex_v<T>) {
    using R = typename T::value_type;
    const R im = v.imag();
    return f.complex(buf, static_cast<double>(v.real() / scale), im < R(0) ? '-' : '+',
                     static_cast<double>(std::abs(im) / scale));
  } else if constexpr (std::is_same_v<T, bool>) {
    (void)scale;
    return f.integer(buf, static_cast<long>(v));
  } else if constexpr (std::is_signed_v<T>) {
    (void)scale;
    return f.integer(buf, info.field_width, static_cast<long>(v));
  } else {
    (void)scale;
    return f.integer(buf, info.field_width, static_cast<unsigned long>(v));
  }
}

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
