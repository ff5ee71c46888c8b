// builtins.h: the built-in functions of zorvat-host, one table row each
// (name, function, one-line help).
//
// A built-in receives the evaluated arguments and the number of outputs the
// caller asked for (0 for a call as a statement) and appends its results;
// it throws host_error(col) for arguments it cannot take.
//
//   if (const builtin* b = find_builtin("size")) b->fn(args, 2, out, col);
#pragma once

#include <string>
#include <vector>

#include "values.h"

namespace zorvat_host {

using builtin_fn = void (*)(const value_list& args, int nargout, std::vector<value_ptr>& out, int col);

struct builtin {
  const char* name;
  builtin_fn fn;
  const char* help;  // a catalogue key: shown as zorvat::tr(help)
};

// The row of a built-in, or null.
const builtin* find_builtin(const std::string& name);
// The names of the built-ins, in table order.
std::vector<const char*> builtin_names();
// The translated one-line help of a built-in, or null.
const char* builtin_help(const std::string& name);

// Argument helpers shared by the built-ins.
// Throws unless lo <= args.size() <= hi.
void check_args(const char* name, const value_list& args, size_t lo, size_t hi, int col);
double scalar_arg(const zo_obj& v, const char* what, int col);
long index_arg(double x, const char* what, int col);
std::string text_arg(const zo_obj& v, const char* what, int col);
// The dims of any value (1x1 for kinds without an array shape).
std::vector<long> value_dims(const zo_obj& v);
// The value of a double array.
value_ptr doubles(const std::vector<long>& dims, const std::vector<double>& v);
value_ptr number(double x);

// The built-in functions outside builtins.cpp (builtins_math.cpp, builtins_info.cpp).
void bi_sum(const value_list&, int, std::vector<value_ptr>&, int);
void bi_prod(const value_list&, int, std::vector<value_ptr>&, int);
void bi_min(const value_list&, int, std::vector<value_ptr>&, int);
void bi_max(const value_list&, int, std::vector<value_ptr>&, int);
void bi_abs(const value_list&, int, std::vector<value_ptr>&, int);
void bi_round(const value_list&, int, std::vector<value_ptr>&, int);
void bi_floor(const value_list&, int, std::vector<value_ptr>&, int);
void bi_ceil(const value_list&, int, std::vector<value_ptr>&, int);
void bi_sqrt(const value_list&, int, std::vector<value_ptr>&, int);
void bi_mod(const value_list&, int, std::vector<value_ptr>&, int);
void bi_size(const value_list&, int, std::vector<value_ptr>&, int);
void bi_numel(const value_list&, int, std::vector<value_ptr>&, int);
void bi_length(const value_list&, int, std::vector<value_ptr>&, int);
void bi_ndims(const value_list&, int, std::vector<value_ptr>&, int);
void bi_isempty(const value_list&, int, std::vector<value_ptr>&, int);
void bi_class(const value_list&, int, std::vector<value_ptr>&, int);
void bi_disp(const value_list&, int, std::vector<value_ptr>&, int);
void bi_num2str(const value_list&, int, std::vector<value_ptr>&, int);
void bi_fieldnames(const value_list&, int, std::vector<value_ptr>&, int);
void bi_isfield(const value_list&, int, std::vector<value_ptr>&, int);
void bi_full(const value_list&, int, std::vector<value_ptr>&, int);
void bi_nnz(const value_list&, int, std::vector<value_ptr>&, int);

}  // namespace zorvat_host
