// index.cpp: subscripted reading and assignment on matrix<T> for zorvat-host.
//
// With n subscripts into an array of dims d, subscript k < n-1 runs along
// d[k] and the last one along the product of the remaining dims, so x(i) is
// linear indexing and x(i, j) of a 2x3x4 array treats it as 2x12.
#include "index.h"

#include <algorithm>
#include <cmath>

#include "memory/str_util.h"
#include "typed.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace zorvat_host {

using zorvat::matrix;
using zorvat::structure;
using zorvat::str_format;
using zorvat::tr;

namespace {

std::vector<long> dims_of(const zo_obj& v) {
  if (const auto* a = v.array_base()) return a->dim_vec();
  if (const auto* c = v.container()) return c->dim_vec();
  return {1, 1};
}

// The extent that each of n subscripts runs along.
std::vector<long> extents(const std::vector<long>& dims, size_t n) {
  std::vector<long> e(n, 1);
  for (size_t k = 0; k < dims.size(); ++k) e[std::min(k, n - 1)] *= dims[k];
  return e;
}

long count_of(const subscript& s, long extent) { return s.colon ? extent : static_cast<long>(s.pos.size()); }

void check_range(const std::vector<subscript>& subs, const std::vector<long>& ext, int col) {
  for (size_t k = 0; k < subs.size(); ++k)
    for (long p : subs[k].pos)
      if (p >= ext[k]) {
        if (subs.size() == 1)
          throw host_error(str_format(tr("下标 %ld 超出范围：数组只有 %ld 个元素"), p + 1, ext[k]), col);
        throw host_error(str_format(tr("第 %ld 个下标 %ld 超出范围：该维的大小是 %ld"), static_cast<long>(k + 1),
                                    p + 1, ext[k]),
                         col);
      }
}

// Calls f(linear position in an array of extents ext) for every selected
// element, the first subscript varying fastest.
template <class F>
void for_each_selected(const std::vector<subscript>& subs, const std::vector<long>& ext, F f) {
  const size_t n = subs.size();
  std::vector<long> cnt(n), idx(n, 0);
  long total = 1;
  for (size_t k = 0; k < n; ++k) total *= cnt[k] = count_of(subs[k], ext[k]);
  for (long o = 0; o < total; ++o) {
    long lin = 0, stride = 1;
    for (size_t k = 0; k < n; ++k) {
      lin += (subs[k].colon ? idx[k] : subs[k].pos[idx[k]]) * stride;
      stride *= ext[k];
    }
    f(o, lin);
    for (size_t k = 0; k < n && ++idx[k] == cnt[k]; ++k) idx[k] = 0;
  }
}

// The shape of src(subs): with one subscript the index's own shape, except
// that a vector indexed by a vector keeps its orientation.
std::vector<long> result_dims(const std::vector<long>& src, const std::vector<subscript>& subs,
                              const std::vector<long>& ext) {
  if (subs.size() > 1) {
    std::vector<long> d;
    for (size_t k = 0; k < subs.size(); ++k) d.push_back(count_of(subs[k], ext[k]));
    while (d.size() > 2 && d.back() == 1) d.pop_back();  // trailing singletons go
    return d;
  }
  const long n = count_of(subs[0], ext[0]);
  if (subs[0].colon) return {n, 1};
  const bool src_vector = src.size() == 2 && (src[0] == 1 || src[1] == 1);
  const auto& d = subs[0].dims;
  const bool idx_vector = d.size() == 2 && (d[0] == 1 || d[1] == 1);
  if (src_vector && idx_vector) return src[0] == 1 ? std::vector<long>{1, n} : std::vector<long>{n, 1};
  return d;
}

template <class T>
matrix<T> gather(const matrix<T>& in, const std::vector<subscript>& subs, int col) {
  const matrix<T> src = in.contiguous();
  const std::vector<long> ext = extents(src.dim_vec(), subs.size());
  check_range(subs, ext, col);
  const std::vector<long> dims = result_dims(src.dim_vec(), subs, ext);
  checked_count(dims, col);
  matrix<T> out(dims);
  for_each_selected(subs, ext, [&](long o, long lin) { out.data()[o] = src.data()[lin]; });
  return out;
}

// The dims after target(subs) = ...: each subscript's extent grows to its
// largest position; one subscript grows a vector (or an empty array, as a
// row) along its length.
std::vector<long> grown_dims(std::vector<long> d, const std::vector<subscript>& subs, int col) {
  const size_t n = subs.size();
  std::vector<long> need(n, 0);
  for (size_t k = 0; k < n; ++k)
    for (long p : subs[k].pos) need[k] = std::max(need[k], p + 1);
  const std::vector<long> ext = extents(d, n);
  if (n == 1) {
    if (need[0] <= ext[0]) return d;
    if (ext[0] == 0 || (d.size() == 2 && d[0] == 1)) d = {1, need[0]};
    else if (d.size() == 2 && d[1] == 1) d = {need[0], 1};
    else throw host_error(tr("不能用一个下标扩大矩阵：请给出每一维的下标"), col);
    checked_count(d, col);
    return d;
  }
  while (d.size() < n) d.push_back(1);
  for (size_t k = 0; k < n; ++k) {
    if (need[k] <= ext[k]) continue;
    if (k == n - 1 && d.size() > n)
      throw host_error(str_format(tr("第 %ld 个下标 %ld 超出范围：该维的大小是 %ld"), static_cast<long>(k + 1),
                                  need[k], ext[k]),
                       col);
    d[k] = need[k];
  }
  checked_count(d, col);
  return d;
}

template <class T>
void scatter(matrix<T>& m, const std::vector<subscript>& subs, const matrix<T>& rhs, int col) {
  if (m.offset() != 0 || !m.is_contiguous() || (m.block() && m.block().use_count() != 1)) {
    // a view or a shared block: repack it, elements are written by position
    matrix<T> packed(m.dim_vec());
    T* p = packed.data();
    for (auto it = m.begin(); m.size() > 0 && it != m.end(); ++it) *p++ = *it;
    m = std::move(packed);
  }
  std::vector<long> d = grown_dims(m.dim_vec(), subs, col);
  if (d != m.dim_vec()) m.conservative_resize(d);
  const std::vector<long> ext = extents(m.dim_vec(), subs.size());
  check_range(subs, ext, col);
  long selected = 1;
  for (size_t k = 0; k < subs.size(); ++k) selected *= count_of(subs[k], ext[k]);
  if (rhs.size() != 1 && rhs.size() != selected)
    throw host_error(str_format(tr("赋值两边的元素个数不一致：左边 %ld 个，右边 %ld 个"), selected, rhs.size()),
                     col);
  const long step = rhs.size() == 1 ? 0 : 1;
  for_each_selected(subs, ext, [&](long o, long lin) { m.data()[lin] = rhs.data()[o * step]; });
}

// The kind of target(subs) = rhs: as the language joins two types.
int joined_kind(const value_ptr& target, int r) {
  if (!target || (target->type == zorvat::type_double && target->array_base()->is_empty())) return r;
  const int t = target->type;
  if (t == r) return t;
  if (t <= zorvat::type_uint64) return t;
  if (r <= zorvat::type_uint64) return r;
  const bool c = t == zorvat::type_complex_double || t == zorvat::type_complex_single ||
                 r == zorvat::type_complex_double || r == zorvat::type_complex_single;
  const bool s = t == zorvat::type_single || t == zorvat::type_complex_single || r == zorvat::type_single ||
                 r == zorvat::type_complex_single;
  if (c) return s ? zorvat::type_complex_single : zorvat::type_complex_double;
  return s ? zorvat::type_single : zorvat::type_double;
}

// 0, 1, 2, ... in an array of dims d: gathered like the elements, they give
// the positions that an index selects.
matrix<long> positions(const std::vector<long>& d) {
  matrix<long> m(d);
  for (long k = 0; k < m.size(); ++k) m.data()[k] = k;
  return m;
}

template <class T>
matrix<T> take(const matrix<T>& in, const matrix<long>& pos) {
  const matrix<T> src = in.contiguous();
  matrix<T> out(pos.dim_vec());
  for (long k = 0; k < pos.size(); ++k) out.data()[k] = src.data()[pos.data()[k]];
  return out;
}

// The records of s at pos, in a structure of pos's dims.
structure pick(const structure& s, const matrix<long>& pos) {
  structure out(pos.dim_vec());
  for (const auto& name : s.fieldnames()) out.create_field_table(name) = take(s.get_field_table(name), pos);
  return out;
}

value_ptr make_struct(structure&& s) { return std::make_shared<zo_obj>(zorvat::type_struct, new structure(std::move(s))); }

// Null elements (places made by growth) become fresh empty values.
void fill_empty(matrix<structure::element>& m) {
  for (long k = 0; k < m.size(); ++k)
    if (!m.data()[k]) m.data()[k] = std::make_shared<zo_obj>(zorvat::type_double, nullptr);
}

// The positions that remain when subs are deleted from an array of dims d.
// All subscripts but one must select a whole extent; one subscript deletes
// along the linear order, keeping a column a column and making anything else
// a row.
matrix<long> kept_positions(const std::vector<long>& d, const std::vector<subscript>& subs, int col) {
  const size_t n = subs.size();
  const std::vector<long> ext = extents(d, n);
  check_range(subs, ext, col);
  size_t which = 0, partial = 0;
  std::vector<std::vector<bool>> hit(n);
  for (size_t k = 0; k < n; ++k) {
    hit[k].assign(ext[k], subs[k].colon);
    for (long p : subs[k].pos) hit[k][p] = true;
    if (std::find(hit[k].begin(), hit[k].end(), false) != hit[k].end()) which = k, ++partial;
  }
  if (partial > 1) throw host_error(tr("删除元素时，除一个下标外其余下标都必须选中整个维"), col);
  if (n == 1 && subs[0].colon) return matrix<long>(0, 0);
  std::vector<subscript> keep(n, subscript::all());
  keep[which].colon = false;
  for (long p = 0; p < ext[which]; ++p)
    if (!hit[which][p]) keep[which].pos.push_back(p);
  keep[which].dims = {1, static_cast<long>(keep[which].pos.size())};
  return gather(positions(d), keep, col);
}

}  // namespace

