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

namespace zorvat {

class zo_obj;

namespace internal {

// What the display makes of a payload type of the kind table
// (value/kind_table.h): the renderer that a kind goes to is chosen from its
// payload type through these, so the kinds are listed only in that table.
template <class P>
struct numeric_payload : std::false_type {};  // matrix<T> with numeric or logical T
template <class P>
struct sparse_payload : std::false_type {};   // sparse_matrix<T>
template <class T>
struct numeric_payload<matrix<T>>
    : std::bool_constant<std::is_arithmetic_v<T> && !std::is_same_v<T, char>> {};
template <class T>
struct numeric_payload<matrix<std::complex<T>>> : std::true_type {};
template <class T>
struct sparse_payload<sparse_matrix<T>> : std::true_type {};
// The dense arrays with a body of obj2str_impl_m: numeric, logical and char.
template <class P>
inline constexpr bool dense_payload_v = numeric_payload<P>::value || std::is_same_v<P, matrix<char>>;

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
