// This library's side of the NumPy peer test: dlpack_numpy.py loads it with
// ctypes (PyDLL: NumPy's deleter needs the interpreter lock).  Values are
// kept in slots: exports 0..4 made here, imports from slot 10 on.  Every
// deleter that passes through is counted.
#include <complex>
#include <cstdio>
#include <map>
#include <stdexcept>
#include <type_traits>

#include "io/dlpack.h"
#include "value/kind_table.h"

namespace {

using namespace zorvat;

std::map<DLManagedTensor*, void (*)(DLManagedTensor*)> own_deleter;
long deleter_calls = 0;

void counted(DLManagedTensor* t) {
  ++deleter_calls;
  auto f = own_deleter.at(t);
  own_deleter.erase(t);
  f(t);
}

DLManagedTensor* watch(DLManagedTensor* t) {
  own_deleter[t] = t->deleter;
  t->deleter = &counted;
  return t;
}

std::map<int, zo_obj> slots;

// Element (i, j) of every export: 1 + i + 10 j (complex: imaginary -(i + 1);
// logical: i + j odd).
template <class T>
T element(long i, long j) {
  if constexpr (std::is_same_v<T, bool>)
    return (i + j) % 2 == 1;
  else if constexpr (std::is_same_v<T, std::complex<double>>)
    return {1.0 + i + 10.0 * j, -(i + 1.0)};
  else
    return static_cast<T>(1 + i + 10 * j);
}

template <class T>
zo_obj filled(matrix<T> m) {
  for (long j = 0; j < m.cols(); ++j)
    for (long i = 0; i < m.rows(); ++i) m(i, j) = element<T>(i, j);
  return zo_obj(internal::dense_kind_of<T>(), new matrix<T>(std::move(m)));
}

// Calls f(matrix<E>&) on the array of a slot.
template <class F>
auto with_array(int slot, F f) {
  zo_obj& v = slots.at(slot);
  return internal::visit_kind(v.type, [&](auto k) {
    using P = typename decltype(k)::payload;
    if constexpr (std::is_same_v<P, matrix<double>> || std::is_same_v<P, matrix<std::complex<double>>> ||
                  std::is_same_v<P, matrix<signed char>> || std::is_same_v<P, matrix<bool>> ||
                  std::is_same_v<P, matrix<int>> || std::is_same_v<P, matrix<unsigned char>>)
      return f(v.get<P>());
    else
      throw std::logic_error("slot holds no array of a tested type");
    return f(v.get<matrix<double>>());
  });
}

}  // namespace

extern "C" {

// Exports 0: double 2x3; 1: complex double 2x3; 2: int8 2x3; 3: a 2x2 double
// view with strides (2, 8) and offset 1 on a 4x5 block; 4: logical 2x3.
DLManagedTensor* peer_export(int k) {
  switch (k) {
    case 0: slots[k] = filled(matrix<double>(2, 3)); break;
    case 1: slots[k] = filled(matrix<std::complex<double>>(2, 3)); break;
    case 2: slots[k] = filled(matrix<signed char>(2, 3)); break;
    case 3: slots[k] = filled(matrix<double>(4, 5).view(2, 2, 1, 8, 2)); break;
    default: slots[k] = filled(matrix<bool>(2, 3)); break;
  }
  return watch(to_dlpack_writable(slots[k]));
}

// The slot of the imported tensor, or -1 (the message on standard error;
// the tensor is then still the caller's).
int peer_import(DLManagedTensor* t) {
  static int next = 10;
  try {
    DLManagedTensor* w = watch(t);
    try {
      slots[next] = from_dlpack(w);
    } catch (...) {
      t->deleter = own_deleter.at(t);  // untouched, as it came
      own_deleter.erase(t);
      throw;
    }
  } catch (const std::exception& e) {
    std::fprintf(stderr, "peer_import: %s\n", e.what());
    return -1;
  }
  return next++;
}

void* peer_address(int slot, long i, long j) {
  return with_array(slot, [&](auto& m) { return static_cast<void*>(&m(i, j)); });
}
long peer_dim(int slot, long k) {
  return with_array(slot, [&](auto& m) { return m.dim(k); });
}
// The element as a double (of a complex one, the real part).
double peer_get(int slot, long i, long j) {
  return with_array(slot, [&](auto& m) { return static_cast<double>(std::real(m(i, j))); });
}
void peer_set(int slot, long i, long j, double v) {
  with_array(slot, [&](auto& m) {
    using E = typename std::decay_t<decltype(m)>::value_type;
    m(i, j) = static_cast<E>(v);
    return 0;
  });
}
// Drops the value of a slot: a tensor made from it keeps the memory alive.
void peer_drop(int slot) { slots.erase(slot); }
long peer_deleter_calls() { return deleter_calls; }

}  // extern "C"
