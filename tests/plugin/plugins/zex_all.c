/* A test plugin in C that calls every function of plugin/zex.h.
 *
 *   zt::make()        the values of every maker, as outputs 1..N
 *   zt::read(x)       a cell describing x through every reader
 *   zt::change()      a cell and a structure changed in every way
 *   zt::bad(k)        bad use number k (the table of the driver)
 *   zt::fail(fmt, n)  zxError(fmt, n); zt::fail() first clears a misuse
 *   zt::service(f, x) zxPrintf, then f(x) through zxCallFunction
 *   zt::dup(x)        a duplicate of the argument, changed through zex
 */
#include <limits.h>
#include <stddef.h>
#include <string.h>

#include "plugin/zex.h"

#define COUNT(a) ((long)(sizeof(a) / sizeof((a)[0])))

static void make(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nrhs;
  (void)prhs;
  static const long dims3[] = {2, 1, 3};
  static const char* const texts[] = {"a", NULL, "ccc"};
  static const char* const names[] = {"x", "y", "x"};
  static const long rows[] = {0, 2, 0};
  static const long cols[] = {1, 0, 1};
  static const double values[] = {1.5, -2, 2.5};
  static const zxComplexDouble cvalues[] = {{1, 2}, {3, 4}, {0, 1}};
  static const zxLogical lvalues[] = {1, 0, 7};
  static const long jc[] = {0, 1, 1, 3};
  static const long ir[] = {1, 0, 2};
  __zxArray* out[18];
  int n = 0;
  out[n++] = zxCreateNumericArray(3, dims3, zxKindInt16);
  out[n++] = zxCreateNumericMatrix(2, 2, zxKindComplexSingle);
  out[n++] = zxCreateDoubleMatrix(1, 3, 0);
  out[n++] = zxCreateDoubleMatrix(2, 1, 1);
  out[n++] = zxCreateLogicalMatrix(1, 2);
  out[n++] = zxCreateDoubleScalar(2.5);
  out[n++] = zxCreateComplexScalar(1, -1);
  out[n++] = zxCreateLogicalScalar(5);
  out[n++] = zxCreateInt64Scalar(-7);
  out[n++] = zxCreateCharArray("h\xc3\xa9");
  out[n++] = zxCreateString("text");
  out[n++] = zxCreateStringArray(1, 3, texts);
  out[n++] = zxCreateCellArray(3, dims3);
  out[n++] = zxCreateCellMatrix(1, 2);
  out[n++] = zxCreateStructArray(1, dims3 + 2, 3, names);
  out[n++] = zxCreateStructMatrix(1, 1, 0, NULL);
  out[n++] = zxCreateSparse(3, 2, 3, rows, cols, values, zxKindSparseDouble);
  out[n++] = zxCreateSparse(3, 2, 3, rows, cols, cvalues, zxKindSparseComplexDouble);
  for (int k = 0; k < n; ++k) {
    if (k < nlhs) plhs[k] = out[k];
    else zxDestroyArray(out[k]);
  }
  if (nlhs > n) plhs[n] = zxCreateSparseFromColumns(3, 3, jc, ir, lvalues, zxKindSparseLogical);
  if (nlhs > n + 1) plhs[n + 1] = zxCreateSparse(2, 2, 0, NULL, NULL, NULL, zxKindSparseSingle);
}

/* Adopts v into cell c at k. */
static void put(__zxArray* c, long k, __zxArray* v) { zxSetCell(c, k, v); }

/* {kind, class, ndims, dims, numel, m, n, predicates, scalar, text, extra}:
 * predicates is a char array of 0/1 in the order of the header; extra
 * depends on the kind (cell: its elements' classes; struct: field names and
 * the first record's values; sparse: jc, jcEnd, ir and the values as doubles
 * (real parts); dense: the data as doubles). */
