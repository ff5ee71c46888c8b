// host_services.h: evaluation, workspace and function lookup in the host.
//
// Each service is one or two queries through global::F2KQuery_fwd
// (host_query.h).  A null answer means the service is not available: the
// service then does nothing, or returns null / empty / false.
//
//   std::vector<std::shared_ptr<zorvat::zo_obj>> out;
//   zorvat::eval("x = 1 + 2;", out);              // nothing happens without a host
//   if (zorvat::which("myfun").empty()) { /* built-in or unknown */ }
//   zorvat::set_variable_ws("x", &value, false);  // keeps an existing x
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "plugin/zx_types.h"

namespace zorvat {

class zo_obj;

// The function type behind "feval_ptr" and "eval_ptr".
using host_call_function = void (*)(std::vector<std::shared_ptr<zo_obj const>>& args,
                                    std::vector<std::shared_ptr<zo_obj>>& results);

// Calls the host's function-evaluation entry with `args` and `results`.  The
// entry is queried ("feval_ptr") until the host answers, then kept.
void feval(std::vector<std::shared_ptr<zo_obj const>>& args,
           std::vector<std::shared_ptr<zo_obj>>& results);

// Evaluates `code` in the host: its entry ("eval_ptr", cached like feval's)
// is called with one string value holding `code`.
void eval(std::string const& code, std::vector<std::shared_ptr<zo_obj>>& results);

// The file of an m-function or m-script `name` (query "which"); the empty
// text for built-ins, unknown names or without a host.
std::string which(std::string const& name);

// Whether `name` is a keyword of the language (query "keyword_list", asked
// until the host answers once, then the set is kept).  Case-sensitive.
bool is_builtin_function(std::string const& name);

// The workspace variable `name` (query "variable_detail"), owned by the
// host, or null.
zo_obj const* get_variable_ws(std::string const& name);

// Registers `value` as the workspace variable `name` (query
// "register_variable").  Without `overwrite`, an existing variable is kept.
void set_variable_ws(std::string const& name, zo_obj const* value, bool overwrite);

// The names of the workspace's variables in the host's order (query
// "variable_brief"): the second ":" field of every line after the header.
std::vector<std::string> get_all_variable_names_ws();

// Asks the host to forget the extension function `name`
// (query "unregister_zex_function_soft").
void clear_zex(std::string const& name);

namespace internal {

// The extension library's function registered in the host under `name`
// (query "lookup_zex_function"), or null.
zxPluginFunction lookup_zex_function(std::string const& name);

}  // namespace internal
}  // namespace zorvat
