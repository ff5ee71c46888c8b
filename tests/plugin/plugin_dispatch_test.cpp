// Tests of operator registration and dispatch, overloaded calls and
// apply_function.  Operators and overloads come from the tp_obj plugin and
// from functions of this file registered under its name.
#include <stdexcept>

#include "plugin_test_util.h"

namespace zorvat_test {
namespace {

using zorvat::overload_check_failure;
using zorvat::internal::plugin_manager_data;
using value_list = plugin_manager::value_list;
using result_list = plugin_manager::result_list;

__zxArray* out(zo_obj* v) { return reinterpret_cast<__zxArray*>(v); }
void say_first(int, __zxArray** plhs, int, const __zxArray**) { plhs[0] = out(new zo_obj("first")); }
void say_second(int, __zxArray** plhs, int, const __zxArray**) { plhs[0] = out(new zo_obj("second")); }

// Every identifier of the ABI with its symbol and operand class, written
// out independently of the operator table: unary 21..26, binary 1..18 and
// 27, ternary 28, none of these for the concatenations and unknown numbers.
TEST(OperatorTable, SymbolsAndOperandClassesOfEveryIdentifier) {
  const char* const symbols[] = {"(unknown)", "+",   "-",   ".*",  "./",  ".\\", "*",         "/",
                                 "\\",        ".^",  "^",   "<",   ">",   "<=",  ">=",        "~=",
                                 "==",        "&",   "|",   "[,]", "[;]", "u-",  "u+",        "~",
                                 ".'",        "'",   "subsindex", "subsref", "subsasgn", "(unknown)"};
  for (int op = -1; op <= 29; ++op) {
    const auto id = static_cast<zxOperatorID>(op);
    EXPECT_STREQ(plugin_manager::operator_symbol(id), op < 0 ? "(unknown)" : symbols[op]) << op;
    EXPECT_EQ(plugin_manager::is_unary(id), op >= 21 && op <= 26) << op;
    EXPECT_EQ(plugin_manager::is_binary(id), (op >= 1 && op <= 18) || op == 27) << op;
    EXPECT_EQ(plugin_manager::is_ternary(id), op == 28) << op;
  }
}

TEST(OperatorTable, HashTypeKeepsItsOverlappingFormula) {
  struct {
    int op, t1, t2, t3;
    unsigned long key;
  } cases[] = {{1, 0, 0, 0, 0x0001000000000000UL},       {0, 0, -1, 0, 0xFFFFFFFFFFFF0000UL},
               {2, 0x1234, 5, 6, 0x0002123400050006UL},  {0, -1, 0, 0, 0xFFFFFFFF00000000UL},
               {1, 0x10000, 0, 0, 0x0001000000000000UL}, {0, 0, 0, -2, 0xFFFFFFFFFFFFFFFEUL}};
  for (const auto& c : cases)
    EXPECT_EQ(plugin_manager::hash_type(static_cast<zxOperatorID>(c.op), c.t1, c.t2, c.t3), c.key);
  EXPECT_EQ(plugin_manager::operator_key(zxOpMinus, 101), 0x0002000000000065UL);
  EXPECT_EQ(plugin_manager::operator_key(zxOpPlus, -1), 0xFFFFFFFFFFFFFFFFUL);
}

class Dispatch : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    ASSERT_EQ(mgr().add("tp_obj", {}, plugin_root), 0) << mgr().error_msg();
    result_list r;
    plugin_manager::apply_function(mgr().get_function_by_name("tpobj::type_id"), 1, {}, r);
    tally_id = static_cast<int>(r.at(0)->as_double());
  }
  std::shared_ptr<const zo_obj> tally(double v) {
    result_list r;
    plugin_manager::apply_function(mgr().get_function_by_name("tpobj::make"), 1, {num(v)}, r);
    return r.at(0);
  }
  int tally_id = 0;
};

TEST_F(Dispatch, RegistrationResultsAndMessages) {
  EXPECT_EQ(mgr().register_operator("nobody", zxOpPlus, 150, say_first), -1);
  EXPECT_EQ(mgr().error_msg(), "错误 - 插件 nobody 未被载入");
  EXPECT_EQ(mgr().register_operator("tp_obj", zxOpPlus, 100, say_first), 0);
  EXPECT_EQ(mgr().error_msg(), "");
  EXPECT_EQ(mgr().register_operator("tp_obj", zxOpPlus, 100, say_second), -2);
  EXPECT_EQ(mgr().error_msg(), "错误 - 算符已被定义");
  EXPECT_EQ(mgr().register_operator("tp_obj", zxOpPlus, 99, say_first), -3);
  EXPECT_EQ(mgr().error_msg(), "错误 - 无效的类型 ID");
  // The wide form keys on t1 alone.
  EXPECT_EQ(mgr().register_operator("tp_obj", zxOpEq, 150, 7, 8, say_first), 0);
  EXPECT_EQ(mgr().register_operator("tp_obj", zxOpEq, 150, say_second), -2);
  EXPECT_EQ(mgr().register_operator("tp_obj", zxOpEq, 150, 9, 9, say_second), -2);
}

