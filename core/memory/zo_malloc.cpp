#include "memory/zo_malloc.h"

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include <cstdint>
#include <cstdlib>
#include <limits>
#include <stdexcept>

#include "memory/messages.h"
#include "memory/str_util.h"

namespace zorvat {

namespace internal {
bool (*zo_malloc_fail_hook)() noexcept = nullptr;

// The block's 2 MiB-aligned interior is marked for huge pages, the two 2 MiB
// frames at its ends are collapsed into huge pages too (they are shared with
// its neighbours, and the heap's own headers already put small pages there;
// their contents are kept), and the whole is faulted in with one call.  The
// last two need Linux 6.1 and 5.14; older kernels refuse them.
void prepare_large_block(void* p, std::size_t bytes) noexcept {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif
#ifndef MADV_COLLAPSE
#define MADV_COLLAPSE 25
#endif
  constexpr std::uintptr_t page = std::uintptr_t{1} << 12;
  constexpr std::uintptr_t huge = std::uintptr_t{1} << 21;
  if (!p) return;
  const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(p);
  const std::uintptr_t end = begin + bytes;
  // A block the heap had in use before is resident already, and the hints
  // would only cost time: one page in its middle tells.
  unsigned char resident = 0;
  if (mincore(reinterpret_cast<void*>((begin + bytes / 2) & ~(page - 1)), page, &resident) == 0 && (resident & 1))
    return;
  const std::uintptr_t first = (begin + huge - 1) & ~(huge - 1);
  const std::uintptr_t last = end & ~(huge - 1);
  if (last > first) madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
  const std::uintptr_t head = begin & ~(huge - 1);
  if (head < first) madvise(reinterpret_cast<void*>(head), huge, MADV_COLLAPSE);
  if (last < end && last >= first) madvise(reinterpret_cast<void*>(last), huge, MADV_COLLAPSE);
  const std::uintptr_t lo = begin & ~(page - 1);
  madvise(reinterpret_cast<void*>(lo), end - lo, MADV_POPULATE_WRITE);
#else
  (void)p;
  (void)bytes;
#endif
}
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

namespace internal {

// The C++ names under which earlier releases exported the pair: binaries
// built against those headers keep finding them.
void* zo_malloc_cxx_name(unsigned long size, unsigned long align) __asm__("_ZN6zorvat9zo_mallocEmm");
void zo_free_cxx_name(void* p) __asm__("_ZN6zorvat7zo_freeEPv");
void* zo_malloc_cxx_name(unsigned long size, unsigned long align) { return ::zo_malloc(size, align); }
void zo_free_cxx_name(void* p) { ::zo_free(p); }

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

// Also the C entry points of plugins.
extern "C" {
void* zo_malloc(unsigned long size, unsigned long align) {
  if (align == 0) align = 1;
  if (align > 255) align = 255;
  return zorvat::zo_malloc_impl(size, align);
}
void zo_free(void* p) { zorvat::zo_free_impl(p); }
}
