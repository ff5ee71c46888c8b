// Shared helpers of the value tests: small external-object classes and
// builders of values.
#pragma once

#include <memory>
#include <string>

#include "matrix/matrix.h"
#include "value/zo_obj.h"

namespace zorvat_test {

// Counts live objects so tests can see that a value deletes what it adopted.
struct live_count {
  static int& n() {
    static int count = 0;
    return count;
  }
};

// Overrides nothing.
class plain_extern : public zorvat::extern_obj_base {
 public:
  plain_extern() { ++live_count::n(); }
  ~plain_extern() override { --live_count::n(); }
};

// A copyable object with its own name and plugin type identifier.
class counter_extern : public zorvat::extern_obj_base {
 public:
  explicit counter_extern(long v = 0) : value(v) { ++live_count::n(); }
  counter_extern(const counter_extern& o) : zorvat::extern_obj_base(o), value(o.value) { ++live_count::n(); }
  ~counter_extern() override { --live_count::n(); }
  zorvat::extern_obj_base* dup() const override { return new counter_extern(*this); }
  std::string to_string() const override { return std::to_string(value); }
  std::string classname() const override { return "counter"; }
  int type_id() const override { return 101; }
  long value;
};

// The extern base is not the first base, so its address differs from the
// object's: adoption must go through the base.
struct other_base {
  virtual ~other_base() = default;
  long pad = 7;
};
class second_base_extern : public other_base, public counter_extern {
 public:
  explicit second_base_extern(long v) : counter_extern(v) {}
};

inline std::shared_ptr<zorvat::zo_obj> dbl(double v) { return std::make_shared<zorvat::zo_obj>(v); }

inline std::shared_ptr<zorvat::zo_obj> chars(const char* s) {
  return std::make_shared<zorvat::zo_obj>(s, zorvat::type_char);
}

// A value of kind t owning an array of the given shape.
template <class T>
zorvat::zo_obj array_value(zorvat::zo_type t, std::initializer_list<long> dims) {
  return zorvat::zo_obj(t, new zorvat::matrix<T>(dims));
}

inline double first_double(const zorvat::zo_obj& v) { return v.get<zorvat::matrix<double>>()[0]; }

}  // namespace zorvat_test
