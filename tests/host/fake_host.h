// fake_host.h: a host for tests that records every query and answers from a
// table.  Install it with install(); the two callbacks append
// {callback, name, argument} to `log` in call order and return the answer
// registered for the name (null when none).
#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "host/host_query.h"

namespace zorvat_test {

struct query_record {
  int callback;  // 1: first (F2K), 2: second (K2F)
  std::string name;
  void* arg;
  std::string text;  // the argument read by the answerer, when it read one
};

class fake_host {
 public:
  using answer_fn = std::function<void*(query_record&)>;

  // Makes this host the registered one (and the only recorder).
  void install() {
    current() = this;
    zorvat::global::set_core_query_function(&f2k, &k2f);
  }
  // Unregisters every host without touching the catalogue binding.
  static void uninstall() {
    current() = nullptr;
    zorvat::global::__F2KQuery_p = nullptr;
    zorvat::global::__K2FQuery_p = nullptr;
  }

  void answer(const std::string& name, answer_fn fn) { answers_[name] = std::move(fn); }
  // Answers `name` with the address of `value`, which must outlive the host.
  template <class T>
  void answer_with(const std::string& name, T* value) {
    answers_[name] = [value](query_record&) -> void* { return value; };
  }

  std::vector<std::string> names() const {
    std::vector<std::string> out;
    for (const auto& r : log) out.push_back(r.name);
    return out;
  }
  size_t count(const std::string& name) const {
    size_t n = 0;
    for (const auto& r : log) n += r.name == name;
    return n;
  }

  std::vector<query_record> log;

 private:
  static fake_host*& current() {
    static fake_host* host = nullptr;
    return host;
  }
  static void* dispatch(int callback, std::string const& name, void* arg) {
    fake_host* host = current();
    if (!host) return nullptr;
    host->log.push_back(query_record{callback, name, arg, std::string()});
    auto it = host->answers_.find(name);
    return it == host->answers_.end() ? nullptr : it->second(host->log.back());
  }
  static void* f2k(std::string const& name, void* arg) { return dispatch(1, name, arg); }
  static void* k2f(std::string const& name, void* arg) { return dispatch(2, name, arg); }

  std::map<std::string, answer_fn> answers_;
};

}  // namespace zorvat_test
