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

// The summary texts of cell elements, at most about max_len characters of
// content each.  Quoted texts are measured and copied without building the
// summary; the summary of a row vector, which must be formatted to be
// measured, is kept from length() for the append() that follows it.
class cell_summaries {
 public:
  explicit cell_summaries(long max_len) : max_len_(max_len) {}

  long length(const cell_array::element& e) {
    if (e == nullptr) return 0;
    if (quoted(*e)) return string_quote_truncate_length(*e, max_len_);
    return static_cast<long>(other_text(e).size());
  }

  void append(std::string& line, const cell_array::element& e) {
    if (e == nullptr) return;
    if (quoted(*e))
      append_string_quote_truncate(line, *e, max_len_);
    else
      line += other_text(e);
  }

 private:
  // A scalar string or a char array that is empty or has one row.
  static bool quoted(const zo_obj& v) {
    if ((v.type != type_string && v.type != type_char) || v.payload() == nullptr) return false;
    if (v.type == type_string) return v.get<matrix<std::string>>().size() == 1;
    const auto& m = v.get<matrix<char>>();
    return m.is_empty() || (m.ndims() == 2 && m.rows() == 1);
  }

  // The row vector text, or the size and type text.  The last one computed
  // is kept, for an append() right after its length().
  const std::string& other_text(const cell_array::element& e) {
    if (e.get() == cached_) return cache_;
    cached_ = e.get();
    cache_.clear();
    if (e->payload() != nullptr && e->is_row_vector()) cache_ = row_vector_to_string(*e, max_len_, true);
    if (cache_.empty())
      cache_ = str_format("%s %s", cell_array::size_str_cell(e).c_str(), cell_array::type_str_cell(e));
    return cache_;
  }

  long max_len_;
  const zo_obj* cached_ = nullptr;
  std::string cache_;
};

}  // namespace

template <class S>
void obj2str_impl_cell(S& s, const zo_obj& obj, long width) {
  if (obj.payload() == nullptr) return;
  const cell_array& c = obj.get<cell_array>();
  if (c.is_empty()) return;
  // (2 x width) / 5 without overflow for any width.
  const long max_len = width / 5 * 2 + (width % 5) * 2 / 5;
  cell_summaries src(max_len);
  layout_text_columns(s, c.data(), width, '{', '}', src);
}

#define ZORVAT_INSTANTIATE_CELL_SINK(S) template void obj2str_impl_cell(S&, const zo_obj&, long);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_INSTANTIATE_CELL_SINK)
#undef ZORVAT_INSTANTIATE_CELL_SINK

}  // namespace internal
}  // namespace zorvat
