// Differential test of the display's number formatting against snprintf.
//
// Every format text of the display is run over at least a million values per
// element type (specials, subnormals, values next to each rounding boundary
// of the text's precision, magnitudes from 1e-300 to 1e300 and random bit
// patterns), and the bytes must equal those of snprintf with the same text.
// When ZORVAT_SANITIZER_RUN is set (the sanitizer build of CI), the count per
// format is divided by 20 to keep the run time reasonable.
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
#include <vector>

#include "display/number_format.h"

namespace zorvat {
namespace internal {
namespace {

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
    const double specials[] = {0.0,
                               -0.0,
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN(),
                               -std::numeric_limits<double>::quiet_NaN(),
                               DBL_MIN,
                               -DBL_MIN,
                               std::numeric_limits<double>::denorm_min(),
                               DBL_MAX,
                               -DBL_MAX,
                               FLT_MAX,
                               FLT_MIN,
                               0.5,
                               -0.5,
                               1.5,
                               2.5,
                               999.99995,
                               1000.0,
                               9.99995,
                               0.00005,
                               -0.00005};
    const int nspecial = sizeof specials / sizeof specials[0];
    if (count_ < nspecial) return specials[count_++];
    ++count_;
    const double sign = (rng_() & 1) ? -1.0 : 1.0;
    switch (rng_() % 16) {
      case 0:  // any bit pattern: NaN payloads, subnormals, every exponent
        return from_bits(rng_());
      case 1: {  // magnitudes 1e-300 .. 1e300
        std::uniform_real_distribution<double> e(-300.0, 300.0);
        return sign * std::pow(10.0, e(rng_));
      }
      case 2:
      case 3:
      case 4: {  // small magnitudes where fixed notation shows digits
        std::uniform_real_distribution<double> e(-6.0, 16.0);
        return sign * std::pow(10.0, e(rng_));
      }
      case 5:
      case 6:
      case 7:
      case 8:
      case 9: {  // on and next to a rounding boundary of the last shown digit
        double b = boundary();
        const int step = static_cast<int>(rng_() % 5) - 2;
        for (int k = 0; k < step; ++k) b = std::nextafter(b, HUGE_VAL);
        for (int k = 0; k > step; --k) b = std::nextafter(b, -HUGE_VAL);
        return sign * b;
      }
      case 10: {  // subnormals
        return sign * from_bits(rng_() & ((std::uint64_t{1} << 52) - 1));
      }
      case 11:
      case 12:
      case 13: {  // values in (0, 1), the common case
        std::uniform_real_distribution<double> u(0.0, 1.0);
        return sign * u(rng_);
      }
      default: {  // short decimals (exact ties in binary are rare but exist: k/2^n)
        const double k = static_cast<double>(rng_() % 2000001);
        return sign * k / static_cast<double>(1u << (rng_() % 20));
      }
    }
  }

 private:
  // A value of the form (n + 1/2) * 10^-prec (fixed) or (m + 1/2) * 10^(e-prec)
  // with m of prec + 1 digits (exponent): the midpoints between two texts.
  double boundary() {
    if (conv_ == 'f') {
      std::uniform_int_distribution<int> digits(0, 12);
      const double n = std::floor(std::pow(10.0, digits(rng_)) * unit_(rng_));
      return (n + 0.5) / std::pow(10.0, prec_);
    }
    std::uniform_int_distribution<int> e(-300, 300);
    const double lead = std::pow(10.0, prec_);
    const double m = std::floor(lead + unit_(rng_) * 9.0 * lead);
    return (m + 0.5) * std::pow(10.0, e(rng_) - prec_);
  }

