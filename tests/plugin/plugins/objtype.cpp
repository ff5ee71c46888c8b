// A plugin with an object type of its own ("tally", holding one number),
// operators on it and an overload of "disp".
#include <stdexcept>
#include <string>

#include "host/console.h"
#include "memory/str_util.h"
#include "plugin/plugin_manager.h"
#include "plugin/zx_plugin.h"
#include "value/zo_obj.h"

using zorvat::zo_obj;

namespace {

int tally_id = -1;

class tally : public zorvat::extern_obj_base {
 public:
  explicit tally(double v) : value(v) {}
  extern_obj_base* dup() const override { return new tally(*this); }
  std::string to_string() const override { return zorvat::str_format("%g", value); }
  std::string classname() const override { return "tally"; }
  int type_id() const override { return tally_id; }
  double value;
};

const zo_obj& arg(const __zxArray* p) { return *reinterpret_cast<const zo_obj*>(p); }
__zxArray* out(zo_obj* v) { return reinterpret_cast<__zxArray*>(v); }
const tally* as_tally(const zo_obj& v) {
  return v.type == zorvat::type_extern ? dynamic_cast<const tally*>(&v.get<zorvat::extern_obj_base>()) : nullptr;
}
double number(const zo_obj& v) {
  const tally* t = as_tally(v);
  return t ? t->value : v.as_double();
}

// "+": names its operands in the order received.
void plus(int, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  std::string s;
  for (int i = 0; i < nrhs; ++i) s += (i ? "+" : "") + arg(prhs[i]).brief_type_str();
  plhs[0] = out(new zo_obj(s));
}
void negate(int, __zxArray** plhs, int, const __zxArray** prhs) {
  plhs[0] = out(new zo_obj(new tally(-number(arg(prhs[0])))));
}
void assign(int, __zxArray** plhs, int, const __zxArray** prhs) {
  plhs[0] = out(new zo_obj(new tally(number(arg(prhs[2])))));
}
void concat(int, __zxArray** plhs, int nrhs, const __zxArray**) {
  plhs[0] = out(new zo_obj(new tally(nrhs)));
}
void minus_half_made(int, __zxArray** plhs, int, const __zxArray**) {
  plhs[0] = out(new zo_obj(new tally(1)));
  throw std::runtime_error("minus failed");
}
void times_no_output(int, __zxArray**, int, const __zxArray**) {}
void divide_throws(int, __zxArray**, int, const __zxArray**) { throw std::out_of_range("divide failed"); }
void power_throws_int(int, __zxArray**, int, const __zxArray**) { throw 42; }

// disp(tally) only; any other first argument is declined.
void disp_overload(int, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  const tally* t = nrhs > 0 ? as_tally(arg(prhs[0])) : nullptr;
  if (!t) zorvat::return_overload_check_fail_msg("not a tally");
  plhs[0] = out(new zo_obj("tally " + t->to_string()));
}

void make(int, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  plhs[0] = out(new zo_obj(new tally(nrhs ? arg(prhs[0]).as_double() : 0)));
}
void type_id(int, __zxArray** plhs, int, const __zxArray**) {
  plhs[0] = out(new zo_obj(static_cast<double>(tally_id)));
}

const zxFunctionEntry table[] = {
    {"tpobj::make", make, "tpobj::make(x)  a tally holding x"},
    {"tpobj::type_id", type_id, nullptr},
    {nullptr, nullptr, nullptr},
};

}  // namespace

extern "C" {

int zxPluginInit(int, const __zxArray**) {
  auto& mgr = zorvat::global::plugin_mgr();
  tally_id = mgr.next_cxx_obj_id(TP_PLUGIN_NAME);
  const struct {
    zxOperatorID op;
    zxPluginFunction fn;
  } ops[] = {{zxOpPlus, plus},           {zxOpUMinus, negate},         {zxOpSubsasgn, assign},
             {zxOpHorzCat, concat},      {zxOpMinus, minus_half_made}, {zxOpMul, times_no_output},
             {zxOpRDiv, divide_throws},  {zxOpPow, power_throws_int}};
  for (const auto& o : ops) {
    if (mgr.register_operator(TP_PLUGIN_NAME, o.op, tally_id, o.fn) != 0) return 1;
  }
  mgr.register_overload_function("disp", TP_PLUGIN_NAME, disp_overload);
  return 0;
}

int zxPluginFini(void) {
  zorvat::write_to_cout("fini " TP_PLUGIN_NAME);
  return 0;
}

const zxFunctionEntry* zxPluginFunctions(void) { return table; }

}  // extern "C"
