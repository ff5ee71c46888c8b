// kind_traits.h: the classes of element types, payload types and value
// kinds, each derived from the one list of kinds (kind_list.h).
//
// Element types: is_complex_v<T>, and real_t<T> (T itself, or R of
// std::complex<R>).  Payload types: payload_traits<P> says whether P is a
// dense array (matrix<E>) or a sparse matrix (sparse_matrix<E>) and of which
// element type.  Kinds: is_numeric_kind(t), is_complex_kind(t), ... answer
// for a runtime kind number by the payload type that the list gives it, so a
// kind added to the list joins its classes with no further edit.
//
//   static_assert(internal::is_sparse_kind(type_sparse_logical));
//   internal::sparse_kind_of<double>();    // type_sparse_double
//   internal::real_t<std::complex<float>>  // float
//
// Only declarations of the payload types are needed here, so the display,
// libzex.so and the host examples share these without the whole kind table.
#pragma once

#include <complex>
#include <string>
#include <type_traits>

#include "memory/type_lists.h"
#include "value/kind_list.h"
#include "value/records.h"
#include "value/zo_type.h"

namespace zorvat {
namespace internal {

// ---- Element types ---------------------------------------------------------

// True for the two complex element types.
template <class T>
struct is_complex : std::false_type {};
template <class R>
struct is_complex<std::complex<R>> : std::true_type {};
template <class T>
inline constexpr bool is_complex_v = is_complex<T>::value;

// The real type of an element type: T itself, or R of std::complex<R>.
template <class T>
struct real_of {
  using type = T;
};
template <class R>
struct real_of<std::complex<R>> {
  using type = R;
};
template <class T>
using real_t = typename real_of<T>::type;

// The element types with one scalar per element: the fourteen arithmetic
// and text types (numbers, char, logical).
template <class E>
inline constexpr bool is_scalar_element_v = std::is_arithmetic_v<E> || is_complex_v<E>;
// Numbers: the scalar element types other than char and logical.
template <class E>
inline constexpr bool is_number_element_v =
    is_scalar_element_v<E> && !std::is_same_v<E, char> && !std::is_same_v<E, bool>;
// The eight integer types.
template <class E>
inline constexpr bool is_integer_element_v = is_number_element_v<E> && std::is_integral_v<E>;

// ---- Payload types -----------------------------------------------------------

// What a payload type of the kind list is: dense (matrix<E>), sparse
// (sparse_matrix<E>) or neither (element void).
template <class P>
struct payload_traits {
  static constexpr bool dense = false;
  static constexpr bool sparse = false;
  using element = void;
};
template <class E>
struct payload_traits<matrix<E>> {
  static constexpr bool dense = true;
  static constexpr bool sparse = false;
  using element = E;
};
template <class E>
struct payload_traits<sparse_matrix<E>> {
  static constexpr bool dense = false;
  static constexpr bool sparse = true;
  using element = E;
};
template <class P>
using payload_element_t = typename payload_traits<P>::element;

// Dense arrays of a scalar element type: kinds 1..14.
template <class P>
inline constexpr bool is_scalar_dense_v = payload_traits<P>::dense && is_scalar_element_v<payload_element_t<P>>;
// Dense numeric and logical arrays (no char): what has numeric display texts.
template <class P>
inline constexpr bool is_numeric_dense_v = is_scalar_dense_v<P> && !std::is_same_v<payload_element_t<P>, char>;
template <class P>
inline constexpr bool is_sparse_v = payload_traits<P>::sparse;

// ---- Kinds -------------------------------------------------------------------

// The payload type of kind K known at compile time (void: none).
template <int K>
struct kind_payload {
  using type = void;
};
#define ZORVAT_KIND_PAYLOAD(id, P, E, fill, name, cell_name) \
  template <>                                              \
  struct kind_payload<id> {                                \
    using type = P;                                        \
  };
ZORVAT_FOR_EACH_KIND(ZORVAT_KIND_PAYLOAD)
#undef ZORVAT_KIND_PAYLOAD
template <int K>
using kind_payload_t = typename kind_payload<K>::type;

// The class test Test<P> of the payload of kind t; false for kinds without
// a payload type.
template <template <class> class Test>
constexpr bool kind_is(int t) {
  switch (t) {
#define ZORVAT_KIND_CLASS_CASE(id, P, E, fill, name, cell_name) \
  case id:                                                     \
    return Test<P>::value;
    ZORVAT_FOR_EACH_KIND(ZORVAT_KIND_CLASS_CASE)
#undef ZORVAT_KIND_CLASS_CASE
    default:
      return false;
  }
}

namespace kind_class {
template <class P>
struct scalar_dense : std::bool_constant<is_scalar_dense_v<P>> {};
template <class P>
struct sparse : std::bool_constant<is_sparse_v<P>> {};
template <class P>
struct numeric : std::bool_constant<(payload_traits<P>::dense || payload_traits<P>::sparse) &&
                                    is_number_element_v<payload_element_t<P>>> {};
template <class P>
struct complex : std::bool_constant<is_complex_v<payload_element_t<P>>> {};
template <class P>
struct integer : std::bool_constant<is_integer_element_v<payload_element_t<P>>> {};
template <class P>
struct logical : std::bool_constant<std::is_same_v<payload_element_t<P>, bool>> {};
}  // namespace kind_class

// Dense arrays of a scalar element type (numbers, char, logical): 1..14.
constexpr bool is_scalar_dense_kind(int t) { return kind_is<kind_class::scalar_dense>(t); }
// Numbers, dense or sparse, real or complex (no char, no logical).
constexpr bool is_numeric_kind(int t) { return kind_is<kind_class::numeric>(t); }
// Complex elements, dense or sparse.
constexpr bool is_complex_kind(int t) { return kind_is<kind_class::complex>(t); }
// The eight integer arrays.
constexpr bool is_integer_kind(int t) { return kind_is<kind_class::integer>(t); }
// Logical elements, dense or sparse.
constexpr bool is_logical_kind(int t) { return kind_is<kind_class::logical>(t); }
// The sparse matrices.
constexpr bool is_sparse_kind(int t) { return kind_is<kind_class::sparse>(t); }

// The kind whose payload is matrix<E> / sparse_matrix<E>; type_error when
// there is none.
template <class E>
constexpr zo_type dense_kind_of() {
#define ZORVAT_KIND_OF_DENSE(id, P, E2, fill, name, cell_name) \
  if (std::is_same_v<P, matrix<E>>) return id;
  ZORVAT_FOR_EACH_KIND(ZORVAT_KIND_OF_DENSE)
#undef ZORVAT_KIND_OF_DENSE
  return type_error;
}
template <class E>
constexpr zo_type sparse_kind_of() {
#define ZORVAT_KIND_OF_SPARSE(id, P, E2, fill, name, cell_name) \
  if (std::is_same_v<P, sparse_matrix<E>>) return id;
  ZORVAT_FOR_EACH_KIND(ZORVAT_KIND_OF_SPARSE)
#undef ZORVAT_KIND_OF_SPARSE
  return type_error;
}

// The classes as the kinds are numbered: the dense scalar arrays are 1..14
// in the order of the element types, and the sparse ones 26..30.
static_assert(dense_kind_of<signed char>() == type_int8 && dense_kind_of<bool>() == type_logical);
static_assert(sparse_kind_of<double>() == type_sparse_double && sparse_kind_of<bool>() == type_sparse_logical);
static_assert(is_numeric_kind(type_complex_single) && !is_numeric_kind(type_char) &&
              !is_numeric_kind(type_sparse_logical) && is_numeric_kind(type_sparse_complex_single));

}  // namespace internal
}  // namespace zorvat
