// The plugin of the plugin writers' tutorial: one object type (a tally of
// marks), a function that makes one, the operator + on it, and the entry
// points that load and unload it.
//! [includes]
#include <zorvat.h>
#include <plugin/zx_plugin.h>
//! [includes]

using zorvat::zo_obj;

namespace {

//! [type]
int tally_id = -1;  // handed out by the plugin manager at load time

struct tally : zorvat::extern_obj_base {
  explicit tally(long marks) : marks(marks) {}
  extern_obj_base* dup() const override { return new tally(*this); }
  std::string to_string() const override { return zorvat::str_format("tally of %ld", marks); }
  std::string classname() const override { return "tally"; }
  int type_id() const override { return tally_id; }
  long marks;
};
//! [type]

//! [functions]
const zo_obj& arg(const __zxArray* p) { return *reinterpret_cast<const zo_obj*>(p); }
__zxArray* result(long marks) { return reinterpret_cast<__zxArray*>(new zo_obj(new tally(marks))); }

// The marks of a tally, or a plain whole number.
long marks_of(const zo_obj& x) {
  if (x.type == zorvat::type_extern) {
    if (auto* t = dynamic_cast<const tally*>(&x.get<zorvat::extern_obj_base>())) return t->marks;
  }
  return x.as_int();  // throws std::invalid_argument for anything else
}

// tally::make(n): a tally of n marks (0 without an argument).
void make(int, __zxArray** plhs, int nrhs, const __zxArray** prhs) {
  plhs[0] = result(nrhs > 0 ? marks_of(arg(prhs[0])) : 0);
}

// a + b where a or b is a tally.
void plus(int, __zxArray** plhs, int, const __zxArray** prhs) {
  plhs[0] = result(marks_of(arg(prhs[0])) + marks_of(arg(prhs[1])));
}

const zxFunctionEntry functions[] = {
    {"tally::make", make, "tally::make(n)  a tally of n marks"},
    {nullptr, nullptr, nullptr},
};
//! [functions]

}  // namespace

//! [entry]
extern "C" {
const zxFunctionEntry* zxPluginFunctions(void) { return functions; }

int zxPluginInit(int, const __zxArray**) {
  auto& mgr = zorvat::global::plugin_mgr();
  std::string self = zorvat::internal::plugin_manager_data::get_instance().current_plugin();
  tally_id = mgr.next_cxx_obj_id(self);
  if (tally_id < 0) return 1;
  return mgr.register_operator(self, zxOpPlus, tally_id, plus) != 0;
}

int zxPluginFini(void) { return 0; }  // nothing of its own to release
}
//! [entry]
