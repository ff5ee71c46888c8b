// host_services.cpp: evaluation, workspace and lookup services of the host.
#include "host/host_services.h"

#include <set>

#include "host/host_query.h"
#include "memory/str_util.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace {

// Text arguments travel as their characters.
void* name_arg(std::string const& name) { return const_cast<char*>(name.c_str()); }

// The answer is stored even when null, so the query is repeated on the next
// call until the host answers.
host_call_function cached_entry(void*& ptr, const char* query) {
  if (!ptr) ptr = global::F2KQuery_fwd(query, nullptr);
  return ptr ? *static_cast<host_call_function*>(ptr) : nullptr;
}

}  // namespace

void feval(std::vector<std::shared_ptr<zo_obj const>>& args,
           std::vector<std::shared_ptr<zo_obj>>& results) {
  static void* ptr = nullptr;
  if (host_call_function fn = cached_entry(ptr, "feval_ptr")) fn(args, results);
}

void eval(std::string const& code, std::vector<std::shared_ptr<zo_obj>>& results) {
  static void* ptr = nullptr;
  host_call_function fn = cached_entry(ptr, "eval_ptr");
  if (!fn) return;
  std::vector<std::shared_ptr<zo_obj const>> args{std::make_shared<zo_obj>(code)};
  fn(args, results);
}

std::string which(std::string const& name) {
  const auto* answer = static_cast<const std::string*>(global::F2KQuery_fwd("which", name_arg(name)));
  if (!answer) return std::string();
  // kind:location[:...]; only functions and scripts of the language have a file.
  const std::vector<std::string> fields = split_v(*answer, ':');
  if (fields.size() < 2 || (fields[0] != "mfunction" && fields[0] != "mscript")) return std::string();
  return fields[1];
}

bool is_builtin_function(std::string const& name) {
  static std::set<std::string> list;
  static bool init = false;
  if (!init) {
    const auto* answer = static_cast<const std::string*>(global::F2KQuery_fwd("keyword_list", nullptr));
    if (!answer) return false;
    list = split_s(*answer, ';');
    init = true;
  }
  return list.count(name) != 0;
}

zo_obj const* get_variable_ws(std::string const& name) {
  return static_cast<zo_obj const*>(global::F2KQuery_fwd("variable_detail", name_arg(name)));
}

void set_variable_ws(std::string const& name, zo_obj const* value, bool overwrite) {
  // Without overwrite an existing variable is kept, deliberately.
  if (!overwrite && get_variable_ws(name)) return;
  struct {
    char const* name;
    zo_obj const* value;
  } record{name.c_str(), value};
  global::F2KQuery_fwd("register_variable", &record);
}

std::vector<std::string> get_all_variable_names_ws() {
  std::vector<std::string> names;
  const auto* answer = static_cast<const std::string*>(global::F2KQuery_fwd("variable_brief", nullptr));
  if (!answer) return names;
  const std::vector<std::string> lines = split_v(*answer, '\n');
  for (size_t i = 1; i < lines.size(); ++i) {  // line 0 is the listing's header
    const std::vector<std::string> fields = split_v(lines[i], ':');
    if (fields.size() >= 2 && !fields[1].empty()) names.push_back(fields[1]);
  }
  return names;
}

void clear_zex(std::string const& name) {
  global::F2KQuery_fwd("unregister_zex_function_soft", name_arg(name));
}

namespace internal {

zxPluginFunction lookup_zex_function(std::string const& name) {
  const auto* slot = static_cast<const zxPluginFunction*>(
      global::F2KQuery_fwd("lookup_zex_function", name_arg(name)));
  return slot ? *slot : nullptr;
}

}  // namespace internal
}  // namespace zorvat
