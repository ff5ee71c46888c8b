// String arrays (kind 17) and the column layout they share with cell arrays.
#include "display/display_string.h"

#include <cstring>

#include "display/display_kinds.h"
#include "display/display_text.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

namespace {

// Texts shown as they are.
struct plain_texts {
  struct item {
    const char* text;
    long length;
  };
  void look_column(const std::string* t, long step, long count, item* out) const {
    for (long k = 0; k < count; ++k) out[k] = look(t[k * step]);
  }
  item look(const std::string& t) const { return {t.data(), static_cast<long>(t.size())}; }
  void put(char* dst, const item& it) const { std::memcpy(dst, it.text, static_cast<size_t>(it.length)); }
};

// The elements of a string array in their visible form (escape_str).
struct escaped_texts {
  struct item {
    const char* text;
    long size;    // bytes of the element
    long length;  // characters of its visible form
  };
  void look_column(const std::string* t, long step, long count, item* out) const {
    for (long k = 0; k < count; ++k) out[k] = look(t[k * step]);
  }
  item look(const std::string& t) const {
    const long n = static_cast<long>(t.size());
    return {t.data(), n, escaped_length(t.data(), n)};
  }
  void put(char* dst, const item& it) const {
    if (it.size == it.length)
      std::memcpy(dst, it.text, static_cast<size_t>(it.size));
    else
      write_escaped(dst, it.text, it.size);
  }
};

}  // namespace

template <class S>
void obj2str_impl_from_string_mat(S& s, const matrix<std::string>& texts, long width, char open, char close,
                                  int /*flag*/) {
  plain_texts src;
  layout_text_columns(s, texts, width, open, close, src);
}

template <class S>
void obj2str_impl_string(S& s, const zo_obj& obj, long width) {
  if (obj.payload() == nullptr) return;
  escaped_texts src;
  layout_text_columns(s, obj.get<matrix<std::string>>(), width, '"', '"', src);
}

#define ZORVAT_INSTANTIATE_STRING_SINK(S)                                                              \
  template void obj2str_impl_from_string_mat(S&, const matrix<std::string>&, long, char, char, int); \
  template void obj2str_impl_string(S&, const zo_obj&, long);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_INSTANTIATE_STRING_SINK)
#undef ZORVAT_INSTANTIATE_STRING_SINK

}  // namespace internal
}  // namespace zorvat
