// zo_type.h: the value kinds and their names.
//
// Every zo_obj starts with a kind ID of zo_type.  The numbers are part of the
// external interface: hosts and plugins pass them as plain ints (type_str(int),
// zo_obj(int, const void*), zo_obj::reset(int, bool)), so they never change.
//
//   zorvat::type_str(zorvat::type_double);      // "double"
//   zorvat::type_str(20);                       // "error": kind 20 has no name
//
// IDs 1..14 are the dense numeric, text and logical arrays in a fixed order
// (signed integers by width, unsigned integers by width, double, single,
// complex double, complex single, char, logical).  Classes of kinds (dense,
// sparse, numeric, complex, ...) are asked of value/kind_traits.h, which
// derives them from the kind list, rather than written as ranges of IDs.
#pragma once

#include <cstdint>

namespace zorvat {

enum zo_type : std::int32_t {
  type_error = 0,
  type_int8 = 1,
  type_int16 = 2,
  type_int32 = 3,
  type_int64 = 4,
  type_uint8 = 5,
  type_uint16 = 6,
  type_uint32 = 7,
  type_uint64 = 8,
  type_double = 9,
  type_single = 10,
  type_complex_double = 11,
  type_complex_single = 12,
  type_char = 13,
  type_logical = 14,
  type_function_handle = 15,
  type_struct = 16,
  type_string = 17,
  type_control = 18,
  type_handle = 19,
  type_draw = 20,
  type_extern = 21,
  type_void = 22,
  type_reserved_23 = 23,
  type_reserved_24 = 24,
  type_cell = 25,
  type_sparse_double = 26,
  type_sparse_single = 27,
  type_sparse_complex_double = 28,
  type_sparse_complex_single = 29,
  type_sparse_logical = 30,
  type_variable_list = 31,
};

// The flag held by a void value (kind 22).  Its values are the interpreter's
// business; the core only stores the flag.  0 is what zo_obj() holds.
enum zo_void_flag : int {
  void_flag_none = 0,
};

// The full type name of a kind: "double", "complex single", "sparse logical",
// "handle matrix", ...  Kinds 20, 23, 24 and every ID outside 0..31 give
// "error" (kind 20 deliberately has no name).  The text is a static literal.
const char* type_str(zo_type t);
// Forwards to type_str(zo_type).
const char* type_str(int t);

}  // namespace zorvat
