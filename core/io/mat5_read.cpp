// mat5_read.cpp: reading versions 6 and 7 (the level 5 layout), in either
// byte order.
//
// The file is mapped and parsed in place; every size it declares is checked
// against the bytes that hold it before anything is allocated for it (data
// elements must hold exactly the elements that the dimensions ask for; a
// cell or structure element needs at least a tag per element; a compressed
// variable expands at most by deflate's ratio).  Version 7 variables are
// decompressed whole with libdeflate into the size that their inner tag
// declares; a large top-level array whose data are stored in its own type
// and the machine's byte order takes that buffer as its storage (no copy into
// fresh memory).  Any fault throws, and the values read so far are dropped.
//
// Chosen conversions: a numeric class stored as another data type is
// converted; complex integers load as complex double; objects load as
// structures (the class name is dropped); a variable without a name (the
// subsystem data of function handles) is skipped; sparse matrices load as
// sparse double, complex double or logical.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <limits>
#include <memory>
#include <set>
#include <stdexcept>

#include <libdeflate.h>

#include "io/mat5_detail.h"
#include "io/mat_detail.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace zorvat {
namespace internal {
namespace {

using bytes_t = const unsigned char*;

struct decompressor_deleter {
  void operator()(libdeflate_decompressor* d) const { libdeflate_free_decompressor(d); }
};

// A data element: its type and its bytes.
struct element {
  std::uint32_t type = 0;
  bytes_t data = nullptr;
  std::uint64_t bytes = 0;
};

// Bytes made for one compressed variable.
struct buffer {
  std::unique_ptr<unsigned char[]> p;
  std::size_t n = 0;
  bool whole = false;  // the whole element, checked
};

// What a miMATRIX element declares before its data.
struct array_header {
  std::uint32_t cls = 0, flags = 0, nzmax = 0;
  std::vector<long> dims;
  std::string name;
  std::uint64_t count = 0;  // product of the dims
};

// Whether T's data are stored as the data type `type` (no conversion).
template <class T>
bool stored_as(std::uint32_t type) {
#define ZORVAT_MAT5_SAME(kind, U, cls, mi) \
  if (std::is_same_v<T, U>) return type == mi;
  ZORVAT_MAT5_NUMERIC(ZORVAT_MAT5_SAME)
#undef ZORVAT_MAT5_SAME
  return false;
}

void free_buffer(void* p) { delete[] static_cast<unsigned char*>(p); }

template <class S>
S load(bytes_t p, bool swap) {
  S v;
  std::memcpy(&v, p, sizeof v);
  if (swap) {
    unsigned char* b = reinterpret_cast<unsigned char*>(&v);
    for (std::size_t i = 0; i < sizeof v / 2; ++i) std::swap(b[i], b[sizeof v - 1 - i]);
  }
  return v;
}

struct reader {
  const std::string* file = nullptr;
  bool swap = false;
  std::uint64_t where = 0;  // offset of the variable being read, for messages
  std::unique_ptr<libdeflate_decompressor, decompressor_deleter> inflater;
  // The inflated buffer of the variable being read while its top-level
  // array may still take it as storage; null otherwise.
  mutable buffer* lendable = nullptr;

  [[noreturn]] void corrupt() const {
    throw std::runtime_error(
        str_format(tr("文件 %s 已损坏或不完整（位于第 %lu 字节的变量）"), file->c_str(), static_cast<unsigned long>(where)));
  }
  std::uint32_t u32(bytes_t p) const { return load<std::uint32_t>(p, swap); }

  // The element at [p, end); p moves past it and its padding.
  element next(bytes_t& p, bytes_t end) const {
    if (end - p < 8) corrupt();
    element e;
    const std::uint32_t w = u32(p);
    if (w >> 16) {  // packed into its tag
      e.type = w & 0xFFFF;
      e.bytes = w >> 16;
      if (e.bytes > 4) corrupt();
      e.data = p + 4;
      p += 8;
      return e;
    }
    e.type = w;
    e.bytes = u32(p + 4);
    if (e.bytes > static_cast<std::uint64_t>(end - p - 8)) corrupt();
    e.data = p + 8;
    p += std::min<std::uint64_t>(8 + mat5_pad8(e.bytes), static_cast<std::uint64_t>(end - p));
    return e;
  }

