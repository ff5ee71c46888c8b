// Tests of libzex.so (plugin/zex.h) through a plugin written in C that calls
// every function of the header, loaded by the plugin manager.  The plugin's
// view of a value (zt::read) is checked against the value itself, its made
// values against the documented ones, and a table of bad uses against the
// error each must give.
#include <cmath>
#include <complex>
#include <cstring>
#include <stdexcept>

#include "host/host_services.h"
#include "matrix/matrix.h"
#include "plugin/plugin_error.h"
#include "plugin/zex.h"
#include "plugin_test_util.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/kind_table.h"
#include "value/structure.h"

namespace zorvat_test {
namespace {

using zorvat::matrix;
using value_ptr = std::shared_ptr<zo_obj>;

class Zex : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    ASSERT_EQ(mgr().add("tp_zex", {}, plugin_root), 0) << mgr().error_msg();
  }
  void TearDown() override {
    if (mgr().is_loaded("tp_zex")) mgr().remove("tp_zex");
    PluginTest::TearDown();
  }
  std::vector<value_ptr> call(const std::string& name, int nargout, std::vector<std::shared_ptr<const zo_obj>> args = {}) {
    std::vector<value_ptr> out;
    plugin_manager::apply_function(mgr().get_function_by_name(name), nargout, args, out);
    return out;
  }
  // The text of the error that the call raises ("" when it succeeds).
  std::string error_of(const std::string& name, std::vector<std::shared_ptr<const zo_obj>> args) {
    try {
      call(name, 0, std::move(args));
    } catch (const std::runtime_error& e) {
      return e.what();
    }
    return "";
  }
};

value_ptr make(zo_obj v) { return std::make_shared<zo_obj>(std::move(v)); }
template <class T>
value_ptr dense(std::vector<long> dims, std::vector<T> items) {
  auto* m = new matrix<T>(dims);
  for (long k = 0; k < m->size(); ++k) (*m)(k) = items[static_cast<size_t>(k)];
  return make(zo_obj(zorvat::internal::dense_kind_of<T>(), m));
}
std::vector<double> doubles(const zo_obj& v) {
  const auto& m = v.get<matrix<double>>();
  return std::vector<double>(m.data(), m.data() + m.size());
}
// Element k of a cell; an empty slot reads as an empty double, as zxGetCell gives it.
const zo_obj& elem(const value_ptr& cell, long k) {
  static const zo_obj empty(zorvat::type_double, nullptr);
  const auto& e = cell->get<zorvat::cell_array>()(k);
  return e ? *e : empty;
}

TEST_F(Zex, MakersGiveTheDocumentedValues) {
  auto out = call("zt::make", 20);
  ASSERT_EQ(out.size(), 20u);
  const char* briefs[] = {"2x1x3 int16",   "2x2 complex single", "1x3 double",  "2x1 complex double",
                          "1x2 logical",   "1x1 double",         "1x1 complex double", "1x1 logical",
                          "1x1 int64",     "1x3 char",           "1x1 string",  "1x3 string",
                          "2x1x3 cell array", "1x2 cell array",  "3x1 struct array", "1x1 struct",
                          "3x2 sparse double", "3x2 sparse complex double", "3x3 sparse logical",
                          "2x2 sparse single"};
  for (size_t k = 0; k < out.size(); ++k) EXPECT_EQ(out[k]->brief_type_str(), briefs[k]) << k;
  EXPECT_EQ(out[5]->as_double(), 2.5);
  EXPECT_EQ(out[6]->get<matrix<std::complex<double>>>()(0), std::complex<double>(1, -1));
  EXPECT_TRUE(out[7]->as_bool());
  EXPECT_EQ(out[8]->as_int(), -7);
  EXPECT_EQ(out[9]->as_string(), "h\xc3\xa9");
  EXPECT_EQ(out[10]->as_string(), "text");
  const auto& texts = out[11]->get<matrix<std::string>>();
  EXPECT_EQ((std::vector<std::string>{texts(0), texts(1), texts(2)}), (std::vector<std::string>{"a", "", "ccc"}));
  EXPECT_EQ(out[12]->get<zorvat::cell_array>()(5), nullptr);  // an empty slot
  EXPECT_EQ(out[14]->get<zorvat::structure>().fieldnames(), (std::vector<std::string>{"x", "y"}));
  EXPECT_EQ(out[15]->get<zorvat::structure>().nfields(), 0);
  // Triplets at the same place are added; compressed columns as given.
  const auto& sp = out[16]->get<zorvat::sparse_matrix<double>>().to_full();
  EXPECT_EQ((std::vector<double>{sp(0, 0), sp(2, 0), sp(0, 1)}), (std::vector<double>{0, -2, 4}));
  const auto& cs = out[17]->get<zorvat::sparse_matrix<std::complex<double>>>().to_full();
  EXPECT_EQ(cs(0, 1), std::complex<double>(1, 3));
  const auto& lg = out[18]->get<zorvat::sparse_matrix<bool>>().to_full();
  EXPECT_EQ((std::vector<bool>{lg(1, 0), lg(0, 2), lg(2, 2), lg(0, 0)}), (std::vector<bool>{true, false, true, false}));
}

