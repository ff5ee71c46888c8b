// host_query.h: the two query callbacks through which the core reaches its host.
//
// The core never links against the interpreter that hosts it.  At start-up the
// host hands over two callbacks; every host service (evaluation, workspace,
// keywords, console, directories, the extension library's functions) is one
// query: a name and one untyped argument, answered with an untyped pointer.
// A null answer means "not available" and is never an error; before the host
// registers, every query answers null.
//
//   void* f2k(std::string const& q, void* arg);   // the host's side
//   void* k2f(std::string const& q, void* arg);
//   zorvat::global::set_core_query_function(f2k, k2f);
//   int* w = (int*)zorvat::global::K2FQuery_fwd("window_width", nullptr);
//
// Single-threaded: the callbacks are plain process-wide pointers.
#pragma once

#include <string>
#include <vector>

namespace zorvat {
namespace global {

// A host callback: query name and argument in, answer (or null) out.
using core_query_function = void* (*)(std::string const& name, void* arg);
// The external-object clearing hook: drops every object of the given types.
using clear_extern_obj_function = void (*)(std::vector<int> const& type_ids);

// The registered callbacks and hook; null until the host sets them.
extern core_query_function __F2KQuery_p;
extern core_query_function __K2FQuery_p;
extern clear_extern_obj_function clear_extern_obj;

// Stores both callbacks (either may be null), then binds the catalogue of
// "zorvat_core" to get_user_config_dir() + "/locale"; with no directory from
// the host that is "/locale".  May be called again to replace the callbacks;
// the caches of feval, eval and is_builtin_function are kept.
void set_core_query_function(core_query_function f2k, core_query_function k2f);

// The first callback's answer for (name, arg), or null without a callback.
// Exceptions of the callback pass through.
void* F2KQuery_fwd(std::string const& name, void* arg);
// The same for the second callback.
void* K2FQuery_fwd(std::string const& name, void* arg);

// Installs the clearing hook that the plugin manager calls, with a plugin's
// type identifiers, while it removes that plugin (before its fini runs).
void set_clear_extern_obj(clear_extern_obj_function hook);

}  // namespace global
}  // namespace zorvat
