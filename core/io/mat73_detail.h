// mat73_detail.h: what the version 7.3 sources share (not installed).
//
// Version 7.3 files are HDF5 files with a 512-byte header block, read and
// written through libmatio.  mat73.cpp opens and closes the files and walks
// the variables; mat73_write.cpp turns values into libmatio's variable trees
// (matvar_t), mat73_read.cpp turns trees back into values after checking
// every pointer, size and count that libmatio hands back; mat73_text.cpp
// converts char arrays between UTF-8 bytes and UTF-16 code units.
#pragma once

#include <matio.h>

#include <memory>
#include <string>
#include <vector>

#include "io/mat_file.h"
#include "matrix/matrix.h"
#include "value/zo_obj.h"

// The real element types that a version 7.3 file holds, each with its class
// and data type in libmatio:  X(element type, class, data type).
#define ZORVAT_FOR_EACH_MAT73_REAL_TYPE(X)      \
  X(double, MAT_C_DOUBLE, MAT_T_DOUBLE)         \
  X(float, MAT_C_SINGLE, MAT_T_SINGLE)          \
  X(signed char, MAT_C_INT8, MAT_T_INT8)        \
  X(short, MAT_C_INT16, MAT_T_INT16)            \
  X(int, MAT_C_INT32, MAT_T_INT32)              \
  X(long, MAT_C_INT64, MAT_T_INT64)             \
  X(unsigned char, MAT_C_UINT8, MAT_T_UINT8)    \
  X(unsigned short, MAT_C_UINT16, MAT_T_UINT16) \
  X(unsigned int, MAT_C_UINT32, MAT_T_UINT32)   \
  X(unsigned long, MAT_C_UINT64, MAT_T_UINT64)

namespace zorvat {
namespace internal {

// libmatio's class and data type of a real element type.
template <class T>
struct mat73_real;
#define ZORVAT_MAT73_REAL(T, C, D)                 \
  template <>                                      \
  struct mat73_real<T> {                           \
    static constexpr matio_classes class_type = C; \
    static constexpr matio_types data_type = D;    \
  };
ZORVAT_FOR_EACH_MAT73_REAL_TYPE(ZORVAT_MAT73_REAL)
#undef ZORVAT_MAT73_REAL

// Frees a libmatio variable with everything it owns.
struct matvar_deleter {
  void operator()(matvar_t* v) const { Mat_VarFree(v); }
};
using matvar_ptr = std::unique_ptr<matvar_t, matvar_deleter>;

// Buffers that variables made with MAT_F_DONT_COPY_DATA point into; they
// live until the variable has been written.
using mat73_arena = std::vector<std::shared_ptr<void>>;

// The tree of one variable (name null inside cells and structures).  Every
// buffer goes to `arena`.  Throws std::runtime_error naming `var` for a value
// that a version 7.3 file cannot hold.
matvar_ptr mat73_to_matvar(const char* name, const zo_obj* value, const std::string& var, mat73_arena& arena,
                           int depth);

// The value of a tree that libmatio read, after checking it; throws
// std::runtime_error naming `var` and `path` for anything malformed.
std::shared_ptr<zo_obj> mat73_from_matvar(const matvar_t* v, const std::string& path, const std::string& var,
                                          int depth);

// What a variable's tree (read without data) declares: its kind, dims and
// flags, with the bytes its data will take (cells and structures summed
// over their elements; saturating).  Throws like mat73_from_matvar.
mat_variable_info mat73_info(const matvar_t* v, const std::string& path, unsigned long& bytes);

// The dims of a checked variable and their product; throws the corrupt-file
// error for a null dims array, a rank below 1 or above the limit, or an
// element count that does not fit.
std::vector<long> mat73_dims(const matvar_t* v, const std::string& path, const std::string& var, long& count);

// The corrupt-file error for variable `var` of file `path`.
[[noreturn]] void mat73_corrupt(const std::string& path, const std::string& var);

// The deepest nesting of cells and structures read or written.
constexpr int mat73_max_depth = 200;

// Char arrays: every row (a line along the second dimension, one per
// subscript of the other dimensions) is converted on its own; rows that end
// up of different lengths are padded with spaces at their end.  A byte that
// starts no valid UTF-8 sequence stands for the character of its number;
// unpaired surrogates read back as U+FFFD.
// UTF-8 bytes -> UTF-16 code units, with the new dims.
std::vector<unsigned short> mat73_utf16_of(const matrix<char>& text, std::vector<long>& dims);
// UTF-16 code units (or code points for width 4, bytes for width 1) in
// column-major order with `dims` -> UTF-8 bytes.
matrix<char> mat73_utf8_of(const void* units, int width, const std::vector<long>& dims);

}  // namespace internal
}  // namespace zorvat
