// plugin_error.h: the error a plugin reports through the C interface.
//
// A plugin written against "plugin/zex.h" cannot throw: it records a message
// (zxError, or any misuse of a zex function) and returns.  The message waits
// here until the dispatcher, right after the plugin function returned, turns
// it into the call's std::runtime_error.  A nested call (a plugin calling
// back into the environment, which calls another plugin) saves and restores
// the outer call's pending message:
//
//   {
//     zorvat::internal::plugin_call_scope scope;   // nothing pending inside
//     fn(nlhs, plhs, nrhs, prhs);
//     scope.raise_pending();                       // throws the recorded text
//   }
//
// Single-threaded, like the rest of the library.
#pragma once

#include <string>

namespace zorvat {
namespace internal {

// Records `text` as the pending error unless one is already pending: the
// first error of a call is its cause, later ones are its consequences.
void set_plugin_error(const std::string& text);
// Whether an error is pending, and its text (empty when none).
bool has_plugin_error();
const std::string& plugin_error();
// Forgets the pending error.
void clear_plugin_error();

// One plugin call: starts with nothing pending and gives the outer call its
// pending state back at the end.
class plugin_call_scope {
 public:
  plugin_call_scope();
  ~plugin_call_scope();
  plugin_call_scope(const plugin_call_scope&) = delete;
  plugin_call_scope& operator=(const plugin_call_scope&) = delete;
  // Throws std::runtime_error with the pending text (and forgets it) when the
  // plugin recorded an error; does nothing otherwise.
  void raise_pending();

 private:
  bool saved_pending_;
  std::string saved_text_;
};

}  // namespace internal
}  // namespace zorvat
