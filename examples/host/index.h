// index.h: indexing in zorvat-host: reading x(i), x(i,j), x(:), c{i} and
// s.name, and assigning into x(i,j) = v and c{i} = v, which grows the array
// (new elements are zero, or empty in a cell) as the language does.
//
//   std::vector<subscript> s{read_subscript(two, col), subscript::all()};
//   value_ptr row = index_read(*x, s, false, col);           // x(2, :)
//   x = index_assign(x, s, false, five, col);                // x(2, :) = 5
#pragma once

#include <string>
#include <vector>

#include "values.h"

namespace zorvat_host {

// One subscript: 0-based positions with the shape of the index value, or
// the whole extent (':').
struct subscript {
  bool colon = false;
  std::vector<long> pos;
  std::vector<long> dims{0, 0};
  static subscript all() {
    subscript s;
    s.colon = true;
    return s;
  }
};

// The positions of an index value: positive integers, or a logical mask.
subscript read_subscript(const zo_obj& v, int col);
// What `end` stands for in subscript k of n into v (0 when v is null).
long end_extent(const zo_obj* v, size_t k, size_t n);

// v(subs), or v{subs} with brace (one element of a cell).
value_ptr index_read(const zo_obj& v, const std::vector<subscript>& subs, bool brace, int col);
// The field `name` of a scalar structure.
value_ptr field_read(const zo_obj& v, const std::string& name, int col);
// A new value: target (null: not defined yet) with target(subs) = rhs, or
// target{subs} = rhs with brace.
value_ptr index_assign(const value_ptr& target, const std::vector<subscript>& subs, bool brace,
                       const value_ptr& rhs, int col);

// A new value: v without the elements that subs select (v(subs) = []).
value_ptr delete_elements(const zo_obj& v, const std::vector<subscript>& subs, int col);
// A new structure array: target (null: none yet) with target(subs) = rhs,
// rhs a structure of one record or of as many as subs select.  The result
// has the fields of both; fields that a record lacks are empty.
value_ptr struct_assign(const value_ptr& target, const std::vector<subscript>& subs, const value_ptr& rhs, int col);

}  // namespace zorvat_host