TEST_F(Dispatch, FirstOperandWithARegisteredKeyDecidesAndOrderIsKept) {
  auto t = tally(5);
  EXPECT_EQ(text_of(mgr().apply_operator(zxOpPlus, num(1), t)), "1x1 double+1x1 tally");
  EXPECT_EQ(text_of(mgr().apply_operator(zxOpPlus, t, num(1))), "1x1 tally+1x1 double");

  ASSERT_EQ(mgr().register_operator("tp_obj", zxOpEq, 100, say_first), 0);
  ASSERT_EQ(mgr().register_operator("tp_obj", zxOpEq, tally_id, say_second), 0);
  EXPECT_EQ(text_of(mgr().apply_operator(zxOpEq, value_of_type(100), t)), "first");
  EXPECT_EQ(text_of(mgr().apply_operator(zxOpEq, t, value_of_type(100))), "second");
  EXPECT_EQ(text_of(mgr().apply_operator(zxOpEq, num(2), value_of_type(100))), "first");
  // Dense kinds key on their kind: "==" on kind 9 was never registered.
  EXPECT_EQ(text_of(mgr().apply_operator(zxOpEq, value_of_type(7), t)), "second");
}

TEST_F(Dispatch, UnaryTernaryAndConcatenationResults) {
  auto t = tally(5);
  EXPECT_EQ(mgr().apply_operator(zxOpUMinus, t)->get<zorvat::extern_obj_base>().to_string(), "-5");
  EXPECT_EQ(mgr().apply_operator(zxOpSubsasgn, t, num(1), num(8))->get<zorvat::extern_obj_base>().to_string(),
            "8");
  for (size_t n : {1u, 3u, 6u}) {
    value_list args(n, t);
    int status = -7;
    auto r = mgr().apply_operator(zxOpHorzCat, args, status);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(r->get<zorvat::extern_obj_base>().to_string(), std::to_string(n));
    EXPECT_EQ(r->brief_type_str(), "1x1 tally");
  }
}

struct failure_case {
  const char* label;
  zxOperatorID op;
  int operands;  // 1 tally first, then doubles
  bool tally_first;
  int status;
  const char* message;
};

class DispatchFailures : public Dispatch, public ::testing::WithParamInterface<failure_case> {};

TEST_P(DispatchFailures, SetStatusAndTextAndThrow) {
  const failure_case& c = GetParam();
  value_list args;
  for (int i = 0; i < c.operands; ++i) args.push_back(i == 0 && c.tally_first ? tally(2) : num(i));
  const long first_use = args.empty() ? 0 : args[0].use_count();
  int status = 42;
  try {
    mgr().apply_operator(c.op, args, status);
    ADD_FAILURE() << "no exception";
  } catch (const std::runtime_error& e) {
    EXPECT_EQ(std::string(e.what()), c.message);
  }
  EXPECT_EQ(status, c.status);
  EXPECT_EQ(mgr().error_msg(), c.message);
  if (!args.empty()) {
    EXPECT_EQ(args[0].use_count(), first_use);  // operands untouched
  }
}

INSTANTIATE_TEST_SUITE_P(
    All, DispatchFailures,
    ::testing::Values(
        failure_case{"Empty", zxOpHorzCat, 0, false, 1, "错误 - 输入参数个数和算符类型不匹配"},
        failure_case{"UnaryWithTwo", zxOpUMinus, 2, true, 1, "错误 - 输入参数个数和算符类型不匹配"},
        failure_case{"BinaryWithOne", zxOpPlus, 1, true, 1, "错误 - 输入参数个数和算符类型不匹配"},
        failure_case{"BinaryWithThree", zxOpSubsref, 3, true, 1, "错误 - 输入参数个数和算符类型不匹配"},
        failure_case{"TernaryWithTwo", zxOpSubsasgn, 2, true, 1, "错误 - 输入参数个数和算符类型不匹配"},
        failure_case{"NoTypeRegistered", zxOpPlus, 2, false, -1, "错误 - 运算符 + 不支持该类型的输入参数组合"},
        failure_case{"OpNotRegistered", zxOpElemLDiv, 2, true, -1,
                     "错误 - 运算符 .\\ 不支持该类型的输入参数组合"},
        failure_case{"NoOutput", zxOpMul, 2, true, 2, "错误 - 重载算子对应的函数没有输出返回值"},
        failure_case{"ThrowsAfterMakingItsResult", zxOpMinus, 2, true, 2, "minus failed"},
        failure_case{"ThrowsWithoutResult", zxOpRDiv, 2, true, 2, "divide failed"},
        failure_case{"ThrowsANonStandardException", zxOpPow, 2, true, 2,
                     "错误 - 运算符 ^ 对应的插件函数抛出了未知异常"}),
    [](const ::testing::TestParamInfo<failure_case>& info) { return std::string(info.param.label); });

