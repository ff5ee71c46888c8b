// zo_obj.h: the universal value.
//
// A zo_obj is a kind ID (`type`, see zo_type.h) and a shared owner of one
// payload of the type that the kind prescribes: matrix<T> for the dense kinds
// 1..14, 17 and 19, sparse_matrix<T> for 26..30, cell_array (25), structure
// (16), function_handle (15), controlType (18), draw_t (20), an object derived
// from extern_obj_base (21), an int flag (22, void) and VariableList (31).
// Kind 0 (error) has no payload.
//
// Copies share the payload in O(1).  A writer first calls copy_on_write(),
// which copies the payload only when it is shared (use count 2 or more):
//
//   auto a = std::make_shared<zorvat::zo_obj>(3.0);     // 1x1 double
//   zorvat::zo_obj b = *a;                              // shares a's payload
//   b.copy_on_write(false);                             // b gets its own copy
//   b.get<zorvat::matrix<double>>()(0) = 4.0;           // a still holds 3
//   long n = zorvat::zo_obj(2.0).as_int();              // 2; 2.5 would throw
//
// Values travel as std::shared_ptr<zo_obj> and std::shared_ptr<zo_obj const>,
// so there are two levels of sharing: the value object and its payload.
// Conversions that find the wrong kind throw std::invalid_argument; failed
// allocations throw std::bad_alloc or internal::insufficient_memory and leave
// the value as it was.
#pragma once

#include <complex>
#include <initializer_list>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "matrix/zo_hdl.h"
#include "memory/type_lists.h"
#include "memory/zo_assert.h"
#include "value/extern_obj_base.h"
#include "value/function_handle.h"
#include "value/kind_list.h"
#include "value/records.h"
#include "value/zo_type.h"

namespace zorvat {

class matrix_base;
class container_base;

class zo_obj {
 public:
  // The kind of the value.  Public and first, as hosts and plugins read it
  // directly; change it only through the members below.
  zo_type type = type_void;

  // Kind 22 (void) with the flag 0.
  zo_obj();
  // 1x1 arrays of the element type: kinds 1..14.
  zo_obj(signed char v);
  zo_obj(short v);
  zo_obj(int v);
  zo_obj(long v);
  zo_obj(unsigned char v);
  zo_obj(unsigned short v);
  zo_obj(unsigned int v);
  zo_obj(unsigned long v);
  zo_obj(double v);
  zo_obj(float v);
  zo_obj(std::complex<double> v);
  zo_obj(std::complex<float> v);
  zo_obj(char v);
  zo_obj(bool v);
  // A 1x1 string array (kind 17) holding the text; null gives the empty text.
  zo_obj(const char* s);
  zo_obj(const std::string& s);
  // t == type_char: a 1xn char array (kind 13) of the bytes of s (n = strlen,
  // 0 for null); any other t: a 1x1 string array (kind 17).
  zo_obj(const char* s, zo_type t);
  zo_obj(const char* s, int t) : zo_obj(s, static_cast<zo_type>(t)) {}
  // An m x n string array filled from v in storage order; missing elements
  // stay empty, surplus ones are ignored.  Negative extents count as 0.
  zo_obj(const std::vector<std::string>& v, long m, long n);
  zo_obj(controlType c);                 // kind 18
  zo_obj(const zo_hdl_t& h);             // kind 19, a 1x1 handle array
  zo_obj(const draw_t& d);               // kind 20, a copy (list copied)
  zo_obj(const function_handle& f);      // kind 15, a copy
  // Kind 21.  The value takes ownership of p (no dup()); null gives a null
  // payload.  REQUIRES: p was made with new.
  zo_obj(const extern_obj_base* p);
  // Any other pointer alone is a mistake that would compile: a payload
  // passed without its kind (`zo_obj v(new cell_array(2, 1))`) would convert
  // to bool and leak.  Such a call does not compile; pass the kind.
  template <class T, std::enable_if_t<!std::is_convertible_v<T*, const char*> &&
                                          !std::is_convertible_v<T*, const extern_obj_base*>,
                                      int> = 0>
  zo_obj(T* p) = delete;
  // Adopts p as the payload of kind `type` (the value owns it from now on).
  // A null p is create_from_nullptr(type).  For a kind without a payload type
  // (0, 23, 24, above 31) the payload stays null and p is not touched.
  // REQUIRES: p is a heap object of the kind's payload type; for kind 21 the
  // address of its extern_obj_base part.
  zo_obj(int type, const void* p);
  // The same for a typed pointer (for example a matrix<int>* with kind 3);
  // an object derived from extern_obj_base is adopted through its base.
  template <class T>
  zo_obj(int type, T* p) : zo_obj(type, adopt_address(p)) {}

