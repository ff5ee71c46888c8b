#include "memory/zo_assert.h"

#include <cstdio>
#include <cstdlib>

namespace zorvat::internal {

void assertion_failed(const char* cond, const char* file, int line) noexcept {
  std::fprintf(stderr, "zorvat: precondition failed: %s (%s:%d)\n", cond, file, line);
  std::abort();
}

}  // namespace zorvat::internal
