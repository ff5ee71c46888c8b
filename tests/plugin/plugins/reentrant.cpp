// A plugin that calls back into the manager from its entry points and
// functions: its fini unloads itself again, registers an operator and loads
// another plugin; a function unloads its own plugin while it runs; another
// throws something that is not a std::exception.  The second load argument
// is the plugin root for that other load, or "unload in init".
#include <string>

#include "host/console.h"
#include "memory/str_util.h"
#include "plugin/plugin_manager.h"
#include "plugin/zx_plugin.h"
#include "value/zo_obj.h"

using zorvat::zo_obj;

namespace {

int obj_id = -1;
std::string load_arg;

zorvat::internal::plugin_manager& mgr() { return zorvat::global::plugin_mgr(); }
__zxArray* out(zo_obj* v) { return reinterpret_cast<__zxArray*>(v); }

// Its own code must stay mapped until it returns.
void unload_self(int, __zxArray** plhs, int, const __zxArray**) {
  const int status = mgr().remove(TP_PLUGIN_NAME);
  plhs[0] = out(new zo_obj(static_cast<double>(status)));
}

void throw_int(int, __zxArray**, int, const __zxArray**) { throw 42; }

const zxFunctionEntry table[] = {
    {"re::unload_self", unload_self, nullptr},
    {"re::throw_int", throw_int, nullptr},
    {nullptr, nullptr, nullptr},
};

}  // namespace

extern "C" {

int zxPluginInit(int nargs, const __zxArray** args) {
  if (nargs >= 2) load_arg = reinterpret_cast<const zo_obj*>(args[0])->as_string();
  obj_id = mgr().next_cxx_obj_id(TP_PLUGIN_NAME);
  if (mgr().register_operator(TP_PLUGIN_NAME, zxOpMinus, obj_id, throw_int) != 0) return 1;
  return load_arg == "unload in init" ? mgr().remove(TP_PLUGIN_NAME) : 0;
}

int zxPluginFini(void) {
  const int again = mgr().remove(TP_PLUGIN_NAME);
  const int op = mgr().register_operator(TP_PLUGIN_NAME, zxOpPlus, obj_id, throw_int);
  const int load = load_arg.empty() || load_arg == "unload in init" ? -9 : mgr().add("tp_good", {}, load_arg);
  zorvat::write_to_cout(zorvat::str_format("fini remove=%d register=%d add=%d", again, op, load));
  return 0;
}

const zxFunctionEntry* zxPluginFunctions(void) { return table; }

}  // extern "C"
