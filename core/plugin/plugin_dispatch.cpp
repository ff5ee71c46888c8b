// plugin_dispatch.cpp: calling plugin functions with values: operators,
// overloaded functions and plain calls.  Arguments cross as the addresses of
// their zo_obj; results come back as zo_obj made with new and are adopted.
#include <boost/container/small_vector.hpp>

#include <stdexcept>

#include "memory/messages.h"
#include "memory/str_util.h"
#include "plugin/plugin_error.h"
#include "plugin/operator_table.h"
#include "plugin/plugin_manager.h"
#include "value/zo_obj.h"

namespace zorvat {
namespace internal {
namespace {

// Operator and most function calls have few operands and outputs: keep their
// pointer arrays off the heap.
template <class T>
using short_array = boost::container::small_vector<T, 4>;

// Operators take up to three operands (concatenations any number).
constexpr size_t max_operands = 3;

// The output slots of one plugin call.  Whatever the plugin left in a slot
// and nobody adopted is released, also when the plugin throws.  A slot that
// holds one of the call's arguments (`plhs[0] = (__zxArray*)prhs[0]`, an easy
// mistake in C) is not the plugin's to give: the caller gets a copy of that
// argument (sharing its payload), and the argument is never released here.
class output_slots {
 public:
  output_slots(size_t n, const __zxArray* const* args, size_t nargs)
      : slots_(n, nullptr), args_(args), nargs_(nargs) {}
  output_slots(const output_slots&) = delete;
  output_slots& operator=(const output_slots&) = delete;
  ~output_slots() {
    for (__zxArray* p : slots_)
      if (!is_argument(p)) delete reinterpret_cast<zo_obj*>(p);
  }
  __zxArray** data() { return slots_.data(); }
  size_t size() const { return slots_.size(); }
  bool filled(size_t k) const { return slots_[k] != nullptr; }
  // Takes slot k into a shared owner; the slot is empty afterwards.
  std::shared_ptr<zo_obj> adopt(size_t k) {
    zo_obj* p = reinterpret_cast<zo_obj*>(slots_[k]);
    if (is_argument(slots_[k])) {
      std::shared_ptr<zo_obj> copy = std::make_shared<zo_obj>(*p);
      slots_[k] = nullptr;
      return copy;
    }
    slots_[k] = nullptr;  // from here on the shared owner (or its failure) releases it
    return std::shared_ptr<zo_obj>(p);
  }

 private:
  bool is_argument(const __zxArray* p) const {
    for (size_t k = 0; k < nargs_; ++k)
      if (p != nullptr && args_[k] == p) return true;
    return false;
  }

