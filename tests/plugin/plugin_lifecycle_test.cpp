// Tests of plugin mistakes that once crashed the process: names that leave
// the plugin root, entry points and functions that unload or register, null
// and non-standard throwing functions, values that outlive their plugin.
#include <cstdio>
#include <stdexcept>

#include "display/display.h"
#include "plugin_test_util.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace zorvat_test {
namespace {

using result_list = plugin_manager::result_list;
using value_list = plugin_manager::value_list;

using PluginLifecycle = PluginTest;

TEST_F(PluginLifecycle, NamesThatLeaveTheRootAreRefusedBeforeAnythingIsOpened) {
  // Each would reach a file outside the plugins folder, or a plugin's folder
  // under a second name (<root>/plugins/tp_good/main.so), if it were taken
  // as a path.
  const std::string names[] = {"",           ".",          "..",           "../plugins/tp_good",
                               "tp_good/",   "x/../tp_good", "./tp_good",  "tp_vendor//alias",
                               "/tp_good",   "tp_vendor/alias/..", "..\\tp_good",
                               std::string("tp_good\0../../evil", 18)};
  for (const std::string& name : names) {
    EXPECT_EQ(mgr().add(name, {}, plugin_root), 1) << name;
    EXPECT_EQ(mgr().error_msg(), "无法加载 " + std::string(name.c_str()) +
                                     " - 插件名称由 / 分隔的各段都不能为空，不能是 . 或 ..，名称也不能含有 \\ 或 NUL 字符");
    EXPECT_FALSE(mgr().is_loaded(name));
    EXPECT_FALSE(library_open(main_so("tp_good"))) << name;
    EXPECT_FALSE(library_open(main_so("tp_vendor/alias"))) << name;
  }
  EXPECT_TRUE(query_texts("addpath").empty());
  // A folder inside the root, nested or not, is a name.
  ASSERT_EQ(mgr().add("tp_vendor/alias", {}, plugin_root), 0) << mgr().error_msg();
  EXPECT_TRUE(library_open(main_so("tp_vendor/alias")));
  EXPECT_EQ(query_texts("addpath"), std::vector<std::string>{plugin_root + "/plugins/tp_vendor/alias/scripts"});
}

// An output slot holding one of the call's arguments (`plhs[0] =
// (__zxArray*)prhs[0]`) once made the core adopt a value it did not own: a
// double free.  The caller gets a copy sharing the argument's payload, from
// functions, overloads and operators alike.
TEST_F(PluginLifecycle, AnArgumentLeftInAnOutputSlotComesBackAsACopy) {
  ASSERT_EQ(mgr().add("tp_vendor/alias", {}, plugin_root), 0) << mgr().error_msg();
  result_list out;
  plugin_manager::apply_function(mgr().get_function_by_name("alias::type_id"), 1, {}, out);
  const int id = static_cast<int>(out.at(0)->as_double());
  const value_list args{num(4), std::make_shared<zo_obj>("b")};
  auto expect_copies = [&](const result_list& got, size_t n) {
    ASSERT_EQ(got.size(), n);
    for (size_t k = 0; k < n; ++k) {
      const auto& from = args[k % args.size()];
      EXPECT_NE(got[k].get(), from.get()) << k;
      EXPECT_EQ(got[k]->payload(), from->payload()) << k;
    }
  };
  out.clear();
  plugin_manager::apply_function(mgr().get_function_by_name("alias::echo"), 3, args, out);
  expect_copies(out, 3);
  out.clear();
  EXPECT_THROW(plugin_manager::apply_function(mgr().get_function_by_name("alias::echo_then_fail"), 2, args, out),
               std::runtime_error);
  EXPECT_TRUE(out.empty());
  mgr().apply_overload_function("alias_echo", 2, args, out);
  expect_copies(out, 2);
  const auto object = value_of_type(id);
  const auto sum = mgr().apply_operator(zxOpPlus, object, args[0]);
  EXPECT_NE(sum.get(), object.get());
  EXPECT_EQ(sum->payload(), object->payload());
  EXPECT_EQ(args[0]->as_double(), 4);
  EXPECT_EQ(args[1]->as_string(), "b");
}

std::vector<const __zxArray*> load_args(const std::vector<std::shared_ptr<const zo_obj>>& values) {
  std::vector<const __zxArray*> args;
  for (const auto& v : values) args.push_back(reinterpret_cast<const __zxArray*>(v.get()));
  return args;
}

TEST_F(PluginLifecycle, FiniMayUnloadRegisterAndLoadWithoutHarm) {
  const std::vector<std::shared_ptr<const zo_obj>> values{num(0), std::make_shared<zo_obj>(plugin_root)};
  ASSERT_EQ(mgr().add("tp_reent", load_args(values), plugin_root), 0) << mgr().error_msg();
  host.log.clear();

  EXPECT_EQ(mgr().remove("tp_reent"), 0) << mgr().error_msg();
  // Inside fini: its own unload refused with 102, the registration taken
  // (and then dropped with the plugin), the other plugin loaded.
  EXPECT_EQ(query_texts("write_to_cout"), std::vector<std::string>{"fini remove=102 register=0 add=0"});
  EXPECT_FALSE(mgr().is_loaded("tp_reent"));
  EXPECT_TRUE(mgr().is_loaded("tp_good"));
  EXPECT_FALSE(library_open(main_so("tp_reent")));
  ASSERT_EQ(clear_calls().size(), 1u);
  const int id = clear_calls()[0].ids.at(0);
  for (zxOperatorID op : {zxOpPlus, zxOpMinus}) {
    int status = 0;
    value_list args{value_of_type(id), num(1)};
    EXPECT_THROW(mgr().apply_operator(op, args, status), std::runtime_error);
    EXPECT_EQ(status, -1);
  }
}

TEST_F(PluginLifecycle, APluginMayUnloadItselfFromItsInitAndFromItsFunctions) {
  const std::vector<std::shared_ptr<const zo_obj>> values{num(0), std::make_shared<zo_obj>("unload in init")};
  EXPECT_EQ(mgr().add("tp_reent", load_args(values), plugin_root), 0) << mgr().error_msg();
  EXPECT_FALSE(mgr().is_loaded("tp_reent"));
  EXPECT_FALSE(library_open(main_so("tp_reent")));
  EXPECT_TRUE(query_texts("addpath").empty());

  ASSERT_EQ(mgr().add("tp_reent", {}, plugin_root), 0) << mgr().error_msg();
  result_list r;
  plugin_manager::apply_function(mgr().get_function_by_name("re::unload_self"), 1, {}, r);
  EXPECT_EQ(r.at(0)->as_double(), 0.0);  // made after the unload, by code still mapped
  EXPECT_FALSE(mgr().is_loaded("tp_reent"));
  EXPECT_EQ(mgr().get_function_by_name("re::unload_self"), nullptr);
  EXPECT_FALSE(library_open(main_so("tp_reent")));
}

void throws_int(int, __zxArray**, int, const __zxArray**) { throw 7; }

TEST_F(PluginLifecycle, NullAndNonStandardThrowingFunctionsGiveTheLibrarysError) {
  ASSERT_EQ(mgr().add("tp_reent", {}, plugin_root), 0) << mgr().error_msg();
  char address[32];
  std::snprintf(address, sizeof address, "%p", reinterpret_cast<void*>(&throws_int));
  // A function no plugin registered is named by its address.
  const struct {
    plugin_manager::function fn;
    std::string message;
  } cases[] = {{mgr().get_function_by_name("re::unknown"), "错误 - 要调用的插件函数不存在（空函数指针）"},
               {mgr().get_function_by_name("re::throw_int"), "错误 - 插件函数 re::throw_int 抛出了未知异常"},
               {throws_int, std::string("错误 - 插件函数 ") + address + " 抛出了未知异常"}};
  for (const auto& c : cases) {
    result_list r{std::make_shared<zo_obj>(1.0)};
    try {
      plugin_manager::apply_function(c.fn, 1, {num(1)}, r);
      ADD_FAILURE() << c.message;
    } catch (const std::runtime_error& e) {
      EXPECT_EQ(e.what(), c.message);
    }
    EXPECT_EQ(r.size(), 1u);  // the caller's results untouched
  }
}

void name_first(int, __zxArray** plhs, int, const __zxArray** prhs) {
  plhs[0] = reinterpret_cast<__zxArray*>(new zo_obj(reinterpret_cast<const zo_obj*>(prhs[0])->brief_type_str()));
}

TEST_F(PluginLifecycle, DispatchFollowsEveryChangeOfTheOperatorTable) {
  // Each step first dispatches, so that a remembered answer would show.
  ASSERT_EQ(mgr().add("tp_good", {}, plugin_root), 0) << mgr().error_msg();
  const int id = mgr().next_cxx_obj_id("tp_good");
  auto dispatch = [&] {
    int status = 0;
    value_list args{num(1), value_of_type(id)};
    try {
      return text_of(mgr().apply_operator(zxOpLt, args, status));
    } catch (const std::runtime_error&) {
      return std::to_string(status);
    }
  };
  EXPECT_EQ(dispatch(), "-1");
  ASSERT_EQ(mgr().register_operator("tp_good", zxOpLt, id, name_first), 0);
  EXPECT_EQ(dispatch(), "1x1 double");
  EXPECT_EQ(mgr().remove("tp_good"), 0);
  EXPECT_EQ(dispatch(), "-1");
}

TEST_F(PluginLifecycle, ValuesOutliveTheirPluginAtAnyDepth) {
  ASSERT_EQ(mgr().add("tp_obj", {}, plugin_root), 0) << mgr().error_msg();
  result_list r;
  plugin_manager::apply_function(mgr().get_function_by_name("tpobj::make"), 1, {num(5)}, r);
  auto tally = r.at(0);
  const int id = tally->get<zorvat::extern_obj_base>().type_id();

  // The object in a structure field, in a cell, in a cell; and a second value
  // sharing it.
  auto st = std::make_shared<zo_obj>(zorvat::type_struct, new zorvat::structure);
  st->get<zorvat::structure>().set_field("q", tally, false);
  auto inner = std::make_shared<zo_obj>(zorvat::type_cell, new zorvat::cell_array({st}, false));
  auto outer = std::make_shared<zo_obj>(zorvat::type_cell, new zorvat::cell_array({inner}, false));
  auto shared = std::make_shared<zo_obj>(*tally);
  tally.reset();
  r.clear();

  ASSERT_EQ(mgr().remove("tp_obj"), 0);
  // Its names and operators are gone at once ...
  EXPECT_EQ(mgr().get_function_by_name("tpobj::make"), nullptr);
  int status = 0;
  value_list args{shared, num(1)};
  EXPECT_THROW(mgr().apply_operator(zxOpPlus, args, status), std::runtime_error);
  EXPECT_EQ(status, -1);
  args.clear();
  // ... while its code serves the values left: display, copy, destruction.
  EXPECT_TRUE(library_open(main_so("tp_obj")));
  EXPECT_EQ(shared->brief_type_str(), "1x1 tally");
  EXPECT_EQ(shared->get<zorvat::extern_obj_base>().to_string(), "5");
  EXPECT_NE(zorvat::internal::obj2str(*st, 80).find("q: [1x1 tally]"), std::string::npos);
  shared->copy_on_write(false);  // a dup() made by the unloaded plugin
  EXPECT_EQ(shared->get<zorvat::extern_obj_base>().type_id(), id);
  outer.reset();
  inner.reset();
  st.reset();
  EXPECT_TRUE(library_open(main_so("tp_obj")));  // the copy still needs it
  shared.reset();
  EXPECT_FALSE(library_open(main_so("tp_obj")));

  // Loaded again, it is a fresh plugin.
  ASSERT_EQ(mgr().add("tp_obj", {}, plugin_root), 0) << mgr().error_msg();
  EXPECT_EQ(mgr().remove("tp_obj"), 0);
}

}  // namespace
}  // namespace zorvat_test
