// String arrays (kind 17) and the column layout they share with cell arrays.
#include "display/display_string.h"

#include "display/display_kinds.h"
#include "display/display_text.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

namespace {

// Texts shown as they are.
struct plain_texts {
  long length(const std::string& t) const { return static_cast<long>(t.size()); }
  void append(std::string& line, const std::string& t) const { line += t; }
};

// The elements of a string array in their visible form (escape_str).
struct escaped_texts {
  long length(const std::string& t) const { return escaped_length(t.data(), static_cast<long>(t.size())); }
  void append(std::string& line, const std::string& t) const {
    append_escaped(line, t.data(), static_cast<long>(t.size()));
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
