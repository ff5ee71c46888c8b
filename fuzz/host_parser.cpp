// zorvat-host's command language on arbitrary bytes: lexer, parser,
// evaluator, arithmetic, indexing and commands, up to 16 lines run in one
// session (long lines, NUL bytes, deep nesting).  Checks:
// - run_line never throws: every error is one reported line (false);
// - a single statement that fails leaves the workspace as it was (a line
//   that closes a block of earlier lines runs several, so it is not checked);
// - "x = " with n nested brackets (or minus signs) around 1, n taken from
//   the first bytes, works for shallow n with the right value and is refused
//   for deep n, without exhausting the stack.
// Values are bounded to 2^16 elements and loops to 2^8 iterations a line,
// so that no line allocates much or runs long.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <string>

#include "session.h"
#include "values.h"

#define FUZZ_CHECK(c) ((c) ? (void)0 : std::abort())

namespace {

using zorvat_host::session;

std::map<std::string, const zorvat::zo_obj*> snapshot(session& s) {
  std::map<std::string, const zorvat::zo_obj*> m;
  for (const auto& v : s.workspace()) m[v.first] = v.second.get();
  return m;
}

bool run(session& s, const std::string& line) {
  try {
    return s.run_line(line, "fuzz", 1);
  } catch (...) {
    std::abort();  // run_line reports every error itself
  }
}

// "x = " + n times open + "1" + n times close, for one bracket kind or '-'.
void check_nesting(unsigned kind, long n) {
  static const char* const open[] = {"(", "[", "{", "-"};
  static const char* const close[] = {")", "]", "}", ""};
  std::string line = "x = ";
  for (long k = 0; k < n; ++k) line += open[kind];
  line += "1";
  for (long k = 0; k < n; ++k) line += close[kind];
  session s(zorvat_host::options{});
  const bool ok = run(s, line);
  if (n > zorvat_host::max_nesting + 1) FUZZ_CHECK(!ok);
  if (n + 2 > zorvat_host::max_nesting) return;
  FUZZ_CHECK(ok);
  const zorvat::zo_obj& x = *s.workspace().at("x");
  if (kind == 2) FUZZ_CHECK(x.type == (n > 0 ? zorvat::type_cell : zorvat::type_double));
  else FUZZ_CHECK(x.as_double() == (kind == 3 && n % 2 ? -1.0 : 1.0));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zorvat_host::element_limit() = 1L << 16;
  zorvat_host::iteration_limit() = 1L << 8;
  unsetenv("ZORVAT_PLUGIN_PATH");
  if (size >= 3) check_nesting(data[0] % 4, (data[1] | data[2] << 8) % 400);

  session s(zorvat_host::options{});
  const std::string text(reinterpret_cast<const char*>(data), size);
  size_t start = 0;
  for (int line_no = 0; line_no < 16 && start <= text.size(); ++line_no) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    const std::string line = text.substr(start, end - start);
    start = end + 1;
    const bool one_statement = line.find_first_of(",;") == std::string::npos && !s.block_open();
    const auto before = snapshot(s);
    if (!run(s, line) && one_statement) FUZZ_CHECK(snapshot(s) == before);
  }
  return 0;
}
