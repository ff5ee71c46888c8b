// mat73_placeholder.cpp: version 7.3 until its reader and writer arrive.
#include <stdexcept>

#include "io/mat_detail.h"
#include "memory/messages.h"

namespace zorvat {
namespace internal {

void mat73_write(const std::string&, const std::vector<named_value>&) {
  throw std::runtime_error(tr("尚不支持版本 7.3 的 MAT 文件"));
}
std::vector<loaded_value> mat73_read(const std::string&, const std::vector<std::string>&) {
  throw std::runtime_error(tr("尚不支持版本 7.3 的 MAT 文件"));
}
std::vector<mat_variable_info> mat73_list(const std::string&) {
  throw std::runtime_error(tr("尚不支持版本 7.3 的 MAT 文件"));
}

}  // namespace internal
}  // namespace zorvat
