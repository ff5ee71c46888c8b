// A plugin with one object type (lengths in metres), a function that makes
// one, and the operator + for it.
#include <zorvat.h>
#include <plugin/zx_plugin.h>
using zorvat::zo_obj;

namespace {
int metres_id = -1;  // handed out by the plugin manager when loaded

struct metres : zorvat::extern_obj_base {
  explicit metres(double v) : v(v) {}
  extern_obj_base* dup() const override { return new metres(*this); }
  std::string to_string() const override { return zorvat::str_format("%g m", v); }
  std::string classname() const override { return "metres"; }
  int type_id() const override { return metres_id; }
  double v;
};

const zo_obj& in(const __zxArray* p) { return *reinterpret_cast<const zo_obj*>(p); }
__zxArray* out(double v) { return reinterpret_cast<__zxArray*>(new zo_obj(new metres(v))); }
double length(const zo_obj& x) {  // a metres object or a plain number
  auto* m = x.type == zorvat::type_extern ? dynamic_cast<const metres*>(&x.get<zorvat::extern_obj_base>()) : nullptr;
  return m ? m->v : x.as_double();
}

void make(int, __zxArray** plhs, int nrhs, const __zxArray** prhs) { plhs[0] = out(nrhs ? length(in(prhs[0])) : 0); }
void plus(int, __zxArray** plhs, int, const __zxArray** prhs) {
  plhs[0] = out(length(in(prhs[0])) + length(in(prhs[1])));
}

const zxFunctionEntry table[] = {{"units::m", make, "units::m(x)  a length of x metres"}, {nullptr, nullptr, nullptr}};
}  // namespace

extern "C" {
const zxFunctionEntry* zxPluginFunctions(void) { return table; }

int zxPluginInit(int, const __zxArray**) {
  auto& mgr = zorvat::global::plugin_mgr();
  std::string self = zorvat::internal::plugin_manager_data::get_instance().current_plugin();
  metres_id = mgr.next_cxx_obj_id(self);
  return metres_id < 0 || mgr.register_operator(self, zxOpPlus, metres_id, plus) != 0;
}
}
