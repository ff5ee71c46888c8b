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
// The string and cell renderers use the same layout through
// layout_text_columns without building a matrix of texts: a text source
// gives the length of an element's text and writes it into a line.  Column
// widths are measured one column at a time and each page is written as soon
// as it is known, so a sink that stops (obj2str's cap) stops the work too.
// Every column of a row, and the line feed that ends it, is one insertion
// (joined into larger writes where the sink allows, see chunked_writer).
//
//   matrix<std::string> t(1, 2);
//   t(0) = "ab";
//   t(1) = "c";
//   internal::obj2str_impl_from_string_mat(s, t, 80, '"', '"', 1);
//   // "    \"ab\"    \"c \"\n"
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "display/display_dense.h"
#include "display/display_sinks.h"
#include "matrix/matrix.h"

namespace zorvat {
namespace internal {

// `flag` (1 from string arrays, 0 from cell arrays) has no visible effect; it
// is kept so that both callers share one signature.
template <class S>
void obj2str_impl_from_string_mat(S& s, const matrix<std::string>& texts, long width, char open, char close,
                                  int flag);

// The layout of obj2str_impl_from_string_mat over the elements of m.  The
// text source looks at an element once (src.look(e) gives an item whose
// `length` is the number of characters of the element's text) and writes
// the item's text (src.put(dst, item) writes exactly `length` characters);
// src.look_column(&e, step, count, out) looks at the `count` elements of a
// column from e on, `step` apart in storage, into out[0..count).
// The items of the columns being paged are kept from measuring to writing
// when they are not too many, so that each element is looked at once.
template <class S, class E, class Source>
void layout_text_columns(S& s, const matrix<E>& m, long width, char open, char close, Source& src) {
  using item = typename Source::item;
  if (m.is_empty()) return;
  const long brackets = (open != 0 ? 2 : 1) - (close == 0 ? 1 : 0);
  const std::vector<long>& dims = m.dim_vec();
  const long rows = dims[0], cols = dims[1], slices = slice_count(dims);
  const long rs = m.stride(0), cs = m.stride(1);
  // A page holds at most width / 5 + 1 columns (each costs at least five
  // characters), and the next page's first column is measured before a page
  // is written.
  const long page_cols = std::max(1L, std::min(cols, width / 5 + 2));
  const bool keep_items = rows <= (1L << 16) / page_cols;
  std::vector<item> items;  // column by column from `start`, `rows` each
  std::vector<long> index(dims.size() - 2, 0);
  std::vector<long> col_width;
  std::string line;
  chunked_writer<S> out(s);
  constexpr long blanks_max = 16;
  static const char blanks[] = "                ";
  std::vector<std::size_t> piece_ends;
  // Writes the text of column j in row i at p, padded to the column's width
  // w, with its brackets; returns its end.  Short paddings are written as
  // blanks_max blanks (a fixed size, no call), which may reach that far past
  // the end.
  auto put_column = [&](char* p, const E* base, long first, long i, long j, long w) {
    // Read in place: a copy stored wide and read back in narrower pieces
    // stalls.
    item looked;
    const item& it = keep_items ? items[static_cast<size_t>((j - first) * rows + i)]
                                : (looked = src.look(base[i * rs + j * cs]));
    std::memset(p, ' ', 4);
    p += 4;
    if (open != 0) *p++ = open;
    src.put(p, it);
    p += it.length;
    const long fill = w - it.length;
    if (fill <= blanks_max)
      std::memcpy(p, blanks, blanks_max);
    else
      std::memset(p, ' ', static_cast<size_t>(fill));
    p += fill;
    if (close != 0) *p++ = close;
    return p;
  };
  // Writes the rows of the page of columns first..last (widths in col_width,
  // indexed from first); `several` adds the page header.  Every column's
  // text with its blanks and brackets is one insertion, and the "\n" that
  // ends the row another: obj2str's cap cuts between them.
  auto write_page = [&](const E* base, long first, long last, bool several) {
    if (s.stopped()) return;
    if (several) {
      s << column_page_header(first + 1, last + 1, false);
      loose_newline(s);
    }
    long row_len = 1;
    for (long w : col_width) row_len = sat_add(row_len, sat_add(w, 4 + brackets));
    const long max_short = static_cast<long>(chunked_writer<S>::max_piece) - blanks_max;
    piece_ends.resize(static_cast<size_t>(last - first + 2));
    for (long i = 0; i < rows && !s.stopped(); ++i) {
      if (row_len <= max_short) {
        // A short row is made whole in the writer's room, its pieces marked.
        char* const row = out.room();
        char* p = row;
        for (long j = first; j <= last; ++j) {
          p = put_column(p, base, first, i, j, col_width[static_cast<size_t>(j - first)]);
          piece_ends[static_cast<size_t>(j - first)] = static_cast<std::size_t>(p - row);
        }
        *p++ = '\n';
        piece_ends.back() = static_cast<std::size_t>(p - row);
        out.commit_pieces(piece_ends.data(), piece_ends.size());
        continue;
      }
      // A long row column by column: short columns in the writer's room,
      // long ones in a string of their own.
      for (long j = first; j <= last && !s.stopped(); ++j) {
        const long w = col_width[static_cast<size_t>(j - first)];
        const long piece = sat_add(w, 4 + brackets);
        if (piece <= max_short) {
          char* const cell = out.room();
          out.commit(static_cast<size_t>(put_column(cell, base, first, i, j, w) - cell));
        } else {
          out.flush();
          line.resize(static_cast<size_t>(sat_add(piece, blanks_max)));
          put_column(&line[0], base, first, i, j, w);
          s.write(line.data(), static_cast<size_t>(piece));
        }
      }
      if (!s.stopped()) out.put('\n');
    }
    out.flush();
  };
  for (long p = 0; p < slices; ++p, next_slice(index, dims)) {
    if (s.stopped()) return;
    const E* base = m.data() + slice_offset(index, m.stride_vec());
    if (slices != 1) {
      s << single_matrix_page_header(index) << "\n";
      loose_newline(s);
    }
    // Greedy paging by width: a column joins the running line while the line
    // (each column costs its width, four blanks and the brackets) fits; a
    // column wider than the console on its own gets a page of its own.
    long line_width = 0, start = 0;
    bool several_pages = false;
    col_width.clear();
    items.clear();
    for (long j = 0; j < cols; ++j) {
      if (s.stopped()) return;
      long w = 0;
      if (keep_items) {
        const size_t at = items.size();
        items.resize(at + static_cast<size_t>(rows));
        src.look_column(&base[j * cs], rs, rows, &items[at]);
        for (size_t k = at; k < items.size(); ++k) w = std::max(w, items[k].length);
      } else {
        for (long i = 0; i < rows; ++i) w = std::max(w, src.look(base[i * rs + j * cs]).length);
      }
      const long candidate = sat_add(sat_add(line_width, w), 4 + brackets);
      if (candidate <= width) {
        line_width = candidate;
        col_width.push_back(w);
      } else if (line_width != 0) {
        several_pages = true;
        write_page(base, start, j - 1, true);
        if (keep_items) items.erase(items.begin(), items.begin() + (j - start) * rows);
        start = j;
        col_width.assign(1, w);
        line_width = sat_add(brackets + 4, w);
      } else {
        // Column j alone is wider than the console: a page of its own.
        col_width.assign(1, w);
        several_pages = several_pages || cols > 1;
        write_page(base, j, j, several_pages);
        col_width.clear();
        items.clear();
        start = j + 1;
      }
    }
    if (start < cols) write_page(base, start, cols - 1, several_pages);
  }
}

#define ZORVAT_EXTERN_STRING_MAT(S) \
  extern template void obj2str_impl_from_string_mat(S&, const matrix<std::string>&, long, char, char, int);
ZORVAT_FOR_EACH_DISPLAY_SINK(ZORVAT_EXTERN_STRING_MAT)
#undef ZORVAT_EXTERN_STRING_MAT

}  // namespace internal
}  // namespace zorvat
