// quaternion.cpp: a sample plugin with an object type of its own.
//
// It shows what a plugin writer needs: a class derived from extern_obj_base
// (dup, to_string, classname, type_id), a type identifier from the plugin
// manager, operators registered for that type (+ - * == and unary minus), a
// constructor function, an overload that declines arguments it does not
// handle, and help texts.  Load it with "plugin load quaternion".
#include <cmath>
#include <stdexcept>
#include <string>

#include "memory/str_util.h"
#include "plugin/plugin_manager.h"
#include "plugin/zx_plugin.h"
#include "value/zo_obj.h"

using zorvat::zo_obj;

namespace {

int quat_id = -1;  // handed out by the plugin manager at load time

class quaternion : public zorvat::extern_obj_base {
 public:
  quaternion(double a, double b, double c, double d) : a(a), b(b), c(c), d(d) {}
  extern_obj_base* dup() const override { return new quaternion(*this); }
  std::string to_string() const override {
    return zorvat::str_format("%g %c %gi %c %gj %c %gk", a, b < 0 ? '-' : '+', std::fabs(b), c < 0 ? '-' : '+',
                              std::fabs(c), d < 0 ? '-' : '+', std::fabs(d));
  }
  std::string classname() const override { return "quaternion"; }
  int type_id() const override { return quat_id; }
  double a, b, c, d;
};

const zo_obj& arg(const __zxArray* p) { return *reinterpret_cast<const zo_obj*>(p); }
__zxArray* result(zo_obj* v) { return reinterpret_cast<__zxArray*>(v); }
__zxArray* result(const quaternion& q) { return result(new zo_obj(new quaternion(q))); }

const quaternion* as_quat(const zo_obj& v) {
  return v.type == zorvat::type_extern && v.payload()
             ? dynamic_cast<const quaternion*>(&v.get<zorvat::extern_obj_base>())
             : nullptr;
}
// An operand: a quaternion, or a real scalar taken as one (x + 0i + 0j + 0k).
quaternion operand(const zo_obj& v) {
  if (const quaternion* q = as_quat(v)) return *q;
  if (v.type >= zorvat::type_int8 && v.type <= zorvat::type_single) return quaternion(v.as_double(), 0, 0, 0);
  throw std::invalid_argument("quaternion: an operand must be a quaternion or a real scalar");
}

void plus(int, __zxArray** plhs, int, const __zxArray** prhs) {
  const quaternion x = operand(arg(prhs[0])), y = operand(arg(prhs[1]));
  plhs[0] = result(quaternion(x.a + y.a, x.b + y.b, x.c + y.c, x.d + y.d));
}
void minus(int, __zxArray** plhs, int, const __zxArray** prhs) {
  const quaternion x = operand(arg(prhs[0])), y = operand(arg(prhs[1]));
  plhs[0] = result(quaternion(x.a - y.a, x.b - y.b, x.c - y.c, x.d - y.d));
}
// The Hamilton product: not commutative, so the operand order matters.
void times(int, __zxArray** plhs, int, const __zxArray** prhs) {
  const quaternion x = operand(arg(prhs[0])), y = operand(arg(prhs[1]));
  plhs[0] = result(quaternion(x.a * y.a - x.b * y.b - x.c * y.c - x.d * y.d,
                              x.a * y.b + x.b * y.a + x.c * y.d - x.d * y.c,
                              x.a * y.c - x.b * y.d + x.c * y.a + x.d * y.b,
                              x.a * y.d + x.b * y.c - x.c * y.b + x.d * y.a));
}
void negate(int, __zxArray** plhs, int, const __zxArray** prhs) {
  const quaternion x = operand(arg(prhs[0]));
  plhs[0] = result(quaternion(-x.a, -x.b, -x.c, -x.d));
}
void equal(int, __zxArray** plhs, int, const __zxArray** prhs) {
  const quaternion x = operand(arg(prhs[0])), y = operand(arg(prhs[1]));
  plhs[0] = result(new zo_obj(x.a == y.a && x.b == y.b && x.c == y.c && x.d == y.d));
}

// quat(a, b, c, d): every part a real scalar; missing parts are 0.
void quat(int, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  if (nrhs < 1 || nrhs > 4) throw std::invalid_argument("quat needs 1 to 4 real scalars");
  double p[4] = {0, 0, 0, 0};
  for (int k = 0; k < nrhs; ++k) p[k] = operand(arg(prhs[k])).a;
  plhs[0] = result(quaternion(p[0], p[1], p[2], p[3]));
}

// norm(q) for a quaternion; any other argument is declined, so that the
// host falls back to another meaning of "norm".
void norm(int, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  const quaternion* q = nrhs == 1 ? as_quat(arg(prhs[0])) : nullptr;
  if (!q) zorvat::return_overload_check_fail_msg("norm: not a quaternion");
  plhs[0] = result(new zo_obj(std::sqrt(q->a * q->a + q->b * q->b + q->c * q->c + q->d * q->d)));
}

const zxFunctionEntry functions[] = {
    {"quat", quat,
     "quat(a, b, c, d)  the quaternion a + bi + cj + dk; missing parts are 0.\n"
     "  Operators: q + r, q - r, q * r (Hamilton product), -q, q == r; a real scalar\n"
     "  operand counts as a quaternion with zero vector part.  norm(q) is its length."},
    {nullptr, nullptr, nullptr},
};

}  // namespace

extern "C" {

int zxPluginInit(int, const __zxArray**) {
  auto& mgr = zorvat::global::plugin_mgr();
  const std::string self = zorvat::internal::plugin_manager_data::get_instance().current_plugin();
  quat_id = mgr.next_cxx_obj_id(self);
  if (quat_id < 0) return 1;
  const struct {
    zxOperatorID op;
    zxPluginFunction fn;
  } ops[] = {{zxOpPlus, plus}, {zxOpMinus, minus}, {zxOpMul, times}, {zxOpUMinus, negate}, {zxOpEq, equal}};
  for (const auto& o : ops)
    if (mgr.register_operator(self, o.op, quat_id, o.fn) != 0) return 1;
  mgr.register_overload_function("norm", self, norm);
  return 0;
}

const zxFunctionEntry* zxPluginFunctions(void) { return functions; }

}  // extern "C"
