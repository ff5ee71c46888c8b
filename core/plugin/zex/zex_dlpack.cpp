// zex_dlpack.cpp: libzex.so, the DLPack functions of plugin/zex.h over
// io/dlpack.h.  A refused tensor is handed back untouched: its deleter is
// not called and the caller still owns it.
#include "io/dlpack.h"
#include "plugin/zex/zex_detail.h"

using namespace zorvat;
using namespace zorvat::internal;
using namespace zorvat::internal::zex;

extern "C" {

DLManagedTensor* zxToDLPack(const __zxArray* value) {
  return guard("zxToDLPack", static_cast<DLManagedTensor*>(nullptr), [&] { return to_dlpack(in(value)); });
}

DLManagedTensor* zxToDLPackWritable(__zxArray* value) {
  return guard("zxToDLPackWritable", static_cast<DLManagedTensor*>(nullptr),
               [&] { return to_dlpack_writable(mine(value)); });
}

__zxArray* zxFromDLPack(DLManagedTensor* tensor) {
  return guard("zxFromDLPack", static_cast<__zxArray*>(nullptr), [&] {
    // The value object first: once the tensor is adopted nothing may fail.
    auto v = std::make_unique<zo_obj>();
    *v = from_dlpack(tensor);
    return handle(v.release());
  });
}

}  // extern "C"