TEST_F(Dispatch, UnloadingRemovesOperatorsAndOverloadsAndClearsBeforeFini) {
  ASSERT_EQ(mgr().register_operator("tp_obj", zxOpEq, 300, say_first), 0);
  host.log.clear();
  {
    auto t = tally(1);
    result_list r;
    mgr().apply_overload_function("disp", 1, {t}, r);
    EXPECT_EQ(text_of(r.at(0)), "tally 1");
  }  // no tally may outlive the plugin's code
  EXPECT_EQ(mgr().remove("tp_obj"), 0);
  ASSERT_EQ(clear_calls().size(), 1u);
  EXPECT_EQ(clear_calls()[0].ids, std::vector<int>{tally_id});
  EXPECT_EQ(clear_calls()[0].writes_before, 0u);  // the hook ran before fini wrote
  EXPECT_EQ(query_texts("write_to_cout"), std::vector<std::string>{"fini tp_obj"});

  int status = 0;
  value_list args{value_of_type(tally_id), num(1)};
  EXPECT_THROW(mgr().apply_operator(zxOpPlus, args, status), std::runtime_error);
  EXPECT_EQ(status, -1);
  args = {value_of_type(300), num(1)};
  EXPECT_THROW(mgr().apply_operator(zxOpEq, args, status), std::runtime_error);
  result_list r;
  EXPECT_THROW(mgr().apply_overload_function("disp", 1, {num(1)}, r), overload_check_failure);
  EXPECT_TRUE(plugin_manager_data::get_instance().ofun_data().count("disp"));  // emptied, kept
  EXPECT_TRUE(plugin_manager_data::get_instance().ofun_data().at("disp").empty());
}

// --- Overloads ---------------------------------------------------------------------

int b_calls = 0;
void decline(int, __zxArray**, int, const __zxArray**) { zorvat::return_overload_check_fail(); }
void decline_after_output(int, __zxArray** plhs, int, const __zxArray**) {
  plhs[0] = out(new zo_obj("dropped"));
  zorvat::return_overload_check_fail_msg("no");
}
void fail_hard(int, __zxArray**, int, const __zxArray**) { throw std::runtime_error("hard"); }
void accept_b(int, __zxArray** plhs, int, const __zxArray**) {
  ++b_calls;
  plhs[0] = out(new zo_obj("b"));
}
void accept_c(int, __zxArray** plhs, int, const __zxArray**) { plhs[0] = out(new zo_obj("c")); }

class Overloads : public PluginTest {
 protected:
  void TearDown() override {
    for (const char* tag : {"a", "b", "c", ""}) data.remove_overload_function_by_tag(tag);
    PluginTest::TearDown();
  }
  plugin_manager_data& data = plugin_manager_data::get_instance();
};

TEST_F(Overloads, CandidatesAreTriedInTagOrderSkippingDeclines) {
  data.register_overload_function("ov1", "c", accept_c, 0);
  data.register_overload_function("ov1", "b", accept_b, 0);
  data.register_overload_function("ov1", "a", decline_after_output, 0);
  result_list r{std::make_shared<zo_obj>(0.0)};
  b_calls = 0;
  mgr().apply_overload_function("ov1", 1, {num(1)}, r);
  ASSERT_EQ(r.size(), 2u);
  EXPECT_EQ(text_of(r[1]), "b");
  EXPECT_EQ(b_calls, 1);

  // Any other exception ends the call before the next candidate.
  data.register_overload_function("ov1", "", fail_hard, 0);
  EXPECT_THROW(mgr().apply_overload_function("ov1", 1, {}, r), std::runtime_error);
  EXPECT_EQ(b_calls, 1);
  EXPECT_EQ(r.size(), 2u);
}

