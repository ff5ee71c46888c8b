// DLPack exchange: exports of every element type and layout point at the
// array's own elements and come back as the same memory; tensors of another
// producer are seen in place whatever their layout; each deleter runs once,
// when the last user is gone; refused tensors stay the caller's, untouched.
#include <gtest/gtest.h>

#include <complex>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "io/dlpack.h"
#include "../matrix/test_values.h"
#include "plugin/plugin_manager.h"
#include "plugin/zex.h"
#include "value/kind_table.h"

namespace {

using namespace zorvat;

// Counts deleter calls: watch() puts a counter in front of a tensor's own
// deleter.
struct deleters {
  static inline std::map<DLManagedTensor*, void (*)(DLManagedTensor*)> own;
  static inline long calls = 0;
  static void counted(DLManagedTensor* t) {
    ++calls;
    auto f = own.at(t);
    own.erase(t);
    if (f) f(t);
  }
  static DLManagedTensor* watch(DLManagedTensor* t) {
    own[t] = t->deleter;
    t->deleter = &counted;
    return t;
  }
};

// A tensor of another library: a heap buffer holding sample(0), sample(1),
// ... and its own shape and strides, all freed by its deleter.
struct foreign {
  DLManagedTensor tensor{};
  std::vector<std::int64_t> shape, strides;
  std::vector<unsigned char> bytes;