  char conv_;
  int prec_;
  std::mt19937_64 rng_;
  std::uniform_real_distribution<double> unit_{0.0, 1.0};
  int count_ = 0;
};

struct float_case {
  const char* fmt;
  bool single;  // the element type is float: values pass through float first
};

class RealFormat : public ::testing::TestWithParam<float_case> {};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

TEST_P(RealFormat, MatchesSnprintf) {
  const float_case c = GetParam();
  const compiled_format f(c.fmt);
  const char* spec = std::strchr(c.fmt, '%');
  const int prec = std::atoi(std::strchr(spec, '.') + 1);
  value_source src(c.fmt[std::strlen(c.fmt) - 1], prec, 42);
  char got[compiled_format::max_text], want[compiled_format::max_text];
  long mismatches = 0;
  const long n = values_per_format();
  for (long k = 0; k < n; ++k) {
    double x = src.next();
    if (c.single) x = static_cast<float>(x);
    const size_t len = f.real(got, x);
    const int wlen = std::snprintf(want, sizeof want, c.fmt, x);
    if (static_cast<int>(len) != wlen || std::strcmp(got, want) != 0) {
      if (++mismatches <= 5) ADD_FAILURE() << c.fmt << " of " << std::hexfloat << x << ": got [" << got
                                           << "] want [" << want << "]";
    }
  }
  EXPECT_EQ(mismatches, 0);
}

INSTANTIATE_TEST_SUITE_P(
    DisplayTexts, RealFormat,
    ::testing::Values(float_case{" %9.4f", false}, float_case{"  %9.4e", false}, float_case{" %19.15f", false},
                      float_case{"  %19.15e", false}, float_case{" %12.4e", false}, float_case{" %25.15e", false},
                      float_case{" %9.4f", true}, float_case{"  %9.4e", true}, float_case{" %11.7f", true},
                      float_case{"  %11.7e", true}, float_case{" %12.4e", true}, float_case{" %15.7e", true}));

class ComplexFormat : public ::testing::TestWithParam<float_case> {};

TEST_P(ComplexFormat, MatchesSnprintf) {
  const float_case c = GetParam();
  const compiled_format f(c.fmt);
  const char* spec = std::strchr(c.fmt, '%');
  const int prec = std::atoi(std::strchr(spec, '.') + 1);
  const char conv = *(std::strchr(c.fmt, 'i') - 1);
  value_source re_src(conv, prec, 7), im_src(conv, prec, 8);
  char got[compiled_format::max_text], want[compiled_format::max_text];
  long mismatches = 0;
  const long n = values_per_format();
  for (long k = 0; k < n; ++k) {
    double re = re_src.next(), im = im_src.next();
    if (c.single) {
      re = static_cast<float>(re);
      im = static_cast<float>(im);
    }
    const int sign = im < 0 ? '-' : '+';
    const size_t len = f.complex(got, re, sign, std::fabs(im));
    const int wlen = std::snprintf(want, sizeof want, c.fmt, re, sign, std::fabs(im));
    if (static_cast<int>(len) != wlen || std::strcmp(got, want) != 0) {
      if (++mismatches <= 5) ADD_FAILURE() << "got [" << got << "] want [" << want << "]";
    }
  }
  EXPECT_EQ(mismatches, 0);
}

INSTANTIATE_TEST_SUITE_P(DisplayTexts, ComplexFormat,
                         ::testing::Values(float_case{" %8.4f %c%7.4fi", false},
                                           float_case{" %18.15f %c%18.15fi", false},
                                           float_case{" %12.4e %c%11.4ei", false},
                                           float_case{" %25.15e %c%22.15ei", false},
                                           float_case{" %8.4f %c%7.4fi", true},
                                           float_case{" %10.7f %c%10.7fi", true},
                                           float_case{" %12.4e %c%11.4ei", true},
                                           float_case{" %17.7e %c%14.7ei", true}));

// Integer texts over the element types that use them, with the field widths
// the display computes (4 .. 23) and some it never does.
template <class T>
class IntegerFormat : public ::testing::Test {};
using integer_types = ::testing::Types<signed char, short, int, long, unsigned char, unsigned short,
                                       unsigned int, unsigned long>;
TYPED_TEST_SUITE(IntegerFormat, integer_types);

TYPED_TEST(IntegerFormat, DecimalAndHexMatchSnprintf) {
  using T = TypeParam;
  constexpr bool wide = sizeof(T) == 8;
  constexpr bool is_signed = std::is_signed<T>::value;
  const char* dec = wide ? (is_signed ? "%*ld" : "%*lu") : (is_signed ? "%*d" : "%*u");
  const char* hex = wide ? "  %0*lx" : "  %0*x";
  const compiled_format fd(dec), fh(hex);
  std::mt19937_64 rng(3);
  char got[compiled_format::max_text], want[compiled_format::max_text];
  long mismatches = 0;
  const long n = values_per_format();
  for (long k = 0; k < n; ++k) {
    T v;
    if (k < 4) {
      const T edges[] = {std::numeric_limits<T>::min(), std::numeric_limits<T>::max(), T(0), T(1)};
      v = edges[k];
    } else {
      const std::uint64_t bits = rng() >> (rng() % 64);  // every magnitude
      std::memcpy(&v, &bits, sizeof v);
    }
    const int width = static_cast<int>(k % 24);
    size_t len;
    int wlen;
    if (is_signed) {
      len = fd.integer(got, width, static_cast<long>(v));
      wlen = wide ? std::snprintf(want, sizeof want, dec, width, static_cast<long>(v))
                  : std::snprintf(want, sizeof want, dec, width, static_cast<int>(v));
    } else {
      len = fd.integer(got, width, static_cast<unsigned long>(v));
      wlen = wide ? std::snprintf(want, sizeof want, dec, width, static_cast<unsigned long>(v))
                  : std::snprintf(want, sizeof want, dec, width, static_cast<unsigned int>(v));
    }
    if (static_cast<int>(len) != wlen || std::strcmp(got, want) != 0) {
      if (++mismatches <= 5) ADD_FAILURE() << dec << ": got [" << got << "] want [" << want << "]";
    }
    // Hexadecimal: the element widened to int (64-bit types as they are).
    const int hwidth = static_cast<int>(2 * sizeof(T));
    if (wide) {
      len = fh.integer(got, hwidth, static_cast<long>(v));
      wlen = std::snprintf(want, sizeof want, hex, hwidth, static_cast<unsigned long>(v));
    } else {
      len = fh.integer(got, hwidth, static_cast<long>(static_cast<int>(v)));
      wlen = std::snprintf(want, sizeof want, hex, hwidth, static_cast<int>(v));
    }
    if (static_cast<int>(len) != wlen || std::strcmp(got, want) != 0) {
      if (++mismatches <= 5) ADD_FAILURE() << hex << ": got [" << got << "] want [" << want << "]";
    }
  }
  EXPECT_EQ(mismatches, 0);
}

TEST(PlainFormat, LogicalCharAndUnsupportedTextsMatchSnprintf) {
  char got[compiled_format::max_text], want[compiled_format::max_text];
  const compiled_format logical("%4d"), chr("%c");
  for (long v : {0L, 1L, -1L, 12345L}) {
    logical.integer(got, v);
    std::snprintf(want, sizeof want, "%4d", static_cast<int>(v));
    EXPECT_STREQ(got, want);
  }
  for (int c = 1; c < 256; ++c) {
    chr.character(got, c);
    std::snprintf(want, sizeof want, "%c", c);
    EXPECT_STREQ(got, want);
  }
  // Texts outside the fast subset go to snprintf and still come out right.
  const compiled_format plus("%+9.4f"), left("%-9.4f|"), pct("%5.1f%%");
  plus.real(got, 2.5);
  EXPECT_STREQ(got, "  +2.5000");
  left.real(got, 2.5);
  EXPECT_STREQ(got, "2.5000   |");
  pct.real(got, 12.25);
  EXPECT_STREQ(got, " 12.2%");
  // A negative star width left-aligns, as in printf.
  const compiled_format star("%*d|");
  star.integer(got, -5, 42L);
  EXPECT_STREQ(got, "42   |");
}

#pragma GCC diagnostic pop

}  // namespace
}  // namespace internal
}  // namespace zorvat
