// zex_detail.h: what the sources of libzex.so share: the error guard, the
// handle conversions, payload traits and checked constructors.
//
// Every entry point runs its body inside guard(): whatever the body throws
// (a misuse found here, a length or allocation error of the core) becomes
// the pending error of the running plugin call (plugin/plugin_error.h) and
// the entry point returns its documented failure result.  Nothing unwinds
// into the plugin's C frames.  Only libzex.so includes this header.
#ifndef ZORVAT_PLUGIN_ZEX_ZEX_DETAIL_H
#define ZORVAT_PLUGIN_ZEX_ZEX_DETAIL_H
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
namespace zex {

// The kind numbers of the C header are the value kinds, enumerator by
// enumerator; and each C element type named in zex.h has the size of the
// element type that the kind list gives the kind.
#define ZORVAT_ZEX_SAME_KIND(c, k) static_assert(static_cast<int>(c) == static_cast<int>(k), #c);
ZORVAT_ZEX_SAME_KIND(zxKindError, type_error)
ZORVAT_ZEX_SAME_KIND(zxKindInt8, type_int8)
ZORVAT_ZEX_SAME_KIND(zxKindInt16, type_int16)
ZORVAT_ZEX_SAME_KIND(zxKindInt32, type_int32)
ZORVAT_ZEX_SAME_KIND(zxKindInt64, type_int64)
ZORVAT_ZEX_SAME_KIND(zxKindUInt8, type_uint8)
ZORVAT_ZEX_SAME_KIND(zxKindUInt16, type_uint16)
ZORVAT_ZEX_SAME_KIND(zxKindUInt32, type_uint32)
ZORVAT_ZEX_SAME_KIND(zxKindUInt64, type_uint64)
ZORVAT_ZEX_SAME_KIND(zxKindDouble, type_double)
ZORVAT_ZEX_SAME_KIND(zxKindSingle, type_single)
ZORVAT_ZEX_SAME_KIND(zxKindComplexDouble, type_complex_double)
ZORVAT_ZEX_SAME_KIND(zxKindComplexSingle, type_complex_single)
ZORVAT_ZEX_SAME_KIND(zxKindChar, type_char)
ZORVAT_ZEX_SAME_KIND(zxKindLogical, type_logical)
ZORVAT_ZEX_SAME_KIND(zxKindFunctionHandle, type_function_handle)
ZORVAT_ZEX_SAME_KIND(zxKindStruct, type_struct)
ZORVAT_ZEX_SAME_KIND(zxKindString, type_string)
ZORVAT_ZEX_SAME_KIND(zxKindExtern, type_extern)
ZORVAT_ZEX_SAME_KIND(zxKindVoid, type_void)
ZORVAT_ZEX_SAME_KIND(zxKindCell, type_cell)
ZORVAT_ZEX_SAME_KIND(zxKindSparseDouble, type_sparse_double)
ZORVAT_ZEX_SAME_KIND(zxKindSparseSingle, type_sparse_single)
ZORVAT_ZEX_SAME_KIND(zxKindSparseComplexDouble, type_sparse_complex_double)
ZORVAT_ZEX_SAME_KIND(zxKindSparseComplexSingle, type_sparse_complex_single)
ZORVAT_ZEX_SAME_KIND(zxKindSparseLogical, type_sparse_logical)
ZORVAT_ZEX_SAME_KIND(zxKindVariableList, type_variable_list)
#undef ZORVAT_ZEX_SAME_KIND
#define ZORVAT_ZEX_SAME_ELEMENT(c, E) \
  static_assert(sizeof(E) == sizeof(payload_element_t<kind_payload_t<c>>), #c);
ZORVAT_ZEX_SAME_ELEMENT(zxKindInt8, signed char)
ZORVAT_ZEX_SAME_ELEMENT(zxKindInt16, short)
ZORVAT_ZEX_SAME_ELEMENT(zxKindInt32, int)
ZORVAT_ZEX_SAME_ELEMENT(zxKindInt64, long)
ZORVAT_ZEX_SAME_ELEMENT(zxKindUInt8, unsigned char)
ZORVAT_ZEX_SAME_ELEMENT(zxKindUInt16, unsigned short)
ZORVAT_ZEX_SAME_ELEMENT(zxKindUInt32, unsigned int)
ZORVAT_ZEX_SAME_ELEMENT(zxKindUInt64, unsigned long)
ZORVAT_ZEX_SAME_ELEMENT(zxKindDouble, double)
ZORVAT_ZEX_SAME_ELEMENT(zxKindSingle, float)
ZORVAT_ZEX_SAME_ELEMENT(zxKindComplexDouble, zxComplexDouble)
ZORVAT_ZEX_SAME_ELEMENT(zxKindComplexSingle, zxComplexSingle)
ZORVAT_ZEX_SAME_ELEMENT(zxKindChar, char)
ZORVAT_ZEX_SAME_ELEMENT(zxKindLogical, zxLogical)
ZORVAT_ZEX_SAME_ELEMENT(zxKindSparseDouble, double)
ZORVAT_ZEX_SAME_ELEMENT(zxKindSparseSingle, float)
ZORVAT_ZEX_SAME_ELEMENT(zxKindSparseComplexDouble, zxComplexDouble)
ZORVAT_ZEX_SAME_ELEMENT(zxKindSparseComplexSingle, zxComplexSingle)
ZORVAT_ZEX_SAME_ELEMENT(zxKindSparseLogical, zxLogical)
#undef ZORVAT_ZEX_SAME_ELEMENT
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

inline zo_obj* obj(__zxArray* p) { return reinterpret_cast<zo_obj*>(p); }
inline const zo_obj* obj(const __zxArray* p) { return reinterpret_cast<const zo_obj*>(p); }
inline __zxArray* handle(zo_obj* v) { return reinterpret_cast<__zxArray*>(v); }
inline const __zxArray* handle(const zo_obj* v) { return reinterpret_cast<const __zxArray*>(v); }

template <class V>
V& need(V* v) {
  if (!v) throw misuse(tr("空句柄"));
  return *v;
}
inline const zo_obj& in(const __zxArray* p) { return need(obj(p)); }
inline zo_obj& mine(__zxArray* p) { return need(obj(p)); }

inline std::string class_name(const zo_obj& v) {
  if (v.type == type_extern && v.payload()) return v.get<extern_obj_base>().classname();
  return type_str(v.type);
}

// Out of line: it is called from every instantiation of a kind visit.
[[noreturn]] inline void wrong_kind_number(int kind) { throw misuse(str_format(tr("种类编号 %d 不能用于此处"), kind)); }

[[noreturn]] inline void wrong_kind(const zo_obj& v, const char* wanted) {
  throw misuse(str_format(tr("类型为 %s 的值不是%s"), class_name(v).c_str(), wanted));
}

inline void check_index(long index, long count) {
  if (index < 0 || index >= count) throw misuse(str_format(tr("索引 %ld 超出范围（共 %ld 个元素）"), index, count));
}

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
inline std::vector<long> checked_dims(int ndims, const long* dims, size_t elem_size) {
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
inline int kind_number(const zxKind& kind) {
  int k;
  static_assert(sizeof k == sizeof kind, "zxKind is an int");
  std::memcpy(&k, &kind, sizeof k);
  return k;
}

inline __zxArray* make_dense(int ndims, const long* dims, int kind) {
  return visit_kind(kind, [&](auto k) -> __zxArray* {
    using P = typename decltype(k)::payload;
    if constexpr (is_scalar_dense_v<P>) {
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
    if constexpr (is_scalar_dense_v<P>) {
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
    if constexpr (is_sparse_v<P>) {
      return f(v.get<P>());
    } else {
      wrong_kind(v, tr("稀疏矩阵"));
    }
  });
}

inline const cell_array& cell_of(const zo_obj& v) {
  if (v.type != type_cell || !v.payload()) wrong_kind(v, tr("元胞数组"));
  return v.get<cell_array>();
}
inline const structure& struct_of(const zo_obj& v) {
  if (v.type != type_struct || !v.payload()) wrong_kind(v, tr("结构体数组"));
  return v.get<structure>();
}

// A container element, never null: a missing element reads as the shared
// empty value.
inline const __zxArray* element_handle(const std::shared_ptr<zo_obj>& e) {
  static const zo_obj empty(type_double, new matrix<double>());
  return handle(e ? e.get() : &empty);
}

// Adopts a plugin-owned value into a shared owner (null: a fresh empty one).
inline std::shared_ptr<zo_obj> adopt_element(__zxArray* e) {
  if (!e) return make_empty_element();
  return std::shared_ptr<zo_obj>(obj(e));
}

inline std::string checked_name(const char* name) {
  if (!name || !*name) throw misuse(tr("字段名无效"));
  return name;
}

inline long copy_text(const std::string& text, char* buf, size_t size) {
  if (size > 0) {
    if (!buf) throw misuse(tr("空指针参数"));
    size_t n = text.size() < size - 1 ? text.size() : size - 1;
    std::memcpy(buf, text.data(), n);
    buf[n] = '\0';
  }
  return static_cast<long>(text.size());
}

inline std::string vformat(const char* fmt, va_list args) {
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
inline const std::vector<long>& dims_of(const zo_obj& v) {
  static const std::vector<long> one{1, 1};
  if (const matrix_base* a = v.array_base()) return a->dim_vec();
  if (const container_base* c = v.container()) return c->dim_vec();
  return one;
}

inline long numel_of(const zo_obj& v) {
  long n = 1;
  for (long e : dims_of(v)) n *= e;
  return n;
}

// Makes the payload of a plugin-owned value private before it is changed.
inline zo_obj& writable(__zxArray* p) {
  zo_obj& v = mine(p);
  v.copy_on_write(false);
  return v;
}

// The sparse payload of `kind` made by make(P*) -> unique_ptr<P>.
template <class F>
__zxArray* make_sparse(int kind, F&& make) {
  return visit_kind(kind, [&](auto k) -> __zxArray* {
    using P = typename decltype(k)::payload;
    if constexpr (is_sparse_v<P>) {
      return adopt(kind, make(static_cast<P*>(nullptr)));
    } else {
      wrong_kind_number(kind);
    }
  });
}

inline void check_sparse_shape(long m, long n) {
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


// A predicate on a value; null is simply false.
template <class F>
int predicate(const __zxArray* value, F&& test) {
  return guard("zxIs", 0, [&] { return value && test(*obj(value)) ? 1 : 0; });
}
inline const void* dense_data(const zo_obj& v) {
  return with_dense(v, [&](const auto& m) -> const void* {
    if (m.is_empty()) return nullptr;
    // Any column-major packed array, at any place in its block (a
    // contiguous view too): its elements are data()[0 .. size).
    if (!m.is_contiguous()) throw misuse(tr("数组的元素不是连续存放的"));
    return m.data();
  });
}
inline const __zxArray* field_of(const zo_obj& v, long index, const std::string& name) {
  const structure& st = struct_of(v);
  check_index(index, st.numel());
  if (!st.isfield(name)) return nullptr;
  return element_handle(st.get_field_table(name)(index));
}
}  // namespace zex
}  // namespace internal
}  // namespace zorvat

#endif  // ZORVAT_PLUGIN_ZEX_ZEX_DETAIL_H