static void read_value(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  (void)nrhs;
  const __zxArray* x = prhs[0];
  __zxArray* c = zxCreateCellMatrix(1, 11);
  int nd = zxGetNumberOfDimensions(x);
  const long* d = zxGetDimensions(x);
  __zxArray* dims = zxCreateDoubleMatrix(1, nd, 0);
  double* dd = (double*)zxGetWritableData(dims);
  for (int k = 0; k < nd; ++k) dd[k] = (double)d[k];
  char flags[13];
  flags[0] = '0' + zxIsNumeric(x);
  flags[1] = '0' + zxIsComplex(x);
  flags[2] = '0' + zxIsDouble(x);
  flags[3] = '0' + zxIsLogical(x);
  flags[4] = '0' + zxIsChar(x);
  flags[5] = '0' + zxIsString(x);
  flags[6] = '0' + zxIsCell(x);
  flags[7] = '0' + zxIsStruct(x);
  flags[8] = '0' + zxIsSparse(x);
  flags[9] = '0' + zxIsEmpty(x);
  flags[10] = '0' + zxIsScalar(x);
  flags[11] = '0' + zxIsClass(x, zxGetClassName(x));
  flags[12] = 0;
  put(c, 0, zxCreateDoubleScalar(zxGetKind(x)));
  put(c, 1, zxCreateCharArray(zxGetClassName(x)));
  put(c, 2, zxCreateDoubleScalar(nd));
  put(c, 3, dims);
  put(c, 4, zxCreateDoubleScalar((double)zxGetNumberOfElements(x)));
  put(c, 5, zxCreateDoubleScalar((double)zxGetM(x)));
  put(c, 6, zxCreateDoubleScalar((double)zxGetN(x)));
  put(c, 7, zxCreateCharArray(flags));
  zxKind kind = zxGetKind(x);
  if (kind >= zxKindInt8 && kind <= zxKindLogical && !zxIsEmpty(x)) put(c, 8, zxCreateDoubleScalar(zxGetScalar(x)));
  char text[4];
  if (kind == zxKindChar || kind == zxKindString) {
    long len = kind == zxKindChar ? zxGetString(x, text, sizeof text) : zxGetStringElement(x, 0, text, sizeof text);
    put(c, 9, zxCreateCharArray(len < 0 ? "?" : text));
    zxClearError(); /* a char matrix or a string array is refused: seen as "?" */
  }
  __zxArray* extra = NULL;
  if (kind == zxKindCell) {
    long n = zxGetNumberOfElements(x);
    extra = zxCreateCellMatrix(1, n);
    for (long k = 0; k < n; ++k) zxSetCell(extra, k, zxCreateCharArray(zxGetClassName(zxGetCell(x, k))));
  } else if (kind == zxKindStruct) {
    int nf = zxGetNumberOfFields(x);
    extra = zxCreateCellMatrix(2, nf);
    for (int k = 0; k < nf; ++k) {
      const char* name = zxGetFieldNameByNumber(x, k);
      zxSetCell(extra, 2 * k, zxCreateCharArray(name));
      const __zxArray* v = zxGetNumberOfElements(x) > 0 ? zxGetField(x, 0, name) : NULL;
      if (v && zxGetFieldByNumber(x, 0, zxGetFieldNumber(x, name)) == v) zxSetCell(extra, 2 * k + 1, zxDuplicateArray(v));
    }
  } else if (zxIsSparse(x)) {
    long n = zxGetN(x), nnz = zxGetNnz(x);
    const long* jc = zxGetJc(x);
    const long* je = zxGetJcEnd(x);
    const long* ir = zxGetIr(x);
    const void* pr = zxGetSparseValues(x);
    extra = zxCreateDoubleMatrix(1, 2 * n + 1 + 2 * nnz, 0);
    double* e = (double*)zxGetWritableData(extra);
    long p = 0;
    for (long j = 0; j <= n; ++j) e[p++] = (double)jc[j];
    for (long j = 0; j < n; ++j) e[p++] = (double)je[j];
    for (long j = 0; j < n; ++j) {
      for (long k = jc[j]; k < je[j]; ++k) {
        e[p++] = (double)ir[k];
        if (kind == zxKindSparseDouble) e[p++] = ((const double*)pr)[k];
        else if (kind == zxKindSparseComplexDouble) e[p++] = ((const zxComplexDouble*)pr)[k].re;
        else if (kind == zxKindSparseLogical) e[p++] = ((const zxLogical*)pr)[k];
        else e[p++] = -1;
      }
    }
  } else if (kind == zxKindDouble || kind == zxKindComplexDouble) {
    long n = zxGetNumberOfElements(x);
    extra = zxCreateDoubleMatrix(1, n, kind == zxKindComplexDouble);
    if (n > 0) {
      size_t bytes = (size_t)n * (kind == zxKindDouble ? sizeof(double) : sizeof(zxComplexDouble));
      const void* src = kind == zxKindDouble ? (const void*)zxGetDoubles(x) : (const void*)zxGetComplexDoubles(x);
      memcpy(zxGetWritableData(extra), src, bytes);
      if (zxGetData(x) != src) zxError("zxGetData and the typed reader disagree");
    }
  }
  if (extra) put(c, 10, extra);
  plhs[0] = c;
}

