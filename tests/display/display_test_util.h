// Helpers of the display tests: values built from shapes and element lists,
// and a fixture that restores the display format record.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <vector>

#include "display/display_format.h"
#include "matrix/matrix.h"
#include "value/zo_obj.h"

namespace zorvat_test {

// A value of `kind` holding a matrix<T> of the given dims filled in storage order.
template <class T>
zorvat::zo_obj array_value(zorvat::zo_type kind, std::vector<long> dims, std::initializer_list<T> elems) {
  auto* m = new zorvat::matrix<T>(dims);
  long k = 0;
  for (const T& v : elems) m->data()[k++] = v;  // a fresh array is packed
  return zorvat::zo_obj(kind, m);
}

class display_format_guard : public ::testing::Test {
 protected:
  void TearDown() override { zorvat::global::fmt_fl = {0, 256}; }
  static void set_format(unsigned format, bool loose) { zorvat::global::fmt_fl = {format, loose ? 256u : 0u}; }
};

}  // namespace zorvat_test
