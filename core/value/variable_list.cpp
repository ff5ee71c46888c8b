#include "value/variable_list.h"

#include "value/zo_obj.h"

namespace zorvat {

VariableList::VariableList(std::initializer_list<std::shared_ptr<zo_obj>>&& items) : data_(items) {}

VariableList::VariableList(const std::vector<std::shared_ptr<zo_obj>>& items) : data_(items) {}

VariableList::VariableList(std::vector<std::shared_ptr<zo_obj>>&& items) noexcept
    : data_(std::move(items)) {}

VariableList::VariableList(const VariableList& other, bool deep) : data_(other.data_) {
  if (!deep) return;
  for (auto& e : data_)
    if (e) e = std::make_shared<zo_obj>(*e);
}

VariableList::~VariableList() = default;

}  // namespace zorvat
