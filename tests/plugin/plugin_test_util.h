// plugin_test_util.h: shared pieces of the plugin manager's tests.
#pragma once

#include <dlfcn.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "fake_host.h"
#include "plugin/plugin_manager.h"
#include "value/zo_obj.h"

namespace zorvat_test {

using zorvat::zo_obj;
using zorvat::internal::plugin_manager;

inline const std::string plugin_root = ZORVAT_TEST_PLUGIN_ROOT;

inline plugin_manager& mgr() { return zorvat::global::plugin_mgr(); }

inline std::string main_so(const std::string& name, const std::string& root = plugin_root) {
  return root + "/plugins/" + name + "/main.so";
}

// Whether the dynamic loader still has the library mapped.
inline bool library_open(const std::string& path) {
  void* h = dlopen(path.c_str(), RTLD_NOW | RTLD_NOLOAD);
  if (h) dlclose(h);
  return h != nullptr;
}

// The first identifiers of the process, taken before any test ran.
struct first_identifiers {
  std::vector<int> objects;
  std::vector<int> cstructs;
  std::string construction_stderr;
};
inline first_identifiers& process_start() {
  static first_identifiers ids;
  return ids;
}

// An external object with a chosen dispatch type.
class probe : public zorvat::extern_obj_base {
 public:
  explicit probe(int id) : id_(id) {}
  int type_id() const override { return id_; }

 private:
  int id_;
};

inline std::shared_ptr<const zo_obj> value_of_type(int id) { return std::make_shared<zo_obj>(new probe(id)); }
inline std::shared_ptr<const zo_obj> num(double v) { return std::make_shared<zo_obj>(v); }

inline std::string text_of(const std::shared_ptr<zo_obj>& v) { return v ? v->as_string() : "(null)"; }

// Records the clearing hook's calls, with how many console writes had been
// seen at that moment.
struct clear_record {
  std::vector<int> ids;
  size_t writes_before;
};
inline std::vector<clear_record>& clear_calls() {
  static std::vector<clear_record> calls;
  return calls;
}
inline fake_host*& clear_host() {
  static fake_host* host = nullptr;
  return host;
}
inline void record_clear(const std::vector<int>& ids) {
  clear_calls().push_back({ids, clear_host() ? clear_host()->count("write_to_cout") : 0});
}

// Every test starts with a recording host and the clearing hook installed,
// and ends with all test plugins unloaded.
class PluginTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* q : {"addpath", "rmpath", "write_to_cout"}) {
      host.answer(q, [](query_record& r) -> void* {
        r.text = *static_cast<const std::string*>(r.arg);
        return nullptr;
      });
    }
    host.install();
    clear_host() = &host;
    clear_calls().clear();
    zorvat::global::set_clear_extern_obj(record_clear);
  }
  void TearDown() override {
    for (const char* name :
         {"tp_good", "tp_clash", "tp_obj", "tp_fail_fini", "tp_throw_fini", "tp_nofuncs", "tp_reent", "tp_vendor/alias"}) {
      if (mgr().is_loaded(name)) mgr().remove(name);
    }
    zorvat::global::set_clear_extern_obj(nullptr);
    clear_host() = nullptr;
    fake_host::uninstall();
  }

  std::vector<std::string> query_texts(const std::string& name) const {
    std::vector<std::string> out;
    for (const auto& r : host.log) {
      if (r.name == name) out.push_back(r.text);
    }
    return out;
  }

  fake_host host;
};

}  // namespace zorvat_test
