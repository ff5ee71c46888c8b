// plugin_library.cpp: opening and closing plugin libraries, finding the
// library that holds a piece of code, and external objects that keep it.
#include "plugin/plugin_library.h"

#include <dlfcn.h>
#include <link.h>

#include <algorithm>
#include <cstring>
#include <new>
#include <vector>

#include "value/extern_obj_base.h"

namespace zorvat {
namespace internal {
namespace {

// A list that is made without allocating (so that even the first use cannot
// fail, also in a destructor) and never destroyed: libraries may close while
// the process's statics are being destroyed.
class library_list {
 public:
  library_list() noexcept { new (storage_) std::vector<plugin_library*>(); }
  std::vector<plugin_library*>& get() noexcept {
    return *std::launder(reinterpret_cast<std::vector<plugin_library*>*>(storage_));
  }

 private:
  alignas(std::vector<plugin_library*>) unsigned char storage_[sizeof(std::vector<plugin_library*>)];
};

// Every library open at the moment, loaded or already unloaded but still in
// use.  Rarely more than a handful.
std::vector<plugin_library*>& open_libraries() {
  static library_list libs;
  return libs.get();
}

// Calls into plugin code in progress, and the libraries whose last owner went
// meanwhile (closed when the outermost call ends).
int running_calls = 0;
bool any_closing_later = false;  // closing_later() is not empty
std::vector<plugin_library*>& closing_later() {
  static library_list libs;
  return libs.get();
}

// The last owner's release: close now, or after the plugin code that runs.
void release_library(plugin_library* lib) {
  if (running_calls > 0) {
    try {
      closing_later().push_back(lib);
      any_closing_later = true;
      return;
    } catch (...) {
      // No memory to postpone: keep the library open for good rather than
      // unmap code that may be on the stack.
      return;
    }
  }
  delete lib;
}

struct segment_query {
  std::uintptr_t base;
  const char* name;
  std::uintptr_t lo, hi;
};

// Finds the loaded object with the given base and file name, and the extent
// of its loaded segments.
int find_segments(dl_phdr_info* info, size_t, void* data) {
  auto* q = static_cast<segment_query*>(data);
  if (info->dlpi_addr != q->base || !info->dlpi_name || std::strcmp(info->dlpi_name, q->name) != 0) return 0;
  for (int k = 0; k < info->dlpi_phnum; ++k) {
    const ElfW(Phdr)& ph = info->dlpi_phdr[k];
    if (ph.p_type != PT_LOAD) continue;
    const std::uintptr_t lo = info->dlpi_addr + ph.p_vaddr;
    q->lo = std::min(q->lo, lo);
    q->hi = std::max(q->hi, static_cast<std::uintptr_t>(lo + ph.p_memsz));
  }
  return 1;
}

}  // namespace

plugin_library::plugin_library(void* handle) : handle_(handle) {
  link_map* map = nullptr;
  if (dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0 && map) {
    segment_query q{map->l_addr, map->l_name, UINTPTR_MAX, 0};
    if (dl_iterate_phdr(find_segments, &q) != 0 && q.lo < q.hi) {
      lo_ = q.lo;
      hi_ = q.hi;
    }
  }
}

std::shared_ptr<plugin_library> plugin_library::open(const std::string& path, std::string& why) {
  void* handle = dlopen(path.c_str(), RTLD_NOW);
  if (!handle) {
    const char* text = dlerror();
    why = text ? text : "";
    return nullptr;
  }
  plugin_library* raw = nullptr;
  try {
    raw = new plugin_library(handle);
  } catch (...) {
    dlclose(handle);
    throw;
  }
  std::shared_ptr<plugin_library> lib(raw, release_library);  // deletes raw if it throws
  open_libraries().push_back(raw);
  return lib;
}

plugin_library::running::running() { ++running_calls; }

plugin_library::running::~running() {
  if (--running_calls != 0 || !any_closing_later) return;
  // Taken out first: closing runs the library's static destructors, which
  // may call back into the core.
  std::vector<plugin_library*> libs;
  libs.swap(closing_later());
  any_closing_later = false;
  for (plugin_library* lib : libs) delete lib;
}

plugin_library::~plugin_library() {
  auto& libs = open_libraries();
  libs.erase(std::remove(libs.begin(), libs.end(), this), libs.end());
  dlclose(handle_);
}

void* plugin_library::symbol(const char* name) const { return dlsym(handle_, name); }

std::shared_ptr<plugin_library> plugin_library::owner_of(const void* address) {
  for (plugin_library* lib : open_libraries()) {
    if (lib->contains(address)) return lib->weak_from_this().lock();
  }
  return nullptr;
}

std::shared_ptr<extern_obj_base> adopt_extern_obj(extern_obj_base* p) {
  // The object's virtual table (its first word) lies in the library whose
  // code its virtual functions, destructor included, come from.
  std::shared_ptr<plugin_library> code = plugin_library::owner_of(*reinterpret_cast<void* const*>(p));
  if (!code) return std::shared_ptr<extern_obj_base>(p);
  return std::shared_ptr<extern_obj_base>(p, [code = std::move(code)](extern_obj_base* o) mutable {
    delete o;
    code.reset();  // now, not when the last weak owner goes
  });
}

}  // namespace internal
}  // namespace zorvat
