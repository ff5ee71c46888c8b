// statements.cpp: the statement forms of zorvat-host's command language:
// assignments into names, subscripts and fields, several outputs, calls
// without outputs, and expressions shown as ans.
#include "arith.h"
#include "assign.h"
#include "builtins.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "parser.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;

std::vector<value_ptr> call_named(session& s, const std::string& name, const value_list& args, int nargout,
                                  int col) {
  std::vector<value_ptr> out;
  if (const builtin* b = find_builtin(name)) {
    b->fn(args, nargout, out, col);
    return out;
  }
  s.call_function(name, args, nargout, out, col);
  return out;
}

std::string handle_name(const zo_obj& h, int col) {
  const auto& f = h.get<zorvat::function_handle>();
  if (f.type() != zorvat::fh_named) throw host_error(tr("只能调用具名函数的句柄"), col);
  return f.data();
}

value_ptr parser::call_one(const std::string& name, const value_list& args, int col) {
  std::vector<value_ptr> results = call_named(s_, name, args, 1, col);
  if (results.empty()) throw host_error(str_format(tr("函数 %s 没有返回值"), name.c_str()), col);
  return results[0];
}

// The position after a name and its chain of (...), {...} and .name, or npos
// when a bracket is not closed on the line.
size_t parser::lvalue_end(size_t p) const {
  size_t j = p + 1;
  while (j < t_.size()) {
    const token& t = t_[j];
    if (t.kind == tok::op && (t.text == "(" || t.text == "{")) {
      j = matching(j);
      if (j == std::string::npos) return j;
      ++j;
    } else if (t.kind == tok::op && t.text == "." && j + 1 < t_.size() && t_[j + 1].kind == tok::ident) {
      j += 2;
    } else {
      break;
    }
  }
  return std::min(j, t_.size() - 1);
}

void parser::expect_stop(size_t stop) {
  if (pos_ != stop) throw host_error(str_format(tr("意外的 %s"), describe(peek()).c_str()), peek().col);
}

value_ptr parser::expression(size_t stop) {
  value_ptr v = expr();
  expect_stop(stop);
  return v;
}

bool parser::loop_values(size_t stop, range& r, value_ptr& whole) {
  const size_t start = pos_;
  value_ptr a = add_expr();
  if (is_op(":")) {
    const int col = next().col;
    value_ptr b = add_expr(), c;
    if (is_op(":")) {
      next();
      c = add_expr();
    }
    if (pos_ == stop) {
      r = c ? range_of(*a, b.get(), *c, col) : range_of(*a, nullptr, *b, col);
      return true;
    }
  } else if (pos_ == stop) {
    whole = a;
    return false;
  }
  pos_ = start;  // a range inside a larger expression: read it whole
  whole = expression(stop);
  return false;
}

void parser::statement(size_t stop, const sink_fn& sink) {
  check_interrupt();
  const auto is_assign_at = [&](size_t j) {
    return j != std::string::npos && t_[j].kind == tok::op && t_[j].text == "=";
  };
  if (is_op("[")) {
    const size_t close = matching(pos_);
    if (close != std::string::npos && is_assign_at(close + 1)) {
      return multi_assign(stop, sink);
    }
  }
  if (peek().kind == tok::ident) {
    if (is_assign_at(lvalue_end(pos_))) {
      return assign(stop, sink);
    }
    if (call_statement(stop, sink)) return;
  }
  std::string name = "ans";
  bool store = true;
  if (peek().kind == tok::ident && s_.vars_.count(peek().text) && pos_ + 1 == stop) {
    name = peek().text;  // a bare variable is shown under its own name
    store = false;
  }
  value_ptr v = std::make_shared<zo_obj>(*expr());
  expect_stop(stop);
  if (store) s_.vars_[name] = v;
  sink(name, v);
}

