/* A plugin written in C: scale(x, k) is k times the real double array x. */
#include <plugin/zex.h>

static void scale(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  if (nrhs != 2 || !zxIsDouble(prhs[0]) || zxIsComplex(prhs[0])) {
    zxError("expected a real double array and a factor, got %d argument(s)", nrhs);
    return;  /* the host raises the error once this function returns; the
                text names no function: the caller adds the name */
  }
  double k = zxGetScalar(prhs[1]);
  long n = zxGetNumberOfElements(prhs[0]);
  __zxArray* y = zxCreateNumericArray(zxGetNumberOfDimensions(prhs[0]), zxGetDimensions(prhs[0]), zxKindDouble);
  if (!y) return; /* out of memory: the error is recorded */
  const double* x = zxGetDoubles(prhs[0]);
  double* out = (double*)zxGetWritableData(y);
  for (long i = 0; i < n; ++i) out[i] = k * x[i];
  zxPrintf("scale: %ld element(s) times %g\n", n, k);
  plhs[0] = y; /* the host adopts the result */
}

static const zxFunctionEntry table[] = {
    {"scale", scale, "scale(x, k)  k times the real double array x"},
    {0, 0, 0},
};

const zxFunctionEntry* zxPluginFunctions(void) { return table; }