value_ptr delete_elements(const zo_obj& v, const std::vector<subscript>& subs, int col) {
  if (subs.empty()) throw host_error(tr("赋值需要至少一个下标"), col);
  if (v.type == zorvat::type_struct) {
    const auto& st = v.get<structure>();
    return make_struct(pick(st, kept_positions(st.dim_vec(), subs, col)));
  }
  if (is_dense_kind(v))
    return visit_arith(
        v.type,
        [&](auto tag) {
          const auto& m = v.get<matrix<typename decltype(tag)::type>>();
          return wrap(take(m, kept_positions(m.dim_vec(), subs, col)));
        },
        col);
  if (v.type == zorvat::type_string) {
    const auto& m = v.get<matrix<std::string>>();
    return std::make_shared<zo_obj>(zorvat::type_string, new matrix<std::string>(take(m, kept_positions(m.dim_vec(), subs, col))));
  }
  if (v.type == zorvat::type_cell) {
    const auto& m = v.get<zorvat::cell_array>().data();
    return std::make_shared<zo_obj>(zorvat::type_cell, new zorvat::cell_array(take(m, kept_positions(m.dim_vec(), subs, col))));
  }
  throw host_error(str_format(tr("%s 类型的值不能删除元素"), v.brief_type_str().c_str()), col);
}

