// display_string.h: the column layout shared by string and cell arrays.
//
// obj2str_impl_from_string_mat lays out a matrix of texts that are already in
// their final form: each 2-D slice (under a "(:,:,k) = " header when the
// matrix has more than two dimensions) is cut into column pages that fit the
// console width, and every row of a page prints, per column, four blanks, the
// open bracket, the text left-aligned and blank-padded to the longest text of
// its column, and the close bracket.  A bracket given as 0 is left out.
// String arrays call it with '"' on both sides, cell arrays with '{' and '}'.
//
//   matrix<std::string> t(1, 2);
//   t(0) = "ab";
//   t(1) = "c";
//   internal::obj2str_impl_from_string_mat(s, t, 80, '"', '"', 1);
//   // "    \"ab\"    \"c \"\n"
#pragma once

#include <string>

#include "display/display_sinks.h"
#include "matrix/matrix.h"

namespace zorvat {
namespace internal {

// `flag` (1 from string arrays, 0 from cell arrays) has no visible effect; it
// is kept so that both callers share one signature.
template <class S>
void obj2str_impl_from_string_mat(S& s, const matrix<std::string>& texts, long width, char open, char close,
                                  int flag);

#define ZORVAT_EXTERN_STRING_MAT(S) \
  extern template void obj2str_impl_from_string_mat(S&, const matrix<std::string>&, long, char, char, int);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_EXTERN_STRING_MAT)
#undef ZORVAT_EXTERN_STRING_MAT

}  // namespace internal
}  // namespace zorvat
