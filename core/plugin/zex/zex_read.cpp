// zex_read.cpp: libzex.so, reading values.
#include "plugin/zex/zex_detail.h"

#include <algorithm>
#include <type_traits>

using namespace zorvat;
using namespace zorvat::internal;
using namespace zorvat::internal::zex;

extern "C" {

// ---- Reading values -------------------------------------------------------------

zxKind zxGetKind(const __zxArray* value) {
  return guard("zxGetKind", zxKindError, [&] { return static_cast<zxKind>(in(value).type); });
}

const char* zxGetClassName(const __zxArray* value) {
  return guard("zxGetClassName", static_cast<const char*>(nullptr), [&] {
    static std::string name;
    name = class_name(in(value));
    return name.c_str();
  });
}

int zxIsNumeric(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return is_numeric_kind(v.type); });
}
int zxIsComplex(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return is_complex_kind(v.type); });
}
int zxIsDouble(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) {
    return v.type == dense_kind_of<double>() || v.type == dense_kind_of<std::complex<double>>();
  });
}
int zxIsLogical(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return is_logical_kind(v.type); });
}
int zxIsChar(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return v.type == type_char; });
}
int zxIsString(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return v.type == type_string; });
}
int zxIsCell(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return v.type == type_cell; });
}
int zxIsStruct(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return v.type == type_struct; });
}
int zxIsSparse(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return is_sparse_kind(v.type); });
}
int zxIsEmpty(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return numel_of(v) == 0; });
}
int zxIsScalar(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return numel_of(v) == 1; });
}
int zxIsClass(const __zxArray* value, const char* name) {
  return predicate(value, [&](const zo_obj& v) { return name && class_name(v) == name; });
}

int zxGetNumberOfDimensions(const __zxArray* value) {
  return guard("zxGetNumberOfDimensions", 0, [&] { return static_cast<int>(dims_of(in(value)).size()); });
}

const long* zxGetDimensions(const __zxArray* value) {
  return guard("zxGetDimensions", static_cast<const long*>(nullptr), [&] { return dims_of(in(value)).data(); });
}

long zxGetM(const __zxArray* value) {
  return guard("zxGetM", -1L, [&] { return dims_of(in(value))[0]; });
}

long zxGetN(const __zxArray* value) {
  return guard("zxGetN", -1L, [&] {
    const std::vector<long>& d = dims_of(in(value));
    long n = 1;
    for (size_t k = 1; k < d.size(); ++k) n *= d[k];
    return n;
  });
}

long zxGetNumberOfElements(const __zxArray* value) {
  return guard("zxGetNumberOfElements", -1L, [&] { return numel_of(in(value)); });
}

const void* zxGetData(const __zxArray* value) {
  return guard("zxGetData", static_cast<const void*>(nullptr), [&] { return dense_data(in(value)); });
}

void* zxGetWritableData(__zxArray* value) {
  return guard("zxGetWritableData", static_cast<void*>(nullptr), [&] {
    const zo_obj& v = mine(value);
    with_dense(v, [](const auto&) { return 0; });  // refuses other kinds before copying
    zo_obj& w = writable(value);
    with_dense(w, [](const auto& m) {
      // Writes must reach this value alone, in column-major order: an array
      // that is a view, or shares its block with another array, becomes a
      // packed private copy first.
      using M = std::decay_t<decltype(m)>;
      if (!m.is_empty() && !m.is_standard()) {
        M packed(m.dim_vec());
        std::copy(m.begin(), m.end(), packed.begin());
        const_cast<M&>(m) = std::move(packed);
      }
      return 0;
    });
    return const_cast<void*>(dense_data(w));
  });
}

const double* zxGetDoubles(const __zxArray* value) {
  return guard("zxGetDoubles", static_cast<const double*>(nullptr), [&] {
    const zo_obj& v = in(value);
    if (v.type != type_double) wrong_kind(v, "double");
    return static_cast<const double*>(dense_data(v));
  });
}

const zxComplexDouble* zxGetComplexDoubles(const __zxArray* value) {
  return guard("zxGetComplexDoubles", static_cast<const zxComplexDouble*>(nullptr), [&] {
    const zo_obj& v = in(value);
    if (v.type != type_complex_double) wrong_kind(v, "complex double");
    return static_cast<const zxComplexDouble*>(dense_data(v));
  });
}

double zxGetScalar(const __zxArray* value) {
  return guard("zxGetScalar", std::numeric_limits<double>::quiet_NaN(), [&] {
    return with_dense(in(value), [](const auto& m) -> double {
      if (m.is_empty()) throw misuse(tr("数组没有元素"));
      const auto& e = m(0);
      if constexpr (is_complex_v<std::decay_t<decltype(e)>>)
        return static_cast<double>(e.real());
      else
        return static_cast<double>(e);
    });
  });
}

