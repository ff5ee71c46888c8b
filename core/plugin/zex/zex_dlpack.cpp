// zex_dlpack.cpp: the DLPack functions of plugin/zex.h over io/dlpack.h.
//
// As everywhere in libzex, nothing unwinds into the plugin: a failure
// becomes the pending error "<function>：<reason>" of the running plugin call
// and the function returns null.
#include <memory>
#include <new>
#include <stdexcept>

#include "io/dlpack.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "memory/zo_malloc.h"
#include "plugin/plugin_error.h"
#include "plugin/zex.h"

namespace zorvat {
namespace internal {
namespace {

template <class R, class F>
R* guarded(const char* function, F&& body) noexcept {
  try {
    try {
      return body();
    } catch (const insufficient_memory& e) {
      set_plugin_error(str_format(tr("%s：%s"), function, e.what()));
    } catch (const std::bad_alloc&) {
      set_plugin_error(str_format(tr("%s：%s"), function, tr("内存不足")));
    } catch (const std::exception& e) {
      set_plugin_error(str_format(tr("%s：%s"), function, e.what()));
    }
  } catch (...) {
    // Not even the message could be made: the null result still says it failed.
  }
  return nullptr;
}

const zo_obj& in(const __zxArray* p) {
  if (!p) throw std::invalid_argument(tr("空句柄"));
  return *reinterpret_cast<const zo_obj*>(p);
}

}  // namespace
}  // namespace internal
}  // namespace zorvat

using namespace zorvat;
using zorvat::internal::guarded;

DLManagedTensor* zxToDLPack(const __zxArray* value) {
  return guarded<DLManagedTensor>("zxToDLPack", [&] { return to_dlpack(internal::in(value)); });
}

DLManagedTensor* zxToDLPackWritable(__zxArray* value) {
  return guarded<DLManagedTensor>("zxToDLPackWritable", [&] {
    return to_dlpack_writable(const_cast<zo_obj&>(internal::in(value)));
  });
}

__zxArray* zxFromDLPack(DLManagedTensor* tensor) {
  return guarded<__zxArray>("zxFromDLPack", [&] {
    // The value object first: once the tensor is adopted nothing may fail.
    auto v = std::make_unique<zo_obj>();
    *v = from_dlpack(tensor);
    return reinterpret_cast<__zxArray*>(v.release());
  });
}
