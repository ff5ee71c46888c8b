// The kinds whose renderers are not written yet (string, cell, sparse,
// structure, function handle, external object) print the notice of a kind
// without a rendering.  Each renderer that lands in its own source replaces
// its definition here.
#include "display/display_kinds.h"
#include "memory/messages.h"

namespace zorvat {
namespace internal {

namespace {

template <class S>
void unsupported_kind(S& s) {
  s << tr("  (暂不支持该类数据的输出)\n");
}

}  // namespace

template <class S>
void obj2str_impl_string(S& s, const zo_obj&, long) {
  unsupported_kind(s);
}

template <class S>
void obj2str_impl_cell(S& s, const zo_obj&, long) {
  unsupported_kind(s);
}

template <class S>
void obj2str_impl_sparse(S& s, const zo_obj&) {
  unsupported_kind(s);
}

template <class S>
void obj2str_impl_s(S& s, const zo_obj&) {
  unsupported_kind(s);
}

#define ZORVAT_INSTANTIATE_PENDING(S)                          \
  template void obj2str_impl_string(S&, const zo_obj&, long); \
  template void obj2str_impl_cell(S&, const zo_obj&, long);   \
  template void obj2str_impl_sparse(S&, const zo_obj&);       \
  template void obj2str_impl_s(S&, const zo_obj&);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_INSTANTIATE_PENDING)
#undef ZORVAT_INSTANTIATE_PENDING

}  // namespace internal
}  // namespace zorvat