value_ptr struct_assign(const value_ptr& target, const std::vector<subscript>& subs, const value_ptr& rhs, int col) {
  if (rhs->type != zorvat::type_struct) throw host_error(tr("结构体数组的元素只能赋为结构体"), col);
  if (target && target->type != zorvat::type_struct)
    throw host_error(str_format(tr("不能把结构体赋给 %s 类型的数组的元素"), target->brief_type_str().c_str()), col);
  if (subs.empty()) throw host_error(tr("赋值需要至少一个下标"), col);
  const structure none(0, 0);
  const structure& t = target ? target->get<structure>() : none;
  const structure& r = rhs->get<structure>();
  std::vector<std::string> names = t.fieldnames();
  for (const auto& name : r.fieldnames())
    if (!t.isfield(name)) names.push_back(name);
  structure out(grown_dims(t.dim_vec(), subs, col));
  const std::vector<long> ext = extents(out.dim_vec(), subs.size());
  check_range(subs, ext, col);
  long selected = 1;
  for (size_t k = 0; k < subs.size(); ++k) selected *= count_of(subs[k], ext[k]);
  if (r.numel() != 1 && r.numel() != selected)
    throw host_error(str_format(tr("赋值两边的元素个数不一致：左边 %ld 个，右边 %ld 个"), selected, r.numel()), col);
  for (const auto& name : names) {
    matrix<structure::element> table =
        t.isfield(name) ? t.get_field_table(name).contiguous() : matrix<structure::element>(t.dim_vec());
    const matrix<structure::element> src =
        r.isfield(name) ? r.get_field_table(name).contiguous() : matrix<structure::element>(r.dim_vec());
    scatter(table, subs, src, col);
    fill_empty(table);
    out.create_field_table(name) = std::move(table);
  }
  return make_struct(std::move(out));
}

