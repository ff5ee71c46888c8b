// element_traits.h: how the element types of matrix<T> differ.
//
// The logic of matrix<T> is the same for all seventeen element types; only
// the making, releasing and copying of elements differs, and only between two
// groups: arithmetic and text types (zero-filled heap blocks, copied as
// bytes) and the object types zo_hdl_t, std::shared_ptr<zo_obj> and
// std::string (array new/delete, copied with their own assignment).  That
// difference lives here and nowhere else.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

#include "matrix/zo_hdl.h"
#include "memory/zo_malloc.h"

namespace zorvat {
namespace internal {

template <class T>
struct element_traits {
  static constexpr bool is_object = std::is_same<T, zo_hdl_t>::value ||
                                    std::is_same<T, std::shared_ptr<zo_obj>>::value ||
                                    std::is_same<T, std::string>::value;

  // The largest element count whose byte size fits 64 bits.
  static constexpr std::uint64_t max_count = std::numeric_limits<std::uint64_t>::max() / sizeof(T);

  // A block of n > 0 fresh elements; throws insufficient_memory on an
  // exhausted heap.  REQUIRES: 0 < n <= max_count.
  static T* make(std::uint64_t n) {
    if constexpr (is_object) {
      try {
        return new T[n];
      } catch (const std::bad_alloc&) {
        throw insufficient_memory(static_cast<unsigned long>(n * sizeof(T)));
      }
    } else {
      void* p = zo_malloc_refused() ? nullptr : std::calloc(n, sizeof(T));
      if (!p) throw insufficient_memory(static_cast<unsigned long>(n * sizeof(T)));
      return static_cast<T*>(p);
    }
  }

  // The same, but arithmetic elements are left unset: for a block that is
  // overwritten whole before anyone reads it.
  static T* make_for_overwrite(std::uint64_t n) {
    if constexpr (is_object) {
      return make(n);
    } else {
      void* p = zo_malloc_refused() ? nullptr : std::malloc(n * sizeof(T));
      if (!p) throw insufficient_memory(static_cast<unsigned long>(n * sizeof(T)));
      prepare_for_writing(p, n * sizeof(T));
      return static_cast<T*>(p);
    }
  }

  static void release(T* p) noexcept {
    if constexpr (is_object) {
      delete[] p;
    } else {
      std::free(p);
    }
  }

  // Copies n elements between distinct blocks.
  static void copy(T* dst, const T* src, std::uint64_t n) {
    if (n == 0) return;
    if constexpr (is_object) {
      for (std::uint64_t i = 0; i < n; ++i) dst[i] = src[i];
    } else {
      std::memcpy(static_cast<void*>(dst), static_cast<const void*>(src), n * sizeof(T));
    }
  }
};

}  // namespace internal
}  // namespace zorvat