// What zt::read reports must be what the value is.
TEST_F(Zex, ReadersDescribeEveryKindOfValue) {
  auto cell = make(zo_obj(zorvat::type_cell, new zorvat::cell_array(1, 2)));
  cell->get<zorvat::cell_array>()(1) = make(zo_obj("ab", zorvat::type_char));
  auto st = make(zo_obj(zorvat::type_struct, new zorvat::structure(1, 1)));
  st->get<zorvat::structure>().set_field("q", make(zo_obj(3.0)), false);
  st->get<zorvat::structure>().set_field("p", make(zo_obj("z")), false);
  std::vector<zorvat::triplet<double>> t{{5.0, 1, 0}, {6.0, 1, 2}};
  auto sparse = make(zo_obj(zorvat::type_sparse_double, new zorvat::sparse_matrix<double>(t, 3, 2)));
  auto wide_sparse = make(*sparse);  // with slack behind column 0
  wide_sparse->copy_on_write(false);
  wide_sparse->get<zorvat::sparse_matrix<double>>().reserve(std::vector<long>{2, 0});

  struct row {
    value_ptr v;
    const char* flags;   // numeric complex double logical char string cell struct sparse empty scalar class
    double scalar;       // NaN: none
    const char* text;    // null: none
  };
  const double none = std::nan("");
  const std::vector<row> rows = {
      {dense<double>({2, 2}, {1, 2, 3, 4}), "101000000001", 1, nullptr},
      {dense<std::complex<double>>({1, 2}, {{1, 2}, {3, 4}}), "111000000001", 1, nullptr},
      {dense<signed char>({1, 2, 2}, {-1, 2, 3, 4}), "100000000001", -1, nullptr},
      {dense<bool>({1, 1}, {true}), "000100000011", 1, nullptr},
      {make(zo_obj("hello", zorvat::type_char)), "000010000001", 'h', "hel"},
      {dense<char>({2, 1}, {'a', 'b'}), "000010000001", 'a', "?"},
      {make(zo_obj("xy")), "000001000011", none, "xy"},
      {dense<double>({0, 3}, {}), "101000000101", none, nullptr},
      {cell, "000000100001", none, nullptr},
      {st, "000000010011", none, nullptr},
      {sparse, "100000001001", none, nullptr},
      {wide_sparse, "100000001001", none, nullptr},
      {make(zo_obj(zorvat::function_handle(zorvat::fh_type{}, "sin"))), "000000000011", none, nullptr},
      {make(zo_obj(new probe(7))), "000000000011", none, nullptr},
  };
  for (const row& r : rows) {
    SCOPED_TRACE(r.v->brief_type_str());
    auto out = call("zt::read", 1, {r.v});
    ASSERT_EQ(out.size(), 1u);
    const zo_obj& v = *r.v;
    const std::vector<long> dims = v.array_base() ? v.array_base()->dim_vec()
                                   : v.container() ? v.container()->dim_vec()
                                                   : std::vector<long>{1, 1};
    long numel = 1;
    for (long d : dims) numel *= d;
    EXPECT_EQ(elem(out[0], 0).as_double(), v.type);
    const std::string cls = v.type == zorvat::type_extern ? "extern object" : zorvat::type_str(v.type);
    EXPECT_EQ(elem(out[0], 1).as_string(), cls);
    EXPECT_EQ(elem(out[0], 2).as_double(), static_cast<double>(dims.size()));
    EXPECT_EQ(doubles(elem(out[0], 3)), std::vector<double>(dims.begin(), dims.end()));
    EXPECT_EQ(elem(out[0], 4).as_double(), numel);
    EXPECT_EQ(elem(out[0], 5).as_double(), dims[0]);
    long n = 1;
    for (size_t k = 1; k < dims.size(); ++k) n *= dims[k];
    EXPECT_EQ(elem(out[0], 6).as_double(), n);
    EXPECT_EQ(elem(out[0], 7).as_string(), r.flags);
    if (!std::isnan(r.scalar)) { EXPECT_EQ(elem(out[0], 8).as_double(), r.scalar); }
    if (r.text) { EXPECT_EQ(elem(out[0], 9).as_string(), r.text); }
    const zo_obj& extra = elem(out[0], 10);
    if (v.type == zorvat::type_double && numel > 0) { EXPECT_EQ(doubles(extra), doubles(v)); }
    if (v.type == zorvat::type_complex_double) {
      EXPECT_EQ(extra.get<matrix<std::complex<double>>>()(1), std::complex<double>(3, 4));
    }
    if (v.type == zorvat::type_cell) { EXPECT_EQ(extra.brief_type_str(), "1x2 cell array"); }
    if (v.type == zorvat::type_cell) { EXPECT_EQ(extra.get<zorvat::cell_array>()(1)->as_string(), "char"); }
    if (v.type == zorvat::type_struct) {
      const auto& c = extra.get<zorvat::cell_array>();
      EXPECT_EQ(c(0)->as_string(), "q");
      EXPECT_EQ(c(1)->as_double(), 3.0);
      EXPECT_EQ(c(2)->as_string(), "p");
      EXPECT_EQ(c(3)->as_string(), "z");
    }
    if (v.type == zorvat::type_sparse_double) {
      // jc, jcEnd, then (row, value) of each entry: column 0 is empty (with
      // slack in the second matrix), column 1 holds rows 0 and 2.
      const long slack = r.v == wide_sparse ? 2 : 0;
      const double s = static_cast<double>(slack);
      EXPECT_EQ(doubles(extra), (std::vector<double>{0, s, s + 2, 0, s + 2, 0, 5, 2, 6}));
    }
  }
}