// name = expr, or name followed by (subs), {subs} and .field steps.
void parser::assign(size_t stop, const sink_fn& sink) {
  const std::string name = next().text;
  auto var = s_.vars_.find(name);
  const value_ptr target = var == s_.vars_.end() ? nullptr : var->second;
  std::vector<accessor> path;
  value_ptr cur = target;  // what the steps so far select; null: nothing yet
  while (!is_op("=")) {
    accessor a;
    a.col = peek().col;
    if (is_op("(") || is_op("{")) {
      a.kind = is_op("{") ? accessor::brace : accessor::paren;
      a.subs = index_args(cur.get(), a.kind == accessor::brace ? "}" : ")");
    } else {
      next();
      a.kind = accessor::field;
      a.name = next().text;
    }
    cur = cur ? step_read(*cur, a) : nullptr;
    path.push_back(std::move(a));
  }
  next();  // '='
  const value_ptr rhs = expr();
  expect_stop(stop);
  const value_ptr v = path.empty() ? std::make_shared<zo_obj>(*rhs) : assign_path(target, path, 0, rhs);
  s_.vars_[name] = v;
  sink(name, v);
}

// [a, ~, c] = f(args): the outputs of one call, ~ dropping one.
void parser::multi_assign(size_t stop, const sink_fn& sink) {
  next();  // '['
  std::vector<std::string> names;
  lists_.push_back(true);
  while (!is_op("]")) {
    if (is_op(",")) {
      next();
    } else if (is_op("~")) {
      next();
      names.emplace_back();
    } else if (peek().kind == tok::ident) {
      names.push_back(next().text);
    } else {
      throw host_error(tr("多个输出的左边只能是变量名或 ~"), peek().col);
    }
  }
  lists_.pop_back();
  next();  // ']'
  next();  // '='
  if (peek().kind != tok::ident) throw host_error(tr("多个输出只能来自函数调用"), peek().col);
  const token f = next();
  std::string fn = f.text;
  auto var = s_.vars_.find(fn);
  if (var != s_.vars_.end()) {
    if (var->second->type != zorvat::type_function_handle)
      throw host_error(tr("多个输出只能来自函数调用"), f.col);
    fn = handle_name(*var->second, f.col);
  }
  value_list args;
  if (is_op("(")) args = arguments();
  expect_stop(stop);
  const std::vector<value_ptr> results = call_named(s_, fn, args, static_cast<int>(names.size()), f.col);
  if (results.size() < names.size())
    throw host_error(str_format(tr("%s 只给出了 %ld 个输出"), fn.c_str(), static_cast<long>(results.size())), f.col);
  for (size_t k = 0; k < names.size(); ++k) {
    if (names[k].empty()) continue;
    const value_ptr v = std::make_shared<zo_obj>(*results[k]);
    s_.vars_[names[k]] = v;
    sink(names[k], v);
  }
}

// A function called as a whole statement, f or f(args) (also through a
// handle): with no output requested, a function may give none.
bool parser::call_statement(size_t stop, const sink_fn& sink) {
  const token t = peek();
  auto var = s_.vars_.find(t.text);
  const bool handle = var != s_.vars_.end() && var->second->type == zorvat::type_function_handle;
  size_t after = pos_ + 1;
  if (is_op_at(1, "(")) {
    after = matching(pos_ + 1);
    if (after == std::string::npos) return false;
    ++after;
  }
  if (after != stop || (var != s_.vars_.end() && (!handle || after == pos_ + 1))) return false;
  if (!handle && after == pos_ + 1 && (t.text == "true" || t.text == "false" || t.text == "Inf" || t.text == "NaN"))
    return false;
  next();
  const std::string fn = handle ? handle_name(*var->second, t.col) : t.text;
  value_list args;
  if (is_op("(")) args = arguments();
  expect_stop(stop);
  const std::vector<value_ptr> results = call_named(s_, fn, args, 0, t.col);
  if (results.empty()) return true;
  s_.vars_["ans"] = results[0];
  sink("ans", results[0]);
  return true;
}

}  // namespace zorvat_host
