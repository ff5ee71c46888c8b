// display.h: the console text of any value.
//
// The host asks for a value's text in one of three ways:
//   obj2str(v, width)                      a string, capped at 4 MiB (the
//                                          text then ends in "\n\n  ...\n");
//   obj2console(os, v, width, threshold)   streamed to `os` in chunks of about
//                                          `threshold` characters (0 or
//                                          less: after every insertion);
//   obj2console_safe<1|2>(v, width, threshold)
//                                          the same to the host's standard
//                                          output (1) or standard error (2).
// `width` is the console width in characters (-1: 80); numeric arrays wider
// than it are shown in column pages.  The text starts with the value's type
// header ("\n  2x3 double\n\n" in loose spacing, "  2x3 double\n" in compact
// spacing; see global::fmt_fl in display_format.h) followed by the body that
// the renderer of its kind writes.  obj2str_one_line gives the one-line form
// used by structure field lines.  Nothing here throws except a failed
// allocation; unsupported kinds and formats print a notice.
//
// Public way in: obj2str, obj2console, obj2console_safe<1>/<2> and
// obj2str_one_line are the interface for hosts and plugins, although they
// live in zorvat::internal; the rest of this namespace is the renderers'.
//
//   std::string t = zorvat::internal::obj2str(zorvat::zo_obj(1.5), -1);
//   // "\n  1x1 double\n\n    1.5000\n\n"
//   zorvat::internal::obj2console(std::cout, big, 80, 65536);
#pragma once

#include <iosfwd>
#include <string>

#include "display/display_format.h"
#include "display/display_sinks.h"
#include "matrix/matrix.h"
#include "memory/type_lists.h"
#include "sparse/sparse_matrix.h"

namespace zorvat {

class zo_obj;

namespace internal {

// The cap of obj2str, in characters.
inline constexpr long obj2str_limit = 4194304;

std::string obj2str(const zo_obj& obj, long width);
void obj2console(std::ostream& os, const zo_obj& obj, long width, long threshold);
// N = 1: host standard output; N = 2: host standard error.
template <int N>
void obj2console_safe(const zo_obj& obj, long width, long threshold);
// A quoted text for a scalar string or a char row, the one-line row vector
// text, or "[<brief type>]".
std::string obj2str_one_line(const zo_obj& obj);

// The type header and the body of obj, into any of the four sinks.
template <class S>
void obj2str_stream(S& s, const zo_obj& obj, long width);

// The one-line text of a numeric or logical row vector (dense kinds 1..12
// and 14, sparse kinds 26..30): the elements trimmed and joined by blanks,
// cut after the element that passes max_len (> 0) with "...", bracketed
// unless the value is a scalar and `bracket` is false.  The empty text for
// every other kind and for formats without a rendering.
std::string row_vector_to_string(const zo_obj& obj, long max_len, bool bracket);
// The typed workers, one per element type T of ZORVAT_FOR_EACH_SPARSE_TYPE
// and of ZORVAT_FOR_EACH_ARITH_TYPE except char.
template <class T>
std::string row_vector_to_string_impl(const matrix<T>* m, long max_len, bool bracket);
template <class T>
std::string row_vector_to_string_impl(const sparse_matrix<T>* m, long max_len, bool bracket);

extern template void obj2console_safe<1>(const zo_obj&, long, long);
extern template void obj2console_safe<2>(const zo_obj&, long, long);
#define ZORVAT_EXTERN_OBJ2STR_STREAM(S) extern template void obj2str_stream(S&, const zo_obj&, long);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_EXTERN_OBJ2STR_STREAM)
#undef ZORVAT_EXTERN_OBJ2STR_STREAM

#define ZORVAT_EXTERN_ROW_VECTOR(T) \
  extern template std::string row_vector_to_string_impl(const matrix<T>*, long, bool);
ZORVAT_FOR_EACH_NUMERIC_TYPE(ZORVAT_EXTERN_ROW_VECTOR)
#undef ZORVAT_EXTERN_ROW_VECTOR
#define ZORVAT_EXTERN_ROW_VECTOR_SPARSE(T) \
  extern template std::string row_vector_to_string_impl(const sparse_matrix<T>*, long, bool);
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_EXTERN_ROW_VECTOR_SPARSE)
#undef ZORVAT_EXTERN_ROW_VECTOR_SPARSE

}  // namespace internal
}  // namespace zorvat
