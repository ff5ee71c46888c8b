// Differential test of the display's number formatting against snprintf.
//
// Every format text of the display is run over at least a million values per
// element type (specials, subnormals, values next to each rounding boundary
// of the text's precision, magnitudes from 1e-300 to 1e300 and random bit
// patterns), and the bytes must equal those of snprintf with the same text.
// When ZORVAT_SANITIZER_RUN is set (the sanitizer build of CI), the count per
// format is divided by 20 to keep the run time reasonable.
#include "display/number_format.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <type_traits>

namespace zorvat {
namespace internal {
namespace {

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

long values_per_format() {
  const char* s = std::getenv("ZORVAT_SANITIZER_RUN");
  const long full = 1000000;
  return (s != nullptr && *s != '\0' && std::strcmp(s, "0") != 0) ? full / 20 : full;
}

double from_bits(std::uint64_t b) {
  double d;
  std::memcpy(&d, &b, sizeof d);
  return d;
}

// Values of the kinds that break formatters, for a text of precision `prec`
// in fixed ('f') or exponent ('e') notation.
class value_source {
 public:
  value_source(char conv, int prec, unsigned seed) : conv_(conv), prec_(prec), rng_(seed) {}

  double next() {
    const double inf = HUGE_VAL, nan = std::numeric_limits<double>::quiet_NaN();
    const double specials[] = {0.0,          -0.0,      inf,      -inf,    nan,     -nan,    DBL_MIN, -DBL_MIN,
                               DBL_TRUE_MIN, DBL_MAX,   -DBL_MAX, FLT_MAX, FLT_MIN, 0.5,     -0.5,    1.5,
                               2.5,          999.99995, 1000.0,   9.99995, 0.00005, -0.00005};
    if (count_ < static_cast<int>(sizeof specials / sizeof specials[0])) return specials[count_++];
    const double sign = (rng_() & 1) ? -1.0 : 1.0;
    const unsigned kind = rng_() % 16;
    if (kind == 0) return from_bits(rng_());  // any bit pattern: NaN payloads, every exponent
    if (kind == 1) return sign * std::pow(10.0, std::uniform_real_distribution<double>(-300, 300)(rng_));
    if (kind <= 4) return sign * std::pow(10.0, std::uniform_real_distribution<double>(-6, 16)(rng_));
    if (kind <= 9) {  // on and next to a rounding boundary of the last shown digit
      double b = boundary();
      for (int step = static_cast<int>(rng_() % 5) - 2; step != 0; step += step > 0 ? -1 : 1)
        b = std::nextafter(b, step > 0 ? HUGE_VAL : -HUGE_VAL);
      return sign * b;
    }
    if (kind == 10) return sign * from_bits(rng_() & ((std::uint64_t{1} << 52) - 1));  // subnormals
    if (kind <= 13) return sign * unit_(rng_);                                         // the common case
    // Short decimals (exact ties in binary are rare but exist: k/2^n).
    const double k = static_cast<double>(rng_() % 2000001);
    return sign * k / static_cast<double>(1u << (rng_() % 20));
  }

 private:
  // A value of the form (n + 1/2) * 10^-prec (fixed) or (m + 1/2) * 10^(e-prec)
  // with m of prec + 1 digits (exponent): the midpoints between two texts.
  double boundary() {
    if (conv_ == 'f') {
      const double n = std::floor(std::pow(10.0, std::uniform_int_distribution<int>(0, 12)(rng_)) * unit_(rng_));
      return (n + 0.5) / std::pow(10.0, prec_);
    }
    const double lead = std::pow(10.0, prec_);
    const double m = std::floor(lead + unit_(rng_) * 9.0 * lead);
    return (m + 0.5) * std::pow(10.0, std::uniform_int_distribution<int>(-300, 300)(rng_) - prec_);
  }

