// mat_file.cpp: the version-independent half of saving and loading: the
// checks made before anything is written, the temporary file and its rename,
// the choice of reader by the file's header, and the workspace forms.
#include "io/mat_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>

#include "host/host_services.h"
#include "io/mat5_detail.h"
#include "io/mat_detail.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "value/cell_array.h"
#include "value/kind_table.h"
#include "value/structure.h"

namespace zorvat {
namespace internal {
namespace {

// Whether a value of kind t can be saved (a string array is saved as a cell
// of char rows; cells and structures also need their elements to be).
bool saveable_kind(zo_type t) {
  return (t >= type_int8 && t <= type_logical) || t == type_struct || t == type_string || t == type_cell ||
         (t >= type_sparse_double && t <= type_sparse_logical);
}

// Refuses the first element of v (recursively) that cannot be saved.
void check_value(const std::string& var, const zo_obj* v, int depth) {
  if (!v) return;  // an empty slot: saved as an empty double
  if (depth > mat5_max_depth)
    throw std::runtime_error(str_format(tr("变量 %s 的单元数组或结构体嵌套超过 %d 层"), var.c_str(), mat5_max_depth));
  if (!saveable_kind(v->type))
    throw std::runtime_error(
        str_format(tr("变量 %s 含有 %s 类型的值，不能保存到 MAT 文件中"), var.c_str(), type_str(v->type)));
  if (!v->payload()) return;
  if (v->type == type_cell) {
    for_each_element(v->get<cell_array>().data(),
                     [&](const cell_array::element& e) { check_value(var, e.get(), depth + 1); });
  } else if (v->type == type_struct) {
    for (const auto& [name, table] : v->get<structure>().data())
      for_each_element(table, [&](const structure::element& e) { check_value(var, e.get(), depth + 1); });
  }
}

void check_values(const std::vector<named_value>& vars) {
  std::set<std::string> seen;
  for (const auto& [name, value] : vars) {
    if (name.empty()) throw std::runtime_error(tr("变量名不能为空"));
    if (!seen.insert(name).second)
      throw std::runtime_error(str_format(tr("变量名 %s 出现了不止一次"), name.c_str()));
    check_value(name, value.get(), 0);
  }
}

// msg: a translated text with the file and the system's reason.
[[noreturn]] void fail_file(const char* msg, const std::string& path, int err) {
  throw std::runtime_error(str_format(msg, path.c_str(), std::strerror(err)));
}

// The version of the MAT-file at `path` from its header.
enum class file_kind { level4, level5, hdf5 };
file_kind detect(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) fail_file(tr("无法打开文件 %s：%s"), path, errno);
  unsigned char h[mat5_header_size] = {};
  unsigned char sig[8] = {};
  const ssize_t n = ::pread(fd, h, sizeof h, 0);
  const ssize_t m = ::pread(fd, sig, sizeof sig, 512);
  ::close(fd);
  if (n >= 4 && mat4_looks_like(h, static_cast<std::size_t>(n))) return file_kind::level4;
  if (n == static_cast<ssize_t>(sizeof h)) {
    const bool little = h[126] == 'I' && h[127] == 'M', big = h[126] == 'M' && h[127] == 'I';
    const unsigned version = little ? h[124] | (h[125] << 8) : (h[124] << 8) | h[125];
    if ((little || big) && version == 0x0100) return file_kind::level5;
    if ((little || big) && version == 0x0200 && m == 8 && std::memcmp(sig, "\x89HDF\r\n\x1a\n", 8) == 0)
      return file_kind::hdf5;
  }
  throw std::runtime_error(str_format(tr("文件 %s 不是 MAT 文件，或其版本不受支持"), path.c_str()));
}

// Removes the temporary file unless released.
struct temp_file {
  std::string path;
  ~temp_file() {
    if (!path.empty()) ::unlink(path.c_str());
  }
};

void fsync_path(const std::string& path, int flags, bool required) {
  const int fd = ::open(path.c_str(), flags | O_CLOEXEC);
  const int err = fd < 0 ? errno : ::fsync(fd) != 0 ? errno : 0;
  if (fd >= 0) ::close(fd);
  if (err && required) fail_file(tr("无法写入文件 %s：%s"), path, err);
}

// The bytes of a (version 4, so small) file.
std::string whole_file(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  if (!f) fail_file(tr("无法打开文件 %s：%s"), path, errno);
  return std::string(std::istreambuf_iterator<char>(f), {});
}

}  // namespace
}  // namespace internal

