/* The plugin writers' tutorial, sharing arrays: the plugin `foreign` exports
 * foreign::cumsum(x), the running sums down the columns of a double array,
 * computed by "another library" that knows nothing of this environment, only
 * of DLPack tensors.  Neither the argument nor the result is copied on the
 * way: the other library reads the argument where it lies and hands back a
 * result in memory of its own.  foreign::live() counts the results of the
 * other library that are still alive. */
#include <stdint.h>
#include <stdlib.h>

#include <plugin/zex.h>

/* ---- The other library: plain C over DLPack -------------------------------- */
//! [dlpack_foreign]
static long live_results = 0;

typedef struct {
  DLManagedTensor tensor;
  int64_t shape[2];
  double values[]; /* row-major, as this library likes it */
} result_block;

static void free_result(DLManagedTensor* t) {
  --live_results;
  free(t->manager_ctx);
}

/* Running sums down the columns of a 2-d double tensor with any strides; the
 * result is a new row-major tensor (null strides), or null. */
static DLManagedTensor* other_cumsum(const DLTensor* x) {
  if (x->ndim != 2 || x->dtype.code != kDLFloat || x->dtype.bits != 64) return NULL;
  const int64_t m = x->shape[0], n = x->shape[1];
  const int64_t s0 = x->strides ? x->strides[0] : n, s1 = x->strides ? x->strides[1] : 1;
  const double* in = (const double*)((const char*)x->data + x->byte_offset);
  result_block* r = malloc(sizeof(result_block) + (size_t)(m * n) * sizeof(double));
  if (!r) return NULL;
  for (int64_t j = 0; j < n; ++j) {
    double sum = 0;
    for (int64_t i = 0; i < m; ++i) {
      sum += in[i * s0 + j * s1];
      r->values[i * n + j] = sum;
    }
  }
  r->shape[0] = m;
  r->shape[1] = n;
  r->tensor.dl_tensor = (DLTensor){r->values, {kDLCPU, 0}, 2, {kDLFloat, 64, 1}, r->shape, NULL, 0};
  r->tensor.manager_ctx = r;
  r->tensor.deleter = free_result;
  ++live_results;
  return &r->tensor;
}
//! [dlpack_foreign]

/* ---- The plugin ------------------------------------------------------------ */
//! [dlpack_plugin]
static void cumsum(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs;
  if (nrhs != 1 || zxGetKind(prhs[0]) != zxKindDouble || zxGetNumberOfDimensions(prhs[0]) != 2) {
    zxError("foreign::cumsum: expected one 2-d double array");
    return;
  }
  /* The argument is not ours: the tensor is for reading only. */
  DLManagedTensor* x = zxToDLPack(prhs[0]);
  if (!x) return; /* the error is recorded already */
  DLManagedTensor* y = other_cumsum(&x->dl_tensor);
  x->deleter(x); /* done with the argument */
  if (!y) {
    zxError("foreign::cumsum: the other library failed");
    return;
  }
  /* The result's memory becomes a value's; on refusal it is still ours. */
  plhs[0] = zxFromDLPack(y);
  if (!plhs[0]) y->deleter(y);
}
//! [dlpack_plugin]

static void live(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  (void)nlhs, (void)nrhs, (void)prhs;
  plhs[0] = zxCreateInt64Scalar(live_results);
}

static const zxFunctionEntry functions[] = {
    {"foreign::cumsum", cumsum, "y = foreign::cumsum(x)  running sums down the columns"},
    {"foreign::live", live, "n = foreign::live()  results of the other library alive"},
    {NULL, NULL, NULL},
};

const zxFunctionEntry* zxPluginFunctions(void) { return functions; }
int zxPluginInit(int nargs, const __zxArray** args) {
  (void)nargs, (void)args;
  return 0;
}
int zxPluginFini(void) { return 0; }
