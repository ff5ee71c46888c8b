// A plugin in a folder of a folder (loaded as "tp_vendor/alias") whose
// function, operator and overload put an argument into an output slot, as a
// C plugin easily does: `plhs[0] = (__zxArray*)prhs[0]`.
#include <stdexcept>

#include "plugin/plugin_manager.h"
#include "plugin/zx_plugin.h"
#include "value/zo_obj.h"

namespace {

// Output k is argument k (wrapping round the arguments); the C cast drops
// the const.
void echo(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  for (int k = 0; k < nlhs && nrhs > 0; ++k) plhs[k] = (__zxArray*)prhs[k % nrhs];
}

// The same, and then fails: the slot is released unadopted.
void echo_then_fail(int nlhs, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  echo(nlhs, plhs, nrhs, prhs);
  throw std::runtime_error("failed after the outputs");
}

int id = 0;

// The object type identifier that the operator is registered for.
void type_id(int, __zxArray** plhs, int, const __zxArray**) {
  plhs[0] = reinterpret_cast<__zxArray*>(new zorvat::zo_obj(static_cast<double>(id)));
}

const zxFunctionEntry table[] = {
    {"alias::echo", echo, nullptr},
    {"alias::type_id", type_id, nullptr},
    {"alias::echo_then_fail", echo_then_fail, nullptr},
    {nullptr, nullptr, nullptr},
};

}  // namespace

extern "C" {

const zxFunctionEntry* zxPluginFunctions(void) { return table; }

int zxPluginInit(int, const __zxArray**) {
  auto& mgr = zorvat::global::plugin_mgr();
  id = mgr.next_cxx_obj_id(TP_PLUGIN_NAME);
  if (mgr.register_operator(TP_PLUGIN_NAME, zxOpPlus, id, echo) != 0) return 1;
  mgr.register_overload_function("alias_echo", TP_PLUGIN_NAME, echo);
  return 0;
}

}  // extern "C"
