// mat5_write.cpp: writing versions 6 and 7 (the level 5 layout).
//
// Two passes over every variable: the first measures each miMATRIX element
// (pre-order, so that the second pass finds the size of every tag it opens
// in the same order) and refuses a variable of 2^31 bytes or more before
// anything is written; the second writes.  Version 6 writes the data of large
// arrays straight from their storage; version 7 lays each variable out in
// memory and compresses it with libdeflate (level 1: as small as zlib's
// default level within a few percent, in a fraction of its time).
#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <deque>
#include <ctime>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <libdeflate.h>

#include "io/mat5_detail.h"
#include "io/mat_detail.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/kind_table.h"
#include "value/structure.h"

namespace zorvat {
namespace internal {
namespace {

constexpr int deflate_level = 1;

// Where the bytes go.
class sink {
 public:
  virtual void put(const void* p, std::size_t n) = 0;
  virtual ~sink() = default;
};

// A file: small pieces gathered in a buffer, large ones written directly.
class file_sink : public sink {
 public:
  file_sink(const std::string& path) : path_(path), buf_(1 << 18) {
    fd_ = ::open(path.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd_ < 0) fail();
  }
  ~file_sink() override {
    if (fd_ >= 0) ::close(fd_);
  }
  void put(const void* p, std::size_t n) override {
    if (n == 0) return;  // p may be null (an empty array's data)
    if (used_ + n <= buf_.size()) {
      std::memcpy(buf_.data() + used_, p, n);
      used_ += n;
      return;
    }
    flush();
    if (n >= buf_.size() / 2) {
      write_all(p, n);
    } else {
      std::memcpy(buf_.data(), p, n);
      used_ = n;
    }
  }
  void close() {
    flush();
    const int fd = fd_;
    fd_ = -1;
    if (::close(fd) != 0) fail();
  }

 private:
  void flush() {
    write_all(buf_.data(), used_);
    used_ = 0;
  }
  void write_all(const void* p, std::size_t n) {
    const char* c = static_cast<const char*>(p);
    while (n > 0) {
      const ssize_t w = ::write(fd_, c, n);
      if (w < 0 && errno == EINTR) continue;
      if (w <= 0) fail();
      c += w;
      n -= static_cast<std::size_t>(w);
    }
  }
  [[noreturn]] void fail() {
    const int e = errno ? errno : EIO;
    throw std::runtime_error(str_format(tr("无法写入文件 %s：%s"), path_.c_str(), std::strerror(e)));
  }

  std::string path_;
  std::vector<char> buf_;
  std::size_t used_ = 0;
  int fd_ = -1;
};

// A block of memory of the exact size measured.
class memory_sink : public sink {
 public:
  explicit memory_sink(unsigned char* p) : p_(p) {}
  void put(const void* p, std::size_t n) override {
    if (n) std::memcpy(p_, p, n);
    p_ += n;
  }
  unsigned char* end() const { return p_; }

 private:
  unsigned char* p_;
};

// Bytes of a data element with n bytes of data (never packed into its tag).
std::uint64_t element_size(std::uint64_t n) { return 8 + mat5_pad8(n); }

struct writer {
  const std::string* var = nullptr;  // the variable being written, for messages
  std::vector<std::uint64_t> sizes;  // miMATRIX content sizes, pre-order
  std::size_t next = 0;
  sink* out = nullptr;
  std::vector<unsigned char> chunk;  // gathering of converted elements
  // The field tables of every structure in the order of the names, found
  // once while measuring (pre-order) and used again while writing.
  std::vector<std::vector<const matrix<structure::element>*>> tables;
  std::deque<matrix<structure::element>> copies;  // of tables not contiguous (stay in place)
  std::size_t next_tables = 0;

  [[noreturn]] void too_large() const {
    throw std::runtime_error(str_format(
        tr("变量 %s 不小于 2^31 字节，版本 6 和 7 的 MAT 文件容纳不下；请用版本 7.3 保存"), var->c_str()));
  }
  [[noreturn]] void too_deep() const {
    throw std::runtime_error(str_format(tr("变量 %s 的单元数组或结构体嵌套超过 %d 层"), var->c_str(),
                                        mat5_max_depth));
  }
  void check_dims(const std::vector<long>& dims) const {
    for (long d : dims)
      if (d > 0x7FFFFFFF) too_large();
  }

