// Cell arrays (kind 25): one bracketed summary text per element, laid out in
// the column layout of string arrays.  A nested cell or structure shows only
// its size and type, so a cell that contains itself prints in finite time.
#include <algorithm>
#include <cstring>
#include <memory>

#include "display/display.h"
#include "display/display_kinds.h"
#include "display/display_string.h"
#include "display/display_text.h"
#include "memory/str_util.h"
#include "memory/zo_assert.h"
#include "value/cell_array.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

namespace {

// Copies n <= 16 bytes in at most two fixed-size moves each way (the texts
// are a few characters long: a library call would cost more than the copy).
inline void copy_short(char* dst, const char* src, long n) {
  ZORVAT_ASSERT(n >= 0 && n <= 16);
  if (n >= 8) {
    std::memcpy(dst, src, 8);
    std::memcpy(dst + n - 8, src + n - 8, 8);
  } else if (n >= 4) {
    std::memcpy(dst, src, 4);
    std::memcpy(dst + n - 4, src + n - 4, 4);
  } else if (n > 0) {
    dst[0] = src[0];
    dst[n / 2] = src[n / 2];
    dst[n - 1] = src[n - 1];
  }
}

// The summary texts of cell elements, at most about max_len characters of
// content each.  A quoted text held in one piece is looked at once: a short
// one is copied into its item, a longer one is pointed at, so that writing
// the rows does not go back to the element.  Other summaries (a row
// vector's, which must be formatted to be measured, the size and type text,
// a char row stored with gaps) are made again when written; the last one
// made is kept.
class cell_summaries {
 public:
  static constexpr long inline_max = 16;
  enum class held : char { nothing, copied, pointed, made };
  // 40 bytes: the items of the columns being paged are kept in a vector
  // whose traffic counts on a large cell.
  struct item {
    long kept;    // characters of the text kept
    long length;  // the whole summary
    union {
      const cell_array::element* element;  // `made`
      const char* text;                     // `pointed`
      char copy[inline_max];                // `copied`
    };
    held how;
    char quote;
    bool cut;
  };

  explicit cell_summaries(long max_len) : max_len_(max_len) {}

  // The elements of a column.  Each is a separate value reached through
  // dependent pointers (slot, value, array, string), a cache miss each on a
  // large cell: the strings of a block of elements are first found in a
  // tight loop, which keeps the misses of many elements in flight at once,
  // and the items are then made from what that loop brought into the cache.
  void look_column(const cell_array::element* e, long step, long count, item* out) const {
    constexpr long block = 256;
    const std::string* found[block];
    for (long b = 0; b < count; b += block) {
      const long nb = std::min(block, count - b);
      for (long k = 0; k < nb; ++k) {
        const std::string* t = nullptr;
        const zo_obj* v = e[(b + k) * step].get();
        if (v != nullptr && v->type == type_string && v->payload() != nullptr) {
          const auto& m = *static_cast<const matrix<std::string>*>(v->payload());
          if (m.size() == 1) {
            t = m.data();
            __builtin_prefetch(t);
          }
        }
        found[k] = t;
      }
      for (long k = 0; k < nb; ++k) {
        // Made in place: an item assembled elsewhere from narrow stores and
        // copied in wide loads would stall on every element.
        const cell_array::element& x = e[(b + k) * step];
        if (const std::string* t = found[k])
          fill_quoted(out[b + k], t->data(), static_cast<long>(t->size()), '"');
        else
          fill(out[b + k], x);
      }
    }
  }

  item look(const cell_array::element& e) const {
    item it;
    fill(it, e);
    return it;
  }

  void fill(item& it, const cell_array::element& e) const {
    it.kept = 0;
    it.length = 0;
    it.element = &e;
    it.how = held::made;
    it.quote = 0;
    it.cut = false;
    const zo_obj* v = e.get();
    if (v == nullptr) {
      it.how = held::nothing;
      return;
    }
    if (quoted(*v)) {
      if (v->type == type_string) {
        const std::string& t = *v->get<matrix<std::string>>().data();
        fill_quoted(it, t.data(), static_cast<long>(t.size()), '"');
        return;
      }
      const auto& m = v->get<matrix<char>>();
      if (m.is_contiguous()) {
        fill_quoted(it, m.data(), m.size(), '\'');
        return;
      }
    }
    it.length = static_cast<long>(other_text(e).size());
  }

  // The item of the quoted text of the n characters at text.
  void fill_quoted(item& it, const char* text, long n, char quote) const {
    it.quote = quote;
    it.cut = max_len_ >= 1 && n > max_len_;
    it.kept = it.cut ? max_len_ : n;
    it.length = it.kept + 2 + (it.cut ? 3 : 0);
    if (it.kept <= inline_max) {
      it.how = held::copied;
      copy_short(it.copy, text, it.kept);
    } else {
      it.how = held::pointed;
      it.text = text;
    }
  }

  void put(char* dst, const item& it) {
    switch (it.how) {
      case held::nothing:
        return;
      case held::made: {
        const std::string& t = other_text(*it.element);
        std::memcpy(dst, t.data(), t.size());
        return;
      }
      case held::copied:
        *dst++ = it.quote;
        copy_short(dst, it.copy, it.kept);
        break;
      case held::pointed:
        *dst++ = it.quote;
        std::memcpy(dst, it.text, static_cast<size_t>(it.kept));
        break;
    }
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
  const std::string& other_text(const cell_array::element& e) const {
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
  mutable const zo_obj* cached_ = nullptr;
  mutable std::string cache_;
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
