// mat73.cpp: version 7.3 MAT-files (HDF5 with a 512-byte header block)
// through libmatio: opening and closing files, the walk over the variables,
// and libmatio's log, which is kept off the console and put into our
// messages instead.
//
// Variables come back in the order in which the file lists them, which for
// these files is the order of their names.  The data is written
// uncompressed.  Before a variable's data is read, what its tree declares
// is checked, and its size is held against the file's: HDF5's deflate
// filter packs at most about 1,032 bytes into one, so a variable declaring
// far more than that is refused before libmatio allocates anything for it.
#include <hdf5.h>
#include <sys/stat.h>

#include <algorithm>
#include <stdexcept>

#include "io/mat73_detail.h"
#include "io/mat_detail.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "zorvat_version.h"

namespace zorvat {
namespace internal {

namespace {

// The messages that libmatio logs during the current operation (null when
// none runs).
std::string* log_text = nullptr;

void log_to_text(int level, char* message) {
  if (!log_text || !message) return;
  if (!(level & (MATIO_LOG_LEVEL_ERROR | MATIO_LOG_LEVEL_CRITICAL | MATIO_LOG_LEVEL_WARNING))) return;
  if (!log_text->empty()) *log_text += "; ";
  *log_text += message;
}

// Collects libmatio's messages while it lives; detail() gives them as the
// tail of one of our messages.
class log_capture {
 public:
  log_capture() : outer_(log_text) {
    // Installing the log function also keeps HDF5's own error reports off
    // the console.  HDF5 is told first not to shut down at exit: after some
    // damaged files it keeps internal state that its shutdown reports on
    // the console ("infinite loop closing library"); every file of ours is
    // closed by then anyway.
    static const bool installed = (H5dont_atexit(), Mat_LogInitFunc("zorvat_core", log_to_text), true);
    (void)installed;
    log_text = &text_;
  }
  ~log_capture() { log_text = outer_; }
  log_capture(const log_capture&) = delete;
  log_capture& operator=(const log_capture&) = delete;
  // The innermost reason of an HDF5 error stack (its last "minor:" line),
  // else the first line that libmatio logged.
  std::string detail() const {
    if (text_.empty()) return std::string();
    const size_t minor = text_.rfind("minor: ");
    std::string reason = minor == std::string::npos ? text_ : text_.substr(minor + 7);
    reason = reason.substr(0, reason.find_first_of("\n;"));
    return str_format(tr("（%s）"), reason.c_str());
  }
  bool empty() const { return text_.empty(); }

 private:
  std::string text_;
  std::string* outer_;
};

// An open file, closed when it goes out of scope.
class mat_handle {
 public:
  explicit mat_handle(mat_t* m) : m_(m) {}
  ~mat_handle() {
    if (m_) Mat_Close(m_);
  }
  mat_handle(const mat_handle&) = delete;
  mat_handle& operator=(const mat_handle&) = delete;
  mat_t* get() const { return m_; }
  // Closes the file; false when that failed.
  bool close() {
    mat_t* m = m_;
    m_ = nullptr;
    return Mat_Close(m) == 0;
  }

