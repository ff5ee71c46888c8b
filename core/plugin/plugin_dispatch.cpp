// plugin_dispatch.cpp: calling plugin functions with values: operators,
// overloaded functions and plain calls.  Arguments cross as the addresses of
// their zo_obj; results come back as zo_obj made with new and are adopted.
#include <boost/container/small_vector.hpp>

#include <stdexcept>

#include "memory/messages.h"
#include "memory/str_util.h"
#include "plugin/plugin_error.h"
#include "plugin/plugin_manager.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {
namespace {

// Operator and most function calls have few operands and outputs: keep their
// pointer arrays off the heap.
template <class T>
using short_array = boost::container::small_vector<T, 4>;

// The output slots of one plugin call.  Whatever the plugin left in a slot
// and nobody adopted is released, also when the plugin throws.
class output_slots {
 public:
  explicit output_slots(size_t n) : slots_(n, nullptr) {}
  output_slots(const output_slots&) = delete;
  output_slots& operator=(const output_slots&) = delete;
  ~output_slots() {
    for (__zxArray* p : slots_) delete reinterpret_cast<zo_obj*>(p);
  }
  __zxArray** data() { return slots_.data(); }
  size_t size() const { return slots_.size(); }
  bool filled(size_t k) const { return slots_[k] != nullptr; }
  // Takes slot k into a shared owner; the slot is empty afterwards.
  std::shared_ptr<zo_obj> adopt(size_t k) {
    zo_obj* p = reinterpret_cast<zo_obj*>(slots_[k]);
    slots_[k] = nullptr;  // from here on the shared owner (or its failure) releases it
    return std::shared_ptr<zo_obj>(p);
  }

 private:
  short_array<__zxArray*> slots_;
};

short_array<const __zxArray*> argument_array(const plugin_manager::value_list& values) {
  short_array<const __zxArray*> args;
  args.reserve(values.size());
  for (const auto& v : values) args.push_back(reinterpret_cast<const __zxArray*>(v.get()));
  return args;
}

// The type a value has for operator dispatch: its kind, or for an external
// object the identifier that its class reports.
int dispatch_type(const zo_obj* v) {
  if (!v) return type_error;
  if (v->type == type_extern && v->payload()) return v->get<extern_obj_base>().type_id();
  return v->type;
}

}  // namespace

std::shared_ptr<zo_obj> plugin_manager::apply_operator(zxOperatorID op, value_list& args, int& status) {
  auto fail = [&](int code, std::string text) -> std::shared_ptr<zo_obj> {
    status = code;
    error_ = std::move(text);
    throw std::runtime_error(error_);
  };

  const size_t n = args.size();
  if (n == 0 || (is_unary(op) && n != 1) || (is_binary(op) && n != 2) || (is_ternary(op) && n != 3))
    return fail(1, tr("错误 - 输入参数个数和算符类型不匹配"));

  function fn = nullptr;
  for (const auto& a : args) {  // the first operand with a registered key decides
    auto it = operators_.find(operator_key(op, dispatch_type(a.get())));
    if (it != operators_.end()) {
      fn = it->second;
      break;
    }
  }
  if (!fn) return fail(-1, str_format(tr("错误 - 运算符 %s 不支持该类型的输入参数组合"), operator_symbol(op)));

  short_array<const __zxArray*> prhs = argument_array(args);
  output_slots plhs(1);
  try {
    plugin_call_scope scope;  // an error recorded through zex becomes the call's error
    fn(1, plhs.data(), static_cast<int>(n), prhs.data());
    scope.raise_pending();
  } catch (const std::exception& e) {
    return fail(2, e.what());
  }
  if (!plhs.filled(0)) return fail(2, tr("错误 - 重载算子对应的函数没有输出返回值"));
  std::shared_ptr<zo_obj> result = plhs.adopt(0);
  status = 0;
  error_.clear();
  return result;
}

std::shared_ptr<zo_obj> plugin_manager::apply_operator(zxOperatorID op, std::shared_ptr<const zo_obj> a,
                                                       std::shared_ptr<const zo_obj> b,
                                                       std::shared_ptr<const zo_obj> c) {
  value_list args{std::move(a)};
  if (b) args.push_back(std::move(b));
  if (c) args.push_back(std::move(c));
  int status = 0;
  return apply_operator(op, args, status);
}

void plugin_manager::apply_function(function fn, int nargout, const value_list& prhs, result_list& results) {
  short_array<const __zxArray*> args = argument_array(prhs);
  output_slots plhs(static_cast<size_t>(nargout > 1 ? nargout : 1));
  {
    plugin_call_scope scope;  // an error recorded through zex becomes the call's error
    fn(nargout, plhs.data(), static_cast<int>(args.size()), args.data());
    scope.raise_pending();
  }

  const size_t first = results.size();
  try {
    for (size_t k = 0; k < plhs.size(); ++k) {
      if (plhs.filled(k)) {
        results.push_back(plhs.adopt(k));
      } else if (static_cast<int>(k) < nargout) {
        throw std::runtime_error(str_format(tr("输出参数 %d 未被赋值"), static_cast<int>(k + 1)));
      }
    }
  } catch (...) {
    results.resize(first);  // releases what was adopted; plhs releases the rest
    throw;
  }
}

void plugin_manager::apply_overload_function(const std::string& name, int nargout, const value_list& prhs,
                                             result_list& results) {
  const auto& table = plugin_manager_data::get_instance().ofun_data();
  auto entry = table.find(name);
  if (entry == table.end()) throw overload_check_failure();
  // Copied: a candidate may load or unload plugins and so change the table.
  const std::map<std::string, function> candidates = entry->second;
  for (const auto& candidate : candidates) {
    try {
      apply_function(candidate.second, nargout, prhs, results);
      return;
    } catch (const overload_check_failure&) {
      // Declined: try the next tag.
    }
  }
  throw overload_check_failure();
}

}  // namespace internal
}  // namespace zorvat
