// A plugin that exports TP_FIRST_NAME and then TP_SECOND_NAME (a name that is
// refused, or one that another plugin already exports).
#include "plugin/zx_plugin.h"

namespace {
void nothing(int, __zxArray**, int, const __zxArray**) {}
const zxFunctionEntry table[] = {
    {TP_FIRST_NAME, nothing, nullptr},
    {TP_SECOND_NAME, nothing, nullptr},
    {nullptr, nullptr, nullptr},
};
}  // namespace

extern "C" const zxFunctionEntry* zxPluginFunctions(void) { return table; }
