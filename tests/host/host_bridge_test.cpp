// Tests of the host bridge: forwarding, services, caching and null answers.
#include <libintl.h>

#include <gtest/gtest.h>

#include <stdexcept>

#include "fake_host.h"
#include "host/console.h"
#include "host/host_query.h"
#include "host/host_services.h"
#include "matrix/matrix.h"
#include "value/zo_obj.h"

namespace {

using zorvat_test::fake_host;
using zorvat_test::query_record;

class HostBridge : public ::testing::Test {
 protected:
  void TearDown() override { fake_host::uninstall(); }
  fake_host host;
};

const char* arg_chars(const query_record& r) { return static_cast<const char*>(r.arg); }

TEST_F(HostBridge, WithoutHostEveryServiceAnswersNotAvailable) {
  fake_host::uninstall();
  zorvat::write_to_cout("x");
  zorvat::write_to_cerr_flush("x");
  EXPECT_EQ(zorvat::window_width(), -1);
  EXPECT_EQ(zorvat::get_user_config_dir(), "");
  EXPECT_EQ(zorvat::get_user_cache_dir_u(), "");
  EXPECT_EQ(zorvat::which("f"), "");
  EXPECT_TRUE(zorvat::get_all_variable_names_ws().empty());
  EXPECT_EQ(zorvat::get_variable_ws("x"), nullptr);
  EXPECT_EQ(zorvat::internal::lookup_zex_function("f"), nullptr);
  zorvat::set_variable_ws("x", nullptr, true);
  zorvat::clear_zex("f");
}

TEST_F(HostBridge, RegistrationBindsCatalogueToDataDirPlusLocale) {
  std::string dir = "/opt/zv data";
  host.answer_with("local_data_dir", &dir);
  host.install();
  EXPECT_EQ(host.names(), std::vector<std::string>{"local_data_dir"});
  EXPECT_STREQ(bindtextdomain("zorvat_core", nullptr), "/opt/zv data/locale");

  fake_host silent;
  silent.install();
  EXPECT_STREQ(bindtextdomain("zorvat_core", nullptr), "/locale");
}

TEST_F(HostBridge, CallbackExceptionsPassThrough) {
  host.answer("write_to_cout", [](query_record&) -> void* { throw std::runtime_error("host down"); });
  host.install();
  EXPECT_THROW(zorvat::write_to_cout("x"), std::runtime_error);
}

// --- Console writers -------------------------------------------------------

struct writer_case {
  const char* label;
  void (*write)(std::string const&);
  std::vector<std::string> queries;  // in order; the first one carries the text
};

class ConsoleWriters : public ::testing::TestWithParam<writer_case> {
 protected:
  void TearDown() override { fake_host::uninstall(); }
};

TEST_P(ConsoleWriters, IssueTheirQueriesInOrderWithTheStringItself) {
  fake_host host;
  host.install();
  host.log.clear();
  const std::string text = "a = 1\n";
  GetParam().write(text);
  EXPECT_EQ(host.names(), GetParam().queries);
  ASSERT_FALSE(host.log.empty());
  EXPECT_EQ(host.log[0].arg, &text);
  for (size_t i = 1; i < host.log.size(); ++i) EXPECT_EQ(host.log[i].arg, nullptr);
  for (const auto& r : host.log) EXPECT_EQ(r.callback, 1);
}

INSTANTIATE_TEST_SUITE_P(
    All, ConsoleWriters,
    ::testing::Values(writer_case{"cout", zorvat::write_to_cout, {"write_to_cout"}},
                      writer_case{"cerr", zorvat::write_to_cerr, {"write_to_cerr"}},
                      writer_case{"cout_flush", zorvat::write_to_cout_flush, {"write_to_cout", "flush_cout"}},
                      writer_case{"cerr_flush", zorvat::write_to_cerr_flush, {"write_to_cerr", "flush_cerr"}}),
    [](const ::testing::TestParamInfo<writer_case>& info) { return std::string(info.param.label); });

TEST_F(HostBridge, WindowWidthIsReadAfreshThroughTheSecondCallback) {
  int width = 132;
  host.answer_with("window_width", &width);
  host.install();
  host.log.clear();
  EXPECT_EQ(zorvat::window_width(), 132);
  width = 57;
  EXPECT_EQ(zorvat::window_width(), 57);
  ASSERT_EQ(host.log.size(), 2u);
  EXPECT_EQ(host.log[0].callback, 2);

  fake_host unknown;
  unknown.install();
  EXPECT_EQ(zorvat::window_width(), -1);
}

struct directory_case {
  std::string (*get)();
  const char* query;
};

TEST_F(HostBridge, DirectoriesAskTheirOwnQueryAndCopyTheAnswer) {
  const directory_case cases[] = {{zorvat::get_user_config_dir, "local_data_dir"},
                                  {zorvat::get_user_config_dir_u, "local_data_dir_u"},
                                  {zorvat::get_user_cache_dir, "local_cache_dir"},
                                  {zorvat::get_user_cache_dir_u, "local_cache_dir_u"}};
  std::map<std::string, std::string> dirs;
  for (const auto& c : cases) {
    dirs[c.query] = std::string("/d/") + c.query;
    host.answer_with(c.query, &dirs[c.query]);
  }
  host.install();
  for (const auto& c : cases) {
    host.log.clear();
    std::string got = c.get();
    EXPECT_EQ(got, std::string("/d/") + c.query);
    dirs[c.query] = "changed";  // the core keeps a copy, not the host's string
    EXPECT_EQ(got, std::string("/d/") + c.query);
    EXPECT_EQ(host.names(), std::vector<std::string>{c.query});
    EXPECT_EQ(host.log[0].arg, nullptr);
  }
  std::string empty;
  host.answer_with("local_data_dir", &empty);
  EXPECT_EQ(zorvat::get_user_config_dir(), "");
}

// --- Services ----------------------------------------------------------------

TEST_F(HostBridge, WhichAnswersOnlyForFunctionsAndScripts) {
  struct {
    const char* answer;  // null: the host does not know
    const char* expected;
  } cases[] = {{"mfunction:/w/f.m", "/w/f.m"},
               {"mscript:/w/s.m:12", "/w/s.m"},
               {"builtin:sin", ""},
               {"mexfunction:/w/f.so", ""},
               {"mfunction", ""},
               {"", ""},
               {nullptr, ""}};
  std::string answer;
  const char* current = nullptr;
  host.answer("which", [&](query_record& r) -> void* {
    r.text = arg_chars(r);
    if (!current) return nullptr;
    answer = current;
    return &answer;
  });
  host.install();
  for (const auto& c : cases) {
    current = c.answer;
    host.log.clear();
    EXPECT_EQ(zorvat::which("f"), c.expected) << (c.answer ? c.answer : "(null)");
    ASSERT_EQ(host.log.size(), 1u);
    EXPECT_EQ(host.log[0].text, "f");
  }
}

TEST_F(HostBridge, KeywordSetIsQueriedUntilTheHostAnswersThenKept) {
  fake_host::uninstall();
  EXPECT_FALSE(zorvat::is_builtin_function("if"));

  host.install();
  EXPECT_FALSE(zorvat::is_builtin_function("if"));
  EXPECT_FALSE(zorvat::is_builtin_function("if"));
  EXPECT_EQ(host.count("keyword_list"), 2u);  // null answers are retried

  std::string keywords = "if;for;while;end";
  host.answer_with("keyword_list", &keywords);
  EXPECT_TRUE(zorvat::is_builtin_function("for"));
  EXPECT_FALSE(zorvat::is_builtin_function("For"));
  EXPECT_FALSE(zorvat::is_builtin_function("fo"));
  keywords = "sin";
  EXPECT_TRUE(zorvat::is_builtin_function("end"));
  EXPECT_FALSE(zorvat::is_builtin_function("sin"));
  EXPECT_EQ(host.count("keyword_list"), 3u);
  for (const auto& r : host.log) EXPECT_EQ(r.arg, nullptr);
}

std::vector<std::shared_ptr<zorvat::zo_obj const>>* feval_seen_args = nullptr;
void fake_feval(std::vector<std::shared_ptr<zorvat::zo_obj const>>& args,
                std::vector<std::shared_ptr<zorvat::zo_obj>>& results) {
  feval_seen_args = &args;
  results.resize(results.size() + 2);
}

TEST_F(HostBridge, FevalEntryIsQueriedUntilAnsweredThenCached) {
  std::vector<std::shared_ptr<zorvat::zo_obj const>> args(3);
  std::vector<std::shared_ptr<zorvat::zo_obj>> results;
  fake_host::uninstall();
  zorvat::feval(args, results);
  EXPECT_TRUE(results.empty());

  host.install();
  zorvat::feval(args, results);
  zorvat::feval(args, results);
  EXPECT_TRUE(results.empty());
  EXPECT_EQ(host.count("feval_ptr"), 2u);

  zorvat::host_call_function entry = fake_feval;
  host.answer_with("feval_ptr", &entry);
  zorvat::feval(args, results);
  EXPECT_EQ(feval_seen_args, &args);
  EXPECT_EQ(results.size(), 2u);
  zorvat::feval(args, results);
  EXPECT_EQ(results.size(), 4u);
  EXPECT_EQ(host.count("feval_ptr"), 3u);
}

std::string eval_seen_code;
long eval_seen_use_count = 0;
void fake_eval(std::vector<std::shared_ptr<zorvat::zo_obj const>>& args,
               std::vector<std::shared_ptr<zorvat::zo_obj>>& results) {
  ASSERT_EQ(args.size(), 1u);
  ASSERT_EQ(args[0]->type, zorvat::type_string);
  const auto& text = args[0]->get<zorvat::matrix<std::string>>();
  ASSERT_EQ(text.size(), 1);
  eval_seen_code = text(0);
  eval_seen_use_count = args[0].use_count();
  results.push_back(std::make_shared<zorvat::zo_obj>(1.0));
}

TEST_F(HostBridge, EvalPassesTheCodeAsOneStringValue) {
  std::vector<std::shared_ptr<zorvat::zo_obj>> results;
  fake_host::uninstall();
  zorvat::eval("x = 1", results);
  host.install();
  zorvat::eval("x = 1", results);
  EXPECT_TRUE(results.empty());

  zorvat::host_call_function entry = fake_eval;
  host.answer_with("eval_ptr", &entry);
  zorvat::eval("y = x + 1;", results);
  EXPECT_EQ(eval_seen_code, "y = x + 1;");
  EXPECT_EQ(eval_seen_use_count, 1);  // a fresh value, released after the call
  EXPECT_EQ(results.size(), 1u);
  zorvat::eval("z", results);
  EXPECT_EQ(eval_seen_code, "z");
  EXPECT_EQ(host.count("eval_ptr"), 2u);
}

TEST_F(HostBridge, SetVariableKeepsAnExistingVariableUnlessOverwriting) {
  int storage[2] = {0, 0};
  auto* old_value = reinterpret_cast<const zorvat::zo_obj*>(&storage[0]);
  auto* new_value = reinterpret_cast<const zorvat::zo_obj*>(&storage[1]);
  std::map<std::string, const zorvat::zo_obj*> ws{{"x", old_value}};
  host.answer("variable_detail", [&](query_record& r) -> void* {
    r.text = arg_chars(r);
    auto it = ws.find(r.text);
    return it == ws.end() ? nullptr : const_cast<zorvat::zo_obj*>(it->second);
  });
  host.answer("register_variable", [&](query_record& r) -> void* {
    struct record {
      const char* name;
      const zorvat::zo_obj* value;
    };
    const auto* rec = static_cast<const record*>(r.arg);
    r.text = rec->name;
    ws[rec->name] = rec->value;
    return nullptr;
  });
  host.install();
  host.log.clear();

  EXPECT_EQ(zorvat::get_variable_ws("x"), old_value);
  EXPECT_EQ(zorvat::get_variable_ws("y"), nullptr);

  host.log.clear();
  zorvat::set_variable_ws("x", new_value, false);
  EXPECT_EQ(ws["x"], old_value);
  EXPECT_EQ(host.names(), std::vector<std::string>{"variable_detail"});

  host.log.clear();
  zorvat::set_variable_ws("x", new_value, true);
  EXPECT_EQ(ws["x"], new_value);
  EXPECT_EQ(host.names(), std::vector<std::string>{"register_variable"});

  host.log.clear();
  zorvat::set_variable_ws("z", new_value, false);
  EXPECT_EQ(ws["z"], new_value);
  EXPECT_EQ(host.names(), (std::vector<std::string>{"variable_detail", "register_variable"}));
  EXPECT_EQ(host.log[1].text, "z");
}

TEST_F(HostBridge, VariableNamesComeFromTheSecondFieldOfEachLineAfterTheHeader) {
  std::string listing = "Name:Size:Class\n1:beta:1x1\n2::skip\nno fields here\n3:alpha\n4:\n";
  host.answer_with("variable_brief", &listing);
  host.install();
  EXPECT_EQ(zorvat::get_all_variable_names_ws(), (std::vector<std::string>{"beta", "alpha"}));
  listing = "header only";
  EXPECT_TRUE(zorvat::get_all_variable_names_ws().empty());
}

void zex_function(int, __zxArray**, int, const __zxArray**) {}

TEST_F(HostBridge, ClearZexAndLookupPassTheNameCharacters) {
  zxPluginFunction slot = zex_function;
  host.answer("lookup_zex_function", [&](query_record& r) -> void* {
    r.text = arg_chars(r);
    return r.text == "known" ? &slot : nullptr;
  });
  host.answer("unregister_zex_function_soft", [&](query_record& r) -> void* {
    r.text = arg_chars(r);
    return nullptr;
  });
  host.install();
  host.log.clear();
  EXPECT_EQ(zorvat::internal::lookup_zex_function("known"), &zex_function);
  EXPECT_EQ(zorvat::internal::lookup_zex_function("other"), nullptr);
  zorvat::clear_zex("gone");
  ASSERT_EQ(host.log.size(), 3u);
  EXPECT_EQ(host.log[2].name, "unregister_zex_function_soft");
  EXPECT_EQ(host.log[2].text, "gone");
}

}  // namespace
