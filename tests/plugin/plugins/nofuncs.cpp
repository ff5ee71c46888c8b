// A plugin without a function table.
#include "plugin/zx_plugin.h"

extern "C" int zxPluginInit(int, const __zxArray**) { return 0; }
