// plugin_error.cpp: the pending error of the running plugin call.
#include "plugin/plugin_error.h"

#include <stdexcept>
#include <utility>

namespace zorvat {
namespace internal {
namespace {

struct pending_error {
  bool pending = false;
  std::string text;
};

pending_error& pending() {
  static pending_error e;
  return e;
}

}  // namespace

void set_plugin_error(const std::string& text) {
  pending_error& e = pending();
  if (e.pending) return;
  e.text = text;
  e.pending = true;
}

bool has_plugin_error() { return pending().pending; }

const std::string& plugin_error() { return pending().text; }

void clear_plugin_error() {
  pending().pending = false;
  pending().text.clear();
}

plugin_call_scope::plugin_call_scope()
    : saved_pending_(pending().pending), saved_text_(std::move(pending().text)) {
  clear_plugin_error();
}

plugin_call_scope::~plugin_call_scope() {
  pending().pending = saved_pending_;
  pending().text = std::move(saved_text_);
}

void plugin_call_scope::raise_pending() {
  if (!pending().pending) return;
  std::string text = std::move(pending().text);
  clear_plugin_error();
  throw std::runtime_error(text);
}

}  // namespace internal
}  // namespace zorvat
