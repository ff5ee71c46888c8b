// cell_array.h: the payload of kind 25, an N-d array of values.
//
// Every element is a std::shared_ptr<zo_obj>, so a cell holds values of any
// kind and size.  Elements may be shared with other cells, structures and
// lists: a cell owns only its references.  A writer of an element therefore
// replaces the element pointer, or detaches first (copy_on_write_each()).
//
//   zorvat::cell_array c(1, 2);                       // two empty slots
//   c(0, 1) = std::make_shared<zorvat::zo_obj>("abc", zorvat::type_char);
//   c.to_string();                                    // "  {}  {1x3 char}\n"
//   zorvat::zo_obj v(zorvat::type_cell, new zorvat::cell_array(c));
//
// An empty slot is a null element: it holds no value.  The shape
// constructors and resizing leave their slots empty.  Readers treat an empty
// slot as such: the display and to_string() show it as "{}", copies and
// copy_on_write_each() keep it empty, as_std_vector() lists it as null,
// is_cell_of_char_vector() counts it as no char vector; only the size and
// type texts below, and the C interface (zxGetCell), read it as an empty
// 0x0 double.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "matrix/matrix.h"
#include "value/container_base.h"
#include "value/zo_obj.h"

namespace zorvat {

class cell_array : public container_base {
 public:
  using element = std::shared_ptr<zo_obj>;

  // 0 x 0.
  cell_array();
  // m x n (negative extents count as 0) of empty slots.
  cell_array(long m, long n);
  explicit cell_array(const std::vector<long>& dims);
  // A 1 x n row of the items.  deep false: the element pointers are shared
  // with the vector; deep true: every element is a new value object copied
  // from the item (payloads stay shared until written).  Element i is item i
  // either way; a null item stays null.
  cell_array(const std::vector<std::shared_ptr<zo_obj>>& items, bool deep);
  // A 1 x n row of the items (the value objects are shared; a null item
  // leaves its slot empty).
  explicit cell_array(const std::vector<std::shared_ptr<zo_obj const>>& items);
  // Takes the elements as they are (null elements are kept).
  explicit cell_array(matrix<element> elements);
  // Copies share the element value objects (the element matrix itself is
  // copied); see copy_on_write_each().
  cell_array(const cell_array& other);
  cell_array(cell_array&& other) noexcept;
  cell_array& operator=(const cell_array& other);
  cell_array& operator=(cell_array&& other) noexcept;
  ~cell_array() override;

  // Shape (container_base).
  long rows() const override { return data_.rows(); }
  long cols() const override { return data_.cols(); }
  long pages() const override { return data_.pages(); }
  long ndims() const override { return data_.ndims(); }
  long dim(long k) const override { return data_.dim(k); }
  const std::vector<long>& dim_vec() const override { return data_.dim_vec(); }
  long size() const { return data_.size(); }
  bool is_empty() const { return data_.is_empty(); }
  bool is_scalar() const { return data_.is_scalar(); }

  // The elements as a dense array (dims, strides, element access).
  matrix<element>& data() { return data_; }
  const matrix<element>& data() const { return data_; }
  // Element by linear index or subscript, unchecked.
  // REQUIRES: the position lies inside the cell.
  element& operator()(long i) { return data_(i); }
  const element& operator()(long i) const { return data_(i); }
  element& operator()(long i, long j) { return data_(i, j); }
  const element& operator()(long i, long j) const { return data_(i, j); }

  // Makes every element's payload private to this cell, recursively through
  // nested cells and structures: an element value object shared with someone
  // else is first replaced by a copy of it, then copy_on_write(true) is
  // called on it.  After this, writing into an element's payload never shows
  // in the value that the cell was copied from.
  void copy_on_write_each() override;
  void detach_elements(std::vector<zo_obj*>& work) override;

  // The elements in linear (column-major) order.
  std::vector<std::shared_ptr<zo_obj>> as_std_vector() const;
  std::vector<std::shared_ptr<zo_obj const>> as_std_vector_c() const;
  // A value of kind 31 whose list holds the elements in linear order.
  zo_obj as_variable_list() const;
  // For every row of the first page: "  {" brief_type_str() "}" per column
  // ("  {}" for an empty slot), then a line feed.
  std::string to_string() const;

  // Short kind name of an element for the cell display: "double" also for
  // complex double, "unknown" for sparse kinds, 0, 20, 23, 24 and 31.  A
  // null element reads as the empty double it stands for: "double".
  static const char* type_str_cell(std::shared_ptr<zo_obj const> obj);
  // "RxC", "RxCxP" or "N-D" of an element (non-array kinds are 1x1).
  static std::string size_str_cell(std::shared_ptr<zo_obj const> obj);
  // Rows right-aligned in wr characters and columns left-aligned in wc, so
  // the "x" of every line stands in one column.
  static std::string size_str_cell(std::shared_ptr<zo_obj const> obj, int wr, int wc);

 private:
  void copy_impl(const cell_array& src);
  void move_impl(cell_array&& src) noexcept;

  matrix<element> data_;
};

}  // namespace zorvat
