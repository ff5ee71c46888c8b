// A plugin that exports TP_BAD_NAME, a name in a namespace that is refused,
// after a name that would be fine.
#include "plugin/zx_plugin.h"

namespace {
void nothing(int, __zxArray**, int, const __zxArray**) {}
const zxFunctionEntry table[] = {
    {"badns::ok", nothing, nullptr},
    {TP_BAD_NAME, nothing, nullptr},
    {nullptr, nullptr, nullptr},
};
}  // namespace

extern "C" const zxFunctionEntry* zxPluginFunctions(void) { return table; }