subscript read_subscript(const zo_obj& v, int col) {
  subscript s;
  s.dims = dims_of(v);
  if (v.type == zorvat::type_logical) {
    const auto& m = v.get<matrix<bool>>();
    long k = 0;
    for (auto it = m.begin(); m.size() > 0 && it != m.end(); ++it, ++k)
      if (*it) s.pos.push_back(k);
    const bool row = s.dims.size() == 2 && s.dims[0] == 1;
    s.dims = row ? std::vector<long>{1, static_cast<long>(s.pos.size())}
                 : std::vector<long>{static_cast<long>(s.pos.size()), 1};
    return s;
  }
  if (!is_dense_kind(v) || v.type == zorvat::type_complex_double || v.type == zorvat::type_complex_single)
    throw host_error(tr("下标必须是实数或逻辑数组"), col);
  const matrix<double> m = convert_matrix<double>(v, col);
  for (long k = 0; k < m.size(); ++k) {
    const double x = m.data()[k];
    if (x != std::floor(x) || std::isnan(x))
      throw host_error(str_format(tr("下标必须是整数，却是 %g"), x), col);
    if (!std::isfinite(x) || x > static_cast<double>(element_limit()))
      throw host_error(str_format(tr("下标必须是有限的整数，且在 1 到 %ld 之间，却是 %g"), element_limit(), x), col);
    if (x < 1) throw host_error(str_format(tr("下标必须是正整数，却是 %g"), x), col);
    s.pos.push_back(static_cast<long>(x) - 1);
  }
  return s;
}

long end_extent(const zo_obj* v, size_t k, size_t n) { return v ? extents(dims_of(*v), n)[k] : 0; }

value_ptr index_read(const zo_obj& v, const std::vector<subscript>& subs, bool brace, int col) {
  if (brace && v.type != zorvat::type_cell) throw host_error(tr("只有单元数组才能用 {} 取下标"), col);
  if (subs.empty()) return std::make_shared<zo_obj>(v);
  if (is_dense_kind(v))
    return visit_arith(
        v.type, [&](auto tag) { return wrap(gather(v.get<matrix<typename decltype(tag)::type>>(), subs, col)); },
        col);
  if (v.type == zorvat::type_string)
    return std::make_shared<zo_obj>(zorvat::type_string,
                                    new matrix<std::string>(gather(v.get<matrix<std::string>>(), subs, col)));
  if (v.type == zorvat::type_cell) {
    auto picked = gather(v.get<zorvat::cell_array>().data(), subs, col);
    if (!brace) return std::make_shared<zo_obj>(zorvat::type_cell, new zorvat::cell_array(std::move(picked)));
    if (picked.size() != 1) throw host_error(tr("{} 下标必须恰好选出一个元素"), col);
    return picked.data()[0] ? picked.data()[0] : std::make_shared<zo_obj>(zorvat::type_double, nullptr);
  }
  if (v.type == zorvat::type_struct) {
    const auto& st = v.get<structure>();
    return make_struct(pick(st, gather(positions(st.dim_vec()), subs, col)));
  }
  throw host_error(str_format(tr("%s 类型的值不能取下标"), v.brief_type_str().c_str()), col);
}

value_ptr field_read(const zo_obj& v, const std::string& name, int col) {
  if (v.type != zorvat::type_struct) throw host_error(str_format(tr("%s 类型的值没有字段"), v.brief_type_str().c_str()), col);
  const auto& s = v.get<zorvat::structure>();
  if (!s.isfield(name)) throw host_error(str_format(tr("结构体没有字段 %s"), name.c_str()), col);
  if (!s.is_scalar()) throw host_error(tr("只能读取标量结构体的字段"), col);
  return std::const_pointer_cast<zo_obj>(s.get_field(name));
}

value_ptr index_assign(const value_ptr& target, const std::vector<subscript>& subs, bool brace,
                       const value_ptr& rhs, int col) {
  if (subs.empty()) throw host_error(tr("赋值需要至少一个下标"), col);
  if (brace) {
    if (target && target->type != zorvat::type_cell) throw host_error(tr("只有单元数组才能用 {} 赋值"), col);
    zorvat::cell_array c = target ? target->get<zorvat::cell_array>() : zorvat::cell_array(0, 0);
    matrix<zorvat::cell_array::element> one(1, 1);
    one.data()[0] = std::make_shared<zo_obj>(*rhs);
    scatter(c.data(), subs, one, col);
    for (long k = 0; k < c.size(); ++k)  // new places hold empty arrays
      if (!c.data().data()[k]) c.data().data()[k] = std::make_shared<zo_obj>(zorvat::type_double, nullptr);
    return std::make_shared<zo_obj>(zorvat::type_cell, new zorvat::cell_array(std::move(c)));
  }
  if ((target && !is_dense_kind(*target)) || !is_dense_kind(*rhs))
    throw host_error(tr("只支持数值、字符和逻辑数组的元素赋值"), col);
  return visit_arith(
      joined_kind(target, rhs->type),
      [&](auto tag) {
        using T = typename decltype(tag)::type;
        matrix<T> m = target ? convert_matrix<T>(*target, col) : matrix<T>(0, 0);
        scatter(m, subs, convert_matrix<T>(*rhs, col), col);
        return wrap(std::move(m));
      },
      col);
}

}  // namespace zorvat_host
