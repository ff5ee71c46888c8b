// A plugin that registers a bit of everything from its entry points and then
// fails at entry point TP_FAIL_AT (1 zxPluginInitLib, 2 zxPluginInit,
// 3 zxPluginFini), by returning 1 or (TP_THROW) by throwing.
#include <stdexcept>

#include "host/console.h"
#include "plugin/plugin_manager.h"
#include "plugin/zx_plugin.h"

namespace {

void nothing(int, __zxArray**, int, const __zxArray**) {}
void* copy_record(const void*) { return nullptr; }
void destroy_record(void*) {}

const zxFunctionEntry table[] = {
    {TP_PLUGIN_NAME "::f", nothing, "f()"},
    {nullptr, nullptr, nullptr},
};

int fail() {
  if (TP_THROW) throw std::runtime_error("entry point failed");
  return 1;
}

}  // namespace

extern "C" {

int zxPluginInitLib(void*) {
  auto& mgr = zorvat::global::plugin_mgr();
  const int id = mgr.next_cxx_obj_id(TP_PLUGIN_NAME);
  mgr.register_operator(TP_PLUGIN_NAME, zxOpPlus, id, nothing);
  return TP_FAIL_AT == 1 ? fail() : 0;
}

int zxPluginInit(int, const __zxArray**) {
  auto& mgr = zorvat::global::plugin_mgr();
  mgr.add_cstruct(TP_PLUGIN_NAME, copy_record, destroy_record);
  mgr.register_overload_function("tp_overloaded", "", nothing);
  return TP_FAIL_AT == 2 ? fail() : 0;
}

int zxPluginFini(void) {
  zorvat::write_to_cout("fini " TP_PLUGIN_NAME);
  return TP_FAIL_AT == 3 ? fail() : 0;
}

const zxFunctionEntry* zxPluginFunctions(void) { return table; }

}  // extern "C"