  // ---- measuring ----
  static std::uint64_t header_size(std::size_t ndims, std::size_t name_len) {
    return 16 + element_size(4 * ndims) + element_size(name_len);
  }
  // The content size of a miMATRIX element holding v (null: an empty double).
  std::uint64_t measure(const zo_obj* v, std::size_t name_len, int depth) {
    if (depth > mat5_max_depth) too_deep();
    const std::size_t slot = sizes.size();
    sizes.push_back(0);
    std::uint64_t n = 0;
    if (!v || !v->payload()) {
      n = header_size(2, name_len) + element_size(0);
    } else if (v->type < type_char || v->type == type_logical) {
      const matrix_base* a = v->array_base();
      check_dims(a->dim_vec());
      const std::uint64_t count = element_count(a->dim_vec());
      const std::uint64_t bytes = count * numeric_element_size(v->type);
      const bool cplx = v->type == type_complex_double || v->type == type_complex_single;
      n = header_size(a->dim_vec().size(), name_len) + element_size(cplx ? bytes / 2 : bytes) * (cplx ? 2 : 1);
    } else if (v->type == type_char) {
      const auto& m = v->get<matrix<char>>();
      check_dims(m.dim_vec());
      const long width = mat5_chars_to_utf16(m.contiguous(), nullptr);
      std::uint64_t count = element_count(m.dim_vec());
      if (m.cols() > 0) count = count / static_cast<std::uint64_t>(m.cols()) * static_cast<std::uint64_t>(width);
      if (width > 0x7FFFFFFF) too_large();
      n = header_size(m.ndims(), name_len) + element_size(2 * count);
    } else if (v->type >= type_sparse_double && v->type <= type_sparse_logical) {
      n = measure_sparse(*v, name_len);
    } else if (v->type == type_cell) {
      const auto& c = v->get<cell_array>();
      check_dims(c.dim_vec());
      n = header_size(c.ndims(), name_len);
      for_each_element(c.data(), [&](const cell_array::element& e) { n += 8 + measure(e.get(), 0, depth + 1); });
    } else if (v->type == type_string) {
      // A string array is written as a cell of char rows.
      const auto& s = v->get<matrix<std::string>>();
      check_dims(s.dim_vec());
      n = header_size(s.ndims(), name_len);
      for_each_element(s, [&](const std::string& t) {
        const zo_obj row = char_row(t);
        n += 8 + measure(&row, 0, depth + 1);
      });
    } else {
      ZORVAT_ASSERT(v->type == type_struct);
      const auto& s = v->get<structure>();
      check_dims(s.dim_vec());
      const auto& names = s.fieldnames();
      n = header_size(s.ndims(), name_len) + 8 + element_size(names.size() * field_name_length(s));
      const std::size_t at = field_tables(s);
      const long records = names.empty() ? 0 : element_count_long(s.dim_vec());
      for (long r = 0; r < records; ++r)
        for (const auto* t : tables[at]) n += 8 + measure((*t)[r].get(), 0, depth + 1);
    }
    if (n > mat5_max_variable) too_large();
    sizes[slot] = n;
    return n;
  }
  // Finds the tables of s in name order (a hash of the map's names: one
  // look-up per field whatever their number); returns their place.
  std::size_t field_tables(const structure& s) {
    std::unordered_map<std::string_view, const matrix<structure::element>*> by_name;
    by_name.reserve(s.data().size());
    for (const auto& [name, table] : s.data()) by_name.emplace(name, &table);
    std::vector<const matrix<structure::element>*> list;
    list.reserve(by_name.size());
    for (const auto& name : s.fieldnames()) {
      const matrix<structure::element>* t = by_name.at(name);
      if (!t->is_contiguous()) {
        copies.push_back(t->contiguous());
        t = &copies.back();
      }
      list.push_back(t);
    }
    tables.push_back(std::move(list));
    return tables.size() - 1;
  }
  std::uint64_t measure_sparse(const zo_obj& v, std::size_t name_len) {
    const matrix_base* a = v.array_base();
    const long nnz = sparse_nnz(v);
    if (nnz > 0x7FFFFFFF) too_large();
    check_dims(a->dim_vec());
    const bool cplx = v.type == type_sparse_complex_double || v.type == type_sparse_complex_single;
    const std::uint64_t value_bytes = v.type == type_sparse_logical ? 1 : 8;
    return header_size(2, name_len) + element_size(4 * std::uint64_t(nnz)) +
           element_size(4 * std::uint64_t(a->cols() + 1)) + element_size(value_bytes * nnz) * (cplx ? 2 : 1);
  }
  static std::uint64_t element_count(const std::vector<long>& dims) {
    std::uint64_t n = 1;
    for (long d : dims) n *= static_cast<std::uint64_t>(d);
    return n;
  }
  static long element_count_long(const std::vector<long>& dims) {
    return static_cast<long>(element_count(dims));
  }
  static std::uint64_t numeric_element_size(zo_type t) {
    switch (t) {
#define ZORVAT_MAT5_SIZE(kind, T, cls, mi) \
  case kind:                               \
    return sizeof(T);
      ZORVAT_MAT5_NUMERIC(ZORVAT_MAT5_SIZE)
#undef ZORVAT_MAT5_SIZE
      case type_complex_double: return 16;
      case type_complex_single: return 8;
      default: return 1;  // logical
    }
  }
  static std::size_t field_name_length(const structure& s) {
    std::size_t len = 0;
    for (const auto& n : s.fieldnames()) len = std::max(len, n.size());
    return len < 32 ? 32 : len < 64 ? 64 : mat5_pad8(len + 1);
  }