TEST_F(Zex, PluginChangesItsOwnValues) {
  auto out = call("zt::change", 4);
  ASSERT_EQ(out.size(), 4u);
  EXPECT_EQ(out[0]->brief_type_str(), "2x2 cell array");
  EXPECT_EQ(elem(out[0], 0).as_double(), 1.0);
  EXPECT_EQ(out[0]->get<zorvat::cell_array>()(1), nullptr);  // grown: an empty slot
  ASSERT_NE(out[0]->get<zorvat::cell_array>()(2), nullptr);  // stored as null: a value
  EXPECT_EQ(elem(out[0], 2).brief_type_str(), "empty 0x0 double");
  EXPECT_EQ(elem(out[0], 3).as_string(), "last");
  const auto& s = out[1]->get<zorvat::structure>();
  EXPECT_EQ(s.fieldnames(), (std::vector<std::string>{"b", "a"}));
  EXPECT_EQ(s.dim_vec(), (std::vector<long>{1, 3}));
  EXPECT_EQ(s.get_field_table("b")(0)->as_double(), 2.0);
  EXPECT_EQ(s.get_field_table("a")(2)->as_double(), 1.0);  // zxAddField gave field number 1
  EXPECT_EQ(out[2]->brief_type_str(), "1x3 double");
  EXPECT_EQ(doubles(*out[2]), (std::vector<double>{1, 3, 0}));
  EXPECT_EQ(out[3]->get<zorvat::sparse_matrix<double>>().to_full()(1, 1), 4.0);
}

