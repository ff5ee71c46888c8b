// parser.cpp: the expressions of zorvat-host's command language.
#include "parser.h"

#include <cmath>
#include <set>

#include "arith.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "plugin/plugin_manager.h"
#include "value/cell_array.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;

struct op_entry {
  const char* text;
  zxOperatorID id;
};

namespace {

zorvat::internal::plugin_manager& mgr() { return zorvat::global::plugin_mgr(); }

zxOperatorID find_op(const op_entry* table, size_t n, const token& t) {
  if (t.kind != tok::op) return zxOperatorID(0);
  for (size_t k = 0; k < n; ++k)
    if (t.text == table[k].text) return table[k].id;
  return zxOperatorID(0);
}

const op_entry or_ops[] = {{"|", zxOpOr}};
const op_entry and_ops[] = {{"&", zxOpAnd}};
const op_entry cmp_ops[] = {{"<", zxOpLt}, {">", zxOpGt}, {"<=", zxOpLe},
                            {">=", zxOpGe}, {"~=", zxOpNe}, {"==", zxOpEq}};
const op_entry add_ops[] = {{"+", zxOpPlus}, {"-", zxOpMinus}};
const op_entry mul_ops[] = {{"*", zxOpMul},      {"/", zxOpRDiv},      {"\\", zxOpLDiv},
                            {".*", zxOpElemMul}, {"./", zxOpElemRDiv}, {".\\", zxOpElemLDiv}};
const op_entry unary_ops[] = {{"-", zxOpUMinus}, {"+", zxOpUPlus}, {"~", zxOpNot}};
const op_entry pow_ops[] = {{"^", zxOpPow}, {".^", zxOpElemPow}};
const op_entry postfix_ops[] = {{"'", zxOpCTranspose}, {".'", zxOpTranspose}};
#define OPS(t) t, sizeof(t) / sizeof(t[0])

value_ptr apply(zxOperatorID op, const value_list& operands, int col) {
  check_interrupt();
  if (value_ptr r = builtin_operator(op, operands, col)) return r;
  value_list args = operands;
  int status = 0;
  try {
    return mgr().apply_operator(op, args, status);
  } catch (const std::runtime_error& e) {
    throw host_error(e.what(), col);
  }
}


value_ptr make_cell(const std::vector<std::vector<value_ptr>>& rows, const std::vector<int>& row_cols) {
  const long m = rows.size(), n = m ? rows[0].size() : 0;
  auto* c = new zorvat::cell_array(m, n);
  auto v = std::make_shared<zo_obj>(zorvat::type_cell, c);
  for (long i = 0; i < m; ++i) {
    if (static_cast<long>(rows[i].size()) != n)
      throw host_error(tr("单元数组各行的元素个数不一致"), row_cols[i]);
    for (long j = 0; j < n; ++j) (*c)(i, j) = std::make_shared<zo_obj>(*rows[i][j]);
  }
  return v;
}

// `runs` holds the rows of number runs (tok::numbers) read in this literal.
value_ptr make_matrix(std::vector<std::vector<value_ptr>>& rows, const std::vector<int>& row_cols,
                      const std::set<const zo_obj*>& runs) {
  const auto is_run = [&](const zo_obj* v) { return runs.count(v) != 0; };
  bool all_dense = true;
  size_t count = 0;
  for (const auto& row : rows)
    for (const auto& e : row) {
      all_dense = all_dense && is_dense_kind(*e);
      ++count;
    }
  // A literal that is one run of numbers is that run's row.
  if (count == 1 && is_run(rows[0][0].get())) return rows[0][0];
  if (all_dense) return std::make_shared<zo_obj>(concat_rows(rows, row_cols));
  if (count == 1) return rows[0][0];
  // Next to a plugin's values, a run counts as the numbers that it holds.
  for (auto& row : rows)
    for (size_t e = row.size(); e-- > 0;)
      if (is_run(row[e].get())) {
        const auto& m = row[e]->get<zorvat::matrix<double>>();
        std::vector<value_ptr> numbers;
        for (long k = 0; k < m.size(); ++k) numbers.push_back(std::make_shared<zo_obj>(m.data()[k]));
        row.erase(row.begin() + e);
        row.insert(row.begin() + e, numbers.begin(), numbers.end());
      }
  // Values of plugin types are joined by the plugin's "[,]" and "[;]".
  value_list joined;
  for (size_t r = 0; r < rows.size(); ++r)
    joined.push_back(rows[r].size() == 1 ? rows[r][0]
                                         : apply(zxOpHorzCat, value_list(rows[r].begin(), rows[r].end()), row_cols[r]));
  return joined.size() == 1 ? std::const_pointer_cast<zo_obj>(joined[0]) : apply(zxOpVertCat, joined, row_cols[0]);
}

}  // namespace

