// A well-behaved plugin: namespaced functions with help texts, a plain name,
// a row without a name, and functions that misbehave on their outputs.
#include <stdexcept>
#include <string>

#include "plugin/plugin_manager.h"
#include "plugin/zx_plugin.h"
#include "value/zo_obj.h"

using zorvat::zo_obj;

namespace {

const zo_obj& arg(const __zxArray* p) { return *reinterpret_cast<const zo_obj*>(p); }
__zxArray* out(zo_obj* v) { return reinterpret_cast<__zxArray*>(v); }

void* seen_zex = reinterpret_cast<void*>(1);
int seen_nargs = -1;
double seen_first = -1;  // args[0] (the second load argument) when there is one
std::string seen_current;

// Sum of all arguments as one double.
void sum(int, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  double s = 0;
  for (int i = 0; i < nrhs; ++i) s += arg(prhs[i]).as_double();
  plhs[0] = out(new zo_obj(s));
}

// Fills as many outputs as asked for: 1, 2, 3, ...
void count(int nlhs, __zxArray** plhs, int, const __zxArray**) {
  for (int k = 0; k < nlhs; ++k) plhs[k] = out(new zo_obj(static_cast<double>(k + 1)));
}

// Fills only the first output.
void first_only(int, __zxArray** plhs, int, const __zxArray**) { plhs[0] = out(new zo_obj(7.0)); }

// Makes its result and then fails.
void half_made(int, __zxArray** plhs, int, const __zxArray**) {
  plhs[0] = out(new zo_obj("partial"));
  throw std::runtime_error("half made");
}

// What zxPluginInitLib and zxPluginInit were given.
void init_record(int, __zxArray** plhs, int, const __zxArray**) {
  plhs[0] = out(new zo_obj(static_cast<double>(seen_nargs)));
  plhs[1] = out(new zo_obj(seen_first));
  plhs[2] = out(new zo_obj(seen_current));
  plhs[3] = out(new zo_obj(seen_zex == nullptr));
}

void nothing(int, __zxArray**, int, const __zxArray**) {}

const zxFunctionEntry table[] = {
    {"tp::sum", sum, "tp::sum(a, b, ...)  adds its arguments"},
    {"tp::count", count, "tp::count()  1, 2, 3, ..."},
    {nullptr, nothing, "a row without a name is skipped"},
    {"tp::first_only", first_only, nullptr},
    {"tp::half_made", half_made, nullptr},
    {"tp::init_record", init_record, nullptr},
    {"plain", nothing, "plain()  no namespace"},
    {nullptr, nullptr, nullptr},
    {"tp::after_end", nothing, "never registered"},
};

}  // namespace

extern "C" {

int zxPluginInitLib(void* zex) {
  seen_zex = zex;
  return 0;
}

int zxPluginInit(int nargs, const __zxArray** args) {
  seen_nargs = nargs;
  seen_first = nargs >= 2 ? arg(args[0]).as_double() : -1;
  seen_current = zorvat::internal::plugin_manager_data::get_instance().current_plugin();
  return 0;
}

int zxPluginFini(void) { return 0; }

const zxFunctionEntry* zxPluginFunctions(void) { return table; }

}  // extern "C"
