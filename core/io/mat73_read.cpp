// mat73_read.cpp: libmatio variable trees -> values, for version 7.3 files.
//
// Nothing that libmatio returns is trusted: every pointer, the rank, the
// dims, the element size and the byte count are checked against the class
// before the data is touched, sparse indices are checked to lie inside the
// matrix in increasing order, and a tree deeper than mat73_max_depth is
// refused.  Any failure throws before a value is handed out.
//
// As for the level 5 layout: complex integers load as complex double, and
// sparse matrices as sparse double, complex double or logical.
#include <cstring>
#include <limits>
#include <stdexcept>

#include "io/mat73_detail.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace zorvat {
namespace internal {

namespace {

// The most dims a variable may have.
constexpr int max_rank = 64;

// Calls f(T{}) for the element type of a real class; false for other classes.
template <class F>
bool visit_real_class(int c, F&& f) {
  switch (c) {
#define ZORVAT_MAT73_CLASS_CASE(T, C, D) \
  case C:                                \
    f(static_cast<T>(0));                \
    return true;
    ZORVAT_FOR_EACH_MAT73_REAL_TYPE(ZORVAT_MAT73_CLASS_CASE)
#undef ZORVAT_MAT73_CLASS_CASE
    default:
      return false;
  }
}

// Element k of data of libmatio type t as D; false for a type that is no
// real number type of the table.
template <class D>
bool convert_elements(const void* data, int t, size_t n, D* out) {
  switch (t) {
#define ZORVAT_MAT73_TYPE_CASE(T, C, DT)                                                    \
  case DT:                                                                                  \
    for (size_t k = 0; k < n; ++k) out[k] = static_cast<D>(static_cast<const T*>(data)[k]); \
    return true;
    ZORVAT_FOR_EACH_MAT73_REAL_TYPE(ZORVAT_MAT73_TYPE_CASE)
#undef ZORVAT_MAT73_TYPE_CASE
    default:
      return false;
  }
}

// A fresh value of kind t (its default payload) and that payload.
template <class P>
P& fresh(std::shared_ptr<zo_obj>& out, zo_type t) {
  out = std::make_shared<zo_obj>();
  out->reset(t, true);
  return out->get<P>();
}

[[noreturn]] void unsupported(const std::string& path, const std::string& var) {
  throw std::runtime_error(
      str_format(tr("MAT 文件 %s 中的变量 %s 属于不能载入的类型"), path.c_str(), var.c_str()));
}

struct reader {
  const std::string& path;
  const std::string& var;

  [[noreturn]] void corrupt() const { mat73_corrupt(path, var); }
  void check(bool ok) const {
    if (!ok) corrupt();
  }

  // A dense real or complex array of element type T (logical when flagged).
  template <class T>
  std::shared_ptr<zo_obj> dense(const matvar_t* v, const std::vector<long>& dims, long count) const {
    const size_t n = static_cast<size_t>(count);
    if (n > 0) {
      check(v->data != nullptr && v->data_type == mat73_real<T>::data_type &&
            v->data_size == static_cast<int>(sizeof(T)));
      check(v->isComplex || v->nbytes / sizeof(T) >= n);
    }
    std::shared_ptr<zo_obj> out;
    if (v->isLogical) {
      check(!v->isComplex);
      auto& m = fresh<matrix<bool>>(out, type_logical);
      m.resize(dims);
      const T* src = static_cast<const T*>(v->data);
      for (size_t k = 0; k < n; ++k) m.data()[k] = src[k] != T(0);
      return out;
    }
    if (!v->isComplex) {
      auto& m = fresh<matrix<T>>(out, kind_of<T>());
      m.resize(dims);
      if (n > 0) std::memcpy(m.data(), v->data, n * sizeof(T));
      return out;
    }
    // Complex integers have no kind here: they load as complex double.
    using R = std::conditional_t<std::is_same_v<T, float>, float, double>;
    const auto* split = static_cast<const mat_complex_split_t*>(v->data);
    if (n > 0) check(split->Re != nullptr && split->Im != nullptr);
    auto& m = fresh<matrix<std::complex<R>>>(
        out, std::is_same_v<R, double> ? type_complex_double : type_complex_single);
    m.resize(dims);
    for (size_t k = 0; k < n; ++k)
      m.data()[k] = {static_cast<R>(static_cast<const T*>(split->Re)[k]),
                     static_cast<R>(static_cast<const T*>(split->Im)[k])};
    return out;
  }

  template <class T>
  static zo_type kind_of() {
    zo_type t = type_error;
#define ZORVAT_MAT73_KIND(id, P, E, fill, name, cell_name) \
  if (std::is_same_v<E, T>) t = id;
    ZORVAT_FOR_EACH_KIND(ZORVAT_MAT73_KIND)
#undef ZORVAT_MAT73_KIND
    return t;
  }

  std::shared_ptr<zo_obj> text(const matvar_t* v, const std::vector<long>& dims, long count) const {
    check(!v->isComplex);
    const int width = v->data_size;
    if (count > 0)
      check(v->data != nullptr && (width == 1 || width == 2 || width == 4) &&
            v->nbytes / static_cast<size_t>(width) >= static_cast<size_t>(count));
    std::shared_ptr<zo_obj> out;
    fresh<matrix<char>>(out, type_char) = mat73_utf8_of(v->data, width, dims);
    return out;
  }

