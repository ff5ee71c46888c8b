// A plugin that exports a name of tp_good ("tp::count") besides its own.
#include "plugin/zx_plugin.h"

namespace {
void nothing(int, __zxArray**, int, const __zxArray**) {}
const zxFunctionEntry table[] = {
    {"clash::own", nothing, nullptr},
    {"tp::count", nothing, nullptr},
    {nullptr, nullptr, nullptr},
};
}  // namespace

extern "C" const zxFunctionEntry* zxPluginFunctions(void) { return table; }