  // Flags, dims and name of the miMATRIX content [p, end).
  array_header header(bytes_t& p, bytes_t end) const {
    array_header h;
    const element f = next(p, end);
    if (f.type != mi_uint32 || f.bytes != 8) corrupt();
    h.flags = u32(f.data);
    h.cls = h.flags & 0xFF;
    h.nzmax = u32(f.data + 4);
    const element d = next(p, end);
    if ((d.type != mi_int32 && d.type != mi_uint32) || d.bytes == 0 || d.bytes % 4) corrupt();
    h.count = 1;
    for (std::uint64_t k = 0; k < d.bytes / 4; ++k) {
      const std::int32_t n = load<std::int32_t>(d.data + 4 * k, swap);
      if (n < 0) corrupt();
      h.dims.push_back(n);
      // Products beyond 2^62 elements are impossible in any file.
      if (h.count && static_cast<std::uint64_t>(n) > (std::uint64_t{1} << 62) / h.count) corrupt();
      h.count *= static_cast<std::uint64_t>(n);
    }
    if (h.dims.size() == 1) h.dims.push_back(1);
    const element n = next(p, end);
    if (n.type != mi_int8 && n.type != mi_uint8 && n.type != mi_utf8) corrupt();
    h.name.assign(reinterpret_cast<const char*>(n.data), n.bytes);
    return h;
  }

  // The n elements of e converted to R, written every `step` places of out.
  // The element must hold exactly n values.
  template <class R>
  void convert(const element& e, std::uint64_t n, R* out, std::size_t step) const {
    const std::size_t size = mat5_type_size(e.type);
    if (size == 0 || e.type == mi_utf8 || e.type == mi_utf16 || e.type == mi_utf32 || e.bytes % size ||
        e.bytes / size != n)
      corrupt();
    auto run = [&](auto tag) {
      using S = decltype(tag);
      if constexpr (std::is_same_v<S, R>) {
        if (!swap && step == 1) {
          if (n) std::memcpy(out, e.data, n * sizeof(S));
          return;
        }
      }
      for (std::uint64_t k = 0; k < n; ++k) {
        const S v = load<S>(e.data + k * sizeof(S), swap);
        if constexpr (std::is_same_v<R, bool>) {
          out[k * step] = v != 0;
        } else if constexpr (std::is_integral_v<R> && std::is_floating_point_v<S>) {
          // Saturated, NaN as 0: a number outside R has no conversion.
          using L = std::numeric_limits<R>;
          out[k * step] = !(v == v) ? R(0) : v <= S(L::min()) ? L::min() : v >= S(L::max()) ? L::max() : static_cast<R>(v);
        } else {
          out[k * step] = static_cast<R>(v);
        }
      }
    };
    switch (e.type) {
      case mi_int8: return run(static_cast<signed char>(0));
      case mi_uint8: return run(static_cast<unsigned char>(0));
      case mi_int16: return run(static_cast<short>(0));
      case mi_uint16: return run(static_cast<unsigned short>(0));
      case mi_int32: return run(0);
      case mi_uint32: return run(0u);
      case mi_single: return run(0.0f);
      case mi_double: return run(0.0);
      case mi_int64: return run(0L);
      default: return run(0UL);
    }
  }

