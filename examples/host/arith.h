// arith.h: the arithmetic and comparisons of zorvat-host on the built-in
// numeric kinds (dense int8 ... logical).
//
// Elementwise + - .* ./ .^ and == ~= < <= > >= & | expand scalars; the
// result type follows the language: integer types saturate and keep their
// type (also with double), single wins over double, char and logical count
// as double, comparisons give logical.  * is the matrix product of 2-D
// floating arrays; unary - + ~ and the transposes ' .' complete the set.
//
//   value_ptr r = builtin_operator(zxOpPlus, {a, b}, col);   // null: not ours
#pragma once

#include "plugin/zx_types.h"
#include "values.h"

namespace zorvat_host {

// The result of op on operands that are all dense numeric, char or logical
// arrays; null when this host does not compute op for them (the caller then
// asks the plugin manager).  Throws host_error for a size mismatch or an
// invalid combination of types.
value_ptr builtin_operator(zxOperatorID op, const value_list& operands, int col);

// Whether t is complex double or complex single.
bool is_complex_kind(int t);

// The kind of an arithmetic result on kinds a and b: an integer type wins
// (two different ones are refused), then complex and single; char and
// logical count as double.
zorvat::zo_type result_kind(int a, int b, int col);

// The range a:s:b: n elements first + k*step (none when it runs the wrong
// way); a for loop walks it without making it.
struct range {
  double first = 0, step = 1;
  long n = 0;
  double at(long k) const { return first + k * step; }
};
range range_of(const zo_obj& a, const zo_obj* s, const zo_obj& b, int col);
// The range a:s:b as a 1xn double row.
value_ptr make_range(const zo_obj& a, const zo_obj* s, const zo_obj& b, int col);

}  // namespace zorvat_host
