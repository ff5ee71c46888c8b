#include <complex>
#include <type_traits>

#include "display/display.h"
#include "display/display_format.h"
#include "display/number_format.h"
#include "matrix/matrix.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

namespace {


template <class T>
struct is_sparse : std::false_type {};
template <class T>
struct is_sparse<sparse_matrix<T>> : std::true_type {};

// One element in the array's display text (no scale: a one-line text has no
// place for a scale line).  The sign display of format 9 gives one sign
// character.
template <class T>
std::string element_text(const compiled_format& f, const format_info& info, const T& v) {
  char buf[compiled_format::max_text];
  size_t n;
  if (global::fmt_fl.format == 9 && (std::is_floating_point_v<T> || is_complex<T>::value)) {
    double x;
    if constexpr (is_complex<T>::value)
      x = static_cast<double>(v.real());
    else
      x = static_cast<double>(v);
    n = f.character(buf, x > 0 ? '+' : x < 0 ? '-' : ' ');
  } else if constexpr (std::is_floating_point_v<T>) {
    n = f.real(buf, static_cast<double>(v));
  } else if constexpr (is_complex<T>::value) {
    using R = typename T::value_type;
    n = f.complex(buf, static_cast<double>(v.real()), v.imag() < R(0) ? '-' : '+',
                  static_cast<double>(std::abs(v.imag())));
  } else if constexpr (std::is_same_v<T, bool>) {
    n = f.integer(buf, static_cast<long>(v));
  } else if constexpr (std::is_signed_v<T>) {
    n = f.integer(buf, info.field_width, static_cast<long>(v));
  } else {
    n = f.integer(buf, info.field_width, static_cast<unsigned long>(v));
  }
  return trim(std::string(buf, n), " \t");
}

}  // namespace

template <class M>
std::string row_vector_to_string_impl(const M* m, long max_len, bool bracket) {
  using T = typename M::value_type;
  const format_info info = get_format_info(*m, 80);
  if (info.fmt == nullptr) return std::string();
  const compiled_format f(info.fmt);
  std::string text;
  bool first = true;
  // Appends one element; false once the text has passed max_len.
  auto append = [&](const T& v) {
    if (!first) text += ' ';
    first = false;
    text += element_text(f, info, v);
    if (max_len > 0 && static_cast<long>(text.size()) > max_len) {
      text += "...";
      return false;
    }
    return true;
  };
  if constexpr (is_sparse<M>::value) {
    // The stored values, column by column.
    const long* jc = m->jc();
    const long* jce = m->jce();
    bool more = true;
    for (long j = 0; j < m->cols() && more; ++j)
      for (long k = jc[j]; k < jce[j] && more; ++k) more = append(m->pr()[k]);
  } else {
    // Dense text follows the dense display: "nan" is shown as "NaN".
    if (!m->is_empty())
      for (auto it = m->begin(), e = m->end(); it != e && append(*it); ++it) {
      }
    convert_nan_inplace(text);
  }
  if (m->is_scalar() && !bracket) return text;
  return "[" + text + "]";
}

std::string row_vector_to_string(const zo_obj& obj, long max_len, bool bracket) {
  if (obj.payload() == nullptr) return std::string();
  switch (obj.type) {
#define ZORVAT_ROW_CASE(KIND, M) \
  case KIND:                     \
    return row_vector_to_string_impl(&obj.get<M>(), max_len, bracket);
    ZORVAT_ROW_CASE(type_int8, matrix<signed char>)
    ZORVAT_ROW_CASE(type_int16, matrix<short>)
    ZORVAT_ROW_CASE(type_int32, matrix<int>)
    ZORVAT_ROW_CASE(type_int64, matrix<long>)
    ZORVAT_ROW_CASE(type_uint8, matrix<unsigned char>)
    ZORVAT_ROW_CASE(type_uint16, matrix<unsigned short>)
    ZORVAT_ROW_CASE(type_uint32, matrix<unsigned int>)
    ZORVAT_ROW_CASE(type_uint64, matrix<unsigned long>)
    ZORVAT_ROW_CASE(type_double, matrix<double>)
    ZORVAT_ROW_CASE(type_single, matrix<float>)
    ZORVAT_ROW_CASE(type_complex_double, matrix<std::complex<double>>)
    ZORVAT_ROW_CASE(type_complex_single, matrix<std::complex<float>>)
    ZORVAT_ROW_CASE(type_logical, matrix<bool>)
    ZORVAT_ROW_CASE(type_sparse_double, sparse_matrix<double>)
    ZORVAT_ROW_CASE(type_sparse_single, sparse_matrix<float>)
    ZORVAT_ROW_CASE(type_sparse_complex_double, sparse_matrix<std::complex<double>>)
    ZORVAT_ROW_CASE(type_sparse_complex_single, sparse_matrix<std::complex<float>>)
    ZORVAT_ROW_CASE(type_sparse_logical, sparse_matrix<bool>)
#undef ZORVAT_ROW_CASE
    default:
      return std::string();
  }
}

#define ZORVAT_INSTANTIATE_ROW_VECTOR(T) \
  template std::string row_vector_to_string_impl(const matrix<T>*, long, bool);
ZORVAT_FOR_EACH_ROW_VECTOR_TYPE(ZORVAT_INSTANTIATE_ROW_VECTOR)
#undef ZORVAT_INSTANTIATE_ROW_VECTOR
#define ZORVAT_INSTANTIATE_ROW_VECTOR_SPARSE(T) \
  template std::string row_vector_to_string_impl(const sparse_matrix<T>*, long, bool);
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_INSTANTIATE_ROW_VECTOR_SPARSE)
#undef ZORVAT_INSTANTIATE_ROW_VECTOR_SPARSE

}  // namespace internal
}  // namespace zorvat
