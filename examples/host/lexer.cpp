// lexer.cpp: splits one line of the command language into tokens.
#include "lexer.h"

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <limits>

#include "memory/messages.h"
#include "memory/zo_assert.h"
#include "memory/str_util.h"
#include "typed.h"
#include "values.h"

namespace zorvat_host {

namespace {

// Spellings of other languages that this one does not have; they are named
// as such rather than failing later with a puzzling message.
const char* const unsupported_ops[] = {"!=", "!", "+=", "-=", "*=", "/=", "...", "@("};
const char* const unsupported_words[] = {"function", "global", "persistent", "try", "catch", "switch", "classdef"};

// Longest first, so ".*" wins over ".".
const char* const operators[] = {".^", ".*", "./", ".\\", ".'", "<=", ">=", "~=", "==", "+", "-", "*",
                                 "/",  "\\", "^",  "<",  ">",  "&",  "|",  "~",  "'",  "(", ")", "[",
                                 "]",  "{",  "}",  ",",  ";",  "=",  "@",  ":", "."};

bool ends_operand(const std::vector<token>& t) {
  if (t.empty()) return false;
  const token& p = t.back();
  if (p.kind == tok::number || p.kind == tok::numbers || p.kind == tok::ident || p.kind == tok::chars || p.kind == tok::text) return true;
  return p.kind == tok::op && (p.text == ")" || p.text == "]" || p.text == "}" || p.text == "'" || p.text == ".'");
}

host_error unsupported(const char* what, int col) {
  return host_error(zorvat::str_format(zorvat::tr("不支持的语法：%s"), what), col);
}

bool ident_start(char c) { return std::isalpha(static_cast<unsigned char>(c)) || c == '_'; }
bool ident_char(char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; }
bool digit(const std::string& s, size_t i) { return i < s.size() && std::isdigit(static_cast<unsigned char>(s[i])); }
bool blank(char c) { return c == ' ' || c == '\t' || c == '\r'; }

// The end of the number literal at line[i] ("12", "1.5", ".5", "1e-3"; not
// the dot of "1./x"), or i when none starts there.
size_t scan_number(const std::string& line, size_t i) {
  const size_t n = line.size();
  if (!digit(line, i) && !(i < n && line[i] == '.' && digit(line, i + 1))) return i;
  size_t j = i;
  while (digit(line, j)) ++j;
  if (j < n && line[j] == '.' && !(j + 1 < n && std::string("*/\\^'").find(line[j + 1]) != std::string::npos)) {
    ++j;
    while (digit(line, j)) ++j;
  }
  if (j < n && (line[j] == 'e' || line[j] == 'E')) {
    size_t k = j + 1;
    if (k < n && (line[k] == '+' || line[k] == '-')) ++k;
    if (digit(line, k)) {
      j = k;
      while (digit(line, j)) ++j;
    }
  }
  return j;
}

// The end of the plain element (a number with an optional sign) at line[i],
// or i: the sign is the literal's own when a blank, ',', '[' or ';' is
// before it and a digit right after it.
size_t scan_element(const std::string& line, size_t i) {
  const size_t p = i < line.size() && (line[i] == '+' || line[i] == '-') ? i + 1 : i;
  const size_t q = scan_number(line, p);
  return q == p ? i : q;
}

// A run of plain numbers inside [ ] from line[i]: each ends at a blank, a
// ',', a ';' or the ']', and what follows it is one of those or the next
// element ("1 2^2" ends the run before the 2).  Returns the end of the last
// element and counts them; the separators after it are left to the lexer.
size_t scan_run(const std::string& line, size_t i, long& count) {
  const size_t n = line.size();
  size_t end = i, pos = i;
  count = 0;
  while (true) {
    const size_t q = scan_element(line, pos);
    if (q == pos) break;
    size_t r = q;
    while (r < n && blank(line[r])) ++r;
    const char c = r < n ? line[r] : '\0';
    if (c == ']' || c == ';') {
      ++count, end = q;
      break;
    }
    if (c == ',') {
      for (++r; r < n && blank(line[r]);) ++r;
    } else if (r == q || scan_element(line, r) == r) {
      break;  // an operator, a quote, a suffix or the end of the line follows
    }
    ++count, end = q, pos = r;
  }
  return end;
}

// The 1xN row of a run of `count` numbers in line[i, end).
value_ptr read_run(const std::string& line, size_t i, size_t end, long count, int col) {
  checked_count({1, count}, col);
  zorvat::matrix<double> m(std::vector<long>{1, count});
  double* out = m.data();
  const char* p = line.c_str() + i;
  [[maybe_unused]] const char* const stop = line.c_str() + end;
  for (long k = 0; k < count; ++k) {
    while (blank(*p) || *p == ',') ++p;
    char* next = nullptr;
    out[k] = std::strtod(p, &next);
    p = next;
  }
  ZORVAT_ASSERT(p == stop);
  return wrap(std::move(m));
}

}  // namespace

void check_utf8(const std::string& text) {
  const auto* s = reinterpret_cast<const unsigned char*>(text.data());
  const size_t n = text.size();
  for (size_t i = 0; i < n;) {
    const unsigned b = s[i];
    if (b < 0x80) {
      ++i;
      continue;
    }
    // The lead byte gives the length and the range of the second byte (no
    // overlong forms, no surrogates, nothing above U+10FFFF).
    size_t len = 0;
    unsigned lo = 0x80, hi = 0xBF;
    if (b >= 0xC2 && b <= 0xDF) len = 2;
    else if (b >= 0xE0 && b <= 0xEF) len = 3, lo = b == 0xE0 ? 0xA0 : 0x80, hi = b == 0xED ? 0x9F : 0xBF;
    else if (b >= 0xF0 && b <= 0xF4) len = 4, lo = b == 0xF0 ? 0x90 : 0x80, hi = b == 0xF4 ? 0x8F : 0xBF;
    size_t k = 1;
    while (len && k < len && i + k < n && s[i + k] >= (k == 1 ? lo : 0x80) && s[i + k] <= (k == 1 ? hi : 0xBF)) ++k;
    if (len && k == len) {
      i += len;
      continue;
    }
    std::string shown;
    for (size_t j = i; j < i + k; ++j) shown += zorvat::str_format("\\x%02X", s[j]);
    throw host_error(zorvat::str_format(zorvat::tr("输入中有无效的 UTF-8 字节 %s"), shown.c_str()),
                     static_cast<int>(i) + 1);
  }
}

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
    long count = 0;
    const size_t run_end =
        !brackets.empty() && brackets.back() == '[' &&
                ((out.back().kind == tok::op &&
                  (out.back().text == "[" || out.back().text == "," || out.back().text == ";")) ||
                 (space && ends_operand(out)))
            ? scan_run(line, i, count)
            : i;
    if (count >= 2) {
      t.kind = tok::numbers;
      t.text = line.substr(i, scan_element(line, i) - i);
      t.run = read_run(line, i, run_end, count, t.col);
      i = run_end;
    } else if (std::isdigit(static_cast<unsigned char>(c)) ||
        (c == '.' && i + 1 < n && std::isdigit(static_cast<unsigned char>(line[i + 1])))) {
      const size_t j0 = scan_number(line, i);
      size_t j = j0;
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
      for (const char* w : unsupported_words)
        if (line.compare(i, j - i, w) == 0) throw unsupported(w, t.col);
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
        if (line[j] == '\0') throw host_error(zorvat::tr("字符串中不能有 NUL 字符（\\x00）"), static_cast<int>(j) + 1);
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
      for (const char* op : unsupported_ops)
        if (line.compare(i, std::strlen(op), op) == 0) throw unsupported(op, t.col);
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