  template <class T>
  std::shared_ptr<zo_obj> dense(const array_header& h, bytes_t& p, bytes_t end, zo_type kind) const {
    const element re = next(p, end);
    const std::size_t size = mat5_type_size(re.type);
    if (size == 0 || re.bytes % size || re.bytes / size != h.count) corrupt();  // before allocating
    if constexpr (std::is_arithmetic_v<T> && !std::is_same_v<T, bool>) {
      if (auto m = borrow<T>(h, re)) return mat_value(kind, std::move(m));
    }
    auto m = std::make_unique<matrix<T>>(h.dims);
    if constexpr (std::is_same_v<T, std::complex<double>> || std::is_same_v<T, std::complex<float>>) {
      using R = typename T::value_type;
      R* parts = reinterpret_cast<R*>(m->data());
      convert(re, h.count, parts, 2);
      convert(next(p, end), h.count, parts ? parts + 1 : parts, 2);  // no block when empty
    } else {
      convert(re, h.count, m->data(), 1);
    }
    return mat_value(kind, std::move(m));
  }

  // An array made over the lendable buffer when re's data lie there in T's
  // own type and byte order, aligned, and fill most of it; null otherwise.
  template <class T>
  std::unique_ptr<matrix<T>> borrow(const array_header& h, const element& re) const {
    buffer* b = lendable;
    lendable = nullptr;
    if (!b || swap || !stored_as<T>(re.type) || re.bytes < (std::uint64_t{1} << 16) || re.bytes < b->n / 2 ||
        reinterpret_cast<std::uintptr_t>(re.data) % alignof(T) || re.data < b->p.get() ||
        re.data + re.bytes > b->p.get() + b->n)
      return nullptr;
    auto m = std::make_unique<matrix<T>>();
    std::vector<long> dims = h.dims, strides(dims.size(), 1);
    for (std::size_t k = 1; k < dims.size(); ++k) strides[k] = strides[k - 1] * dims[k - 1];
    // The block adopts nothing when making it fails: the buffer is still b's.
    auto block = zo_container<T>::adopt(reinterpret_cast<T*>(const_cast<unsigned char*>(re.data)), h.count,
                                        &free_buffer, b->p.get());
    b->p.release();
    m->assign_block(std::move(block), std::move(dims), std::move(strides), 0);
    return m;
  }

  std::shared_ptr<zo_obj> chars(const array_header& h, bytes_t& p, bytes_t end) const {
    const element e = next(p, end);
    std::vector<std::uint32_t> units;
    if (e.type == mi_utf8) {
      if (e.bytes < h.count) corrupt();
      units.reserve(h.count);
      for (std::uint64_t i = 0; i < e.bytes;) {
        // The code points of the UTF-8 data, one per character.
        const unsigned c = e.data[i];
        // A byte that starts no valid sequence is one replacement character.
        int len = c < 0x80 ? 1 : c >= 0xF0 ? 4 : c >= 0xE0 ? 3 : c >= 0xC0 ? 2 : 0;
        for (int k = 1; k < len; ++k)
          if (i + k >= e.bytes || (e.data[i + k] & 0xC0) != 0x80) len = 0;
        std::uint32_t cp = 0xFFFD;
        if (len > 1) cp = c & (0x3F >> (len - 1));
        if (len == 1) cp = c;
        for (int k = 1; k < len; ++k) cp = (cp << 6) | (e.data[i + k] & 0x3F);
        units.push_back(cp);
        i += len ? len : 1;
      }
      if (units.size() != h.count) corrupt();
    } else if (e.bytes == 0 && h.count <= 4096) {
      // Some writers leave out the data of a short blank text.
      units.assign(h.count, ' ');
    } else {
      const element as_int{e.type == mi_utf16 ? mi_uint16 : e.type == mi_utf32 ? mi_uint32 : e.type, e.data, e.bytes};
      const std::size_t size = mat5_type_size(as_int.type);
      if (size == 0 || e.bytes % size || e.bytes / size != h.count) corrupt();  // before allocating
      units.resize(h.count);
      convert(as_int, h.count, units.data(), 1);
    }
    return mat_value(type_char, std::make_unique<matrix<char>>(mat5_units_to_chars(h.dims, units.data())));
  }