TEST_F(Zex, WritableDataOfADuplicateLeavesTheArgumentAlone) {
  auto x = dense<double>({1, 2}, {5, 6});
  auto out = call("zt::dup", 1, {x});
  EXPECT_EQ(doubles(*out[0]), (std::vector<double>{-1, 6}));
  EXPECT_EQ(doubles(*x), (std::vector<double>{5, 6}));
}

// Bad uses give the call's error, in the library's messages, and never crash.
TEST_F(Zex, BadUsesGiveClearErrors) {
  const std::vector<std::pair<int, std::string>> table = {
      {0, "zxGetKind：空句柄"},
      {1, "zxGetCell：类型为 double 的值不是元胞数组"},
      {2, "zxGetCell：索引 1 超出范围（共 1 个元素）"},
      {3, "zxCreateNumericMatrix：种类编号 25 不能用于此处"},
      {4, "zxCreateNumericArray：尺寸过大，无法分配"},
      {5, "zxCreateNumericArray：尺寸 -1 为负数"},
      {6, "zxCreateNumericArray：维数 0 无效"},
      {7, "zxCreateSparse：第 0 个元素的位置 (5, 0) 超出 2x2 的范围"},
      {8, "zxCreateSparseFromColumns：列起点数组无效"},
      {9, "zxCreateSparseFromColumns：第 0 列的行号无效或未按升序排列"},
      {10, "zxCreateStructArray：字段名无效"},
      {11, "zxGetString：类型为 double 的值不是字符行向量或字符串标量"},
      {12, "zxGetDoubles：类型为 cell 的值不是double"},
      {13, "zxGetFieldNameByNumber：类型为 double 的值不是结构体数组"},
      {14, "zxGetScalar：类型为 cell 的值不是稠密数值、字符或逻辑数组"},
      {15, "zxResize：空指针参数"},
      {16, "zxSetCell：索引 -1 超出范围（共 1 个元素）"},
      {17, "zxGetJc：类型为 cell 的值不是稀疏矩阵"},
      {18, "zxCallFunction：函数名无效"},
      {19, "zxGetWritableData：空句柄"},
      {20, "zxCreateNumericMatrix：尺寸过大，无法分配"},
      {21, "zxResize：尺寸 -1 为负数"},
      {22, "zxGetFieldNameByNumber：字段编号 1 超出范围（共 1 个字段）"},
      {23, "zxGetFieldByNumber：字段编号 -1 超出范围（共 1 个字段）"},
      {24, "zxResize：类型为 string 的值不能改变尺寸"},
      {25, "zxResize：尺寸过大，无法分配"},
      {26, "zxResize：稀疏矩阵只有两个维度"},
      {27, "zxCreateNumericArray：尺寸过大，无法分配"},
      {28, "zxCreateSparse：种类编号 9 不能用于此处"},
      {29, "zxCreateNumericArray：无法分配 8192.0 TiB 大小的内存"},
  };
  for (const auto& [k, message] : table) {
    EXPECT_EQ(error_of("zt::bad", {num(k), num(2)}), message) << "bad use " << k;
  }
  // The error belongs to its call: the next call starts clean.
  EXPECT_EQ(call("zt::dup", 1, {num(1)}).size(), 1u);
}

