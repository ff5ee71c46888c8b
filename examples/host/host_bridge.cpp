// host_bridge.cpp: zorvat-host's answers to the core's queries.
//
// Every service of the host that the core reaches is answered here: console
// text, the console's width, the data and cache directories, the workspace, the
// keyword list, evaluation and calls by name, and the search path.  Queries
// that this host does not serve ("which", "lookup_zex_function", ...) are
// answered with null, which the core reads as "not available".
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unordered_set>

#include "host/console.h"
#include "host/host_query.h"
#include "host/host_services.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "control.h"
#include "parser.h"
#include "session.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace zorvat_host {

namespace {

// The record passed with "register_variable".
struct variable_record {
  const char* name;
  const zo_obj* value;
};

}  // namespace

// The folder above the one that holds this executable: <prefix> for the
// installed <prefix>/bin/zorvat-host, <build> for <build>/examples/zorvat-host.
// Empty when the executable's path is unknown.
std::string installation_dir() {
  char buf[4096];
  const ssize_t n = readlink("/proc/self/exe", buf, sizeof buf);
  if (n <= 0 || n == static_cast<ssize_t>(sizeof buf)) return {};
  std::string dir(buf, static_cast<size_t>(n));
  for (int up = 0; up < 2; ++up) {  // drop the file name, then its folder
    const size_t slash = dir.rfind('/');
    if (slash == std::string::npos) return {};
    dir.erase(slash);
  }
  return dir;
}

namespace {

// The data directory of the installation that this executable belongs to:
// <prefix>/share/zorvat when installed, <build>/share/zorvat in the build
// tree, where the build writes the compiled catalogues.  Empty when the
// executable's path is unknown (the core then finds no catalogue and shows
// the original texts).
std::string installed_data_dir() {
  const std::string dir = installation_dir();
  return dir.empty() ? dir : dir + "/share/zorvat";
}

std::string user_dir(const std::string& option, const char* xdg_var, const char* home_sub) {
  if (!option.empty()) return option;
  if (const char* x = std::getenv(xdg_var); x && *x) return std::string(x) + "/zorvat";
  const char* home = std::getenv("HOME");
  return std::string(home ? home : "") + home_sub + "/zorvat";
}

// "feval_ptr": args[0] names the function (text or handle), the rest are
// its arguments.
void feval_entry(std::vector<std::shared_ptr<zo_obj const>>& args, std::vector<value_ptr>& results) {
  if (args.empty()) throw host_error(zorvat::tr("feval 需要函数名"), 0);
  const zo_obj& f = *args[0];
  const std::string name =
      f.type == zorvat::type_function_handle ? f.get<zorvat::function_handle>().data() : f.as_string();
  const std::vector<value_ptr> out = call_named(*current_session(), name, value_list(args.begin() + 1, args.end()), 1, 0);
  results.insert(results.end(), out.begin(), out.end());
}

// "eval_ptr": args[0] holds the code.
void eval_entry(std::vector<std::shared_ptr<zo_obj const>>& args, std::vector<value_ptr>& results) {
  if (args.empty()) return;
  current_session()->eval_code(args[0]->as_string(), results);
}

void* f2k(std::string const& q, void* arg) {
  session* s = current_session();
  if (q == "write_to_cout" || q == "write_to_cerr") {
    const auto* text = static_cast<const std::string*>(arg);
    std::fwrite(text->data(), 1, text->size(), q == "write_to_cout" ? stdout : stderr);
    return nullptr;
  }
  if (q == "flush_cout" || q == "flush_cerr") {
    std::fflush(q == "flush_cout" ? stdout : stderr);
    return nullptr;
  }
  if (!s) return nullptr;
  static std::string answer;  // the text that a pointer answer points at
  if (q == "local_data_dir" || q == "local_data_dir_u") {
    // The core binds its message catalogues to <answer>/locale.
    static const std::string installed = installed_data_dir();
    answer = s->opts().data_dir.empty() ? installed : s->opts().data_dir;
    return &answer;
  }
  if (q == "local_cache_dir" || q == "local_cache_dir_u") {
    answer = user_dir(s->opts().cache_dir, "XDG_CACHE_HOME", "/.cache");
    return &answer;
  }
  auto& vars = s->workspace();
  if (q == "variable_detail") {
    auto it = vars.find(static_cast<const char*>(arg));
    return it == vars.end() ? nullptr : it->second.get();
  }
  if (q == "register_variable") {
    const auto* r = static_cast<const variable_record*>(arg);
    vars[r->name] = std::make_shared<zo_obj>(*r->value);
    return nullptr;
  }
  if (q == "variable_brief") {
    answer = "kind:name:type\n";
    for (const auto& v : vars) answer += "variable:" + v.first + ":" + v.second->brief_type_str() + "\n";
    return &answer;
  }
  if (q == "keyword_list") {
    answer.clear();
    for (size_t k = 0; k < command_count; ++k) answer += std::string(command_words[k]) + ";";
    for (const char* w : block_keywords()) answer += std::string(w) + ";";
    answer += "true;false;Inf;NaN";
    return &answer;
  }
  if (q == "feval_ptr") {
    static zorvat::host_call_function f = feval_entry;
    return &f;
  }
  if (q == "eval_ptr") {
    static zorvat::host_call_function e = eval_entry;
    return &e;
  }
  auto& path = s->search_path();
  if (q == "addpath") {
    const auto* dir = static_cast<const std::string*>(arg);
    if (std::find(path.begin(), path.end(), *dir) == path.end()) path.push_back(*dir);
    return nullptr;
  }
  if (q == "rmpath") {
    const auto* dir = static_cast<const std::string*>(arg);
    path.erase(std::remove(path.begin(), path.end(), *dir), path.end());
    return nullptr;
  }
  return nullptr;  // "which", "lookup_zex_function", "unregister_zex_function_soft"
}

void* k2f(std::string const& q, void*) {
  static int width = 0;
  if (q != "window_width") return nullptr;
  winsize ws{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &ws) == 0 && ws.ws_col > 0) {
    width = ws.ws_col;
    return &width;
  }
  if (const char* c = std::getenv("COLUMNS")) {
    width = std::atoi(c);
    if (width > 0) return &width;
  }
  return nullptr;
}

