// mat_detail.h: what the MAT-file sources share (not installed).
//
// mat_file.cpp checks every value before anything is written, makes the
// temporary file and renames it, and picks the version; the version-specific
// readers and writers below do the rest.  A writer gets checked values and a
// temporary path; a reader returns every requested variable or throws.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "io/mat_file.h"

namespace zorvat {
namespace internal {

// Versions 6 and 7: the level 5 layout (mat5_*.cpp).
void mat5_write(std::string const& path, std::vector<named_value> const& vars, bool compress);
std::vector<loaded_value> mat5_read(std::string const& path, std::vector<std::string> const& names);
std::vector<mat_variable_info> mat5_list(std::string const& path);

// Version 4 (mat4_read.cpp), loading only: whether the first bytes look like
// it, and its variables (with `list`, only their descriptions, appended there).
bool mat4_looks_like(const unsigned char* data, std::size_t size);
std::vector<loaded_value> mat4_read_memory(const unsigned char* data, std::size_t size,
                                           const std::vector<std::string>& names, const std::string& label,
                                           std::vector<mat_variable_info>* list);

// Version 7.3: HDF5 (mat73.cpp).
void mat73_write(std::string const& path, std::vector<named_value> const& vars);
std::vector<loaded_value> mat73_read(std::string const& path, std::vector<std::string> const& names);
std::vector<mat_variable_info> mat73_list(std::string const& path);

}  // namespace internal
}  // namespace zorvat
