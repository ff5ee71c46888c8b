// one_line.h: the one-line rendering of a value, as used by
// structure::to_string for its field lines.
//
// Defined by the display (display/obj2str.cpp, declared again in
// display/display.h): a quoted text, a compact row vector, or
// "[<brief type>]".  Structures depend on the display for it.
#pragma once

#include <string>

namespace zorvat {

class zo_obj;

namespace internal {

std::string obj2str_one_line(const zo_obj& obj);

}  // namespace internal
}  // namespace zorvat