  template <class T>
  static std::shared_ptr<zo_obj> adopt_sparse(sparse_matrix<T>&& s, zo_type t) {
    std::shared_ptr<zo_obj> out;
    fresh<sparse_matrix<T>>(out, t).swap(s);
    return out;
  }

  std::shared_ptr<zo_obj> sparse(const matvar_t* v, const std::vector<long>& dims) const {
    check(dims.size() == 2 && v->data != nullptr);
    const auto* sp = static_cast<const mat_sparse_t*>(v->data);
    const long m = dims[0], n = dims[1];
    check(sp->jc != nullptr && static_cast<unsigned long>(sp->njc) == static_cast<unsigned long>(n) + 1);
    check(sp->jc[0] == 0);
    for (long j = 0; j < n; ++j) check(sp->jc[j] <= sp->jc[j + 1]);
    const size_t nnz = sp->jc[n];
    check(nnz <= sp->nir && nnz <= sp->ndata && (nnz == 0 || (sp->ir && sp->data)));
    std::vector<long> ir(nnz > 0 ? nnz : 1), jc(static_cast<size_t>(n) + 1);
    for (long j = 0; j <= n; ++j) jc[static_cast<size_t>(j)] = sp->jc[j];
    for (long j = 0; j < n; ++j)
      for (size_t k = sp->jc[j]; k < sp->jc[j + 1]; ++k) {
        check(sp->ir[k] < static_cast<unsigned long>(m) && (k == sp->jc[j] || sp->ir[k - 1] < sp->ir[k]));
        ir[k] = sp->ir[k];
      }
    if (v->isLogical) {
      check(!v->isComplex);
      auto values = std::make_unique<bool[]>(nnz > 0 ? nnz : 1);
      std::vector<double> tmp(nnz);
      check(convert_elements(sp->data, v->data_type, nnz, tmp.data()));
      for (size_t k = 0; k < nnz; ++k) values[k] = tmp[k] != 0;
      return adopt_sparse(
          sparse_matrix<bool>(m, n, static_cast<long>(nnz), ir.data(), jc.data(), values.get()),
          type_sparse_logical);
    }
    if (!v->isComplex) {
      std::vector<double> values(nnz > 0 ? nnz : 1);
      check(convert_elements(sp->data, v->data_type, nnz, values.data()));
      return adopt_sparse(
          sparse_matrix<double>(m, n, static_cast<long>(nnz), ir.data(), jc.data(), values.data()),
          type_sparse_double);
    }
    const auto* split = static_cast<const mat_complex_split_t*>(sp->data);
    check(nnz == 0 || (split->Re && split->Im));
    std::vector<double> re(nnz), im(nnz);
    check(convert_elements(split->Re, v->data_type, nnz, re.data()) &&
          convert_elements(split->Im, v->data_type, nnz, im.data()));
    std::vector<std::complex<double>> values(nnz > 0 ? nnz : 1);
    for (size_t k = 0; k < nnz; ++k) values[k] = {re[k], im[k]};
    return adopt_sparse(sparse_matrix<std::complex<double>>(m, n, static_cast<long>(nnz), ir.data(),
                                                            jc.data(), values.data()),
                        type_sparse_complex_double);
  }

  // The element pointers of a cell (count) or structure (count * fields).
  matvar_t* const* slots(const matvar_t* v, size_t n) const {
    if (n == 0) return nullptr;
    check(v->data != nullptr && v->nbytes / sizeof(matvar_t*) >= n);
    return static_cast<matvar_t* const*>(v->data);
  }

  std::shared_ptr<zo_obj> element(const matvar_t* e, int depth) const {
    std::shared_ptr<zo_obj> out;
    if (!e) fresh<matrix<double>>(out, type_double);
    return e ? mat73_from_matvar(e, path, var, depth + 1) : out;
  }

  std::shared_ptr<zo_obj> cell(const matvar_t* v, const std::vector<long>& dims, long count,
                               int depth) const {
    matvar_t* const* e = slots(v, static_cast<size_t>(count));
    std::shared_ptr<zo_obj> out;
    auto& c = fresh<cell_array>(out, type_cell);
    c = cell_array(dims);
    for (long i = 0; i < count; ++i) c.data().data()[i] = element(e[i], depth);
    return out;
  }