// The position of the bracket that closes the one at position `open`, or
// npos when the line ends first.
size_t parser::matching(size_t open) const {
  long depth = 0;
  for (size_t j = open; j < t_.size() && t_[j].kind != tok::end; ++j) {
    if (t_[j].kind != tok::op) continue;
    const std::string& o = t_[j].text;
    if (o == "(" || o == "[" || o == "{") ++depth;
    if ((o == ")" || o == "]" || o == "}") && --depth == 0) return j;
  }
  return std::string::npos;
}

// Counts the nesting of one expression level; too deep a line is refused
// before it can exhaust the stack.
parser::depth_guard::depth_guard(parser& p) : p_(p) {
  if (++p_.depth_ > max_nesting)
    throw host_error(str_format(tr("表达式嵌套过深（最多 %d 层）"), max_nesting), p_.peek().col);
}

std::string describe(const token& t) {
  if (t.kind == tok::end) return tr("行尾");
  if (t.kind == tok::chars || t.kind == tok::text) return tr("字符串");
  return "'" + t.text + "'";
}
void parser::expect(const char* s) {
  if (!is_op(s))
    throw host_error(str_format(tr("缺少 '%s'，却遇到 %s"), s, describe(peek()).c_str()), peek().col);
  next();
}

// One level of left-associative binary operators.
template <class Sub>
value_ptr parser::binary(const op_entry* ops, size_t n, Sub sub) {
  value_ptr a = (this->*sub)();
  while (zxOperatorID op = find_op(ops, n, peek())) {
    // In a matrix, "[a -b]" is two elements: a sign after a blank that is
    // glued to its operand starts the next element.
    if (in_list() && peek().space_before && !peek(1).space_before && (op == zxOpPlus || op == zxOpMinus)) break;
    const int col = next().col;
    value_ptr b = (this->*sub)();
    a = apply(op, {a, b}, col);
  }
  return a;
}

value_ptr parser::expr() {
  depth_guard guard(*this);
  return binary(OPS(or_ops), &parser::and_expr);
}
value_ptr parser::and_expr() { return binary(OPS(and_ops), &parser::cmp_expr); }
value_ptr parser::cmp_expr() { return binary(OPS(cmp_ops), &parser::range_expr); }
// a:b and a:s:b
value_ptr parser::range_expr() {
  value_ptr a = add_expr();
  if (!is_op(":")) return a;
  const int col = next().col;
  value_ptr b = add_expr();
  if (!is_op(":")) return make_range(*a, nullptr, *b, col);
  next();
  value_ptr c = add_expr();
  return make_range(*a, b.get(), *c, col);
}
value_ptr parser::add_expr() { return binary(OPS(add_ops), &parser::mul_expr); }
value_ptr parser::mul_expr() { return binary(OPS(mul_ops), &parser::unary_expr); }

