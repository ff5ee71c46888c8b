// mat5_detail.h: the level 5 layout shared by the writer and the reader of
// MAT-file versions 6 and 7 (not installed).
//
// A file is a 128-byte header (116 bytes of text, 8 bytes of subsystem
// offset, the version 0x0100 and the byte-order mark "IM" as written by a
// little-endian machine, "MI" by a big-endian one), then one element per
// variable.  An element is a tag (data type, byte count; both 32-bit) and its
// data padded to 8 bytes; data of 4 bytes or less may be packed into the tag
// itself (byte count in the upper half of the first word).  A variable is a
// miMATRIX element: array flags, dimensions, name, then what its class holds.
// Version 7 wraps each variable in a zlib stream (miCOMPRESSED).
//
// These two versions are our own code over libdeflate, not libmatio:
// libmatio 1.5.23 has no compression level (its version 7 save takes as long
// as zlib's default level, twice what we allow) and trusts the sizes that a
// file declares.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>

#include <vector>

#include "io/mat_file.h"
#include "matrix/matrix.h"
#include "value/zo_type.h"

namespace zorvat {
namespace internal {

// Data types of element tags.
enum mat5_data_type : std::uint32_t {
  mi_int8 = 1,
  mi_uint8 = 2,
  mi_int16 = 3,
  mi_uint16 = 4,
  mi_int32 = 5,
  mi_uint32 = 6,
  mi_single = 7,
  mi_double = 9,
  mi_int64 = 12,
  mi_uint64 = 13,
  mi_matrix = 14,
  mi_compressed = 15,
  mi_utf8 = 16,
  mi_utf16 = 17,
  mi_utf32 = 18,
};

// Array classes of miMATRIX elements.
enum mat5_class : std::uint32_t {
  mx_cell = 1,
  mx_struct = 2,
  mx_object = 3,
  mx_char = 4,
  mx_sparse = 5,
  mx_double = 6,
  mx_single = 7,
  mx_int8 = 8,
  mx_uint8 = 9,
  mx_int16 = 10,
  mx_uint16 = 11,
  mx_int32 = 12,
  mx_uint32 = 13,
  mx_int64 = 14,
  mx_uint64 = 15,
};

// Bits of the array flags word besides the class (low byte).
inline constexpr std::uint32_t mat5_flag_complex = 0x0800;
inline constexpr std::uint32_t mat5_flag_global = 0x0400;
inline constexpr std::uint32_t mat5_flag_logical = 0x0200;

inline constexpr std::size_t mat5_header_size = 128;
// A variable (its whole miMATRIX element) must stay below 2^31 bytes.
inline constexpr std::uint64_t mat5_max_variable = (std::uint64_t{1} << 31) - 1;
// Cells and structures nest at most this deep, in writing and in reading.
inline constexpr int mat5_max_depth = 200;

// The numeric arrays: value kind, class and data type of one element type,
// listed once.  X(kind, element type, class, data type)
#define ZORVAT_MAT5_NUMERIC(X)                          \
  X(type_int8, signed char, mx_int8, mi_int8)           \
  X(type_int16, short, mx_int16, mi_int16)              \
  X(type_int32, int, mx_int32, mi_int32)                \
  X(type_int64, long, mx_int64, mi_int64)               \
  X(type_uint8, unsigned char, mx_uint8, mi_uint8)      \
  X(type_uint16, unsigned short, mx_uint16, mi_uint16)  \
  X(type_uint32, unsigned int, mx_uint32, mi_uint32)    \
  X(type_uint64, unsigned long, mx_uint64, mi_uint64)   \
  X(type_double, double, mx_double, mi_double)          \
  X(type_single, float, mx_single, mi_single)

// Size in bytes of one element of a numeric data type; 0 for the others.
constexpr std::size_t mat5_type_size(std::uint32_t t) {
  switch (t) {
    case mi_int8: case mi_uint8: case mi_utf8: return 1;
    case mi_int16: case mi_uint16: case mi_utf16: return 2;
    case mi_int32: case mi_uint32: case mi_single: case mi_utf32: return 4;
    case mi_double: case mi_int64: case mi_uint64: return 8;
    default: return 0;
  }
}

inline constexpr std::uint64_t mat5_pad8(std::uint64_t n) { return (n + 7) & ~std::uint64_t{7}; }

// The variables of the level 5 file image [data, data + size), as mat5_read
// reads a file; `label` names it in messages.
std::vector<loaded_value> mat5_read_memory(const unsigned char* data, std::size_t size,
                                           const std::vector<std::string>& names, const std::string& label);

// A new value of kind `kind` owning *p; p is deleted when anything fails.
template <class P>
std::shared_ptr<zo_obj> mat_value(zo_type kind, std::unique_ptr<P> p) {
  auto v = std::make_shared<zo_obj>();
  *v = zo_obj(kind, p.release());
  return v;
}

// Chars (mat5_text.cpp).  The width of the UTF-16 form of the char array m
// (contiguous): its lines converted and padded with blanks to the longest;
// with `units`, also the code units themselves, column-major over the dims
// of m with the second one replaced by the width.
long mat5_chars_to_utf16(const matrix<char>& m, std::vector<std::uint16_t>* units);
// The char array of the code units (UTF-16 units or code points) laid out
// over `dims`: each line decoded to UTF-8 and padded with blanks to the
// longest.  REQUIRES: dims has two entries or more and units holds their
// product.
matrix<char> mat5_units_to_chars(std::vector<long> dims, const std::uint32_t* units);

}  // namespace internal
}  // namespace zorvat