  template <class T>
  std::shared_ptr<zo_obj> sparse(const array_header& h, bytes_t& p, bytes_t end, zo_type kind) const {
    if (h.dims.size() != 2) corrupt();
    const long rows = h.dims[0], cols = h.dims[1];
    const element ir_e = next(p, end), jc_e = next(p, end);
    const std::size_t is = mat5_type_size(ir_e.type), js = mat5_type_size(jc_e.type);
    if (!is || !js || ir_e.bytes % is || jc_e.bytes != (cols + 1) * js) corrupt();
    std::vector<long> jc(cols + 1);
    convert(jc_e, cols + 1, jc.data(), 1);
    const long nnz = jc[cols];
    const std::uint64_t nir = ir_e.bytes / is;
    if (jc[0] != 0 || nnz < 0 || static_cast<std::uint64_t>(nnz) > nir) corrupt();
    for (long j = 0; j < cols; ++j)
      if (jc[j + 1] < jc[j]) corrupt();
    std::vector<long> ir(nir);
    convert(ir_e, nir, ir.data(), 1);
    bool sorted = true;
    for (long j = 0; j < cols; ++j)
      for (long k = jc[j]; k < jc[j + 1]; ++k) {
        if (ir[k] < 0 || ir[k] >= rows) corrupt();
        if (k > jc[j] && ir[k] <= ir[k - 1]) sorted = false;
      }
    // The values: pr (and pi) hold nnz or more entries (nzmax).
    std::unique_ptr<T[]> pr(new T[nnz]);
    using R = std::conditional_t<std::is_same_v<T, std::complex<double>>, double, T>;
    const int parts = std::is_same_v<T, std::complex<double>> ? 2 : 1;
    for (int part = 0; part < parts; ++part) {
      element v = next(p, end);
      // Some writers tag the bytes of a logical sparse matrix as doubles.
      if (std::is_same_v<T, bool> && v.type == mi_double && v.bytes == static_cast<std::uint64_t>(nnz)) v.type = mi_uint8;
      const std::size_t vs = mat5_type_size(v.type);
      if (!vs || v.bytes % vs || v.bytes / vs < static_cast<std::uint64_t>(nnz)) corrupt();
      v.bytes = nnz * vs;
      convert(v, nnz, reinterpret_cast<R*>(pr.get()) + part, parts);
    }
    auto s = std::make_unique<sparse_matrix<T>>(rows, cols, nnz, ir.data(), jc.data(), pr.get());
    if (!sorted) s->reorder();
    return mat_value(kind, std::move(s));
  }

  // The next element of [p, end) as a nested value (cells and structures).
  std::shared_ptr<zo_obj> nested(bytes_t& p, bytes_t end, int depth) const {
    const element e = next(p, end);
    if (e.type != mi_matrix) corrupt();
    array_header h;
    return value(e.data, e.data + e.bytes, depth + 1, h);
  }

  std::shared_ptr<zo_obj> cell(const array_header& h, bytes_t& p, bytes_t end, int depth) const {
    lendable = nullptr;  // its elements copy out of the buffer
    if (h.count > static_cast<std::uint64_t>(end - p) / 8) corrupt();
    matrix<cell_array::element> slots(h.dims);
    for (std::uint64_t k = 0; k < h.count; ++k) slots.data()[k] = nested(p, end, depth);
    return mat_value(type_cell, std::make_unique<cell_array>(std::move(slots)));
  }

