// Helpers of the display tests: values built from shapes and element lists, a
// fixture that restores the display format record, and the table of whole
// texts (Layout) that each renderer's test file adds its rows to.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "display/display_format.h"
#include "host/host_query.h"
#include "matrix/matrix.h"
#include "value/kind_table.h"
#include "value/zo_obj.h"

namespace zorvat_test {

// A value holding a matrix<T> of the given dims filled in storage order.
template <class T>
zorvat::zo_obj arr(std::vector<long> dims, std::initializer_list<T> elems = {}) {
  auto* m = new zorvat::matrix<T>(dims);
  long k = 0;
  for (const T& v : elems) m->data()[k++] = v;  // a fresh array is packed
  return zorvat::zo_obj(zorvat::internal::dense_kind_of<T>(), m);
}

// A value holding the view of the first and last columns of a 2x3 array of
// elems (column stride 4): not contiguous, so a display must walk it.
template <class T>
zorvat::zo_obj outer_columns(std::initializer_list<T> elems) {
  const zorvat::zo_obj base = arr<T>({2, 3}, elems);
  auto* v = new zorvat::matrix<T>(base.get<zorvat::matrix<T>>().view(2, 2, 0, 4));
  return zorvat::zo_obj(zorvat::internal::dense_kind_of<T>(), v);
}

class display_format_guard : public ::testing::Test {
 protected:
  void TearDown() override { zorvat::global::fmt_fl = {0, 256}; }
  static void set_format(unsigned format, bool loose) { zorvat::global::fmt_fl = {format, loose ? 256u : 0u}; }
};

// One row: obj2str(make(), width) under the format record {format, loose}
// is exactly `expected`.
struct layout_case {
  const char* name;
  std::function<zorvat::zo_obj()> make;
  long width;
  unsigned format;
  bool loose;
  std::string expected;
};
inline std::ostream& operator<<(std::ostream& os, const layout_case& c) { return os << c.name; }
inline std::string case_name(const ::testing::TestParamInfo<layout_case>& i) { return i.param.name; }

// Records what the library writes to the host's console while it lives
// (the host's query functions replaced, restored at the end).
class host_console {
 public:
  host_console() : f2k_(zorvat::global::__F2KQuery_p), k2f_(zorvat::global::__K2FQuery_p) {
    state() = {};
    zorvat::global::__F2KQuery_p = zorvat::global::__K2FQuery_p = record;
  }
  ~host_console() {
    zorvat::global::__F2KQuery_p = f2k_;
    zorvat::global::__K2FQuery_p = k2f_;
  }
  host_console(const host_console&) = delete;
  host_console& operator=(const host_console&) = delete;
  const std::string& out() const { return state().out; }
  const std::string& err() const { return state().err; }
  // The names of the queries made, each followed by ';'.
  const std::string& log() const { return state().log; }

 private:
  struct texts {
    std::string out, err, log;
  };
  static texts& state() {
    static texts t;
    return t;
  }
  static void* record(std::string const& name, void* arg) {
    state().log += name + ";";
    if (name == "write_to_cout") state().out += *static_cast<const std::string*>(arg);
    if (name == "write_to_cerr") state().err += *static_cast<const std::string*>(arg);
    return nullptr;
  }
  zorvat::global::core_query_function f2k_, k2f_;
};

class Layout : public display_format_guard, public ::testing::WithParamInterface<layout_case> {};

}  // namespace zorvat_test
