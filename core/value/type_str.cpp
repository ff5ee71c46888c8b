#include "value/kind_table.h"
#include "value/zo_type.h"

namespace zorvat {

const char* type_str(zo_type t) { return internal::kind_name(static_cast<int>(t)); }

const char* type_str(int t) { return type_str(static_cast<zo_type>(t)); }

}  // namespace zorvat
