// parser.h: the recursive-descent evaluator of one statement of zorvat-host's
// command language.
//
// The parser evaluates as it reads: each parse_* returns the value.  It works
// on the tokens of one line from a given position; control.cpp splits lines
// into statements and runs the blocks of if, for and while over them.
//
// Precedence, lowest first: |  &  comparisons  + -  * / \ .* ./ .\  unary - + ~
// :  ^ .^  postfix ' .' and subscripts.  Operators on the built-in numeric
// kinds are computed by arith.cpp; any other operand (a plugin's object, a
// cell, ...) sends the operator to the plugin manager's dispatcher.
//
//   parser p(s, tokens, first);
//   p.statement(stop, [](const std::string& name, const value_ptr& v) { ... });
#pragma once

#include <functional>
#include <set>
#include <string>
#include <vector>

#include "index.h"
#include "lexer.h"
#include "session.h"

namespace zorvat_host {

struct op_entry;
struct range;

// Receives each value that a statement assigns or shows, with its name.
using sink_fn = std::function<void(const std::string& name, const value_ptr& v)>;

// Calls a built-in or a plugin function by name with nargout outputs (0: a
// call as a statement, which may give none).
std::vector<value_ptr> call_named(session& s, const std::string& name, const value_list& args, int nargout,
                                  int col);

class parser {
 public:
  parser(session& s, const std::vector<token>& t, size_t pos = 0) : s_(s), t_(t), pos_(pos) {}

  // One statement that ends at token `stop` (',', ';' or the line's end):
  // `name = expr`, an assignment into subscripts and fields, `[a, b] = f(x)`,
  // a call, or an expression (shown as ans).
  void statement(size_t stop, const sink_fn& sink);
  // An expression that ends at token `stop` (a condition).
  value_ptr expression(size_t stop);
  // The values of a for loop, ending at `stop`: a range a:b or a:s:b is
  // given unmade in r (true), any other expression in whole (false).
  bool loop_values(size_t stop, range& r, value_ptr& whole);

 private:
  const token& peek(size_t k = 0) const { return t_[std::min(pos_ + k, t_.size() - 1)]; }
  const token& next() { return t_[std::min(pos_++, t_.size() - 1)]; }
  bool is_op(const char* s) const { return peek().kind == tok::op && peek().text == s; }
  bool is_op_at(size_t k, const char* s) const { return peek(k).kind == tok::op && peek(k).text == s; }
  bool in_list() const { return !lists_.empty() && lists_.back(); }
  size_t matching(size_t open) const;
  size_t lvalue_end(size_t p) const;
  void expect(const char* s);
  void expect_stop(size_t stop);

  struct depth_guard {
    explicit depth_guard(parser& p);
    ~depth_guard() { --p_.depth_; }
    parser& p_;
  };

  // Statement forms (statements.cpp).
  void assign(size_t stop, const sink_fn& sink);
  void multi_assign(size_t stop, const sink_fn& sink);
  bool call_statement(size_t stop, const sink_fn& sink);
  value_ptr call_one(const std::string& name, const value_list& args, int col);

  // Expressions (parser.cpp).
  template <class Sub>
  value_ptr binary(const op_entry* ops, size_t n, Sub sub);
  value_ptr expr();
  value_ptr and_expr();
  value_ptr cmp_expr();
  value_ptr range_expr();
  value_ptr add_expr();
  value_ptr mul_expr();
  value_ptr signed_literal();
  value_ptr unary_expr();
  value_ptr power_operand();
  value_ptr power_expr();
  value_ptr postfix_expr();
  value_list arguments();
  std::vector<subscript> index_args(const zo_obj* target, const char* close);
  value_ptr subscripted(value_ptr v);
  value_ptr primary();
  value_ptr name_or_call();
  value_ptr list_literal(bool cell);

  session& s_;
  const std::vector<token>& t_;
  size_t pos_ = 0;
  std::vector<bool> lists_;  // innermost bracket: true inside [ ] and { }
  std::vector<long> ends_;   // what `end` stands for, innermost subscript last
  std::set<const zo_obj*> runs_;  // the rows of tok::numbers read so far
  int depth_ = 0;
};

// The function that a handle names; throws host_error(col) for a handle
// that names none.
std::string handle_name(const zo_obj& h, int col);

// How a token is named in a message: 'x', "string" or "end of line".
std::string describe(const token& t);

}  // namespace zorvat_host
