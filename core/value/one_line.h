// one_line.h: the one-line rendering of a value, as used by
// structure::to_string for its field lines.
//
// The display subsystem defines it (quoted text, a compact row vector, or
// "[<brief type>]"); the values subsystem carries a weak fallback so that it
// links and works on its own.
#pragma once

#include <string>

namespace zorvat {

class zo_obj;

namespace internal {

std::string obj2str_one_line(const zo_obj& obj);

}  // namespace internal
}  // namespace zorvat
