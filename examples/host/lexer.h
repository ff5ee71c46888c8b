// lexer.h: the tokens of zorvat-host's command language.
//
// One line at a time.  The lexer knows the bracket nesting because inside
// [ ] and { } a blank separates elements and a quote after a blank starts a
// text, while elsewhere the same quote is the transpose operator.
//
//   std::vector<token> t = tokenize("x = [1 -2]';", 1);
#pragma once

#include <string>
#include <vector>

#include "values.h"

namespace zorvat_host {

// tok::numbers is a run of two or more plain real numbers between blanks or
// commas inside [ ] ("[1 -2.5, 3e4 ...]"), read at once into a 1xN double
// row: a long literal costs a few bytes per number, not a token each.
enum class tok { number, ident, chars, text, op, end, numbers };

struct token {
  tok kind = tok::end;
  std::string text;     // the name, the operator, or the decoded string
  double number = 0;    // tok::number
  bool imaginary = false;
  bool space_before = false;
  int col = 0;          // 1-based
  value_ptr run;        // tok::numbers: the 1xN row of doubles
};

// The tokens of `line` up to a '%' comment, ending with tok::end.  Throws
// host_error for an unknown character, an unterminated string or a NUL
// inside one.
std::vector<token> tokenize(const std::string& line);

// Throws host_error, showing the offending bytes as \xNN, when `text` is not
// valid UTF-8.
void check_utf8(const std::string& text);

}  // namespace zorvat_host
