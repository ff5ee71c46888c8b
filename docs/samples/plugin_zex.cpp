// A C++ plugin that also uses the C interface plugin/zex.h, with `using
// namespace zorvat;`: zo_malloc and zo_free, declared for C by
// plugin/zx_plugin.h and in namespace zorvat by zorvat.h, are the same two
// functions, so the unqualified calls below are not ambiguous (the build
// compiles this file as the plugin `stars`).
//! [zex_cxx]
#include <zorvat.h>
#include <plugin/zex.h>
#include <plugin/zx_plugin.h>

using namespace zorvat;

namespace {

// stars::line(n): a char array of n '*', written into a zo_malloc block.
void line(int, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  const double n = nrhs == 1 ? zxGetScalar(prhs[0]) : -1;
  if (!(n >= 0 && n <= 1e6)) {
    zxError("expected one count from 0 to 1e6");
    return;
  }
  auto* text = static_cast<char*>(zo_malloc(static_cast<unsigned long>(n) + 1, 16));
  if (!text) {
    zxError("out of memory");
    return;
  }
  for (long k = 0; k < static_cast<long>(n); ++k) text[k] = '*';
  text[static_cast<long>(n)] = '\0';
  plhs[0] = zxCreateCharArray(text);
  zo_free(text);
}

const zxFunctionEntry table[] = {{"stars::line", line, "stars::line(n)  n stars"}, {nullptr, nullptr, nullptr}};

}  // namespace

extern "C" const zxFunctionEntry* zxPluginFunctions(void) { return table; }
//! [zex_cxx]
