// values.h: how zorvat-host builds values from its command language.
//
// The core has no arithmetic, so the host converts between element types
// itself, through one neutral form: the elements of a dense array as complex
// doubles in column-major order.  Every helper throws host_error (with a
// translated text) for arguments that it cannot take.
//
//   num_array a = read_array(v);          // any dense kind 1..14
//   zo_obj d = make_array(type_int8, a);  // rounded and saturated
#pragma once

#include <complex>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "memory/zo_malloc.h"
#include "value/zo_obj.h"

namespace zorvat_host {

using zorvat::zo_obj;
using value_ptr = std::shared_ptr<zo_obj>;
using value_list = std::vector<std::shared_ptr<const zo_obj>>;

// An error of the command language; `col` is the 1-based column of the
// offending text (0: the line as a whole).
class host_error : public std::runtime_error {
 public:
  host_error(const std::string& msg, int col) : std::runtime_error(msg), col_(col) {}
  int col() const { return col_; }

 private:
  int col_;
};

// The elements of a dense array, column-major, with its kind and dims (the
// neutral form of the constructors and of matrix literals).
struct num_array {
  zorvat::zo_type type = zorvat::type_double;
  std::vector<long> dims{0, 0};
  // Through the library's allocator: a refused block is its out-of-memory
  // error, which names the size.
  std::vector<std::complex<double>, zorvat::zo_allocator<std::complex<double>>> v;
  long count() const;
};

// The largest number of elements that a value made by the host may have;
// a larger one is an impossible size.  The fuzz target lowers it.
long& element_limit();
// The largest number of loop iterations that one run of a line (or block)
// may make; more is an error.  Unlimited unless the fuzz target lowers it.
long& iteration_limit();
// Throws host_error("interrupted") when Ctrl-C was pressed since the last
// check (and clears the request).  Long loops and kernels call it.
void check_interrupt();

// The element count of dims, or of a count given as a double; throws
// host_error(col) when it overflows or passes element_limit().
long checked_count(const std::vector<long>& dims, int col);
long checked_count_d(double n, int col);

// Whether v is a dense array of kinds 1..14 (numeric, char or logical).
bool is_dense_kind(const zo_obj& v);
// REQUIRES-free: throws host_error(col) for any other kind.
num_array read_array(const zo_obj& v, int col);
// A new array of kind t (1..14) from a's dims and elements: integers rounded
// half away from zero and saturated (NaN gives 0), logical is "not zero"
// (NaN is refused), char takes the code, real kinds drop the imaginary part.
zo_obj make_array(zorvat::zo_type t, const num_array& a, int col);

// The concatenation of a matrix literal: rows of elements.  Empty 0x0
// elements are skipped; row heights and column counts must agree.
zo_obj concat_rows(const std::vector<std::vector<value_ptr>>& rows, const std::vector<int>& row_cols);

}  // namespace zorvat_host
