#include "value/structure.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

#include "memory/messages.h"
#include "memory/str_util.h"
#include "value/kind_table.h"
#include "value/one_line.h"

namespace zorvat {

// The field tables by name, the dims, and the names in creation order.
// Invariants: `names` and `fields` hold the same names; every table has the
// dims `dims`.
struct structure::Impl {
  field_map fields;
  std::vector<long> dims{1, 1};
  std::vector<std::string> names;
};

namespace {

// Negative extents become 0 and at least two dims are kept.
std::vector<long> normalized(std::vector<long> dims) {
  for (long& d : dims) d = std::max(d, 0L);
  while (dims.size() < 2) dims.push_back(1);
  return dims;
}

// Tables are made in place in their map node and filled there: moving a
// matrix allocates, and a move that is noexcept must not be asked to.
void fill_fresh(structure::field_table& t) {
  internal::for_each_element(t, [](auto& e) { e = internal::make_empty_element(); });
}

// Fills t (of the new dims) with old's elements at the same subscripts;
// places outside old get fresh empty values.
void fill_resized(structure::field_table& t, const structure::field_table& old) {
  const std::vector<long>& dims = t.dim_vec();
  std::vector<long> sub(dims.size(), 0);
  for (long k = 0; k < t.size(); ++k) {
    bool inside = !old.is_empty();  // an empty table (maybe by a dimension beyond dims) has nothing to keep
    long at = 0;
    for (size_t d = 0; d < dims.size() && inside; ++d) {
      inside = sub[d] < old.dim(static_cast<long>(d));
      at += sub[d] * old.stride(static_cast<long>(d));
    }
    t[k] = inside ? old.data()[at] : internal::make_empty_element();
    for (size_t d = 0; d < dims.size(); ++d) {
      if (++sub[d] < dims[d]) break;
      sub[d] = 0;
    }
  }
}

}  // namespace

structure::structure() : impl_(std::make_unique<Impl>()) {}

structure::structure(long m, long n) : structure(std::vector<long>{m, n}) {}

structure::structure(const std::vector<long>& dims) : impl_(std::make_unique<Impl>()) {
  impl_->dims = normalized(dims);
}

structure::structure(const structure& other)
    : container_base(other), impl_(std::make_unique<Impl>(*other.impl_)) {}

structure::structure(structure&& other) : impl_(std::make_unique<Impl>()) { impl_.swap(other.impl_); }

structure& structure::operator=(const structure& other) {
  if (this != &other) impl_ = std::make_unique<Impl>(*other.impl_);
  return *this;
}

structure& structure::operator=(structure&& other) noexcept {
  impl_.swap(other.impl_);
  return *this;
}

structure::~structure() = default;

long structure::rows() const { return impl_->dims[0]; }
long structure::cols() const { return impl_->dims[1]; }
long structure::pages() const { return impl_->dims.size() > 2 ? impl_->dims[2] : 1; }
long structure::ndims() const { return static_cast<long>(impl_->dims.size()); }
long structure::dim(long k) const { return k < ndims() ? impl_->dims[static_cast<size_t>(k)] : 1; }
const std::vector<long>& structure::dim_vec() const { return impl_->dims; }

bool structure::is_scalar() const {
  return impl_->dims.size() == 2 && impl_->dims[0] == 1 && impl_->dims[1] == 1;
}

bool structure::is_empty() const {
  const auto& d = impl_->dims;
  return std::find(d.begin(), d.end(), 0L) != d.end();
}

bool structure::is_no_fields() const { return impl_->names.empty(); }
long structure::nfields() const { return static_cast<long>(impl_->names.size()); }

long structure::numel() const {
  if (is_empty()) return 0;
  // Dims whose product passes the range of long (no field table can have
  // them) count as the largest number.
  long n = 1;
  for (long d : impl_->dims)
    if (__builtin_mul_overflow(n, d, &n)) return std::numeric_limits<long>::max();
  return n;
}

bool structure::isfield(const std::string& name) const { return impl_->fields.count(name) != 0; }

const std::vector<std::string>& structure::fieldnames() const { return impl_->names; }

std::shared_ptr<zo_obj> structure::get_field(const std::string& name) {
  auto it = impl_->fields.find(name);
  if (it == impl_->fields.end() || it->second.is_empty()) return nullptr;
  return it->second.data()[0];
}

std::shared_ptr<zo_obj const> structure::get_field(const std::string& name) const {
  return const_cast<structure*>(this)->get_field(name);
}

structure::field_table& structure::get_field_table(const std::string& name) {
  auto it = impl_->fields.find(name);
  if (it == impl_->fields.end())
    throw std::invalid_argument(str_format(tr("结构体中不存在名为 %s 的字段"), name.c_str()));
  return it->second;
}

const structure::field_table& structure::get_field_table(const std::string& name) const {
  return const_cast<structure*>(this)->get_field_table(name);
}

void structure::set_field(const std::string& name, std::shared_ptr<zo_obj const> value, bool deep) {
  std::shared_ptr<zo_obj> e = !value  ? internal::make_empty_element()
                              : deep  ? std::make_shared<zo_obj>(*value)
                                      : std::const_pointer_cast<zo_obj>(value);
  if (numel() == 0) resize(1, 1);
  create_field_table(name).data()[0] = std::move(e);
}

void structure::set_field(const std::string& name, const zo_obj* value) {
  if (!value) {
    set_field(name, std::shared_ptr<zo_obj const>(), false);
    return;
  }
  set_field(name, std::make_shared<zo_obj>(*value), false);
}

structure::field_table& structure::create_field_table(const std::string& name) {
  return create_field_table_at(nfields(), name);
}

structure::field_table& structure::create_field_table_at(long pos, const std::string& name) {
  pos = std::clamp(pos, 0L, nfields());
  // One descent of the map: the table is made only for a new name.
  auto [it, fresh] = impl_->fields.try_emplace(name, impl_->dims);
  if (!fresh) return it->second;
  try {
    fill_fresh(it->second);
    impl_->names.insert(impl_->names.begin() + pos, name);
  } catch (...) {
    impl_->fields.erase(it);
    throw;
  }
  return it->second;
}

bool structure::remove_field(const std::string& name) {
  auto it = impl_->fields.find(name);
  if (it == impl_->fields.end()) return false;
  impl_->fields.erase(it);
  auto& names = impl_->names;
  names.erase(std::find(names.begin(), names.end(), name));
  return true;
}

bool structure::rename_field(long pos, const std::string& name) {
  if (pos < 0 || pos >= nfields()) return false;
  std::string& old = impl_->names[static_cast<size_t>(pos)];
  if (old == name) return true;
  if (isfield(name)) return false;
  // Both copies are made before anything moves, so a failed allocation
  // leaves the structure as it was.
  std::string key = name;
  std::string listed = name;
  auto node = impl_->fields.extract(old);
  node.key() = std::move(key);
  impl_->fields.insert(std::move(node));
  old = std::move(listed);
  return true;
}

const structure::field_map& structure::data() const { return impl_->fields; }

void structure::resize(long m, long n) { resize(std::vector<long>{m, n}); }

void structure::resize(const std::vector<long>& dims) {
  std::vector<long> d = normalized(dims);
  // All tables are built before any is replaced, so a failure keeps the
  // structure consistent.
  field_map fields;
  for (const auto& [name, table] : impl_->fields) fill_resized(fields.try_emplace(name, d).first->second, table);
  impl_->fields.swap(fields);
  impl_->dims.swap(d);
}

void structure::copy_on_write_each() {
  std::vector<zo_obj*> work;
  detach_elements(work);
  internal::copy_on_write_work(work);
}

void structure::detach_elements(std::vector<zo_obj*>& work) {
  for (auto& field : impl_->fields)
    internal::for_each_element(field.second, [&work](auto& e) { internal::detach_element(e, work); });
}

std::string structure::to_string(bool leading_newline) const {
  if (is_no_fields()) return tr("  （结构体不含任何字段）\n");
  int w = 0;
  for (const auto& name : impl_->names) w = std::max(w, static_cast<int>(name.size()));
  std::string s;
  if (!is_scalar()) {
    s += tr("  包含如下字段：\n");
    if (leading_newline) s += "\n";
    for (const auto& name : impl_->names) s += "    " + str_format("%*s", w, name.c_str()) + "\n";
    return s;
  }
  for (const auto& name : impl_->names) {
    std::shared_ptr<zo_obj const> v = get_field(name);
    const std::string text = v ? internal::obj2str_one_line(*v)
                               : internal::obj2str_one_line(zo_obj(type_double, nullptr));
    s += "    " + str_format("%*s", w, name.c_str()) + ": " + text + "\n";
  }
  return s;
}

}  // namespace zorvat