 private:
  mat_t* m_;
};

mat_t* open_file(const std::string& path, const log_capture& log) {
  mat_t* m = Mat_Open(path.c_str(), MAT_ACC_RDONLY);
  if (!m)
    throw std::runtime_error(str_format(tr("无法打开 MAT 文件 %s%s"), path.c_str(), log.detail().c_str()));
  if (Mat_GetVersion(m) != MAT_FT_MAT73) {
    Mat_Close(m);
    throw std::runtime_error(str_format(tr("%s 不是 7.3 版 MAT 文件"), path.c_str()));
  }
  return m;
}

// The variables of an open file without their data, in file order.
std::vector<matvar_ptr> read_infos(mat_t* m, const std::string& path, const log_capture& log) {
  std::vector<matvar_ptr> infos;
  while (matvar_t* v = Mat_VarReadNextInfo(m)) {
    infos.emplace_back(v);
    // Variable names are ASCII, as in the level 5 layout.
    if (!v->name) mat73_corrupt(path, "");
    for (const char* c = v->name; *c; ++c)
      if (static_cast<unsigned char>(*c) >= 0x80) mat73_corrupt(path, v->name);
  }
  if (!log.empty())
    throw std::runtime_error(
        str_format(tr("无法读取 MAT 文件 %s 的变量列表%s"), path.c_str(), log.detail().c_str()));
  return infos;
}

// The most bytes that the variables of a file of `size` bytes may declare.
unsigned long data_limit(const std::string& path) {
  struct stat st {};
  if (stat(path.c_str(), &st) != 0) return 0;
  const unsigned long size = static_cast<unsigned long>(st.st_size);
  constexpr unsigned long ratio = 1100, slack = 1UL << 20;
  return size > (~0UL - slack) / ratio ? ~0UL : size * ratio + slack;
}

bool writable_name(const std::string& name) {
  return !name.empty() && name[0] != '#' && name.find('/') == std::string::npos &&
         name.find('\0') == std::string::npos;
}

}  // namespace

void mat73_write(std::string const& path, std::vector<named_value> const& vars) {
  log_capture log;
  const std::string header =
      str_format("MAT-file version 7.3, written by libzorvat_core %s", ZORVAT_VERSION_STRING);
  mat_handle file(Mat_CreateVer(path.c_str(), header.c_str(), MAT_FT_MAT73));
  if (!file.get())
    throw std::runtime_error(str_format(tr("无法创建 MAT 文件 %s%s"), path.c_str(), log.detail().c_str()));
  for (const auto& [name, value] : vars) {
    if (!writable_name(name))
      throw std::runtime_error(str_format(tr("“%s”不能作为 MAT 文件中的变量名"), name.c_str()));
    if (!value) throw std::runtime_error(str_format(tr("变量 %s 没有值，不能保存"), name.c_str()));
    mat73_arena arena;
    matvar_ptr v = mat73_to_matvar(name.c_str(), value.get(), name, arena, 0);
    if (Mat_VarWrite(file.get(), v.get(), MAT_COMPRESSION_NONE) != 0)
      throw std::runtime_error(str_format(tr("无法把变量 %s 写入 MAT 文件 %s%s"), name.c_str(), path.c_str(),
                                          log.detail().c_str()));
  }
  if (!file.close())
    throw std::runtime_error(str_format(tr("无法写完 MAT 文件 %s%s"), path.c_str(), log.detail().c_str()));
}

std::vector<loaded_value> mat73_read(std::string const& path, std::vector<std::string> const& names) {
  log_capture log;
  mat_handle file(open_file(path, log));
  const std::vector<matvar_ptr> infos = read_infos(file.get(), path, log);
  for (const auto& want : names)
    if (std::none_of(infos.begin(), infos.end(), [&](const matvar_ptr& v) { return want == v->name; }))
      throw std::runtime_error(str_format(tr("文件 %s 中没有变量 %s"), path.c_str(), want.c_str()));
  const unsigned long limit = data_limit(path);
  std::vector<const matvar_t*> chosen;
  for (const auto& v : infos) {
    if (!names.empty() && std::find(names.begin(), names.end(), v->name) == names.end()) continue;
    unsigned long bytes = 0;
    mat73_info(v.get(), path, bytes);
    if (bytes > limit) mat73_corrupt(path, v->name);
    chosen.push_back(v.get());
  }
  std::vector<loaded_value> out;
  for (const matvar_t* info : chosen) {
    const std::string name = info->name;
    matvar_ptr v(Mat_VarRead(file.get(), name.c_str()));
    if (!v || !log.empty())
      throw std::runtime_error(str_format(tr("无法读取 MAT 文件 %s 中的变量 %s%s"), path.c_str(),
                                          name.c_str(), log.detail().c_str()));
    out.emplace_back(name, mat73_from_matvar(v.get(), path, name, 0));
  }
  return out;
}

std::vector<mat_variable_info> mat73_list(std::string const& path) {
  log_capture log;
  mat_handle file(open_file(path, log));
  std::vector<mat_variable_info> out;
  for (const auto& v : read_infos(file.get(), path, log)) {
    unsigned long bytes = 0;
    out.push_back(mat73_info(v.get(), path, bytes));
  }
  return out;
}

}  // namespace internal
}  // namespace zorvat
