// mat5_text.cpp: char arrays between their UTF-8 bytes and the UTF-16 code
// units of a level 5 file.
//
// A char array holds UTF-8 bytes; the file holds one code unit per
// character.  A "line" is the run of elements along the second dimension at
// one row (and one index of every higher dimension).  Lines that convert to
// different lengths are padded with blanks at their end to the longest one,
// on both ways.  A byte that does not start a valid UTF-8 sequence stands
// for the character of the same number (U+0080..U+00FF), so invalid text is
// kept readable and loads back as that character's UTF-8 form.
#include <algorithm>
#include <cstdint>
#include <vector>

#include "io/mat5_detail.h"

namespace zorvat {
namespace internal {
namespace {

// The code point of the UTF-8 sequence at s[i..n) and its length; an invalid
// sequence gives the byte itself and length 1.
std::uint32_t decode_utf8(const unsigned char* s, long i, long n, int& len) {
  const unsigned c = s[i];
  len = 1;
  if (c < 0x80) return c;
  int need = c >= 0xF0 ? 3 : c >= 0xE0 ? 2 : c >= 0xC2 ? 1 : -1;
  if (need < 0 || c > 0xF4 || i + need >= n) return c;
  std::uint32_t cp = c & (0x3F >> need);
  for (int k = 1; k <= need; ++k) {
    const unsigned b = s[i + k];
    if ((b & 0xC0) != 0x80) return c;
    cp = (cp << 6) | (b & 0x3F);
  }
  static constexpr std::uint32_t least[] = {0, 0x80, 0x800, 0x10000};
  if (cp < least[need] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return c;
  len = need + 1;
  return cp;
}

void append_utf8(std::uint32_t cp, std::vector<char>& out) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

}  // namespace

long mat5_chars_to_utf16(const matrix<char>& m, std::vector<std::uint16_t>* units) {
  const long rows = m.rows(), cols = m.cols(), size = m.size();
  const long lines = rows == 0 || cols == 0 ? 0 : size / cols;
  const unsigned char* d = reinterpret_cast<const unsigned char*>(m.data());
  bool ascii = true;
  for (long k = 0; k < size && ascii; ++k) ascii = d[k] < 0x80;
  if (ascii || size == 0) {
    if (units) units->assign(d, d + size);
    return cols;
  }
  // Each line converted, then laid out column-major with the common width.
  std::vector<std::vector<std::uint16_t>> conv(lines);
  std::vector<unsigned char> line(cols);
  long width = 0;
  for (long l = 0; l < lines; ++l) {
    const long r = l % rows, page = l / rows;
    for (long c = 0; c < cols; ++c) line[c] = d[r + c * rows + page * rows * cols];
    auto& u = conv[l];
    for (long i = 0; i < cols;) {
      int len;
      const std::uint32_t cp = decode_utf8(line.data(), i, cols, len);
      i += len;
      if (cp >= 0x10000) {
        u.push_back(static_cast<std::uint16_t>(0xD800 + ((cp - 0x10000) >> 10)));
        u.push_back(static_cast<std::uint16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF)));
      } else {
        u.push_back(static_cast<std::uint16_t>(cp));
      }
    }
    width = std::max(width, static_cast<long>(u.size()));
  }
  if (units) {
    units->assign(static_cast<size_t>(lines * width), u' ');
    for (long l = 0; l < lines; ++l) {
      const long r = l % rows, page = l / rows;
      for (size_t c = 0; c < conv[l].size(); ++c)
        (*units)[r + c * rows + page * rows * width] = conv[l][c];
    }
  }
  return width;
}

matrix<char> mat5_units_to_chars(std::vector<long> dims, const std::uint32_t* units) {
  long size = 1;
  for (long d : dims) size *= d;
  const long rows = dims[0], cols = dims[1];
  bool ascii = true;
  for (long k = 0; k < size && ascii; ++k) ascii = units[k] < 0x80;
  if (ascii) {
    matrix<char> m(dims);
    for (long k = 0; k < size; ++k) m.data()[k] = static_cast<char>(units[k]);
    return m;
  }
  const long lines = size / cols;
  std::vector<std::vector<char>> conv(lines);
  long width = 0;
  for (long l = 0; l < lines; ++l) {
    const long r = l % rows, page = l / rows;
    for (long c = 0; c < cols; ++c) {
      std::uint32_t u = units[r + c * rows + page * rows * cols];
      if (u >= 0xD800 && u < 0xDC00 && c + 1 < cols) {
        const std::uint32_t lo = units[r + (c + 1) * rows + page * rows * cols];
        if (lo >= 0xDC00 && lo < 0xE000) {
          u = 0x10000 + ((u - 0xD800) << 10) + (lo - 0xDC00);
          ++c;
        }
      }
      // A lone surrogate or a number beyond Unicode is not text.
      if ((u >= 0xD800 && u < 0xE000) || u > 0x10FFFF) u = 0xFFFD;
      append_utf8(u, conv[l]);
    }
    width = std::max(width, static_cast<long>(conv[l].size()));
  }
  dims[1] = width;
  matrix<char> m(dims);
  char* out = m.data();
  for (long l = 0; l < lines; ++l) {
    const long r = l % rows, page = l / rows;
    for (long c = 0; c < width; ++c)
      out[r + c * rows + page * rows * width] = c < static_cast<long>(conv[l].size()) ? conv[l][c] : ' ';
  }
  return m;
}

}  // namespace internal
}  // namespace zorvat
