// Structures, function handles, external objects, and the notice for every
// kind that has no rendering of its own.
#include "display/display_kinds.h"
#include "memory/messages.h"
#include "value/extern_obj_base.h"
#include "value/function_handle.h"
#include "value/structure.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

template <class S>
void obj2str_impl_s(S& s, const zo_obj& obj) {
  if (s.stopped()) return;
  if (obj.payload() != nullptr) {
    switch (obj.type) {
      case type_struct:
        // Field values are shown by their one-line texts, so nested
        // structures and cells never recurse here.
        s << obj.get<structure>().to_string(true);
        return;
      case type_extern:
        s << obj.get<extern_obj_base>().to_string();
        return;
      case type_function_handle:
        // No line feed: the dispatcher adds one in loose spacing only.
        s << "    " << obj.get<function_handle>().to_string();
        return;
      default:
        break;
    }
  }
  // This notice says "该类数据", unlike the numeric one ("该类型数据"):
  // both texts are kept as they are.
  s << tr("  (暂不支持该类数据的输出)\n");
}

#define ZORVAT_INSTANTIATE_S_SINK(S) template void obj2str_impl_s(S&, const zo_obj&);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_INSTANTIATE_S_SINK)
#undef ZORVAT_INSTANTIATE_S_SINK

}  // namespace internal
}  // namespace zorvat