// A sign glued to a number or Inf is part of the literal ("-1", "+Inf"),
// unless a power follows ("-2^2" is the negated power).
value_ptr parser::signed_literal() {
  const token& sign = peek();
  const token& lit = peek(1);
  if (sign.kind != tok::op || (sign.text != "-" && sign.text != "+")) return nullptr;
  const bool inf = lit.kind == tok::ident && lit.text == "Inf";
  if ((lit.kind != tok::number && !inf) || lit.space_before) return nullptr;
  if (find_op(OPS(pow_ops), peek(2)) || find_op(OPS(postfix_ops), peek(2))) return nullptr;
  if (inf && s_.vars_.count("Inf")) return nullptr;
  next();
  next();
  const double x = (inf ? HUGE_VAL : lit.number) * (sign.text == "-" ? -1 : 1);
  if (lit.imaginary) return std::make_shared<zo_obj>(std::complex<double>(0, x));
  return std::make_shared<zo_obj>(x);
}

value_ptr parser::unary_expr() {
  if (value_ptr v = signed_literal()) return v;
  if (zxOperatorID op = find_op(OPS(unary_ops), peek())) {
    depth_guard guard(*this);
    const int col = next().col;
    return apply(op, {unary_expr()}, col);
  }
  return power_expr();
}
// "2^-1" is allowed: a power's exponent may carry signs.
value_ptr parser::power_operand() {
  if (value_ptr v = signed_literal()) return v;
  if (zxOperatorID op = find_op(OPS(unary_ops), peek())) {
    depth_guard guard(*this);
    const int col = next().col;
    return apply(op, {power_operand()}, col);
  }
  return postfix_expr();
}
value_ptr parser::power_expr() {
  value_ptr a = postfix_expr();
  while (zxOperatorID op = find_op(OPS(pow_ops), peek())) {
    const int col = next().col;
    a = apply(op, {a, power_operand()}, col);
  }
  return a;
}
value_ptr parser::postfix_expr() {
  value_ptr a = primary();
  while (zxOperatorID op = find_op(OPS(postfix_ops), peek())) a = apply(op, {a}, next().col);
  return a;
}

value_list parser::arguments() {
  value_list args;
  next();  // '('
  lists_.push_back(false);
  if (!is_op(")")) {
    while (true) {
      args.push_back(expr());
      if (!is_op(",")) break;
      next();
    }
  }
  expect(")");
  lists_.pop_back();
  return args;
}

// The subscripts of "(...)" or "{...}" into target (null: not defined
// yet); `end` in subscript k stands for that subscript's extent.
std::vector<subscript> parser::index_args(const zo_obj* target, const char* close) {
  const size_t end_pos = matching(pos_);
  size_t n = 0;
  if (end_pos != std::string::npos && end_pos > pos_ + 1) {
    n = 1;
    long depth = 0;
    for (size_t j = pos_ + 1; j < end_pos; ++j) {
      const std::string& o = t_[j].kind == tok::op ? t_[j].text : std::string();
      if (o == "(" || o == "[" || o == "{") ++depth;
      if (o == ")" || o == "]" || o == "}") --depth;
      if (o == "," && depth == 0) ++n;
    }
  }
  next();  // '(' or '{'
  lists_.push_back(false);
  std::vector<subscript> subs;
  for (size_t k = 0; k < n; ++k) {
    if (k > 0) expect(",");
    if (is_op(":") && (is_op_at(1, ",") || is_op_at(1, close))) {
      next();
      subs.push_back(subscript::all());
      continue;
    }
    const int col = peek().col;
    ends_.push_back(end_extent(target, k, n));
    value_ptr v = expr();
    ends_.pop_back();
    subs.push_back(read_subscript(*v, col));
  }
  expect(close);
  lists_.pop_back();
  return subs;
}

// A variable followed by subscripts and fields: x(i, j), c{i}, s.name.
value_ptr parser::subscripted(value_ptr v) {
  while (true) {
    const bool glued = !(in_list() && peek().space_before);
    if ((is_op("(") || is_op("{")) && glued) {
      const bool brace = is_op("{");
      const int col = peek().col;
      const std::vector<subscript> subs = index_args(v.get(), brace ? "}" : ")");
      v = index_read(*v, subs, brace, col);
    } else if (is_op(".") && glued && peek(1).kind == tok::ident) {
      const int col = next().col;
      v = field_read(*v, next().text, col);
    } else {
      return v;
    }
  }
}

