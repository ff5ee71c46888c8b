// Cell arrays (kind 25): one bracketed summary text per element, laid out in
// the column layout of string arrays.  A nested cell or structure shows only
// its size and type, so a cell that contains itself prints in finite time.
#include <cstring>
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
// content each.  A quoted text held in one piece is looked at once: its item
// points at the characters kept.  Other summaries (a row vector's, which
// must be formatted to be measured, the size and type text, a char row
// stored with gaps) are made again when written; the last one made is kept.
class cell_summaries {
 public:
  struct item {
    const cell_array::element* element;  // null: an empty slot
    const char* text;                     // the kept characters, or null: made again
    long kept;
    long length;
    char quote;
    bool cut;
  };

  explicit cell_summaries(long max_len) : max_len_(max_len) {}

  item look(const cell_array::element& e) {
    item it{&e, nullptr, 0, 0, 0, false};
    if (e == nullptr) {
      it.element = nullptr;
      return it;
    }
    const zo_obj& v = *e;
    if (quoted(v)) {
      long n = -1;
      if (v.type == type_string) {
        const std::string& t = *v.get<matrix<std::string>>().data();
        it.text = t.data();
        n = static_cast<long>(t.size());
      } else {
        const auto& m = v.get<matrix<char>>();
        if (m.is_contiguous()) {
          it.text = m.data();
          n = m.size();
        }
      }
      if (it.text != nullptr) {
        it.quote = v.type == type_string ? '"' : '\'';
        it.cut = max_len_ >= 1 && n > max_len_;
        it.kept = it.cut ? max_len_ : n;
        it.length = it.kept + 2 + (it.cut ? 3 : 0);
        return it;
      }
    }
    it.length = static_cast<long>(other_text(e).size());
    return it;
  }

  void put(char* dst, const item& it) {
    if (it.element == nullptr) return;
    if (it.text == nullptr) {
      const std::string& t = other_text(*it.element);
      std::memcpy(dst, t.data(), t.size());
      return;
    }
    *dst++ = it.quote;
    std::memcpy(dst, it.text, static_cast<size_t>(it.kept));
    dst += it.kept;
    if (it.cut) {
      std::memcpy(dst, "...", 3);
      dst += 3;
    }
    *dst = it.quote;
  }

 private:
  // A scalar string or a char array that is empty or has one row.
  static bool quoted(const zo_obj& v) {
    if ((v.type != type_string && v.type != type_char) || v.payload() == nullptr) return false;
    if (v.type == type_string) return v.get<matrix<std::string>>().size() == 1;
    const auto& m = v.get<matrix<char>>();
    return m.is_empty() || (m.ndims() == 2 && m.rows() == 1);
  }

  // The quoted text of a char row stored with gaps, the row vector text, or
  // the size and type text.  The last one made is kept.
  const std::string& other_text(const cell_array::element& e) {
    if (e.get() == cached_) return cache_;
    cached_ = e.get();
    cache_.clear();
    if (quoted(*e)) {
      append_string_quote_truncate(cache_, *e, max_len_);
      return cache_;
    }
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
