#include "value/zo_type.h"

namespace zorvat {

const char* type_str(zo_type t) {
  // Indexed by kind; 20, 23 and 24 have no name of their own on purpose.
  static const char* const names[] = {
      "error",          "int8",           "int16",         "int32",
      "int64",          "uint8",          "uint16",        "uint32",
      "uint64",         "double",         "single",        "complex double",
      "complex single", "char",           "logical",       "function_handle",
      "struct",         "string",         "control",       "handle matrix",
      "error",          "extern",         "void",          "error",
      "error",          "cell",           "sparse double", "sparse single",
      "sparse complex double", "sparse complex single", "sparse logical", "variable list",
  };
  static_assert(sizeof(names) / sizeof(names[0]) == 32, "one name per kind 0..31");
  const int i = static_cast<int>(t);
  return i >= 0 && i < 32 ? names[i] : "error";
}

const char* type_str(int t) { return type_str(static_cast<zo_type>(t)); }

}  // namespace zorvat
