// Sparse matrices (kinds 26..30): one line per stored entry.
#include "display/display_sparse.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <complex>
#include <limits>
#include <type_traits>
#include <vector>

#include "display/display_dense.h"
#include "display/display_format.h"
#include "display/number_format.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "value/kind_table.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

namespace {


int decimal_digits(long v) {
  int n = 1;
  for (; v >= 10; v /= 10) ++n;
  return n;
}

// Writes v right-aligned in a field of w characters; returns the field's
// end.  The digits go backwards from the end, so no copy of a variable
// length is made (a call each); 24 characters at p are written (blanks past
// the field).
// REQUIRES: 1 <= w <= 20 and v has at most w decimal digits.
inline char* put_field(char* p, unsigned long v, int w) {
  ZORVAT_ASSERT(w >= 1 && w <= 20 && decimal_digits(static_cast<long>(v)) <= w);
  std::memset(p, ' ', 24);  // a fixed size: no call
  char* const end = p + w;
  char* q = end;
  while (v >= 100) {
    q -= 2;
    std::memcpy(q, digit_pairs + 2 * (v % 100), 2);
    v /= 100;
  }
  if (v >= 10)
    std::memcpy(q - 2, digit_pairs + 2 * v, 2);
  else
    q[-1] = static_cast<char>('0' + v);
  return end;
}

}  // namespace

template <class M, class B>
double get_scale_float(const M& m, B lower, B upper) {
  using T = typename M::value_type;
  auto magnitude = [](const T& v) {
    if constexpr (std::is_same_v<T, bool>)
      return v ? 1.0 : 0.0;
    else
      return static_cast<double>(std::abs(v));
  };
  // The larger of a and the finite magnitude x (NaN and inf are skipped).
  auto finite_max = [](double a, double x) {
    return x <= std::numeric_limits<double>::max() && x > a ? x : a;
  };
  // Four independent maxima: one chain would wait for each comparison.
  double max4[4] = {1.0, 1.0, 1.0, 1.0};
  const T* pr = m.pr();
  const long* jc = m.jc();
  const long* jce = m.jce();
  for (long j = 0, n = m.cols(); j < n; ++j) {
    long k = jc[j];
    for (; k + 4 <= jce[j]; k += 4)
      for (int q = 0; q < 4; ++q) max4[q] = finite_max(max4[q], magnitude(pr[k + q]));
    for (; k < jce[j]; ++k) max4[0] = finite_max(max4[0], magnitude(pr[k]));
  }
  const double max_mag = std::max(std::max(max4[0], max4[1]), std::max(max4[2], max4[3]));
  const double e = std::floor(std::log10(max_mag));
  if (e >= upper || e <= lower) return std::pow(10.0, e);
  return 1.0;
}

