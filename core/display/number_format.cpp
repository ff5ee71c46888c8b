#include "display/number_format.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>

namespace zorvat {
namespace internal {

extern const char digit_pairs[201];

namespace {

constexpr double pow10_d[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                              1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr std::uint64_t pow10_u[] = {1ull,
                                     10ull,
                                     100ull,
                                     1000ull,
                                     10000ull,
                                     100000ull,
                                     1000000ull,
                                     10000000ull,
                                     100000000ull,
                                     1000000000ull,
                                     10000000000ull,
                                     100000000000ull,
                                     1000000000000ull,
                                     10000000000000ull,
                                     100000000000000ull,
                                     1000000000000000ull};
constexpr int max_fast_prec = 15;

// The rounding error of the product p = fl(a * b): a * b == p + result
// exactly, as long as nothing overflows or underflows.
inline double product_error(double a, double b, double p) {
#ifdef __FMA__
  return std::fma(a, b, -p);
#else
  // Dekker's product with Veltkamp splitting; without FMA instructions the
  // compiler cannot contract these operations.
  constexpr double split = 134217729.0;  // 2^27 + 1
  double t = split * a;
  const double ah = t - (t - a), al = a - ah;
  t = split * b;
  const double bh = t - (t - b), bl = b - bh;
  return ((ah * bh - p) + ah * bl + al * bh) + al * bl;
#endif
}

// Decimal digits of v at p, returns the end.
inline char* write_u64(char* p, std::uint64_t v) {
  char tmp[24];
  int n = 0;
  do {
    tmp[n++] = static_cast<char>('0' + v % 10);
    v /= 10;
  } while (v != 0);
  while (n > 0) *p++ = tmp[--n];
  return p;
}

inline char* write_hex(char* p, std::uint64_t v) {
  char tmp[24];
  int n = 0;
  do {
    tmp[n++] = "0123456789abcdef"[v & 15];
    v >>= 4;
  } while (v != 0);
  while (n > 0) *p++ = tmp[--n];
  return p;
}

// |x| (finite, sign already written) under "%.<prec>f", returns the end.
// The fields the fixed writers below serve never get here; what does (large
// magnitudes, long precisions, left-aligned fields) takes the standard
// conversion, which is specified to produce printf's text.
char* write_fixed_abs(char* p, double ax, int prec) {
  return std::to_chars(p, p + compiled_format::max_text / 2, ax, std::chars_format::fixed, prec).ptr;
}

// snprintf's "%<width>.<P>f" of x (right-aligned), or null when |x| * 10^P
// is not below 2^52 (NaN and infinities included): the caller then takes
// the general conversion.  P is a constant so that the scale, the divisions
// and the digit loop are fixed at compile time.
template <int P>
char* fixed_field_p(char* p, double x, int width) {
  constexpr double scale = pow10_d[P];
  constexpr std::uint64_t unit = pow10_u[P];
  const double ax = std::fabs(x);
  const double hi = ax * scale;
  if (!(hi < 4503599627370496.0)) return nullptr;
  std::uint64_t n = static_cast<std::uint64_t>(static_cast<std::int64_t>(hi));
  // Round half to even on the exact product ax * scale = hi + error, with
  // |error| <= half an ulp of hi <= hi * 2^-53.  The distance of hi past the
  // half-way point is exact; only when it is within that bound is the
  // rounding error of the product needed to settle the direction.
  // (Random data rounds up half of the time: the common decision is taken
  // without a branch.)
  const double past_half = (hi - static_cast<double>(static_cast<std::int64_t>(n))) - 0.5;
  const double bound = hi * 0x1p-52;
  if (__builtin_expect(std::fabs(past_half) <= bound, 0)) {
    const double exact = past_half + product_error(ax, scale, hi);
    n += (exact > 0 || (exact == 0 && (n & 1))) ? 1 : 0;
  } else {
    n += past_half > 0 ? 1 : 0;
  }
  const std::uint64_t whole = n / unit;
  int whole_digits = 1;
  while (whole_digits < 16 && whole >= pow10_u[whole_digits]) ++whole_digits;
  const bool neg = std::signbit(x);
  const int len = static_cast<int>(neg) + whole_digits + (P > 0 ? P + 1 : 0);
  if (len < width) {  // width <= 100: inside the caller's buffer
    constexpr char blanks[] = "                                ";
    if (width - len <= 32)
      std::memcpy(p, blanks, 32);  // a fixed size: two stores, no call
    else
      std::memset(p, ' ', static_cast<size_t>(width - len));
    p += width - len;
  }
  char* const end = p + len;
  char* q = end;
  if constexpr (P > 0) {
    std::uint64_t frac = n - whole * unit;
    for (int k = P; k >= 2; k -= 2) {
      q -= 2;
      std::memcpy(q, digit_pairs + 2 * (frac % 100), 2);
      frac /= 100;
    }
    if constexpr (P % 2 == 1) *--q = static_cast<char>('0' + frac);
    *--q = '.';
  }
  std::uint64_t w = whole;
  while (w >= 10) {
    q -= 2;
    std::memcpy(q, digit_pairs + 2 * (w % 100), 2);
    w /= 100;
  }
  if (q > p + static_cast<int>(neg)) *--q = static_cast<char>('0' + w);
  if (neg) *p = '-';
  return end;
}

constexpr compiled_format::fixed_writer fixed_field[] = {
    fixed_field_p<0>,  fixed_field_p<1>,  fixed_field_p<2>,  fixed_field_p<3>,
    fixed_field_p<4>,  fixed_field_p<5>,  fixed_field_p<6>,  fixed_field_p<7>,
    fixed_field_p<8>,  fixed_field_p<9>,  fixed_field_p<10>, fixed_field_p<11>,
    fixed_field_p<12>, fixed_field_p<13>, fixed_field_p<14>, fixed_field_p<15>};

// Right-aligns [start, end) in `width` (left-aligns with `left`), returns the end.
inline char* pad_field(char* start, char* end, int width, bool left) {
  const long len = end - start;
  if (len >= width) return end;
  const long fill = width - len;
  // Byte loops: the texts are a few characters long, too short for the
  // library calls to pay off.
  if (left) {
    for (long k = 0; k < fill; ++k) end[k] = ' ';
  } else {
    for (long k = len - 1; k >= 0; --k) start[fill + k] = start[k];
    for (long k = 0; k < fill; ++k) start[k] = ' ';
  }
  return end + fill;
}

char* format_floating_at(char* p, double x, char conv, int width, int prec, bool left) {
  char* const start = p;
  if (std::signbit(x)) *p++ = '-';
  if (std::isnan(x)) {
    std::memcpy(p, "nan", 3);
    p += 3;
  } else if (std::isinf(x)) {
    std::memcpy(p, "inf", 3);
    p += 3;
  } else if (conv == 'f') {
    p = write_fixed_abs(p, std::fabs(x), prec);
  } else {
    p = std::to_chars(p, p + compiled_format::max_text / 2, std::fabs(x), std::chars_format::scientific, prec)
            .ptr;
  }
  return pad_field(start, p, width, left);
}

}  // namespace

const char digit_pairs[201] =
    "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
    "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
    "8081828384858687888990919293949596979899";

compiled_format::compiled_format(const char* fmt) : fmt_(fmt) {
  fast_ = fmt != nullptr;
  const char* p = fmt;
  while (fast_) {
    if (npieces_ == max_pieces) {
      fast_ = false;
      break;
    }
    piece_rec& pc = pieces_[npieces_++];
    pc = piece_rec{p, 0, 0, false, false, 0, -1, false};
    while (*p && !(p[0] == '%' && p[1] != '%')) {
      if (p[0] == '%') {  // "%%" is a literal percent sign: not used by the display
        fast_ = false;
        break;
      }
      ++p;
    }
    pc.lit_len = static_cast<int>(p - pc.lit);
    if (!fast_ || *p == '\0') break;
    ++p;  // '%'
    if (*p == '0') {
      pc.zero_pad = true;
      ++p;
    }
    if (*p == '*') {
      pc.star = true;
      ++p;
    } else {
      while (*p >= '0' && *p <= '9') pc.width = pc.width * 10 + (*p++ - '0');
    }
    if (*p == '.') {
      ++p;
      pc.prec = 0;
      while (*p >= '0' && *p <= '9') pc.prec = pc.prec * 10 + (*p++ - '0');
    }
    if (*p == 'l') {
      pc.is_long = true;
      ++p;
    }
    pc.conv = *p;
    switch (pc.conv) {
      case 'f':
      case 'e':
        fast_ = !pc.zero_pad && !pc.is_long && pc.width <= 100 && pc.prec <= 30;
        break;
      case 'd':
      case 'u':
      case 'x':
        fast_ = pc.prec < 0 && pc.width <= 100;
        break;
      case 'c':
        fast_ = pc.prec < 0 && !pc.zero_pad && !pc.is_long && pc.width <= 100;
        break;
      default:
        fast_ = false;
    }
    if (fast_) ++p;
  }
  // The argument signature that the fast path serves: '*' for a star width,
  // 'r' for a floating conversion, 'i' for an integer one, 'c' for a character.
  int n = 0;
  for (int k = 0; fast_ && k < npieces_ && pieces_[k].conv != 0; ++k) {
    if (pieces_[k].star) sig_[n++] = '*';
    const char c = pieces_[k].conv;
    sig_[n++] = (c == 'f' || c == 'e') ? 'r' : c == 'c' ? 'c' : 'i';
  }
  sig_[n] = '\0';
  real_ok_ = accepts("r");
  complex_ok_ = accepts("rcr");
  char_ok_ = accepts("c");
  star_int_ok_ = accepts("*i");
  int_ok_ = accepts("i");
  const piece_rec& first = pieces_[0];
  if (real_ok_ && first.conv == 'f' && !first.star && first.prec >= 0 && first.prec <= max_fast_prec &&
      first.lit_len <= fixed_lit_max && pieces_[1].lit_len <= fixed_lit_max) {
    fixed_ = fixed_field[first.prec];
    fixed_width_ = first.width;
    head_len_ = first.lit_len;
    tail_len_ = pieces_[1].lit_len;
    std::memcpy(head_, first.lit, static_cast<size_t>(head_len_));
    std::memcpy(tail_, pieces_[1].lit, static_cast<size_t>(tail_len_));
  }
}

bool compiled_format::accepts(const char* convs) const {
  return fast_ && std::strcmp(sig_, convs) == 0;
}

size_t compiled_format::run(char* buf, const arg* args) const {
  char* p = buf;
  for (int k = 0; k < npieces_; ++k) {
    const piece_rec& pc = pieces_[k];
    std::memcpy(p, pc.lit, static_cast<size_t>(pc.lit_len));
    p += pc.lit_len;
    if (pc.conv == 0) break;
    int width = pc.width;
    bool left = false;
    if (pc.star) {
      width = static_cast<int>((args++)->i);
      if (width < 0) {  // a negative '*' width means left alignment, as in printf
        left = true;
        width = width == INT32_MIN ? 0 : -width;
      }
    }
    const arg& a = *args++;
    if (pc.conv == 'f' && !left && pc.prec >= 0 && pc.prec <= max_fast_prec) {
      if (char* end = fixed_field[pc.prec](p, a.d, width)) {
        p = end;
        continue;
      }
    }
    if (pc.conv == 'f' || pc.conv == 'e') {
      p = format_floating_at(p, a.d, pc.conv, width, pc.prec < 0 ? 6 : pc.prec, left);
      continue;
    }
    char* const start = p;
    if (pc.conv == 'c') {
      *p++ = static_cast<char>(a.i);
    } else if (pc.conv == 'd') {
      const long v = pc.is_long ? a.i : static_cast<int>(a.i);
      const std::uint64_t mag = v < 0 ? 0 - static_cast<std::uint64_t>(v) : static_cast<std::uint64_t>(v);
      if (v < 0) *p++ = '-';
      char* const digits = p;
      p = write_u64(p, mag);
      if (pc.zero_pad && !left && p - start < width) {
        const long fill = width - (p - start);
        std::memmove(digits + fill, digits, static_cast<size_t>(p - digits));
        std::memset(digits, '0', static_cast<size_t>(fill));
        p += fill;
      }
    } else {
      const std::uint64_t v = pc.is_long ? static_cast<std::uint64_t>(a.i)
                                         : static_cast<unsigned int>(static_cast<int>(a.i));
      p = pc.conv == 'u' ? write_u64(p, v) : write_hex(p, v);
      if (pc.zero_pad && !left && p - start < width) {
        const long fill = width - (p - start);
        std::memmove(start + fill, start, static_cast<size_t>(p - start));
        std::memset(start, '0', static_cast<size_t>(fill));
        p += fill;
      }
    }
    p = pad_field(start, p, width, left);
  }
  *p = '\0';
  return static_cast<size_t>(p - buf);
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

namespace {
size_t measured(int n) { return n < 0 ? 0 : static_cast<size_t>(n); }
}  // namespace

size_t compiled_format::real_general(char* buf, double x) const {
  if (!real_ok_) return measured(std::snprintf(buf, max_text, fmt_, x));
  arg a[1];
  a[0].d = x;
  return run(buf, a);
}

size_t compiled_format::complex(char* buf, double re, int sign, double im) const {
  if (!complex_ok_) return measured(std::snprintf(buf, max_text, fmt_, re, sign, im));
  arg a[3];
  a[0].d = re;
  a[1].i = sign;
  a[2].d = im;
  return run(buf, a);
}

size_t compiled_format::character(char* buf, int c) const {
  if (!char_ok_) return measured(std::snprintf(buf, max_text, fmt_, c));
  arg a[1];
  a[0].i = c;
  return run(buf, a);
}

size_t compiled_format::integer(char* buf, int width, long v) const {
  if (!star_int_ok_ || width > 100 || width < -100) {
    const bool wide = std::strchr(fmt_, 'l') != nullptr;
    return measured(wide ? std::snprintf(buf, max_text, fmt_, width, v)
                         : std::snprintf(buf, max_text, fmt_, width, static_cast<int>(v)));
  }
  arg a[2];
  a[0].i = width;
  a[1].i = v;
  return run(buf, a);
}

size_t compiled_format::integer(char* buf, int width, unsigned long v) const {
  return integer(buf, width, static_cast<long>(v));
}

size_t compiled_format::integer(char* buf, long v) const {
  if (!int_ok_) {
    const bool wide = std::strchr(fmt_, 'l') != nullptr;
    return measured(wide ? std::snprintf(buf, max_text, fmt_, v)
                         : std::snprintf(buf, max_text, fmt_, static_cast<int>(v)));
  }
  arg a[1];
  a[0].i = v;
  return run(buf, a);
}

#pragma GCC diagnostic pop

}  // namespace internal
}  // namespace zorvat