TEST_F(Zex, ZxErrorBecomesTheCallsErrorAndTheFirstOneWins) {
  EXPECT_EQ(error_of("zt::fail", {make(zo_obj("failed with %d", zorvat::type_char)), num(42)}), "failed with 42");
  // A misuse the plugin cleared itself is no error.
  auto out = call("zt::fail", 1);
  EXPECT_TRUE(out[0]->as_bool());
  // Operators report it the same way.
  int status = 0;
  EXPECT_EQ(mgr().register_operator("tp_zex", zxOpPlus, 201, mgr().get_function_by_name("zt::bad")), 0);
  std::vector<std::shared_ptr<const zo_obj>> operands{value_of_type(201), num(0)};
  EXPECT_THROW(mgr().apply_operator(zxOpPlus, operands, status), std::runtime_error);
  EXPECT_EQ(status, 2);
  EXPECT_EQ(mgr().error_msg(), "zxGetScalar：类型为 extern object 的值不是稠密数值、字符或逻辑数组");
}

// zxPrintf writes to the host's console; zxCallFunction goes through the
// host's "feval" service, and a failure inside it (here a nested plugin
// call's error) becomes the outer call's error.
TEST_F(Zex, ServicesReachTheHost) {
  static std::vector<std::string> called;
  called.clear();
  static zorvat::host_call_function feval = [](std::vector<std::shared_ptr<zo_obj const>>& args,
                                                std::vector<value_ptr>& results) {
    called.push_back(args[0]->as_string());
    if (args[0]->as_string() == "nested") {
      std::vector<value_ptr> ignored;
      std::vector<std::shared_ptr<const zo_obj>> bad{num(0)};
      plugin_manager::apply_function(mgr().get_function_by_name("zt::bad"), 0, bad, ignored);
    }
    if (args[0]->as_string() == "short") return;
    if (args[0]->as_string() == "odd") throw 42;  // no std::exception: still no exception into C
    results.push_back(make(zo_obj(args[1]->as_double() * 2)));
    results.push_back(make(zo_obj(0.0)));
  };
  host.answer_with("feval_ptr", &feval);

  auto out = call("zt::service", 1, {make(zo_obj("twice", zorvat::type_char)), num(21)});
  EXPECT_EQ(out[0]->as_double(), 42.0);
  EXPECT_EQ(query_texts("write_to_cout"), std::vector<std::string>{"calling twice with 1 element(s)\n"});
  EXPECT_EQ(error_of("zt::service", {make(zo_obj("nested", zorvat::type_char)), num(1)}),
            "zxCallFunction：zxGetKind：空句柄");
  EXPECT_EQ(error_of("zt::service", {make(zo_obj("short", zorvat::type_char)), num(1)}),
            "zxCallFunction：调用 short 得到 0 个结果，需要 2 个");
  EXPECT_EQ(error_of("zt::service", {make(zo_obj("odd", zorvat::type_char)), num(1)}), "zxCallFunction：未知错误");
  EXPECT_EQ(called, (std::vector<std::string>{"twice", "nested", "short", "odd"}));
}

// Outside any plugin call the functions work as well (for example from a
// C++ host or test), and a misuse still never throws.
// Every sparse kind, made from triplets and from compressed columns, gives
// the same matrix, and a resize keeps its entries.  The value bytes 0x3f
// make a non-zero element of every value type.
TEST(ZexDirect, SparseMakersAgreeForEverySparseKind) {
  alignas(16) unsigned char values[64];
  std::memset(values, 0x3f, sizeof values);
  const long rows[] = {2, 0}, cols[] = {0, 1}, jc[] = {0, 1, 2}, ir[] = {2, 0};
  for (zxKind kind : {zxKindSparseDouble, zxKindSparseSingle, zxKindSparseComplexDouble, zxKindSparseComplexSingle,
                      zxKindSparseLogical}) {
    SCOPED_TRACE(kind);
    __zxArray* a = zxCreateSparse(3, 2, 2, rows, cols, values, kind);
    __zxArray* b = zxCreateSparseFromColumns(3, 2, jc, ir, values, kind);
    ASSERT_TRUE(a && b) << zxLastError();
    for (__zxArray* m : {a, b}) {
      EXPECT_EQ(zxGetKind(m), kind);
      EXPECT_EQ(zxGetNnz(m), 2);
      EXPECT_EQ(std::vector<long>(zxGetJc(m), zxGetJc(m) + 3), std::vector<long>(jc, jc + 3));
      EXPECT_EQ(std::vector<long>(zxGetIr(m), zxGetIr(m) + 2), std::vector<long>(ir, ir + 2));
    }
    const long dims[] = {4, 3};
    EXPECT_EQ(zxResize(a, 2, dims), 0);
    EXPECT_EQ(zxGetM(a), 4);
    EXPECT_EQ(zxGetN(a), 3);
    EXPECT_EQ(zxGetNnz(a), 2);
    zxDestroyArray(a);
    zxDestroyArray(b);
  }
  EXPECT_EQ(zxLastError(), nullptr);
}

