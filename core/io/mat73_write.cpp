// mat73_write.cpp: values -> libmatio variable trees for version 7.3 files.
//
// Dense data is handed to libmatio without a copy where the array is
// contiguous (MAT_F_DONT_COPY_DATA, the buffers kept alive in the arena);
// complex arrays are split into their real and imaginary parts, logical
// arrays go as uint8 with the logical flag, char arrays as UTF-16 code units,
// sparse matrices as packed 32-bit row and column indices (libmatio's
// limit), sparse single as sparse double, string arrays as cells of char
// rows.  An empty cell slot or structure field is written as an empty 0x0
// double.  libmatio writes an empty array without its complex flag, so an
// empty complex array comes back real.
#include <algorithm>
#include <complex>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <type_traits>

#include "io/mat73_detail.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/kind_table.h"
#include "value/structure.h"

namespace zorvat {
namespace internal {

namespace {

template <class T>
struct is_complex : std::false_type {};
template <class T>
struct is_complex<std::complex<T>> : std::true_type {};

// A buffer of n elements owned by the arena.
template <class T>
T* arena_buffer(mat73_arena& arena, size_t n) {
  auto block = std::shared_ptr<T[]>(new T[n > 0 ? n : 1]);
  arena.push_back(block);
  return block.get();
}

std::vector<size_t> size_dims(const std::vector<long>& dims) {
  return std::vector<size_t>(dims.begin(), dims.end());
}

matvar_ptr checked(matvar_t* v, const std::string& var) {
  if (!v) throw std::runtime_error(str_format(tr("无法为 MAT 文件准备变量 %s"), var.c_str()));
  return matvar_ptr(v);
}

matvar_ptr make_var(const char* name, matio_classes c, matio_types t, std::vector<long> dims, void* data,
                    int flags, const std::string& var) {
  std::vector<size_t> d = size_dims(dims);
  return checked(
      Mat_VarCreate(name, c, t, static_cast<int>(d.size()), d.data(), data, flags | MAT_F_DONT_COPY_DATA),
      var);
}

// A real or complex dense array of a real element type of the table.
template <class T>
matvar_ptr dense_var(const char* name, const matrix<T>& m, const std::string& var, mat73_arena& arena) {
  auto c = std::make_shared<matrix<T>>(m.contiguous());
  const size_t n = static_cast<size_t>(c->size());
  if constexpr (is_complex<T>::value) {
    using R = typename T::value_type;
    R* re = arena_buffer<R>(arena, n);
    R* im = arena_buffer<R>(arena, n);
    for (size_t i = 0; i < n; ++i) re[i] = c->data()[i].real(), im[i] = c->data()[i].imag();
    auto* split = arena_buffer<mat_complex_split_t>(arena, 1);
    *split = {re, im};
    return make_var(name, mat73_real<R>::class_type, mat73_real<R>::data_type, c->dim_vec(),
                    n ? split : nullptr, MAT_F_COMPLEX, var);
  } else {
    arena.push_back(c);
    if constexpr (std::is_same_v<T, bool>) {
      static_assert(sizeof(bool) == 1, "logical arrays are written as their bytes");
      return make_var(name, MAT_C_UINT8, MAT_T_UINT8, c->dim_vec(), n ? c->data() : nullptr, MAT_F_LOGICAL,
                      var);
    } else {
      return make_var(name, mat73_real<T>::class_type, mat73_real<T>::data_type, c->dim_vec(),
                      n ? c->data() : nullptr, 0, var);
    }
  }
}

matvar_ptr char_var(const char* name, const matrix<char>& m, const std::string& var, mat73_arena& arena) {
  std::vector<long> dims;
  auto units = std::make_shared<std::vector<unsigned short>>(mat73_utf16_of(m, dims));
  arena.push_back(units);
  return make_var(name, MAT_C_CHAR, MAT_T_UINT16, dims, units->empty() ? nullptr : units->data(), 0, var);
}

// A sparse matrix packed column by column (slack dropped, rows sorted).
template <class T>
matvar_ptr sparse_var(const char* name, const sparse_matrix<T>& s, const std::string& var,
                      mat73_arena& arena) {
  constexpr unsigned long limit = std::numeric_limits<mat_uint32_t>::max();
  const long m = s.rows(), n = s.cols();
  unsigned long nnz = 0;
  for (long j = 0; j < n; ++j) nnz += static_cast<unsigned long>(s.jce()[j] - s.jc()[j]);
  if (nnz > limit || static_cast<unsigned long>(n) >= limit || static_cast<unsigned long>(m) > limit + 1)
    throw std::runtime_error(str_format(
        tr("变量 %s 是 %ldx%ld 的稀疏矩阵，有 %lu 个非零元素：7.3 版 MAT 文件的稀疏矩阵最多 4294967295 行、"
           "4294967294 列和 4294967295 个非零元素"),
        var.c_str(), m, n, nnz));
  using R = std::conditional_t<std::is_same_v<T, bool>, unsigned char, double>;
  auto* ir = arena_buffer<mat_uint32_t>(arena, nnz);
  auto* jc = arena_buffer<mat_uint32_t>(arena, static_cast<size_t>(n) + 1);
  R* re = arena_buffer<R>(arena, nnz);
  R* im = is_complex<T>::value ? arena_buffer<R>(arena, nnz) : nullptr;
  std::vector<std::pair<long, T>> column;
  size_t k = 0;
  for (long j = 0; j < n; ++j) {
    jc[j] = static_cast<mat_uint32_t>(k);
    column.clear();
    for (long p = s.jc()[j]; p < s.jce()[j]; ++p) column.emplace_back(s.ir()[p], s.pr()[p]);
    std::stable_sort(column.begin(), column.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& e : column) {
      ir[k] = static_cast<mat_uint32_t>(e.first);
      if constexpr (is_complex<T>::value) {
        re[k] = e.second.real(), im[k] = e.second.imag();
      } else {
        re[k] = static_cast<R>(e.second);
      }
      ++k;
    }
  }
  jc[n] = static_cast<mat_uint32_t>(k);
  auto* sp = arena_buffer<mat_sparse_t>(arena, 1);
  const auto nz = static_cast<mat_uint32_t>(nnz);
  *sp = {nz, ir, nz, jc, static_cast<mat_uint32_t>(n + 1), nz, re};
  int flags = 0;
  if constexpr (is_complex<T>::value) {
    auto* split = arena_buffer<mat_complex_split_t>(arena, 1);
    *split = {re, im};
    sp->data = split;
    flags = MAT_F_COMPLEX;
  }
  if constexpr (std::is_same_v<T, bool>) flags = MAT_F_LOGICAL;
  return make_var(name, MAT_C_SPARSE, std::is_same_v<T, bool> ? MAT_T_UINT8 : MAT_T_DOUBLE, {m, n}, sp, flags,
                  var);
}

// The element or field value at position i; a null one stands for an empty
// 0x0 double.
const zo_obj* element_at(const matrix<std::shared_ptr<zo_obj>>& elements, long i) {
  static const zo_obj empty_value(type_double, new matrix<double>());
  const auto& e = elements.data()[i];
  return e ? e.get() : &empty_value;
}

// Puts e into slot i of the cell or structure v (by `set`), checking that
// it landed there; v owns e from then on.
template <class Set>
void adopt(matvar_t* v, size_t slot, matvar_ptr e, const std::string& var, Set set) {
  auto** slots = static_cast<matvar_t**>(v->data);
  if (!slots) throw std::runtime_error(str_format(tr("无法为 MAT 文件准备变量 %s"), var.c_str()));
  set(e.get());
  if (slots[slot] != e.get())
    throw std::runtime_error(str_format(tr("无法为 MAT 文件准备变量 %s"), var.c_str()));
  e.release();
}

matvar_ptr cell_var(const char* name, const cell_array& c, const std::string& var, mat73_arena& arena,
                    int depth) {
  const auto elements = c.data().contiguous();
  if (elements.size() > std::numeric_limits<int>::max())
    throw std::runtime_error(str_format(tr("变量 %s 的单元数组有 %ld 个元素，7.3 版 MAT 文件最多写入 %d 个"),
                                        var.c_str(), elements.size(), std::numeric_limits<int>::max()));
  std::vector<size_t> d = size_dims(elements.dim_vec());
  matvar_ptr v = checked(
      Mat_VarCreate(name, MAT_C_CELL, MAT_T_CELL, static_cast<int>(d.size()), d.data(), nullptr, 0), var);
  for (long i = 0; i < elements.size(); ++i)
    adopt(v.get(), static_cast<size_t>(i),
          mat73_to_matvar(nullptr, element_at(elements, i), var, arena, depth + 1), var,
          [&](matvar_t* e) { Mat_VarSetCell(v.get(), static_cast<int>(i), e); });
  return v;
}

matvar_ptr struct_var(const char* name, const structure& s, const std::string& var, mat73_arena& arena,
                      int depth) {
  const auto& names = s.fieldnames();
  std::vector<const char*> fields;
  for (const auto& f : names) {
    if (f.empty() || f.find('/') != std::string::npos || f.find('\0') != std::string::npos)
      throw std::runtime_error(
          str_format(tr("变量 %s 的结构体字段名“%s”不能写入 7.3 版 MAT 文件"), var.c_str(), f.c_str()));
    fields.push_back(f.c_str());
  }
  fields.push_back(nullptr);
  std::vector<size_t> d = size_dims(s.dim_vec());
  matvar_ptr v =
      checked(Mat_VarCreateStruct2(name, static_cast<int>(d.size()), d.data(), fields.data()), var);
  const long records = s.numel();
  for (size_t f = 0; f < names.size(); ++f) {
    const auto table = s.get_field_table(names[f]).contiguous();
    for (long i = 0; i < records; ++i)
      adopt(v.get(), static_cast<size_t>(i) * names.size() + f,
            mat73_to_matvar(nullptr, element_at(table, i), var, arena, depth + 1), var,
            [&](matvar_t* e) { Mat_VarSetStructFieldByIndex(v.get(), f, static_cast<size_t>(i), e); });
  }
  return v;
}

// A string array as a cell of the same dims whose elements are char rows.
matvar_ptr strings_var(const char* name, const matrix<std::string>& strings, const std::string& var,
                       mat73_arena& arena, int depth) {
  const auto elements = strings.contiguous();
  cell_array rows(elements.dim_vec());
  for (long i = 0; i < elements.size(); ++i) {
    const std::string& t = elements.data()[i];
    auto row = std::make_unique<matrix<char>>(1, static_cast<long>(t.size()));
    std::copy(t.begin(), t.end(), row->data());
    zo_obj value(type_char, row.release());
    rows.data().data()[i] = std::make_shared<zo_obj>(std::move(value));
  }
  return cell_var(name, rows, var, arena, depth);
}

template <class P>
struct dense_elements : std::false_type {};
template <class T>
struct dense_elements<matrix<T>> : std::bool_constant<std::is_arithmetic_v<T> || is_complex<T>::value> {};
template <class P>
struct sparse_elements : std::false_type {};
template <class T>
struct sparse_elements<sparse_matrix<T>> : std::true_type {};

}  // namespace

matvar_ptr mat73_to_matvar(const char* name, const zo_obj* value, const std::string& var, mat73_arena& arena,
                           int depth) {
  if (depth > mat73_max_depth)
    throw std::runtime_error(
        str_format(tr("变量 %s 的单元数组或结构体嵌套超过 %d 层，不能保存"), var.c_str(), mat73_max_depth));
  const zo_type t = value->type;
  if (!value->payload() && ((t >= type_int8 && t <= type_logical) || t == type_cell || t == type_struct ||
                            t == type_string || (t >= type_sparse_double && t <= type_sparse_logical))) {
    // A value without its payload stands for an empty one of its kind.
    zo_obj empty;
    empty.reset(t, true);
    if (empty.payload()) return mat73_to_matvar(name, &empty, var, arena, depth);
  }
  matvar_ptr v;
  if (value->payload())
    v = visit_kind(t, [&](auto k) -> matvar_ptr {
      using P = typename decltype(k)::payload;
      const P* p = static_cast<const P*>(value->payload());
      if constexpr (std::is_same_v<P, matrix<char>>)
        return char_var(name, *p, var, arena);
      else if constexpr (dense_elements<P>::value)
        return dense_var(name, *p, var, arena);
      else if constexpr (sparse_elements<P>::value)
        return sparse_var(name, *p, var, arena);
      else if constexpr (std::is_same_v<P, cell_array>)
        return cell_var(name, *p, var, arena, depth);
      else if constexpr (std::is_same_v<P, structure>)
        return struct_var(name, *p, var, arena, depth);
      else if constexpr (std::is_same_v<P, matrix<std::string>>)
        return strings_var(name, *p, var, arena, depth);
      else
        return nullptr;
    });
  if (!v)
    throw std::runtime_error(
        str_format(tr("变量 %s 的类型 %s 不能保存到 MAT 文件"), var.c_str(), type_str(t)));
  return v;
}

}  // namespace internal
}  // namespace zorvat
