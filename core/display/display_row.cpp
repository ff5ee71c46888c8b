#include <complex>
#include <type_traits>

#include "display/display.h"
#include "display/display_dense.h"
#include "display/display_format.h"
#include "display/display_kinds.h"
#include "display/number_format.h"
#include "matrix/matrix.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"
#include "value/kind_table.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

namespace {


// One element in the array's display text (no scale: a one-line text has no
// place for a scale line).  The sign format gives one sign
// character for floating and complex elements.
template <class T>
std::string row_element_text(const compiled_format& f, const format_info& info, const T& v) {
  char buf[compiled_format::max_text];
  size_t n;
  if (global::fmt_fl.format == global::format_sign && (std::is_floating_point_v<T> || is_complex_v<T>))
    n = f.character(buf, sign_char(v));
  else
    n = format_element(buf, f, info, v, real_t<T>(1));
  return trim(std::string(buf, n), " \t");
}


template <class M>
std::string row_vector_text(const M* m, long max_len, bool bracket) {
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
    text += row_element_text(f, info, v);
    if (max_len > 0 && static_cast<long>(text.size()) > max_len) {
      text += "...";
      return false;
    }
    return true;
  };
  if constexpr (is_sparse_v<M>) {
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

}  // namespace

template <class T>
std::string row_vector_to_string_impl(const matrix<T>* m, long max_len, bool bracket) {
  return row_vector_text(m, max_len, bracket);
}

template <class T>
std::string row_vector_to_string_impl(const sparse_matrix<T>* m, long max_len, bool bracket) {
  return row_vector_text(m, max_len, bracket);
}

std::string row_vector_to_string(const zo_obj& obj, long max_len, bool bracket) {
  if (obj.payload() == nullptr) return std::string();
  return visit_kind(obj.type, [&](auto k) -> std::string {
    using P = typename decltype(k)::payload;
    if constexpr (is_numeric_dense_v<P> || is_sparse_v<P>)
      return row_vector_to_string_impl(&obj.get<P>(), max_len, bracket);
    else
      return std::string();  // char and every non-numeric kind: the caller's fallback
  });
}

#define ZORVAT_INSTANTIATE_ROW_VECTOR(T) \
  template std::string row_vector_to_string_impl(const matrix<T>*, long, bool);
ZORVAT_FOR_EACH_NUMERIC_TYPE(ZORVAT_INSTANTIATE_ROW_VECTOR)
#undef ZORVAT_INSTANTIATE_ROW_VECTOR
#define ZORVAT_INSTANTIATE_ROW_VECTOR_SPARSE(T) \
  template std::string row_vector_to_string_impl(const sparse_matrix<T>*, long, bool);
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_INSTANTIATE_ROW_VECTOR_SPARSE)
#undef ZORVAT_INSTANTIATE_ROW_VECTOR_SPARSE

}  // namespace internal
}  // namespace zorvat
