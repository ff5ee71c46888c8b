// plugin_library.h: the mapped code of a plugin, kept until its last user goes.
//
// Unloading a plugin takes its names, operators and overloads away at once,
// but its code may still be needed: values of its types are destroyed,
// displayed and copied through virtual functions that live in the plugin, and
// a call into the plugin may be what asked for the unload.  So the library is
// owned through std::shared_ptr<plugin_library> by the plugin manager's record,
// by every external object whose class lives in it, and by the manager while
// plugin code runs; the last owner closes it (dlclose).
//
//   std::string why;
//   auto lib = plugin_library::open("/opt/z/plugins/demo/main.so", why);
//   auto f = lib->symbol("zxPluginFunctions");
//   auto owner = plugin_library::owner_of(address);   // null: not plugin code
//   { plugin_library::running guard; fn(...); }       // no dlclose under fn
//
// Single-threaded, like the rest of the plugin manager.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace zorvat {

class extern_obj_base;

namespace internal {

class plugin_library : public std::enable_shared_from_this<plugin_library> {
 public:
  // dlopen(path, RTLD_NOW); null on failure with the loader's text in `why`.
  static std::shared_ptr<plugin_library> open(const std::string& path, std::string& why);
  // The open library whose mapped image holds `address`, or null.  A loop over
  // the open plugins: nothing to do when none is open.
  static std::shared_ptr<plugin_library> owner_of(const void* address);

  plugin_library(const plugin_library&) = delete;
  plugin_library& operator=(const plugin_library&) = delete;
  ~plugin_library();  // dlclose

  // While one of these lives, plugin code may be on the stack: a library
  // whose last owner goes meanwhile is closed when the outermost one ends.
  class running {
   public:
    running();
    ~running();
    running(const running&) = delete;
    running& operator=(const running&) = delete;
  };

  void* handle() const { return handle_; }
  void* symbol(const char* name) const;
  bool contains(const void* address) const {
    const auto a = reinterpret_cast<std::uintptr_t>(address);
    return a >= lo_ && a < hi_;
  }

 private:
  explicit plugin_library(void* handle);

  void* handle_;
  std::uintptr_t lo_ = 0, hi_ = 0;  // the loaded segments, [lo_, hi_)
};

// A shared owner of a heap external object (the payload of kind 21).  When the
// object's class lives in a plugin, the owner also keeps that plugin's code
// mapped until the object has been deleted.  REQUIRES: p is non-null and was
// made with new.
std::shared_ptr<extern_obj_base> adopt_extern_obj(extern_obj_base* p);

}  // namespace internal
}  // namespace zorvat
