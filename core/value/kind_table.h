// kind_table.h: what each value kind holds and how its payload is made,
// copied and adopted, written once for the library's own sources.
//
// ZORVAT_FOR_EACH_KIND lists every kind with a payload type:
//   X(kind, payload type, dense element type or void, filled by create_from_nullptr,
//     type_str name, short name in cell displays)
// Kinds not listed (0, 23, 24 and any other number) are named "error" and,
// in cells, "unknown"; kind 20 is listed with those names on purpose.  The
// complex kinds share their real counterparts' short names, and the sparse
// kinds and variable lists are "unknown" in cells, also on purpose.
// visit_kind() turns a runtime kind into a kind_tag<P, ...> (P = void for
// kinds without a payload), and kind_ops<P> says how the payload of P is made
// by reset(), copied by copy_on_write() and adopted from a raw pointer.  Only
// the payload types that differ (cells, structures, lists, external objects)
// specialise kind_ops; everything else is new P / copy of P.
//
//   std::shared_ptr<void> p = internal::visit_kind(t, [](auto k) {
//     return internal::kind_ops<typename decltype(k)::payload>::make_default();
//   });
#pragma once

#include <complex>
#include <memory>
#include <string>
#include <type_traits>

#include "matrix/matrix.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/container_base.h"
#include "value/extern_obj_base.h"
#include "value/function_handle.h"
#include "value/records.h"
#include "value/structure.h"
#include "value/variable_list.h"
#include "value/zo_obj.h"
#include "value/zo_type.h"

#define ZORVAT_FOR_EACH_KIND(X) \
  X(::zorvat::type_int8, ::zorvat::matrix<signed char>, signed char, true, "int8", "int8") \
  X(::zorvat::type_int16, ::zorvat::matrix<short>, short, true, "int16", "int16") \
  X(::zorvat::type_int32, ::zorvat::matrix<int>, int, true, "int32", "int32") \
  X(::zorvat::type_int64, ::zorvat::matrix<long>, long, true, "int64", "int64") \
  X(::zorvat::type_uint8, ::zorvat::matrix<unsigned char>, unsigned char, true, "uint8", "uint8") \
  X(::zorvat::type_uint16, ::zorvat::matrix<unsigned short>, unsigned short, true, "uint16", "uint16") \
  X(::zorvat::type_uint32, ::zorvat::matrix<unsigned int>, unsigned int, true, "uint32", "uint32") \
  X(::zorvat::type_uint64, ::zorvat::matrix<unsigned long>, unsigned long, true, "uint64", "uint64") \
  X(::zorvat::type_double, ::zorvat::matrix<double>, double, true, "double", "double") \
  X(::zorvat::type_single, ::zorvat::matrix<float>, float, true, "single", "single") \
  X(::zorvat::type_complex_double, ::zorvat::matrix<std::complex<double>>, std::complex<double>, true, "complex double", "double") \
  X(::zorvat::type_complex_single, ::zorvat::matrix<std::complex<float>>, std::complex<float>, true, "complex single", "single") \
  X(::zorvat::type_char, ::zorvat::matrix<char>, char, true, "char", "char") \
  X(::zorvat::type_logical, ::zorvat::matrix<bool>, bool, true, "logical", "logical") \
  X(::zorvat::type_function_handle, ::zorvat::function_handle, void, false, "function_handle", "function") \
  X(::zorvat::type_struct, ::zorvat::structure, void, false, "struct", "struct") \
  X(::zorvat::type_string, ::zorvat::matrix<std::string>, std::string, false, "string", "string") \
  X(::zorvat::type_control, ::zorvat::controlType, void, false, "control", "control") \
  X(::zorvat::type_handle, ::zorvat::matrix<::zorvat::zo_hdl_t>, ::zorvat::zo_hdl_t, false, "handle matrix", "handle") \
  X(::zorvat::type_draw, ::zorvat::draw_t, void, false, "error", "unknown") \
  X(::zorvat::type_extern, ::zorvat::extern_obj_base, void, false, "extern", "extern") \
  X(::zorvat::type_void, int, void, false, "void", "void") \
  X(::zorvat::type_cell, ::zorvat::cell_array, void, false, "cell", "cell") \
  X(::zorvat::type_sparse_double, ::zorvat::sparse_matrix<double>, void, true, "sparse double", "unknown") \
  X(::zorvat::type_sparse_single, ::zorvat::sparse_matrix<float>, void, true, "sparse single", "unknown") \
  X(::zorvat::type_sparse_complex_double, ::zorvat::sparse_matrix<std::complex<double>>, void, true, "sparse complex double", "unknown") \
  X(::zorvat::type_sparse_complex_single, ::zorvat::sparse_matrix<std::complex<float>>, void, true, "sparse complex single", "unknown") \
  X(::zorvat::type_sparse_logical, ::zorvat::sparse_matrix<bool>, void, true, "sparse logical", "unknown") \
  X(::zorvat::type_variable_list, ::zorvat::VariableList, void, false, "variable list", "unknown")

