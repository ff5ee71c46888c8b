// kind_table.h: what each value kind holds and how its payload is made,
// copied and adopted, written once for the library's own sources.
//
// ZORVAT_FOR_EACH_KIND (kind_list.h) lists every kind with a payload type:
//   X(kind, payload type, dense element type or void, filled by create_from_nullptr,
//     type_str name, short name in cell displays)
// Kinds not listed (0, 23, 24 and any other number) are named "error" and,
// in cells, "unknown"; kind 20 is listed with those names on purpose.  The
// complex kinds share their real counterparts' short names, and the sparse
// kinds and variable lists are "unknown" in cells, also on purpose.  The
// classes of kinds (numeric, sparse, ...) are in kind_traits.h.
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
#include <vector>

#include "matrix/matrix.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/container_base.h"
#include "plugin/plugin_library.h"
#include "value/extern_obj_base.h"
#include "value/function_handle.h"
#include "value/kind_list.h"
#include "value/kind_traits.h"
#include "value/records.h"
#include "value/structure.h"
#include "value/variable_list.h"
#include "value/zo_obj.h"
#include "value/zo_type.h"

namespace zorvat {
namespace internal {

// copy_on_write(true) of every value in `work`, the elements of the payloads
// it copies joining the list (no recursion, so nesting depth costs no stack).
void copy_on_write_work(std::vector<zo_obj*>& work);

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
    if (deep) {
      std::vector<zo_obj*> work;
      c->detach_elements(work);
      copy_on_write_work(work);
    }
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
// destructor, while the plugin that holds the class stays mapped.
template <>
struct kind_ops<extern_obj_base> {
  static std::shared_ptr<void> make_default() { return nullptr; }
  static std::shared_ptr<void> copy(const void* p, bool) {
    extern_obj_base* d = static_cast<const extern_obj_base*>(p)->dup();
    if (!d) return nullptr;
    return adopt_extern_obj(d);
  }
  static std::shared_ptr<void> adopt(const void* p) {
    return adopt_extern_obj(static_cast<extern_obj_base*>(const_cast<void*>(p)));
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

// One step of copy_on_write_each(): an element value object shared with
// anyone else is replaced by a copy of it, and the element is listed in
// `work` for its own copy_on_write(true).  Null elements stay null.
void detach_element(std::shared_ptr<zo_obj>& e, std::vector<zo_obj*>& work);

}  // namespace internal
}  // namespace zorvat
