// sparse_detail.h: helpers shared by the sources of sparse_matrix<T>; not
// part of the public interface (zorvat.h does not include it).
//
// sparse_element<T> is the one place where the five element types differ
// (what counts as zero, how duplicates add up, conjugation); column_sorter<T>
// sorts the entries of one column by row, stably, for reorder() and for the
// construction from triplets.
#pragma once

#include <algorithm>
#include <complex>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include "memory/zo_malloc.h"

namespace zorvat {
namespace sparse_detail {

template <class T>
struct sparse_element {
  // Equality with T's zero: -0.0 is zero, a NaN is not; a complex value is
  // zero when both parts are.
  static bool is_zero(const T& v) { return v == T(); }
  static void add_to(T& acc, const T& v) { acc += v; }
  static T conj(const T& v) { return v; }
};

template <>
struct sparse_element<bool> {
  static bool is_zero(bool v) { return !v; }
  // A sum of logical values is their logical or.
  static void add_to(bool& acc, bool v) { acc = acc || v; }
  static bool conj(bool v) { return v; }
};

template <class R>
struct sparse_element<std::complex<R>> {
  using T = std::complex<R>;
  static bool is_zero(const T& v) { return v == T(); }
  static void add_to(T& acc, const T& v) { acc += v; }
  static T conj(const T& v) { return std::conj(v); }
};

inline long non_negative(long v) { return v < 0 ? 0 : v; }

// Refuses, before any vector is asked for it, a block of n elements of U
// that the allocator's maximum admits but whose byte count, with the room
// the heap block needs for its alignment, does not fit 64 bits: such a
// request is an exhausted heap (insufficient_memory), never a size that
// wraps.  Counts above the maximum are left to the vector's length error.
template <class U>
void require_block(size_t n) {
  constexpr size_t alignment_room = 255;
  if (n <= zo_allocator<U>::max_elements() &&
      n > (std::numeric_limits<size_t>::max() - alignment_room) / sizeof(U))
    throw internal::insufficient_memory(static_cast<unsigned long>(n * sizeof(U)));
}

// require_block for the values and the rows of nz entries.
template <class T>
void require_entries(long nz) {
  require_block<T>(static_cast<size_t>(nz));
  require_block<long>(static_cast<size_t>(nz));
}

// Columns no longer than this are sorted by rank on the stack; longer ones
// by a stable sort through a buffer.
constexpr long short_column = 32;

// Sorts the entries of one column by row, stably.  Short columns are sorted
// by rank on the stack; longer ones through a buffer that grows to the
// longest column met (reserved up front when the caller must not fail
// halfway).
template <class T>
class column_sorter {
 public:
  // `nrows` bounds every row index of the columns to sort; `longest` is the
  // room reserved for long columns.
  column_sorter(long longest, long nrows) : narrow_keys_(nrows <= narrow_rows) {
    if (longest > short_column) buffer_.reserve(static_cast<size_t>(longest));
  }

  void sort(long* ir, T* pr, long len) {
    if (std::is_sorted(ir, ir + len)) return;
    if (len <= short_column) {
      if (narrow_keys_)
        sort_short_narrow(ir, pr, len);
      else
        sort_short(ir, pr, len);
      return;
    }
    buffer_.clear();
    for (long k = 0; k < len; ++k) buffer_.emplace_back(ir[k], pr[k]);
    std::stable_sort(buffer_.begin(), buffer_.end(),
                     [](const std::pair<long, T>& a, const std::pair<long, T>& b) {
                       return a.first < b.first;
                     });
    for (long k = 0; k < len; ++k) {
      ir[k] = buffer_[k].first;
      pr[k] = buffer_[k].second;
    }
  }

 private:
  // Rows below this fit a 32-bit key together with a position below 32.
  static constexpr long narrow_rows = long{1} << 26;

  // Stable rank sort: an entry's place is the number of entries with a
  // smaller row plus those of the same row before it.  No data-dependent
  // branches, which matters for many short columns.
  void sort_short(long* ir, T* pr, long len) {
    long rows[short_column];
    T values[short_column];
    for (long k = 0; k < len; ++k) {
      const long r = ir[k];
      long rank = 0;
      for (long q = 0; q < k; ++q) rank += ir[q] <= r;
      for (long q = k + 1; q < len; ++q) rank += ir[q] < r;
      rows[rank] = r;
      values[rank] = pr[k];
    }
    std::copy_n(rows, len, ir);
    std::copy_n(values, len, pr);
  }

  // The same rank sort on the keys row * 32 + position, which are distinct
  // and ordered as (row, position): an entry's rank is the number of smaller
  // keys.  The keys are padded to a multiple of 8 with the largest value, so
  // the count runs over whole blocks of 32-bit lanes.
  void sort_short_narrow(long* ir, T* pr, long len) {
    constexpr std::int32_t pad = std::numeric_limits<std::int32_t>::max();
    alignas(32) std::int32_t keys[short_column];
    long rows[short_column];
    T values[short_column];
    const long blocks = (len + 7) / 8;
    for (long k = 0; k < len; ++k) keys[k] = static_cast<std::int32_t>(ir[k] * short_column + k);
    for (long k = len; k < blocks * 8; ++k) keys[k] = pad;
    for (long k = 0; k < len; ++k) {
      const std::int32_t key = keys[k];
      std::int32_t rank = 0;
      for (long b = 0; b < blocks; ++b)
        for (long q = 0; q < 8; ++q) rank += keys[8 * b + q] < key;
      rows[rank] = ir[k];
      values[rank] = pr[k];
    }
    std::copy_n(rows, len, ir);
    std::copy_n(values, len, pr);
  }

  bool narrow_keys_;
  std::vector<std::pair<long, T>> buffer_;
};

}  // namespace sparse_detail
}  // namespace zorvat
