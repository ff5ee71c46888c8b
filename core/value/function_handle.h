// function_handle.h: the payload of kind 15, a reference to a function.
//
// A handle is a tag (fh_type) and a text: a function's name or the source
// text of an anonymous function.  The core stores and copies it; resolving
// the text is the interpreter's business.
//
//   zorvat::function_handle h(zorvat::fh_anonymous, "@(x) x + 1");
//   zorvat::zo_obj v(h);          // kind 15 with a copy of h
//   h.to_string();                // "@(x) x + 1"
#pragma once

#include <cstdint>
#include <string>

namespace zorvat {

// What the text of a handle is.  A default handle is fh_named (0).
enum fh_type : std::int32_t {
  fh_named = 0,      // the name of a function: "sin", "ns::f"
  fh_anonymous = 1,  // the source text of an anonymous function
};

class function_handle {
 public:
  function_handle() = default;
  explicit function_handle(fh_type t) : type_(t) {}
  function_handle(fh_type t, const std::string& text) : type_(t), data_(text) {}

  fh_type type() const { return type_; }
  fh_type& type() { return type_; }
  const std::string& data() const { return data_; }
  std::string& data() { return data_; }

  // A copy of the text, nothing added.
  std::string to_string() const { return data_; }

 private:
  fh_type type_ = fh_named;
  std::string data_;
};

}  // namespace zorvat
