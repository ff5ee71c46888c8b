// typed.h: the element types of the dense value kinds as C++ types, and the
// element conversions that the host's arithmetic, indexing and constructors
// share.
//
// visit_arith() turns the kind of a dense value (1..14) into its element
// type, with one case per type generated from the library's type list:
//
//   visit_arith(v.type, [&](auto tag) {
//     using T = typename decltype(tag)::type;
//     const zorvat::matrix<T>& m = v.get<zorvat::matrix<T>>();
//     ...
//   }, col);
#pragma once

#include <cmath>
#include <complex>
#include <limits>
#include <type_traits>

#include "memory/messages.h"
#include "memory/type_lists.h"
#include "value/kind_table.h"
#include "values.h"

namespace zorvat_host {

using cplx = std::complex<double>;

template <class T>
struct type_tag {
  using type = T;
};

using zorvat::internal::is_complex_v;

// Calls f(type_tag<T>) for the element type T of the dense kind t; throws
// host_error(col) for any other kind.
template <class F>
decltype(auto) visit_arith(int t, F&& f, int col) {
  switch (t) {
#define ZORVAT_HOST_ARITH_CASE(T)                  \
  case zorvat::internal::dense_kind_of<T>():      \
    return f(type_tag<T>{});
    ZORVAT_FOR_EACH_ARITH_TYPE(ZORVAT_HOST_ARITH_CASE)
#undef ZORVAT_HOST_ARITH_CASE
    default:
      throw host_error(zorvat::tr("不是数值数组"), col);
  }
}

// An element as a complex double: char gives its code, logical 0 or 1.
template <class T>
cplx to_cplx(const T& x) {
  if constexpr (is_complex_v<T>)
    return cplx(x.real(), x.imag());
  else if constexpr (std::is_same_v<T, char>)
    return cplx(static_cast<unsigned char>(x), 0);
  else
    return cplx(static_cast<double>(x), 0);
}

// A complex double as an element of T: integers (and char codes) rounded half
// away from zero and saturated, NaN giving 0; logical is "not zero" (NaN is
// refused); real types drop the imaginary part.
template <class T>
T from_cplx(cplx z, int col) {
  const double x = z.real();
  if constexpr (is_complex_v<T>) {
    return T(static_cast<typename T::value_type>(z.real()), static_cast<typename T::value_type>(z.imag()));
  } else if constexpr (std::is_floating_point_v<T>) {
    return static_cast<T>(x);
  } else if constexpr (std::is_same_v<T, bool>) {
    if (std::isnan(x) || std::isnan(z.imag())) throw host_error(zorvat::tr("NaN 不能转换为逻辑值"), col);
    return x != 0 || z.imag() != 0;
  } else {
    using L = std::numeric_limits<std::conditional_t<std::is_same_v<T, char>, unsigned char, T>>;
    if (std::isnan(x)) return T(0);
    const double r = std::round(x);
    if (r <= static_cast<double>(L::min())) return static_cast<T>(L::min());
    if (r >= static_cast<double>(L::max())) return static_cast<T>(L::max());
    return static_cast<T>(static_cast<long double>(r));
  }
}

// The elements of the dense value v converted to W, in a new standard array
// of v's dims.
template <class W>
zorvat::matrix<W> convert_matrix(const zo_obj& v, int col) {
  return visit_arith(
      v.type,
      [&](auto tag) {
        using T = typename decltype(tag)::type;
        const auto& m = v.get<zorvat::matrix<T>>();
        zorvat::matrix<W> out(m.dim_vec());
        if (m.size() > 0) {
          W* p = out.data();
          for (auto it = m.begin(); it != m.end(); ++it) {
            if constexpr (std::is_same_v<T, W>) *p++ = *it;
            else *p++ = from_cplx<W>(to_cplx(*it), col);
          }
        }
        return out;
      },
      col);
}

// A new value of the kind of matrix<T>, holding m.
template <class T>
value_ptr wrap(zorvat::matrix<T>&& m) {
  auto p = std::make_unique<zorvat::matrix<T>>(std::move(m));
  auto v = std::make_shared<zo_obj>(zorvat::internal::dense_kind_of<T>(), p.get());
  p.release();  // the value owns it now
  return v;
}

}  // namespace zorvat_host