static void change(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  (void)nrhs;
  (void)prhs;
  static const long two[] = {2, 2};
  static const long row[] = {1, 3};
  __zxArray* c = zxCreateCellMatrix(1, 2);
  zxSetCell(c, 0, zxCreateDoubleScalar(1));
  zxSetCell(c, 1, NULL);
  zxResize(c, 2, two);
  zxSetCell(c, 3, zxCreateString("last"));
  __zxArray* s = zxCreateStructMatrix(1, 1, 0, NULL);
  zxSetField(s, 0, "b", zxCreateDoubleScalar(2));
  int a = zxAddField(s, "a");
  zxAddField(s, "gone");
  zxRemoveField(s, "gone");
  zxRemoveField(s, "never there");
  zxResize(s, 2, row);
  zxSetField(s, 2, "a", zxCreateDoubleScalar(a));
  __zxArray* m = zxCreateDoubleMatrix(2, 2, 0);
  double* p = (double*)zxGetWritableData(m);
  for (int k = 0; k < 4; ++k) p[k] = k + 1;
  zxResize(m, 2, row);
  __zxArray* sp = zxCreateSparse(2, 2, 1, (const long[]){1}, (const long[]){1}, (const double[]){4}, zxKindSparseDouble);
  zxResize(sp, 2, two);
  plhs[0] = c;
  plhs[1] = s;
  plhs[2] = m;
  plhs[3] = sp;
}

/* Bad uses: each records an error (the driver checks its text); none may
 * crash.  Values made on the way are released. */
