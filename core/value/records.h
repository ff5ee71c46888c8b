// records.h: the opaque records of the control kind (18) and the graphics
// kind (20).
//
// The core only stores and copies them; what their members mean is decided by
// the interpreter and the graphics layer.
//
//   zorvat::zo_obj c(zorvat::controlType{2});        // kind 18
//   zorvat::draw_t d;  d.elements = {1.0, 2.0};
//   zorvat::zo_obj g(d);                             // kind 20, list copied
#pragma once

#include <cstdint>
#include <vector>

namespace zorvat {

// A 32-bit control value (a struct, not an int, so that zo_obj(controlType)
// stays apart from zo_obj(int)).
struct controlType {
  std::int32_t value = 0;

  friend bool operator==(const controlType& a, const controlType& b) { return a.value == b.value; }
  friend bool operator!=(const controlType& a, const controlType& b) { return a.value != b.value; }
};

// A graphics record copied member by member: a 32-bit field, a 16-byte
// block, a 64-bit field, two 32-bit fields and a list of 8-byte elements.
struct draw_t {
  std::int32_t kind = 0;
  unsigned char tag[16] = {};
  std::int64_t handle = 0;
  std::int32_t flags = 0;
  std::int32_t count = 0;
  std::vector<double> elements;

  friend bool operator==(const draw_t& a, const draw_t& b);
  friend bool operator!=(const draw_t& a, const draw_t& b) { return !(a == b); }
};

inline bool operator==(const draw_t& a, const draw_t& b) {
  for (int i = 0; i < 16; ++i)
    if (a.tag[i] != b.tag[i]) return false;
  return a.kind == b.kind && a.handle == b.handle && a.flags == b.flags && a.count == b.count &&
         a.elements == b.elements;
}

}  // namespace zorvat
