// control.cpp: statements, blocks and their execution in zorvat-host.
//
// A statement is a token range of one line.  The blocks are built once, then
// run: a loop runs the statements of its body again and again, each parsed
// anew by the evaluator (parser.h), which keeps the evaluator free of any
// knowledge of blocks.
#include "control.h"

#include <cmath>
#include <sstream>

#include "arith.h"
#include "builtins.h"
#include "index.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "parser.h"
#include "typed.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;

namespace {

enum class kw { none, if_, elseif, else_, end, for_, while_, break_, continue_ };

struct keyword_entry {
  const char* word;
  kw k;
};
const keyword_entry keywords[] = {{"if", kw::if_},       {"elseif", kw::elseif}, {"else", kw::else_},
                                  {"end", kw::end},      {"for", kw::for_},      {"while", kw::while_},
                                  {"break", kw::break_}, {"continue", kw::continue_}};

// One statement: tokens [b, e) of a line; e is its ',', ';' or line end.
struct piece {
  const source_line* line;
  size_t b, e;
  bool shown;
  const token& first() const { return line->toks[b]; }
};

kw keyword_of(const piece& p) {
  const token& t = p.first();
  if (t.kind != tok::ident) return kw::none;
  for (const auto& k : keywords)
    if (t.text == k.word) return k.k;
  return kw::none;
}

bool is_command(const piece& p) {
  const token& t = p.first();
  if (t.kind != tok::ident) return false;
  const token& after = p.line->toks[p.b + 1];
  if (after.kind == tok::op && (after.text == "=" || after.text == "(")) return false;
  for (size_t k = 0; k < command_count; ++k)
    if (t.text == command_words[k]) return true;
  return false;
}

void split_line(const source_line& line, std::vector<piece>& out) {
  long depth = 0;
  size_t b = 0;
  const auto& t = line.toks;
  for (size_t j = 0; j < t.size(); ++j) {
    const bool op = t[j].kind == tok::op;
    if (op && (t[j].text == "(" || t[j].text == "[" || t[j].text == "{")) ++depth;
    if (op && (t[j].text == ")" || t[j].text == "]" || t[j].text == "}") && depth > 0) --depth;
    const bool sep = t[j].kind == tok::end || (depth == 0 && op && (t[j].text == "," || t[j].text == ";"));
    if (!sep) continue;
    if (j > b) {
      piece p{&line, b, j, !(op && t[j].text == ";")};
      // "else x = 1": the statement after else needs no separator.
      if (keyword_of(p) == kw::else_ && j > b + 1) {
        out.push_back(piece{&line, b, b + 1, p.shown});
        p.b = b + 1;
      }
      out.push_back(p);
    }
    b = j + 1;
  }
}

located_error error_at(const piece& p, size_t pos, const std::string& msg) {
  return located_error(msg, *p.line, p.line->toks[std::min(pos, p.line->toks.size() - 1)].col);
}

// A block of statements as a tree.
struct node {
  kw kind = kw::none;  // none: a simple statement
  piece p{};           // the statement, or the header of if/for/while
  std::vector<piece> conds;               // if: the condition of each arm
  std::vector<std::vector<node>> bodies;  // if: one body per arm (+ else); loops: one
};

class builder {
 public:
  explicit builder(std::vector<piece> ps) : ps_(std::move(ps)) {}

  std::vector<node> top() {
    std::vector<node> nodes = block(false, 0);
    if (i_ < ps_.size())
      throw error_at(ps_[i_], ps_[i_].b, str_format(tr("没有与 %s 配对的 if、for 或 while"), ps_[i_].first().text.c_str()));
    return nodes;
  }

