// mat4_read.cpp: reading version 4 MAT-files (loading only; never written).
//
// A variable is five 32-bit words (type MOPT as M*1000 + O*100 + P*10 + T,
// rows, columns, imaginary flag, name length), the name with its NUL, then
// the real part and the imaginary part, column-major, in the element type P
// (double, single, int32, int16, uint16, uint8) and the byte order M (0
// little-endian, 1 big-endian).  T is 0 for numbers, 1 for text (one char
// code per element) and 2 for a sparse matrix stored as rows of (row, col,
// value[, imaginary]) whose last row holds the dims.  Sizes are checked
// against the file before anything is allocated.
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <set>
#include <stdexcept>

#include "io/mat5_detail.h"
#include "io/mat_detail.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"

namespace zorvat {
namespace internal {
namespace {

struct mat4_reader {
  const unsigned char* data;
  std::size_t size;
  const std::string* file;
  std::size_t where = 0;

  [[noreturn]] void corrupt() const {
    throw std::runtime_error(str_format(tr("文件 %s 已损坏或不完整（位于第 %lu 字节的变量）"), file->c_str(),
                                        static_cast<unsigned long>(where)));
  }
  // One variable's header; pos moves past the name.
  struct header {
    bool swap = false;
    int p = 0, t = 0;
    std::uint64_t rows = 0, cols = 0;
    bool imag = false;
    std::string name;
  };
  static std::uint32_t word(const unsigned char* b, bool swap) {
    std::uint32_t v;
    std::memcpy(&v, b, 4);
    return swap ? __builtin_bswap32(v) : v;
  }
  header read_header(std::size_t& pos) const {
    if (size - pos < 20) corrupt();
    header h;
    std::uint32_t type = word(data + pos, false);
    if (type >= 1000 || type % 100 / 10 > 5) {
      type = word(data + pos, true);
      h.swap = true;
    }
    if (type / 1000 != (h.swap ? 1u : 0u) || type % 1000 / 100 != 0 || type % 100 / 10 > 5 || type % 10 > 2) corrupt();
    h.p = type % 100 / 10;
    h.t = type % 10;
    h.rows = word(data + pos + 4, h.swap);
    h.cols = word(data + pos + 8, h.swap);
    h.imag = word(data + pos + 12, h.swap) != 0;
    const std::uint32_t namelen = word(data + pos + 16, h.swap);
    pos += 20;
    if (h.rows > 0x7FFFFFFF || h.cols > 0x7FFFFFFF || namelen == 0 || namelen > size - pos) corrupt();
    h.name.assign(reinterpret_cast<const char*>(data + pos), strnlen(reinterpret_cast<const char*>(data + pos), namelen));
    pos += namelen;
    return h;
  }
  static std::size_t elem_size(int p) { return p == 0 ? 8 : p <= 2 ? 4 : p <= 4 ? 2 : 1; }
  std::uint64_t data_bytes(const header& h) const {
    const std::uint64_t n = h.rows * h.cols;  // below 2^62
    if (n > size) corrupt();
    return n * elem_size(h.p) * (h.imag ? 2 : 1);
  }
  // n elements of type p at b as doubles.
  void to_double(const unsigned char* b, std::uint64_t n, const header& h, double* out, std::size_t step) const {
    for (std::uint64_t k = 0; k < n; ++k, b += elem_size(h.p)) {
      unsigned char v[8];
      std::memcpy(v, b, elem_size(h.p));
      if (h.swap) std::reverse(v, v + elem_size(h.p));
      double d = 0;
      switch (h.p) {
        case 0: std::memcpy(&d, v, 8); break;
        case 1: { float f; std::memcpy(&f, v, 4); d = f; break; }
        case 2: { std::int32_t i; std::memcpy(&i, v, 4); d = i; break; }
        case 3: { std::int16_t i; std::memcpy(&i, v, 2); d = i; break; }
        case 4: { std::uint16_t i; std::memcpy(&i, v, 2); d = i; break; }
        default: d = v[0];
      }
      out[k * step] = d;
    }
  }
  std::shared_ptr<zo_obj> value(const header& h, const unsigned char* b) const {
    const std::uint64_t n = h.rows * h.cols;
    const std::vector<long> dims{static_cast<long>(h.rows), static_cast<long>(h.cols)};
    if (h.t == 1) {
      std::vector<double> codes(n);
      to_double(b, n, h, codes.data(), 1);
      std::vector<std::uint32_t> units(n);
      for (std::uint64_t k = 0; k < n; ++k) units[k] = codes[k] >= 0 && codes[k] < 0x110000 ? static_cast<std::uint32_t>(codes[k]) : 0xFFFD;
      return mat_value(type_char, std::make_unique<matrix<char>>(mat5_units_to_chars(dims, units.data())));
    }
    if (h.t == 2) {
      // Rows of (row, col, re[, im]), 1-based; the last row holds the dims.
      if (h.rows == 0 || (h.cols != 3 && h.cols != 4)) corrupt();
      std::vector<double> t(n);
      to_double(b, n, h, t.data(), 1);
      const long nz = static_cast<long>(h.rows) - 1;
      const double m = t[nz], c = t[h.rows + nz];
      // The columns cost memory that the file does not hold: a sane cap.
      if (!(m >= 0 && m <= 0x7FFFFFFF && c >= 0 && c <= 8.0 * size + 4096)) corrupt();
      auto coords = [&](long k, long col) { return static_cast<long>(t[col * h.rows + k]) - 1; };
      for (long k = 0; k < nz; ++k)
        if (!(t[k] >= 1 && t[k] <= m && t[h.rows + k] >= 1 && t[h.rows + k] <= c)) corrupt();
      if (h.cols == 4) {
        std::vector<triplet<std::complex<double>>> e;
        for (long k = 0; k < nz; ++k) e.push_back({{t[2 * h.rows + k], t[3 * h.rows + k]}, coords(k, 1), coords(k, 0)});
        return mat_value(type_sparse_complex_double,
                         std::make_unique<sparse_matrix<std::complex<double>>>(e, long(m), long(c)));
      }
      std::vector<triplet<double>> e;
      for (long k = 0; k < nz; ++k) e.push_back({t[2 * h.rows + k], coords(k, 1), coords(k, 0)});
      return mat_value(type_sparse_double, std::make_unique<sparse_matrix<double>>(e, long(m), long(c)));
    }
    if (h.imag) {
      auto z = std::make_unique<matrix<std::complex<double>>>(dims);
      double* parts = reinterpret_cast<double*>(z->data());
      to_double(b, n, h, parts, 2);
      if (n) to_double(b + n * elem_size(h.p), n, h, parts + 1, 2);  // no block when empty
      return mat_value(type_complex_double, std::move(z));
    }
    auto d = std::make_unique<matrix<double>>(dims);
    to_double(b, n, h, d->data(), 1);
    return mat_value(type_double, std::move(d));
  }
};

}  // namespace

bool mat4_looks_like(const unsigned char* data, std::size_t size) {
  return size >= 4 && (data[0] == 0 || data[1] == 0 || data[2] == 0 || data[3] == 0);
}

std::vector<loaded_value> mat4_read_memory(const unsigned char* data, std::size_t size,
                                           const std::vector<std::string>& names, const std::string& label,
                                           std::vector<mat_variable_info>* list) {
  mat4_reader rd{data, size, &label};
  std::vector<loaded_value> out;
  const std::set<std::string> wanted(names.begin(), names.end());
  std::set<std::string> found;
  for (std::size_t pos = 0; pos < size;) {
    rd.where = pos;
    const auto h = rd.read_header(pos);
    const std::uint64_t bytes = rd.data_bytes(h);
    if (bytes > size - pos) rd.corrupt();  // before allocating
    if (list) {
      mat_variable_info info;
      info.name = h.name;
      info.kind = h.t == 1 ? type_char : h.t == 2 ? (h.cols == 4 ? type_sparse_complex_double : type_sparse_double)
                                                  : h.imag ? type_complex_double : type_double;
      info.dims = {static_cast<long>(h.rows), static_cast<long>(h.cols)};
      info.is_complex = h.imag || (h.t == 2 && h.cols == 4);
      info.is_sparse = h.t == 2;
      list->push_back(std::move(info));
    } else if (wanted.empty() || wanted.count(h.name)) {
      found.insert(h.name);
      out.emplace_back(h.name, rd.value(h, data + pos));
    }
    pos += bytes;
  }
  for (const auto& n : names)
    if (!found.count(n)) throw std::runtime_error(str_format(tr("文件 %s 中没有变量 %s"), label.c_str(), n.c_str()));
  return out;
}

}  // namespace internal
}  // namespace zorvat
