/* colstats: a plugin written in C, through the C interface of libzex.so.
 *
 *   s = colstats(x)          column statistics of a real numeric or logical
 *                            array x (columns: its second and further
 *                            dimensions together), as a structure with the
 *                            fields n, mean, min, max (1 x columns each)
 *   s = colstats_of(f, x)    calls the function named f with x through the
 *                            environment, then colstats of its result
 *   [lo, hi] = colrange(x)   the fields min and max of colstats(x), as two
 *                            outputs (hi only when asked for)
 *   colprint(x)              prints the column count and the means; no output
 */
#include <math.h>
#include <stdlib.h>

#include <plugin/zex.h>

/* Element k of a real dense array as a double. */
static double element(const void* data, zxKind kind, long k) {
  switch (kind) {
    case zxKindInt8: return ((const signed char*)data)[k];
    case zxKindInt16: return ((const short*)data)[k];
    case zxKindInt32: return ((const int*)data)[k];
    case zxKindInt64: return (double)((const long*)data)[k];
    case zxKindUInt8: return ((const unsigned char*)data)[k];
    case zxKindUInt16: return ((const unsigned short*)data)[k];
    case zxKindUInt32: return ((const unsigned int*)data)[k];
    case zxKindUInt64: return (double)((const unsigned long*)data)[k];
    case zxKindDouble: return ((const double*)data)[k];
    case zxKindSingle: return ((const float*)data)[k];
    case zxKindLogical: return ((const zxLogical*)data)[k];
    default: return NAN;
  }
}

/* The statistics structure of x, or null with the error recorded. */
static __zxArray* statistics(const __zxArray* x) {
  static const char* const names[] = {"n", "mean", "min", "max"};
  zxKind kind = zxGetKind(x);
  if ((!zxIsNumeric(x) && kind != zxKindLogical) || zxIsSparse(x)) {
    zxError("expected a dense real numeric array, got %s", zxGetClassName(x));
    return NULL;
  }
  if (zxIsComplex(x)) {
    zxError("complex values have no order");
    return NULL;
  }
  long rows = zxGetM(x), cols = zxGetN(x);
  const void* data = zxGetData(x);
  __zxArray* fields[4];
  double* out[4];
  for (int f = 0; f < 4; ++f) {
    fields[f] = zxCreateDoubleMatrix(1, cols, 0);
    out[f] = fields[f] ? (double*)zxGetWritableData(fields[f]) : NULL;
  }
  __zxArray* s = zxCreateStructMatrix(1, 1, 4, names);
  for (long j = 0; j < cols && out[3]; ++j) {
    double sum = 0, lo = INFINITY, hi = -INFINITY;
    for (long i = 0; i < rows; ++i) {
      double v = element(data, kind, i + j * rows);
      sum += v;
      lo = v < lo ? v : lo;
      hi = v > hi ? v : hi;
    }
    out[0][j] = (double)rows;
    out[1][j] = rows ? sum / (double)rows : NAN;
    out[2][j] = rows ? lo : NAN;
    out[3][j] = rows ? hi : NAN;
  }
  /* zxSetField adopts each field value, also when s could not be made. */
  for (int f = 0; f < 4; ++f) zxSetField(s, 0, names[f], fields[f]);
  return s;
}

static void colstats(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  if (nrhs != 1) {
    zxError("expected one argument, got %d", nrhs);
    return;
  }
  plhs[0] = statistics(prhs[0]);
}

static void colstats_of(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  char name[64];
  if (nrhs != 2 || zxGetString(prhs[0], name, sizeof name) < 0) {
    zxError("expected a function name and an argument");
    return;
  }
  __zxArray* result = NULL;
  if (zxCallFunction(name, 1, &result, 1, &prhs[1]) != 0) return; /* the callee's error stands */
  zxPrintf("colstats_of: %s gave a %ldx%ld %s\n", name, zxGetM(result), zxGetN(result),
           zxGetClassName(result));
  plhs[0] = statistics(result);
  zxDestroyArray(result);
}

static void colrange(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  if (nrhs != 1) {
    zxError("colrange: expected one argument, got %d", nrhs);
    return;
  }
  __zxArray* s = statistics(prhs[0]);
  if (!s) return;
  plhs[0] = zxDuplicateArray(zxGetField(s, 0, "min"));
  if (nlhs > 1) plhs[1] = zxDuplicateArray(zxGetField(s, 0, "max"));
  zxDestroyArray(s);
}

static void colprint(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  (void)plhs;
  if (nrhs != 1) {
    zxError("colprint: expected one argument, got %d", nrhs);
    return;
  }
  __zxArray* s = statistics(prhs[0]);
  if (!s) return;
  const __zxArray* mean = zxGetField(s, 0, "mean");
  const double* m = (const double*)zxGetData(mean);
  zxPrintf("%ld columns, means:", zxGetN(mean));
  for (long j = 0; j < zxGetN(mean); ++j) zxPrintf(" %g", m[j]);
  zxPrintf("\n");
  zxDestroyArray(s);
}

static const zxFunctionEntry functions[] = {
    {"colstats", colstats, "s = colstats(x)  column statistics (n, mean, min, max) of a real array"},
    {"colstats_of", colstats_of, "s = colstats_of(f, x)  colstats of f(x), f called by name"},
    {"colrange", colrange, "[lo, hi] = colrange(x)  the smallest and largest element of each column"},
    {"colprint", colprint, "colprint(x)  prints the number of columns and their means"},
    {NULL, NULL, NULL},
};

const zxFunctionEntry* zxPluginFunctions(void) { return functions; }
