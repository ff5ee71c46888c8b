/* The plugin writers' tutorial, in C: the plugin `scaler`, loaded with one
 * number k, exports scaler::times(x), which returns k times a double array
 * x, scaler::k(), which returns k, and scaler::pair(x), the cell {k, k x}. */
//! [c_includes]
#include <stdlib.h>

#include <plugin/zex.h>
//! [c_includes]

//! [c_state]
static double factor = 1; /* the load argument k */
//! [c_state]

//! [c_functions]
/* k times the double array x; null after recording an error.  A message
 * does not name the function: whoever reports the error does (the reference
 * host writes "scaler::times: expected ..."). */
static __zxArray* scaled(int nrhs, const __zxArray** prhs) {
  if (nrhs != 1 || zxGetKind(prhs[0]) != zxKindDouble) {
    zxError("expected one double array, got %s", nrhs > 0 ? zxGetClassName(prhs[0]) : "nothing");
    return NULL;
  }
  __zxArray* r = zxCreateNumericArray(zxGetNumberOfDimensions(prhs[0]),
                                      zxGetDimensions(prhs[0]), zxKindDouble);
  if (!r) return NULL; /* too large: the error is recorded already */
  const double* x = zxGetDoubles(prhs[0]);
  double* y = (double*)zxGetWritableData(r);
  for (long i = 0, n = zxGetNumberOfElements(r); i < n; ++i) y[i] = factor * x[i];
  return r;
}

static void times(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  plhs[0] = scaled(nrhs, prhs); /* the core adopts it; after an error the
                                   environment raises the recorded message */
}

static void k(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs, (void)nrhs, (void)prhs;
  plhs[0] = zxCreateDoubleScalar(factor);
}

/* A cell result: {k, k * x}.  The cell adopts each element. */
static void pair(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  __zxArray* product = scaled(nrhs, prhs);
  __zxArray* c = product ? zxCreateCellMatrix(1, 2) : NULL;
  if (!c) {
    zxDestroyArray(product); /* null is ignored */
    return;
  }
  zxSetCell(c, 0, zxCreateDoubleScalar(factor));
  zxSetCell(c, 1, product);
  plhs[0] = c;
}

static const zxFunctionEntry functions[] = {
    {"scaler::times", times, "y = scaler::times(x)  k times the double array x"},
    {"scaler::k", k, "k = scaler::k()  the factor given on load"},
    {"scaler::pair", pair, "c = scaler::pair(x)  the cell {k, k * x}"},
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