void mat_save(const std::string& path, const std::vector<named_value>& vars, const mat_save_options& options) {
  using namespace internal;
  check_values(vars);
  const std::size_t slash = path.rfind('/');
  const std::string dir = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
  const std::string base = slash == std::string::npos ? path : path.substr(slash + 1);
  temp_file temp{(dir == "/" ? "" : dir) + "/." + base + ".XXXXXX"};
  std::vector<char> name(temp.path.begin(), temp.path.end());
  name.push_back('\0');
  const int fd = ::mkstemp(name.data());
  if (fd < 0) {
    temp.path.clear();
    fail_file(tr("无法写入文件 %s：%s"), path, errno);
  }
  temp.path = name.data();
  // mkstemp makes the file private; it gets the mode of any new file.
  const mode_t mask = ::umask(0);
  ::umask(mask);
  ::fchmod(fd, 0666 & ~mask);
  ::close(fd);
  switch (options.version) {
    case mat_version::v6: mat5_write(temp.path, vars, false); break;
    case mat_version::v7: mat5_write(temp.path, vars, true); break;
    case mat_version::v7_3: mat73_write(temp.path, vars); break;
  }
  fsync_path(temp.path, O_RDONLY, true);
  if (::rename(temp.path.c_str(), path.c_str()) != 0) fail_file(tr("无法将临时文件改名为 %s：%s"), path, errno);
  temp.path.clear();
  fsync_path(dir, O_RDONLY | O_DIRECTORY, false);
}

std::vector<loaded_value> mat_load(const std::string& path, const std::vector<std::string>& names) {
  switch (internal::detect(path)) {
    case internal::file_kind::hdf5: return internal::mat73_read(path, names);
    case internal::file_kind::level4: {
      const std::string b = internal::whole_file(path);
      return internal::mat4_read_memory(reinterpret_cast<const unsigned char*>(b.data()), b.size(), names, path, nullptr);
    }
    default: return internal::mat5_read(path, names);
  }
}

std::vector<mat_variable_info> mat_list(const std::string& path) {
  switch (internal::detect(path)) {
    case internal::file_kind::hdf5: return internal::mat73_list(path);
    case internal::file_kind::level4: {
      const std::string b = internal::whole_file(path);
      std::vector<mat_variable_info> list;
      internal::mat4_read_memory(reinterpret_cast<const unsigned char*>(b.data()), b.size(), {}, path, &list);
      return list;
    }
    default: return internal::mat5_list(path);
  }
}

std::vector<std::string> save_ws(const std::string& path, const std::vector<std::string>& names,
                                 const mat_save_options& options) {
  std::vector<std::string> chosen = names.empty() ? get_all_variable_names_ws() : names;
  std::vector<named_value> vars;
  for (const auto& n : chosen) {
    const zo_obj* v = get_variable_ws(n);
    if (!v) throw std::runtime_error(str_format(tr("工作区中没有变量 %s"), n.c_str()));
    // The host owns the value; the pointer only lends it for the save.
    vars.emplace_back(n, std::shared_ptr<zo_obj const>(std::shared_ptr<void>(), v));
  }
  mat_save(path, vars, options);
  return chosen;
}

std::vector<std::string> load_ws(const std::string& path, const std::vector<std::string>& names) {
  const std::vector<loaded_value> vars = mat_load(path, names);
  std::vector<std::string> loaded;
  loaded.reserve(vars.size());
  for (const auto& v : vars) loaded.push_back(v.first);
  for (const auto& [n, v] : vars) set_variable_ws(n, v.get(), true);
  return loaded;
}

}  // namespace zorvat
