// builtins_math.cpp: zorvat-host's numeric built-ins: sum, prod, min, max,
// abs, round, floor, ceil, sqrt and mod.
//
// They compute on the neutral form (complex doubles, column-major) and give
// the kind the language gives: integer kinds and single keep their kind
// (integers rounded and saturated), char and logical count as double.
#include <cmath>
#include <limits>

#include "arith.h"
#include "builtins.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "typed.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;
using zorvat::zo_type;

namespace {

// The kind of a result computed from an operand of kind t.
zo_type numeric_kind(int t) {
  return t == zorvat::type_char || t == zorvat::type_logical ? zorvat::type_double : zo_type(t);
}

// The value of a: NaN without a sign, complex kinds made real when no
// element has an imaginary part.
value_ptr finish_array(zo_type kind, num_array& a, int col) {
  bool imaginary = false;
  for (cplx& z : a.v) {
    double re = z.real(), im = z.imag();
    if (std::isnan(re)) re = std::numeric_limits<double>::quiet_NaN();
    if (std::isnan(im)) im = std::numeric_limits<double>::quiet_NaN();
    z = cplx(re, im);
    imaginary = imaginary || im != 0;
  }
  if (is_complex_kind(kind) && !imaginary)
    kind = kind == zorvat::type_complex_single ? zorvat::type_single : zorvat::type_double;
  a.type = kind;
  return std::make_shared<zo_obj>(make_array(kind, a, col));
}

// The dimension that sum, prod, min and max work along: the argument at
// args[k] (1-based), else the first one that is not 1.
size_t work_dim(const value_list& args, size_t k, const std::vector<long>& dims, int col) {
  if (args.size() > k) {
    const long d = index_arg(scalar_arg(*args[k], tr("维数"), col), tr("维数"), col);
    if (d < 1) throw host_error(tr("维数必须是正整数"), col);
    return d - 1;
  }
  for (size_t k2 = 0; k2 < dims.size(); ++k2)
    if (dims[k2] != 1) return k2;
  return 0;
}

// Calls f(first, stride, count, out position) for every line of a along dim;
// returns the dims of the result (dim made 1).
template <class F>
std::vector<long> along(const num_array& a, size_t dim, F f) {
  std::vector<long> dims = a.dims;
  while (dims.size() <= dim) dims.push_back(1);
  long inner = 1, outer = 1;
  for (size_t k = 0; k < dims.size(); ++k) (k < dim ? inner : outer) *= k == dim ? 1 : dims[k];
  const long len = dims[dim];
  dims[dim] = 1;
  for (long o = 0; o < outer; ++o)
    for (long i = 0; i < inner; ++i) f(i + o * inner * len, inner, len, i + o * inner);
  while (dims.size() > 2 && dims.back() == 1) dims.pop_back();
  return dims;
}

template <bool Product>
void reduce(const char* name, const value_list& args, std::vector<value_ptr>& out, int col) {
  check_args(name, args, 1, 2, col);
  num_array a = read_array(*args[0], col);
  if (args.size() == 1 && a.dims.size() == 2 && a.dims[0] == 0 && a.dims[1] == 0) a.dims = {1, 0};  // sum([]) is 0
  num_array r;
  r.v.assign(1, cplx());
  r.dims = along(a, work_dim(args, 1, a.dims, col), [&](long first, long stride, long len, long at) {
    if (static_cast<long>(r.v.size()) <= at) r.v.resize(at + 1);
    cplx acc = Product ? 1 : 0;
    for (long l = 0; l < len; ++l) acc = Product ? acc * a.v[first + l * stride] : acc + a.v[first + l * stride];
    r.v[at] = acc;
  });
  r.v.resize(checked_count(r.dims, col));
  out.push_back(finish_array(numeric_kind(a.type), r, col));
}

// min/max: (x), (x, [], dim) with the positions as second output, or (a, b)
// elementwise with scalar expansion.  NaN is skipped unless all are NaN.
template <bool Max>
void extreme(const char* name, const value_list& args, int nargout, std::vector<value_ptr>& out, int col) {
  check_args(name, args, 1, 3, col);
  const auto better = [](double x, double best) { return Max ? x > best : x < best; };
  for (const auto& v : args)
    if (is_complex_kind(v->type)) throw host_error(str_format(tr("%s 不支持复数"), name), col);
  if (args.size() == 2) {
    if (nargout > 1) throw host_error(str_format(tr("%s(a, b) 只有一个输出"), name), col);
    num_array a = read_array(*args[0], col), b = read_array(*args[1], col);
    const zo_type kind = result_kind(a.type, b.type, col);
    if (a.count() == 1 && b.count() != 1) std::swap(a, b);
    if (b.count() != 1 && b.dims != a.dims)
      throw host_error(str_format(tr("%s 的两个参数大小不一致"), name), col);
    for (long k = 0; k < a.count(); ++k) {
      const double y = b.v[b.count() == 1 ? 0 : k].real();
      if (std::isnan(a.v[k].real()) || better(y, a.v[k].real())) a.v[k] = y;
    }
    out.push_back(finish_array(kind, a, col));
    return;
  }
  if (args.size() == 3 && read_array(*args[1], col).count() != 0)
    throw host_error(str_format(tr("%s 的第二个参数必须是 []"), name), col);
  num_array a = read_array(*args[0], col);
  num_array r, pos;
  const auto line = [&](long first, long stride, long len, long at) {
    if (static_cast<long>(r.v.size()) <= at) r.v.resize(at + 1), pos.v.resize(at + 1);
    long best = 0;
    for (long l = 1; l < len; ++l) {
      const double x = a.v[first + l * stride].real(), b = a.v[first + best * stride].real();
      if (!std::isnan(x) && (std::isnan(b) || better(x, b))) best = l;
    }
    r.v[at] = len ? a.v[first + best * stride] : cplx();
    pos.v[at] = static_cast<double>(best + 1);
  };
  const bool none = a.count() == 0 && args.size() == 1;  // min([]) is []
  const std::vector<long> dims = none ? std::vector<long>{0, 0} : along(a, work_dim(args, 2, a.dims, col), line);
  r.dims = pos.dims = dims;
  r.v.resize(checked_count(dims, col));
  pos.v.resize(r.v.size());
  out.push_back(finish_array(numeric_kind(a.type), r, col));
  if (nargout > 1) out.push_back(finish_array(zorvat::type_double, pos, col));
}

// An elementwise function of one argument; real_kind: the result is real
// (abs of a complex array).
template <class F>
void map(const char* name, const value_list& args, std::vector<value_ptr>& out, int col, F f) {
  check_args(name, args, 1, 1, col);
  num_array a = read_array(*args[0], col);
  zo_type kind = numeric_kind(a.type);
  bool to_complex = false;
  for (cplx& z : a.v) {
    z = f(z);
    to_complex = to_complex || z.imag() != 0;
  }
  if (to_complex && !is_complex_kind(kind))
    kind = kind == zorvat::type_single ? zorvat::type_complex_single : zorvat::type_complex_double;
  out.push_back(finish_array(kind, a, col));
}

cplx round_half_away(cplx z) { return cplx(std::round(z.real()), std::round(z.imag())); }

}  // namespace

