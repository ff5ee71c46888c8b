#include "display/display_text.h"

#include <algorithm>

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

char* write_escaped(char* dst, const char* p, long n) {
  static const char letters[] = "abtnvfr";  // codes 7..13
  for (long k = 0; k < n; ++k) {
    const unsigned char c = static_cast<unsigned char>(p[k]);
    if (c == 0) {
      *dst++ = ' ';
    } else if (c >= 7 && c <= 13) {
      *dst++ = '\\';
      *dst++ = letters[c - 7];
    } else {
      *dst++ = static_cast<char>(c);
    }
  }
  return dst;
}

long escaped_length(const char* p, long n) {
  long len = n;
  for (long k = 0; k < n; ++k) len += static_cast<unsigned char>(p[k]) - 7u <= 6u;
  return len;
}

std::string escape_str(const std::string& s) {
  std::string out;
  out.reserve(s.size());
  append_escaped(out, s.data(), static_cast<long>(s.size()));
  return out;
}

namespace {

// The number of characters of a string value's first element or of a char
// value; 0 for anything else.
long text_count(const zo_obj& obj) {
  if (obj.payload() == nullptr) return 0;
  if (obj.type == type_string) {
    const auto& m = obj.get<matrix<std::string>>();
    return m.is_empty() ? 0 : static_cast<long>(m.data()->size());
  }
  if (obj.type == type_char) return obj.get<matrix<char>>().size();
  return 0;
}

}  // namespace

long string_quote_truncate_length(const zo_obj& obj, long max_len) {
  const long n = text_count(obj);
  if (max_len >= 1 && n > max_len) return max_len + 5;
  return n + 2;
}

void append_string_quote_truncate(std::string& out, const zo_obj& obj, long max_len) {
  const char quote = obj.type == type_string ? '"' : '\'';
  const long n = text_count(obj);
  const bool cut = max_len >= 1 && n > max_len;
  const long keep = cut ? max_len : n;
  out += quote;
  if (keep > 0) {
    if (obj.type == type_string) {
      out.append(obj.get<matrix<std::string>>().data()->data(), static_cast<size_t>(keep));
    } else {
      const auto& m = obj.get<matrix<char>>();
      if (m.is_contiguous()) {
        out.append(m.data(), static_cast<size_t>(keep));
      } else {
        long k = 0;
        for (auto it = m.begin(); k < keep; ++it, ++k) out += *it;
      }
    }
  }
  if (cut) out += "...";
  out += quote;
}

std::string string_quote_truncate(const zo_obj& obj, long max_len) {
  std::string out;
  append_string_quote_truncate(out, obj, max_len);
  return out;
}

}  // namespace internal
}  // namespace zorvat
