// variable_list.h: the payload of kind 31, an argument or result list.
//
// An ordered list of values.  Copies with deep false share the element value
// objects; with deep true every element gets a value object of its own
// (payloads stay shared until written, as for any zo_obj copy).
//
//   zorvat::VariableList args{std::make_shared<zorvat::zo_obj>(1.0),
//                             std::make_shared<zorvat::zo_obj>("x")};
//   zorvat::VariableList mine(args, true);   // no element object shared
#pragma once

#include <initializer_list>
#include <memory>
#include <vector>

namespace zorvat {

class zo_obj;

class VariableList {
 public:
  VariableList() = default;
  VariableList(std::initializer_list<std::shared_ptr<zo_obj>>&& items);
  VariableList(const std::vector<std::shared_ptr<zo_obj>>& items);
  VariableList(std::vector<std::shared_ptr<zo_obj>>&& items) noexcept;
  // deep false (also the plain copy): the element pointers are copied; deep
  // true: each element is a new value object copied from the one it replaces
  // (null elements stay null).
  VariableList(const VariableList& other, bool deep = false);
  VariableList(VariableList&& other) noexcept = default;
  VariableList& operator=(const VariableList& other) = default;
  VariableList& operator=(VariableList&& other) noexcept = default;
  ~VariableList();

  std::vector<std::shared_ptr<zo_obj>>& data() { return data_; }
  const std::vector<std::shared_ptr<zo_obj>>& data() const { return data_; }
  long size() const { return static_cast<long>(data_.size()); }

 private:
  std::vector<std::shared_ptr<zo_obj>> data_;
};

}  // namespace zorvat