namespace zorvat {
namespace internal {

// One kind as a type: P is its payload type (void: no payload).
template <class P, bool FillsFromNullptr>
struct kind_tag {
  using payload = P;
  static constexpr bool fills_from_nullptr = FillsFromNullptr;
};

// Calls f(kind_tag<...>) for the payload of kind t; kinds without a payload
// type (0, 23, 24, outside 0..31) get kind_tag<void, false>.
template <class F>
decltype(auto) visit_kind(int t, F&& f) {
  switch (t) {
#define ZORVAT_KIND_CASE(id, P, E, fill, name, cell_name) \
  case id:                               \
    return f(kind_tag<P, fill>{});
    ZORVAT_FOR_EACH_KIND(ZORVAT_KIND_CASE)
#undef ZORVAT_KIND_CASE
    default:
      return f(kind_tag<void, false>{});
  }
}

// The type_str name and the short cell name of kind t.
constexpr const char* kind_name(int t) {
  switch (t) {
#define ZORVAT_KIND_NAME(id, P, E, fill, name, cell_name) \
  case id:                                               \
    return name;
    ZORVAT_FOR_EACH_KIND(ZORVAT_KIND_NAME)
#undef ZORVAT_KIND_NAME
    default:
      return "error";
  }
}
constexpr const char* kind_cell_name(int t) {
  switch (t) {
#define ZORVAT_KIND_CELL_NAME(id, P, E, fill, name, cell_name) \
  case id:                                                    \
    return cell_name;
    ZORVAT_FOR_EACH_KIND(ZORVAT_KIND_CELL_NAME)
#undef ZORVAT_KIND_CELL_NAME
    default:
      return "unknown";
  }
}

// The kind whose payload is matrix<E>; type_error when there is none.
template <class E>
constexpr zo_type dense_kind_of() {
#define ZORVAT_KIND_OF_ELEMENT(id, P, E2, fill, name, cell_name) \
  if (std::is_same_v<E, E2>) return id;
  ZORVAT_FOR_EACH_KIND(ZORVAT_KIND_OF_ELEMENT)
#undef ZORVAT_KIND_OF_ELEMENT
  return type_error;
}

// How the payload of type P is made (reset), copied (copy_on_write) and
// adopted from a raw pointer: by default new P, copy construction and a
// shared owner deleting a P.
template <class P>
struct default_kind_ops {
  static std::shared_ptr<void> make_default() { return std::make_shared<P>(); }
  static std::shared_ptr<void> copy(const void* p, bool /*deep*/) {
    return std::make_shared<P>(*static_cast<const P*>(p));
  }
  static std::shared_ptr<void> adopt(const void* p) {
    return std::shared_ptr<P>(static_cast<P*>(const_cast<void*>(p)));
  }
};

template <class P>
struct kind_ops : default_kind_ops<P> {};

// Kinds without a payload type: nothing is made, copied or adopted.
template <>
struct kind_ops<void> {
  static std::shared_ptr<void> make_default() { return nullptr; }
  static std::shared_ptr<void> copy(const void*, bool) { return nullptr; }
  static std::shared_ptr<void> adopt(const void*) { return nullptr; }
};

// Cells and structures: with deep, the copy then detaches its elements.
template <class P>
struct container_kind_ops : default_kind_ops<P> {
  static std::shared_ptr<void> copy(const void* p, bool deep) {
    auto c = std::make_shared<P>(*static_cast<const P*>(p));
    if (deep) c->copy_on_write_each();
    return c;
  }
};
template <>
struct kind_ops<cell_array> : container_kind_ops<cell_array> {};
template <>
struct kind_ops<structure> : container_kind_ops<structure> {};

// A list copied by copy_on_write shares its element objects.
template <>
struct kind_ops<VariableList> : default_kind_ops<VariableList> {
  static std::shared_ptr<void> copy(const void* p, bool) {
    return std::make_shared<VariableList>(*static_cast<const VariableList*>(p), false);
  }
};

// External objects: no default object; a copy is the object's dup() (null
// when the class does not override it); deleted through the virtual
// destructor.
template <>
struct kind_ops<extern_obj_base> {
  static std::shared_ptr<void> make_default() { return nullptr; }
  static std::shared_ptr<void> copy(const void* p, bool) {
    extern_obj_base* d = static_cast<const extern_obj_base*>(p)->dup();
    if (!d) return nullptr;
    return std::shared_ptr<extern_obj_base>(d);
  }
  static std::shared_ptr<void> adopt(const void* p) {
    return std::shared_ptr<extern_obj_base>(
        static_cast<extern_obj_base*>(const_cast<void*>(p)));
  }
};

// The payload of type P at p seen as an array, or null.
template <class P>
matrix_base* as_array_base(void* p) {
  if constexpr (std::is_base_of_v<matrix_base, P>)
    return static_cast<P*>(p);
  else
    return nullptr;
}

// The payload at p seen as a cell or structure, or null.
template <class P>
container_base* as_container_base(void* p) {
  if constexpr (std::is_base_of_v<container_base, P>)
    return static_cast<P*>(p);
  else
    return nullptr;
}

// Calls f on every element of m in column-major order.  Empty arrays are
// skipped up front: the walk of an array with a zero extent would not stop
// at end().
template <class M, class F>
void for_each_element(M& m, F f) {
  if (m.is_empty()) return;
  for (auto& e : m) f(e);
}

// A fresh empty value (0x0 double), the content of new cell and structure
// elements.
std::shared_ptr<zo_obj> make_empty_element();

// Makes the payload of a container element private to the container: an
// element value object shared with anyone else is replaced by a copy of it,
// then copy_on_write(true) is called on it.  Null elements stay null.
void detach_element(std::shared_ptr<zo_obj>& e);

}  // namespace internal
}  // namespace zorvat
