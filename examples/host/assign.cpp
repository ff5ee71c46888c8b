// assign.cpp: assignment along a path of subscripts and fields.
#include "assign.h"

#include "memory/messages.h"
#include "memory/str_util.h"
#include "value/structure.h"

namespace zorvat_host {

using zorvat::str_format;
using zorvat::structure;
using zorvat::tr;

namespace {

bool is_empty_double(const zo_obj& v) {
  return v.type == zorvat::type_double && v.array_base()->ndims() == 2 && v.array_base()->rows() == 0 &&
         v.array_base()->cols() == 0;
}

value_ptr field_assign(const value_ptr& target, const std::vector<accessor>& path, size_t k, const value_ptr& rhs) {
  const accessor& a = path[k];
  if (target && target->type != zorvat::type_struct)
    throw host_error(str_format(tr("不能给 %s 类型的值的字段赋值"), target->brief_type_str().c_str()), a.col);
  structure st = target ? target->get<structure>() : structure();
  if (!st.is_scalar()) throw host_error(tr("只能给标量结构体的字段赋值；结构体数组请用 s(i).name"), a.col);
  const value_ptr old = st.isfield(a.name) ? st.get_field(a.name) : nullptr;
  st.set_field(a.name, assign_path(old, path, k + 1, rhs), true);
  return std::make_shared<zo_obj>(zorvat::type_struct, new structure(std::move(st)));
}

}  // namespace

value_ptr step_read(const zo_obj& v, const accessor& a) {
  try {
    if (a.kind != accessor::field) return index_read(v, a.subs, a.kind == accessor::brace, a.col);
    if (v.type != zorvat::type_struct) return nullptr;
    const auto& s = v.get<structure>();
    if (!s.is_scalar() || !s.isfield(a.name)) return nullptr;
    return std::const_pointer_cast<zo_obj>(s.get_field(a.name));
  } catch (const host_error&) {
    return nullptr;  // nothing there yet (or not one value): the assignment decides
  }
}

value_ptr assign_path(const value_ptr& given, const std::vector<accessor>& path, size_t k, const value_ptr& rhs) {
  if (k == path.size()) return rhs;
  const accessor& a = path[k];
  const bool last = k + 1 == path.size();
  // An empty [] stands for "nothing yet": s = []; s.a = 1 makes a structure.
  const value_ptr target = given && is_empty_double(*given) ? nullptr : given;
  switch (a.kind) {
    case accessor::field:
      return field_assign(target, path, k, rhs);
    case accessor::brace: {
      if (last) return index_assign(target, a.subs, true, rhs, a.col);
      const value_ptr inner = target ? step_read(*target, a) : nullptr;
      return index_assign(target, a.subs, true, assign_path(inner, path, k + 1, rhs), a.col);
    }
    case accessor::paren:
      break;
  }
  if (last) {
    if (is_empty_double(*rhs)) {
      if (!given) throw host_error(tr("不能从尚未定义的变量中删除元素"), a.col);
      return delete_elements(*given, a.subs, a.col);
    }
    if (rhs->type == zorvat::type_struct || (target && target->type == zorvat::type_struct))
      return struct_assign(target, a.subs, rhs, a.col);
    return index_assign(given, a.subs, false, rhs, a.col);
  }
  // s(i).name = ...: one record of a structure array.
  if (target && target->type != zorvat::type_struct)
    throw host_error(str_format(tr("%s 类型的数组的元素没有字段"), target->brief_type_str().c_str()), a.col);
  const value_ptr record = target ? step_read(*target, a) : nullptr;
  if (record && record->get<structure>().numel() != 1)
    throw host_error(tr("下标必须恰好选出结构体数组的一个元素"), a.col);
  return struct_assign(target, a.subs, assign_path(record, path, k + 1, rhs), a.col);
}

}  // namespace zorvat_host
