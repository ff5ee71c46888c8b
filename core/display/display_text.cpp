#include "display/display_text.h"

#include "matrix/matrix.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

void append_escaped(std::string& out, const char* p, long n) {
  static const char letters[] = "abtnvfr";  // codes 7..13
  for (long k = 0; k < n; ++k) {
    const unsigned char c = static_cast<unsigned char>(p[k]);
    if (c == 0) {
      out += ' ';
    } else if (c >= 7 && c <= 13) {
      out += '\\';
      out += letters[c - 7];
    } else {
      out += static_cast<char>(c);
    }
  }
}

std::string escape_str(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  append_escaped(out, s.data(), static_cast<long>(s.size()));
  return out;
}

std::string string_quote_truncate(const zo_obj& obj, long max_len) {
  const char quote = obj.type == type_string ? '"' : '\'';
  std::string text;
  if (obj.payload() != nullptr) {
    if (obj.type == type_string) {
      const auto& m = obj.get<matrix<std::string>>();
      if (!m.is_empty()) text = *m.begin();
    } else if (obj.type == type_char) {
      const auto& m = obj.get<matrix<char>>();
      if (!m.is_empty())
        for (char c : m) text += c;
    }
  }
  if (max_len >= 1 && static_cast<long>(text.size()) > max_len)
    return quote + text.substr(0, static_cast<size_t>(max_len)) + "..." + quote;
  return quote + text + quote;
}

}  // namespace internal
}  // namespace zorvat
