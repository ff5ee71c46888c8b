// zex.cpp: libzex.so, the C interface of plugin/zex.h over zo_obj.
//
// Every entry point runs its body inside guard(): whatever the body throws
// (a misuse found here, a length or allocation error of the core) becomes
// the pending error of the running plugin call (plugin/plugin_error.h) and
// the entry point returns its documented failure result.  Nothing unwinds
// into the plugin's C frames.
#include "plugin/zex.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

#include "host/console.h"
#include "host/host_services.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "memory/zo_malloc.h"
#include "plugin/plugin_error.h"
#include "value/kind_table.h"

namespace zorvat {
namespace internal {
namespace {

// The kind numbers of the C header are the value kinds.
#define ZORVAT_ZEX_SAME_KIND(c, k) static_assert(static_cast<int>(c) == static_cast<int>(k), #c);
ZORVAT_ZEX_SAME_KIND(zxKindInt8, type_int8)
ZORVAT_ZEX_SAME_KIND(zxKindLogical, type_logical)
ZORVAT_ZEX_SAME_KIND(zxKindStruct, type_struct)
ZORVAT_ZEX_SAME_KIND(zxKindExtern, type_extern)
ZORVAT_ZEX_SAME_KIND(zxKindCell, type_cell)
ZORVAT_ZEX_SAME_KIND(zxKindSparseDouble, type_sparse_double)
ZORVAT_ZEX_SAME_KIND(zxKindSparseLogical, type_sparse_logical)
ZORVAT_ZEX_SAME_KIND(zxKindVariableList, type_variable_list)
#undef ZORVAT_ZEX_SAME_KIND
static_assert(sizeof(zxComplexDouble) == sizeof(std::complex<double>), "interleaved complex");
static_assert(sizeof(zxComplexSingle) == sizeof(std::complex<float>), "interleaved complex");
static_assert(sizeof(zxLogical) == sizeof(bool), "one-byte logical");

// A misuse found by zex; its text is already translated.
struct misuse : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Runs body(); on any exception records "<function>: <reason>" and returns
// `failed`.
template <class R, class F>
R guard(const char* function, R failed, F&& body) noexcept {
  try {
    try {
      return body();
    } catch (const misuse& e) {
      set_plugin_error(str_format(tr("%s：%s"), function, e.what()));
    } catch (const insufficient_memory& e) {
      set_plugin_error(str_format(tr("%s：%s"), function, e.what()));
    } catch (const std::bad_alloc&) {
      set_plugin_error(str_format(tr("%s：%s"), function, tr("内存不足")));
    } catch (const std::length_error&) {
      set_plugin_error(str_format(tr("%s：%s"), function, tr("尺寸过大，无法分配")));
    } catch (const std::exception& e) {
      set_plugin_error(str_format(tr("%s：%s"), function, e.what()));
    } catch (...) {
      set_plugin_error(str_format(tr("%s：%s"), function, tr("未知错误")));
    }
  } catch (...) {
    // Not even the message could be made: the result still says it failed.
  }
  return failed;
}

zo_obj* obj(__zxArray* p) { return reinterpret_cast<zo_obj*>(p); }
const zo_obj* obj(const __zxArray* p) { return reinterpret_cast<const zo_obj*>(p); }
__zxArray* handle(zo_obj* v) { return reinterpret_cast<__zxArray*>(v); }
const __zxArray* handle(const zo_obj* v) { return reinterpret_cast<const __zxArray*>(v); }

template <class V>
V& need(V* v) {
  if (!v) throw misuse(tr("空句柄"));
  return *v;
}
const zo_obj& in(const __zxArray* p) { return need(obj(p)); }
zo_obj& mine(__zxArray* p) { return need(obj(p)); }

std::string class_name(const zo_obj& v) {
  if (v.type == type_extern && v.payload()) return v.get<extern_obj_base>().classname();
  return type_str(v.type);
}

// Out of line: it is called from every instantiation of a kind visit.
[[noreturn]] void wrong_kind_number(int kind) { throw misuse(str_format(tr("种类编号 %d 不能用于此处"), kind)); }

[[noreturn]] void wrong_kind(const zo_obj& v, const char* wanted) {
  throw misuse(str_format(tr("类型为 %s 的值不是%s"), class_name(v).c_str(), wanted));
}

void check_index(long index, long count) {
  if (index < 0 || index >= count) throw misuse(str_format(tr("索引 %ld 超出范围（共 %ld 个元素）"), index, count));
}

// Payload traits: dense arrays of a plain element type, sparse matrices.
template <class E>
struct is_complex : std::false_type {};
template <class E>
struct is_complex<std::complex<E>> : std::true_type {};

template <class P>
struct plain_dense : std::false_type {};
template <class E>
struct plain_dense<matrix<E>> : std::bool_constant<std::is_arithmetic_v<E> || is_complex<E>::value> {};

template <class P>
struct sparse_of : std::false_type {};
template <class T>
struct sparse_of<sparse_matrix<T>> : std::true_type {};

// The C value type of a sparse element type, and its conversion.
template <class T>
struct c_value {
  using type = T;
  static T from(const type& v) { return v; }
};
template <>
struct c_value<std::complex<double>> {
  using type = zxComplexDouble;
  static std::complex<double> from(const type& v) { return {v.re, v.im}; }
};
template <>
struct c_value<std::complex<float>> {
  using type = zxComplexSingle;
  static std::complex<float> from(const type& v) { return {v.re, v.im}; }
};
template <>
struct c_value<bool> {
  using type = zxLogical;
  static bool from(const type& v) { return v != 0; }
};

// Validated dimensions: at least one, none negative, at least two kept (a
// single extent n means n x 1), and the element count times `elem_size`
// addressable.
std::vector<long> checked_dims(int ndims, const long* dims, size_t elem_size) {
  if (ndims < 1 || ndims > 64) throw misuse(str_format(tr("维数 %d 无效"), ndims));
  if (!dims) throw misuse(tr("空指针参数"));
  std::vector<long> d(dims, dims + ndims);
  if (d.size() == 1) d.push_back(1);
  long count = 1;
  for (long e : d) {
    if (e < 0) throw misuse(str_format(tr("尺寸 %ld 为负数"), e));
    if (__builtin_mul_overflow(count, e, &count)) throw misuse(tr("尺寸过大，无法分配"));
  }
  if (count > std::numeric_limits<long>::max() / static_cast<long>(elem_size > 0 ? elem_size : 1))
    throw misuse(tr("尺寸过大，无法分配"));
  return d;
}

// A new plugin-owned value adopting the payload.  The value's block is
// allocated before the argument is evaluated (a failure there leaves the
// payload to its unique_ptr), and the constructor owns the payload even when
// it fails itself: released as the argument, never deleted twice.
template <class P>
__zxArray* adopt(int kind, std::unique_ptr<P> payload) {
  return handle(new zo_obj(kind, payload.release()));
}

// The number a caller passed as a zxKind: C may pass any int there, which is
// no valid value of the enumeration, so its bytes are read as an int.
int kind_number(const zxKind& kind) {
  int k;
  static_assert(sizeof k == sizeof kind, "zxKind is an int");
  std::memcpy(&k, &kind, sizeof k);
  return k;
}

__zxArray* make_dense(int ndims, const long* dims, int kind) {
  return visit_kind(kind, [&](auto k) -> __zxArray* {
    using P = typename decltype(k)::payload;
    if constexpr (plain_dense<P>::value) {
      std::vector<long> d = checked_dims(ndims, dims, sizeof(typename P::value_type));
      return adopt(kind, std::make_unique<P>(d));
    } else {
      wrong_kind_number(kind);
    }
  });
}

template <class T>
__zxArray* scalar(const T& v) {
  return handle(new zo_obj(v));
}

// The dense payload of v with a plain element type, as its base; wrong kinds
// are refused.
template <class F>
decltype(auto) with_dense(const zo_obj& v, F&& f) {
  return visit_kind(v.type, [&](auto k) -> decltype(f(std::declval<const matrix<double>&>())) {
    using P = typename decltype(k)::payload;
    if constexpr (plain_dense<P>::value) {
      return f(v.get<P>());
    } else {
      wrong_kind(v, tr("稠密数值、字符或逻辑数组"));
    }
  });
}

template <class F>
decltype(auto) with_sparse(const zo_obj& v, F&& f) {
  return visit_kind(v.type, [&](auto k) -> decltype(f(std::declval<const sparse_matrix<double>&>())) {
    using P = typename decltype(k)::payload;
    if constexpr (sparse_of<P>::value) {
      return f(v.get<P>());
    } else {
      wrong_kind(v, tr("稀疏矩阵"));
    }
  });
}

const cell_array& cell_of(const zo_obj& v) {
  if (v.type != type_cell || !v.payload()) wrong_kind(v, tr("元胞数组"));
  return v.get<cell_array>();
}
const structure& struct_of(const zo_obj& v) {
  if (v.type != type_struct || !v.payload()) wrong_kind(v, tr("结构体数组"));
  return v.get<structure>();
}

// A container element, never null: a missing element reads as the shared
// empty value.
const __zxArray* element_handle(const std::shared_ptr<zo_obj>& e) {
  static const zo_obj empty(type_double, new matrix<double>());
  return handle(e ? e.get() : &empty);
}

// Adopts a plugin-owned value into a shared owner (null: a fresh empty one).
std::shared_ptr<zo_obj> adopt_element(__zxArray* e) {
  if (!e) return make_empty_element();
  return std::shared_ptr<zo_obj>(obj(e));
}

std::string checked_name(const char* name) {
  if (!name || !*name) throw misuse(tr("字段名无效"));
  return name;
}

long copy_text(const std::string& text, char* buf, size_t size) {
  if (size > 0) {
    if (!buf) throw misuse(tr("空指针参数"));
    size_t n = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(buf, text.data(), n);
    buf[n] = '\0';
  }
  return static_cast<long>(text.size());
}

std::string vformat(const char* fmt, va_list args) {
  if (!fmt) return std::string();
  va_list again;
  va_copy(again, args);
  int n = std::vsnprintf(nullptr, 0, fmt, args);
  std::string text;
  if (n > 0) {
    text.resize(static_cast<size_t>(n) + 1);
    std::vsnprintf(&text[0], text.size(), fmt, again);
    text.resize(static_cast<size_t>(n));
  }
  va_end(again);
  return text;
}

// Shape of any value: arrays and containers have their own, everything else
// is 1x1.
const std::vector<long>& dims_of(const zo_obj& v) {
  static const std::vector<long> one{1, 1};
  if (const matrix_base* a = v.array_base()) return a->dim_vec();
  if (const container_base* c = v.container()) return c->dim_vec();
  return one;
}

long numel_of(const zo_obj& v) {
  long n = 1;
  for (long e : dims_of(v)) n *= e;
  return n;
}

// Makes the payload of a plugin-owned value private before it is changed.
zo_obj& writable(__zxArray* p) {
  zo_obj& v = mine(p);
  v.copy_on_write(false);
  return v;
}

// The sparse payload of `kind` made by make(P*) -> unique_ptr<P>.
template <class F>
__zxArray* make_sparse(int kind, F&& make) {
  return visit_kind(kind, [&](auto k) -> __zxArray* {
    using P = typename decltype(k)::payload;
    if constexpr (sparse_of<P>::value) {
      return adopt(kind, make(static_cast<P*>(nullptr)));
    } else {
      wrong_kind_number(kind);
    }
  });
}

void check_sparse_shape(long m, long n) {
  if (m < 0) throw misuse(str_format(tr("尺寸 %ld 为负数"), m));
  if (n < 0) throw misuse(str_format(tr("尺寸 %ld 为负数"), n));
  if (n == std::numeric_limits<long>::max()) throw misuse(tr("尺寸过大，无法分配"));
}

template <class P>
std::unique_ptr<P> sparse_from_triplets(long m, long n, long nnz, const long* rows, const long* cols,
                                        const void* values) {
  using T = typename P::value_type;
  using C = c_value<T>;
  const auto* vals = static_cast<const typename C::type*>(values);
  std::vector<triplet<T>> t;
  t.reserve(static_cast<size_t>(nnz));
  for (long k = 0; k < nnz; ++k) {
    if (rows[k] < 0 || rows[k] >= m || cols[k] < 0 || cols[k] >= n)
      throw misuse(str_format(tr("第 %ld 个元素的位置 (%ld, %ld) 超出 %ldx%ld 的范围"), k, rows[k], cols[k], m, n));
    t.push_back({C::from(vals[k]), cols[k], rows[k]});
  }
  return std::make_unique<P>(t, m, n);
}

template <class P>
std::unique_ptr<P> sparse_from_columns(long m, long n, const long* jc, const long* ir, const void* values) {
  using T = typename P::value_type;
  using C = c_value<T>;
  if (jc[0] != 0) throw misuse(tr("列起点数组无效"));
  for (long j = 0; j < n; ++j)
    if (jc[j + 1] < jc[j]) throw misuse(tr("列起点数组无效"));
  for (long j = 0; j < n; ++j) {
    for (long k = jc[j]; k < jc[j + 1]; ++k) {
      if (ir[k] < 0 || ir[k] >= m || (k > jc[j] && ir[k] <= ir[k - 1]))
        throw misuse(str_format(tr("第 %ld 列的行号无效或未按升序排列"), j));
    }
  }
  const long nnz = jc[n];
  const auto* vals = static_cast<const typename C::type*>(values);
  std::unique_ptr<T[]> pr(new T[static_cast<size_t>(nnz > 0 ? nnz : 1)]());
  for (long k = 0; k < nnz; ++k) pr[k] = C::from(vals[k]);
  return std::make_unique<P>(m, n, nnz, ir, jc, pr.get());
}

}  // namespace
}  // namespace internal
}  // namespace zorvat

