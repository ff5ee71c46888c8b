// String arrays (kind 17) and the column layout they share with cell arrays.
#include "display/display_string.h"

#include <algorithm>
#include <vector>

#include "display/display_dense.h"
#include "display/display_kinds.h"
#include "display/display_text.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

namespace {

// One column page: the zero-based columns first..last.
struct column_page {
  long first, last;
};

// Greedy paging by width: a column joins the running line while the line
// (each column costs its width, four blanks and the brackets) fits; a column
// wider than the console on its own gets a page of its own.
std::vector<column_page> page_columns(const std::vector<long>& col_width, long width, long brackets) {
  std::vector<column_page> pages;
  const long cols = static_cast<long>(col_width.size());
  long line = 0, start = 0;
  for (long j = 0; j < cols; ++j) {
    const long candidate = line + col_width[j] + 4 + brackets;
    if (candidate <= width) {
      line = candidate;
    } else if (line != 0) {
      pages.push_back({start, j - 1});
      start = j;
      line = brackets + col_width[j] + 4;
    } else {
      pages.push_back({j, j});
      start = j + 1;
    }
  }
  if (start < cols) pages.push_back({start, cols - 1});
  return pages;
}

}  // namespace

template <class S>
void obj2str_impl_from_string_mat(S& s, const matrix<std::string>& texts, long width, char open, char close,
                                  int /*flag*/) {
  if (texts.is_empty()) return;
  const long brackets = (open != 0 ? 2 : 1) - (close == 0 ? 1 : 0);
  const std::vector<long>& dims = texts.dim_vec();
  const long rows = dims[0], cols = dims[1];
  long slices = 1;
  for (size_t k = 2; k < dims.size(); ++k) slices *= dims[k];
  const long rs = texts.stride(0), cs = texts.stride(1);
  std::vector<long> index(dims.size() - 2, 0);
  std::vector<long> col_width(static_cast<size_t>(cols));
  std::string line;
  for (long p = 0; p < slices; ++p) {
    if (s.stopped()) return;
    long offset = 0;
    for (size_t k = 0; k < index.size(); ++k) offset += index[k] * texts.stride(static_cast<long>(k) + 2);
    const std::string* base = texts.data() + offset;
    if (slices != 1) {
      s << single_matrix_page_header(index) << "\n";
      loose_newline(s);
    }
    for (long j = 0; j < cols; ++j) {
      long w = 0;
      for (long i = 0; i < rows; ++i) w = std::max(w, static_cast<long>(base[i * rs + j * cs].size()));
      col_width[static_cast<size_t>(j)] = w;
    }
    const std::vector<column_page> pages = page_columns(col_width, width, brackets);
    for (const column_page& page : pages) {
      if (s.stopped()) return;
      if (pages.size() > 1) {
        s << column_page_header(page.first + 1, page.last + 1, false);
        loose_newline(s);
      }
      for (long i = 0; i < rows; ++i) {
        if (s.stopped()) return;
        line.clear();
        for (long j = page.first; j <= page.last; ++j) {
          const std::string& t = base[i * rs + j * cs];
          line.append(4, ' ');
          if (open != 0) line += open;
          line += t;
          line.append(static_cast<size_t>(col_width[static_cast<size_t>(j)]) - t.size(), ' ');
          if (close != 0) line += close;
        }
        line += '\n';
        s << line;
      }
      loose_newline(s);
    }
    for (size_t k = 0; k < index.size(); ++k) {
      if (++index[k] < dims[k + 2]) break;
      index[k] = 0;
    }
  }
}

template <class S>
void obj2str_impl_string(S& s, const zo_obj& obj, long width) {
  if (obj.payload() == nullptr) return;
  const matrix<std::string>& m = obj.get<matrix<std::string>>();
  if (m.is_empty()) return;
  matrix<std::string> texts(m.dim_vec());
  std::string* out = texts.data();
  for (const std::string& t : m) *out++ = escape_str(t);
  obj2str_impl_from_string_mat(s, texts, width, '"', '"', 1);
}

#define ZORVAT_INSTANTIATE_STRING_SINK(S)                                                              \
  template void obj2str_impl_from_string_mat(S&, const matrix<std::string>&, long, char, char, int); \
  template void obj2str_impl_string(S&, const zo_obj&, long);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_INSTANTIATE_STRING_SINK)
#undef ZORVAT_INSTANTIATE_STRING_SINK

}  // namespace internal
}  // namespace zorvat
