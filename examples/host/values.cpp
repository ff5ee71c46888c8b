// values.cpp: element conversion, matrix literals and the built-in
// constructors of zorvat-host.
#include "values.h"

#include <cmath>
#include <limits>

#include "matrix/matrix.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"
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

namespace {

double scalar_arg(const zo_obj& v, const char* what, int col) {
  num_array a = read_array(v, col);
  if (a.count() != 1) throw host_error(str_format(tr("%s 必须是标量"), what), col);
  return a.v[0].real();
}

long index_arg(double x, const char* what, int col) {
  if (!(x >= 0) || x != std::floor(x) || x > 1e15)
    throw host_error(str_format(tr("%s 必须是非负整数"), what), col);
  return static_cast<long>(x);
}

// Dims from the arguments of zeros/ones/reshape: scalars, or one row vector.
std::vector<long> dims_args(const value_list& args, size_t first, int col) {
  std::vector<long> dims;
  if (args.size() == first + 1) {
    num_array a = read_array(*args[first], col);
    for (const cplx& z : a.v) dims.push_back(index_arg(z.real(), tr("维数"), col));
    if (dims.size() == 1) dims.push_back(dims[0]);
  } else {
    for (size_t k = first; k < args.size(); ++k)
      dims.push_back(index_arg(scalar_arg(*args[k], tr("维数"), col), tr("维数"), col));
  }
  if (dims.empty()) dims = {1, 1};
  if (dims.size() == 1) dims.push_back(1);
  return dims;
}

std::string text_arg(const zo_obj& v, const char* what, int col) {
  if (v.type == zorvat::type_string || v.is_char_vector()) return v.as_string();
  throw host_error(str_format(tr("%s 必须是字符串"), what), col);
}

template <class T>
value_ptr make_sparse(const num_array& i, const num_array& j, const num_array& v, long m, long n,
                      zorvat::zo_type kind, int col) {
  std::vector<zorvat::triplet<T>> t;
  const long count = i.count();
  for (long k = 0; k < count; ++k) {
    const long r = index_arg(i.v[k].real() - 1, tr("行下标"), col);
    const long c = index_arg(j.v[k].real() - 1, tr("列下标"), col);
    if ((m >= 0 && r >= m) || (n >= 0 && c >= n)) throw host_error(tr("稀疏矩阵的下标超出给定的大小"), col);
    checked_count({r + 1, 1}, col);
    checked_count({c + 1, 1}, col);
    t.push_back({from_cplx<T>(v.v[v.count() == 1 ? 0 : k], col), c, r});
  }
  return std::make_shared<zo_obj>(kind, new zorvat::sparse_matrix<T>(t, m < 0 ? 0 : m, n < 0 ? 0 : n));
}

value_ptr sparse_builtin(const value_list& args, int col) {
  if (args.size() != 3 && args.size() != 5)
    throw host_error(tr("sparse 需要 3 个或 5 个输入参数：sparse(i, j, v[, m, n])"), col);
  num_array i = read_array(*args[0], col), j = read_array(*args[1], col), v = read_array(*args[2], col);
  if (i.count() != j.count() || (v.count() != 1 && v.count() != i.count()))
    throw host_error(tr("sparse 的下标向量和值向量长度必须相同"), col);
  long m = -1, n = -1;
  if (args.size() == 5) {
    m = index_arg(scalar_arg(*args[3], "m", col), "m", col);
    n = index_arg(scalar_arg(*args[4], "n", col), "n", col);
    checked_count({m, 1}, col);
    checked_count({n, 1}, col);
  }
  if (v.type == zorvat::type_logical)
    return make_sparse<bool>(i, j, v, m, n, zorvat::type_sparse_logical, col);
  if (v.type == zorvat::type_complex_double || v.type == zorvat::type_complex_single)
    return make_sparse<cplx>(i, j, v, m, n, zorvat::type_sparse_complex_double, col);
  return make_sparse<double>(i, j, v, m, n, zorvat::type_sparse_double, col);
}

struct cast_entry {
  const char* name;
  zorvat::zo_type type;
};
const cast_entry casts[] = {
    {"int8", zorvat::type_int8},     {"int16", zorvat::type_int16},   {"int32", zorvat::type_int32},
    {"int64", zorvat::type_int64},   {"uint8", zorvat::type_uint8},   {"uint16", zorvat::type_uint16},
    {"uint32", zorvat::type_uint32}, {"uint64", zorvat::type_uint64}, {"single", zorvat::type_single},
    {"double", zorvat::type_double}, {"logical", zorvat::type_logical}, {"char", zorvat::type_char},
};

}  // namespace