  std::shared_ptr<zo_obj> record(const array_header& h, bytes_t& p, bytes_t end, int depth) const {
    lendable = nullptr;  // its elements copy out of the buffer
    if (h.cls == mx_object) next(p, end);  // the class name
    const element len_e = next(p, end);
    if ((len_e.type != mi_int32 && len_e.type != mi_uint32) || len_e.bytes != 4) corrupt();
    const std::int32_t len = load<std::int32_t>(len_e.data, swap);
    const element names_e = next(p, end);
    if (len <= 0 || (names_e.type != mi_int8 && names_e.type != mi_uint8) || names_e.bytes % len) corrupt();
    const std::uint64_t nf = names_e.bytes / len;
    if (nf && h.count > static_cast<std::uint64_t>(end - p) / 8 / nf) corrupt();
    auto s = std::make_unique<structure>(h.dims);
    std::vector<structure::field_table*> tables;
    for (std::uint64_t f = 0; f < nf; ++f) {
      const char* n = reinterpret_cast<const char*>(names_e.data) + f * len;
      std::string name(n, strnlen(n, len));
      if (name.empty()) corrupt();
      // A repeated name becomes _1_name, _2_name, ... (as SciPy reads it).
      // The common case, a new name, costs one look-up.
      const long before = s->nfields();
      structure::field_table* t = &s->create_field_table(name);
      for (int k = 1; s->nfields() == before; ++k)
        t = &s->create_field_table("_" + std::to_string(k) + "_" + std::string(n, strnlen(n, len)));
      tables.push_back(t);
    }
    for (std::uint64_t r = 0; r < (nf ? h.count : 0); ++r)
      for (auto* t : tables) t->data()[r] = nested(p, end, depth);
    return mat_value(type_struct, std::move(s));
  }

  // The value of the miMATRIX content [p, end); h gets its header.  An
  // element without content is an empty double.
  std::shared_ptr<zo_obj> value(bytes_t p, bytes_t end, int depth, array_header& h) const {
    if (p == end) return std::make_shared<zo_obj>(type_double, nullptr);
    if (depth > mat5_max_depth)
      throw std::runtime_error(str_format(tr("文件 %s 中单元数组或结构体的嵌套超过 %d 层"), file->c_str(), mat5_max_depth));
    h = header(p, end);
    const bool cplx = h.flags & mat5_flag_complex;
    if (h.flags & mat5_flag_logical && h.cls >= mx_double && h.cls <= mx_uint64 && !cplx)
      return dense<bool>(h, p, end, type_logical);
    switch (h.cls) {
      case mx_cell: return cell(h, p, end, depth);
      case mx_struct:
      case mx_object: return record(h, p, end, depth);
      case mx_char: return chars(h, p, end);
      case mx_sparse:
        if (h.flags & mat5_flag_logical) return sparse<bool>(h, p, end, type_sparse_logical);
        if (cplx) return sparse<std::complex<double>>(h, p, end, type_sparse_complex_double);
        return sparse<double>(h, p, end, type_sparse_double);
      case mx_single:
        if (cplx) return dense<std::complex<float>>(h, p, end, type_complex_single);
        return dense<float>(h, p, end, type_single);
      default: break;
    }
    if (h.cls < mx_double || h.cls > mx_uint64)
      throw std::runtime_error(str_format(tr("文件 %s 中的变量属于不能载入的类别（%u）"), file->c_str(), h.cls));
    if (cplx) return dense<std::complex<double>>(h, p, end, type_complex_double);
    switch (h.cls) {
#define ZORVAT_MAT5_READ(kind, T, cls, mi) \
  case cls:                                \
    return dense<T>(h, p, end, kind);
      ZORVAT_MAT5_NUMERIC(ZORVAT_MAT5_READ)
#undef ZORVAT_MAT5_READ
      default: corrupt();
    }
  }

