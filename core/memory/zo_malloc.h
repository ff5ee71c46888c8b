// zo_malloc.h: aligned heap blocks, the allocator of the growable vectors and
// the out-of-memory error.
//
// zo_malloc hands out a block aligned to `align` bytes (1..255) and zo_free
// takes it back without being told the size: the byte just before the block
// holds its distance from the heap block.  Never mix these blocks with plain
// malloc/free.  Plugins reach the same pair through the C entry points of the
// plugin ABI header.
//
//   void* p = zorvat::zo_malloc(1024, 16);   // null when the heap refuses
//   zorvat::zo_free(p);
//
//   zorvat::zo_vector<long> idx;             // Boost.Container vector that
//   idx.resize(10);                          // grows by 60 % and throws
//                                            // insufficient_memory when full
#pragma once

#include <boost/container/options.hpp>
#include <boost/container/vector.hpp>

#include <cstddef>
#include <cstdint>
#include <limits>
#include <new>
#include <string>

#include "memory/type_lists.h"

// The pair has C linkage, and zorvat::zo_malloc/zo_free name the same two
// functions: a C++ plugin may include plugin/zx_plugin.h (which declares
// them for C) and write `using namespace zorvat;` without an ambiguity.
extern "C" {
// Returns a block of `size` bytes aligned to `align`, or null when the heap
// refuses or `size` plus the alignment does not fit 64 bits; never throws.
// An `align` of 0 counts as 1, one above 255 as 255.
void* zo_malloc(unsigned long size, unsigned long align);
// Releases a block of zo_malloc; null is ignored.
void zo_free(void* p);
}

namespace zorvat {

using ::zo_free;
using ::zo_malloc;

// The raw pair behind zo_malloc/zo_free.  zo_malloc_impl takes `align` as it
// is (1..255).  The distance byte is written unsigned and read back signed by
// zo_free_impl: this asymmetry is intended and means that only alignments up
// to 127 are released correctly.  Every caller in the library asks for 16.
void* zo_malloc_impl(unsigned long size, unsigned long align);
void zo_free_impl(void* p);

namespace internal {

// A failed allocation of `bytes` bytes.  The message names the size in KiB,
// MiB, GiB or TiB with one decimal ("无法分配 3.0 GiB 大小的内存"); bytes are
// never printed as such.
class insufficient_memory : public std::bad_alloc {
 public:
  explicit insufficient_memory(unsigned long bytes);
  const char* what() const noexcept override { return msg_.c_str(); }

 private:
  std::string msg_;
};

// Test-only: when set, zo_malloc_impl and the arithmetic blocks of dense
// arrays ask it before every request and refuse the request when it answers
// true, so allocation-failure sweeps can fail the Nth allocation of a
// scenario.  Null in normal use.
extern bool (*zo_malloc_fail_hook)() noexcept;
// True when the test hook refuses this request.
inline bool zo_malloc_refused() noexcept {
  return __builtin_expect(zo_malloc_fail_hook != nullptr, 0) && zo_malloc_fail_hook();
}

// A hint before a block of `bytes` bytes at p is written whole: blocks of
// prepare_min_bytes (512 KiB) and more usually come fresh from the system,
// and faulting them in a 4 KiB page at a time can cost more than the
// writing.  Asks for transparent huge pages and faults the block in with
// one call.  Changes no contents and never fails (a kernel that refuses the
// hints leaves things as they were).  Smaller blocks are left alone without
// a call: copies of small values pass here all the time.
constexpr std::size_t prepare_min_bytes = std::size_t{1} << 19;
// The work of prepare_for_writing, for a block of any size.
void prepare_large_block(void* p, std::size_t bytes) noexcept;
inline void prepare_for_writing(void* p, std::size_t bytes) noexcept {
  if (bytes >= prepare_min_bytes) prepare_large_block(p, bytes);
}

// Throws std::length_error with the text of a vector that would outgrow the
// allocator's maximum size.
[[noreturn]] void throw_max_size_reached();

}  // namespace internal

// Stateless allocator over zo_malloc with alignment 16.  All instances compare
// equal.  max_size() is the largest count whose byte size fits 64 bits.
template <class T>
class zo_allocator {
 public:
  using value_type = T;
  using size_type = std::size_t;
  using difference_type = std::ptrdiff_t;
  using propagate_on_container_move_assignment = std::true_type;
  using is_always_equal = std::true_type;
  template <class U>
  struct rebind {
    using other = zo_allocator<U>;
  };

  zo_allocator() noexcept = default;
  template <class U>
  zo_allocator(const zo_allocator<U>&) noexcept {}

  static constexpr size_type max_elements() noexcept {
    return std::numeric_limits<std::uint64_t>::max() / sizeof(T);
  }
  size_type max_size() const noexcept { return max_elements(); }

  // Throws std::bad_array_new_length above max_size() and
  // insufficient_memory(n * sizeof(T)) when the heap refuses.
  T* allocate(size_type n) {
    if (n > max_elements()) throw std::bad_array_new_length();
    const unsigned long bytes = static_cast<unsigned long>(n) * sizeof(T);
    void* p = zo_malloc(bytes, 16);
    if (!p) throw internal::insufficient_memory(bytes);
    return static_cast<T*>(p);
  }
  void deallocate(T* p, size_type) noexcept { zo_free(p); }

  friend bool operator==(const zo_allocator&, const zo_allocator&) noexcept { return true; }
  friend bool operator!=(const zo_allocator&, const zo_allocator&) noexcept { return false; }
};

#define ZORVAT_EXTERN_ALLOCATOR(T) extern template class zo_allocator<T>;
ZORVAT_FOR_EACH_ALLOC_TYPE(ZORVAT_EXTERN_ALLOCATOR)
#undef ZORVAT_EXTERN_ALLOCATOR

// The growable vector of the library (sparse storage, index vectors): a
// Boost.Container vector over zo_allocator that grows by 60 %.  Growing past
// the allocator's maximum throws std::length_error with
// "get_next_capacity, allocator's max size reached".
template <class T>
using zo_vector = boost::container::vector<
    T, zo_allocator<T>,
    typename boost::container::vector_options<
        boost::container::growth_factor<boost::container::growth_factor_60>>::type>;

}  // namespace zorvat

// The same pair with C linkage, for plugins with a C interface.
extern "C" {
void* zo_malloc(unsigned long size, unsigned long align);
void zo_free(void* p);
}
