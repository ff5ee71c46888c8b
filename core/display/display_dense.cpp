#include "display/display_dense.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <type_traits>

#include "display/display_format.h"
#include "display/display_text.h"
#include "display/number_format.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "display/display_kinds.h"
#include "value/kind_table.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

namespace {


// The element text of the dense display: "nan" is shown as "NaN".
template <class T>
size_t dense_element_text(char* buf, const compiled_format& f, const format_info& info, const T& v,
                    real_t<T> scale) {
  const size_t n = format_element(buf, f, info, v, scale);
  if constexpr (std::is_floating_point_v<T>) {
    if (std::isnan(v)) convert_nan_inplace(buf, n);
  } else if constexpr (is_complex_v<T>) {
    if (std::isnan(v.real()) || std::isnan(v.imag())) convert_nan_inplace(buf, n);
  }
  return n;
}

template <class S>
void write_slice_header(S& s, const std::vector<long>& index) {
  s << single_matrix_page_header(index) << "\n";
  loose_newline(s);
}

template <class S>
void char_matrix(S& s, const matrix<char>& m) {
  if (m.is_empty()) return;
  const std::vector<long>& dims = m.dim_vec();
  const long rows = dims[0], cols = dims[1], slices = slice_count(dims);
  const long rs = m.stride(0), cs = m.stride(1);
  std::vector<long> index(dims.size() - 2, 0);
  std::string line, row;
  for (long p = 0; p < slices; ++p, next_slice(index, dims)) {
    if (s.stopped()) return;
    const char* base = m.data() + slice_offset(index, m.stride_vec());
    if (slices != 1) write_slice_header(s, index);
    for (long i = 0; i < rows && !s.stopped(); ++i) {
      row.clear();
      for (long j = 0; j < cols; ++j) append_escaped(row, base + i * rs + j * cs, 1);
      s << "    '" << row << "'\n";
    }
    loose_newline(s);
  }
}

}  // namespace

std::string single_matrix_page_header(const std::vector<long>& index) {
  std::string h = "(:,:";
  for (long i : index) h += str_format(",%ld", i + 1);
  h += ") = ";
  return h;
}

std::string column_page_header(long first, long last, bool single) {
  if (single || first == last) return str_format(tr("  列 %ld\n"), first);
  return str_format(tr("  列 %ld -- %ld\n"), first, last);
}

template <class S>
void loose_newline(S& s) {
  if (loose_spacing()) s << "\n";
}

template <class S, class M>
void obj2str_impl_m_cl(S& s, const M& m, long width) {
  using T = typename M::value_type;
  if constexpr (std::is_same_v<T, char>) {
    (void)width;
    char_matrix(s, m);
  } else {
    using R = real_t<T>;
    constexpr bool floating = std::is_floating_point_v<R> && !std::is_same_v<T, bool>;
    if (s.stopped()) return;
    const format_info info = get_format_info(m, width);
    if (info.fmt == nullptr) {
      loose_newline(s);
      s << tr("    (该类型变量暂不支持的以该格式输出)\n");
      return;
    }
    const std::vector<long>& dims = m.dim_vec();
    if (m.is_empty()) {
      // Double and single only, and reached only by direct calls:
      // obj2str_impl_m shows empty double and single arrays through the
      // (empty) int32 path, which prints nothing.
      if (std::is_floating_point_v<T> && dims.size() == 2 && dims[0] == 0 && dims[1] == 0) {
        s << "    []\n";
        loose_newline(s);
      }
      return;
    }
    const std::uint32_t format = global::fmt_fl.format;
    R scale = 1;
    if constexpr (floating) {
      if (!m.is_scalar() && global::is_fixed_format(format)) scale = get_scale(m);
    }
    const compiled_format f(info.fmt);
    static_assert(compiled_format::max_text <= chunked_writer<S>::max_piece, "an element text is one piece");
    chunked_writer<S> out(s);
    const long rows = dims[0], cols = dims[1], slices = slice_count(dims);
    const long rs = m.stride(0), cs = m.stride(1);
    std::vector<long> index(dims.size() - 2, 0);
    for (long p = 0; p < slices; ++p, next_slice(index, dims)) {
      if (s.stopped()) return;
      const T* base = m.data() + slice_offset(index, m.stride_vec());
      if (slices != 1) write_slice_header(s, index);
      // Signs for floating and complex types; integer types (and whole
      // valued doubles, shown as int32) stay decimal.
      if (floating && format == global::format_sign) {
        for (long i = 0; i < rows; ++i) {
          for (long j = 0; j < cols; ++j) s << sign_char(base[i * rs + j * cs]);
          s << "\n";
          if (s.stopped()) return;
        }
        loose_newline(s);
        continue;
      }
      if (scale != R(1)) {
        s << str_format("  %.1e *", static_cast<double>(scale)) << "\n";
        loose_newline(s);
      }
      for (long k = 0; k < info.pages; ++k) {
        const long c0 = k * info.cols_per_page;
        const long c1 = std::min(c0 + info.cols_per_page, cols);
        if (info.pages != 1) {
          if (s.stopped()) return;
          s << column_page_header(c0 + 1, c1, info.cols_per_page == 1);
          loose_newline(s);
        }
        for (long i = 0; i < rows; ++i) {
          const T* row = base + i * rs;
          for (long j = c0; j < c1; ++j) {
            if (s.stopped()) return;
            out.commit(dense_element_text(out.room(), f, info, row[j * cs], scale));
          }
          out.put('\n');
        }
        out.flush();
        loose_newline(s);
      }
    }
  }
}

template <class S>
void obj2str_impl_m(S& s, const zo_obj& obj, long width) {
  zo_obj as_int;  // void until the value turns out to be whole-valued
  to_int_mat_9_digits(obj, as_int);
  const zo_obj* v = &obj;
  if (as_int.type != type_void) {
    as_int.copy_on_write(false);
    v = &as_int;
  }
  if (v->payload() == nullptr) {  // a moved-from value
    s << tr("  (暂不支持该类型数据的输出)\n");
    return;
  }
  const bool shown = visit_kind(v->type, [&](auto k) {
    using P = typename decltype(k)::payload;
    if constexpr (is_scalar_dense_v<P>) {
      obj2str_impl_m_cl(s, v->get<P>(), width);
      return true;
    } else {
      return false;
    }
  });
  if (!shown) s << tr("  (暂不支持该类型数据的输出)\n");
}

#define ZORVAT_INSTANTIATE_DENSE_SINK(S)                     \
  template void obj2str_impl_m(S&, const zo_obj&, long);    \
  template void loose_newline(S&);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_INSTANTIATE_DENSE_SINK)
#undef ZORVAT_INSTANTIATE_DENSE_SINK

#define ZORVAT_INSTANTIATE_DENSE_CL(S, T) template void obj2str_impl_m_cl(S&, const matrix<T>&, long);
#define ZORVAT_INSTANTIATE_DENSE_CL_TYPE(T) ZORVAT_FOR_EACH_DISPLAY_SINK_WITH(ZORVAT_INSTANTIATE_DENSE_CL, T)
ZORVAT_FOR_EACH_ARITH_TYPE(ZORVAT_INSTANTIATE_DENSE_CL_TYPE)
#undef ZORVAT_INSTANTIATE_DENSE_CL_TYPE
#undef ZORVAT_INSTANTIATE_DENSE_CL

}  // namespace internal
}  // namespace zorvat