 private:
  // A header's condition or range: the tokens after the keyword.
  piece rest(const piece& p) {
    if (p.e == p.b + 1) throw error_at(p, p.e, str_format(tr("%s 后面缺少表达式"), p.first().text.c_str()));
    return piece{p.line, p.b + 1, p.e, p.shown};
  }
  void expect_end(const piece& opener) {
    if (i_ >= ps_.size()) throw error_at(opener, opener.b, str_format(tr("%s 块缺少 end"), opener.first().text.c_str()));
    const piece& p = ps_[i_++];
    if (p.e != p.b + 1) throw error_at(p, p.b + 1, str_format(tr("意外的 %s"), describe(p.line->toks[p.b + 1]).c_str()));
  }

  std::vector<node> block(bool in_loop, int depth) {
    if (depth > max_nesting)
      throw error_at(ps_[i_ - 1], ps_[i_ - 1].b, str_format(tr("语句块嵌套过深（最多 %d 层）"), max_nesting));
    std::vector<node> out;
    while (i_ < ps_.size()) {
      const piece& p = ps_[i_];
      const kw k = keyword_of(p);
      if (k == kw::elseif || k == kw::else_ || k == kw::end) return out;
      node n;
      n.kind = k;
      n.p = p;
      ++i_;
      if (k == kw::if_) {
        n.conds.push_back(rest(p));
        n.bodies.push_back(block(in_loop, depth + 1));
        while (i_ < ps_.size() && keyword_of(ps_[i_]) == kw::elseif) {
          n.conds.push_back(rest(ps_[i_++]));
          n.bodies.push_back(block(in_loop, depth + 1));
        }
        if (i_ < ps_.size() && keyword_of(ps_[i_]) == kw::else_) {
          ++i_;
          n.bodies.push_back(block(in_loop, depth + 1));
        }
        expect_end(p);
      } else if (k == kw::for_ || k == kw::while_) {
        rest(p);
        n.bodies.push_back(block(true, depth + 1));
        expect_end(p);
      } else if (k == kw::break_ || k == kw::continue_) {
        if (!in_loop) throw error_at(p, p.b, str_format(tr("%s 只能用在循环中"), p.first().text.c_str()));
        if (p.e != p.b + 1) throw error_at(p, p.b + 1, str_format(tr("意外的 %s"), describe(p.line->toks[p.b + 1]).c_str()));
      }
      out.push_back(std::move(n));
    }
    return out;
  }

  std::vector<piece> ps_;
  size_t i_ = 0;
};

enum class flow { next, brk, cont, stop };

class executor {
 public:
  executor(session& s, const line_sink& sink) : s_(s), sink_(sink) {}

  flow run(const std::vector<node>& nodes) {
    for (const node& n : nodes) {
      const flow f = run(n);
      if (f != flow::next) return f;
    }
    return flow::next;
  }

 private:
  // Runs f, giving its errors the place of p.
  template <class F>
  auto at(const piece& p, F f) -> decltype(f()) {
    try {
      return f();
    } catch (const located_error&) {
      throw;
    } catch (const host_error& e) {
      throw located_error(e.what(), *p.line, e.col());
    } catch (const std::exception& e) {
      throw located_error(e.what(), *p.line, 0);
    }
  }

  void tick() {
    check_interrupt();
    if (++iterations_ > iteration_limit())
      throw host_error(str_format(tr("循环次数超过上限 %ld"), iteration_limit()), 0);
  }

  bool truth(const piece& p) {
    return at(p, [&] {
      const value_ptr v = parser(s_, p.line->toks, p.b).expression(p.e);
      if (!is_dense_kind(*v)) throw host_error(str_format(tr("条件不能是 %s 类型的值"), v->brief_type_str().c_str()), p.first().col);
      const num_array a = read_array(*v, p.first().col);
      for (const cplx& z : a.v) {
        if (std::isnan(z.real()) || std::isnan(z.imag())) throw host_error(tr("NaN 不能转换为逻辑值"), p.first().col);
        if (z == cplx()) return false;
      }
      return a.count() > 0;
    });
  }