void bi_sum(const value_list& a, int, std::vector<value_ptr>& out, int col) { reduce<false>("sum", a, out, col); }
void bi_prod(const value_list& a, int, std::vector<value_ptr>& out, int col) { reduce<true>("prod", a, out, col); }
void bi_min(const value_list& a, int n, std::vector<value_ptr>& out, int col) { extreme<false>("min", a, n, out, col); }
void bi_max(const value_list& a, int n, std::vector<value_ptr>& out, int col) { extreme<true>("max", a, n, out, col); }
void bi_abs(const value_list& a, int, std::vector<value_ptr>& out, int col) {
  map("abs", a, out, col, [](cplx z) { return cplx(std::abs(z)); });
}
void bi_round(const value_list& a, int, std::vector<value_ptr>& out, int col) { map("round", a, out, col, round_half_away); }
void bi_floor(const value_list& a, int, std::vector<value_ptr>& out, int col) {
  map("floor", a, out, col, [](cplx z) { return cplx(std::floor(z.real()), std::floor(z.imag())); });
}
void bi_ceil(const value_list& a, int, std::vector<value_ptr>& out, int col) {
  map("ceil", a, out, col, [](cplx z) { return cplx(std::ceil(z.real()), std::ceil(z.imag())); });
}
void bi_sqrt(const value_list& a, int, std::vector<value_ptr>& out, int col) {
  check_args("sqrt", a, 1, 1, col);
  if (a[0]->type <= zorvat::type_uint64) throw host_error(tr("sqrt 不支持整数类型"), col);
  map("sqrt", a, out, col, [](cplx z) { return z.imag() == 0 && !(z.real() < 0) ? cplx(std::sqrt(z.real())) : std::sqrt(z); });
}

void bi_mod(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("mod", args, 2, 2, col);
  if (is_complex_kind(args[0]->type) || is_complex_kind(args[1]->type))
    throw host_error(str_format(tr("%s 不支持复数"), "mod"), col);
  num_array a = read_array(*args[0], col), b = read_array(*args[1], col);
  const zo_type kind = result_kind(a.type, b.type, col);
  if (a.count() == 1 && b.count() != 1) {
    num_array s = a;
    a = b;
    a.v.assign(b.count(), s.v[0]);
  }
  if (b.count() != 1 && b.dims != a.dims) throw host_error(str_format(tr("%s 的两个参数大小不一致"), "mod"), col);
  for (long k = 0; k < a.count(); ++k) {
    const double x = a.v[k].real(), y = b.v[b.count() == 1 ? 0 : k].real();
    a.v[k] = y == 0 ? x : x - std::floor(x / y) * y;
  }
  out.push_back(finish_array(kind, a, col));
}

}  // namespace zorvat_host