  // A compressed variable: its miMATRIX element (tag included) inflated.
  // With `prefix`, at most that many bytes of it (for its header only).
  buffer inflate(const element& e, std::size_t prefix) {
    // The inner tag first, with zlib: it gives the size to inflate into.
    unsigned char tag[8];
    if (inflate_prefix(e, tag, 8) < 8 || u32(tag) != mi_matrix) corrupt();
    const std::uint64_t size = 8 + static_cast<std::uint64_t>(u32(tag + 4));
    // Deflate expands at most 1032 to 1.
    if (size > e.bytes * 1032 + 64) corrupt();
    buffer out;
    if (prefix < size) {
      out.p.reset(new unsigned char[prefix]);
      out.n = inflate_prefix(e, out.p.get(), prefix);
      return out;
    }
    if (!inflater) {
      inflater.reset(libdeflate_alloc_decompressor());
      if (!inflater) throw std::bad_alloc();
    }
    out.p.reset(new unsigned char[size + 8]);  // room for padding after the element
    std::size_t got = 0;
    if (libdeflate_zlib_decompress(inflater.get(), e.data, e.bytes, out.p.get(), size + 8, &got) !=
            LIBDEFLATE_SUCCESS ||
        got < size)
      corrupt();
    out.n = size;
    out.whole = true;
    return out;
  }
  // Inflates the first n bytes of e (zlib, streaming) into out; returns the
  // number of bytes there were.
  std::size_t inflate_prefix(const element& e, unsigned char* out, std::size_t n) const {
    z_stream z{};
    if (inflateInit(&z) != Z_OK) throw std::bad_alloc();
    z.next_in = const_cast<unsigned char*>(e.data);
    z.avail_in = static_cast<uInt>(e.bytes);
    z.next_out = out;
    z.avail_out = static_cast<uInt>(n);
    while (z.avail_out > 0 && inflate_step(z)) {
    }
    inflateEnd(&z);
    return n - z.avail_out;
  }
  bool inflate_step(z_stream& z) const {
    const int r = ::inflate(&z, Z_SYNC_FLUSH);
    if (r == Z_MEM_ERROR) throw std::bad_alloc();
    return r == Z_OK;
  }
};

// A mapped file, unmapped when done.
struct mapping {
  void* p = MAP_FAILED;
  std::size_t size = 0;
  ~mapping() {
    if (p != MAP_FAILED) ::munmap(p, size);
  }
};

// Variable names are ASCII (as every writer makes them).
bool ascii_name(const std::string& s) {
  for (unsigned char c : s)
    if (c >= 0x80) return false;
  return true;
}

// Calls f(header, value maker) for every variable of the level 5 image
// [data, data + size): the maker reads the value when called.
template <class F>
void each_variable(reader& rd, bytes_t data, std::size_t size, std::size_t header_prefix, F f) {
  if (size < mat5_header_size) rd.corrupt();
  rd.swap = data[126] == 'M';
  bytes_t p = data + mat5_header_size, end = data + size;
  while (p < end) {
    rd.where = static_cast<std::uint64_t>(p - data);
    if (end - p < 8) rd.corrupt();
    const element e = rd.next(p, end);
    if (e.type == mi_matrix) {
      array_header h;
      bytes_t q = e.data;
      if (e.bytes == 0) continue;
      h = rd.header(q, e.data + e.bytes);
      if (h.name.empty()) continue;
      if (!ascii_name(h.name)) rd.corrupt();
      f(h, [&] { return rd.value(e.data, e.data + e.bytes, 0, h); });
    } else if (e.type == mi_compressed) {
      p = e.data + e.bytes;  // compressed variables are not padded
      // The header from the first bytes; from the whole element when they
      // do not hold it all (the value then reads that same buffer).
      buffer head = rd.inflate(e, header_prefix);
      array_header h;
      for (bool whole = false;; whole = true) {
        try {
          bytes_t q = head.p.get();
          const element inner = rd.next(q, head.p.get() + head.n);
          bytes_t r = inner.data;
          h = rd.header(r, inner.data + inner.bytes);
          break;
        } catch (const std::runtime_error&) {
          if (whole || head.n < header_prefix) throw;
          head = rd.inflate(e, SIZE_MAX);
        }
      }
      if (h.name.empty()) continue;
      if (!ascii_name(h.name)) rd.corrupt();
      f(h, [&] {
        // The header may have needed the whole element already.
        buffer all = head.whole ? std::move(head) : rd.inflate(e, SIZE_MAX);
        bytes_t a = all.p.get();
        const element m = rd.next(a, all.p.get() + all.n);
        array_header h2;
        rd.lendable = &all;
        struct unlend {
          reader& r;
          ~unlend() { r.lendable = nullptr; }
        } guard{rd};
        return rd.value(m.data, m.data + m.bytes, 0, h2);
      });
    } else {
      rd.corrupt();
    }
  }
}

// The kind that a header loads as.
zo_type kind_of(const array_header& h) {
  const bool cplx = h.flags & mat5_flag_complex;
  if (h.flags & mat5_flag_logical && h.cls != mx_sparse) return type_logical;
  switch (h.cls) {
    case mx_cell: return type_cell;
    case mx_struct:
    case mx_object: return type_struct;
    case mx_char: return type_char;
    case mx_sparse:
      return h.flags & mat5_flag_logical ? type_sparse_logical : cplx ? type_sparse_complex_double : type_sparse_double;
    case mx_single: return cplx ? type_complex_single : type_single;
    default: break;
  }
  if (cplx) return type_complex_double;
  switch (h.cls) {
#define ZORVAT_MAT5_KIND(kind, T, cls, mi) \
  case cls:                                \
    return kind;
    ZORVAT_MAT5_NUMERIC(ZORVAT_MAT5_KIND)
#undef ZORVAT_MAT5_KIND
    default: return type_error;
  }
}

template <class F>
void with_file(const std::string& path, F f) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) throw std::runtime_error(str_format(tr("无法打开文件 %s：%s"), path.c_str(), std::strerror(errno)));
  struct stat st {};
  mapping m;
  if (::fstat(fd, &st) == 0 && st.st_size > 0) {
    m.size = static_cast<std::size_t>(st.st_size);
    // Populated at once: demand faults page by page cost more than the read.
    m.p = ::mmap(nullptr, m.size, PROT_READ, MAP_PRIVATE | MAP_POPULATE, fd, 0);
  }
  const int err = errno;
  ::close(fd);
  if (m.p == MAP_FAILED) throw std::runtime_error(str_format(tr("无法打开文件 %s：%s"), path.c_str(), std::strerror(err)));
  f(static_cast<bytes_t>(m.p), m.size);
}

}  // namespace