  // Copies share the payload; a move leaves the source with its kind and a
  // null payload (only destruction and assignment are valid on it then).
  zo_obj(const zo_obj& other);
  zo_obj(zo_obj&& other) noexcept;
  zo_obj& operator=(const zo_obj& other);
  zo_obj& operator=(zo_obj&& other) noexcept;
  ~zo_obj();

  // A new unshared value holding an m x n matrix<T> taken from the list in
  // storage order: a shorter list leaves fresh elements (0, empty) behind, a
  // longer one is cut.  For T = std::shared_ptr<zo_obj> the value is a cell
  // (kind 25) with those elements.
  template <class T>
  static std::shared_ptr<zo_obj> make_matrix(long m, long n, std::initializer_list<T> list);
  // A new unshared void value holding the flag f.
  static std::shared_ptr<zo_obj> make_void(zo_void_flag f);

  // Sets the kind; the payload becomes an empty array for the dense kinds
  // 1..14 and the sparse kinds 26..30, and null for every other kind.
  void create_from_nullptr(int type);
  // Gives the value kind `type` with a fresh default payload (empty array,
  // default function_handle, structure, cell_array, controlType, draw_t,
  // VariableList, int 0 for void, empty sparse matrix; null for kind 21 and
  // unknown kinds).  Nothing happens when the kind is already `type` and
  // force is false.  On an allocation failure the value is unchanged.
  void reset(int type, bool force);
  // Releases the payload and sets the kind to 0 (error).
  void destroy();
  // Replaces a shared payload (use count >= 2) by a private copy; with `deep`
  // the elements of a copied cell or structure are detached too, recursively.
  // An unshared payload is never copied.  An external object is copied with
  // its dup(), so one without dup() ends as a null payload (intended).
  void copy_on_write(bool deep);
  // One-line summary: "3x4 double", "empty 0x0 char", "1x2 struct array",
  // "2x2 cell array", "1x1 function_handle", "1x1 extern object".
  std::string brief_type_str() const;

  // The payload cast to T, unchecked in release builds.
  // REQUIRES: the payload is non-null and of type T (the kind's payload type;
  // extern_obj_base or a class derived from it for kind 21).
  template <class T>
  T& get() {
    ZORVAT_ASSERT(payload_ && holds<T>(type));
    return *static_cast<T*>(payload_.get());
  }
  template <class T>
  const T& get() const {
    ZORVAT_ASSERT(payload_ && holds<T>(type));
    return *static_cast<const T*>(payload_.get());
  }
  // Whether T is the payload type of kind t (for kind 21, extern_obj_base or
  // a class derived from it).
  template <class T>
  static constexpr bool holds(zo_type t) {
    switch (t) {
#define ZORVAT_KIND_HOLDS(id, P, E, fill, name, cell_name) \
  case id:                                \
    return std::is_same_v<std::remove_cv_t<T>, P> || kind_holds_extern<T>(id);
      ZORVAT_FOR_EACH_KIND(ZORVAT_KIND_HOLDS)
#undef ZORVAT_KIND_HOLDS
      default:
        return false;
    }
  }
  // The raw payload pointer (null for kind 0, moved-from values and kinds
  // without a payload).
  void* payload() { return payload_.get(); }
  const void* payload() const { return payload_.get(); }
  // How many owners share the payload; 0 without one.
  long use_count() const { return payload_.use_count(); }
  // The shape interface of an array payload (kinds 1..14, 17, 19, 26..30);
  // null for other kinds and for a null payload.
  matrix_base* array_base();
  const matrix_base* array_base() const;
  // The shape interface of a cell or structure payload; null otherwise.
  container_base* container();
  const container_base* container() const;
  // A two-dimensional array (dense or sparse) with one row and at least one
  // column.
  bool is_row_vector() const;