  // ---- writing ----
  void tag(std::uint32_t type, std::uint64_t bytes) {
    const std::uint32_t t[2] = {type, static_cast<std::uint32_t>(bytes)};
    out->put(t, 8);
  }
  void pad(std::uint64_t bytes) {
    static const char zeros[8] = {};
    out->put(zeros, mat5_pad8(bytes) - bytes);
  }
  void element(std::uint32_t type, const void* p, std::uint64_t bytes) {
    tag(type, bytes);
    out->put(p, bytes);
    pad(bytes);
  }
  void header(std::uint32_t flags, std::uint32_t nzmax, const std::vector<long>& dims, const std::string& name) {
    const std::uint32_t f[4] = {mi_uint32, 8, flags, nzmax};
    out->put(f, 16);
    std::vector<std::int32_t> d(dims.begin(), dims.end());
    element(mi_int32, d.data(), 4 * d.size());
    element(mi_int8, name.data(), name.size());
  }
  // Elements of a contiguous array converted one by one through `chunk`.
  template <class T, class F>
  void put_converted(const T* p, long n, std::size_t out_size, F convert) {
    const long per = static_cast<long>(chunk.size() / out_size);
    for (long k = 0; k < n; k += per) {
      const long m = std::min(per, n - k);
      for (long i = 0; i < m; ++i) convert(p[k + i], chunk.data() + i * out_size);
      out->put(chunk.data(), m * out_size);
    }
  }
  template <class T>
  void write_dense(const zo_obj& v, std::uint32_t flags, std::uint32_t type, const std::string& name) {
    const matrix<T> m = v.get<matrix<T>>().contiguous();
    header(flags, 0, m.dim_vec(), name);
    const std::uint64_t n = m.size();
    if constexpr (std::is_same_v<T, std::complex<double>> || std::is_same_v<T, std::complex<float>>) {
      using R = typename T::value_type;
      for (int part = 0; part < 2; ++part) {
        tag(type, n * sizeof(R));
        put_converted(m.data(), m.size(), sizeof(R), [part](const T& z, unsigned char* o) {
          const R r = part ? z.imag() : z.real();
          std::memcpy(o, &r, sizeof(R));
        });
        pad(n * sizeof(R));
      }
    } else {
      element(type, m.data(), n * sizeof(T));
    }
  }
  void write_chars(const matrix<char>& src, const std::string& name) {
    const matrix<char> m = src.contiguous();
    std::vector<std::uint16_t> units;
    const long width = mat5_chars_to_utf16(m, &units);
    std::vector<long> dims = m.dim_vec();
    dims[1] = width;
    header(mx_char, 0, dims, name);
    element(mi_utf16, units.data(), 2 * units.size());
  }
  template <class T>
  void write_sparse(const sparse_matrix<T>& s, const std::string& name) {
    const long cols = s.cols();
    const long nnz = sparse_nnz(s);
    const bool logical = std::is_same_v<T, bool>;
    const bool cplx = !std::is_arithmetic_v<T>;
    const std::uint32_t flags =
        mx_sparse | (logical ? mat5_flag_logical : 0) | (cplx ? mat5_flag_complex : 0);
    header(flags, static_cast<std::uint32_t>(nnz), s.dim_vec(), name);
    std::vector<std::int32_t> idx;
    idx.reserve(nnz);
    for (long j = 0; j < cols; ++j)
      for (long k = s.jc()[j]; k < s.jce()[j]; ++k) idx.push_back(static_cast<std::int32_t>(s.ir()[k]));
    element(mi_int32, idx.data(), 4 * idx.size());
    idx.assign(1, 0);
    for (long j = 0; j < cols; ++j) idx.push_back(idx.back() + static_cast<std::int32_t>(s.jce()[j] - s.jc()[j]));
    element(mi_int32, idx.data(), 4 * idx.size());
    for (int part = 0; part < (cplx ? 2 : 1); ++part) {
      const std::uint64_t bytes = (logical ? 1 : 8) * std::uint64_t(nnz);
      tag(logical ? mi_uint8 : mi_double, bytes);
      for (long j = 0; j < cols; ++j) {
        const long k0 = s.jc()[j], len = s.jce()[j] - k0;
        put_converted(s.pr() + k0, len, logical ? 1 : 8, [part](const T& x, unsigned char* o) {
          (void)part;  // read by the complex forms only
          if constexpr (std::is_same_v<T, bool>) {
            *o = x ? 1 : 0;
          } else if constexpr (std::is_arithmetic_v<T>) {
            const double d = x;
            std::memcpy(o, &d, 8);
          } else {
            const double d = part ? x.imag() : x.real();
            std::memcpy(o, &d, 8);
          }
        });
      }
      pad(bytes);
    }
  }
  // One miMATRIX element: tag and content.
  void write(const zo_obj* v, const std::string& name) {
    tag(mi_matrix, sizes[next++]);
    if (!v || !v->payload()) {
      header(mx_double, 0, {0, 0}, name);
      element(mi_double, nullptr, 0);
      return;
    }
    switch (v->type) {
#define ZORVAT_MAT5_WRITE(kind, T, cls, mi) \
  case kind:                                \
    return write_dense<T>(*v, cls, mi, name);
      ZORVAT_MAT5_NUMERIC(ZORVAT_MAT5_WRITE)
#undef ZORVAT_MAT5_WRITE
      case type_complex_double:
        return write_dense<std::complex<double>>(*v, mx_double | mat5_flag_complex, mi_double, name);
      case type_complex_single:
        return write_dense<std::complex<float>>(*v, mx_single | mat5_flag_complex, mi_single, name);
      case type_logical: return write_dense<bool>(*v, mx_uint8 | mat5_flag_logical, mi_uint8, name);
      case type_char: return write_chars(v->get<matrix<char>>(), name);
      case type_sparse_double: return write_sparse(v->get<sparse_matrix<double>>(), name);
      case type_sparse_single: return write_sparse(v->get<sparse_matrix<float>>(), name);
      case type_sparse_complex_double: return write_sparse(v->get<sparse_matrix<std::complex<double>>>(), name);
      case type_sparse_complex_single: return write_sparse(v->get<sparse_matrix<std::complex<float>>>(), name);
      case type_sparse_logical: return write_sparse(v->get<sparse_matrix<bool>>(), name);
      case type_cell: {
        const auto& c = v->get<cell_array>();
        header(mx_cell, 0, c.dim_vec(), name);
        for_each_element(c.data(), [&](const cell_array::element& e) { write(e.get(), std::string()); });
        return;
      }
      case type_string: {
        const auto& s = v->get<matrix<std::string>>();
        header(mx_cell, 0, s.dim_vec(), name);
        for_each_element(s, [&](const std::string& t) {
          const zo_obj row = char_row(t);
          write(&row, std::string());
        });
        return;
      }
      default: {
        const auto& s = v->get<structure>();
        header(mx_struct, 0, s.dim_vec(), name);
        const std::size_t len = field_name_length(s);
        const std::uint32_t len_tag[2] = {mi_int32 | (4u << 16), static_cast<std::uint32_t>(len)};
        out->put(len_tag, 8);
        const auto& names = s.fieldnames();
        std::vector<char> packed(names.size() * len, 0);
        for (std::size_t f = 0; f < names.size(); ++f) std::memcpy(&packed[f * len], names[f].data(), names[f].size());
        element(mi_int8, packed.data(), packed.size());
        const auto& list = tables[next_tables++];
        const long records = names.empty() ? 0 : element_count_long(s.dim_vec());
        for (long r = 0; r < records; ++r)
          for (const auto* t : list) write((*t)[r].get(), std::string());
        return;
      }
    }
  }

