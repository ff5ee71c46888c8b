// mat73_text.cpp: char arrays between UTF-8 bytes (in values) and UTF-16
// code units (in version 7.3 files), row by row.
#include <algorithm>
#include <cstdint>
#include <cstring>

#include "io/mat73_detail.h"

namespace zorvat {
namespace internal {

namespace {

constexpr char32_t replacement = 0xFFFD;

// The code point at s[i..n) and its length; a byte that starts no valid
// sequence stands for the character of its own number (as the level 5
// writer reads it).
char32_t decode_utf8(const unsigned char* s, size_t n, size_t i, size_t& len) {
  const unsigned char b = s[i];
  len = 1;
  if (b < 0x80) return b;
  size_t need;
  char32_t cp, min;
  if ((b & 0xE0) == 0xC0) {
    need = 1, cp = b & 0x1F, min = 0x80;
  } else if ((b & 0xF0) == 0xE0) {
    need = 2, cp = b & 0x0F, min = 0x800;
  } else if ((b & 0xF8) == 0xF0) {
    need = 3, cp = b & 0x07, min = 0x10000;
  } else {
    return b;
  }
  for (size_t k = 1; k <= need; ++k) {
    if (i + k >= n || (s[i + k] & 0xC0) != 0x80) return b;
    cp = (cp << 6) | (s[i + k] & 0x3F);
  }
  if (cp < min || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return b;
  len = need + 1;
  return cp;
}

void append_utf8(std::string& out, char32_t cp) {
  if (cp < 0x80) {
    out += static_cast<char>(cp);
  } else if (cp < 0x800) {
    out += static_cast<char>(0xC0 | (cp >> 6));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else if (cp < 0x10000) {
    out += static_cast<char>(0xE0 | (cp >> 12));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (cp >> 18));
    out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (cp & 0x3F));
  }
}

// The rows of an array with `dims`: row r holds the elements
// (r mod dims[0]) + k * dims[0] + (r / dims[0]) * dims[0] * dims[1], k < dims[1].
struct row_layout {
  long m, n, rows;
  explicit row_layout(const std::vector<long>& dims) : m(dims[0]), n(dims[1]) {
    rows = m;
    for (size_t k = 2; k < dims.size(); ++k) rows *= dims[k];
  }
  long at(long r, long k) const { return r % m + k * m + (r / m) * m * n; }
};

// Sets the second extent of `dims` to the longest of the rows and returns
// the element count.
template <class S>
long padded_dims(const std::vector<S>& rows, std::vector<long>& dims) {
  size_t width = 0;
  for (const auto& r : rows) width = std::max(width, r.size());
  dims[1] = static_cast<long>(width);
  long count = 1;
  for (long d : dims) count *= d;
  return count;
}

// Lays the rows out in `out` (an array with `dims` from padded_dims), the
// shorter ones padded with spaces.
template <class S, class Out>
void fill_rows(const std::vector<S>& rows, const std::vector<long>& dims, Out& out) {
  const row_layout lay(dims);
  for (long r = 0; r < lay.rows; ++r) {
    const S& row = rows[static_cast<size_t>(r)];
    for (long k = 0; k < lay.n; ++k)
      out[lay.at(r, k)] = k < static_cast<long>(row.size()) ? row[static_cast<size_t>(k)] : ' ';
  }
}

}  // namespace

std::vector<unsigned short> mat73_utf16_of(const matrix<char>& text, std::vector<long>& dims) {
  const matrix<char> c = text.contiguous();
  dims = c.dim_vec();
  if (c.size() == 0) return {};
  const row_layout lay(dims);
  std::vector<std::u16string> rows(static_cast<size_t>(lay.rows));
  std::vector<unsigned char> bytes(static_cast<size_t>(lay.n));
  for (long r = 0; r < lay.rows; ++r) {
    for (long k = 0; k < lay.n; ++k)
      bytes[static_cast<size_t>(k)] = static_cast<unsigned char>(c.data()[lay.at(r, k)]);
    std::u16string& out = rows[static_cast<size_t>(r)];
    for (size_t i = 0, len; i < bytes.size(); i += len) {
      const char32_t cp = decode_utf8(bytes.data(), bytes.size(), i, len);
      if (cp < 0x10000) {
        out += static_cast<char16_t>(cp);
      } else {
        out += static_cast<char16_t>(0xD800 + ((cp - 0x10000) >> 10));
        out += static_cast<char16_t>(0xDC00 + ((cp - 0x10000) & 0x3FF));
      }
    }
  }
  std::vector<unsigned short> units(static_cast<size_t>(padded_dims(rows, dims)));
  fill_rows(rows, dims, units);
  return units;
}

matrix<char> mat73_utf8_of(const void* units, int width, const std::vector<long>& dims) {
  long count = 1;
  for (long d : dims) count *= d;
  if (count == 0) return matrix<char>(dims);
  const row_layout lay(dims);
  auto unit = [&](long i) -> char32_t {
    if (width == 1) return static_cast<const std::uint8_t*>(units)[i];
    if (width == 2) return static_cast<const std::uint16_t*>(units)[i];
    const char32_t cp = static_cast<const std::uint32_t*>(units)[i];
    return cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF) ? replacement : cp;
  };
  std::vector<std::string> rows(static_cast<size_t>(lay.rows));
  for (long r = 0; r < lay.rows; ++r) {
    std::string& out = rows[static_cast<size_t>(r)];
    for (long k = 0; k < lay.n; ++k) {
      char32_t cp = unit(lay.at(r, k));
      if (width == 2 && cp >= 0xD800 && cp <= 0xDFFF) {
        const char32_t low = k + 1 < lay.n ? unit(lay.at(r, k + 1)) : 0;
        if (cp < 0xDC00 && low >= 0xDC00 && low <= 0xDFFF) {
          cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
          ++k;
        } else {
          cp = replacement;
        }
      }
      append_utf8(out, cp);
    }
  }
  std::vector<long> out_dims = dims;
  padded_dims(rows, out_dims);
  matrix<char> text(out_dims);
  fill_rows(rows, out_dims, text);
  return text;
}

}  // namespace internal
}  // namespace zorvat
