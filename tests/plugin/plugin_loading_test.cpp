// Tests of loading and unloading plugins, the function registry and the
// identifier counters, with real plugins built into a private plugin root.
#include <stdlib.h>

#include <filesystem>
#include <fstream>

#include "plugin_test_util.h"

namespace zorvat_test {

namespace {

// Runs before every test: makes the manager (capturing its warning) and
// takes the first identifiers of the process through a loaded plugin.
class ProcessStart : public ::testing::Environment {
 public:
  void SetUp() override {
    ::testing::internal::CaptureStderr();
    plugin_manager& m = plugin_manager::get_instance();
    process_start().construction_stderr = ::testing::internal::GetCapturedStderr();
    ASSERT_EQ(m.add("tp_good", {}, plugin_root), 0) << m.error_msg();
    for (int i = 0; i < 3; ++i) {
      process_start().objects.push_back(m.next_cxx_obj_id("tp_good"));
      process_start().cstructs.push_back(m.add_cstruct("tp_good", nullptr, nullptr));
    }
    m.remove("tp_good");
  }
};
const auto* const process_start_env = ::testing::AddGlobalTestEnvironment(new ProcessStart);

// libzex.so lies beside the library, which finds it through its RUNPATH.
TEST(PluginManager, ConstructionOpensTheExtensionLibraryWithoutWarning) {
  EXPECT_EQ(process_start().construction_stderr, "");
  EXPECT_NE(mgr().zex_handle(), nullptr);
  EXPECT_EQ(&zorvat::global::plugin_mgr(), &plugin_manager::get_instance());
}

TEST(PluginManager, IdentifierCountersStartAt101And102AndStepBy2) {
  EXPECT_EQ(process_start().objects, (std::vector<int>{101, 103, 105}));
  EXPECT_EQ(process_start().cstructs, (std::vector<int>{102, 104, 106}));
}

using PluginLoading = PluginTest;

TEST_F(PluginLoading, GoodPluginRegistersItsTableAndAddsItsScriptDirectory) {
  std::vector<std::shared_ptr<const zo_obj>> values{num(1), num(2), num(3)};
  std::vector<const __zxArray*> args;
  for (auto& v : values) args.push_back(reinterpret_cast<const __zxArray*>(v.get()));

  ASSERT_EQ(mgr().add("tp_good", args, plugin_root), 0) << mgr().error_msg();
  EXPECT_TRUE(mgr().is_loaded("tp_good"));
  EXPECT_EQ(mgr().error_msg(), "");
  EXPECT_EQ(query_texts("addpath"), std::vector<std::string>{plugin_root + "/plugins/tp_good/scripts"});
  EXPECT_EQ(mgr()["tp_good"].path, main_so("tp_good"));

  EXPECT_EQ(mgr().get_export_function_list("tp_good"),
            (std::vector<std::string>{"tp::sum", "tp::count", "tp::first_only", "tp::half_made",
                                      "tp::init_record", "plain"}));
  EXPECT_STREQ(mgr().get_function_help_by_name("tp::sum"), "tp::sum(a, b, ...)  adds its arguments");
  EXPECT_STREQ(mgr().get_function_help_by_name("plain"), "plain()  no namespace");
  EXPECT_EQ(mgr().get_function_help_by_name("tp::first_only"), nullptr);
  EXPECT_EQ(mgr().get_function_by_name("tp::after_end"), nullptr);
  EXPECT_EQ(mgr().get_function_by_name("tp::nope"), nullptr);

  // zxPluginInit saw the full count with the array starting at the second
  // argument, while the manager named it the current plugin.
  std::vector<std::shared_ptr<zo_obj>> out;
  plugin_manager::apply_function(mgr().get_function_by_name("tp::init_record"), 4, {}, out);
  ASSERT_EQ(out.size(), 4u);
  EXPECT_EQ(out[0]->as_double(), 3.0);
  EXPECT_EQ(out[1]->as_double(), 2.0);
  EXPECT_EQ(out[2]->as_string(), "tp_good");
  EXPECT_FALSE(out[3]->as_bool());  // zxPluginInitLib got the zex handle
  EXPECT_EQ(zorvat::internal::plugin_manager_data::get_instance().current_plugin(), "");
}

TEST_F(PluginLoading, RemoveTakesTheScriptRootFromTheEnvironment) {
  ASSERT_EQ(mgr().add("tp_good", {}, plugin_root), 0);
  setenv("ZORVAT_PLUGIN_PATH", "/env/root", 1);
  EXPECT_EQ(mgr().remove("tp_good"), 0);
  unsetenv("ZORVAT_PLUGIN_PATH");
  EXPECT_EQ(query_texts("rmpath"), std::vector<std::string>{"/env/root/plugins/tp_good/scripts"});
  EXPECT_FALSE(mgr().is_loaded("tp_good"));
  EXPECT_EQ(mgr().get_function_by_name("tp::sum"), nullptr);
  EXPECT_EQ(mgr().get_function_help_by_name("plain"), nullptr);
  EXPECT_FALSE(library_open(main_so("tp_good")));

  ASSERT_EQ(mgr().add("tp_good", {}, plugin_root), 0);
  EXPECT_EQ(mgr().remove("tp_good"), 0);
  EXPECT_EQ(query_texts("rmpath").back(), "/plugins/tp_good/scripts");  // variable unset
}

TEST_F(PluginLoading, LoadingTwiceGives100AndKeepsTheFirstLoad) {
  ASSERT_EQ(mgr().add("tp_good", {}, plugin_root), 0);
  EXPECT_EQ(mgr().add("tp_good", {}, "/elsewhere"), 100);
  EXPECT_EQ(mgr().error_msg(), "插件 tp_good 已经被加载");
  EXPECT_EQ(mgr()["tp_good"].path, main_so("tp_good"));
  EXPECT_NE(mgr().get_function_by_name("tp::sum"), nullptr);
}

TEST_F(PluginLoading, ASecondExporterOfANameIsRefusedWith3) {
  ASSERT_EQ(mgr().add("tp_good", {}, plugin_root), 0);
  auto count = mgr().get_function_by_name("tp::count");
  EXPECT_EQ(mgr().add("tp_clash", {}, plugin_root), 3);
  EXPECT_EQ(mgr().error_msg(), "符号冲突 - 函数 tp::count 已经在另一插件 tp_good 中定义");
  EXPECT_FALSE(mgr().is_loaded("tp_clash"));
  EXPECT_EQ(mgr().get_function_by_name("clash::own"), nullptr);
  EXPECT_EQ(mgr().get_function_by_name("tp::count"), count);
  EXPECT_FALSE(library_open(main_so("tp_clash")));
}

TEST_F(PluginLoading, FailingFiniStillUnloadsAndGives6) {
  for (const char* name : {"tp_fail_fini", "tp_throw_fini"}) {
    host.log.clear();
    ASSERT_EQ(mgr().add(name, {}, plugin_root), 0) << name;
    EXPECT_EQ(mgr().remove(name), 6) << name;
    EXPECT_EQ(mgr().error_msg(), std::string("插件 ") + name + " 的 fini 函数返回非零值");
    EXPECT_FALSE(mgr().is_loaded(name));
    EXPECT_EQ(mgr().get_function_by_name(std::string(name) + "::f"), nullptr);
    EXPECT_FALSE(library_open(main_so(name)));
    EXPECT_EQ(query_texts("write_to_cout"), std::vector<std::string>{std::string("fini ") + name});
    EXPECT_EQ(query_texts("rmpath").size(), 1u);
  }
}

// --- Bad plugins: status, message, nothing left behind ------------------------

struct bad_case {
  const char* name;
  int status;
  const char* message;  // exact; for loader failures the expected prefix
  bool prefix_only;
  std::vector<const char*> functions;  // names that must not stay registered
};

class BadPlugins : public PluginTest, public ::testing::WithParamInterface<bad_case> {
 protected:
  static void SetUpTestSuite() {
    namespace fs = std::filesystem;
    bad_root() = (fs::path(::testing::TempDir()) / "zorvat_bad_plugin_root").string();
    fs::create_directories(bad_root() + "/plugins/tp_text");
    std::ofstream(bad_root() + "/plugins/tp_text/main.so") << "not a library\n";
  }
  static std::string& bad_root() {
    static std::string root;
    return root;
  }
};

TEST_P(BadPlugins, LeaveNothingRegisteredAndTheManagerUsable) {
  const bad_case& c = GetParam();
  const bool loader_case = c.status == 1;
  const std::string root = loader_case ? bad_root() : plugin_root;

  EXPECT_EQ(mgr().add(c.name, {}, root), c.status);
  if (c.prefix_only) {  // then the loader's own text, which names the file
    EXPECT_EQ(mgr().error_msg().rfind(c.message, 0), 0u) << mgr().error_msg();
    EXPECT_NE(mgr().error_msg().find(main_so(c.name, root)), std::string::npos) << mgr().error_msg();
  } else {
    EXPECT_EQ(mgr().error_msg(), c.message);
  }
  EXPECT_FALSE(mgr().is_loaded(c.name));
  for (const char* f : c.functions) EXPECT_EQ(mgr().get_function_by_name(f), nullptr) << f;
  EXPECT_FALSE(library_open(main_so(c.name, root)));
  EXPECT_TRUE(query_texts("addpath").empty());

  // Whatever the entry points registered went with the plugin; its
  // identifiers were handed to the clearing hook.
  const bool init_ran = c.status == 4 || c.status == 5;
  ASSERT_EQ(clear_calls().size(), init_ran ? 1u : 0u);
  if (init_ran) {
    const std::vector<int>& ids = clear_calls()[0].ids;
    ASSERT_EQ(ids.size(), c.status == 4 ? 1u : 2u);
    auto obj = value_of_type(ids[0]);
    int status = 0;
    std::vector<std::shared_ptr<const zo_obj>> operands{obj, obj};
    EXPECT_THROW(mgr().apply_operator(zxOpPlus, operands, status), std::runtime_error);
    EXPECT_EQ(status, -1);
    if (ids.size() == 2) {
      EXPECT_EQ(mgr().get_cstruct(ids[1]), nullptr);
    }
    const auto& ofun = zorvat::internal::plugin_manager_data::get_instance().ofun_data();
    if (ofun.count("tp_overloaded")) {
      EXPECT_EQ(ofun.at("tp_overloaded").count(c.name), 0u);
    }
  }

  ASSERT_EQ(mgr().add("tp_good", {}, plugin_root), 0) << mgr().error_msg();
  EXPECT_EQ(mgr().error_msg(), "");
  EXPECT_EQ(mgr().remove("tp_good"), 0);
}

INSTANTIATE_TEST_SUITE_P(
    All, BadPlugins,
    ::testing::Values(
        bad_case{"tp_missing", 1, "无法加载 tp_missing - ", true, {}},
        bad_case{"tp_text", 1, "无法加载 tp_text - ", true, {}},
        bad_case{"tp_nofuncs", 2, "加载错误 - 没有定义 zxPluginFunctions", false, {}},
        bad_case{"tp_builtin_ns", 7, "无效的命名空间名称 builtin", false, {"badns::ok", "builtin::f"}},
        bad_case{"tp_empty_ns", 7, "无效的命名空间名称 ", false, {"badns::ok", "::f"}},
        bad_case{"tp_fail_initlib", 4, "初始化外部库错误 - zxPluginInitLib 返回非零值", false, {"tp_fail_initlib::f"}},
        bad_case{"tp_throw_initlib", 4, "初始化外部库错误 - zxPluginInitLib 返回非零值", false, {"tp_throw_initlib::f"}},
        bad_case{"tp_fail_init", 5, "初始化错误 - zxPluginInit 返回非零值", false, {"tp_fail_init::f"}},
        bad_case{"tp_throw_init", 5, "初始化错误 - zxPluginInit 返回非零值", false, {"tp_throw_init::f"}}),
    [](const ::testing::TestParamInfo<bad_case>& info) { return std::string(info.param.name); });

// --- Registry ---------------------------------------------------------------------

void host_sum(int, __zxArray**, int, const __zxArray**) {}

TEST_F(PluginLoading, HostFunctionsComeBeforePluginFunctions) {
  zxPluginFunction host_fn = host_sum;
  host.answer("lookup_zex_function", [&](query_record& r) -> void* {
    r.text = static_cast<const char*>(r.arg);
    return r.text == "tp::sum" || r.text == "host_only" ? &host_fn : nullptr;
  });
  ASSERT_EQ(mgr().add("tp_good", {}, plugin_root), 0);
  EXPECT_EQ(mgr().get_function_by_name("tp::sum"), &host_sum);
  EXPECT_EQ(mgr().get_function_by_name("host_only"), &host_sum);
  EXPECT_NE(mgr().get_function_by_name("tp::count"), nullptr);
  EXPECT_NE(mgr().get_function_by_name("tp::count"), &host_sum);
  EXPECT_NE(mgr().get_function_help_by_name("tp::sum"), nullptr);  // help only from plugins
  EXPECT_EQ(mgr().get_function_help_by_name("host_only"), nullptr);
  mgr().remove("tp_good");
  EXPECT_EQ(mgr().get_function_by_name("tp::sum"), &host_sum);
  EXPECT_EQ(mgr().get_function_by_name("tp::count"), nullptr);
}

TEST_F(PluginLoading, UnknownPluginsAreRefusedWithACodeAndAText) {
  EXPECT_EQ(mgr().remove("nobody"), 101);
  EXPECT_EQ(mgr().error_msg(), "插件 nobody 未被加载，因此不需要卸载");
  EXPECT_TRUE(query_texts("rmpath").empty());
  EXPECT_TRUE(mgr().get_export_function_list("nobody").empty());
  EXPECT_EQ(mgr().error_msg(), "插件 [nobody] 未被载入");
  EXPECT_EQ(mgr().next_cxx_obj_id("nobody"), -1);
  EXPECT_EQ(mgr().error_msg(), "错误 - 插件 nobody 未被载入");
  EXPECT_EQ(mgr().add_cstruct("nobody", nullptr, nullptr), -1);
  EXPECT_EQ(mgr().error_msg(), "添加结构体错误 - 插件 nobody 未被载入");
  EXPECT_FALSE(mgr().is_loaded("nobody"));
}

void* copy_fn(const void* p) { return const_cast<void*>(p); }
void destroy_fn(void*) {}

TEST_F(PluginLoading, IdentifiersAreRecordedPerPluginAndCStructuresGoOnUnload) {
  ASSERT_EQ(mgr().add("tp_good", {}, plugin_root), 0);
  const int o1 = mgr().next_cxx_obj_id("tp_good");
  const int c1 = mgr().add_cstruct("tp_good", copy_fn, destroy_fn);
  const int o2 = mgr().next_cxx_obj_id("tp_good");
  const int c2 = mgr().add_cstruct("tp_good", copy_fn, destroy_fn);
  EXPECT_EQ(mgr().error_msg(), "");
  // (Their parity and step: IdentifierCountersStartAt101And102AndStepBy2.)
  EXPECT_EQ(mgr()["tp_good"].type_ids, (std::vector<int>{o1, c1, o2, c2}));
  ASSERT_NE(mgr().get_cstruct(c1), nullptr);
  EXPECT_EQ(mgr().get_cstruct(c1)->copy, &copy_fn);
  EXPECT_EQ(mgr().get_cstruct(c1)->destroy, &destroy_fn);
  EXPECT_EQ(mgr().get_cstruct(o1), nullptr);
  EXPECT_EQ(mgr().get_cstruct(100), nullptr);

  EXPECT_EQ(mgr().remove("tp_good"), 0);
  ASSERT_EQ(clear_calls().size(), 1u);
  EXPECT_EQ(clear_calls()[0].ids, (std::vector<int>{o1, c1, o2, c2}));
  EXPECT_EQ(mgr().get_cstruct(c1), nullptr);
  EXPECT_EQ(mgr().get_cstruct(c2), nullptr);
}

TEST_F(PluginLoading, IndexingAnUnknownPluginInsertsAnEmptyRecord) {
  EXPECT_EQ(mgr()["ghost"].handle, nullptr);
  EXPECT_TRUE(mgr().is_loaded("ghost"));
  EXPECT_EQ(mgr().remove("ghost"), 0);
  EXPECT_FALSE(mgr().is_loaded("ghost"));
}

}  // namespace
}  // namespace zorvat_test
