// number_format.h: printf-exact formatting of display elements, fast.
//
// The display prints every element with one of a small set of printf format
// texts (" %9.4f", " %8.4f %c%7.4fi", "%*ld", "  %0*x", ...).  A
// compiled_format parses such a text once per rendering and then writes each
// element without going through the C library's format interpreter.  The
// bytes are exactly those of snprintf with the same text and arguments (in
// the C locale and the default rounding mode); tests/display compares the two
// over millions of values.  A text outside the supported subset (flags other
// than '0', conversions other than d u x f e c, lengths other than 'l') is
// handed to snprintf itself, so every text stays correct.
//
//   internal::compiled_format f(" %9.4f");
//   char buf[internal::compiled_format::max_text];
//   size_t n = f.real(buf, 3.14159);          // "    3.1416"
//
// All members are const and reentrant.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>

namespace zorvat {
namespace internal {

class compiled_format {
 public:
  // Upper bound of the length (including the terminating zero) of any text
  // that the members below write: two fixed-point doubles of the largest
  // magnitude (309 integer digits each) with up to 30 fraction digits.
  static constexpr size_t max_text = 1024;

  // REQUIRES: fmt outlives this object.
  explicit compiled_format(const char* fmt);

  const char* text() const { return fmt_; }

  // Each writes the formatted text and a terminating zero into buf (at least
  // max_text bytes) and returns its length, as snprintf(buf, max_text, fmt,
  // args...) would.
  // One floating argument ("%9.4f").
  size_t real(char* buf, double x) const {
    if (fixed_ != nullptr) {
      // One fixed-point conversion between two short literals: the common
      // case, inline.  The literals are copied at their full fixed size.
      std::memcpy(buf, head_, fixed_lit_max);
      if (char* p = fixed_(buf + head_len_, x, fixed_width_)) {
        std::memcpy(p, tail_, fixed_lit_max);
        p += tail_len_;
        *p = '\0';
        return static_cast<size_t>(p - buf);
      }
    }
    return real_general(buf, x);
  }
  // Real part, sign character, imaginary magnitude ("%8.4f %c%7.4fi").
  size_t complex(char* buf, double re, int sign, double im) const;
  // One character argument ("%c").
  size_t character(char* buf, int c) const;
  // A '*' width and an integer ("%*d", "%*u", "  %0*x"): int-sized
  // conversions receive `v` converted to int or unsigned int, as a caller
  // passing an int would; 'l' conversions receive it as long.
  size_t integer(char* buf, int width, long v) const;
  size_t integer(char* buf, int width, unsigned long v) const;
  // A plain integer ("%4d").
  size_t integer(char* buf, long v) const;

  // Writes a fixed-point field of known precision, or returns null when the
  // general conversion must take the value (see number_format.cpp).
  using fixed_writer = char* (*)(char* p, double x, int width);

 private:
  union arg {
    double d;
    long i;
  };
  size_t run(char* buf, const arg* args) const;
  size_t real_general(char* buf, double x) const;
  // True when the fast path serves arguments of the signature `convs`.
  bool accepts(const char* convs) const;

  const char* fmt_;
  static constexpr int max_pieces = 8;
  struct piece_rec {
    const char* lit;   // literal text before the conversion
    int lit_len;
    char conv;         // 0 for the trailing literal
    bool zero_pad;
    bool star;         // width taken from the arguments
    int width;
    int prec;          // -1: none
    bool is_long;
  } pieces_[max_pieces];
  int npieces_ = 0;
  char sig_[2 * max_pieces + 1] = {};
  // Which argument signatures the fast path serves (see accepts()).
  bool real_ok_ = false, complex_ok_ = false, char_ok_ = false, star_int_ok_ = false, int_ok_ = false;
  bool fast_ = false;
  // Set for the texts "<literal>%<width>.<prec>f<literal>" with prec <= 15
  // and literals of at most fixed_lit_max characters, held here.
  static constexpr int fixed_lit_max = 16;
  fixed_writer fixed_ = nullptr;
  int fixed_width_ = 0, head_len_ = 0, tail_len_ = 0;
  char head_[fixed_lit_max] = {}, tail_[fixed_lit_max] = {};
};

// The two-digit texts "00" to "99", for writing decimals two digits a step.
extern const char digit_pairs[201];

}  // namespace internal
}  // namespace zorvat
