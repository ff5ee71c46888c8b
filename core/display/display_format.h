// display_format.h: how numeric elements are displayed.
//
// global::fmt_fl is the display format record that the host sets (the
// library only reads it, at every use): `format` picks the numeric format
// (0 short fixed, 1 long fixed, 2 short exponent, 3 long exponent, 8
// hexadecimal integers, 9 signs; 4..7 and 8 for floating types have no
// rendering), `spacing` 256 selects loose spacing (blank lines around
// headers and pages), any other value compact spacing.
//
// get_format_info() chooses, for an array and a console width, the printf
// text of one element, the columns per page and the number of column pages;
// get_scale() the common power-of-ten factor shown above fixed-point numbers;
// to_int_mat_9_digits() the int32 copy through which whole-valued floating
// arrays are shown as integers.
//
//   internal::format_info info = internal::get_format_info(m, 80);
//   if (info.fmt == nullptr) { /* this format cannot show this type */ }
//   double scale = internal::get_scale(m);   // 1.0: no scale line
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <string>
#include <type_traits>

#include "matrix/matrix.h"
#include "memory/type_lists.h"
#include "sparse/sparse_matrix.h"
#include "value/kind_traits.h"

namespace zorvat {

class zo_obj;

namespace global {

// The codes of fmt_flag::format.  Codes 4..7 have no rendering, and format_hex
// none for the floating types.
enum format_code : std::uint32_t {
  format_short = 0,    // short fixed point, 5 significant digits
  format_long = 1,     // long fixed point, 15 significant digits
  format_short_e = 2,  // short exponent form
  format_long_e = 3,   // long exponent form
  format_hex = 8,      // hexadecimal integers
  format_sign = 9,     // '+', '-' or blank per element
};

// The values of fmt_flag::spacing: loose spacing puts blank lines around
// headers and pages; any value other than spacing_loose is compact.
enum spacing_word : std::uint32_t { spacing_compact = 0, spacing_loose = 256 };

// The formats that show a common power-of-ten scale above the numbers.
constexpr bool is_fixed_format(std::uint32_t format) { return format == format_short || format == format_long; }

// The display format record: two 32-bit words, in this order.
struct fmt_flag {
  std::uint32_t format;
  std::uint32_t spacing;
};

// Format 0 and loose spacing (256) at load.  Written by the host only.
extern fmt_flag fmt_fl;

}  // namespace global

namespace internal {

// The spacing word value that selects loose spacing.
inline constexpr std::uint32_t loose_spacing_word = global::spacing_loose;
inline bool loose_spacing() { return global::fmt_fl.spacing == loose_spacing_word; }

// How the elements of one array are printed.
struct format_info {
  // printf text of one element (one of the literals of display_format.cpp),
  // or null when the current format has no rendering for the element type.
  const char* fmt = nullptr;
  long cols_per_page = 0;  // array columns printed side by side
  long pages = 0;          // number of column pages
  int field_width = 0;     // the '*' width of integer texts (1 for char)
};

// The format of the elements of m for a console `width` characters wide (-1
// means 80).  M is matrix<T> for the fourteen arithmetic and text element
// types or sparse_matrix<T> for the five sparse ones.
template <class M>
format_info get_format_info(const M& m, long width);

// The power-of-ten scale of m: 10^e with e = floor(log10(M)), M the largest
// finite magnitude (modulus for complex) and at least 1, when e >= 3 (real)
// or e >= 2 (complex); otherwise exactly 1.  For matrix<double>, <float>,
// <std::complex<double>>, <std::complex<float>>.
template <class M>
real_t<typename M::value_type> get_scale(const M& m);

// The scale rule on a known maximum magnitude: 10^floor(log10(max_mag)) when
// that exponent is at least `bar` (or at most -bar), else 1.  Shared by the
// dense and sparse renderers.
double scale_from_magnitude(double max_mag, int bar);

// If `in` is a double or single array whose elements are all whole numbers
// of magnitude below 1e9, sets `out` to an int32 array of the same dimensions
// holding them; otherwise leaves `out` untouched.  An empty array passes.
void to_int_mat_9_digits(const zo_obj& in, zo_obj& out);
// The typed worker: true (and `out` filled) when every element passed; the
// test stops at the first element that fails, before anything is allocated.
template <class T>
bool to_int_mat_9_digits(const matrix<T>& in, matrix<int>& out);

// Rewrites every "nan" in s to "NaN" ("-nan" becomes "-NaN"; "inf" stays).
void convert_nan_inplace(std::string& s);
// The same on a character buffer of length n.
void convert_nan_inplace(char* s, std::size_t n);

#define ZORVAT_EXTERN_FORMAT_INFO(T) extern template format_info get_format_info(const matrix<T>&, long);
ZORVAT_FOR_EACH_ARITH_TYPE(ZORVAT_EXTERN_FORMAT_INFO)
#undef ZORVAT_EXTERN_FORMAT_INFO
#define ZORVAT_EXTERN_FORMAT_INFO_SPARSE(T) \
  extern template format_info get_format_info(const sparse_matrix<T>&, long);
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_EXTERN_FORMAT_INFO_SPARSE)
#undef ZORVAT_EXTERN_FORMAT_INFO_SPARSE

#define ZORVAT_EXTERN_SCALE(T) \
  extern template real_t<T> get_scale(const matrix<T>&);
ZORVAT_FOR_EACH_FLOATING_TYPE(ZORVAT_EXTERN_SCALE)
#undef ZORVAT_EXTERN_SCALE
extern template bool to_int_mat_9_digits(const matrix<double>&, matrix<int>&);
extern template bool to_int_mat_9_digits(const matrix<float>&, matrix<int>&);

}  // namespace internal
}  // namespace zorvat
