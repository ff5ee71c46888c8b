// assign.h: assignment into subscripts and fields, in any order and depth:
// s.a = 5, s.a.b = [1 2], s(2).a = 1, c{3}.x = 1, x(:, 2) = [] (deletion).
//
// Values are never changed in place: every step builds a new value from the
// old one (whose payloads it shares) and the new part.
//
//   std::vector<accessor> path = {...};            // (2) then .a
//   value_ptr s2 = assign_path(s, path, 0, one);   // s(2).a = 1
#pragma once

#include <string>
#include <vector>

#include "index.h"

namespace zorvat_host {

// One step of an assignment's target: (subs), {subs} or .name.
struct accessor {
  enum kind_t { paren, brace, field } kind = paren;
  std::vector<subscript> subs;
  std::string name;
  int col = 0;
};

// What step a selects in v now; null when it selects nothing yet (a new
// field, a place beyond the end) or no single value.
value_ptr step_read(const zo_obj& v, const accessor& a);
// target (null: not defined yet) with path[k...] = rhs.  A last step (subs)
// with rhs an empty 0x0 double deletes the selected elements.
value_ptr assign_path(const value_ptr& target, const std::vector<accessor>& path, size_t k, const value_ptr& rhs);

}  // namespace zorvat_host
