// plugin_manager.h: loading plugins, their functions, operators and overloads.
//
// A plugin is a shared library at <root>/plugins/<name>/main.so with the C
// entry points of "plugin/zx_plugin.h".  plugin_manager (one per process)
// loads and unloads plugins, keeps the table of the functions that they
// export, the operator table for plugin-defined types and the C structure
// types; plugin_manager_data keeps the overloaded functions.  Loading and
// registering report a plugin's failure by a status and a translated text in
// error_msg(), never by throwing; add() and remove() throw only what the
// memory or the host throws (add then leaves the plugin unloaded).  Calls
// throw: apply_operator (std::runtime_error for every failure),
// apply_function (a failure of the called function, a missing output) and
// apply_overload_function (overload_check_failure, and what the candidate
// throws).
//
//   auto& mgr = zorvat::global::plugin_mgr();
//   if (mgr.add("demo", {}, "/opt/zorvat") != 0) report(mgr.error_msg());
//   if (auto fn = mgr.get_function_by_name("demo::hello")) {
//     std::vector<std::shared_ptr<zorvat::zo_obj>> out;
//     mgr.apply_function(fn, 1, {}, out);
//   }
//   auto sum = mgr.apply_operator(zxOpPlus, a, b);   // a or b of a plugin type
//   mgr.remove("demo");
//
// Values cross into a plugin as `const __zxArray*`, the address of a zo_obj;
// a result is a zo_obj made with `new` that the core adopts.
//
// Public way in: global::plugin_mgr() (the manager) and
// internal::plugin_manager_data::get_instance() (overloads, and
// current_plugin() while a plugin loads) are the interface for hosts and
// plugins, although their classes live in zorvat::internal.
//
// Single-threaded: no locks.
#pragma once

#include <array>
#include <exception>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "plugin/plugin_library.h"
#include "plugin/zx_types.h"

namespace zorvat {

class zo_obj;

// Thrown by an overload function to decline arguments it does not handle;
// the overloaded call then tries the next candidate.
class overload_check_failure : public std::exception {
 public:
  overload_check_failure() : msg_("overload check failed") {}
  explicit overload_check_failure(std::string msg) : msg_(std::move(msg)) {}
  const char* what() const noexcept override { return msg_.c_str(); }

 private:
  std::string msg_;
};

// Declines an overloaded call (default message / the given message).
[[noreturn]] void return_overload_check_fail();
[[noreturn]] void return_overload_check_fail_msg(std::string const& msg);

namespace internal {

// The results of plugin_manager::add and remove (see there for the order of
// the tests).  The numbers are part of the interface (hosts test them) and
// never change.
enum plugin_status : int {
  plugin_done = 0,              // loaded, or unloaded
  plugin_open_failed = 1,       // the library did not open, or the name is invalid
  plugin_no_functions = 2,      // no zxPluginFunctions
  plugin_name_conflict = 3,     // a function name is exported by another plugin
  plugin_init_lib_failed = 4,   // zxPluginInitLib returned non-zero
  plugin_init_failed = 5,       // zxPluginInit returned non-zero
  plugin_fini_failed = 6,       // unloaded, but zxPluginFini returned non-zero
  plugin_bad_namespace = 7,     // a namespace that is empty or "builtin"
  plugin_already_loaded = 100,  // add of a loaded name
  plugin_not_loaded = 101,      // remove of a name that is not loaded
  plugin_being_removed = 102,   // remove while that plugin's removal is under way
  plugin_bad_signature = 999,   // check_signature() refused the library
};

// The results of plugin_manager::register_operator.
enum operator_registration : int {
  operator_registered = 0,
  operator_plugin_not_loaded = -1,
  operator_already_defined = -2,
  operator_type_reserved = -3,  // a type of 99 or less
};

// The status that plugin_manager::apply_operator reports.
enum operator_dispatch : int {
  dispatch_done = 0,
  dispatch_operand_count = 1,  // the operand count does not fit the operator
  dispatch_no_operator = -1,   // no operand's type has the operator registered
  dispatch_call_failed = 2,    // the function threw or returned nothing
};

// One exported function.
struct plugin_fcn_info {
  std::string name;       // full name, possibly "namespace::function"
  std::string plugin;     // the exporting plugin
  zxPluginFunction function = nullptr;
  const char* help = nullptr;  // owned by the plugin library
};

// A registered C structure type: how the environment copies and drops one.
struct cstruct_info {
  void* (*copy)(const void*) = nullptr;
  void (*destroy)(void*) = nullptr;
};

// One loaded plugin.
struct plugin_info {
  std::string name;
  std::string path;  // of main.so
  void* handle = nullptr;                   // the loader handle of `library`
  std::shared_ptr<plugin_library> library;  // keeps the code mapped while loaded
  zxPluginInitLibFunction init_lib = nullptr;
  zxPluginInitFunction init = nullptr;
  zxPluginFiniFunction fini = nullptr;
  zxPluginFunctionsFunction functions = nullptr;
  std::vector<int> type_ids;                 // odd: object types, even: C structures
  std::vector<unsigned long> operator_keys;  // keys it registered in the operator table
};

class plugin_manager {
 public:
  using function = zxPluginFunction;
  using value_list = std::vector<std::shared_ptr<const zo_obj>>;
  using result_list = std::vector<std::shared_ptr<zo_obj>>;