template <class S, class T>
void obj2str_impl_sparse(S& s, const sparse_matrix<T>& m) {
  if (s.stopped()) return;
  const format_info info = get_format_info(m, -1);
  if (info.fmt == nullptr) {
    s << tr("    (该类型变量暂不支持的以该格式输出)\n");
    loose_newline(s);
    return;
  }
  const long rows = m.rows(), cols = m.cols();
  if (rows == 0 || cols == 0) {
    loose_newline(s);
    return;
  }
  const T* pr = m.pr();
  const long* ir = m.ir();
  const long* jc = m.jc();
  const long* jce = m.jce();
  // The notice tests nnz(), counted from the column starts: a matrix whose
  // slack between columns is all it holds goes on, and prints no entry.
  if (m.nnz() == 0) {
    s << tr("  (全 0 矩阵)\n");
    loose_newline(s);
    return;
  }
  long entries = 0;  // the real entries: slack behind a column's end is not counted
  for (long j = 0; j < cols; ++j) entries += jce[j] - jc[j];
  const int rw = decimal_digits(rows), cw = decimal_digits(cols);
  const std::uint32_t format = global::fmt_fl.format;
  double scale = 1.0;
  if (!m.is_scalar() && global::is_fixed_format(format)) {
    if constexpr (!std::is_same_v<T, bool>) scale = get_scale_float<sparse_matrix<T>, double>(m, -3.0, 3.0);
    if (scale != 1.0) {
      s << str_format("  %.1e *", scale) << "\n";
      loose_newline(s);
    }
  }
  const compiled_format f(info.fmt);
  // Each entry is three insertions: "  (" row "," column ")", the element
  // text (or one sign character), and "\n"; obj2str's cap cuts between them.
  // They are made in one piece of room and joined where the sink allows.
  static_assert(64 + compiled_format::max_text <= chunked_writer<S>::max_piece, "an entry line fits the room");
  chunked_writer<S> out(s);
  // "  (" and the padded row number of every row, 16 characters a row, when
  // there are no more rows than entries (making it costs less than writing
  // the numbers) and the table stays small enough to stay in the cache.
  constexpr int row_text_size = 16;
  const int row_len = 3 + rw;
  std::vector<char> row_texts;
  if (row_len <= row_text_size && rows <= entries && rows <= (1L << 16)) {
    row_texts.resize(static_cast<size_t>(rows * row_text_size + 24));
    for (long i = 0; i < rows; ++i) {
      char* t = &row_texts[static_cast<size_t>(i * row_text_size)];
      std::memcpy(t, "  (", 3);
      put_field(t + 3, static_cast<unsigned long>(i + 1), rw);
    }
  }
  const char* const row_table = row_texts.empty() ? nullptr : row_texts.data();
  char col_text[32] = {};  // "," column ")" of the current column
  for (long j = 0; j < cols; ++j) {
    char* const col_end = put_field(col_text + 1, static_cast<unsigned long>(j + 1), cw);
    col_text[0] = ',';
    *col_end = ')';
    const size_t col_len = static_cast<size_t>(col_end + 1 - col_text);
    for (long k = jc[j]; k < jce[j]; ++k) {
      if (s.stopped()) return;
      char* const line = out.room();
      char* p = line;
      const auto row = static_cast<unsigned long>(ir[k]);
      if (row_table != nullptr && row < static_cast<unsigned long>(rows)) {
        std::memcpy(p, row_table + row * row_text_size, row_text_size);  // a fixed size: no call
        p += row_len;
      } else if (row < static_cast<unsigned long>(rows)) {
        std::memcpy(p, "  (", 3);
        p = put_field(p + 3, row + 1, rw);
      } else {
        // A row index outside the matrix (a broken matrix) is shown as it is.
        p += std::snprintf(p, 32, "  (%*ld", rw, static_cast<long>(row + 1));
      }
      std::memcpy(p, col_text, sizeof col_text);  // a fixed size: no call; the room has space
      p += col_len;
      size_t ends[3];
      ends[0] = static_cast<size_t>(p - line);
      if (format == global::format_sign)
        *p++ = sign_char(pr[k]);
      else
        // A stored NaN keeps printf's lower-case "nan" here, unlike the dense
        // display (intended).
        p += format_element(p, f, info, pr[k], static_cast<real_t<T>>(scale));
      ends[1] = static_cast<size_t>(p - line);
      *p++ = '\n';
      ends[2] = ends[1] + 1;
      out.commit_pieces(ends, 3);
    }
  }
  out.flush();
  loose_newline(s);
}

template <class S>
void obj2str_impl_sparse(S& s, const zo_obj& obj) {
  const bool shown = obj.payload() != nullptr && visit_kind(obj.type, [&](auto k) {
    using P = typename decltype(k)::payload;
    if constexpr (is_sparse_v<P>) {
      obj2str_impl_sparse(s, obj.get<P>());
      return true;
    } else {
      return false;
    }
  });
  if (!shown) s << tr("  (暂不支持该类型数据的输出)");
}

#define ZORVAT_INSTANTIATE_SPARSE_SCALE(T) template double get_scale_float(const sparse_matrix<T>&, double, double);
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_INSTANTIATE_SPARSE_SCALE)
#undef ZORVAT_INSTANTIATE_SPARSE_SCALE
#define ZORVAT_INSTANTIATE_SPARSE_CL(S, T) template void obj2str_impl_sparse(S&, const sparse_matrix<T>&);
#define ZORVAT_INSTANTIATE_SPARSE_CL_TYPE(T) ZORVAT_FOR_EACH_DISPLAY_SINK_WITH(ZORVAT_INSTANTIATE_SPARSE_CL, T)
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_INSTANTIATE_SPARSE_CL_TYPE)
#undef ZORVAT_INSTANTIATE_SPARSE_CL_TYPE
#undef ZORVAT_INSTANTIATE_SPARSE_CL
#define ZORVAT_INSTANTIATE_SPARSE_SINK(S) template void obj2str_impl_sparse(S&, const zo_obj&);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_INSTANTIATE_SPARSE_SINK)
#undef ZORVAT_INSTANTIATE_SPARSE_SINK

}  // namespace internal
}  // namespace zorvat
