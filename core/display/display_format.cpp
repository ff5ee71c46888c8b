#include "display/display_format.h"

#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>
#include <utility>

#include "value/zo_obj.h"

namespace zorvat {
namespace global {

fmt_flag fmt_fl = {0, 256};

}  // namespace global

namespace internal {

namespace {

// Calls f(element) for every element of m in storage order; reads packed
// arrays straight from memory, views through their strides.
template <class T, class F>
void for_each_stored(const matrix<T>& m, F&& f) {
  if (m.is_empty()) return;
  if (m.is_contiguous()) {
    const T* p = m.data();
    for (long k = 0, n = m.size(); k < n; ++k) f(p[k]);
    return;
  }
  for (auto it = m.begin(), e = m.end(); it != e; ++it) f(*it);
}

// The texts of the floating formats format_short .. format_long_e for one
// element type, indexed by the format's code: the normal text, the exponent
// text of a large scalar (fixed formats of real types only) and the column
// width.
struct floating_text {
  const char* fmt;
  const char* large_scalar;
  int column;
};

static_assert(global::format_short == 0 && global::format_long == 1 && global::format_short_e == 2 &&
                  global::format_long_e == 3,
              "the tables of texts are indexed by the format's code");
constexpr int floating_formats = global::format_long_e + 1;
constexpr floating_text double_texts[floating_formats] = {{" %9.4f", "  %9.4e", 10},
                                           {" %19.15f", "  %19.15e", 20},
                                           {" %12.4e", nullptr, 13},
                                           {" %25.15e", nullptr, 26}};
constexpr floating_text single_texts[floating_formats] = {{" %9.4f", "  %9.4e", 10},
                                           {" %11.7f", "  %11.7e", 12},
                                           {" %12.4e", nullptr, 13},
                                           {" %15.7e", nullptr, 16}};
constexpr floating_text complex_double_texts[floating_formats] = {{" %8.4f %c%7.4fi", nullptr, 19},
                                                   {" %18.15f %c%18.15fi", nullptr, 40},
                                                   {" %12.4e %c%11.4ei", nullptr, 27},
                                                   {" %25.15e %c%22.15ei", nullptr, 51}};
constexpr floating_text complex_single_texts[floating_formats] = {{" %8.4f %c%7.4fi", nullptr, 19},
                                                   {" %10.7f %c%10.7fi", nullptr, 24},
                                                   {" %12.4e %c%11.4ei", nullptr, 27},
                                                   {" %17.7e %c%14.7ei", nullptr, 35}};

// What differs between element types: their family and, for floating
// types, their table of texts.
enum class element_family { floating, integer, logical, text };

template <class T>
struct format_traits {
  static constexpr element_family family = element_family::integer;
};
template <>
struct format_traits<double> {
  static constexpr element_family family = element_family::floating;
  static constexpr const floating_text* texts = double_texts;
};
template <>
struct format_traits<float> {
  static constexpr element_family family = element_family::floating;
  static constexpr const floating_text* texts = single_texts;
};
template <>
struct format_traits<std::complex<double>> {
  static constexpr element_family family = element_family::floating;
  static constexpr const floating_text* texts = complex_double_texts;
};
template <>
struct format_traits<std::complex<float>> {
  static constexpr element_family family = element_family::floating;
  static constexpr const floating_text* texts = complex_single_texts;
};
template <>
struct format_traits<bool> {
  static constexpr element_family family = element_family::logical;
};
template <>
struct format_traits<char> {
  static constexpr element_family family = element_family::text;
};

long effective_width(long width) { return width == -1 ? 80 : width; }

long page_count(long cols, long cols_per_page) { return (cols - 1) / cols_per_page + 1; }

// The floating formats and the sign format of a floating type; `scalar_magnitude` is the magnitude
// of the only element of a one-element real array, else negative.
format_info floating_info(const floating_text* texts, long cols, long width, double scalar_magnitude) {
  format_info info;
  const std::uint32_t format = global::fmt_fl.format;
  if (format == global::format_sign) {
    info.fmt = "%c";
    info.cols_per_page = cols;
    info.pages = 1;
    return info;
  }
  if (format >= floating_formats) return info;
  const floating_text& t = texts[format];
  info.fmt = t.fmt;
  info.cols_per_page = width < 2L * t.column ? 1 : width / t.column;
  info.pages = page_count(cols, info.cols_per_page);
  // NaN compares false and keeps the fixed text; an infinity switches.
  if (t.large_scalar != nullptr && scalar_magnitude >= 1000.0) info.fmt = t.large_scalar;
  return info;
}

template <class T>
format_info integer_info(std::uint64_t max_magnitude, long cols, long width) {
  format_info info;
  if (global::fmt_fl.format == global::format_hex) {
    info.fmt = sizeof(T) == 8 ? "  %0*lx" : "  %0*x";
    info.field_width = static_cast<int>(2 * sizeof(T));
    const long column = info.field_width + 2;
    info.cols_per_page = width >= 2 * column ? width / column : 1;
  } else {
    if constexpr (std::is_signed_v<T>)
      info.fmt = sizeof(T) == 8 ? "%*ld" : "%*d";
    else
      info.fmt = sizeof(T) == 8 ? "%*lu" : "%*u";
    int digits = 1;
    for (std::uint64_t v = max_magnitude; v >= 10; v /= 10) ++digits;
    info.field_width = digits + 3;
    info.cols_per_page = std::max(1L, width / info.field_width);
  }
  info.pages = page_count(cols, info.cols_per_page);
  return info;
}

format_info logical_info(long cols, long width) {
  format_info info;
  info.fmt = "%4d";
  info.field_width = 4;
  info.cols_per_page = width >= 8 ? width / 4 : 1;
  info.pages = page_count(cols, info.cols_per_page);
  return info;
}

format_info text_info() {
  format_info info;
  info.fmt = "%c";
  info.cols_per_page = 1;
  info.pages = 1;
  info.field_width = 1;
  return info;
}

template <class T>
double magnitude(const T& v) {
  return std::fabs(static_cast<double>(v));
}

template <class T>
std::uint64_t integer_magnitude(T v) {
  if constexpr (std::is_signed_v<T>)
    return v < 0 ? 0 - static_cast<std::uint64_t>(v) : static_cast<std::uint64_t>(v);
  else
    return static_cast<std::uint64_t>(v);
}

}  // namespace

template <class M>
format_info get_format_info(const M& m, long width) {
  using T = typename M::value_type;
  width = effective_width(width);
  const long cols = m.cols();
  constexpr element_family family = format_traits<T>::family;
  if constexpr (family == element_family::floating) {
    double scalar_magnitude = -1.0;
    if constexpr (std::is_floating_point_v<T>) {
      if constexpr (std::is_same_v<M, matrix<T>>) {
        if (m.size() == 1) scalar_magnitude = magnitude(m(0, 0));
      } else if (m.rows() == 1 && m.cols() == 1) {
        scalar_magnitude = magnitude(m.get_value(0, 0));
      }
    }
    return floating_info(format_traits<T>::texts, cols, width, scalar_magnitude);
  } else if constexpr (family == element_family::logical) {
    return logical_info(cols, width);
  } else if constexpr (family == element_family::text) {
    return text_info();
  } else {
    std::uint64_t max_magnitude = 1;
    for_each_stored(m, [&](T v) { max_magnitude = std::max(max_magnitude, integer_magnitude(v)); });
    return integer_info<T>(max_magnitude, cols, width);
  }
}

double scale_from_magnitude(double max_mag, int bar) {
  const double e = std::floor(std::log10(max_mag));
  if (e >= bar || e <= -bar) return std::pow(10.0, e);
  return 1.0;
}

namespace {

// The largest finite magnitude of n real elements, at least 1.  Branch-free
// with four lanes so that the compiler can vectorise it: this pass reads the
// whole array even when obj2str shows only its beginning.
template <class R>
R max_finite_magnitude(const R* p, long n) {
  constexpr R largest = std::numeric_limits<R>::max();
  R m[4] = {1, 1, 1, 1};
  long k = 0;
  for (; k + 4 <= n; k += 4) {
    for (int l = 0; l < 4; ++l) {
      const R a = std::fabs(p[k + l]);
      const R c = a <= largest ? a : R(0);  // NaN and infinities count as 0
      m[l] = m[l] < c ? c : m[l];
    }
  }
  for (; k < n; ++k) {
    const R a = std::fabs(p[k]);
    if (a <= largest && a > m[0]) m[0] = a;
  }
  return std::max(std::max(m[0], m[1]), std::max(m[2], m[3]));
}

}  // namespace

template <class M>
real_t<typename M::value_type> get_scale(const M& m) {
  using T = typename M::value_type;
  using R = real_t<T>;
  constexpr bool complex = is_complex_v<T>;
  constexpr R largest = std::numeric_limits<R>::max();
  R max_mag = 1;
  if (!complex && m.is_contiguous() && !m.is_empty()) {
    max_mag = max_finite_magnitude(reinterpret_cast<const R*>(m.data()), m.size());
  } else {
    for_each_stored(m, [&](const T& v) {
      const R mag = std::abs(v);  // modulus of a complex element
      if (mag <= largest && mag > max_mag) max_mag = mag;  // skips NaN and infinities
    });
  }
  return static_cast<R>(scale_from_magnitude(static_cast<double>(max_mag), complex ? 2 : 3));
}

template <class T>
bool to_int_mat_9_digits(const matrix<T>& in, matrix<int>& out) {
  bool whole = true;
  if (!in.is_empty()) {
    if (in.is_contiguous()) {
      const T* p = in.data();
      for (long k = 0, n = in.size(); k < n && whole; ++k)
        whole = p[k] - std::trunc(p[k]) == 0 && std::fabs(p[k]) < T(1e9);
    } else {
      for (auto it = in.begin(), e = in.end(); it != e && whole; ++it)
        whole = *it - std::trunc(*it) == 0 && std::fabs(*it) < T(1e9);
    }
  }
  if (!whole) return false;
  matrix<int> r(in.dim_vec());
  if (!in.is_empty()) {
    int* dst = r.data();
    for_each_stored(in, [&](T v) { *dst++ = static_cast<int>(v); });
  }
  out = std::move(r);
  return true;
}

void to_int_mat_9_digits(const zo_obj& in, zo_obj& out) {
  if ((in.type != type_double && in.type != type_single) || in.payload() == nullptr) return;
  matrix<int> r;
  const bool whole = in.type == type_double ? to_int_mat_9_digits(in.get<matrix<double>>(), r)
                                            : to_int_mat_9_digits(in.get<matrix<float>>(), r);
  if (whole) out = zo_obj(type_int32, new matrix<int>(std::move(r)));
}

void convert_nan_inplace(std::string& s) {
  for (std::size_t pos = s.find("nan"); pos != std::string::npos; pos = s.find("nan", pos + 3))
    s.replace(pos, 3, "NaN");
}

void convert_nan_inplace(char* s, std::size_t n) {
  for (std::size_t k = 0; k + 3 <= n; ++k) {
    if (s[k] == 'n' && s[k + 1] == 'a' && s[k + 2] == 'n') {
      s[k] = 'N';
      s[k + 2] = 'N';
      k += 2;
    }
  }
}

#define ZORVAT_INSTANTIATE_FORMAT_INFO(T) template format_info get_format_info(const matrix<T>&, long);
ZORVAT_FOR_EACH_ARITH_TYPE(ZORVAT_INSTANTIATE_FORMAT_INFO)
#undef ZORVAT_INSTANTIATE_FORMAT_INFO
#define ZORVAT_INSTANTIATE_FORMAT_INFO_SPARSE(T) \
  template format_info get_format_info(const sparse_matrix<T>&, long);
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_INSTANTIATE_FORMAT_INFO_SPARSE)
#undef ZORVAT_INSTANTIATE_FORMAT_INFO_SPARSE
#define ZORVAT_INSTANTIATE_SCALE(T) template real_t<T> get_scale(const matrix<T>&);
ZORVAT_FOR_EACH_FLOATING_TYPE(ZORVAT_INSTANTIATE_SCALE)
#undef ZORVAT_INSTANTIATE_SCALE
template bool to_int_mat_9_digits(const matrix<double>&, matrix<int>&);
template bool to_int_mat_9_digits(const matrix<float>&, matrix<int>&);

}  // namespace internal
}  // namespace zorvat
