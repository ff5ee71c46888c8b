#include "value/cell_array.h"

#include "memory/str_util.h"
#include "value/kind_table.h"
#include "value/variable_list.h"

namespace zorvat {

namespace {

// An empty slot reads as a fresh empty double where a size is asked for.
const zo_obj& element_or_empty(const std::shared_ptr<zo_obj const>& obj, zo_obj& scratch) {
  if (obj) return *obj;
  scratch = zo_obj(type_double, nullptr);
  return scratch;
}

}  // namespace

cell_array::cell_array() = default;

cell_array::cell_array(long m, long n) : data_(m, n) {}

cell_array::cell_array(const std::vector<long>& dims) : data_(dims) {}

cell_array::cell_array(const std::vector<std::shared_ptr<zo_obj>>& items, bool deep)
    : data_(1, static_cast<long>(items.size())) {
  for (size_t i = 0; i < items.size(); ++i) {
    const auto& item = items[i];
    // A null item stays null (deep or not: there is nothing to copy).
    if (item) data_[static_cast<long>(i)] = deep ? std::make_shared<zo_obj>(*item) : item;
  }
}

cell_array::cell_array(const std::vector<std::shared_ptr<zo_obj const>>& items)
    : data_(1, static_cast<long>(items.size())) {
  for (size_t i = 0; i < items.size(); ++i) {
    const auto& item = items[i];
    data_[static_cast<long>(i)] = std::const_pointer_cast<zo_obj>(item);  // null: an empty slot
  }
}

cell_array::cell_array(matrix<element> elements) : data_(std::move(elements)) {}

cell_array::cell_array(const cell_array& other) : container_base(other) { copy_impl(other); }

cell_array::cell_array(cell_array&& other) noexcept { move_impl(std::move(other)); }

cell_array& cell_array::operator=(const cell_array& other) {
  copy_impl(other);
  return *this;
}

cell_array& cell_array::operator=(cell_array&& other) noexcept {
  move_impl(std::move(other));
  return *this;
}

cell_array::~cell_array() = default;

void cell_array::copy_impl(const cell_array& src) {
  if (this != &src) data_ = src.data_;
}

void cell_array::move_impl(cell_array&& src) noexcept {
  if (this != &src) data_ = std::move(src.data_);
}

void cell_array::copy_on_write_each() {
  std::vector<zo_obj*> work;
  detach_elements(work);
  internal::copy_on_write_work(work);
}

void cell_array::detach_elements(std::vector<zo_obj*>& work) {
  internal::for_each_element(data_, [&work](auto& e) { internal::detach_element(e, work); });
}

std::vector<std::shared_ptr<zo_obj>> cell_array::as_std_vector() const {
  std::vector<std::shared_ptr<zo_obj>> v;
  v.reserve(static_cast<size_t>(data_.size()));
  internal::for_each_element(data_, [&v](const auto& e) { v.push_back(e); });
  return v;
}

std::vector<std::shared_ptr<zo_obj const>> cell_array::as_std_vector_c() const {
  std::vector<std::shared_ptr<zo_obj const>> v;
  v.reserve(static_cast<size_t>(data_.size()));
  internal::for_each_element(data_, [&v](const auto& e) { v.push_back(e); });
  return v;
}

zo_obj cell_array::as_variable_list() const {
  auto list = std::make_unique<VariableList>(as_std_vector());
  return zo_obj(type_variable_list, list.release());
}

std::string cell_array::to_string() const {
  std::string s;
  // Only the first page of an N-d cell.
  for (long r = 0; r < rows(); ++r) {
    for (long c = 0; c < cols(); ++c) {
      // An empty slot holds no value and shows nothing between its braces.
      const element& e = data_(r, c);
      s += "  {";
      if (e) s += e->brief_type_str();
      s += "}";
    }
    s += "\n";
  }
  return s;
}

const char* cell_array::type_str_cell(std::shared_ptr<zo_obj const> obj) {
  const int t = obj ? static_cast<int>(obj->type) : static_cast<int>(type_double);
  return internal::kind_cell_name(t);
}

namespace {

// The dims of an element: arrays, cells and structures have their own; every
// other kind is 1x1.
const std::vector<long>& element_dims(const zo_obj& v, const std::vector<long>& one_by_one) {
  if (const matrix_base* a = v.array_base()) return a->dim_vec();
  if (const container_base* c = v.container()) return c->dim_vec();
  return one_by_one;
}

}  // namespace

std::string cell_array::size_str_cell(std::shared_ptr<zo_obj const> obj) {
  zo_obj scratch;
  const std::vector<long> one_by_one{1, 1};
  const std::vector<long>& d = element_dims(element_or_empty(obj, scratch), one_by_one);
  if (d.size() == 2) return str_format("%ldx%ld", d[0], d[1]);
  if (d.size() == 3) return str_format("%ldx%ldx%ld", d[0], d[1], d[2]);
  return str_format("%ld-D", static_cast<long>(d.size()));
}

std::string cell_array::size_str_cell(std::shared_ptr<zo_obj const> obj, int wr, int wc) {
  zo_obj scratch;
  const zo_obj& v = element_or_empty(obj, scratch);
  const bool text_or_number =
      (internal::is_scalar_dense_kind(v.type) && !internal::is_logical_kind(v.type)) || v.type == type_string;
  const matrix_base* a = v.array_base();
  if (text_or_number && a && a->is_scalar()) return str_format("%*dx%-*d", wr, 1, wc, 1);
  const std::vector<long> one_by_one{1, 1};
  const std::vector<long>& d = element_dims(v, one_by_one);
  return str_format("%*ldx%-*ld", wr, d[0], wc, d[1]);
}

}  // namespace zorvat