value_ptr parser::primary() {
  const token t = peek();
  switch (t.kind) {
    case tok::numbers:
      next();
      runs_.insert(t.run.get());
      return t.run;
    case tok::number:
      next();
      if (t.imaginary) return std::make_shared<zo_obj>(std::complex<double>(0, t.number));
      return std::make_shared<zo_obj>(t.number);
    case tok::chars:
      next();
      return std::make_shared<zo_obj>(t.text.c_str(), zorvat::type_char);
    case tok::text:
      next();
      return std::make_shared<zo_obj>(t.text);
    case tok::ident:
      return name_or_call();
    case tok::end:
      throw host_error(tr("表达式不完整"), t.col);
    case tok::op:
      break;
  }
  if (t.text == "(") {
    next();
    lists_.push_back(false);
    value_ptr v = expr();
    expect(")");
    lists_.pop_back();
    return v;
  }
  if (t.text == "[" || t.text == "{") return list_literal(t.text == "{");
  if (t.text == "@") {
    next();
    if (peek().kind != tok::ident) throw host_error(tr("@ 后面必须是函数名"), peek().col);
    return std::make_shared<zo_obj>(zorvat::function_handle(zorvat::fh_named, next().text));
  }
  throw host_error(str_format(tr("意外的 %s"), describe(t).c_str()), t.col);
}

value_ptr parser::name_or_call() {
  const token t = next();
  if (t.text == "end" && !ends_.empty()) return std::make_shared<zo_obj>(static_cast<double>(ends_.back()));
  const bool call = is_op("(") && !(in_list() && peek().space_before);
  auto var = s_.vars_.find(t.text);
  if (var != s_.vars_.end()) {
    // A function handle called like a function: f(x).
    if (call && var->second->type == zorvat::type_function_handle)
      return call_one(handle_name(*var->second, t.col), arguments(), t.col);
    return subscripted(var->second);
  }
  if (!call) {
    if (t.text == "true" || t.text == "false") return std::make_shared<zo_obj>(t.text == "true");
    if (t.text == "Inf") return std::make_shared<zo_obj>(HUGE_VAL);
    if (t.text == "NaN") return std::make_shared<zo_obj>(std::nan(""));
  }
  value_list args;
  if (call) args = arguments();
  return call_one(t.text, args, t.col);
}

// "[...]" or "{...}": rows separated by ';', elements by ',' or blanks.
value_ptr parser::list_literal(bool cell) {
  const int open_col = next().col;
  const char* close = cell ? "}" : "]";
  std::vector<std::vector<value_ptr>> rows(1);
  std::vector<int> row_cols{open_col};
  lists_.push_back(true);
  bool element_due = true;  // at the start of a row or after a ','
  while (!is_op(close)) {
    const token& t = peek();
    if (t.kind == tok::end)
      throw host_error(str_format(tr("缺少与 '%c' 配对的 '%s'"), cell ? '{' : '[', close), open_col);
    if (is_op(";")) {
      next();
      rows.emplace_back();
      row_cols.push_back(peek().col);
      element_due = true;
    } else if (is_op(",")) {
      // "[1, , 2]" and "[, 1]" lack an element.
      if (element_due) throw host_error(str_format(tr("意外的 %s"), describe(peek()).c_str()), peek().col);
      next();
      element_due = true;
    } else {
      element_due = false;
      rows.back().push_back(expr());
      if (!is_op(",") && !is_op(";") && !is_op(close) && !peek().space_before && peek().kind != tok::end)
        throw host_error(str_format(tr("意外的 %s"), describe(peek()).c_str()), peek().col);
    }
  }
  next();
  lists_.pop_back();
  // Blank rows ("[1 2;]") are dropped.
  for (size_t r = rows.size(); r-- > 0;) {
    if (rows[r].empty()) {
      rows.erase(rows.begin() + r);
      row_cols.erase(row_cols.begin() + r);
    }
  }
  return cell ? make_cell(rows, row_cols) : make_matrix(rows, row_cols, runs_);
}

}  // namespace zorvat_host