  template <class M>
  static long sparse_nnz(const M& s) {
    long n = 0;
    for (long j = 0; j < s.cols(); ++j) n += s.jce()[j] - s.jc()[j];
    return n;
  }
  static long sparse_nnz(const zo_obj& v) {
    switch (v.type) {
      case type_sparse_double: return sparse_nnz(v.get<sparse_matrix<double>>());
      case type_sparse_single: return sparse_nnz(v.get<sparse_matrix<float>>());
      case type_sparse_complex_double: return sparse_nnz(v.get<sparse_matrix<std::complex<double>>>());
      case type_sparse_complex_single: return sparse_nnz(v.get<sparse_matrix<std::complex<float>>>());
      default: return sparse_nnz(v.get<sparse_matrix<bool>>());
    }
  }
  // An element of a string array as a char row (1x0 for the empty text).
  static zo_obj char_row(const std::string& t) {
    auto row = std::make_unique<matrix<char>>(1, static_cast<long>(t.size()));
    if (!t.empty()) std::memcpy(row->data(), t.data(), t.size());
    return zo_obj(type_char, row.release());
  }
};

void write_header(sink& out) {
  char h[mat5_header_size];
  std::memset(h, ' ', 116);
  const std::time_t now = std::time(nullptr);
  char date[64] = "";
  std::strftime(date, sizeof date, "%a %b %d %H:%M:%S %Y", std::gmtime(&now));
  const std::string text = std::string("MAT-file, written by libzorvat_core, created on: ") + date;
  std::memcpy(h, text.data(), std::min<std::size_t>(text.size(), 116));
  std::memset(h + 116, 0, 8);
  const std::uint16_t version = 0x0100, mark = ('M' << 8) | 'I';
  std::memcpy(h + 124, &version, 2);
  std::memcpy(h + 126, &mark, 2);
  out.put(h, sizeof h);
}

struct compressor_deleter {
  void operator()(libdeflate_compressor* c) const { libdeflate_free_compressor(c); }
};

}  // namespace

void mat5_write(const std::string& path, const std::vector<named_value>& vars, bool compress) {
  writer w;
  w.chunk.resize(1 << 16);
  std::vector<std::size_t> starts;
  for (const auto& [name, value] : vars) {
    w.var = &name;
    starts.push_back(w.sizes.size());
    w.measure(value.get(), name.size(), 0);
  }
  std::unique_ptr<libdeflate_compressor, compressor_deleter> comp;
  if (compress) {
    comp.reset(libdeflate_alloc_compressor(deflate_level));
    if (!comp) throw std::bad_alloc();
  }
  file_sink file(path);
  write_header(file);
  for (std::size_t k = 0; k < vars.size(); ++k) {
    w.next = starts[k];
    if (!compress) {
      w.out = &file;
      w.write(vars[k].second.get(), vars[k].first);
      continue;
    }
    const std::size_t n = 8 + w.sizes[starts[k]];
    std::unique_ptr<unsigned char[]> raw(new unsigned char[n]);
    memory_sink mem(raw.get());
    w.out = &mem;
    w.write(vars[k].second.get(), vars[k].first);
    ZORVAT_ASSERT(mem.end() == raw.get() + n);
    const std::size_t bound = libdeflate_zlib_compress_bound(comp.get(), n);
    std::unique_ptr<unsigned char[]> packed(new unsigned char[bound]);
    const std::size_t m = libdeflate_zlib_compress(comp.get(), raw.get(), n, packed.get(), bound);
    raw.reset();
    const std::uint32_t t[2] = {mi_compressed, static_cast<std::uint32_t>(m)};
    file.put(t, 8);
    file.put(packed.get(), m);
  }
  file.close();
}

}  // namespace internal
}  // namespace zorvat