bool is_dense_kind(const zo_obj& v) { return v.type >= zorvat::type_int8 && v.type <= zorvat::type_logical; }

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

const char* const builtin_functions[] = {"zeros", "ones", "reshape", "complex", "sparse", "struct"};

bool is_builtin(const std::string& name) { return builtin_help(name) != nullptr; }

std::vector<const char*> builtin_names() {
  std::vector<const char*> names;
  for (const auto& c : casts) names.push_back(c.name);
  for (const char* b : builtin_functions) names.push_back(b);
  return names;
}

const char* builtin_help(const std::string& name) {
  for (const auto& c : casts)
    if (name == c.name) return tr("类型转换：整数类型四舍五入并饱和，logical 取“非零”");
  if (name == "zeros") return tr("zeros(m, n, ...)：元素全为 0 的双精度数组");
  if (name == "ones") return tr("ones(m, n, ...)：元素全为 1 的双精度数组");
  if (name == "reshape") return tr("reshape(x, m, n, ...)：同样的元素，新的维数");
  if (name == "complex") return tr("complex(re, im)：由实部和虚部组成的复数数组");
  if (name == "sparse") return tr("sparse(i, j, v, m, n)：由下标和值组成的稀疏矩阵");
  if (name == "struct") return tr("struct('name', value, ...)：结构体");
  return nullptr;
}

value_ptr call_builtin(const std::string& name, const value_list& args, int col) {
  for (const auto& c : casts) {
    if (name != c.name) continue;
    if (args.size() != 1) throw host_error(str_format(tr("%s 需要 1 个输入参数"), c.name), col);
    return std::make_shared<zo_obj>(make_array(c.type, read_array(*args[0], col), col));
  }
  if (name == "zeros" || name == "ones") {
    num_array a;
    a.dims = dims_args(args, 0, col);
    a.v.assign(checked_count(a.dims, col), cplx(name == "ones" ? 1 : 0, 0));
    return std::make_shared<zo_obj>(make_array(zorvat::type_double, a, col));
  }
  if (name == "reshape") {
    if (args.size() < 2) throw host_error(tr("reshape 需要至少 2 个输入参数"), col);
    num_array a = read_array(*args[0], col);
    std::vector<long> dims = dims_args(args, 1, col);
    if (args.size() == 2 && read_array(*args[1], col).count() == 1)
      throw host_error(tr("reshape 的大小参数至少要有两个元素"), col);
    const long n = a.count();
    a.dims = dims;
    if (a.count() != n)
      throw host_error(str_format(tr("reshape 不能改变元素个数（%ld 个元素）"), n), col);
    return std::make_shared<zo_obj>(make_array(a.type, a, col));
  }
  if (name == "complex") {
    // complex(re, im): the literal form of "re + im*i", which needs no arithmetic.
    if (args.size() != 2) throw host_error(tr("complex 需要 2 个输入参数"), col);
    num_array re = read_array(*args[0], col), im = read_array(*args[1], col);
    if (im.count() != re.count()) throw host_error(tr("complex 的实部和虚部大小必须相同"), col);
    for (long k = 0; k < re.count(); ++k) re.v[k] = cplx(re.v[k].real(), im.v[k].real());
    return std::make_shared<zo_obj>(make_array(zorvat::type_complex_double, re, col));
  }
  if (name == "sparse") return sparse_builtin(args, col);
  if (name == "struct") {
    if (args.size() % 2 != 0) throw host_error(tr("struct 的参数必须是成对的字段名和值"), col);
    auto* s = new zorvat::structure();
    auto v = std::make_shared<zo_obj>(zorvat::type_struct, s);
    for (size_t k = 0; k < args.size(); k += 2)
      s->set_field(text_arg(*args[k], tr("字段名"), col), std::make_shared<zo_obj>(*args[k + 1]), false);
    return v;
  }
  return nullptr;
}

}  // namespace zorvat_host
