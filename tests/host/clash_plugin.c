/* clash_plugin.c: the plugin `clash` of the host's golden tests.  Its
 * function `zeros` has the name of a built-in function of the host (a
 * warning on load; called as clash::zeros), and `clash::fail` reports an
 * error whose text does not name the function (the host names it). */
#include <plugin/zex.h>

static void zeros(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs, (void)nrhs, (void)prhs;
  plhs[0] = zxCreateString("the plugin's zeros");
}

static void fail(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs, (void)plhs, (void)prhs;
  zxError("expected no argument, got %d", nrhs);
}

static const zxFunctionEntry functions[] = {
    {"zeros", zeros, "the plugin's zeros"},
    {"clash::fail", fail, "always fails"},
    {0, 0, 0},
};

const zxFunctionEntry* zxPluginFunctions(void) { return functions; }
