// values.cpp: element conversion and matrix literals of zorvat-host.
#include "values.h"

#include <cmath>
#include <limits>

#include "matrix/matrix.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "typed.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;

long num_array::count() const {
  long n = 1;
  for (long d : dims) n *= d;
  return n;
}

long& element_limit() {
  static long limit = 1L << 40;
  return limit;
}

long& iteration_limit() {
  static long limit = std::numeric_limits<long>::max();
  return limit;
}

static host_error impossible_size(int col) {
  return host_error(str_format(tr("所需的数组大小无法实现（超过 %ld 个元素）"), element_limit()), col);
}

long checked_count(const std::vector<long>& dims, int col) {
  long n = 1;
  for (long d : dims)
    if (d < 0 || __builtin_mul_overflow(n, d, &n) || n > element_limit()) throw impossible_size(col);
  return n;
}

long checked_count_d(double n, int col) {
  if (!(n >= 0) || n > static_cast<double>(element_limit())) throw impossible_size(col);
  return static_cast<long>(n);
}

bool is_dense_kind(const zo_obj& v) { return zorvat::internal::is_scalar_dense_kind(v.type); }

num_array read_array(const zo_obj& v, int col) {
  if (!is_dense_kind(v))
    throw host_error(str_format(tr("不能把 %s 类型的值用作数值数组"), v.brief_type_str().c_str()), col);
  num_array a;
  a.type = v.type;
  visit_arith(v.type, [&](auto tag) {
    using T = typename decltype(tag)::type;
    const auto& m = v.get<zorvat::matrix<T>>();
    a.dims = m.dim_vec();
    a.v.reserve(m.size());
    if (m.size() > 0)
      for (auto it = m.begin(); it != m.end(); ++it) a.v.push_back(to_cplx(*it));
    return 0;
  }, col);
  return a;
}

zo_obj make_array(zorvat::zo_type t, const num_array& a, int col) {
  checked_count(a.dims, col);
  return visit_arith(t, [&](auto tag) {
    using T = typename decltype(tag)::type;
    zorvat::matrix<T> m(a.dims);
    T* p = m.data();
    for (size_t k = 0; k < a.v.size(); ++k) p[k] = from_cplx<T>(a.v[k], col);
    return zo_obj(*wrap(std::move(m)));
  }, col);
}

// Calls place(v, i0, j0) for the non-empty elements of rows, each at its
// top-left corner in the concatenation.
template <class F>
void for_each_part(const std::vector<std::vector<const zo_obj*>>& parts, const std::vector<long>& heights, F place) {
  long row0 = 0;
  for (size_t r = 0; r < parts.size(); ++r) {
    long col0 = 0;
    for (const zo_obj* v : parts[r]) {
      place(*v, row0, col0);
      col0 += v->array_base()->dim_vec()[1];
    }
    row0 += heights[r];
  }
}

zo_obj concat_rows(const std::vector<std::vector<value_ptr>>& rows, const std::vector<int>& row_cols) {
  // The result kind: char if all are char, logical if all are logical, else
  // the first integer kind, else complex, single or double.  The sizes are
  // checked before any element is read; then each is converted in turn (or,
  // all of them double, copied as they are).
  bool all_char = true, all_logical = true, all_double = true, any_complex = false, any_single = false;
  zorvat::zo_type int_kind = zorvat::type_error;
  std::vector<std::vector<const zo_obj*>> parts;
  std::vector<long> heights;
  long total_rows = 0, total_cols = -1;
  for (size_t r = 0; r < rows.size(); ++r) {
    std::vector<const zo_obj*> row;
    long height = -1, width = 0;
    for (size_t e = 0; e < rows[r].size(); ++e) {
      const zo_obj& v = *rows[r][e];
      if (!is_dense_kind(v)) read_array(v, row_cols[r]);  // throws its error
      const std::vector<long> d = v.array_base()->dim_vec();
      if (d.size() > 2) throw host_error(tr("矩阵字面量中不能连接多维数组"), row_cols[r]);
      if (d[0] * d[1] == 0) continue;
      if (height >= 0 && d[0] != height) throw host_error(tr("水平连接的各元素行数不一致"), row_cols[r]);
      height = d[0];
      width += d[1];
      all_char = all_char && v.type == zorvat::type_char;
      all_logical = all_logical && v.type == zorvat::type_logical;
      all_double = all_double && v.type == zorvat::type_double;
      any_complex = any_complex || v.type == zorvat::type_complex_double || v.type == zorvat::type_complex_single;
      any_single = any_single || v.type == zorvat::type_single || v.type == zorvat::type_complex_single;
      if (v.type <= zorvat::type_uint64 && int_kind == zorvat::type_error) int_kind = v.type;
      row.push_back(&v);
    }
    if (row.empty()) continue;
    if (total_cols >= 0 && width != total_cols)
      throw host_error(tr("垂直连接的各行列数不一致"), row_cols[r]);
    total_cols = width;
    total_rows += height;
    parts.push_back(std::move(row));
    heights.push_back(height);
  }
  const int col = row_cols.empty() ? 0 : row_cols[0];
  const std::vector<long> dims{total_rows, total_cols < 0 ? 0 : total_cols};
  checked_count(dims, col);
  if (all_double) {
    zorvat::matrix<double> m(dims);
    double* out = m.data();
    for_each_part(parts, heights, [&](const zo_obj& v, long i0, long j0) {
      const auto& a = v.get<zorvat::matrix<double>>();
      const long h = a.dim_vec()[0];
      long k = 0;
      for (auto it = a.begin(); it != a.end(); ++it, ++k) out[(i0 + k % h) + (j0 + k / h) * total_rows] = *it;
    });
    return zo_obj(*wrap(std::move(m)));
  }
  num_array out;
  out.dims = dims;
  out.v.assign(checked_count(out.dims, col), cplx());
  for_each_part(parts, heights, [&](const zo_obj& v, long i0, long j0) {
    const num_array a = read_array(v, col);
    for (long j = 0; j < a.dims[1]; ++j)
      for (long i = 0; i < a.dims[0]; ++i) out.v[(i0 + i) + (j0 + j) * total_rows] = a.v[i + j * a.dims[0]];
  });
  zorvat::zo_type kind = zorvat::type_double;
  if (parts.empty()) kind = zorvat::type_double;
  else if (all_char) kind = zorvat::type_char;
  else if (all_logical) kind = zorvat::type_logical;
  else if (int_kind != zorvat::type_error) kind = int_kind;
  else if (any_complex) kind = any_single ? zorvat::type_complex_single : zorvat::type_complex_double;
  else if (any_single) kind = zorvat::type_single;
  return make_array(kind, out, col);
}

}  // namespace zorvat_host