  // Conversions.  Each accepts a fixed set of kinds and throws
  // std::invalid_argument with its own message otherwise; the value is never
  // modified.  "Scalar" means exactly one element; the first element of the
  // storage is read.
  //
  // Integer kinds and logical: the element (a uint64 bit for bit).  double and
  // single: only an exact integer (no tolerance; NaN and infinities refused;
  // magnitudes at or above 2^52, for single 2^23, count as integers).
  long as_int() const;
  // Kinds 1..12; complex only with an imaginary part exactly 0.  char and
  // logical are refused on purpose.
  double as_double() const;
  // Kinds 1..10 and 14: non-zero is true (NaN is true).
  bool as_bool() const;
  // A char array with one row (or empty), or a scalar string array.
  std::string as_string() const;
  // An int32 value (kind 3) of the same dimensions: integer kinds converted
  // without range check, double and single only when every element is an
  // exact integer (the first that is not stops with the integer error).
  zo_obj as_int_mat() const;
  // The worker of as_int_mat for a payload of matrix<T>.
  // REQUIRES: the value holds a matrix<T>.
  template <class T>
  zo_obj as_int_mat_impl() const;
  // Kind 13 and empty or one row.
  bool is_char_vector() const;
  // Kind 25 and every element a char vector (an empty cell qualifies).
  bool is_cell_of_char_vector() const;

 private:
  struct shared_payload {};
  // A value of kind t owning the payload p as it is.
  zo_obj(zo_type t, std::shared_ptr<void> p, shared_payload) : type(t), payload_(std::move(p)) {}

  template <class T>
  static constexpr bool kind_holds_extern(zo_type t) {
    if constexpr (std::is_class_v<T>)
      return t == type_extern && std::is_base_of_v<extern_obj_base, std::remove_cv_t<T>>;
    else
      return false;
  }
  template <class T>
  static const void* adopt_address(T* p) {
    if constexpr (std::is_base_of_v<extern_obj_base, T>)
      return static_cast<const extern_obj_base*>(p);
    else
      return static_cast<const void*>(p);
  }
  // The shared 1x1 array behind the scalar constructors.
  template <class T>
  void init_scalar(zo_type t, const T& v);
  void copy_impl(const zo_obj& src);
  void move_impl(zo_obj&& src) noexcept;

  // Made for the concrete payload type, so the last owner destroys the
  // payload with its own destructor.
  std::shared_ptr<void> payload_;
};

#define ZORVAT_EXTERN_MAKE_MATRIX(T) \
  extern template std::shared_ptr<zo_obj> zo_obj::make_matrix<T>(long, long, std::initializer_list<T>);
ZORVAT_FOR_EACH_DENSE_TYPE(ZORVAT_EXTERN_MAKE_MATRIX)
#undef ZORVAT_EXTERN_MAKE_MATRIX

#define ZORVAT_EXTERN_AS_INT_MAT(T) extern template zo_obj zo_obj::as_int_mat_impl<T>() const;
ZORVAT_FOR_EACH_INT_MAT_SOURCE_TYPE(ZORVAT_EXTERN_AS_INT_MAT)
#undef ZORVAT_EXTERN_AS_INT_MAT

}  // namespace zorvat
