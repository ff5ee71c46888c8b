// structure.h: the payload of kind 16, an N-d array of records with named
// fields.
//
// Stored by field: every field owns one table (a matrix of values with the
// structure's dimensions), so adding or removing a field touches one table
// and all records at once.  Fields are looked up by name (exact,
// case-sensitive) and listed in the order in which they were created, which is
// the display order.
//
//   zorvat::structure s;                                    // 1x1, no field
//   s.set_field("a", std::make_shared<zorvat::zo_obj>(1.0), false);
//   s.set_field("name", std::make_shared<zorvat::zo_obj>("x", zorvat::type_char), false);
//   s.get_field("a")->as_double();                          // 1
//   s.resize(1, 3);                  // records 2 and 3 get empty values
//   s.get_field_table("a")(2) = std::make_shared<zorvat::zo_obj>(7.0);
//
// Rules of this implementation:
// - Fresh elements (a new field, growth by resize) are distinct empty 0x0
//   double values, never null.
// - get_field() reads the first record; a missing name or a structure without
//   records gives null.  get_field_table() of a missing name throws
//   std::invalid_argument.
// - set_field() writes the first record and creates a missing field; a
//   structure without records first becomes 1x1.  Its flag is `deep`: false
//   stores the given value object itself (shared with the caller), true
//   stores a new value object copied from it (payload shared until written).
//   A null value stores a fresh empty value.
// - create_field_table() and create_field_table_at() leave an existing field
//   as it is (name, position and contents) and return its table; the
//   position of create_field_table_at() is clamped to 0..nfields().
// - remove_field() of a missing name and rename_field() with a position out
//   of range or a name that another field has change nothing and return false.
// - resize() keeps every record whose subscripts still fit, at the same
//   subscripts; negative extents count as 0 and at least two dims are kept.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "matrix/matrix.h"
#include "value/container_base.h"
#include "value/zo_obj.h"

namespace zorvat {

class structure : public container_base {
 public:
  using element = std::shared_ptr<zo_obj>;
  using field_table = matrix<element>;
  using field_map = std::map<std::string, field_table>;
  struct Impl;

  // 1x1 without fields.
  structure();
  // m x n (negative extents count as 0) without fields.
  structure(long m, long n);
  explicit structure(const std::vector<long>& dims);
  // Copies share the element value objects (the tables are copied); see
  // copy_on_write_each().
  structure(const structure& other);
  // A moved-from structure is 1x1 without fields.
  structure(structure&& other);
  structure& operator=(const structure& other);
  structure& operator=(structure&& other) noexcept;
  ~structure() override;

  // Shape (container_base).
  long rows() const override;
  long cols() const override;
  long pages() const override;
  long ndims() const override;
  long dim(long k) const override;
  const std::vector<long>& dim_vec() const override;
  // Two dims, both 1.
  bool is_scalar() const;
  // Some dimension is 0.
  bool is_empty() const;
  bool is_no_fields() const;
  long nfields() const;
  // Number of records (product of the dims; the largest long when that
  // product does not fit).
  long numel() const;

  bool isfield(const std::string& name) const;
  // The names in creation order.
  const std::vector<std::string>& fieldnames() const;
  // The field's value in the first record; null for a missing name or a
  // structure without records.
  std::shared_ptr<zo_obj> get_field(const std::string& name);
  std::shared_ptr<zo_obj const> get_field(const std::string& name) const;
  // The field's array (the structure's dimensions).  Throws
  // std::invalid_argument for a missing name.
  field_table& get_field_table(const std::string& name);
  const field_table& get_field_table(const std::string& name) const;
  // Sets the field of the first record (see the rules above).
  void set_field(const std::string& name, std::shared_ptr<zo_obj const> value, bool deep);
  // Stores a new value object copied from *value (null: a fresh empty value).
  void set_field(const std::string& name, const zo_obj* value);
  // Appends a field filled with fresh empty values.
  field_table& create_field_table(const std::string& name);
  // Inserts a field at position pos of the name order.
  field_table& create_field_table_at(long pos, const std::string& name);
  bool remove_field(const std::string& name);
  // Renames the field at position pos of the name order, keeping its place.
  bool rename_field(long pos, const std::string& name);
  // The field tables by name (map order, not creation order).
  const field_map& data() const;

  // New dims for the structure and every table (see the rules above).
  void resize(long m, long n);
  void resize(const std::vector<long>& dims);

  // For every field table in map order and every element in linear order: an
  // element value object shared with someone else is first replaced by a copy
  // of it, then copy_on_write(true) is called on it, so a copied structure
  // owns all its element payloads.
  void copy_on_write_each() override;
  void detach_elements(std::vector<zo_obj*>& work) override;

  // The plain text of the structure: a scalar lists "name: <one-line value>"
  // per field, names right-aligned; an array lists the field names (after one
  // line feed when leading_newline is true); a structure without fields gives
  // one translated line.
  std::string to_string(bool leading_newline) const;

 private:
  std::unique_ptr<Impl> impl_;
};

}  // namespace zorvat