static void bad(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  (void)plhs;
  (void)nrhs;
  static const long huge[] = {1L << 40, 1L << 40};
  static const long neg[] = {2, -1};
  static const long bad_rows[] = {5};
  static const long zero[] = {0};
  static const long bad_jc[] = {0, 2, 1};
  static const long unsorted[] = {1, 0};
  static const double one[] = {1, 1};
  static const char* const empty_name[] = {""};
  const __zxArray* x = prhs[1];
  __zxArray* mine = zxCreateCellMatrix(1, 1);
  __zxArray* st = zxCreateStructMatrix(1, 1, 1, (const char* const[]){"f"});
  __zxArray* text = zxCreateString("t");
  __zxArray* sp = zxCreateSparse(2, 2, 0, NULL, NULL, NULL, zxKindSparseDouble);
  char buf[8];
  switch ((int)zxGetScalar(prhs[0])) {
    case 0: zxGetKind(NULL); break;
    case 1: zxGetCell(x, 0); break;                        /* x not a cell */
    case 2: zxGetCell(mine, 1); break;                     /* index out of range */
    case 3: zxDestroyArray(zxCreateNumericMatrix(2, 2, zxKindCell)); break;
    case 4: zxDestroyArray(zxCreateNumericArray(2, huge, zxKindDouble)); break;
    case 5: zxDestroyArray(zxCreateNumericArray(2, neg, zxKindDouble)); break;
    case 6: zxDestroyArray(zxCreateNumericArray(0, neg, zxKindDouble)); break;
    case 7: zxDestroyArray(zxCreateSparse(2, 2, 1, bad_rows, zero, one, zxKindSparseDouble)); break;
    case 8: zxDestroyArray(zxCreateSparseFromColumns(3, 2, bad_jc, zero, one, zxKindSparseDouble)); break;
    case 9: zxDestroyArray(zxCreateSparseFromColumns(3, 1, (const long[]){0, 2}, unsorted, one, zxKindSparseDouble)); break;
    case 10: zxDestroyArray(zxCreateStructMatrix(1, 1, 1, empty_name)); break;
    case 11: zxGetString(x, buf, sizeof buf); break;       /* x not text */
    case 12: zxGetDoubles(mine); break;
    case 13: zxGetFieldNameByNumber(x, 0); break;          /* x not a structure */
    case 14: zxGetScalar(mine); break;
    case 15: zxResize(mine, 1, NULL); break;
    case 16: zxSetCell(mine, -1, zxCreateDoubleScalar(1)); break; /* adopted even so */
    case 17: zxGetJc(mine); break;
    case 18: zxCallFunction("", 0, NULL, 0, NULL); break;
    case 19: zxGetWritableData(NULL); break;
    case 20: zxDestroyArray(zxCreateNumericMatrix(1L << 62, 4, zxKindDouble)); break;
    case 21: { __zxArray* h = zxDuplicateArray(x); zxResize(h, 2, neg); zxDestroyArray(h); } break;
    case 22: zxGetFieldNameByNumber(st, 1); break;         /* st has one field */
    case 23: zxGetFieldByNumber(st, 0, -1); break;
    case 24: zxResize(text, 2, (const long[]){1, 1}); break; /* texts do not resize */
    case 25: zxResize(sp, 2, (const long[]){1, LONG_MAX}); break;
    case 26: zxResize(sp, 3, (const long[]){1, 1, 2}); break;
    case 27: zxDestroyArray(zxCreateNumericArray(2, (const long[]){1L << 60, 2}, zxKindDouble)); break;
    case 28: zxDestroyArray(zxCreateSparse(2, 2, 0, NULL, NULL, NULL, zxKindDouble)); break;
    case 29: zxDestroyArray(zxCreateNumericArray(2, (const long[]){1L << 50, 1}, zxKindDouble)); break; /* past any address space */
  }
  zxDestroyArray(st);
  zxDestroyArray(text);
  zxDestroyArray(sp);
  zxDestroyArray(mine);
}

static void fail(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  if (nrhs == 0) {
    zxGetKind(NULL); /* a misuse the plugin handles itself */
    if (zxLastError()) zxClearError();
    plhs[0] = zxCreateLogicalScalar(zxLastError() == NULL);
    return;
  }
  char fmt[64];
  zxGetString(prhs[0], fmt, sizeof fmt);
  zxError(fmt, (int)zxGetScalar(prhs[1]));
  zxError("a later error is dropped");
  plhs[0] = zxCreateDoubleScalar(1); /* released by the dispatcher */
}

static void service(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  (void)nrhs;
  char name[32];
  zxGetString(prhs[0], name, sizeof name);
  zxPrintf("calling %s with %ld element(s)\n", name, zxGetNumberOfElements(prhs[1]));
  __zxArray* r[2] = {NULL, NULL};
  if (zxCallFunction(name, 2, r, 1, &prhs[1]) != 0) return;
  plhs[0] = r[0];
  zxDestroyArray(r[1]);
}

static void dup_value(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  (void)nrhs;
  __zxArray* d = zxDuplicateArray(prhs[0]);
  double* p = (double*)zxGetWritableData(d); /* private copy: prhs[0] stays */
  if (p) p[0] = -1;
  plhs[0] = d;
}

static const zxFunctionEntry table[] = {
    {"zt::make", make, NULL},       {"zt::read", read_value, NULL}, {"zt::change", change, NULL},
    {"zt::bad", bad, NULL},         {"zt::fail", fail, NULL}, {"zt::service", service, NULL},
    {"zt::dup", dup_value, NULL},         {NULL, NULL, NULL},
};

const zxFunctionEntry* zxPluginFunctions(void) { return table; }
