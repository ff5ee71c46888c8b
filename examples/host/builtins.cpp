// builtins.cpp: the table of zorvat-host's built-in functions, and the
// constructors among them (casts, zeros, ones, eye, reshape, complex, sparse,
// struct, pi, linspace).
#include "builtins.h"

#include <cmath>

#include "memory/messages.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"
#include "typed.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::tr;

// The table keeps catalogue keys; this tr() only marks them for extraction
// and returns the key, which builtin_help() looks up when it is shown.
namespace later {
constexpr const char* tr(const char* key) { return key; }
}  // namespace later

void check_args(const char* name, const value_list& args, size_t lo, size_t hi, int col) {
  if (args.size() >= lo && args.size() <= hi) return;
  if (lo == hi) throw host_error(str_format(tr("%s 需要 %ld 个输入参数"), name, static_cast<long>(lo)), col);
  throw host_error(str_format(tr("%s 需要 %ld 到 %ld 个输入参数"), name, static_cast<long>(lo), static_cast<long>(hi)),
                   col);
}

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

namespace {

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

}  // namespace

std::string text_arg(const zo_obj& v, const char* what, int col) {
  if (v.type == zorvat::type_string || v.is_char_vector()) return v.as_string();
  throw host_error(str_format(tr("%s 必须是字符串"), what), col);
}


std::vector<long> value_dims(const zo_obj& v) {
  if (const auto* a = v.array_base()) return a->dim_vec();
  if (const auto* c = v.container()) return c->dim_vec();
  return {1, 1};
}

value_ptr doubles(const std::vector<long>& dims, const std::vector<double>& v) {
  zorvat::matrix<double> m(dims);
  for (size_t k = 0; k < v.size(); ++k) m.data()[k] = v[k];
  return wrap(std::move(m));
}

value_ptr number(double x) { return std::make_shared<zo_obj>(x); }