  char conv_;
  int prec_;
  std::mt19937_64 rng_;
  std::uniform_real_distribution<double> unit_{0.0, 1.0};
  int count_ = 0;
};

// Compares one text of compiled_format with snprintf's; reports the first few
// differences of a run.
class differ {
 public:
  template <class... A>
  void check(size_t len, const char* fmt, A... args) {
    const int wlen = std::snprintf(want_, sizeof want_, fmt, args...);
    if (static_cast<int>(len) != wlen || std::strcmp(got, want_) != 0) {
      if (++mismatches <= 5) ADD_FAILURE() << fmt << ": got [" << got << "] want [" << want_ << "]";
    }
  }
  char got[compiled_format::max_text];
  long mismatches = 0;

 private:
  char want_[compiled_format::max_text];
};

struct float_case {
  const char* fmt;  // one real, or (with "i") real part, sign character and imaginary magnitude
  bool single;      // the element type is float: values pass through float first
};

class FloatFormat : public ::testing::TestWithParam<float_case> {};

TEST_P(FloatFormat, MatchesSnprintf) {
  const float_case c = GetParam();
  const compiled_format f(c.fmt);
  const char* imag = std::strchr(c.fmt, 'i');
  const char conv = imag ? imag[-1] : c.fmt[std::strlen(c.fmt) - 1];
  const int prec = std::atoi(std::strchr(c.fmt, '.') + 1);
  value_source re_src(conv, prec, imag ? 7 : 42), im_src(conv, prec, 8);
  auto next = [&](value_source& src) { return c.single ? static_cast<float>(src.next()) : src.next(); };
  differ d;
  for (long k = 0, n = values_per_format(); k < n; ++k) {
    const double re = next(re_src);
    if (!imag) {
      d.check(f.real(d.got, re), c.fmt, re);
      continue;
    }
    const double im = next(im_src);
    const int sign = im < 0 ? '-' : '+';
    d.check(f.complex(d.got, re, sign, std::fabs(im)), c.fmt, re, sign, std::fabs(im));
  }
  EXPECT_EQ(d.mismatches, 0);
}

INSTANTIATE_TEST_SUITE_P(
    DisplayTexts, FloatFormat,
    ::testing::Values(float_case{" %9.4f", false}, float_case{"  %9.4e", false}, float_case{" %19.15f", false},
                      float_case{"  %19.15e", false}, float_case{" %12.4e", false}, float_case{" %25.15e", false},
                      float_case{" %9.4f", true}, float_case{"  %9.4e", true}, float_case{" %11.7f", true},
                      float_case{"  %11.7e", true}, float_case{" %12.4e", true}, float_case{" %15.7e", true},
                      float_case{" %8.4f %c%7.4fi", false}, float_case{" %18.15f %c%18.15fi", false},
                      float_case{" %12.4e %c%11.4ei", false}, float_case{" %25.15e %c%22.15ei", false},
                      float_case{" %8.4f %c%7.4fi", true}, float_case{" %10.7f %c%10.7fi", true},
                      float_case{" %12.4e %c%11.4ei", true}, float_case{" %17.7e %c%14.7ei", true}));

// Integer texts over the element types that use them, with the field widths
// the display computes (4 .. 23) and some it never does.
template <class T>
class IntegerFormat : public ::testing::Test {};
using integer_types =
    ::testing::Types<signed char, short, int, long, unsigned char, unsigned short, unsigned int, unsigned long>;
TYPED_TEST_SUITE(IntegerFormat, integer_types);

TYPED_TEST(IntegerFormat, DecimalAndHexMatchSnprintf) {
  using T = TypeParam;
  constexpr bool wide = sizeof(T) == 8, is_signed = std::is_signed<T>::value;
  // What a caller passes for the element: int-sized or long-sized, signed or not.
  using passed = std::conditional_t<wide, std::conditional_t<is_signed, long, unsigned long>,
                                    std::conditional_t<is_signed, int, unsigned int>>;
  using widened = std::conditional_t<is_signed, long, unsigned long>;
  const char* dec = wide ? (is_signed ? "%*ld" : "%*lu") : (is_signed ? "%*d" : "%*u");
  const char* hex = wide ? "  %0*lx" : "  %0*x";
  const compiled_format fd(dec), fh(hex);
  const T edges[] = {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), T(0), T(1)};
  std::mt19937_64 rng(3);
  differ d;
  for (long k = 0, n = values_per_format(); k < n; ++k) {
    T v = edges[k % 4];
    if (k >= 4) {
      const std::uint64_t bits = rng() >> (rng() % 64);  // every magnitude
      std::memcpy(&v, &bits, sizeof v);
    }
    const int width = static_cast<int>(k % 24);
    d.check(fd.integer(d.got, width, static_cast<widened>(v)), dec, width, static_cast<passed>(v));
    // Hexadecimal: the element widened to int (64-bit types as they are).
    const int hwidth = static_cast<int>(2 * sizeof(T));
    if constexpr (wide)
      d.check(fh.integer(d.got, hwidth, static_cast<long>(v)), hex, hwidth, static_cast<unsigned long>(v));
    else
      d.check(fh.integer(d.got, hwidth, static_cast<long>(static_cast<int>(v))), hex, hwidth, static_cast<int>(v));
  }
  EXPECT_EQ(d.mismatches, 0);
}

TEST(PlainFormat, LogicalCharAndUnsupportedTextsMatchSnprintf) {
  differ d;
  const compiled_format logical("%4d"), chr("%c");
  for (long v : {0L, 1L, -1L, 12345L}) d.check(logical.integer(d.got, v), "%4d", static_cast<int>(v));
  for (int c = 1; c < 256; ++c) d.check(chr.character(d.got, c), "%c", c);
  // Every precision of the fast fixed and exponent paths, and past them.
  for (int prec = 0; prec <= 17; ++prec) {
    for (char conv : {'f', 'e'}) {
      char fmt[16];
      std::snprintf(fmt, sizeof fmt, "%%%d.%d%c", prec + 8, prec, conv);
      const compiled_format f(fmt);
      for (double x : {0.0, -1.5, 2.675, 123456.789, 9.9999999999999995e-8, 1e15}) d.check(f.real(d.got, x), fmt, x);
    }
  }
  // Zero padding behind a sign, widths past the fast path, flags it does not serve.
  const compiled_format zero("%0*d"), plus("%+d");
  for (long v : {-42L, 7L, 0L}) {
    d.check(zero.integer(d.got, 6, v), "%0*d", 6, static_cast<int>(v));
    d.check(zero.integer(d.got, 120, v), "%0*d", 120, static_cast<int>(v));
    d.check(plus.integer(d.got, v), "%+d", static_cast<int>(v));
  }
  // Zero padding, a long modifier, widths and precisions past the fast limits.
  for (const char* fmt : {"%010.4f", "%lf", "%120.4f", "%9.35f", "%012.3e"})
    for (double x : {-1.5, 2.675, 1e15}) d.check(compiled_format(fmt).real(d.got, x), fmt, x);
  for (const char* fmt : {"%05d", "%150d", "%-6d|"})
    for (long v : {-42L, 7L}) d.check(compiled_format(fmt).integer(d.got, v), fmt, static_cast<int>(v));
  d.check(compiled_format("%ld").integer(d.got, -(1L << 40)), "%ld", -(1L << 40));
  d.check(compiled_format("%3c|").character(d.got, 'x'), "%3c|", 'x');
  d.check(compiled_format(" %08.4f %c%7.4fi").complex(d.got, -1.5, '+', 2.25), " %08.4f %c%7.4fi", -1.5, '+', 2.25);
  EXPECT_EQ(d.mismatches, 0);
  // Texts outside the fast subset go to snprintf and still come out right.
  char got[compiled_format::max_text];
  compiled_format("%+9.4f").real(got, 2.5);
  EXPECT_STREQ(got, "  +2.5000");
  compiled_format("%-9.4f|").real(got, 2.5);
  EXPECT_STREQ(got, "2.5000   |");
  compiled_format("%5.1f%%").real(got, 12.25);
  EXPECT_STREQ(got, " 12.2%");
  // A negative star width left-aligns, as in printf.
  compiled_format("%*d|").integer(got, -5, 42L);
  EXPECT_STREQ(got, "42   |");
}

#pragma GCC diagnostic pop

}  // namespace
}  // namespace internal
}  // namespace zorvat
