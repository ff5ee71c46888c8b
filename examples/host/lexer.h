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

namespace zorvat_host {

enum class tok { number, ident, chars, text, op, end };

struct token {
  tok kind = tok::end;
  std::string text;     // the name, the operator, or the decoded string
  double number = 0;    // tok::number
  bool imaginary = false;
  bool space_before = false;
  int col = 0;          // 1-based
};

// The tokens of `line` up to a '%' comment, ending with tok::end.  Throws
// host_error for an unknown character or an unterminated string.
std::vector<token> tokenize(const std::string& line);

}  // namespace zorvat_host