// A value that holds an object of one of `ids` at any depth: in cells and
// structure fields, nested as deep as they go.  Walked with a list of values
// still to look at, not by recursion, so a deep value cannot overflow the
// stack; a cell or structure shared many times within it is looked at once.
bool holds_type(const zo_obj& v, const std::vector<int>& ids) {
  std::vector<const zo_obj*> pending{&v};
  std::unordered_set<const void*> seen;
  while (!pending.empty()) {
    const zo_obj* x = pending.back();
    pending.pop_back();
    if (!x->payload() || !seen.insert(x->payload()).second) continue;
    if (x->type == zorvat::type_extern) {
      if (std::find(ids.begin(), ids.end(), x->get<zorvat::extern_obj_base>().type_id()) != ids.end()) return true;
    } else if (x->type == zorvat::type_cell) {
      for (const auto& e : x->get<zorvat::cell_array>().as_std_vector())
        if (e) pending.push_back(e.get());
    } else if (x->type == zorvat::type_struct) {
      for (const auto& field : x->get<zorvat::structure>().data())
        for (const auto& e : field.second)
          if (e) pending.push_back(e.get());
    }
  }
  return false;
}

// Before a plugin's code goes away, its objects leave the workspace: their
// destructors live in the plugin.
void clear_plugin_objects(std::vector<int> const& ids) {
  auto& vars = current_session()->workspace();
  for (auto it = vars.begin(); it != vars.end();) {
    if (holds_type(*it->second, ids)) {
      zorvat::write_to_cerr_flush(
          zorvat::str_format(zorvat::tr("变量 %s 持有插件的对象，已被清除"), it->first.c_str()) + "\n");
      it = vars.erase(it);
    } else {
      ++it;
    }
  }
}

}  // namespace

void install_host_bridge() {
  zorvat::global::set_core_query_function(f2k, k2f);
  zorvat::global::set_clear_extern_obj(clear_plugin_objects);
}

}  // namespace zorvat_host