std::vector<loaded_value> mat5_read_memory(const unsigned char* data, std::size_t size,
                                           const std::vector<std::string>& names, const std::string& label) {
  reader rd;
  rd.file = &label;
  std::vector<loaded_value> out;
  const std::set<std::string> wanted(names.begin(), names.end());
  std::set<std::string> found;
  each_variable(rd, data, size, 4096, [&](const array_header& h, auto read) {
    if (!wanted.empty() && !wanted.count(h.name)) return;
    found.insert(h.name);
    out.emplace_back(h.name, read());
  });
  for (const auto& n : names)
    if (!found.count(n))
      throw std::runtime_error(str_format(tr("文件 %s 中没有变量 %s"), label.c_str(), n.c_str()));
  return out;
}

std::vector<loaded_value> mat5_read(const std::string& path, const std::vector<std::string>& names) {
  std::vector<loaded_value> out;
  with_file(path, [&](bytes_t data, std::size_t size) { out = mat5_read_memory(data, size, names, path); });
  return out;
}

std::vector<mat_variable_info> mat5_list(const std::string& path) {
  std::vector<mat_variable_info> out;
  with_file(path, [&](bytes_t data, std::size_t size) {
    reader rd;
    rd.file = &path;
    each_variable(rd, data, size, 4096, [&](const array_header& h, auto) {
      mat_variable_info info;
      info.name = h.name;
      info.kind = kind_of(h);
      info.dims = h.dims;
      info.is_complex = h.flags & mat5_flag_complex;
      info.is_sparse = h.cls == mx_sparse;
      out.push_back(std::move(info));
    });
  });
  return out;
}

}  // namespace internal
}  // namespace zorvat
