// Conversions of values to plain C++ values and the text-shape predicates.
//
// Which element type converts to what is one trait, element_conv<E>, below;
// the members only find the payload and raise the message of their target.
#include <climits>
#include <cmath>
#include <stdexcept>
#include <type_traits>

#include "memory/messages.h"
#include "value/kind_table.h"
#include "value/zo_obj.h"

namespace zorvat {

namespace {

using internal::visit_kind;

[[noreturn]] void throw_not_integer() {
  throw std::invalid_argument(tr("该 zo_obj 对象不是合法的整数类型"));
}

// True when v is an integer, tested without tolerance.  Below the bound (2^52
// for double, 2^23 for single) the value must equal its truncation; at or
// above it every finite value counts, and v - v rejects the infinities.  NaN
// fails both tests.
template <class F>
bool is_exact_integer(F v) {
  constexpr double bound = std::is_same_v<F, float> ? 8388608.0 : 4503599627370496.0;
  const double x = v;
  const double diff = std::fabs(x) < bound ? std::trunc(x) - x : x - x;
  return diff == 0.0;
}

// The conversion of a floating value to long.  Out-of-range magnitudes give
// LONG_MIN, which is what the processor's truncating conversion yields; the
// language conversion would be undefined there.
long float_to_long(double x) {
  if (!(x >= -9223372036854775808.0 && x < 9223372036854775808.0)) return LONG_MIN;
  return static_cast<long>(x);
}

// Refuses every conversion.
struct refused_conv {
  static constexpr bool int_mat_source = false;
  template <class E>
  static bool to_int(const E&, long&) { return false; }
  template <class E>
  static bool to_double(const E&, double&) { return false; }
  template <class E>
  static bool to_bool(const E&, bool&) { return false; }
  template <class E>
  static bool to_int32(const E&, int&) { return false; }
};

// What an element of type E converts to.  The default refuses everything
// (char, text, handles, value pointers).
template <class E>
struct element_conv : refused_conv {};

// Integer kinds: everything converts; a uint64 goes to long bit for bit and
// to double as an unsigned value; int32 takes the low bits.
template <class E>
struct integer_conv {
  static constexpr bool int_mat_source = true;
  static bool to_int(const E& v, long& r) { return r = static_cast<long>(v), true; }
  static bool to_double(const E& v, double& r) { return r = static_cast<double>(v), true; }
  static bool to_bool(const E& v, bool& r) { return r = v != 0, true; }
  static bool to_int32(const E& v, int& r) { return r = static_cast<int>(v), true; }
};

// double and single: integers only when exact; any non-zero (NaN too) is true.
template <class E>
struct real_conv {
  static constexpr bool int_mat_source = true;
  static bool to_int(const E& v, long& r) {
    if (!is_exact_integer(v)) return false;
    r = float_to_long(v);
    return true;
  }
  static bool to_double(const E& v, double& r) { return r = v, true; }
  static bool to_bool(const E& v, bool& r) { return r = v != 0, true; }
  static bool to_int32(const E& v, int& r) {
    long l = 0;
    if (!to_int(v, l)) return false;
    r = static_cast<int>(l);
    return true;
  }
};

#define ZORVAT_INTEGER_CONV(E) \
  template <>                  \
  struct element_conv<E> : integer_conv<E> {};
ZORVAT_FOR_EACH_INTEGER_TYPE(ZORVAT_INTEGER_CONV)
#undef ZORVAT_INTEGER_CONV

template <>
struct element_conv<double> : real_conv<double> {};
template <>
struct element_conv<float> : real_conv<float> {};

// Complex: only a double, and only with an imaginary part exactly 0.
template <class F>
struct element_conv<std::complex<F>> : refused_conv {
  static bool to_double(const std::complex<F>& v, double& r) {
    if (!(v.imag() == 0)) return false;
    r = v.real();
    return true;
  }
};

// Logical: an integer (0 or 1) and a flag, never a double.
template <>
struct element_conv<bool> : refused_conv {
  static bool to_int(const bool& v, long& r) { return r = v, true; }
  static bool to_bool(const bool& v, bool& r) { return r = v, true; }
};

// The element type of a dense payload type; void for other payloads.
template <class P>
struct dense_element {
  using type = void;
};
template <class E>
struct dense_element<matrix<E>> {
  using type = E;
};

// Calls read(element) on the only element of a scalar dense array; false for
// every other kind, a non-scalar array or a null payload.
template <class Read>
bool read_scalar(const zo_obj& v, Read read) {
  const void* p = v.payload();
  if (!p) return false;
  return visit_kind(v.type, [&](auto k) {
    using E = typename dense_element<typename decltype(k)::payload>::type;
    if constexpr (std::is_void_v<E>) {
      return false;
    } else {
      const matrix<E>& m = *static_cast<const matrix<E>*>(p);
      if (!m.is_scalar()) return false;
      return read(element_conv<E>{}, m.data()[0]);
    }
  });
}

}  // namespace

long zo_obj::as_int() const {
  long r = 0;
  if (!read_scalar(*this, [&r](auto conv, const auto& e) { return conv.to_int(e, r); }))
    throw_not_integer();
  return r;
}

double zo_obj::as_double() const {
  double r = 0;
  if (!read_scalar(*this, [&r](auto conv, const auto& e) { return conv.to_double(e, r); }))
    throw std::invalid_argument(tr("该 zo_obj 对象不能转化为双精度标量。"));
  return r;
}

bool zo_obj::as_bool() const {
  bool r = false;
  if (!read_scalar(*this, [&r](auto conv, const auto& e) { return conv.to_bool(e, r); }))
    throw std::invalid_argument(tr("该 zo_obj 对象不能转化为 bool 标量。"));
  return r;
}

std::string zo_obj::as_string() const {
  if (payload_ && type == type_char) {
    const matrix<char>& m = get<matrix<char>>();
    if (m.is_empty()) return std::string();
    if (m.rows() == 1) {
      std::string s;
      s.reserve(static_cast<size_t>(m.size()));
      for (char c : m) s.push_back(c);
      return s;
    }
  } else if (payload_ && type == type_string) {
    const matrix<std::string>& m = get<matrix<std::string>>();
    if (m.is_scalar()) return m.data()[0];
  }
  throw std::invalid_argument(tr("该 zo_obj 对象不能转化为 string"));
}

template <class T>
zo_obj zo_obj::as_int_mat_impl() const {
  const matrix<T>& src = get<matrix<T>>();
  auto out = std::make_shared<matrix<int>>(src.dim_vec());
  if (!src.is_empty()) {
    int* o = out->data();
    for (const T& v : src)
      if (!element_conv<T>::to_int32(v, *o++)) throw_not_integer();
  }
  return zo_obj(type_int32, std::move(out), shared_payload{});
}

#define ZORVAT_INSTANTIATE_AS_INT_MAT(T) template zo_obj zo_obj::as_int_mat_impl<T>() const;
ZORVAT_FOR_EACH_INT_MAT_SOURCE_TYPE(ZORVAT_INSTANTIATE_AS_INT_MAT)
#undef ZORVAT_INSTANTIATE_AS_INT_MAT

zo_obj zo_obj::as_int_mat() const {
  if (!payload_) throw_not_integer();
  return visit_kind(type, [this](auto k) -> zo_obj {
    using E = typename dense_element<typename decltype(k)::payload>::type;
    if constexpr (std::is_void_v<E>) {
      throw_not_integer();
    } else if constexpr (!element_conv<E>::int_mat_source) {
      throw_not_integer();
    } else {
      return as_int_mat_impl<E>();
    }
  });
}

bool zo_obj::is_char_vector() const {
  if (type != type_char || !payload_) return false;
  const matrix<char>& m = get<matrix<char>>();
  return m.is_empty() || m.rows() == 1;
}

bool zo_obj::is_cell_of_char_vector() const {
  if (type != type_cell || !payload_) return false;
  bool all = true;
  internal::for_each_element(get<cell_array>().data(),
                             [&all](const auto& e) { all = all && e && e->is_char_vector(); });
  return all;
}

}  // namespace zorvat