  void simple(const piece& p) {
    at(p, [&] {
      if (is_command(p)) {
        const size_t from = p.first().col - 1, to = p.line->toks[p.e].col - 1;
        std::istringstream in(p.line->text.substr(from, to > from ? to - from : 0));
        std::vector<std::string> words;
        for (std::string w; in >> w;) words.push_back(w);
        s_.run_command(words);
        return;
      }
      parser(s_, p.line->toks, p.b).statement(p.e, [&](const std::string& name, const value_ptr& v) {
        sink_(name, v, p.shown);
      });
    });
  }

  flow loop_for(const node& n) {
    const piece& p = n.p;
    const auto& t = p.line->toks;
    std::string name;
    range r;
    value_ptr whole;
    bool lazy = false;
    at(p, [&] {
      if (t[p.b + 1].kind != tok::ident || t[p.b + 2].kind != tok::op || t[p.b + 2].text != "=")
        throw host_error(tr("for 的格式是 for 变量 = 表达式"), t[p.b + 1].col);
      name = t[p.b + 1].text;
      lazy = parser(s_, t, p.b + 3).loop_values(p.e, r, whole);
    });
    // A range is walked without being made; any other value column by
    // column (a 2x3 array gives three 2x1 columns).
    long columns = 1;
    if (lazy) {
      columns = r.n;
    } else if (whole->array_base() || whole->container()) {
      const std::vector<long> d = value_dims(*whole);
      for (size_t k = 1; k < d.size(); ++k) columns *= d[k];
    }
    for (long c = 0; c < columns; ++c) {
      at(p, [&] {
        tick();
        subscript one;
        one.pos = {c};
        one.dims = {1, 1};
        if (lazy) s_.workspace()[name] = std::make_shared<zo_obj>(r.at(c));
        else if (whole->array_base() || whole->container())
          s_.workspace()[name] = index_read(*whole, {subscript::all(), one}, false, t[p.b].col);
        else s_.workspace()[name] = whole;
      });
      const flow f = run(n.bodies[0]);
      if (f == flow::brk) break;
      if (f == flow::stop) return f;
    }
    return flow::next;
  }

  flow run(const node& n) {
    if (s_.exit_requested()) return flow::stop;
    switch (n.kind) {
      case kw::if_:
        for (size_t k = 0; k < n.bodies.size(); ++k)
          if (k == n.conds.size() || truth(n.conds[k])) return run(n.bodies[k]);
        return flow::next;
      case kw::for_:
        return loop_for(n);
      case kw::while_: {
        const piece cond{n.p.line, n.p.b + 1, n.p.e, true};
        while (true) {
          at(n.p, [&] { tick(); });
          if (!truth(cond)) return flow::next;
          const flow f = run(n.bodies[0]);
          if (f == flow::brk) return flow::next;
          if (f == flow::stop) return f;
        }
      }
      case kw::break_:
        return flow::brk;
      case kw::continue_:
        return flow::cont;
      default:
        simple(n.p);
        return s_.exit_requested() ? flow::stop : flow::next;
    }
  }

  session& s_;
  const line_sink& sink_;
  long iterations_ = 0;
};

}  // namespace

std::vector<const char*> block_keywords() {
  std::vector<const char*> words;
  for (const auto& k : keywords) words.push_back(k.word);
  return words;
}

int block_balance(const std::vector<token>& toks) {
  source_line line;
  line.toks = toks;
  std::vector<piece> ps;
  split_line(line, ps);
  int n = 0;
  for (const piece& p : ps) {
    const kw k = keyword_of(p);
    if (k == kw::if_ || k == kw::for_ || k == kw::while_) ++n;
    if (k == kw::end) --n;
  }
  return n;
}

void run_lines(session& s, const std::vector<source_line>& lines, const line_sink& sink) {
  std::vector<piece> ps;
  for (const auto& line : lines) split_line(line, ps);
  const std::vector<node> nodes = builder(std::move(ps)).top();
  executor(s, sink).run(nodes);
}

}  // namespace zorvat_host