  std::shared_ptr<zo_obj> record(const matvar_t* v, const std::vector<long>& dims, long count,
                                 int depth) const {
    const unsigned nfields = Mat_VarGetNumberOfFields(const_cast<matvar_t*>(v));
    char* const* names = nfields ? Mat_VarGetStructFieldnames(v) : nullptr;
    check(nfields == 0 || names != nullptr);
    check(count == 0 || nfields <= std::numeric_limits<long>::max() / count);
    matvar_t* const* e = slots(v, static_cast<size_t>(count) * nfields);
    std::shared_ptr<zo_obj> out;
    auto& s = fresh<structure>(out, type_struct);
    s = structure(dims);
    for (unsigned f = 0; f < nfields; ++f) {
      check(names[f] != nullptr && names[f][0] != '\0' && !s.isfield(names[f]));
      auto& table = s.create_field_table(names[f]);
      for (long i = 0; i < count; ++i)
        table.data()[i] = element(e[static_cast<size_t>(i) * nfields + f], depth);
    }
    return out;
  }
};

}  // namespace

[[noreturn]] void mat73_corrupt(const std::string& path, const std::string& var) {
  throw std::runtime_error(
      str_format(tr("MAT 文件 %s 中的变量 %s 已损坏或格式无效"), path.c_str(), var.c_str()));
}

std::vector<long> mat73_dims(const matvar_t* v, const std::string& path, const std::string& var,
                             long& count) {
  if (v->rank < 1 || v->rank > max_rank || !v->dims) mat73_corrupt(path, var);
  std::vector<long> dims(static_cast<size_t>(v->rank < 2 ? 2 : v->rank), 1);
  count = 1;
  for (int k = 0; k < v->rank; ++k) {
    const size_t d = v->dims[k];
    if (d > static_cast<size_t>(std::numeric_limits<long>::max())) mat73_corrupt(path, var);
    dims[static_cast<size_t>(k)] = static_cast<long>(d);
    if (d != 0 && count > std::numeric_limits<long>::max() / static_cast<long>(d)) mat73_corrupt(path, var);
    count *= static_cast<long>(d);
  }
  return dims;
}

std::shared_ptr<zo_obj> mat73_from_matvar(const matvar_t* v, const std::string& path, const std::string& var,
                                          int depth) {
  const reader r{path, var};
  if (depth > mat73_max_depth) r.corrupt();
  long count = 0;
  const std::vector<long> dims = mat73_dims(v, path, var, count);
  std::shared_ptr<zo_obj> out;
  switch (v->class_type) {
    case MAT_C_CHAR:
      return r.text(v, dims, count);
    case MAT_C_SPARSE:
      return r.sparse(v, dims);
    case MAT_C_CELL:
      return r.cell(v, dims, count, depth);
    case MAT_C_STRUCT:
      return r.record(v, dims, count, depth);
    case MAT_C_EMPTY:
      if (count != 0) r.corrupt();
      fresh<matrix<double>>(out, type_double).resize(dims);
      return out;
    default:
      if (!visit_real_class(v->class_type, [&](auto t) { out = r.dense<decltype(t)>(v, dims, count); }))
        unsupported(path, var);
      return out;
  }
}

namespace {

mat_variable_info info_impl(const matvar_t* v, const std::string& path, const std::string& var,
                            unsigned long& bytes, int depth) {
  if (depth > mat73_max_depth) mat73_corrupt(path, var);
  mat_variable_info info;
  info.name = var;
  long count = 0;
  info.dims = mat73_dims(v, path, var, count);
  info.is_complex = v->isComplex != 0;
  const auto add = [&](unsigned long b) {
    bytes = b > std::numeric_limits<unsigned long>::max() - bytes ? std::numeric_limits<unsigned long>::max()
                                                                  : bytes + b;
  };
  switch (v->class_type) {
    case MAT_C_CHAR:
      info.kind = type_char;
      add(static_cast<unsigned long>(count) * 4);
      break;
    case MAT_C_SPARSE:
      info.is_sparse = true;
      info.kind = v->isLogical   ? type_sparse_logical
                  : v->isComplex ? type_sparse_complex_double
                                 : type_sparse_double;
      break;
    case MAT_C_CELL:
    case MAT_C_STRUCT: {
      info.kind = v->class_type == MAT_C_CELL ? type_cell : type_struct;
      // The elements read without data are there to be summed when libmatio
      // gave them.
      const size_t n = v->class_type == MAT_C_CELL
                           ? static_cast<size_t>(count)
                           : static_cast<size_t>(count) * Mat_VarGetNumberOfFields(const_cast<matvar_t*>(v));
      if (v->data && v->nbytes / sizeof(matvar_t*) >= n)
        for (size_t i = 0; i < n; ++i)
          if (const matvar_t* e = static_cast<matvar_t* const*>(v->data)[i]) {
            unsigned long inner = 0;
            info_impl(e, path, var, inner, depth + 1);
            add(inner);
          }
      break;
    }
    case MAT_C_EMPTY:
      info.kind = type_double;
      break;
    default:
      info.kind = type_error;
      visit_real_class(v->class_type, [&](auto t) {
        using T = decltype(t);
        info.kind = v->isLogical ? type_logical : reader::kind_of<T>();
        if (v->isComplex && !v->isLogical)
          info.kind = std::is_same_v<T, float> ? type_complex_single : type_complex_double;
        add(static_cast<unsigned long>(count) * sizeof(T) * (v->isComplex ? 2 : 1));
      });
  }
  return info;
}

}  // namespace

mat_variable_info mat73_info(const matvar_t* v, const std::string& path, unsigned long& bytes) {
  return info_impl(v, path, v->name ? v->name : "", bytes, 0);
}

}  // namespace internal
}  // namespace zorvat
