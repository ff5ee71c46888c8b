// plugin_manager.cpp: loading and unloading plugins, the function registry,
// type identifiers, operator registration and C structure types.
#include "plugin/plugin_manager.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string_view>

#include "host/host_query.h"
#include "host/host_services.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "plugin/operator_table.h"

namespace zorvat {
namespace internal {
namespace {

// A plugin's exception from an entry point counts as a non-zero result: the
// manager never throws for a plugin's failure.
template <class Fn, class... Args>
int call_entry(Fn fn, Args... args) {
  try {
    return fn(args...);
  } catch (...) {
    return -1;
  }
}

// Makes the plugin being loaded visible to registrations from its entry
// points, and restores the previous one afterwards.
class current_plugin_scope {
 public:
  // Only the copy of the name may fail; the exchanges cannot.
  explicit current_plugin_scope(const std::string& name)
      : data_(plugin_manager_data::get_instance()), saved_(name) {
    data_.swap_current_plugin(saved_);
  }
  ~current_plugin_scope() { data_.swap_current_plugin(saved_); }

 private:
  plugin_manager_data& data_;
  std::string saved_;
};

// A name that stays inside "<root>/plugins" and reaches dlopen whole: one or
// more parts separated by "/", none of them empty, "." or ".." (so a folder
// has one name only, and none leaves the root), with no "\\" and no NUL.
bool valid_plugin_name(const std::string& name) {
  constexpr std::string_view forbidden("\\\0", 2);
  if (name.find_first_of(forbidden) != std::string::npos) return false;
  size_t begin = 0;
  for (;;) {
    const size_t end = std::min(name.find('/', begin), name.size());
    const std::string_view part(name.data() + begin, end - begin);
    if (part.empty() || part == "." || part == "..") return false;
    if (end == name.size()) return true;
    begin = end + 1;
  }
}

std::string scripts_dir(const std::string& root, const std::string& name) {
  return root + "/plugins/" + name + "/scripts";
}

}  // namespace

// libzex.so beside this library: where a dlopen of the bare name does not
// search our RUNPATH (an interposed dlopen, as under AddressSanitizer, is
// called from another object).
static void* open_zex_beside_core() {
  Dl_info info;
  if (!dladdr(reinterpret_cast<void*>(&open_zex_beside_core), &info) || !info.dli_fname) return nullptr;
  std::string path = info.dli_fname;
  const size_t slash = path.rfind('/');
  path = (slash == std::string::npos ? std::string() : path.substr(0, slash + 1)) + "libzex.so";
  return dlopen(path.c_str(), RTLD_NOW);
}

plugin_manager::plugin_manager() {
  zex_ = dlopen("libzex.so", RTLD_NOW);
  if (!zex_) zex_ = open_zex_beside_core();
  if (!zex_) std::cerr << tr("警告：无法加载 zex 库，部分插件可能无法正常工作") << std::endl;
}

plugin_manager& plugin_manager::get_instance() {
  static plugin_manager instance;
  return instance;
}

bool plugin_manager::check_signature() const { return true; }

bool plugin_manager::is_loaded(const std::string& name) const { return plugins_.count(name) != 0; }

int plugin_manager::add(const std::string& name, const std::vector<const __zxArray*>& args,
                        const std::string& root) {
  // The name becomes a folder under "<root>/plugins": it must not leave it,
  // nor be cut short by a NUL.
  if (!valid_plugin_name(name)) {
    error_ = str_format(tr("无法加载 %s - %s"), name.c_str(),
                        tr("插件名称由 / 分隔的各段都不能为空，不能是 . 或 ..，名称也不能含有 \\ 或 NUL 字符"));
    return plugin_open_failed;
  }
  if (is_loaded(name)) {
    error_ = str_format(tr("插件 %s 已经被加载"), name.c_str());
    return plugin_already_loaded;
  }
  const std::string path = root + "/plugins/" + name + "/main.so";
  if (!check_signature()) {
    error_ = str_format(tr("无法加载 %s - 数字签名验证失败"), name.c_str());
    return plugin_bad_signature;
  }
  std::string why;
  std::shared_ptr<plugin_library> library = plugin_library::open(path, why);
  if (!library) {
    error_ = str_format(tr("无法加载 %s - %s"), name.c_str(), why.c_str());
    return plugin_open_failed;
  }

  plugin_info info;
  info.name = name;
  info.path = path;
  info.handle = library->handle();
  info.library = library;
  info.init_lib = reinterpret_cast<zxPluginInitLibFunction>(library->symbol("zxPluginInitLib"));
  info.init = reinterpret_cast<zxPluginInitFunction>(library->symbol("zxPluginInit"));
  info.fini = reinterpret_cast<zxPluginFiniFunction>(library->symbol("zxPluginFini"));
  info.functions = reinterpret_cast<zxPluginFunctionsFunction>(library->symbol("zxPluginFunctions"));
  if (!info.functions) {
    error_ = tr("加载错误 - 没有定义 zxPluginFunctions");
    return plugin_no_functions;  // the library closes with its last owner, here
  }

  // Validation before anything is recorded, so a refused plugin leaves no trace.
  for (const zxFunctionEntry* row = info.functions(); row && row->function; ++row) {
    if (!row->name) continue;
    const std::string fname = row->name;
    const size_t sep = fname.find("::");
    if (sep != std::string::npos) {
      const std::string ns = fname.substr(0, sep);
      if (ns.empty() || ns == "builtin") {
        error_ = str_format(tr("无效的命名空间名称 %s"), ns.c_str());
        return plugin_bad_namespace;
      }
    }
    auto owner = functions_.find(fname);
    if (owner != functions_.end()) {
      error_ = str_format(tr("符号冲突 - 函数 %s 已经在另一插件 %s 中定义"), fname.c_str(),
                          owner->second.plugin.c_str());
      return plugin_name_conflict;
    }
  }

  const zxPluginInitLibFunction init_lib = info.init_lib;
  const zxPluginInitFunction init = info.init;
  try {
    for (const zxFunctionEntry* row = info.functions(); row && row->function; ++row) {
      if (row->name) functions_.emplace(row->name, plugin_fcn_info{row->name, name, row->function, row->help});
    }
    plugins_[name] = std::move(info);
  } catch (...) {
    // Out of memory half way: no name may point into the library that closes.
    for (auto f = functions_.begin(); f != functions_.end();)
      f = f->second.plugin == name ? functions_.erase(f) : std::next(f);
    plugins_.erase(name);
    throw;
  }

  try {
    // The entry points may register, load or unload (themselves too): the
    // record is not held across them, and the code stays mapped until they
    // return.
    {
      current_plugin_scope scope(name);
      plugin_library::running guard;
      if (init_lib && call_entry(init_lib, zex_) != 0) {
        error_ = tr("初始化外部库错误 - zxPluginInitLib 返回非零值");
        remove(name);
        return plugin_init_lib_failed;
      }
      if (init) {
        // The count is the full size while the array starts one element in:
        // this pairing is part of the plugin ABI and is kept on purpose.
        const __zxArray** array = args.empty() ? nullptr : const_cast<const __zxArray**>(args.data()) + 1;
        if (call_entry(init, static_cast<int>(args.size()), array) != 0) {
          error_ = tr("初始化错误 - zxPluginInit 返回非零值");
          remove(name);
          return plugin_init_failed;
        }
      }
    }

    // A plugin that unloaded itself from its init has been loaded and is
    // gone: its scripts are not added.
    if (is_loaded(name)) {
      std::string scripts = scripts_dir(root, name);
      global::F2KQuery_fwd("addpath", &scripts);
    }
  } catch (...) {
    // Out of memory, or a host service failed, after registration: the
    // plugin does not stay half loaded.
    try {
      if (is_loaded(name)) remove(name);
    } catch (...) {
      forget(name);
    }
    throw;
  }
  error_.clear();
  return plugin_done;
}

int plugin_manager::remove(const std::string& name) {
  if (!is_loaded(name)) {
    error_ = str_format(tr("插件 %s 未被加载，因此不需要卸载"), name.c_str());
    return plugin_not_loaded;
  }
  if (std::find(removing_.begin(), removing_.end(), name) != removing_.end()) {
    error_ = str_format(tr("插件 %s 正在卸载中，不能再次卸载"), name.c_str());
    return plugin_being_removed;
  }
  removing_.push_back(name);
  struct removal_end {
    std::vector<std::string>& list;
    ~removal_end() { list.pop_back(); }  // removals nest: the last one started ends first
  } removal{removing_};

  // The hook and fini may load, unload or register (the table may rehash):
  // what they need is copied, and the record is looked up again afterwards.
  // The code stays mapped until the end of the removal.
  plugin_library::running guard;
  // What may fail to allocate comes first, while nothing has changed.
  const std::vector<int> type_ids = plugins_[name].type_ids;
  const zxPluginFiniFunction fini = plugins_[name].fini;
  const char* env_root = std::getenv("ZORVAT_PLUGIN_PATH");
  std::string scripts = scripts_dir(env_root ? env_root : "", name);

  // Objects of the plugin's types must go before its code does.
  if (global::clear_extern_obj) global::clear_extern_obj(type_ids);

  const bool fini_failed = fini && call_entry(fini) != 0;
  if (fini_failed) {
    try {
      error_ = str_format(tr("插件 %s 的 fini 函数返回非零值"), name.c_str());
    } catch (const std::bad_alloc&) {
      error_.clear();  // the status still tells
    }
  }

  // A nested remove of it was refused, so it is normally still there.
  if (!is_loaded(name)) return fini_failed ? plugin_fini_failed : plugin_done;
  forget(name);  // the code is unmapped when the removal ends, unless values of its types live on
  global::F2KQuery_fwd("rmpath", &scripts);
  return fini_failed ? plugin_fini_failed : plugin_done;
}

void plugin_manager::forget(const std::string& name) noexcept {
  auto it = plugins_.find(name);
  if (it == plugins_.end()) return;
  for (auto f = functions_.begin(); f != functions_.end();)
    f = f->second.plugin == name ? functions_.erase(f) : std::next(f);
  for (unsigned long key : it->second.operator_keys) operators_.erase(key);
  operator_cache_.fill({});
  plugin_manager_data::get_instance().remove_overload_function_by_tag(name);
  for (int id : it->second.type_ids) {
    if (id % 2 == 0) cstructs_.erase(id);
  }
  plugins_.erase(it);  // last: `name` may be its key
}

plugin_manager::function plugin_manager::get_function_by_name(const std::string& name) const {
  if (function fn = lookup_zex_function(name)) return fn;
  auto it = functions_.find(name);
  return it == functions_.end() ? nullptr : it->second.function;
}

const char* plugin_manager::get_function_help_by_name(const std::string& name) const {
  auto it = functions_.find(name);
  return it == functions_.end() ? nullptr : it->second.help;
}

std::vector<std::string> plugin_manager::get_export_function_list(const std::string& plugin) const {
  std::vector<std::string> names;
  auto it = plugins_.find(plugin);
  if (it == plugins_.end()) {
    error_ = str_format(tr("插件 [%s] 未被载入"), plugin.c_str());
    return names;
  }
  if (!it->second.functions) return names;
  for (const zxFunctionEntry* row = it->second.functions(); row && row->function; ++row) {
    if (row->name) names.emplace_back(row->name);
  }
  return names;
}

plugin_info& plugin_manager::operator[](const std::string& plugin) const { return plugins_[plugin]; }

int plugin_manager::next_cxx_obj_id(const std::string& plugin) {
  auto it = plugins_.find(plugin);
  if (it == plugins_.end()) {
    error_ = str_format(tr("错误 - 插件 %s 未被载入"), plugin.c_str());
    return -1;
  }
  const int id = cxx_obj_counter_;
  cxx_obj_counter_ += 2;
  it->second.type_ids.push_back(id);
  error_.clear();
  return id;
}

const char* plugin_manager::operator_symbol(zxOperatorID op) { return operator_symbol_of(op); }

unsigned long plugin_manager::hash_type(zxOperatorID op, int t1, int t2, int t3) {
  return (static_cast<unsigned long>(op) << 48) |
         (static_cast<unsigned long>(static_cast<unsigned int>(t1)) << 32) |
         (static_cast<unsigned long>(static_cast<long>(t2)) << 16) |
         static_cast<unsigned long>(static_cast<long>(t3));
}

int plugin_manager::register_operator(const std::string& plugin, zxOperatorID op, int type, function fn) {
  auto it = plugins_.find(plugin);
  if (it == plugins_.end()) {
    error_ = str_format(tr("错误 - 插件 %s 未被载入"), plugin.c_str());
    return operator_plugin_not_loaded;
  }
  const unsigned long key = operator_key(op, type);
  if (operators_.count(key)) {
    error_ = tr("错误 - 算符已被定义");
    return operator_already_defined;
  }
  if (type <= 99) {
    error_ = tr("错误 - 无效的类型 ID");
    return operator_type_reserved;
  }
  operators_.emplace(key, fn);
  operator_cache_.fill({});
  it->second.operator_keys.push_back(key);
  error_.clear();
  return operator_registered;
}

int plugin_manager::register_operator(const std::string& plugin, zxOperatorID op, int t1, int, int,
                                      function fn) {
  return register_operator(plugin, op, t1, fn);
}

int plugin_manager::register_overload_function(const std::string& name, const std::string& tag, function fn) {
  return plugin_manager_data::get_instance().register_overload_function(name, tag, fn, 1);
}

int plugin_manager::add_cstruct(const std::string& plugin, void* (*copy)(const void*), void (*destroy)(void*)) {
  auto it = plugins_.find(plugin);
  if (it == plugins_.end()) {
    error_ = str_format(tr("添加结构体错误 - 插件 %s 未被载入"), plugin.c_str());
    return -1;
  }
  cstruct_counter_ += 2;
  const int id = cstruct_counter_;
  cstructs_[id] = cstruct_info{copy, destroy};
  it->second.type_ids.push_back(id);
  error_.clear();
  return id;
}

const cstruct_info* plugin_manager::get_cstruct(int id) const {
  auto it = cstructs_.find(id);
  return it == cstructs_.end() ? nullptr : &it->second;
}

plugin_manager_data& plugin_manager_data::get_instance() {
  static plugin_manager_data instance;
  return instance;
}

int plugin_manager_data::register_overload_function(const std::string& name, const std::string& tag,
                                                    function fn, int flag) {
  const std::string& key = (flag != 0 && tag.empty()) ? current_ : tag;
  return ofun_[name].emplace(key, fn).second ? 0 : 1;
}

void plugin_manager_data::remove_overload_function_by_tag(const std::string& tag) {
  for (auto& entry : ofun_) entry.second.erase(tag);
}

}  // namespace internal

void return_overload_check_fail() { throw overload_check_failure(); }
void return_overload_check_fail_msg(std::string const& msg) { throw overload_check_failure(msg); }

namespace global {
internal::plugin_manager& plugin_mgr() { return internal::plugin_manager::get_instance(); }
}  // namespace global

}  // namespace zorvat