namespace {

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


template <zorvat::zo_type T>
void bi_cast(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args(zorvat::type_str(T), args, 1, 1, col);
  out.push_back(std::make_shared<zo_obj>(make_array(T, read_array(*args[0], col), col)));
}

template <int Fill>
void bi_fill(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  num_array a;
  a.dims = dims_args(args, 0, col);
  a.v.assign(checked_count(a.dims, col), cplx(Fill, 0));
  out.push_back(std::make_shared<zo_obj>(make_array(zorvat::type_double, a, col)));
}

void bi_eye(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  num_array a;
  a.dims = dims_args(args, 0, col);
  if (a.dims.size() != 2) throw host_error(tr("eye 只能生成二维矩阵"), col);
  a.v.assign(checked_count(a.dims, col), cplx());
  for (long k = 0; k < std::min(a.dims[0], a.dims[1]); ++k) a.v[k + k * a.dims[0]] = 1;
  out.push_back(std::make_shared<zo_obj>(make_array(zorvat::type_double, a, col)));
}

void bi_reshape(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  if (args.size() < 2) throw host_error(tr("reshape 需要至少 2 个输入参数"), col);
  num_array a = read_array(*args[0], col);
  std::vector<long> dims = dims_args(args, 1, col);
  if (args.size() == 2 && read_array(*args[1], col).count() == 1)
    throw host_error(tr("reshape 的大小参数至少要有两个元素"), col);
  const long n = a.count();
  a.dims = dims;
  if (a.count() != n) throw host_error(str_format(tr("reshape 不能改变元素个数（%ld 个元素）"), n), col);
  out.push_back(std::make_shared<zo_obj>(make_array(a.type, a, col)));
}

// complex(re, im): the literal form of "re + im*i".
void bi_complex(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("complex", args, 2, 2, col);
  num_array re = read_array(*args[0], col), im = read_array(*args[1], col);
  if (im.count() != re.count()) throw host_error(tr("complex 的实部和虚部大小必须相同"), col);
  for (long k = 0; k < re.count(); ++k) re.v[k] = cplx(re.v[k].real(), im.v[k].real());
  out.push_back(std::make_shared<zo_obj>(make_array(zorvat::type_complex_double, re, col)));
}

void bi_sparse(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  out.push_back(sparse_builtin(args, col));
}

// struct('name', value, ...): a value that is a cell gives one record per
// element (all such cells of one size; a 1x1 cell gives its content to
// every record).
void bi_struct(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  if (args.size() % 2 != 0) throw host_error(tr("struct 的参数必须是成对的字段名和值"), col);
  std::vector<long> dims{1, 1};
  bool sized = false;
  for (size_t k = 1; k < args.size(); k += 2) {
    if (args[k]->type != zorvat::type_cell || args[k]->get<zorvat::cell_array>().is_scalar()) continue;
    const std::vector<long>& d = args[k]->get<zorvat::cell_array>().dim_vec();
    if (sized && d != dims) throw host_error(tr("struct 的各个单元数组参数大小必须相同"), col);
    dims = d;
    sized = true;
  }
  auto* s = new zorvat::structure(dims);
  auto v = std::make_shared<zo_obj>(zorvat::type_struct, s);
  for (size_t k = 0; k < args.size(); k += 2) {
    const std::string name = text_arg(*args[k], tr("字段名"), col);
    if (s->isfield(name)) throw host_error(str_format(tr("struct 的字段名 %s 重复"), name.c_str()), col);
    auto& table = s->create_field_table(name);
    const zo_obj& a = *args[k + 1];
    const zorvat::cell_array* c = a.type == zorvat::type_cell ? &a.get<zorvat::cell_array>() : nullptr;
    for (long r = 0; r < table.size(); ++r) {
      const zorvat::cell_array::element e = c ? (*c)(c->is_scalar() ? 0 : r) : nullptr;
      table.data()[r] = std::make_shared<zo_obj>(c ? (e ? *e : zo_obj(zorvat::type_double, nullptr)) : a);
    }
  }
  out.push_back(v);
}

void bi_pi(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("pi", args, 0, 0, col);
  out.push_back(number(M_PI));
}

void bi_linspace(const value_list& args, int, std::vector<value_ptr>& out, int col) {
  check_args("linspace", args, 2, 3, col);
  const double a = scalar_arg(*args[0], "a", col), b = scalar_arg(*args[1], "b", col);
  const long n = args.size() == 3 ? index_arg(std::floor(scalar_arg(*args[2], "n", col)), "n", col) : 100;
  checked_count({1, n}, col);
  std::vector<double> v(n);
  for (long k = 0; k < n; ++k) v[k] = k == n - 1 ? b : a + k * (b - a) / (n - 1);
  out.push_back(doubles({1, n}, v));
}

using later::tr;

const builtin table[] = {
    {"int8", bi_cast<zorvat::type_int8>, tr("int8(x) … uint64(x)：转换为该整数类型（四舍五入并饱和）")},
    {"int16", bi_cast<zorvat::type_int16>, tr("int8(x) … uint64(x)：转换为该整数类型（四舍五入并饱和）")},
    {"int32", bi_cast<zorvat::type_int32>, tr("int8(x) … uint64(x)：转换为该整数类型（四舍五入并饱和）")},
    {"int64", bi_cast<zorvat::type_int64>, tr("int8(x) … uint64(x)：转换为该整数类型（四舍五入并饱和）")},
    {"uint8", bi_cast<zorvat::type_uint8>, tr("int8(x) … uint64(x)：转换为该整数类型（四舍五入并饱和）")},
    {"uint16", bi_cast<zorvat::type_uint16>, tr("int8(x) … uint64(x)：转换为该整数类型（四舍五入并饱和）")},
    {"uint32", bi_cast<zorvat::type_uint32>, tr("int8(x) … uint64(x)：转换为该整数类型（四舍五入并饱和）")},
    {"uint64", bi_cast<zorvat::type_uint64>, tr("int8(x) … uint64(x)：转换为该整数类型（四舍五入并饱和）")},
    {"single", bi_cast<zorvat::type_single>, tr("single(x)：转换为单精度")},
    {"double", bi_cast<zorvat::type_double>, tr("double(x)：转换为双精度")},
    {"logical", bi_cast<zorvat::type_logical>, tr("logical(x)：非零元素为 true（NaN 不能转换）")},
    {"char", bi_cast<zorvat::type_char>, tr("char(x)：以字符编码组成的字符数组")},
    {"zeros", bi_fill<0>, tr("zeros(m, n, ...)：元素全为 0 的双精度数组")},
    {"ones", bi_fill<1>, tr("ones(m, n, ...)：元素全为 1 的双精度数组")},
    {"eye", bi_eye, tr("eye(n) 或 eye(m, n)：单位矩阵")},
    {"reshape", bi_reshape, tr("reshape(x, m, n, ...)：同样的元素，新的维数")},
    {"complex", bi_complex, tr("complex(re, im)：由实部和虚部组成的复数数组")},
    {"sparse", bi_sparse, tr("sparse(i, j, v, m, n)：由下标和值组成的稀疏矩阵")},
    {"struct", bi_struct, tr("struct('name', value, ...)：结构体；值为单元数组时每个元素一条记录")},
    {"pi", bi_pi, tr("pi：圆周率")},
    {"linspace", bi_linspace, tr("linspace(a, b, n)：从 a 到 b 的 n 个等距点（默认 100 个）")},
    {"size", bi_size, tr("size(x)、size(x, dim)、[m, n] = size(x)：各维的大小")},
    {"numel", bi_numel, tr("numel(x)：元素个数")},
    {"length", bi_length, tr("length(x)：最大的维长（空数组为 0）")},
    {"ndims", bi_ndims, tr("ndims(x)：维数")},
    {"isempty", bi_isempty, tr("isempty(x)：是否有某一维为 0")},
    {"class", bi_class, tr("class(x)：值的类型名")},
    {"sum", bi_sum, tr("sum(x)、sum(x, dim)：沿第一个非单一维（或 dim）求和")},
    {"prod", bi_prod, tr("prod(x)、prod(x, dim)：沿第一个非单一维（或 dim）求积")},
    {"min", bi_min, tr("min(x)、min(x, [], dim)、min(a, b)、[m, i] = min(x)：最小值及其位置（忽略 NaN）")},
    {"max", bi_max, tr("max(x)、max(x, [], dim)、max(a, b)、[m, i] = max(x)：最大值及其位置（忽略 NaN）")},
    {"abs", bi_abs, tr("abs(x)：绝对值（复数取模）")},
    {"mod", bi_mod, tr("mod(a, b)：a - floor(a./b).*b；mod(a, 0) 为 a")},
    {"round", bi_round, tr("round(x)：四舍五入到整数（.5 远离零）")},
    {"floor", bi_floor, tr("floor(x)：向负无穷取整")},
    {"ceil", bi_ceil, tr("ceil(x)：向正无穷取整")},
    {"sqrt", bi_sqrt, tr("sqrt(x)：平方根（负数得复数）")},
    {"disp", bi_disp, tr("disp(x)：显示值而不显示名称")},
    {"num2str", bi_num2str, tr("num2str(x)：数值的文本（字符数组）")},
    {"fieldnames", bi_fieldnames, tr("fieldnames(s)：结构体的字段名（单元列向量）")},
    {"isfield", bi_isfield, tr("isfield(s, name)：结构体是否有该字段（name 可以是单元数组）")},
    {"full", bi_full, tr("full(x)：稀疏矩阵的稠密形式")},
    {"nnz", bi_nnz, tr("nnz(x)：非零元素的个数")},
};

}  // namespace

const builtin* find_builtin(const std::string& name) {
  for (const builtin& b : table)
    if (name == b.name) return &b;
  return nullptr;
}

std::vector<const char*> builtin_names() {
  std::vector<const char*> names;
  for (const builtin& b : table) names.push_back(b.name);
  return names;
}

const char* builtin_help(const std::string& name) {
  const builtin* b = find_builtin(name);
  return b ? zorvat::tr(b->help) : nullptr;
}

}  // namespace zorvat_host