  // The process-wide manager, made on first use.  Making it opens
  // "libzex.so"; when that fails a warning goes to the standard error stream.
  static plugin_manager& get_instance();

  plugin_manager(const plugin_manager&) = delete;
  plugin_manager& operator=(const plugin_manager&) = delete;

  // --- Loading and unloading ---------------------------------------------
  // Loads <root>/plugins/<name>/main.so.  The name is a folder inside
  // <root>/plugins, possibly nested ("vendor/tool" loads
  // <root>/plugins/vendor/tool/main.so): one or more parts separated by '/',
  // none of them empty, "." or "..", and no '\\' or NUL byte anywhere.  So
  // an empty name, ".", "..", any ".." part, a leading or trailing '/', "//"
  // and "./" are refused, and a folder is reached by one name only.
  // 0 loaded; 100 already loaded;
  // 1 invalid name (as above: nothing is opened); 999 bad signature; 1 dlopen failed; 2 no
  // zxPluginFunctions; 7 bad namespace; 3 name exported by another plugin;
  // 4 zxPluginInitLib failed; 5 zxPluginInit failed.  The entry points may
  // load, unload (this plugin too) and register.  zxPluginInit gets nargs = args.size() and the
  // address of args[1]: the count is the full size while the array starts one
  // element in, deliberately (null when args is empty).  On success the host
  // is asked to "addpath" <root>/plugins/<name>/scripts.
  int add(const std::string& name, const std::vector<const __zxArray*>& args, const std::string& root);
  // Unloads: 0 done; 101 not loaded; 6 unloaded but zxPluginFini failed; 102
  // refused because the plugin is being unloaded already (a remove from its
  // own zxPluginFini or from the clearing hook).  The plugin's names,
  // operators and overloads go at once; its code stays mapped while values
  // of its types live (see plugin_library.h).  The host is asked to "rmpath" the scripts directory under the root taken
  // from $ZORVAT_PLUGIN_PATH (not the root given to add), deliberately.
  int remove(const std::string& name);
  bool is_loaded(const std::string& name) const;
  std::string error_msg() const { return error_; }
  // The signature test of a plugin library; always true in this version.
  bool check_signature() const;
  // The loader handle of "libzex.so", or null.
  void* zex_handle() const { return zex_; }

  // --- Function registry ---------------------------------------------------
  // The host's extension function of that name first, then the plugins'.
  function get_function_by_name(const std::string& name) const;
  // A plugin function's help text, or null (the host is not asked).
  const char* get_function_help_by_name(const std::string& name) const;
  // The names in the plugin's own table, in table order.
  std::vector<std::string> get_export_function_list(const std::string& plugin) const;
  // The plugin's record; inserts an empty one if absent (which then counts as
  // loaded).
  plugin_info& operator[](const std::string& plugin) const;
  // The next odd object-type identifier (101, 103, ...), recorded for the
  // plugin; -1 when the plugin is not loaded.
  int next_cxx_obj_id(const std::string& plugin);

  // --- Operators -------------------------------------------------------------
  // The operand counts and symbols of ZX_FOR_EACH_OPERATOR (zx_types.h):
  // unary 21..26, binary 1..18 and 27, ternary 28; the concatenations 19
  // and 20 are none of the three.
  static bool is_unary(zxOperatorID op);
  static bool is_binary(zxOperatorID op);
  static bool is_ternary(zxOperatorID op);
  // The operator's text for messages; "(unknown)" outside the table.
  static const char* operator_symbol(zxOperatorID op);
  // (op << 48) | t, t sign-extended: the key of the operator table.
  static unsigned long operator_key(zxOperatorID op, int type);
  // (op << 48) | (unsigned t1 << 32) | (t2 << 16) | t3, t2 and t3
  // sign-extended; the parts overlap on purpose.  Not used by dispatch.
  static unsigned long hash_type(zxOperatorID op, int t1, int t2, int t3);

  // An operator_registration: 0 registered; -1 plugin not loaded; -2 key
  // present; -3 type <= 99.
  int register_operator(const std::string& plugin, zxOperatorID op, int type, function fn);
  // Forwards with t1 alone: dispatch finds an operator through whichever
  // operand carries a registered type, so t2 and t3 are ignored.
  int register_operator(const std::string& plugin, zxOperatorID op, int t1, int t2, int t3, function fn);

  // Calls the function registered for the first operand whose key is found,
  // and adopts its result.  status (operator_dispatch): 0 done, 1 operand
  // count does not fit the operator, -1 no operand type registered, 2 the
  // function returned nothing or threw.  Every failure sets error_msg() and
  // throws std::runtime_error with the same text.  A result slot holding one
  // of the operands (a plugin's mistake) gives a copy of that operand,
  // sharing its payload.
  std::shared_ptr<zo_obj> apply_operator(zxOperatorID op, value_list& args, int& status);
  // Collects a, then b and c where not null, and calls the form above.
  std::shared_ptr<zo_obj> apply_operator(zxOperatorID op, std::shared_ptr<const zo_obj> a,
                                         std::shared_ptr<const zo_obj> b = nullptr,
                                         std::shared_ptr<const zo_obj> c = nullptr);

