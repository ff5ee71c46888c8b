// display_kinds.h: the renderers of the value kinds other than dense arrays.
//
// The dispatcher (obj2str_stream, display.h) hands each kind to one of these:
// string arrays, cell arrays, sparse matrices, and obj2str_impl_s for
// structures, function handles, external objects and every kind without a
// renderer of its own.  Each is a template over the four display sinks,
// defined in its own source and instantiated there for exactly those sinks.
#pragma once

#include <complex>
#include <string>
#include <type_traits>

#include "display/display_sinks.h"
#include "matrix/matrix.h"
#include "sparse/sparse_matrix.h"
#include "value/kind_traits.h"

namespace zorvat {

class zo_obj;

namespace internal {

// The renderer that a kind goes to is chosen from its payload type through
// the payload traits of value/kind_traits.h (is_scalar_dense_v, is_sparse_v),
// so the kinds are listed only in the kind table.

// The body of a string array (kind 17).
template <class S>
void obj2str_impl_string(S& s, const zo_obj& obj, long width);
// The body of a cell array (kind 25).
template <class S>
void obj2str_impl_cell(S& s, const zo_obj& obj, long width);
// The body of a sparse matrix (kinds 26..30); sparse output is never paged.
template <class S>
void obj2str_impl_sparse(S& s, const zo_obj& obj);
// Structures, external objects, function handles; every other kind prints
// the notice "  (暂不支持该类数据的输出)".
template <class S>
void obj2str_impl_s(S& s, const zo_obj& obj);

#define ZORVAT_EXTERN_KIND_RENDERERS(S)                                 \
  extern template void obj2str_impl_string(S&, const zo_obj&, long);   \
  extern template void obj2str_impl_cell(S&, const zo_obj&, long);     \
  extern template void obj2str_impl_sparse(S&, const zo_obj&);         \
  extern template void obj2str_impl_s(S&, const zo_obj&);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_EXTERN_KIND_RENDERERS)
#undef ZORVAT_EXTERN_KIND_RENDERERS

}  // namespace internal
}  // namespace zorvat
