// test_values.h: distinct sample values of every element type, for tests
// that are typed over the element types.
#pragma once

#include <complex>
#include <memory>
#include <string>

#include "matrix/zo_hdl.h"

namespace zorvat {

// The i-th sample of T; different i give different values (bool alternates).
template <class T>
T sample(long i) {
  if constexpr (std::is_same<T, bool>::value) {
    return i % 2 == 0;
  } else if constexpr (std::is_same<T, std::complex<double>>::value ||
                       std::is_same<T, std::complex<float>>::value) {
    return T(static_cast<typename T::value_type>(i + 1), static_cast<typename T::value_type>(-i));
  } else if constexpr (std::is_same<T, std::string>::value) {
    return "s" + std::to_string(i);
  } else if constexpr (std::is_same<T, zo_hdl_t>::value) {
    return zo_hdl_t{i + 1};
  } else if constexpr (std::is_same<T, std::shared_ptr<zo_obj>>::value) {
    // A non-owning pointer with a distinct address: enough to tell elements apart.
    return std::shared_ptr<zo_obj>(std::shared_ptr<void>(), reinterpret_cast<zo_obj*>(16 * (i + 1)));
  } else {
    return static_cast<T>(i + 1);
  }
}

}  // namespace zorvat
