#include <iostream>
#include <ostream>

#include "display/display.h"
#include "display/display_dense.h"
#include "display/display_kinds.h"
#include "display/display_text.h"
#include "matrix/matrix.h"
#include "memory/str_util.h"
#include "value/kind_table.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

template <class S>
void obj2str_stream(S& s, const zo_obj& obj, long width) {
  if (width == -1) width = 80;
  const bool loose = loose_spacing();
  if (!s.stopped()) s << str_format(loose ? "\n  %s\n\n" : "  %s\n", obj.brief_type_str().c_str());
  // The renderer of each kind follows from its payload type in the kind table.
  visit_kind(obj.type, [&](auto k) {
    using P = typename decltype(k)::payload;
    if constexpr (std::is_same_v<P, matrix<std::string>>) {
      obj2str_impl_string(s, obj, width);
    } else if constexpr (is_scalar_dense_v<P>) {
      obj2str_impl_m(s, obj, width);
    } else if constexpr (std::is_same_v<P, cell_array>) {
      obj2str_impl_cell(s, obj, width);
    } else if constexpr (is_sparse_v<P>) {
      obj2str_impl_sparse(s, obj);
    } else {
      // Function handles, structures, external objects and every kind
      // without a renderer; their text ends without a line feed.
      obj2str_impl_s(s, obj);
      if (loose) s << "\n";
    }
  });
}

std::string obj2str(const zo_obj& obj, long width) {
  FixedLengthStream s(obj2str_limit);
  obj2str_stream(s, obj, width);
  return s.release();
}

void obj2console(std::ostream& os, const zo_obj& obj, long width, long threshold) {
  BufferedStream<0> s(&os, threshold);
  obj2str_stream(s, obj, width);
  s.flush();
}

template <int N>
void obj2console_safe(const zo_obj& obj, long width, long threshold) {
  // N = 1 and 2 never read `out`; it holds std::cout as the interface says.
  BufferedStream<N> s(&std::cout, threshold);
  obj2str_stream(s, obj, width);
  s.flush();
}

std::string obj2str_one_line(const zo_obj& obj) {
  if (obj.payload() != nullptr) {
    if (obj.type == type_string && obj.get<matrix<std::string>>().is_scalar())
      return string_quote_truncate(obj, -1);
    if (obj.type == type_char) {
      const auto& m = obj.get<matrix<char>>();
      if (m.is_empty() || (m.ndims() == 2 && m.rows() == 1)) return string_quote_truncate(obj, -1);
    }
    if (obj.is_row_vector()) {
      std::string text = row_vector_to_string(obj, 100, false);
      if (!text.empty()) return text;
    }
  }
  return str_format("[%s]", obj.brief_type_str().c_str());
}

template void obj2console_safe<1>(const zo_obj&, long, long);
template void obj2console_safe<2>(const zo_obj&, long, long);
#define ZORVAT_INSTANTIATE_OBJ2STR_STREAM(S) template void obj2str_stream(S&, const zo_obj&, long);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_INSTANTIATE_OBJ2STR_STREAM)
#undef ZORVAT_INSTANTIATE_OBJ2STR_STREAM

}  // namespace internal
}  // namespace zorvat
