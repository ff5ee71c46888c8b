// A plugin for the benchmarks: 10,000 functions ("many::f00000" ...), a
// trivial operator "+" on its own type that returns a new scalar, and the
// same function under "many::plus".
#include <string>
#include <vector>

#include "memory/str_util.h"
#include "plugin/plugin_manager.h"
#include "plugin/zx_plugin.h"
#include "value/zo_obj.h"

namespace {

int many_id = -1;

void nothing(int, __zxArray**, int, const __zxArray**) {}
void plus(int, __zxArray** plhs, int nrhs, const __zxArray**) {
  plhs[0] = reinterpret_cast<__zxArray*>(new zorvat::zo_obj(static_cast<double>(nrhs)));
}
void type_id(int, __zxArray** plhs, int, const __zxArray**) {
  plhs[0] = reinterpret_cast<__zxArray*>(new zorvat::zo_obj(static_cast<double>(many_id)));
}

const std::vector<zxFunctionEntry>& table() {
  static std::vector<std::string> names;
  static std::vector<zxFunctionEntry> rows;
  if (rows.empty()) {
    for (int i = 0; i < 10000; ++i) names.push_back(zorvat::str_format("many::f%05d", i));
    for (const auto& n : names) rows.push_back({n.c_str(), nothing, nullptr});
    rows.push_back({"many::plus", plus, nullptr});
    rows.push_back({"many::type_id", type_id, nullptr});
    rows.push_back({nullptr, nullptr, nullptr});
  }
  return rows;
}

}  // namespace

extern "C" {

int zxPluginInit(int, const __zxArray**) {
  auto& mgr = zorvat::global::plugin_mgr();
  many_id = mgr.next_cxx_obj_id(TP_PLUGIN_NAME);
  return mgr.register_operator(TP_PLUGIN_NAME, zxOpPlus, many_id, plus);
}

const zxFunctionEntry* zxPluginFunctions(void) { return table().data(); }

}  // extern "C"
