// The text utilities on arbitrary bytes, checked against simple models:
// split_v/split_s agree with each other and rejoin to the input, trim leaves
// no trimmed character at either end, and escaping never shrinks the text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "display/display_text.h"
#include "memory/str_util.h"

#define FUZZ_CHECK(c) ((c) ? (void)0 : std::abort())

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  const char sep = static_cast<char>(data[0]);
  const std::string chars(1, static_cast<char>(data[1]));
  const std::string s(reinterpret_cast<const char*>(data) + 2, size - 2);

  auto fields = zorvat::split_v(s, sep);
  std::string joined;
  for (size_t i = 0; i < fields.size(); ++i) joined += (i ? std::string(1, sep) : "") + fields[i];
  // A single trailing separator adds no field, so it is the one thing lost.
  FUZZ_CHECK(joined == s || joined + sep == s);
  auto distinct = zorvat::split_s(s, sep);
  for (const auto& f : fields) FUZZ_CHECK(distinct.count(f) == 1);
  FUZZ_CHECK(distinct.size() <= fields.size());

  auto t = zorvat::internal::trim(s, chars);
  FUZZ_CHECK(t.size() <= s.size());
  FUZZ_CHECK(t.empty() || (t.front() != chars[0] && t.back() != chars[0]));
  FUZZ_CHECK(s.find(t) != std::string::npos);

  FUZZ_CHECK(zorvat::internal::escape_str(s).size() >= s.size());
  return 0;
}
