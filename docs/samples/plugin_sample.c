/* The plugin writers' tutorial, in C: the plugin `scaler`, loaded with one
 * number k, exports scaler::times(x), which returns k times a double array
 * x, and scaler::k(), which returns k. */
//! [c_includes]
#include <stdlib.h>

#include <plugin/zex.h>
//! [c_includes]

//! [c_state]
static double factor = 1; /* the load argument k */
//! [c_state]

//! [c_functions]
static void times(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  if (nrhs != 1 || zxGetKind(prhs[0]) != zxKindDouble) {
    zxError("scaler::times: expected one double array, got %s",
            nrhs > 0 ? zxGetClassName(prhs[0]) : "nothing");
    return; /* the environment raises the recorded message */
  }
  __zxArray* r = zxCreateNumericArray(zxGetNumberOfDimensions(prhs[0]),
                                      zxGetDimensions(prhs[0]), zxKindDouble);
  if (!r) return; /* too large: the error is recorded already */
  const double* x = zxGetDoubles(prhs[0]);
  double* y = (double*)zxGetWritableData(r);
  for (long i = 0, n = zxGetNumberOfElements(r); i < n; ++i) y[i] = factor * x[i];
  plhs[0] = r; /* the core adopts it */
}

static void k(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs, (void)nrhs, (void)prhs;
  plhs[0] = zxCreateDoubleScalar(factor);
}

static const zxFunctionEntry functions[] = {
    {"scaler::times", times, "y = scaler::times(x)  k times the double array x"},
    {"scaler::k", k, "k = scaler::k()  the factor given on load"},
    {NULL, NULL, NULL},
};

const zxFunctionEntry* zxPluginFunctions(void) { return functions; }
//! [c_functions]

//! [c_init]
/* The load arguments after the first: here exactly one, a number or its
 * text (the reference host passes the words after the plugin's name). */
int zxPluginInit(int nargs, const __zxArray** args) {
  if (nargs != 2) {
    zxPrintf("scaler: give the factor on load\n");
    return 1; /* the load fails, the plugin is unloaded */
  }
  char text[64];
  if (zxIsChar(args[0]) && zxGetString(args[0], text, sizeof text) >= 0) {
    char* end;
    factor = strtod(text, &end);
    if (end == text || *end) return 1;
  } else {
    factor = zxGetScalar(args[0]);
  }
  return 0;
}

int zxPluginFini(void) {
  zxPrintf("scaler: unloaded (k was %g)\n", factor);
  return 0;
}
//! [c_init]
