// plugin_error.cpp: the pending error of the running plugin call.
#include "plugin/plugin_error.h"

#include <stdexcept>
#include <utility>

namespace zorvat {
namespace internal {
namespace {

// Whether the running call recorded an error, read on every call: a plain
// flag, initialised before any code runs.  The text lives beside it and is
// non-empty only while the flag is set.
bool error_pending = false;

std::string& pending_text() {
  static std::string text;
  return text;
}

}  // namespace

void set_plugin_error(const std::string& text) {
  if (error_pending) return;
  pending_text() = text;
  error_pending = true;
}

bool has_plugin_error() { return error_pending; }

const std::string& plugin_error() { return pending_text(); }

void clear_plugin_error() {
  error_pending = false;
  pending_text().clear();
}

// Nothing is pending on almost every call: only a pending message is moved
// aside and back.
plugin_call_scope::plugin_call_scope() : saved_pending_(error_pending) {
  if (saved_pending_) {
    saved_text_ = std::move(pending_text());
    clear_plugin_error();
  }
}

plugin_call_scope::~plugin_call_scope() {
  if (saved_pending_) {
    pending_text() = std::move(saved_text_);
    error_pending = true;
  } else if (error_pending) {
    clear_plugin_error();
  }
}

void plugin_call_scope::raise_pending() {
  if (!error_pending) return;
  std::string text = std::move(pending_text());
  clear_plugin_error();
  throw std::runtime_error(text);
}

}  // namespace internal
}  // namespace zorvat
