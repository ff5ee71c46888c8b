// Loading MAT-files of versions 4, 6 and 7 (either byte order) from
// arbitrary bytes: every input either loads or throws a std::exception;
// nothing crashes, hangs, leaks or allocates beyond what the input can hold.
// A loaded value is walked whole, so a value built wrongly shows up.
#include <cstddef>
#include <cstdint>
#include <exception>
#include <string>

#include "io/mat5_detail.h"
#include "io/mat_detail.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace {

long walk(const zorvat::zo_obj* v) {
  if (!v) return 0;
  long n = 1;
  if (v->type == zorvat::type_cell)
    for (const auto& e : v->get<zorvat::cell_array>().as_std_vector()) n += walk(e.get());
  if (v->type == zorvat::type_struct)
    for (const auto& [name, table] : v->get<zorvat::structure>().data())
      for (long i = 0; i < table.size(); ++i) n += walk(table[i].get());
  return n;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  try {
    if (zorvat::internal::mat4_looks_like(data, size))
      for (const auto& [name, value] : zorvat::internal::mat4_read_memory(data, size, {}, "fuzz", nullptr))
        walk(value.get());
    else
      for (const auto& [name, value] : zorvat::internal::mat5_read_memory(data, size, {}, "fuzz"))
        walk(value.get());
  } catch (const std::exception&) {
  }
  return 0;
}
