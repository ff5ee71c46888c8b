// session.cpp: a zorvat-host session: lines in, blocks collected until
// they close, statements run (control.cpp, parser.cpp), errors reported.
#include "session.h"

#include <cmath>
#include <cstdlib>
#include <set>
#include <sstream>

#include "control.h"
#include "display/display.h"
#include "host/console.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "memory/zo_malloc.h"
#include "plugin/plugin_manager.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;

namespace {

zorvat::internal::plugin_manager& mgr() { return zorvat::global::plugin_mgr(); }

}  // namespace

volatile std::sig_atomic_t interrupt_requested = 0;

void check_interrupt() {
  if (interrupt_requested) {
    interrupt_requested = 0;
    throw host_error(tr("已中断"), 0);
  }
}

session::session(options opts) : opts_(std::move(opts)) {}

session*& current_session() {
  static session* s = nullptr;
  return s;
}

void session::show(const std::string& name, const zo_obj& v) const {
  zorvat::write_to_cout_flush(name + " =\n");
  zorvat::internal::obj2console_safe<1>(v, zorvat::window_width(), 65536);
}

void session::call_function(const std::string& name, const value_list& args, int nargout,
                            std::vector<value_ptr>& results, int col) {
  try {
    try {
      mgr().apply_overload_function(name, nargout, args, results);
      return;
    } catch (const zorvat::overload_check_failure&) {
    }
    auto fn = mgr().get_function_by_name(name);
    // "plug::f": the function f of the loaded plugin plug, also when a
    // built-in function takes the name f.
    const size_t sep = name.find("::");
    if (!fn && sep != std::string::npos && plugins_.count(name.substr(0, sep))) {
      const std::string f = name.substr(sep + 2);
      for (const auto& own : mgr().get_export_function_list(name.substr(0, sep)))
        if (own == f) fn = mgr().get_function_by_name(f);
    }
    if (!fn) throw host_error(str_format(tr("未定义的函数或变量 %s"), name.c_str()), col);
    zorvat::internal::plugin_manager::apply_function(fn, nargout, args, results);
  } catch (const host_error&) {
    throw;
  } catch (const std::exception& e) {
    throw host_error(str_format(tr("%s：%s"), name.c_str(), e.what()), col);
  }
}

void session::eval_code(const std::string& code, std::vector<value_ptr>& results) {
  check_utf8(code);
  std::vector<source_line> lines;
  int open = 0;
  for (size_t start = 0; start <= code.size();) {
    size_t end = code.find('\n', start);
    if (end == std::string::npos) end = code.size();
    source_line line{"eval", static_cast<int>(lines.size()) + 1, code.substr(start, end - start), {}};
    line.toks = tokenize(line.text);
    open += block_balance(line.toks);
    lines.push_back(std::move(line));
    start = end + 1;
  }
  if (open > 0) throw host_error(tr("if、for 或 while 块缺少 end"), 0);
  try {
    run_lines(*this, lines, [&](const std::string&, const value_ptr& v, bool) { results.push_back(v); });
  } catch (const located_error& e) {
    throw host_error(e.what(), e.col);
  }
}

// One line on standard error; the dispatcher's texts already start with
// "错误", the host's own get that word in front.
static void report(const std::string& loc, const std::string& msg) {
  const std::string word = tr("错误");
  const bool marked = msg.compare(0, word.size(), word) == 0;
  zorvat::write_to_cerr_flush(loc + (marked ? "" : tr("错误：")) + msg + "\n");
}

static std::string place(const std::string& where, int line_no, int col) {
  return col > 0 ? str_format("%s:%d:%d: ", where.c_str(), line_no, col) : str_format("%s:%d: ", where.c_str(), line_no);
}

// A line whose words cannot all be tokens ("help 名字") still runs as a
// command when it starts with a command word.
bool session::run_whole_command(const std::string& line) {
  std::istringstream words_in(line.substr(0, line.find('%')));
  std::vector<std::string> words;
  for (std::string w; words_in >> w;) words.push_back(w);
  for (size_t k = 0; k < command_count; ++k)
    if (!words.empty() && words[0] == command_words[k] && (words.size() == 1 || words[1][0] != '=')) {
      run_command(words);
      return true;
    }
  return false;
}

bool session::run_line(const std::string& line, const std::string& where, int line_no) {
  try {
    check_utf8(line);
    source_line src{where, line_no, line, {}};
    try {
      src.toks = tokenize(line);
    } catch (const host_error&) {
      if (pending_.empty() && run_whole_command(line)) return true;
      throw;
    }
    open_blocks_ += block_balance(src.toks);
    pending_.push_back(std::move(src));
    if (open_blocks_ > 0) return true;  // a block goes on over the next lines
    std::vector<source_line> lines;
    lines.swap(pending_);
    open_blocks_ = 0;
    run_lines(*this, lines, [&](const std::string& name, const value_ptr& v, bool shown) {
      if (shown) show(name, *v);
    });
    return true;
  } catch (const located_error& e) {
    cancel_block();
    report(place(e.where, e.line_no, e.col), e.what());
  } catch (const std::bad_alloc& e) {
    // The library's out-of-memory error names the size; others get its text
    // for an unknown size.
    cancel_block();
    const bool sized = dynamic_cast<const zorvat::internal::insufficient_memory*>(&e) != nullptr;
    report(place(where, line_no, 0), sized ? e.what() : tr("内存不足"));
  } catch (const host_error& e) {
    cancel_block();
    report(place(where, line_no, e.col()), e.what());
  } catch (const std::exception& e) {
    cancel_block();
    report(place(where, line_no, 0), e.what());
  }
  return false;
}

bool session::end_input() {
  if (pending_.empty()) return true;
  const source_line first = pending_.front();
  cancel_block();
  report(place(first.where, first.line_no, 0), tr("if、for 或 while 块缺少 end"));
  return false;
}

void session::cancel_block() {
  pending_.clear();
  open_blocks_ = 0;
}

}  // namespace zorvat_host
