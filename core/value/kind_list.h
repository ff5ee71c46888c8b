// kind_list.h: the one list of value kinds and their payload types.
//
// ZORVAT_FOR_EACH_KIND lists every kind with a payload type:
//   X(kind, payload type, dense element type or void, filled by create_from_nullptr)
// This header only declares the payload types, so zo_obj.h can expand the
// list for its debug check of get<T>(); kind_table.h builds the dispatch on
// it for the library's own sources.
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

#define ZORVAT_FOR_EACH_KIND(X)                                                                   \
  X(::zorvat::type_int8, ::zorvat::matrix<signed char>, signed char, true)                       \
  X(::zorvat::type_int16, ::zorvat::matrix<short>, short, true)                                  \
  X(::zorvat::type_int32, ::zorvat::matrix<int>, int, true)                                      \
  X(::zorvat::type_int64, ::zorvat::matrix<long>, long, true)                                    \
  X(::zorvat::type_uint8, ::zorvat::matrix<unsigned char>, unsigned char, true)                  \
  X(::zorvat::type_uint16, ::zorvat::matrix<unsigned short>, unsigned short, true)               \
  X(::zorvat::type_uint32, ::zorvat::matrix<unsigned int>, unsigned int, true)                   \
  X(::zorvat::type_uint64, ::zorvat::matrix<unsigned long>, unsigned long, true)                 \
  X(::zorvat::type_double, ::zorvat::matrix<double>, double, true)                               \
  X(::zorvat::type_single, ::zorvat::matrix<float>, float, true)                                 \
  X(::zorvat::type_complex_double, ::zorvat::matrix<std::complex<double>>, std::complex<double>, \
    true)                                                                                        \
  X(::zorvat::type_complex_single, ::zorvat::matrix<std::complex<float>>, std::complex<float>,   \
    true)                                                                                        \
  X(::zorvat::type_char, ::zorvat::matrix<char>, char, true)                                     \
  X(::zorvat::type_logical, ::zorvat::matrix<bool>, bool, true)                                  \
  X(::zorvat::type_function_handle, ::zorvat::function_handle, void, false)                      \
  X(::zorvat::type_struct, ::zorvat::structure, void, false)                                     \
  X(::zorvat::type_string, ::zorvat::matrix<std::string>, std::string, false)                    \
  X(::zorvat::type_control, ::zorvat::controlType, void, false)                                  \
  X(::zorvat::type_handle, ::zorvat::matrix<::zorvat::zo_hdl_t>, ::zorvat::zo_hdl_t, false)      \
  X(::zorvat::type_draw, ::zorvat::draw_t, void, false)                                          \
  X(::zorvat::type_extern, ::zorvat::extern_obj_base, void, false)                               \
  X(::zorvat::type_void, int, void, false)                                                       \
  X(::zorvat::type_cell, ::zorvat::cell_array, void, false)                                      \
  X(::zorvat::type_sparse_double, ::zorvat::sparse_matrix<double>, void, true)                   \
  X(::zorvat::type_sparse_single, ::zorvat::sparse_matrix<float>, void, true)                    \
  X(::zorvat::type_sparse_complex_double, ::zorvat::sparse_matrix<std::complex<double>>, void,   \
    true)                                                                                        \
  X(::zorvat::type_sparse_complex_single, ::zorvat::sparse_matrix<std::complex<float>>, void,    \
    true)                                                                                        \
  X(::zorvat::type_sparse_logical, ::zorvat::sparse_matrix<bool>, void, true)                    \
  X(::zorvat::type_variable_list, ::zorvat::VariableList, void, false)