TEST(ZexDirect, EveryFailureResultIsTheDocumentedOne) {
  zorvat::internal::clear_plugin_error();
  EXPECT_EQ(zxGetKind(nullptr), zxKindError);
  EXPECT_STREQ(zxLastError(), "zxGetKind：空句柄");
  EXPECT_EQ(zxGetClassName(nullptr), nullptr);
  EXPECT_EQ(zxGetNumberOfDimensions(nullptr), 0);
  EXPECT_EQ(zxGetDimensions(nullptr), nullptr);
  EXPECT_EQ(zxGetM(nullptr), -1);
  EXPECT_EQ(zxGetNumberOfElements(nullptr), -1);
  EXPECT_TRUE(std::isnan(zxGetScalar(nullptr)));
  EXPECT_EQ(zxGetString(nullptr, nullptr, 0), -1);
  EXPECT_EQ(zxGetNumberOfFields(nullptr), -1);
  EXPECT_EQ(zxGetFieldNumber(nullptr, "a"), -1);
  EXPECT_EQ(zxGetNnz(nullptr), -1);
  EXPECT_EQ(zxSetField(nullptr, 0, "a", nullptr), -1);
  EXPECT_EQ(zxAddField(nullptr, "a"), -1);
  EXPECT_EQ(zxRemoveField(nullptr, "a"), -1);
  EXPECT_EQ(zxIsNumeric(nullptr), 0);
  EXPECT_STREQ(zxLastError(), "zxGetKind：空句柄");  // the first error stays
  zxClearError();
  EXPECT_EQ(zxLastError(), nullptr);
  // Text is cut to the buffer and the full length returned.
  __zxArray* s = zxCreateCharArray("abcdef");
  char buf[4] = "xyz";
  EXPECT_EQ(zxGetString(s, buf, sizeof buf), 6);
  EXPECT_STREQ(buf, "abc");
  EXPECT_EQ(zxGetString(s, nullptr, 0), 6);
  zxDestroyArray(s);
  zxDestroyArray(nullptr);
  // Complex single values enter a sparse matrix as they are; no name is no field.
  const long row[] = {1}, col[] = {0};
  const zxComplexSingle z[] = {{1.5f, -2.0f}};
  __zxArray* sp = zxCreateSparse(2, 2, 1, row, col, z, zxKindSparseComplexSingle);
  const auto* stored = static_cast<const zxComplexSingle*>(zxGetSparseValues(sp));
  EXPECT_EQ(zxGetIr(sp)[0], 1);
  EXPECT_EQ(stored[0].re, 1.5f);
  EXPECT_EQ(stored[0].im, -2.0f);
  __zxArray* st = zxCreateStructMatrix(1, 1, 0, nullptr);
  EXPECT_EQ(zxGetFieldNumber(st, nullptr), -1);
  EXPECT_EQ(zxGetFieldNumber(st, "absent"), -1);
  zxDestroyArray(sp);
  zxDestroyArray(st);
  EXPECT_EQ(zxLastError(), nullptr);
  // An empty slot of a cell reads as an empty double; a contiguous view's
  // elements are readable at any place in the block, a strided one's not.
  const zo_obj cell(zorvat::type_cell, new zorvat::cell_array(1, 1));
  const __zxArray* slot = zxGetCell(reinterpret_cast<const __zxArray*>(&cell), 0);
  ASSERT_NE(slot, nullptr);
  EXPECT_EQ(zxGetKind(slot), zxKindDouble);
  EXPECT_EQ(zxGetNumberOfElements(slot), 0);
  matrix<double> block(3, 2);
  for (auto* view : {new matrix<double>(block.view(2, 2, 1)), new matrix<double>(block.view(2, 1, 1, 3, 2))}) {
    const zo_obj v(zorvat::type_double, view);
    const void* got = zxGetData(reinterpret_cast<const __zxArray*>(&v));
    EXPECT_EQ(got, view->is_contiguous() ? view->data() : nullptr);
    EXPECT_EQ(zxLastError() ? std::string(zxLastError()) : "", view->is_contiguous() ? "" : "zxGetData：数组的元素不是连续存放的");
    zxClearError();
  }
  // A duplicate of the strided view is written as a packed array of its own.
  for (long k = 0; k < block.size(); ++k) block(k) = static_cast<double>(k);
  const zo_obj strided(zorvat::type_double, new matrix<double>(block.view(2, 1, 1, 3, 2)));  // elements 1, 3
  __zxArray* dup = zxDuplicateArray(reinterpret_cast<const __zxArray*>(&strided));
  auto* w = static_cast<double*>(zxGetWritableData(dup));
  ASSERT_NE(w, nullptr) << zxLastError();
  EXPECT_EQ((std::vector<double>{w[0], w[1]}), (std::vector<double>{1, 3}));
  w[0] = 9;
  EXPECT_EQ(block(1), 1.0);
  zxDestroyArray(dup);
  EXPECT_EQ(zxLastError(), nullptr);
  // Counts and pointers that cannot be right, each with its message.
  static const long jc[] = {0, 1};
  const struct {
    void (*call)();
    const char* message;
  } refused[] = {
      {[] { zxCallFunction("f", -1, nullptr, 0, nullptr); }, "zxCallFunction：参数个数 -1 无效"},
      {[] { zxCallFunction("f", 0, nullptr, -2, nullptr); }, "zxCallFunction：参数个数 -2 无效"},
      {[] { zxCallFunction("f", 1, nullptr, 0, nullptr); }, "zxCallFunction：空指针参数"},
      {[] { zxCallFunction("f", 0, nullptr, 1, nullptr); }, "zxCallFunction：空指针参数"},
      {[] { zxDestroyArray(zxCreateStructMatrix(1, 1, -1, nullptr)); }, "zxCreateStructArray：字段个数 -1 无效"},
      {[] { zxDestroyArray(zxCreateStructMatrix(1, 1, 1, nullptr)); }, "zxCreateStructArray：空指针参数"},
      {[] { zxDestroyArray(zxCreateSparse(2, 2, -1, nullptr, nullptr, nullptr, zxKindSparseDouble)); },
       "zxCreateSparse：尺寸 -1 为负数"},
      {[] { zxDestroyArray(zxCreateSparse(2, 2, 1, jc, nullptr, jc, zxKindSparseDouble)); }, "zxCreateSparse：空指针参数"},
      {[] { zxDestroyArray(zxCreateSparseFromColumns(2, 1, nullptr, jc, jc, zxKindSparseDouble)); },
       "zxCreateSparseFromColumns：空指针参数"},
      {[] { zxDestroyArray(zxCreateSparseFromColumns(2, 1, jc, jc, nullptr, zxKindSparseDouble)); },
       "zxCreateSparseFromColumns：空指针参数"},
  };
  for (const auto& r : refused) {
    zxClearError();
    r.call();
    EXPECT_STREQ(zxLastError(), r.message);
  }
  zxClearError();
}

}  // namespace
}  // namespace zorvat_test