using namespace zorvat;
using namespace zorvat::internal;

namespace {
// A predicate on a value; null is simply false.
template <class F>
int predicate(const __zxArray* value, F&& test) {
  return guard("zxIs", 0, [&] { return value && test(*obj(value)) ? 1 : 0; });
}
const void* dense_data(const zo_obj& v) {
  return with_dense(v, [&](const auto& m) -> const void* {
    if (m.is_empty()) return nullptr;
    if (!m.is_standard()) throw misuse(tr("数组的元素不是连续存放的"));
    return m.data();
  });
}
const __zxArray* field_of(const zo_obj& v, long index, const std::string& name) {
  const structure& st = struct_of(v);
  check_index(index, st.numel());
  if (!st.isfield(name)) return nullptr;
  return element_handle(st.get_field_table(name)(index));
}
}  // namespace

extern "C" {

// ---- Lifetime ----------------------------------------------------------------

void zxDestroyArray(__zxArray* value) {
  guard("zxDestroyArray", 0, [&] {
    delete obj(value);
    return 0;
  });
}

__zxArray* zxDuplicateArray(const __zxArray* value) {
  return guard("zxDuplicateArray", static_cast<__zxArray*>(nullptr), [&] { return handle(new zo_obj(in(value))); });
}

// ---- Making values -------------------------------------------------------------

__zxArray* zxCreateNumericArray(int ndims, const long* dims, zxKind kind) {
  return guard("zxCreateNumericArray", static_cast<__zxArray*>(nullptr),
               [&] { return make_dense(ndims, dims, kind_number(kind)); });
}

__zxArray* zxCreateNumericMatrix(long m, long n, zxKind kind) {
  const long dims[2] = {m, n};
  return guard("zxCreateNumericMatrix", static_cast<__zxArray*>(nullptr),
               [&] { return make_dense(2, dims, kind_number(kind)); });
}

__zxArray* zxCreateDoubleMatrix(long m, long n, int complex_flag) {
  const long dims[2] = {m, n};
  return guard("zxCreateDoubleMatrix", static_cast<__zxArray*>(nullptr),
               [&] { return make_dense(2, dims, complex_flag ? type_complex_double : type_double); });
}

__zxArray* zxCreateLogicalMatrix(long m, long n) {
  const long dims[2] = {m, n};
  return guard("zxCreateLogicalMatrix", static_cast<__zxArray*>(nullptr),
               [&] { return make_dense(2, dims, type_logical); });
}

__zxArray* zxCreateDoubleScalar(double value) {
  return guard("zxCreateDoubleScalar", static_cast<__zxArray*>(nullptr), [&] { return scalar(value); });
}

__zxArray* zxCreateComplexScalar(double re, double im) {
  return guard("zxCreateComplexScalar", static_cast<__zxArray*>(nullptr),
               [&] { return scalar(std::complex<double>(re, im)); });
}

__zxArray* zxCreateLogicalScalar(int value) {
  return guard("zxCreateLogicalScalar", static_cast<__zxArray*>(nullptr), [&] { return scalar(value != 0); });
}

__zxArray* zxCreateInt64Scalar(long value) {
  return guard("zxCreateInt64Scalar", static_cast<__zxArray*>(nullptr), [&] { return scalar(value); });
}

__zxArray* zxCreateCharArray(const char* utf8) {
  return guard("zxCreateCharArray", static_cast<__zxArray*>(nullptr),
               [&] { return handle(new zo_obj(utf8, type_char)); });
}

__zxArray* zxCreateString(const char* utf8) {
  return guard("zxCreateString", static_cast<__zxArray*>(nullptr),
               [&] { return handle(new zo_obj(utf8 ? utf8 : "")); });
}

__zxArray* zxCreateStringArray(long m, long n, const char* const* texts) {
  return guard("zxCreateStringArray", static_cast<__zxArray*>(nullptr), [&] {
    const long dims[2] = {m, n};
    std::vector<long> d = checked_dims(2, dims, sizeof(std::string));
    auto strings = std::make_unique<matrix<std::string>>(d);
    if (texts) {
      for (long k = 0; k < strings->size(); ++k)
        if (texts[k]) (*strings)(k) = texts[k];
    }
    return adopt(type_string, std::move(strings));
  });
}

__zxArray* zxCreateCellArray(int ndims, const long* dims) {
  return guard("zxCreateCellArray", static_cast<__zxArray*>(nullptr), [&] {
    return adopt(type_cell, std::make_unique<cell_array>(checked_dims(ndims, dims, sizeof(std::shared_ptr<zo_obj>))));
  });
}

__zxArray* zxCreateCellMatrix(long m, long n) {
  const long dims[2] = {m, n};
  return zxCreateCellArray(2, dims);
}

__zxArray* zxCreateStructArray(int ndims, const long* dims, int nfields, const char* const* names) {
  return guard("zxCreateStructArray", static_cast<__zxArray*>(nullptr), [&] {
    auto s = std::make_unique<structure>(checked_dims(ndims, dims, sizeof(std::shared_ptr<zo_obj>)));
    if (nfields < 0) throw misuse(str_format(tr("字段个数 %d 无效"), nfields));
    if (nfields > 0 && !names) throw misuse(tr("空指针参数"));
    for (int k = 0; k < nfields; ++k) s->create_field_table(checked_name(names[k]));
    return adopt(type_struct, std::move(s));
  });
}

__zxArray* zxCreateStructMatrix(long m, long n, int nfields, const char* const* names) {
  const long dims[2] = {m, n};
  return zxCreateStructArray(2, dims, nfields, names);
}

__zxArray* zxCreateSparse(long m, long n, long nnz, const long* rows, const long* cols, const void* values,
                          zxKind kind) {
  return guard("zxCreateSparse", static_cast<__zxArray*>(nullptr), [&] {
    check_sparse_shape(m, n);
    if (nnz < 0) throw misuse(str_format(tr("尺寸 %ld 为负数"), nnz));
    if (nnz > 0 && (!rows || !cols || !values)) throw misuse(tr("空指针参数"));
    return make_sparse(kind_number(kind), [&](auto* p) {
      return sparse_from_triplets<std::remove_pointer_t<decltype(p)>>(m, n, nnz, rows, cols, values);
    });
  });
}

__zxArray* zxCreateSparseFromColumns(long m, long n, const long* jc, const long* ir, const void* values,
                                     zxKind kind) {
  return guard("zxCreateSparseFromColumns", static_cast<__zxArray*>(nullptr), [&] {
    check_sparse_shape(m, n);
    if (!jc) throw misuse(tr("空指针参数"));
    if (jc[n] > 0 && (!ir || !values)) throw misuse(tr("空指针参数"));
    return make_sparse(kind_number(kind), [&](auto* p) {
      return sparse_from_columns<std::remove_pointer_t<decltype(p)>>(m, n, jc, ir, values);
    });
  });
}

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
  return predicate(value, [](const zo_obj& v) {
    return (v.type >= type_int8 && v.type <= type_complex_single) ||
           (v.type >= type_sparse_double && v.type <= type_sparse_complex_single);
  });
}
int zxIsComplex(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) {
    return v.type == type_complex_double || v.type == type_complex_single ||
           v.type == type_sparse_complex_double || v.type == type_sparse_complex_single;
  });
}
int zxIsDouble(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return v.type == type_double || v.type == type_complex_double; });
}
int zxIsLogical(const __zxArray* value) {
  return predicate(value, [](const zo_obj& v) { return v.type == type_logical || v.type == type_sparse_logical; });
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
  return predicate(value, [](const zo_obj& v) { return v.type >= type_sparse_double && v.type <= type_sparse_logical; });
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
    return const_cast<void*>(dense_data(writable(value)));
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
      if constexpr (is_complex<std::decay_t<decltype(e)>>::value)
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

// ---- Changing values ------------------------------------------------------------

int zxSetCell(__zxArray* cell, long index, __zxArray* element) {
  return guard("zxSetCell", -1, [&] {
    std::shared_ptr<zo_obj> e = adopt_element(element);  // adopted whatever happens next
    cell_of(mine(cell));
    auto& c = writable(cell).get<cell_array>();
    check_index(index, c.size());
    c(index) = std::move(e);
    return 0;
  });
}

int zxSetField(__zxArray* s, long index, const char* name, __zxArray* element) {
  return guard("zxSetField", -1, [&] {
    std::shared_ptr<zo_obj> e = adopt_element(element);
    const std::string field = checked_name(name);
    struct_of(mine(s));
    auto& st = writable(s).get<structure>();
    check_index(index, st.numel());
    st.create_field_table(field)(index) = std::move(e);
    return 0;
  });
}

int zxAddField(__zxArray* s, const char* name) {
  return guard("zxAddField", -1, [&] {
    const std::string field = checked_name(name);
    struct_of(mine(s));
    auto& st = writable(s).get<structure>();
    st.create_field_table(field);
    const auto& names = st.fieldnames();
    return static_cast<int>(std::find(names.begin(), names.end(), field) - names.begin());
  });
}

int zxRemoveField(__zxArray* s, const char* name) {
  return guard("zxRemoveField", -1, [&] {
    const std::string field = checked_name(name);
    struct_of(mine(s));
    writable(s).get<structure>().remove_field(field);
    return 0;
  });
}

int zxResize(__zxArray* value, int ndims, const long* dims) {
  return guard("zxResize", -1, [&] {
    zo_obj& v = mine(value);
    if (v.type == type_cell || v.type == type_struct) {
      std::vector<long> d = checked_dims(ndims, dims, sizeof(std::shared_ptr<zo_obj>));
      if (v.type == type_struct) {
        writable(value).get<structure>().resize(d);
      } else {
        auto& c = writable(value).get<cell_array>().data();
        c.conservative_resize(d);
        for_each_element(c, [](std::shared_ptr<zo_obj>& e) {
          if (!e) e = make_empty_element();
        });
      }
      return 0;
    }
    return visit_kind(v.type, [&](auto k) -> int {
      using P = typename decltype(k)::payload;
      if constexpr (plain_dense<P>::value) {
        std::vector<long> d = checked_dims(ndims, dims, sizeof(typename P::value_type));
        writable(value).template get<P>().conservative_resize(d);
      } else if constexpr (sparse_of<P>::value) {
        std::vector<long> d = checked_dims(ndims, dims, 1);
        for (size_t j = 2; j < d.size(); ++j)
          if (d[j] != 1) throw misuse(tr("稀疏矩阵只有两个维度"));
        if (d[1] == std::numeric_limits<long>::max()) throw misuse(tr("尺寸过大，无法分配"));
        writable(value).template get<P>().conservative_resize(d[0], d[1]);
      } else {
        throw misuse(str_format(tr("类型为 %s 的值不能改变尺寸"), class_name(v).c_str()));
      }
      return 0;
    });
  });
}

// ---- Errors ---------------------------------------------------------------------

void zxError(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  guard("zxError", 0, [&] {
    std::string text = vformat(fmt, args);
    set_plugin_error(text.empty() ? std::string(tr("插件报告了一个错误")) : text);
    return 0;
  });
  va_end(args);
}

const char* zxLastError(void) {
  return has_plugin_error() ? plugin_error().c_str() : nullptr;
}

void zxClearError(void) { clear_plugin_error(); }

// ---- Services -------------------------------------------------------------------

void zxPrintf(const char* fmt, ...) {
  va_list args;
  va_start(args, fmt);
  guard("zxPrintf", 0, [&] {
    if (!fmt) throw misuse(tr("空指针参数"));
    write_to_cout_flush(vformat(fmt, args));
    return 0;
  });
  va_end(args);
}

int zxCallFunction(const char* name, int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  return guard("zxCallFunction", -1, [&] {
    if (!name || !*name) throw misuse(tr("函数名无效"));
    if (nlhs < 0) throw misuse(str_format(tr("参数个数 %d 无效"), nlhs));
    if (nrhs < 0) throw misuse(str_format(tr("参数个数 %d 无效"), nrhs));
    if ((nlhs > 0 && !plhs) || (nrhs > 0 && !prhs)) throw misuse(tr("空指针参数"));
    for (int k = 0; k < nlhs; ++k) plhs[k] = nullptr;
    std::vector<std::shared_ptr<const zo_obj>> args{std::make_shared<zo_obj>(name, type_char)};
    for (int k = 0; k < nrhs; ++k) args.push_back(std::make_shared<zo_obj>(in(prhs[k])));
    std::vector<std::shared_ptr<zo_obj>> results;
    feval(args, results);
    if (static_cast<long>(results.size()) < nlhs)
      throw misuse(str_format(tr("调用 %s 得到 %d 个结果，需要 %d 个"), name, static_cast<int>(results.size()), nlhs));
    std::vector<std::unique_ptr<zo_obj>> kept;  // all made before any slot is filled
    for (int k = 0; k < nlhs; ++k) {
      const std::shared_ptr<zo_obj>& r = results[static_cast<size_t>(k)];
      kept.push_back(r ? std::make_unique<zo_obj>(*r) : std::make_unique<zo_obj>(type_double, new matrix<double>()));
    }
    for (int k = 0; k < nlhs; ++k) plhs[k] = handle(kept[static_cast<size_t>(k)].release());
    return 0;
  });
}

}  // extern "C"