long zxGetString(const __zxArray* value, char* buf, size_t size) {
  return guard("zxGetString", -1L, [&] {
    const zo_obj& v = in(value);
    if (!v.is_char_vector() && !(v.type == type_string && v.get<matrix<std::string>>().is_scalar()))
      wrong_kind(v, tr("字符行向量或字符串标量"));
    return copy_text(v.as_string(), buf, size);
  });
}

long zxGetStringElement(const __zxArray* value, long index, char* buf, size_t size) {
  return guard("zxGetStringElement", -1L, [&] {
    const zo_obj& v = in(value);
    if (v.type != type_string) wrong_kind(v, tr("字符串数组"));
    const auto& m = v.get<matrix<std::string>>();
    check_index(index, m.size());
    return copy_text(m(index), buf, size);
  });
}

const __zxArray* zxGetCell(const __zxArray* cell, long index) {
  return guard("zxGetCell", static_cast<const __zxArray*>(nullptr), [&] {
    const cell_array& c = cell_of(in(cell));
    check_index(index, c.size());
    return element_handle(c(index));
  });
}

int zxGetNumberOfFields(const __zxArray* s) {
  return guard("zxGetNumberOfFields", -1, [&] { return static_cast<int>(struct_of(in(s)).nfields()); });
}

const char* zxGetFieldNameByNumber(const __zxArray* s, int k) {
  return guard("zxGetFieldNameByNumber", static_cast<const char*>(nullptr), [&] {
    const structure& st = struct_of(in(s));
    if (k < 0 || k >= st.nfields())
      throw misuse(str_format(tr("字段编号 %d 超出范围（共 %d 个字段）"), k, static_cast<int>(st.nfields())));
    return st.fieldnames()[static_cast<size_t>(k)].c_str();
  });
}

int zxGetFieldNumber(const __zxArray* s, const char* name) {
  return guard("zxGetFieldNumber", -1, [&] {
    const structure& st = struct_of(in(s));
    if (!name) return -1;
    const auto& names = st.fieldnames();
    for (size_t k = 0; k < names.size(); ++k)
      if (names[k] == name) return static_cast<int>(k);
    return -1;
  });
}

const __zxArray* zxGetField(const __zxArray* s, long index, const char* name) {
  return guard("zxGetField", static_cast<const __zxArray*>(nullptr), [&] {
    const zo_obj& v = in(s);
    struct_of(v);
    return field_of(v, index, name ? name : "");
  });
}

const __zxArray* zxGetFieldByNumber(const __zxArray* s, long index, int k) {
  return guard("zxGetFieldByNumber", static_cast<const __zxArray*>(nullptr), [&] {
    const zo_obj& v = in(s);
    const structure& st = struct_of(v);
    if (k < 0 || k >= st.nfields())
      throw misuse(str_format(tr("字段编号 %d 超出范围（共 %d 个字段）"), k, static_cast<int>(st.nfields())));
    return field_of(v, index, st.fieldnames()[static_cast<size_t>(k)]);
  });
}

const long* zxGetJc(const __zxArray* sparse) {
  return guard("zxGetJc", static_cast<const long*>(nullptr),
               [&] { return with_sparse(in(sparse), [](const auto& s) { return s.jc(); }); });
}

const long* zxGetJcEnd(const __zxArray* sparse) {
  return guard("zxGetJcEnd", static_cast<const long*>(nullptr),
               [&] { return with_sparse(in(sparse), [](const auto& s) { return s.jce(); }); });
}

const long* zxGetIr(const __zxArray* sparse) {
  return guard("zxGetIr", static_cast<const long*>(nullptr),
               [&] { return with_sparse(in(sparse), [](const auto& s) { return s.ir(); }); });
}

const void* zxGetSparseValues(const __zxArray* sparse) {
  return guard("zxGetSparseValues", static_cast<const void*>(nullptr), [&] {
    return with_sparse(in(sparse), [](const auto& s) { return static_cast<const void*>(s.pr()); });
  });
}

long zxGetNnz(const __zxArray* sparse) {
  return guard("zxGetNnz", -1L, [&] {
    return with_sparse(in(sparse), [](const auto& s) {
      long n = 0;  // entries only, not the slack behind them
      for (long j = 0; j < s.cols(); ++j) n += s.jce()[j] - s.jc()[j];
      return n;
    });
  });
}

}  // extern "C"
