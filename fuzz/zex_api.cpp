// The C interface of libzex.so driven by arbitrary bytes: a small program of
// makes, reads, changes and destructions on a pool of handles (the plugin's
// own values, read-only argument values and null).  Checked against a model
// of which calls must succeed: a call the model allows gives a result and
// records no error, one it refuses gives the documented failure result and
// records an error; sizes always agree with the dimensions.  Nothing may
// crash or leak.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

#include "plugin/zex.h"
#include "value/kind_traits.h"
#include "value/zo_obj.h"

#define FUZZ_CHECK(c) ((c) ? (void)0 : std::abort())

namespace {

struct reader {
  const uint8_t* p;
  size_t n;
  bool more() const { return n > 0; }
  int byte() {
    if (!n) return 0;
    --n;
    return *p++;
  }
  long extent() { return byte() % 20 - 3; }  // -3 .. 16: small, sometimes negative
};

long product(const std::vector<long>& d) {
  long n = 1;
  for (long e : d) n *= e;
  return n;
}

// The outcome of one call: failure must come with an error, success without.
void expect(bool ok, bool model_ok) {
  FUZZ_CHECK(ok == model_ok);
  FUZZ_CHECK((zxLastError() != nullptr) == !ok);
  zxClearError();
}

void check_shape(const __zxArray* h) {
  const int nd = zxGetNumberOfDimensions(h);
  const long* d = zxGetDimensions(h);
  FUZZ_CHECK(nd >= 2 && d);
  FUZZ_CHECK(zxGetNumberOfElements(h) == product(std::vector<long>(d, d + nd)));
  zxClearError();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const zorvat::zo_obj args[] = {zorvat::zo_obj(2.5), zorvat::zo_obj("text", zorvat::type_char),
                                        zorvat::zo_obj("s")};
  static const char* const names[] = {"a", "b", "", "a"};
  reader in{data, size};
  __zxArray* pool[4] = {nullptr, nullptr, nullptr, nullptr};
  zxClearError();
  // A handle to work on: one of the pool (possibly null) or an argument.
  auto target = [&](int b) -> const __zxArray* {
    return b % 6 < 4 ? pool[b % 4] : reinterpret_cast<const __zxArray*>(&args[b % 3]);
  };
  auto keep = [&](__zxArray* h) {
    int k = in.byte() % 4;
    zxDestroyArray(pool[k]);
    pool[k] = h;
  };
  for (int steps = 0; in.more() && steps < 64; ++steps) {
    const int op = in.byte() % 10;
    const int slot = in.byte();
    __zxArray* own = pool[slot % 4];
    std::vector<long> dims;
    const int nd = in.byte() % 4;
    bool dims_ok = nd > 0;
    for (int k = 0; k < nd; ++k) {
      dims.push_back(in.extent());
      dims_ok = dims_ok && dims.back() >= 0;
    }
    const long idx = in.byte() % 8 - 1;
    switch (op) {
      case 0: {  // a dense array of any kind number
        const int kind = in.byte() % 33;
        __zxArray* h = zxCreateNumericArray(nd, dims.data(), static_cast<zxKind>(kind));
        expect(h != nullptr, dims_ok && zorvat::internal::is_scalar_dense_kind(kind));
        if (h) check_shape(h);
        keep(h);
        break;
      }
      case 1: {  // cells and structures
        const int nf = in.byte() % 4;
        __zxArray* h = slot % 2 ? zxCreateCellArray(nd, dims.data())
                                : zxCreateStructArray(nd, dims.data(), nf, names);
        expect(h != nullptr, dims_ok && (slot % 2 || nf < 3));
        if (h) check_shape(h);
        keep(h);
        break;
      }
      case 2: {  // sparse from triplets
        const long m = in.extent(), n = in.extent();
        const long nnz = in.byte() % 4;
        long rows[3], cols[3];
        const double values[3] = {1, 2, 3};
        bool inside = m >= 0 && n >= 0;
        for (long k = 0; k < nnz && k < 3; ++k) {
          rows[k] = in.extent();
          cols[k] = in.extent();
          inside = inside && rows[k] >= 0 && rows[k] < m && cols[k] >= 0 && cols[k] < n;
        }
        const long count = nnz < 3 ? nnz : 3;
        __zxArray* h = zxCreateSparse(m, n, count, rows, cols, values, zxKindSparseDouble);
        expect(h != nullptr, inside);
        if (h) FUZZ_CHECK(zxGetNnz(h) <= count && zxGetM(h) == m && zxGetN(h) == n);
        keep(h);
        break;
      }
      case 3: {  // reading a cell element
        const __zxArray* h = target(slot);
        const long numel = h ? zxGetNumberOfElements(h) : 0;
        zxClearError();
        const __zxArray* e = zxGetCell(h, idx);
        expect(e != nullptr, zxIsCell(h) && idx >= 0 && idx < numel);
        if (e) check_shape(e);
        break;
      }
      case 4: {  // storing into a cell or a field of the plugin's own value
        const long numel = own ? zxGetNumberOfElements(own) : 0;
        zxClearError();
        const bool field = slot % 8 >= 4;
        const int r = field ? zxSetField(own, idx, names[slot % 4], zxCreateDoubleScalar(1))
                            : zxSetCell(own, idx, zxCreateDoubleScalar(1));
        const bool model = (field ? zxIsStruct(own) && slot % 4 != 2 : zxIsCell(own)) && idx >= 0 && idx < numel;
        expect(r == 0, model);
        break;
      }
      case 5: {  // resizing
        const int kind = own ? zxGetKind(own) : 0;
        bool model = own && dims_ok;
        if (zxIsSparse(own)) {
          for (size_t k = 2; k < dims.size(); ++k) model = model && dims[k] == 1;
        } else {
          model = model && (zorvat::internal::is_scalar_dense_kind(kind) || zxIsCell(own) || zxIsStruct(own));
        }
        zxClearError();
        const int r = zxResize(own, nd, dims.data());
        expect(r == 0, model);
        if (r == 0) {
          std::vector<long> want = dims;
          if (want.size() == 1) want.push_back(1);
          FUZZ_CHECK(zxGetNumberOfElements(own) == product(want));
          check_shape(own);
        }
        break;
      }
      case 6: {  // text into a buffer of any size
        char buf[8] = "zzzzzzz";
        const size_t n = static_cast<size_t>(in.byte() % 9);
        const long len = zxGetString(target(slot), buf, n);
        if (len >= 0 && n > 0) FUZZ_CHECK(buf[static_cast<size_t>(len) < n - 1 ? len : n - 1] == '\0');
        zxClearError();
        break;
      }
      case 7: {  // every reader on anything: never a crash
        const __zxArray* h = target(slot);
        (void)zxGetData(h);
        (void)zxGetScalar(h);
        (void)zxGetJc(h);
        (void)zxGetFieldNameByNumber(h, static_cast<int>(idx));
        (void)zxGetField(h, idx, names[slot % 4]);
        (void)zxGetClassName(h);
        if (h) check_shape(h);
        zxClearError();
        break;
      }
      case 8: {  // a duplicate, made writable
        __zxArray* h = zxDuplicateArray(target(slot));
        expect(h != nullptr, target(slot) != nullptr);
        if (h && zorvat::internal::is_scalar_dense_kind(zxGetKind(h))) {
          void* p = zxGetWritableData(h);
          FUZZ_CHECK((p != nullptr) == (zxGetNumberOfElements(h) > 0));
        }
        zxClearError();
        keep(h);
        break;
      }
      default:
        zxDestroyArray(own);
        pool[slot % 4] = nullptr;
        break;
    }
  }
  for (__zxArray* h : pool) zxDestroyArray(h);
  zxClearError();
  return 0;
}
