// control.h: the statements and blocks of zorvat-host: lines are split into
// statements at ',' and ';' outside brackets, and if/elseif/else/end,
// for/end, while/end, break and continue group them into blocks, on one
// line or over several.
//
//   std::vector<source_line> lines = ...;        // every block closed
//   run_lines(s, lines, [](const std::string& name, const value_ptr& v, bool shown) { ... });
#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include "lexer.h"
#include "session.h"

namespace zorvat_host {

// An error of one statement, with its place (col 0: the line as a whole).
class located_error : public std::runtime_error {
 public:
  located_error(const std::string& msg, const source_line& line, int col)
      : std::runtime_error(msg), where(line.where), line_no(line.line_no), col(col) {}
  std::string where;
  int line_no;
  int col;
};

// Receives each value that a statement assigns or shows; shown is false
// after ';'.
using line_sink = std::function<void(const std::string& name, const value_ptr& v, bool shown)>;

// The words that open, divide and close blocks and leave loops.
std::vector<const char*> block_keywords();
// How many blocks the statements of a line open, less those it closes.
int block_balance(const std::vector<token>& toks);
// Runs lines whose blocks are all closed.  Throws located_error.
void run_lines(session& s, const std::vector<source_line>& lines, const line_sink& sink);

}  // namespace zorvat_host
