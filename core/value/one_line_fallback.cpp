// The fallback of obj2str_one_line for a library built without the display:
// weak, so the display's definition replaces it at link time.
#include "value/one_line.h"

#include "value/zo_obj.h"

namespace zorvat {
namespace internal {

__attribute__((weak)) std::string obj2str_one_line(const zo_obj& obj) {
  return "[" + obj.brief_type_str() + "]";
}

}  // namespace internal
}  // namespace zorvat
