// Cell arrays (kind 25): one bracketed summary text per element, laid out in
// the column layout of string arrays.  A nested cell or structure shows only
// its size and type, so a cell that contains itself prints in finite time.
#include <memory>

#include "display/display.h"
#include "display/display_kinds.h"
#include "display/display_string.h"
#include "display/display_text.h"
#include "memory/str_util.h"
#include "value/cell_array.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

namespace {

// The summary of one element, at most about max_len characters of content.
std::string cell_element_text(const std::shared_ptr<zo_obj>& e, long max_len) {
  if (e == nullptr) return std::string();
  const zo_obj& v = *e;
  if (v.payload() != nullptr) {
    const matrix_base* shape = v.array_base();
    if (v.type == type_string && shape->is_scalar())
      return escape_str(string_quote_truncate(v, max_len));
    if (v.type == type_char && (shape->is_empty() || (shape->ndims() == 2 && shape->rows() == 1)))
      // Escaped so that a control character cannot break the row.
      return escape_str(string_quote_truncate(v, max_len));
    if (v.is_row_vector()) {
      std::string text = row_vector_to_string(v, max_len, true);
      if (!text.empty()) return text;
    }
  }
  return str_format("%s %s", cell_array::size_str_cell(e).c_str(), cell_array::type_str_cell(e));
}

}  // namespace

template <class S>
void obj2str_impl_cell(S& s, const zo_obj& obj, long width) {
  if (obj.payload() == nullptr) return;
  const cell_array& c = obj.get<cell_array>();
  if (c.is_empty()) return;
  const long max_len = (2 * width) / 5;
  matrix<std::string> texts(c.dim_vec());
  std::string* out = texts.data();
  for (const cell_array::element& e : c.data()) *out++ = cell_element_text(e, max_len);
  obj2str_impl_from_string_mat(s, texts, width, '{', '}', 0);
}

#define ZORVAT_INSTANTIATE_CELL_SINK(S) template void obj2str_impl_cell(S&, const zo_obj&, long);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_INSTANTIATE_CELL_SINK)
#undef ZORVAT_INSTANTIATE_CELL_SINK

}  // namespace internal
}  // namespace zorvat