// With no candidate, or only declining ones, the default failure is thrown
// (not a candidate's own message).
TEST_F(Overloads, NoAcceptingCandidateThrowsTheDefaultFailure) {
  data.register_overload_function("ov3", "a", decline, 0);
  data.register_overload_function("ov3", "b", decline_after_output, 0);
  result_list r;
  for (const char* name : {"never_registered", "ov3"}) {
    try {
      mgr().apply_overload_function(name, 1, {}, r);
      ADD_FAILURE() << name;
    } catch (const overload_check_failure& e) {
      EXPECT_STREQ(e.what(), "overload check failed");
    }
  }
  EXPECT_TRUE(r.empty());
}

TEST_F(Overloads, AnExistingEntryStaysAndAnEmptyTagWithTheFlagMeansTheLoadingPlugin) {
  EXPECT_EQ(data.register_overload_function("ov4", "a", accept_b, 0), 0);
  EXPECT_EQ(data.register_overload_function("ov4", "a", accept_c, 0), 1);
  EXPECT_EQ(data.ofun_data()["ov4"]["a"], &accept_b);

  data.current_plugin("a");
  EXPECT_EQ(data.register_overload_function("ov5", "", accept_c, 1), 0);
  EXPECT_EQ(data.register_overload_function("ov5", "", accept_b, 0), 0);
  data.current_plugin("");
  EXPECT_EQ(data.ofun_data()["ov5"]["a"], &accept_c);
  EXPECT_EQ(data.ofun_data()["ov5"][""], &accept_b);

  // Removing a tag leaves no candidate of it behind.
  data.remove_overload_function_by_tag("a");
  EXPECT_EQ(data.ofun_data()["ov4"].count("a"), 0u);
  result_list r;
  EXPECT_THROW(mgr().apply_overload_function("ov4", 1, {}, r), overload_check_failure);
}

TEST_F(Overloads, PluginOverloadDeclinesOtherTypes) {
  ASSERT_EQ(mgr().add("tp_obj", {}, plugin_root), 0);
  result_list r;
  EXPECT_THROW(mgr().apply_overload_function("disp", 1, {num(1)}, r), overload_check_failure);
  EXPECT_TRUE(r.empty());
  data.register_overload_function("disp", "zz_fallback", accept_c, 0);
  mgr().apply_overload_function("disp", 1, {num(1)}, r);
  EXPECT_EQ(text_of(r.at(0)), "c");
  data.remove_overload_function_by_tag("zz_fallback");
}

// --- apply_function ----------------------------------------------------------------

class ApplyFunction : public PluginTest {
 protected:
  void SetUp() override {
    PluginTest::SetUp();
    ASSERT_EQ(mgr().add("tp_good", {}, plugin_root), 0) << mgr().error_msg();
  }
  zxPluginFunction fn(const char* name) { return mgr().get_function_by_name(name); }
};

TEST_F(ApplyFunction, PassesValuesAndAdoptsOutputsInOrder) {
  result_list r;
  plugin_manager::apply_function(fn("tp::sum"), 1, {num(1), num(2), num(3.5)}, r);
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0]->as_double(), 6.5);
  EXPECT_EQ(r[0].use_count(), 1);

  r.clear();
  plugin_manager::apply_function(fn("tp::count"), 3, {}, r);
  ASSERT_EQ(r.size(), 3u);
  for (int k = 0; k < 3; ++k) EXPECT_EQ(r[k]->as_double(), k + 1);

  // nargout 0 still offers one slot, kept only when the function filled it.
  r.clear();
  plugin_manager::apply_function(fn("tp::first_only"), 0, {}, r);
  EXPECT_EQ(r.size(), 1u);
  r.clear();
  plugin_manager::apply_function(fn("tp::count"), 0, {}, r);
  EXPECT_TRUE(r.empty());
}

// A missing requested output or an exception releases every output made and
// leaves the results and the arguments as they were.
TEST_F(ApplyFunction, FailuresReleaseEverything) {
  result_list r{std::make_shared<zo_obj>(9.0)};
  try {
    plugin_manager::apply_function(fn("tp::first_only"), 3, {}, r);
    ADD_FAILURE();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "输出参数 2 未被赋值");
  }
  ASSERT_EQ(r.size(), 1u);
  EXPECT_EQ(r[0]->as_double(), 9.0);

  auto arg = num(1);
  r.clear();
  EXPECT_THROW(plugin_manager::apply_function(fn("tp::half_made"), 1, {arg}, r), std::runtime_error);
  EXPECT_TRUE(r.empty());
  EXPECT_EQ(arg.use_count(), 1);
}

}  // namespace
}  // namespace zorvat_test