  // --- Overloads, C structures, calls ----------------------------------------
  // Registers fn as an overload of `name` under `tag` (a plugin's name).  An
  // empty tag means the plugin being loaded (plugin_manager_data::current_plugin).
  int register_overload_function(const std::string& name, const std::string& tag, function fn);
  // Tries the overloads of `name` in ascending tag order; a candidate that
  // throws overload_check_failure is skipped, any other exception propagates.
  // Throws overload_check_failure when there is no candidate or all declined.
  void apply_overload_function(const std::string& name, int nargout, const value_list& prhs,
                               result_list& results);
  // A new C structure identifier (102, 104, ...) for a loaded plugin, or -1.
  int add_cstruct(const std::string& plugin, void* (*copy)(const void*), void (*destroy)(void*));
  // The record of a C structure identifier, or null.
  const cstruct_info* get_cstruct(int id) const;

  // Calls fn with max(nargout, 1) output slots set to null (nlhs = nargout),
  // then appends every non-null slot, in order, to `results`.  If a slot
  // k <= nargout (1-based) stays null, the appended results are released and
  // std::runtime_error "输出参数 %d 未被赋值" is thrown.  If fn throws, the
  // slots it filled are released and the exception propagates; one not
  // derived from std::exception becomes std::runtime_error naming the
  // function.  A null fn throws std::runtime_error.  A slot holding one of
  // the arguments (`plhs[0] = (__zxArray*)prhs[0]`, a plugin's mistake) is
  // not adopted: the result is a copy of that argument, sharing its payload.
  static void apply_function(function fn, int nargout, const value_list& prhs, result_list& results);

 private:
  plugin_manager();
  ~plugin_manager() = default;

  // The worker of both apply_operator forms, on n operand pointers.
  std::shared_ptr<zo_obj> apply_operator_impl(zxOperatorID op, const zo_obj* const* operands, size_t n,
                                              int& status);
  // A name for fn in messages: its exported or overloaded name, else its
  // address.
  std::string function_label(function fn) const;

  mutable std::unordered_map<std::string, plugin_info> plugins_;
  std::unordered_map<std::string, plugin_fcn_info> functions_;
  std::unordered_map<unsigned long, function> operators_;
  // A direct-mapped cache in front of operators_ for dispatch, absent keys
  // included; emptied whenever operators_ changes.
  struct operator_cache_entry {
    unsigned long key = 0;
    function fn = nullptr;
    bool valid = false;
  };
  static constexpr size_t operator_cache_size = 64;
  std::array<operator_cache_entry, operator_cache_size> operator_cache_{};
  function find_operator(unsigned long key);
  // Drops every trace of a loaded plugin from the tables (its functions,
  // operators, overloads, C structure types and record) without allocating.
  void forget(const std::string& name) noexcept;
  std::unordered_map<int, cstruct_info> cstructs_;
  mutable std::string error_;
  std::vector<std::string> removing_;  // plugins whose remove() is under way
  int cstruct_counter_ = 100;  // advanced, then used: 102, 104, ...
  int cxx_obj_counter_ = 101;  // used, then advanced: 101, 103, ...
  void* zex_ = nullptr;
};

// The overloaded functions, by name and then by tag; a singleton of its own.
class plugin_manager_data {
 public:
  using function = zxPluginFunction;
  using overload_table = std::map<std::string, std::map<std::string, function>>;

  static plugin_manager_data& get_instance();

  plugin_manager_data(const plugin_manager_data&) = delete;
  plugin_manager_data& operator=(const plugin_manager_data&) = delete;

  overload_table& ofun_data() { return ofun_; }
  // Inserts fn under name and tag; an existing entry for that name and tag
  // stays as it is.  `flag` non-zero: an empty tag stands for current_plugin().
  // Returns 0 when inserted, 1 when an entry was already there.
  int register_overload_function(const std::string& name, const std::string& tag, function fn,
                                 int flag);
  // Erases the entries of `tag` under every name; emptied names stay.
  void remove_overload_function_by_tag(const std::string& tag);
  // The plugin whose entry points are running during a load ("" otherwise).
  void current_plugin(const std::string& name) { current_ = name; }
  // Exchanges the current plugin's name with `name` (cannot fail).
  void swap_current_plugin(std::string& name) noexcept { current_.swap(name); }
  const std::string& current_plugin() const { return current_; }

 private:
  plugin_manager_data() = default;
  ~plugin_manager_data() = default;

  overload_table ofun_;
  std::string current_;
};

}  // namespace internal

namespace global {
// The same object as internal::plugin_manager::get_instance().
internal::plugin_manager& plugin_mgr();
}  // namespace global

}  // namespace zorvat
