// DLPack export and import: a tensor is a description of a storage block
// (where its first element is, its shape and strides) plus a way to give the
// block back, so both directions only make that description.
#include "io/dlpack.h"

#include <algorithm>
#include <complex>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <utility>
#include <vector>

#include "memory/messages.h"
#include "memory/str_util.h"
#include "value/kind_table.h"

namespace zorvat {
namespace {

template <class E>
struct is_complex : std::false_type {};
template <class E>
struct is_complex<std::complex<E>> : std::true_type {};

// The DLPack element type of T: signedness and kind from the type, bits from
// its size (bool, one byte, leaves as an 8-bit unsigned integer).
template <class T>
struct dl_type {
  static constexpr std::uint8_t code = is_complex<T>::value                ? kDLComplex
                                       : std::is_floating_point<T>::value ? kDLFloat
                                       : std::is_signed<T>::value          ? kDLInt
                                                                           : kDLUInt;
  static bool matches(const DLDataType& d) {
    return d.code == code && d.bits == 8 * sizeof(T) && d.lanes == 1;
  }
};

// Whether the payload type P is an array that crosses: matrix<E> of a
// numeric or logical E.
template <class P>
struct crosses : std::false_type {};
#define ZORVAT_CROSSES(T) \
  template <>             \
  struct crosses<matrix<T>> : std::true_type {};
ZORVAT_FOR_EACH_NUMERIC_TYPE(ZORVAT_CROSSES)
#undef ZORVAT_CROSSES

// ---------------------------------------------------------------- export

// Everything an export makes, in one heap block: the tensor, the share of
// the storage that keeps it alive, and the shape and strides behind it.
struct export_block {
  DLManagedTensor tensor;
  std::shared_ptr<void> keep;
  std::int64_t* extents() { return reinterpret_cast<std::int64_t*>(this + 1); }
};
static_assert(sizeof(export_block) % alignof(std::int64_t) == 0, "extents follow the block");

void release_export(DLManagedTensor* t) noexcept {
  auto* b = static_cast<export_block*>(t->manager_ctx);
  b->~export_block();
  ::operator delete(b);
}

[[noreturn]] void refuse(const std::string& why) { throw std::invalid_argument(why); }

// Calls f(matrix<E>&) for a value that holds an exportable array, otherwise
// refuses it.
template <class V, class F>
DLManagedTensor* with_exportable(V& v, F f) {
  return internal::visit_kind(v.type, [&](auto k) -> DLManagedTensor* {
    using P = typename decltype(k)::payload;
    if constexpr (crosses<P>::value) {
      if (v.payload()) return f(v.template get<P>());
    }
    refuse(str_format(tr("类型为 %s 的值不能导出为 DLPack 张量"), internal::kind_name(v.type)));
  });
}

// ---------------------------------------------------------------- import

[[noreturn]] void refuse_too_large() { refuse(tr("DLPack 张量的尺寸过大")); }

long mul(long a, long b) {
  long r;
  if (__builtin_mul_overflow(a, b, &r)) refuse_too_large();
  return r;
}

long add(long a, long b) {
  long r;
  if (__builtin_add_overflow(a, b, &r)) refuse_too_large();
  return r;
}

// Device, lanes and a tensor at all: the checks before the element type.
void check_header(const DLManagedTensor* t) {
  if (!t) refuse(tr("DLPack 张量为空指针"));
  const DLTensor& d = t->dl_tensor;
  if (d.device.device_type != kDLCPU)
    refuse(str_format(tr("DLPack 张量不在 CPU 上（设备类型 %d），不能导入"), static_cast<int>(d.device.device_type)));
  if (d.dtype.lanes != 1)
    refuse(str_format(tr("DLPack 张量每个元素有 %d 个通道，只能导入单通道的张量"), static_cast<int>(d.dtype.lanes)));
}

[[noreturn]] void refuse_type(const DLDataType& d) {
  refuse(str_format(tr("DLPack 张量的元素类型（代码 %d，%d 位）没有对应的数组元素类型"), static_cast<int>(d.code),
                    static_cast<int>(d.bits)));
}

// The array that a tensor describes: dims and strides as an array here (at
// least two), the first element and the number of elements from it to the
// last one (0 when empty).
struct geometry {
  std::vector<long> dims, strides;
  char* first = nullptr;
  std::uint64_t count = 0;
};

geometry describe(const DLTensor& t, std::size_t size, std::size_t align) {
  const int nd = t.ndim;
  if (nd < 0) refuse(str_format(tr("DLPack 张量的维数 %d 无效"), nd));
  if (nd > 0 && !t.shape) refuse(tr("DLPack 张量的形状为空指针"));
  geometry g;
  const std::size_t n = static_cast<std::size_t>(std::max(nd, 2));
  g.dims.assign(n, 1);
  g.strides.assign(n, 1);
  long elements = 1;
  for (int k = 0; k < nd; ++k) {
    const std::int64_t e = t.shape[k];
    if (e < 0) refuse(str_format(tr("DLPack 张量第 %d 维的尺寸 %ld 为负数"), k + 1, static_cast<long>(e)));
    g.dims[k] = e;
    elements = mul(elements, e);
  }
  if (t.strides) {
    for (int k = 0; k < nd; ++k) {
      const std::int64_t s = t.strides[k];
      if (s < 0) refuse(str_format(tr("DLPack 张量第 %d 维的间隔 %ld 为负数"), k + 1, static_cast<long>(s)));
      g.strides[k] = s;
    }
  } else {  // no strides: packed in row-major order
    long s = 1;
    for (int k = nd - 1; k >= 0; --k) {
      g.strides[k] = s;
      s = mul(s, g.dims[k]);
    }
  }
  // Dimensions added to reach two step over the whole array, so a packed
  // vector stays a packed column.
  for (std::size_t k = static_cast<std::size_t>(std::max(nd, 0)); k < n; ++k)
    g.strides[k] = k == 0 ? 1 : mul(g.strides[k - 1], g.dims[k - 1]);
  if (elements == 0) {
    // No element, no memory to look at, and strides that mean nothing: the
    // packed ones keep every walk's steps at the null data pointer.
    for (std::size_t k = 0; k < n; ++k) g.strides[k] = k == 0 ? 1 : mul(g.strides[k - 1], g.dims[k - 1]);
    return g;
  }

  // No two elements may share memory: taken by increasing stride, each
  // dimension with more than one position steps past all before it.
  // (Tensors of up to 8 dimensions, nearly all, sort on the stack.)
  std::pair<long, long> few[8];
  std::vector<std::pair<long, long>> many(nd > 8 ? static_cast<std::size_t>(nd) : 0);
  std::pair<long, long>* steps = nd > 8 ? many.data() : few;
  std::size_t n_steps = 0;
  for (int k = 0; k < nd; ++k)
    if (g.dims[k] > 1) steps[n_steps++] = {g.strides[k], g.dims[k]};
  std::sort(steps, steps + n_steps);
  long reach = 0;  // the last element's position
  for (std::size_t i = 0; i < n_steps; ++i) {
    if (steps[i].first <= reach) refuse(tr("DLPack 张量的间隔使不同元素共用内存"));
    reach = add(reach, mul(steps[i].first, steps[i].second - 1));
  }
  const long count = add(reach, 1);
  // A walk steps once past the last position along each dimension: those
  // places must be addressable too (a dimension of one position and a huge
  // stride is refused here).
  long span = 0;
  for (std::size_t k = 0; k < n; ++k) span = add(span, mul(g.dims[k], g.strides[k]));
  const long bytes = mul(std::max(span, count), static_cast<long>(size));
  if (!t.data) refuse(tr("DLPack 张量的数据指针为空"));
  std::uintptr_t first;
  if (__builtin_add_overflow(reinterpret_cast<std::uintptr_t>(t.data), t.byte_offset, &first) ||
      first > std::numeric_limits<std::uintptr_t>::max() - static_cast<std::uintptr_t>(bytes))
    refuse_too_large();
  if (first % align != 0) refuse(tr("DLPack 张量的首元素地址未按元素类型对齐"));
  g.first = reinterpret_cast<char*>(first);
  g.count = static_cast<std::uint64_t>(count);
  return g;
}

void release_tensor(void* t) {
  auto* m = static_cast<DLManagedTensor*>(t);
  if (m->deleter) m->deleter(m);
}

// Hands the tensor to m as its block.  The only step that can fail is the
// block itself, and it adopts nothing when it does.
template <class T>
void adopt_into(DLManagedTensor* t, geometry&& g, matrix<T>& m) {
  auto block = zo_container<T>::adopt(reinterpret_cast<T*>(g.first), g.count, &release_tensor, t);
  m.assign_block(std::move(block), std::move(g.dims), std::move(g.strides), 0);
}

template <class T>
zo_obj value_from(DLManagedTensor* t) {
  geometry g = describe(t->dl_tensor, sizeof(T), alignof(T));
  zo_obj v(internal::dense_kind_of<T>(), static_cast<const void*>(nullptr));  // an empty array
  adopt_into(t, std::move(g), v.get<matrix<T>>());
  return v;
}

}  // namespace

template <class T>
DLManagedTensor* to_dlpack(const matrix<T>& m) {
  const std::size_t nd = m.dim_vec().size();
  void* raw = ::operator new(sizeof(export_block) + 2 * nd * sizeof(std::int64_t));
  auto* b = new (raw) export_block{};  // nothing below allocates or throws
  b->keep = m.block();
  std::int64_t* shape = b->extents();
  std::int64_t* strides = shape + nd;
  for (std::size_t k = 0; k < nd; ++k) {
    shape[k] = m.dim_vec()[k];
    strides[k] = m.stride_vec()[k];
  }
  DLTensor& d = b->tensor.dl_tensor;
  d.data = m.block() ? static_cast<void*>(m.block()->data) : nullptr;
  d.byte_offset = m.block() ? static_cast<std::uint64_t>(m.offset()) * sizeof(T) : 0;
  d.device = {kDLCPU, 0};
  d.ndim = static_cast<int>(nd);
  d.dtype = {dl_type<T>::code, static_cast<std::uint8_t>(8 * sizeof(T)), 1};
  d.shape = shape;
  d.strides = strides;
  b->tensor.manager_ctx = b;
  b->tensor.deleter = &release_export;
  return &b->tensor;
}

DLManagedTensor* to_dlpack(const zo_obj& v) {
  return with_exportable(v, [](const auto& m) { return to_dlpack(m); });
}

DLManagedTensor* to_dlpack_writable(zo_obj& v) {
  // Refused kinds are refused before anything is copied.
  return with_exportable(v, [&v](const auto& m) {
    using M = std::decay_t<decltype(m)>;
    v.copy_on_write(false);  // may replace the payload that m refers to
    return to_dlpack(v.get<M>());
  });
}

template <class T>
matrix<T> matrix_from_dlpack(DLManagedTensor* t) {
  check_header(t);
  if (!dl_type<T>::matches(t->dl_tensor.dtype)) refuse_type(t->dl_tensor.dtype);
  geometry g = describe(t->dl_tensor, sizeof(T), alignof(T));
  matrix<T> m;  // made before the block, which must not be lost
  adopt_into(t, std::move(g), m);
  return m;
}

zo_obj from_dlpack(DLManagedTensor* t) {
  check_header(t);
  const DLDataType& d = t->dl_tensor.dtype;
#define ZORVAT_IMPORT_IF(T) \
  if (dl_type<T>::matches(d)) return value_from<T>(t);
  ZORVAT_FOR_EACH_FLOATING_TYPE(ZORVAT_IMPORT_IF)
  ZORVAT_FOR_EACH_INTEGER_TYPE(ZORVAT_IMPORT_IF)
#undef ZORVAT_IMPORT_IF
  refuse_type(d);
}

#define ZORVAT_INSTANTIATE_TO_DLPACK(T) template DLManagedTensor* to_dlpack<T>(const matrix<T>&);
ZORVAT_FOR_EACH_NUMERIC_TYPE(ZORVAT_INSTANTIATE_TO_DLPACK)
#undef ZORVAT_INSTANTIATE_TO_DLPACK

#define ZORVAT_INSTANTIATE_FROM_DLPACK(T) template matrix<T> matrix_from_dlpack<T>(DLManagedTensor*);
ZORVAT_FOR_EACH_FLOATING_TYPE(ZORVAT_INSTANTIATE_FROM_DLPACK)
ZORVAT_FOR_EACH_INTEGER_TYPE(ZORVAT_INSTANTIATE_FROM_DLPACK)
#undef ZORVAT_INSTANTIATE_FROM_DLPACK

}  // namespace zorvat
