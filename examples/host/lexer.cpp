// lexer.cpp: splits one line of the command language into tokens.
#include "lexer.h"

#include <cctype>
#include <cstdlib>
#include <limits>

#include "memory/messages.h"
#include "memory/str_util.h"
#include "values.h"

namespace zorvat_host {

namespace {

// Longest first, so ".*" wins over ".".
const char* const operators[] = {".^", ".*", "./", ".\\", ".'", "<=", ">=", "~=", "==", "+", "-", "*",
                                 "/",  "\\", "^",  "<",  ">",  "&",  "|",  "~",  "'",  "(", ")", "[",
                                 "]",  "{",  "}",  ",",  ";",  "=",  "@",  ":", "."};

bool ends_operand(const std::vector<token>& t) {
  if (t.empty()) return false;
  const token& p = t.back();
  if (p.kind == tok::number || p.kind == tok::ident || p.kind == tok::chars || p.kind == tok::text) return true;
  return p.kind == tok::op && (p.text == ")" || p.text == "]" || p.text == "}" || p.text == "'" || p.text == ".'");
}

bool ident_start(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool ident_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }

}  // namespace

std::vector<token> tokenize(const std::string& line) {
  std::vector<token> out;
  std::string brackets;  // open brackets, innermost last
  const size_t n = line.size();
  size_t i = 0;
  while (true) {
    bool space = false;
    while (i < n && (line[i] == ' ' || line[i] == '\t' || line[i] == '\r')) {
      ++i;
      space = true;
    }
    token t;
    t.space_before = space;
    t.col = static_cast<int>(i) + 1;
    if (i >= n || line[i] == '%' || line[i] == '\n') {
      t.kind = tok::end;
      out.push_back(t);
      return out;
    }
    const char c = line[i];
    const bool in_list = !brackets.empty() && brackets.back() != '(';
    if (std::isdigit(static_cast<unsigned char>(c)) ||
        (c == '.' && i + 1 < n && std::isdigit(static_cast<unsigned char>(line[i + 1])))) {
      size_t j = i;
      while (j < n && std::isdigit(static_cast<unsigned char>(line[j]))) ++j;
      // "1./x" and "1.^2" keep the dot for the operator.
      if (j < n && line[j] == '.' && !(j + 1 < n && std::string("*/\\^'").find(line[j + 1]) != std::string::npos)) {
        ++j;
        while (j < n && std::isdigit(static_cast<unsigned char>(line[j]))) ++j;
      }
      if (j < n && (line[j] == 'e' || line[j] == 'E')) {
        size_t k = j + 1;
        if (k < n && (line[k] == '+' || line[k] == '-')) ++k;
        if (k < n && std::isdigit(static_cast<unsigned char>(line[k]))) {
          j = k;
          while (j < n && std::isdigit(static_cast<unsigned char>(line[j]))) ++j;
        }
      }
      t.kind = tok::number;
      t.text = line.substr(i, j - i);
      t.number = std::strtod(t.text.c_str(), nullptr);
      if (j < n && (line[j] == 'i' || line[j] == 'j') && !(j + 1 < n && ident_char(line[j + 1]))) {
        t.imaginary = true;
        ++j;
      }
      if (j < n && ident_char(line[j]))
        throw host_error(zorvat::str_format(zorvat::tr("无效的数字 %s"), line.substr(i, j + 1 - i).c_str()),
                         t.col);
      i = j;
    } else if (ident_start(c)) {
      size_t j = i;
      while (j < n && ident_char(line[j])) ++j;
      // A plugin function may carry a namespace: "ns::f".
      while (j + 2 < n && line[j] == ':' && line[j + 1] == ':' && ident_start(line[j + 2])) {
        j += 2;
        while (j < n && ident_char(line[j])) ++j;
      }
      t.kind = tok::ident;
      t.text = line.substr(i, j - i);
      i = j;
    } else if (c == '"' || (c == '\'' && !(ends_operand(out) && !(space && in_list)))) {
      size_t j = i + 1;
      while (true) {
        if (j >= n) throw host_error(zorvat::tr("字符串没有结束引号"), t.col);
        if (line[j] == c) {
          if (j + 1 < n && line[j + 1] == c) {  // a doubled quote stands for itself
            t.text += c;
            j += 2;
            continue;
          }
          break;
        }
        t.text += line[j++];
      }
      t.kind = c == '"' ? tok::text : tok::chars;
      i = j + 1;
    } else {
      t.kind = tok::op;
      for (const char* op : operators) {
        const std::string s(op);
        if (line.compare(i, s.size(), s) == 0) {
          t.text = s;
          break;
        }
      }
      if (t.text.empty()) {
        const unsigned char b = static_cast<unsigned char>(c);
        throw host_error(b >= 0x20 && b < 0x7f
                             ? zorvat::str_format(zorvat::tr("无法识别的字符 '%c'"), c)
                             : zorvat::str_format(zorvat::tr("无法识别的字节 0x%02X"), b),
                         t.col);
      }
      if (t.text == "(" || t.text == "[" || t.text == "{") brackets += t.text[0];
      if ((t.text == ")" || t.text == "]" || t.text == "}") && !brackets.empty()) brackets.pop_back();
      i += t.text.size();
    }
    out.push_back(t);
  }
}

}  // namespace zorvat_host
