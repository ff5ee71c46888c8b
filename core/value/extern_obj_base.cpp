#include "value/extern_obj_base.h"

#include "value/zo_type.h"

namespace zorvat {

extern_obj_base* extern_obj_base::dup() const { return nullptr; }

extern_obj_base::~extern_obj_base() = default;

std::string extern_obj_base::to_string() const { return std::string(); }

std::string extern_obj_base::classname() const { return "extern object"; }

int extern_obj_base::type_id() const { return type_extern; }

}  // namespace zorvat
