// kind_list.h: the one list of value kinds and their payload types.
//
// ZORVAT_FOR_EACH_KIND lists every kind with a payload type:
//   X(kind, payload type, dense element type or void, filled by create_from_nullptr,
//     type_str name, short name in cell displays)
// Kinds not listed (0, 23, 24 and any other number) are named "error" and,
// in cells, "unknown"; kind 20 is listed with those names on purpose.  The
// complex kinds share their real counterparts' short names, and the sparse
// kinds and variable lists are "unknown" in cells, also on purpose.
// This header only declares the payload types, so zo_obj.h can expand the
// list for its debug check of get<T>(); kind_table.h builds the dispatch on
// it for the library's own sources, and kind_traits.h the classes of kinds.
#pragma once

namespace zorvat {
template <class T>
class matrix;
template <class T>
class sparse_matrix;
class cell_array;
class structure;
class VariableList;
class function_handle;
class extern_obj_base;
}  // namespace zorvat

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
