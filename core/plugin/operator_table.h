// operator_table.h: what the core knows of each operator, read from the one
// table of operators (ZX_FOR_EACH_OPERATOR in plugin/zx_types.h).
//
//   internal::operator_symbol_of(zxOpElemLDiv);   // ".\\"
//   internal::operator_operands(zxOpSubsasgn);    // 3
//   internal::operator_operands(zxOpHorzCat);     // 0: any number
#pragma once

#include "plugin/zx_types.h"

namespace zorvat {
namespace internal {

// The operator's text in messages; "(unknown)" for a number outside the
// table.
constexpr const char* operator_symbol_of(int op) {
  switch (op) {
#define ZORVAT_OPERATOR_SYMBOL(id, value, symbol, operands) \
  case value:                                            \
    return symbol;
    ZX_FOR_EACH_OPERATOR(ZORVAT_OPERATOR_SYMBOL)
#undef ZORVAT_OPERATOR_SYMBOL
    default:
      return "(unknown)";
  }
}

// The number of operands that the operator takes: 1, 2 or 3; 0 for any
// number (the concatenations); -1 for a number outside the table.
constexpr int operator_operands(int op) {
  switch (op) {
#define ZORVAT_OPERATOR_OPERANDS(id, value, symbol, operands) \
  case value:                                              \
    return operands;
    ZX_FOR_EACH_OPERATOR(ZORVAT_OPERATOR_OPERANDS)
#undef ZORVAT_OPERATOR_OPERANDS
    default:
      return -1;
  }
}

}  // namespace internal
}  // namespace zorvat
