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

zo_obj concat_rows(const std::vector<std::vector<value_ptr>>& rows, const std::vector<int>& row_cols) {
  // The result kind: char if all are char, logical if all are logical, else
  // the first integer kind, else complex, single or double.
  bool all_char = true, all_logical = true, any_complex = false, any_single = false;
  zorvat::zo_type int_kind = zorvat::type_error;
  std::vector<std::vector<num_array>> parts;
  long total_rows = 0, total_cols = -1;
  for (size_t r = 0; r < rows.size(); ++r) {
    std::vector<num_array> row;
    long height = -1, width = 0;
    for (size_t e = 0; e < rows[r].size(); ++e) {
      num_array a = read_array(*rows[r][e], row_cols[r]);
      if (a.dims.size() > 2) throw host_error(tr("矩阵字面量中不能连接多维数组"), row_cols[r]);
      if (a.count() == 0) continue;
      if (height >= 0 && a.dims[0] != height)
        throw host_error(tr("水平连接的各元素行数不一致"), row_cols[r]);
      height = a.dims[0];
      width += a.dims[1];
      all_char = all_char && a.type == zorvat::type_char;
      all_logical = all_logical && a.type == zorvat::type_logical;
      any_complex = any_complex || a.type == zorvat::type_complex_double || a.type == zorvat::type_complex_single;
      any_single = any_single || a.type == zorvat::type_single || a.type == zorvat::type_complex_single;
      if (a.type <= zorvat::type_uint64 && int_kind == zorvat::type_error) int_kind = a.type;
      row.push_back(std::move(a));
    }
    if (row.empty()) continue;
    if (total_cols >= 0 && width != total_cols)
      throw host_error(tr("垂直连接的各行列数不一致"), row_cols[r]);
    total_cols = width;
    total_rows += height;
    parts.push_back(std::move(row));
  }
  num_array out;
  out.dims = {total_rows, total_cols < 0 ? 0 : total_cols};
  out.v.assign(checked_count(out.dims, row_cols.empty() ? 0 : row_cols[0]), cplx());
  long row0 = 0;
  for (const auto& row : parts) {
    long col0 = 0;
    for (const auto& a : row) {
      for (long j = 0; j < a.dims[1]; ++j)
        for (long i = 0; i < a.dims[0]; ++i) out.v[(row0 + i) + (col0 + j) * total_rows] = a.v[i + j * a.dims[0]];
      col0 += a.dims[1];
    }
    row0 += row[0].dims[0];
  }
  zorvat::zo_type kind = zorvat::type_double;
  if (parts.empty()) kind = zorvat::type_double;
  else if (all_char) kind = zorvat::type_char;
  else if (all_logical) kind = zorvat::type_logical;
  else if (int_kind != zorvat::type_error) kind = int_kind;
  else if (any_complex) kind = any_single ? zorvat::type_complex_single : zorvat::type_complex_double;
  else if (any_single) kind = zorvat::type_single;
  return make_array(kind, out, row_cols.empty() ? 0 : row_cols[0]);
}

}  // namespace zorvat_host
