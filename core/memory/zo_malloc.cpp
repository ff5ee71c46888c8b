#include "memory/zo_malloc.h"

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include "memory/messages.h"
#include "memory/str_util.h"

namespace zorvat {

namespace internal {
bool (*zo_malloc_fail_hook)() noexcept = nullptr;
}  // namespace internal

void* zo_malloc_impl(unsigned long size, unsigned long align) {
  // The heap block has `align` spare bytes in front, so the aligned pointer is
  // 1..align bytes in and the byte before it can always hold the distance.
  // A size whose byte count plus the alignment does not fit is refused rather
  // than wrapped into a tiny block.
  if (size > std::numeric_limits<unsigned long>::max() - align) return nullptr;
  if (internal::zo_malloc_refused()) return nullptr;
  auto* p = static_cast<unsigned char*>(std::malloc(size + align));
  if (!p) return nullptr;
  const unsigned long d = align - reinterpret_cast<std::uintptr_t>(p) % align;
  unsigned char* r = p + static_cast<unsigned char>(d);
  r[-1] = static_cast<unsigned char>(d);
  return r;
}

void zo_free_impl(void* p) {
  if (!p) return;
  // Read back signed on purpose (see the header).
  auto* r = static_cast<signed char*>(p);
  std::free(r - static_cast<long>(r[-1]));
}

void* zo_malloc(unsigned long size, unsigned long align) {
  if (align == 0) align = 1;
  if (align > 255) align = 255;
  return zo_malloc_impl(size, align);
}

void zo_free(void* p) { zo_free_impl(p); }

namespace internal {

insufficient_memory::insufficient_memory(unsigned long bytes) {
  double v = static_cast<double>(bytes) * 0.0009765625;
  static const char units[] = "KMGT";
  int u = 0;
  while (u < 3 && v >= 1024) {
    v *= 0.0009765625;
    ++u;
  }
  msg_ = str_format(tr("无法分配 %.1f %ciB 大小的内存"), v, units[u]);
}

void throw_max_size_reached() {
  throw std::length_error("get_next_capacity, allocator's max size reached");
}

}  // namespace internal

#define ZORVAT_INSTANTIATE_ALLOCATOR(T) template class zo_allocator<T>;
ZORVAT_FOR_EACH_ALLOC_TYPE(ZORVAT_INSTANTIATE_ALLOCATOR)
#undef ZORVAT_INSTANTIATE_ALLOCATOR

}  // namespace zorvat

// C entry points for plugins with a C interface.
extern "C" {
void* zo_malloc(unsigned long size, unsigned long align) { return zorvat::zo_malloc(size, align); }
void zo_free(void* p) { zorvat::zo_free(p); }
}