  short_array<__zxArray*> slots_;
  const __zxArray* const* args_;
  size_t nargs_;
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

bool plugin_manager::is_unary(zxOperatorID op) { return operator_operands(op) == 1; }
bool plugin_manager::is_binary(zxOperatorID op) { return operator_operands(op) == 2; }
bool plugin_manager::is_ternary(zxOperatorID op) { return operator_operands(op) == 3; }

unsigned long plugin_manager::operator_key(zxOperatorID op, int type) {
  return (static_cast<unsigned long>(op) << 48) | static_cast<unsigned long>(static_cast<long>(type));
}

std::shared_ptr<zo_obj> plugin_manager::apply_operator(zxOperatorID op, value_list& args, int& status) {
  short_array<const zo_obj*> operands(args.size());
  for (size_t k = 0; k < args.size(); ++k) operands.data()[k] = args[k].get();
  return apply_operator_impl(op, operands.data(), args.size(), status);
}

std::shared_ptr<zo_obj> plugin_manager::apply_operator(zxOperatorID op, std::shared_ptr<const zo_obj> a,
                                                       std::shared_ptr<const zo_obj> b,
                                                       std::shared_ptr<const zo_obj> c) {
  // a, then b and c where present; no list is built on the heap.
  const zo_obj* operands[max_operands] = {a.get(), nullptr, nullptr};
  size_t n = 1;
  if (b) operands[n++] = b.get();
  if (c) operands[n++] = c.get();
  int status = 0;
  return apply_operator_impl(op, operands, n, status);
}

std::shared_ptr<zo_obj> plugin_manager::apply_operator_impl(zxOperatorID op, const zo_obj* const* operands,
                                                            size_t n, int& status) {
  auto fail = [&](int code, std::string text) -> std::shared_ptr<zo_obj> {
    status = code;
    error_ = std::move(text);
    throw std::runtime_error(error_);
  };

  // Operators of a fixed count take exactly that many operands; the
  // concatenations and numbers outside the table any number but none.
  const int count = operator_operands(op);
  if (n == 0 || (count > 0 && n != static_cast<size_t>(count)))
    return fail(dispatch_operand_count, tr("错误 - 输入参数个数和算符类型不匹配"));

  function fn = nullptr;
  for (size_t k = 0; k < n && !fn; ++k)  // the first operand with a registered key decides
    fn = find_operator(operator_key(op, dispatch_type(operands[k])));
  if (!fn) return fail(dispatch_no_operator, str_format(tr("错误 - 运算符 %s 不支持该类型的输入参数组合"), operator_symbol(op)));

  short_array<const __zxArray*> prhs(n);
  for (size_t k = 0; k < n; ++k) prhs.data()[k] = reinterpret_cast<const __zxArray*>(operands[k]);
  output_slots plhs(1, prhs.data(), n);
  try {
    plugin_library::running guard;
    plugin_call_scope scope;  // an error recorded through zex becomes the call's error
    fn(1, plhs.data(), static_cast<int>(n), prhs.data());
    scope.raise_pending();
  } catch (const std::exception& e) {
    return fail(dispatch_call_failed, e.what());
  } catch (...) {
    return fail(dispatch_call_failed, str_format(tr("错误 - 运算符 %s 对应的插件函数抛出了未知异常"), operator_symbol(op)));
  }
  if (!plhs.filled(0)) return fail(dispatch_call_failed, tr("错误 - 重载算子对应的函数没有输出返回值"));
  std::shared_ptr<zo_obj> result = plhs.adopt(0);
  status = dispatch_done;
  error_.clear();
  return result;
}

plugin_manager::function plugin_manager::find_operator(unsigned long key) {
  operator_cache_entry& e = operator_cache_[(key ^ (key >> 45)) % operator_cache_size];
  if (e.valid && e.key == key) return e.fn;
  auto it = operators_.find(key);
  e = {key, it == operators_.end() ? nullptr : it->second, true};
  return e.fn;
}

void plugin_manager::apply_function(function fn, int nargout, const value_list& prhs, result_list& results) {
  if (!fn) throw std::runtime_error(tr("错误 - 要调用的插件函数不存在（空函数指针）"));
  short_array<const __zxArray*> args = argument_array(prhs);
  output_slots plhs(static_cast<size_t>(nargout > 1 ? nargout : 1), args.data(), args.size());
  try {
    plugin_library::running guard;
    plugin_call_scope scope;  // an error recorded through zex becomes the call's error
    fn(nargout, plhs.data(), static_cast<int>(args.size()), args.data());
    scope.raise_pending();
  } catch (const std::exception&) {
    throw;
  } catch (...) {
    throw std::runtime_error(str_format(tr("错误 - 插件函数 %s 抛出了未知异常"),
                                        get_instance().function_label(fn).c_str()));
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

std::string plugin_manager::function_label(function fn) const {
  for (const auto& f : functions_) {
    if (f.second.function == fn) return f.first;
  }
  for (const auto& overloads : plugin_manager_data::get_instance().ofun_data()) {
    for (const auto& candidate : overloads.second) {
      if (candidate.second == fn) return overloads.first;
    }
  }
  return str_format("%p", reinterpret_cast<void*>(fn));
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