  template <class T>
  static DLManagedTensor* make(std::vector<std::int64_t> shape, std::vector<std::int64_t> strides,
                               std::uint64_t offset, long elements) {
    auto* f = new foreign{{}, std::move(shape), std::move(strides), std::vector<unsigned char>(sizeof(T) * elements)};
    for (long i = 0; i < elements; ++i) reinterpret_cast<T*>(f->bytes.data())[i] = sample<T>(i);
    DLTensor& d = f->tensor.dl_tensor;
    d.data = elements ? f->bytes.data() : nullptr;
    d.device = {kDLCPU, 0};
    d.ndim = static_cast<int>(f->shape.size());
    constexpr bool is_complex = sizeof(T) == 2 * sizeof(decltype(std::real(T())));
    d.dtype = {static_cast<std::uint8_t>(is_complex ? kDLComplex
                                         : std::is_floating_point<T>::value ? kDLFloat
                                         : std::is_signed<T>::value ? kDLInt : kDLUInt),
               static_cast<std::uint8_t>(8 * sizeof(T)), 1};
    d.shape = f->shape.data();
    d.strides = f->strides.empty() ? nullptr : f->strides.data();
    d.byte_offset = offset * sizeof(T);
    f->tensor.manager_ctx = f;
    f->tensor.deleter = [](DLManagedTensor* t) { delete static_cast<foreign*>(t->manager_ctx); };
    return deleters::watch(&f->tensor);
  }
};

template <class T>
class DlpackTyped : public ::testing::Test {};
#define ZORVAT_TYPE_ITEM(T) , T
using importable = ::testing::Types<double ZORVAT_FOR_EACH_INTEGER_TYPE(ZORVAT_TYPE_ITEM), float,
                                    std::complex<double>, std::complex<float>>;
template <class T>
class DlpackExport : public ::testing::Test {};
using exportable = ::testing::Types<bool ZORVAT_FOR_EACH_FLOATING_TYPE(ZORVAT_TYPE_ITEM)
                                        ZORVAT_FOR_EACH_INTEGER_TYPE(ZORVAT_TYPE_ITEM)>;
#undef ZORVAT_TYPE_ITEM
TYPED_TEST_SUITE(DlpackTyped, importable);
TYPED_TEST_SUITE(DlpackExport, exportable);

// Our arrays in every layout: made from a filled 4x5 block.
template <class T>
std::vector<std::pair<const char*, matrix<T>>> our_layouts() {
  matrix<T> base(4, 5);
  for (long i = 0; i < base.size(); ++i) base[i] = sample<T>(i);
  matrix<T> cube({2, 3, 4});
  return {{"standard", base},
          {"3-d", cube},
          {"strided view", base.view(2, 2, 1, 8, 2)},
          {"offset column", base.view(3, 1, 5)},
          {"N-d view", base.view({2, 2, 2}, {1, 4, 8}, 1)},
          {"empty with block", base.view(0, 3, 2)},
          {"empty", matrix<T>(0, 3)}};
}

TYPED_TEST(DlpackExport, ExportPointsAtOwnElementsAndComesBackAsTheSameMemory) {
  using T = TypeParam;
  for (auto& [name, m] : our_layouts<T>()) {
    SCOPED_TRACE(name);
    const long uses = m.block().use_count();
    DLManagedTensor* t = deleters::watch(to_dlpack(m));
    const DLTensor& d = t->dl_tensor;
    EXPECT_EQ(d.device.device_type, kDLCPU);
    EXPECT_EQ(d.dtype.bits, 8 * sizeof(T));
    EXPECT_EQ(d.dtype.lanes, 1);
    EXPECT_EQ(std::vector<long>(d.shape, d.shape + d.ndim), m.dim_vec());
    EXPECT_EQ(std::vector<long>(d.strides, d.strides + d.ndim), m.stride_vec());
    if (m.block()) {
      EXPECT_EQ(static_cast<char*>(d.data) + d.byte_offset, reinterpret_cast<char*>(m.data()));
    }
    EXPECT_EQ(m.block().use_count(), uses + (m.block() ? 1 : 0));

    const long before = deleters::calls;
    {
      zo_obj back = from_dlpack(t);  // bool comes back as uint8
      using B = std::conditional_t<std::is_same_v<T, bool>, unsigned char, T>;
      ASSERT_EQ(back.type, internal::dense_kind_of<B>());
      const auto& r = back.get<matrix<B>>();
      EXPECT_EQ(r.dim_vec(), m.dim_vec());
      EXPECT_EQ(r.stride_vec(), m.stride_vec());
      if (!m.is_empty()) {
        EXPECT_EQ(static_cast<const void*>(r.data()), static_cast<const void*>(m.data()));
      }
      EXPECT_EQ(deleters::calls, before);
    }
    EXPECT_EQ(deleters::calls, before + 1);
    EXPECT_EQ(m.block().use_count(), uses);
  }
}

TEST(Dlpack, LogicalLeavesAsEightBitUnsignedAndReturnsAsUint8) {
  auto v = zo_obj::make_matrix<bool>(1, 3, {true, false, true});
  DLManagedTensor* t = to_dlpack(*v);
  EXPECT_EQ(t->dl_tensor.dtype.code, kDLUInt);
  EXPECT_EQ(from_dlpack(t).type, type_uint8);
}

// Tensors of another producer: (shape, strides (none: row-major), offset, buffer length).
struct foreign_layout {
  const char* name;
  std::vector<std::int64_t> shape, strides;
  std::uint64_t offset;
  long buffer;
};
const foreign_layout foreign_layouts[] = {
    {"row-major, no strides", {2, 3}, {}, 0, 6},
    {"row-major strides", {2, 3}, {3, 1}, 0, 6},
    {"column-major", {2, 3}, {1, 2}, 0, 6},
    {"strided slice", {2, 2}, {8, 3}, 1, 16},
    {"offset vector", {3}, {1}, 5, 8},
    {"3-d, no strides", {2, 3, 4}, {}, 0, 24},
    {"scalar", {}, {}, 2, 3},
    {"broadcast extent 1", {3, 1}, {1, 0}, 0, 3},
    {"empty", {0, 3}, {}, 0, 0},
};

TYPED_TEST(DlpackTyped, ImportSeesTheProducersElementsInPlace) {
  using T = TypeParam;
  for (const auto& l : foreign_layouts) {
    SCOPED_TRACE(l.name);
    const long before = deleters::calls;
    DLManagedTensor* t = foreign::make<T>(l.shape, l.strides, l.offset, l.buffer);
    const T* buffer = reinterpret_cast<const T*>(static_cast<foreign*>(t->manager_ctx)->bytes.data());
    std::vector<std::int64_t> strides = l.strides;
    if (strides.empty()) {  // row-major
      strides.assign(l.shape.size(), 1);
      for (size_t k = l.shape.size(); k-- > 1;) strides[k - 1] = strides[k] * l.shape[k];
    }
    {
      matrix<T> m = matrix_from_dlpack<T>(t);
      long product = 1;
      for (auto e : l.shape) product *= e;
      EXPECT_EQ(m.size(), product);
      EXPECT_GE(m.ndims(), 2);
      long seen = 0;
      for (auto it = m.begin(), e = m.end(); it != e && !m.is_empty(); ++it, ++seen) {
        long pos = static_cast<long>(l.offset);
        for (size_t k = 0; k < l.shape.size(); ++k) pos += it.index()[k] * strides[k];
        EXPECT_EQ(&*it, buffer + pos);
      }
      EXPECT_EQ(seen, product);
      zo_obj shared = from_dlpack(to_dlpack(m.dup(true)));  // a second user of the memory
      matrix<T> copy = m;                                   // copies the elements: no user
      m = matrix<T>();
      EXPECT_EQ(deleters::calls, before);
      if (product > 0) {
        EXPECT_NE(static_cast<const void*>(copy.data()), static_cast<const void*>(buffer));
      }
    }
    EXPECT_EQ(deleters::calls, before + 1);
  }
}

TEST(Dlpack, ExportOutlivesTheValueAndWritesReachOnlyTheOwner) {
  auto a = zo_obj::make_matrix<double>(2, 2, {1, 2, 3, 4});
  DLManagedTensor* t = to_dlpack(*a);
  a.reset();  // the tensor keeps the elements alive
  EXPECT_EQ(static_cast<double*>(t->dl_tensor.data)[3], 4.0);
  t->deleter(t);

  auto b = zo_obj::make_matrix<int>(1, 2, {5, 6});
  zo_obj c = *b;  // shares b's payload
  DLManagedTensor* w = to_dlpack_writable(c);
  EXPECT_NE(c.payload(), b->payload());
  static_cast<int*>(w->dl_tensor.data)[0] = 7;
  EXPECT_EQ(c.get<matrix<int>>()(0), 7);
  EXPECT_EQ(b->get<matrix<int>>()(0), 5);
  const void* own = c.payload();
  w->deleter(w);
  w = to_dlpack_writable(c);  // not shared any more: no copy
  EXPECT_EQ(c.payload(), own);
  w->deleter(w);
}

// Refused tensors: the change to a good 2x3 double tensor, and the message.
struct refusal {
  const char* name;
  std::function<void(DLTensor&)> spoil;
  const char* message;
};
const refusal refusals[] = {
    {"device", [](DLTensor& d) { d.device.device_type = kDLCUDA; }, "DLPack 张量不在 CPU 上（设备类型 2），不能导入"},
    {"lanes", [](DLTensor& d) { d.dtype.lanes = 4; }, "DLPack 张量每个元素有 4 个通道，只能导入单通道的张量"},
    {"float16", [](DLTensor& d) { d.dtype.bits = 16; }, "DLPack 张量的元素类型（代码 2，16 位）没有对应的数组元素类型"},
    {"bfloat16", [](DLTensor& d) { d.dtype = {kDLBfloat, 16, 1}; }, "（代码 4，16 位）"},
    {"opaque", [](DLTensor& d) { d.dtype.code = kDLOpaqueHandle; }, "（代码 3，64 位）"},
    {"ndim", [](DLTensor& d) { d.ndim = -1; }, "DLPack 张量的维数 -1 无效"},
    {"extent", [](DLTensor& d) { d.shape[1] = -3; }, "DLPack 张量第 2 维的尺寸 -3 为负数"},
    {"stride", [](DLTensor& d) { d.strides[0] = -1; }, "DLPack 张量第 1 维的间隔 -1 为负数"},
    {"zero stride", [](DLTensor& d) { d.strides[1] = 0; }, "DLPack 张量的间隔使不同元素共用内存"},
    {"interleaved", [](DLTensor& d) { d.strides[0] = 2; }, "共用内存"},
    {"overflow", [](DLTensor& d) { d.shape[0] = 1L << 62; }, "DLPack 张量的尺寸过大"},
    {"one position, huge stride", [](DLTensor& d) { d.shape[0] = 1, d.strides[0] = 1L << 61; }, "DLPack 张量的尺寸过大"},
    {"address overflow", [](DLTensor& d) { d.byte_offset = ~0UL - 8; }, "DLPack 张量的尺寸过大"},
    {"null data", [](DLTensor& d) { d.data = nullptr; }, "DLPack 张量的数据指针为空"},
    {"null shape", [](DLTensor& d) { d.shape = nullptr; }, "DLPack 张量的形状为空指针"},
    {"misaligned", [](DLTensor& d) { d.byte_offset = 4; }, "DLPack 张量的首元素地址未按元素类型对齐"},
};

TEST(Dlpack, RefusedTensorsStayTheCallersUntouched) {
  for (const auto& r : refusals) {
    SCOPED_TRACE(r.name);
    DLManagedTensor* t = foreign::make<double>({2, 3}, {1, 2}, 0, 6);
    std::int64_t* shape = t->dl_tensor.shape;
    r.spoil(t->dl_tensor);
    const DLTensor spoiled = t->dl_tensor;
    const std::vector<std::int64_t> dims(shape, shape + 2);
    const long before = deleters::calls;
    try {
      from_dlpack(t);
      ADD_FAILURE() << "accepted";
    } catch (const std::invalid_argument& e) {
      EXPECT_NE(std::string(e.what()).find(r.message), std::string::npos) << e.what();
    }
    EXPECT_EQ(zxFromDLPack(t), nullptr);
    const std::string error = zxLastError() ? zxLastError() : "";
    zxClearError();
    EXPECT_EQ(error.rfind("zxFromDLPack：", 0), 0u) << error;
    EXPECT_NE(error.find(r.message), std::string::npos) << error;
    EXPECT_EQ(deleters::calls, before);
    EXPECT_EQ(std::memcmp(&spoiled, &t->dl_tensor, sizeof spoiled), 0);
    EXPECT_EQ(std::vector<std::int64_t>(shape, shape + 2), dims);
    t->deleter(t);
  }
  EXPECT_THROW(from_dlpack(nullptr), std::invalid_argument);
  DLManagedTensor* ints = foreign::make<int>({2}, {}, 0, 2);
  EXPECT_THROW(matrix_from_dlpack<unsigned>(ints), std::invalid_argument);
  ints->deleter(ints);
}

TEST(Dlpack, KindsWithoutAnElementTypeOfDlpackAreRefusedForExport) {
  for (const zo_obj& v : {zo_obj("text", type_char), zo_obj("s"), zo_obj(type_cell, nullptr),
                          zo_obj(type_sparse_double, nullptr), zo_obj()}) {
    EXPECT_THROW(to_dlpack(v), std::invalid_argument);
    EXPECT_EQ(zxToDLPack(reinterpret_cast<const __zxArray*>(&v)), nullptr);
    EXPECT_NE(std::string(zxLastError()).find("不能导出为 DLPack 张量"), std::string::npos);
    zxClearError();
  }
  EXPECT_EQ(zxToDLPackWritable(nullptr), nullptr);
  EXPECT_STREQ(zxLastError(), "zxToDLPackWritable：空句柄");
  zxClearError();
}

// The tutorial's plugin: the argument crosses to the other library and the
// result comes back, both in place, and the result's memory is released
// with the last value.
TEST(Dlpack, TutorialPluginRunsAForeignComputation) {
  auto& mgr = global::plugin_mgr();
  ASSERT_EQ(mgr.add("foreign", {}, ZORVAT_IO_PLUGIN_ROOT), 0) << mgr.error_msg();
  auto x = std::make_shared<zo_obj>(type_double, new matrix<double>(matrix<double>(3, 4).view(3, 2, 1, 4)));
  auto& xm = x->get<matrix<double>>();
  for (long i = 0; i < 6; ++i) xm(i) = static_cast<double>(i + 1);
  internal::plugin_manager::result_list out;
  internal::plugin_manager::apply_function(mgr.get_function_by_name("foreign::cumsum"), 1, {x}, out);
  const auto& y = out.at(0)->get<matrix<double>>();
  EXPECT_EQ(y.stride_vec(), (std::vector<long>{2, 1}));  // the other library's row-major layout
  EXPECT_EQ((std::vector<double>(y.begin(), y.end())), (std::vector<double>{1, 3, 6, 4, 9, 15}));
  const auto live = [&] {
    internal::plugin_manager::result_list n;
    internal::plugin_manager::apply_function(mgr.get_function_by_name("foreign::live"), 1, {}, n);
    return n.at(0)->as_int();
  };
  EXPECT_EQ(live(), 1);
  out.clear();
  EXPECT_EQ(live(), 0);
  EXPECT_EQ(mgr.remove("foreign"), 0);
}

}  // namespace
