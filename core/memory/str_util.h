// str_util.h: small text helpers used throughout the library.
//
//   std::string s = zorvat::str_format("%ldx%ld", 3L, 4L);      // "3x4"
//   auto fields  = zorvat::split_v("a,,b", ',');                 // {"a", "", "b"}
//   auto names   = zorvat::split_s("b,a,b", ',');                // {"a", "b"}
//   auto bare    = zorvat::internal::trim("  x  ", " ");         // "x"
#pragma once

#include <cstdio>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace zorvat {

// printf-style formatting into a std::string with the conventions of the
// system's snprintf (%ld for long, %s for const char*, ...).  It measures
// first and then formats into a buffer of exactly that size, so results of any
// length come back whole.  A format that snprintf rejects gives an
// unspecified result.
template <class... Args>
std::string str_format(const char* fmt, Args... args) {
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#pragma GCC diagnostic ignored "-Wformat-security"
  int n = std::snprintf(nullptr, 0, fmt, args...);
  if (n <= 0) return std::string();
  std::unique_ptr<char[]> buf(new char[static_cast<size_t>(n) + 1]);
  std::snprintf(buf.get(), static_cast<size_t>(n) + 1, fmt, args...);
#pragma GCC diagnostic pop
  return std::string(buf.get(), static_cast<size_t>(n));
}

// The fields of `s` between occurrences of `sep`, in order.  Empty fields
// between separators and a leading empty field are kept; a single trailing
// separator adds no empty field; the empty string gives no field at all.
std::vector<std::string> split_v(const std::string& s, char sep);

// The distinct fields of `s` (as split_v finds them), in byte-wise order.
std::set<std::string> split_s(const std::string& s, char sep);

namespace internal {

// `s` without the leading and trailing characters that occur in `chars`.
// All-trimmed and empty inputs give the empty string; an empty `chars`
// returns `s` whole.
std::string trim(const std::string& s, const std::string& chars);

}  // namespace internal
}  // namespace zorvat
