// type_lists.h: the element-type families of the library, each listed once.
//
// Every explicit instantiation and every `extern template` of a template over
// element types is generated from one of these X-macros, so a family is
// written in exactly one place:
//
//   #define ZORVAT_INSTANTIATE(T) template class matrix<T>;
//   ZORVAT_FOR_EACH_DENSE_TYPE(ZORVAT_INSTANTIATE)
#pragma once

#include <complex>
#include <memory>
#include <string>

namespace zorvat {
class zo_obj;
struct zo_hdl_t;
}  // namespace zorvat

// The eight integer element types, signed then unsigned, by width.
#define ZORVAT_FOR_EACH_INTEGER_TYPE(X) \
  X(signed char) X(short) X(int) X(long) X(unsigned char) X(unsigned short) X(unsigned int) X(unsigned long)

// The four floating element types, real then complex: the types with a
// display scale and of sparse matrices besides logical.
#define ZORVAT_FOR_EACH_FLOATING_TYPE(X) X(double) X(float) X(std::complex<double>) X(std::complex<float>)

// The fourteen arithmetic and text element types: their blocks are zero-filled
// heap memory and their elements are copied as bytes.  Stream output
// (operator<<) exists for exactly these.
#define ZORVAT_FOR_EACH_ARITH_TYPE(X) \
  ZORVAT_FOR_EACH_FLOATING_TYPE(X) ZORVAT_FOR_EACH_INTEGER_TYPE(X) X(char) X(bool)

// The arithmetic element types without char: the numeric and logical arrays,
// which have numeric display texts.
#define ZORVAT_FOR_EACH_NUMERIC_TYPE(X) ZORVAT_FOR_EACH_FLOATING_TYPE(X) ZORVAT_FOR_EACH_INTEGER_TYPE(X) X(bool)

// The element types whose values convert to int32 (as_int_mat): the integer
// types, double and single.
#define ZORVAT_FOR_EACH_INT_MAT_SOURCE_TYPE(X) ZORVAT_FOR_EACH_INTEGER_TYPE(X) X(double) X(float)

// The three element types whose blocks are made with array new and whose
// elements are copied with their own copy assignment.
#define ZORVAT_FOR_EACH_OBJECT_TYPE(X) \
  X(::zorvat::zo_hdl_t) X(std::shared_ptr<::zorvat::zo_obj>) X(std::string)

// All seventeen element types of matrix<T>.
#define ZORVAT_FOR_EACH_DENSE_TYPE(X) \
  ZORVAT_FOR_EACH_ARITH_TYPE(X) ZORVAT_FOR_EACH_OBJECT_TYPE(X)

// The five element types of sparse_matrix<T>.
#define ZORVAT_FOR_EACH_SPARSE_TYPE(X) ZORVAT_FOR_EACH_FLOATING_TYPE(X) X(bool)

// The element types that zo_allocator<T> is instantiated for.
#define ZORVAT_FOR_EACH_ALLOC_TYPE(X) \
  X(double) X(float) X(std::complex<double>) X(std::complex<float>) X(long) X(bool)
