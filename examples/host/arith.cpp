// arith.cpp: zorvat-host's arithmetic on matrix<T>.
//
// Operands are first converted to one working element type W (double,
// float or their complex forms; integers are computed in double and then
// rounded and saturated into their own type), combined element by element
// with scalar expansion, and the result is converted to its final kind.
#include "arith.h"

#include <cmath>
#include <limits>

#include "memory/str_util.h"
#include "plugin/operator_table.h"
#include "typed.h"
#include "value/zo_type.h"

namespace zorvat_host {

using zorvat::matrix;
using zorvat::str_format;
using zorvat::tr;
using zorvat::zo_type;

namespace {

bool is_int_kind(int t) { return zorvat::internal::is_integer_kind(t); }
bool is_single_kind(int t) { return t == zorvat::type_single || t == zorvat::type_complex_single; }

std::string dims_text(const std::vector<long>& d) {
  std::string s;
  for (size_t k = 0; k < d.size(); ++k) s += (k ? "x" : "") + std::to_string(d[k]);
  return s;
}

}  // namespace

// Dense complex arrays: the only complex operands of the host's arithmetic.
bool is_complex_kind(int t) { return zorvat::internal::is_complex_kind(t) && !zorvat::internal::is_sparse_kind(t); }

zo_type result_kind(int a, int b, int col) {
  const bool ia = is_int_kind(a), ib = is_int_kind(b);
  if (ia && ib && a != b)
    throw host_error(str_format(tr("整数类型 %s 和 %s 不能混合运算"), zorvat::type_str(a), zorvat::type_str(b)), col);
  if (ia || ib) {
    if (is_complex_kind(ia ? b : a)) throw host_error(tr("整数类型不能与复数混合运算"), col);
    return zo_type(ia ? a : b);
  }
  const bool s = is_single_kind(a) || is_single_kind(b), c = is_complex_kind(a) || is_complex_kind(b);
  if (c) return s ? zorvat::type_complex_single : zorvat::type_complex_double;
  return s ? zorvat::type_single : zorvat::type_double;
}

namespace {

// Calls f(type_tag<W>) with the working element type of result kind k.
template <class F>
decltype(auto) with_work_type(zo_type k, F&& f) {
  switch (k) {
    case zorvat::type_single: return f(type_tag<float>{});
    case zorvat::type_complex_double: return f(type_tag<std::complex<double>>{});
    case zorvat::type_complex_single: return f(type_tag<std::complex<float>>{});
    default: return f(type_tag<double>{});  // double, and integers computed in double
  }
}

std::vector<long> common_dims(const zorvat::matrix_base& a, const zorvat::matrix_base& b, zxOperatorID op,
                              int col) {
  if (a.dim_vec() == b.dim_vec() || b.is_scalar()) return a.dim_vec();
  if (a.is_scalar()) return b.dim_vec();
  throw host_error(str_format(tr("运算符 %s 的操作数大小不一致：%s 与 %s"), zorvat::internal::operator_symbol_of(op),
                              dims_text(a.dim_vec()).c_str(), dims_text(b.dim_vec()).c_str()),
                   col);
}

// out(k) = f(a(k), b(k)) with scalar expansion; a and b are standard.
template <class R, class W, class F>
matrix<R> zip(const matrix<W>& a, const matrix<W>& b, const std::vector<long>& dims, F f) {
  matrix<R> out(dims);
  const long n = out.size(), sa = a.size() == 1 ? 0 : 1, sb = b.size() == 1 ? 0 : 1;
  const W* pa = a.data();
  const W* pb = b.data();
  R* po = out.data();
  for (long k = 0; k < n; ++k) po[k] = f(pa[k * sa], pb[k * sb]);
  return out;
}

// A NaN as the language shows it: without the sign that the processor
// leaves on an invalid operation (0/0 gives -NaN on x86).
template <class R>
R plain_nan(R x) {
  return std::isnan(x) ? std::numeric_limits<R>::quiet_NaN() : x;
}

// The final value of a result computed in W: NaN loses its sign, complex
// results whose imaginary parts are all zero become real, integer kinds are
// rounded and saturated.
template <class W>
value_ptr finish(matrix<W>&& r, zo_type kind, int col) {
  W* q = r.data();
  for (long k = 0; k < r.size(); ++k) {
    if constexpr (is_complex_v<W>) q[k] = W(plain_nan(q[k].real()), plain_nan(q[k].imag()));
    else q[k] = plain_nan(q[k]);
  }
  if constexpr (is_complex_v<W>) {
    using R = typename W::value_type;
    const W* p = r.data();
    for (long k = 0; k < r.size(); ++k)
      if (p[k].imag() != 0 || std::isnan(p[k].imag())) return wrap(std::move(r));
    matrix<R> real(r.dim_vec());
    for (long k = 0; k < r.size(); ++k) real.data()[k] = p[k].real();
    return finish(std::move(real), std::is_same_v<R, float> ? zorvat::type_single : zorvat::type_double, col);
  } else {
    if (!is_int_kind(kind)) return wrap(std::move(r));
    return visit_arith(
        kind,
        [&](auto tag) {
          using T = typename decltype(tag)::type;
          matrix<T> m(r.dim_vec());
          for (long k = 0; k < r.size(); ++k) m.data()[k] = from_cplx<T>(cplx(r.data()[k]), col);
          return wrap(std::move(m));
        },
        col);
  }
}

// Calls f with the element function of an arithmetic operator on W.
template <class W, class F>
decltype(auto) with_arith_fn(zxOperatorID op, F&& f) {
  switch (op) {
    case zxOpPlus: return f([](W x, W y) { return x + y; });
    case zxOpMinus: return f([](W x, W y) { return x - y; });
    case zxOpElemMul: return f([](W x, W y) { return x * y; });
    case zxOpElemRDiv: return f([](W x, W y) { return x / y; });
    case zxOpElemLDiv: return f([](W x, W y) { return y / x; });
    default: return f([](W x, W y) { return W(std::pow(x, y)); });  // zxOpElemPow
  }
}

// A real power with a negative base and a fractional exponent is complex.
template <class W>
bool needs_complex_power(const matrix<W>& a, const matrix<W>& b, long n) {
  const long sa = a.size() == 1 ? 0 : 1, sb = b.size() == 1 ? 0 : 1;
  for (long k = 0; k < n; ++k)
    if (a.data()[k * sa] < 0 && b.data()[k * sb] != std::floor(b.data()[k * sb])) return true;
  return false;
}

template <class W>
value_ptr arith_in(zxOperatorID op, const zo_obj& a, const zo_obj& b, zo_type kind, int col) {
  const matrix<W> x = convert_matrix<W>(a, col), y = convert_matrix<W>(b, col);
  const std::vector<long> dims = common_dims(x, y, op, col);
  if constexpr (!is_complex_v<W>) {
    if (op == zxOpElemPow && !is_int_kind(kind) && needs_complex_power(x, y, checked_count(dims, col)))
      return arith_in<std::complex<W>>(op, a, b, kind, col);
  }
  checked_count(dims, col);
  return with_arith_fn<W>(op, [&](auto f) { return finish(zip<W>(x, y, dims, f), kind, col); });
}

value_ptr elementwise(zxOperatorID op, const zo_obj& a, const zo_obj& b, int col) {
  const zo_type kind = result_kind(a.type, b.type, col);
  return with_work_type(kind, [&](auto tag) { return arith_in<typename decltype(tag)::type>(op, a, b, kind, col); });
}

// The matrix product of two 2-D arrays of W.
template <class W>
matrix<W> product(const matrix<W>& a, const matrix<W>& b, int col) {
  if (a.ndims() > 2 || b.ndims() > 2 || a.cols() != b.rows())
    throw host_error(str_format(tr("矩阵乘法的内维不一致：%s 与 %s"), dims_text(a.dim_vec()).c_str(),
                                dims_text(b.dim_vec()).c_str()),
                     col);
  const long m = a.rows(), n = b.cols(), inner = a.cols();
  checked_count({m, n}, col);
  matrix<W> out(m, n);
  for (long j = 0; j < n; ++j) {
    check_interrupt();  // a large product stops within a column's work
    for (long k = 0; k < inner; ++k) {
      const W bkj = b.data()[k + j * inner];
      for (long i = 0; i < m; ++i) out.data()[i + j * m] += a.data()[i + k * m] * bkj;
    }
  }
  return out;
}

value_ptr matrix_product(const zo_obj& a, const zo_obj& b, int col) {
  const zo_type kind = result_kind(a.type, b.type, col);
  if (is_int_kind(kind)) throw host_error(tr("整数类型的数组不支持矩阵乘法；请用 .*"), col);
  return with_work_type(kind, [&](auto tag) {
    using W = typename decltype(tag)::type;
    return finish(product(convert_matrix<W>(a, col), convert_matrix<W>(b, col), col), kind, col);
  });
}

template <class W>
bool is_true(W x, int col) {
  if (x != x) throw host_error(tr("NaN 不能转换为逻辑值"), col);
  return x != W(0);
}

// Comparisons and & |, computed in double (complex when either operand is).
template <class W>
value_ptr compare_in(zxOperatorID op, const zo_obj& a, const zo_obj& b, int col) {
  const matrix<W> x = convert_matrix<W>(a, col), y = convert_matrix<W>(b, col);
  const std::vector<long> dims = common_dims(x, y, op, col);
  checked_count(dims, col);
  auto re = [](W v) { return std::real(v); };
  switch (op) {
    case zxOpLt: return wrap(zip<bool>(x, y, dims, [&](W p, W q) { return re(p) < re(q); }));
    case zxOpGt: return wrap(zip<bool>(x, y, dims, [&](W p, W q) { return re(p) > re(q); }));
    case zxOpLe: return wrap(zip<bool>(x, y, dims, [&](W p, W q) { return re(p) <= re(q); }));
    case zxOpGe: return wrap(zip<bool>(x, y, dims, [&](W p, W q) { return re(p) >= re(q); }));
    case zxOpNe: return wrap(zip<bool>(x, y, dims, [](W p, W q) { return p != q; }));
    case zxOpEq: return wrap(zip<bool>(x, y, dims, [](W p, W q) { return p == q; }));
    case zxOpAnd: return wrap(zip<bool>(x, y, dims, [&](W p, W q) { return is_true(p, col) && is_true(q, col); }));
    default: return wrap(zip<bool>(x, y, dims, [&](W p, W q) { return is_true(p, col) || is_true(q, col); }));
  }
}

value_ptr compare(zxOperatorID op, const zo_obj& a, const zo_obj& b, int col) {
  if (is_complex_kind(a.type) || is_complex_kind(b.type)) return compare_in<cplx>(op, a, b, col);
  return compare_in<double>(op, a, b, col);
}

value_ptr transpose(const zo_obj& a, bool conjugate, int col) {
  return visit_arith(
      a.type,
      [&](auto tag) {
        using T = typename decltype(tag)::type;
        const matrix<T> m = a.get<matrix<T>>().contiguous();
        if (m.ndims() > 2) throw host_error(tr("多维数组不能转置"), col);
        const long r = m.rows(), c = m.cols();
        matrix<T> out(c, r);
        for (long j = 0; j < c; ++j)
          for (long i = 0; i < r; ++i) {
            T x = m.data()[i + j * r];
            if constexpr (is_complex_v<T>)
              if (conjugate) x = std::conj(x);
            out.data()[j + i * c] = x;
          }
        return wrap(std::move(out));
      },
      col);
}

value_ptr unary(zxOperatorID op, const value_ptr& a, int col) {
  const int t = a->type;
  const bool as_double = t == zorvat::type_char || t == zorvat::type_logical;
  switch (op) {
    case zxOpUPlus:
      return as_double ? wrap(convert_matrix<double>(*a, col)) : std::const_pointer_cast<zo_obj>(a);
    case zxOpUMinus: {
      const zo_type kind = as_double ? zorvat::type_double : zo_type(t);
      return with_work_type(kind, [&](auto tag) {
        using W = typename decltype(tag)::type;
        matrix<W> m = convert_matrix<W>(*a, col);
        for (long k = 0; k < m.size(); ++k) m.data()[k] = -m.data()[k];
        return finish(std::move(m), kind, col);
      });
    }
    case zxOpNot: {
      const matrix<cplx> m = convert_matrix<cplx>(*a, col);
      matrix<bool> out(m.dim_vec());
      for (long k = 0; k < m.size(); ++k) out.data()[k] = !is_true(m.data()[k], col);
      return wrap(std::move(out));
    }
    case zxOpTranspose: return transpose(*a, false, col);
    case zxOpCTranspose: return transpose(*a, true, col);
    default: return nullptr;
  }
}

}  // namespace

value_ptr builtin_operator(zxOperatorID op, const value_list& v, int col) {
  for (const auto& x : v)
    if (!x || !is_dense_kind(*x)) return nullptr;
  if (v.size() == 1) return unary(op, std::const_pointer_cast<zo_obj>(v[0]), col);
  if (v.size() != 2) return nullptr;
  const zo_obj &a = *v[0], &b = *v[1];
  const bool sa = a.array_base()->is_scalar(), sb = b.array_base()->is_scalar();
  switch (op) {
    case zxOpPlus:
    case zxOpMinus:
    case zxOpElemMul:
    case zxOpElemRDiv:
    case zxOpElemLDiv:
    case zxOpElemPow: return elementwise(op, a, b, col);
    case zxOpMul: return sa || sb ? elementwise(zxOpElemMul, a, b, col) : matrix_product(a, b, col);
    case zxOpRDiv: return sb ? elementwise(zxOpElemRDiv, a, b, col) : nullptr;
    case zxOpLDiv: return sa ? elementwise(zxOpElemLDiv, a, b, col) : nullptr;
    case zxOpPow: return sa && sb ? elementwise(zxOpElemPow, a, b, col) : nullptr;
    case zxOpLt:
    case zxOpGt:
    case zxOpLe:
    case zxOpGe:
    case zxOpNe:
    case zxOpEq:
    case zxOpAnd:
    case zxOpOr: return compare(op, a, b, col);
    default: return nullptr;
  }
}

range range_of(const zo_obj& a, const zo_obj* s, const zo_obj& b, int col) {
  auto scalar = [&](const zo_obj& v) {
    if (!is_dense_kind(v) || is_complex_kind(v.type)) throw host_error(tr("范围的端点和步长必须是实数标量"), col);
    const matrix<double> m = convert_matrix<double>(v, col);
    if (m.size() != 1) throw host_error(tr("范围的端点和步长必须是实数标量"), col);
    return m.data()[0];
  };
  range r;
  r.first = scalar(a);
  r.step = s ? scalar(*s) : 1.0;
  const double q = (scalar(b) - r.first) / r.step;
  if (!std::isnan(q) && q >= 0) r.n = checked_count_d(std::floor(q + 1e-10) + 1, col);
  return r;
}

value_ptr make_range(const zo_obj& a, const zo_obj* s, const zo_obj& b, int col) {
  const range r = range_of(a, s, b, col);
  matrix<double> out(1, r.n);
  for (long k = 0; k < r.n; ++k) out.data()[k] = r.at(k);
  return wrap(std::move(out));
}

}  // namespace zorvat_host
