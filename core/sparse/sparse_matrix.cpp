#include "sparse/sparse_matrix.h"

#if defined(__linux__)
#include <sys/mman.h>
#endif

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <utility>

#include "memory/messages.h"

namespace zorvat {
namespace {

// How the five element types differ: what counts as zero, how duplicates are
// summed and how a value is conjugated.  Everything else is the same code.
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

long non_negative(long v) { return v < 0 ? 0 : v; }

// Large arrays that are about to be written whole are usually fresh from the
// system, and taking them a 4 KiB page per fault can cost more than the work
// itself.  So before writing, ask for transparent huge pages on the array's
// 2 MiB-aligned interior and fault its pages in with one call.  Both are only
// hints (the second needs Linux 5.14); the contents do not change, as the
// array is about to be overwritten anyway.
void prepare_for_writing(void* p, size_t bytes) {
#if defined(__linux__) && defined(MADV_HUGEPAGE)
  constexpr uintptr_t huge = uintptr_t{1} << 21;
  constexpr uintptr_t page = uintptr_t{1} << 12;
  if (bytes < huge / 4) return;
  const uintptr_t begin = reinterpret_cast<uintptr_t>(p);
  const uintptr_t end = begin + bytes;
  const uintptr_t first = (begin + huge - 1) & ~(huge - 1);
  const uintptr_t last = end & ~(huge - 1);
  if (last > first) madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
#ifndef MADV_POPULATE_WRITE
#define MADV_POPULATE_WRITE 23
#endif
  const uintptr_t lo = begin & ~(page - 1);
  madvise(reinterpret_cast<void*>(lo), end - lo, MADV_POPULATE_WRITE);
#else
  (void)p;
  (void)bytes;
#endif
}

// Columns no longer than this are sorted by rank on the stack; longer ones
// by a stable sort through a buffer.
constexpr long short_column = 32;

// Sorts the entries of one column by row, stably.  Short columns are sorted
// by rank on the stack; longer ones through a buffer made once, up front,
// for the longest column.
template <class T>
class column_sorter {
 public:
  // `nrows` bounds every row index of the columns to sort.
  column_sorter(long longest, long nrows) : narrow_keys_(nrows <= narrow_rows) {
    if (longest > short_column) buffer_.reserve(static_cast<size_t>(longest));
  }
  // Whether sorted_copy() may be used: every row is below 2^26.
  bool narrow_keys() const { return narrow_keys_; }

  // Writes the len <= short_column entries sorted by row, stably, to rows and
  // values.  REQUIRES: narrow_keys().  The rank sort of sort_short on the keys
  // row * 32 + position, which are distinct and ordered as (row, position):
  // an entry's rank is the number of smaller keys.  The keys are padded to a
  // multiple of 8 with the largest value, so the count runs over whole blocks
  // of 32-bit lanes.
  static void sorted_copy(const long* ir, const T* pr, long len, long* rows, T* values) {
    constexpr std::int32_t pad = std::numeric_limits<std::int32_t>::max();
    alignas(32) std::int32_t keys[short_column];
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
  // branches, which matters for the many short random columns of a
  // coordinate list.
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
    for (long k = 0; k < len; ++k) {
      ir[k] = rows[k];
      pr[k] = values[k];
    }
  }

  void sort_short_narrow(long* ir, T* pr, long len) {
    long rows[short_column];
    T values[short_column];
    sorted_copy(ir, pr, len, rows, values);
    for (long k = 0; k < len; ++k) {
      ir[k] = rows[k];
      pr[k] = values[k];
    }
  }

  bool narrow_keys_;
  std::vector<std::pair<long, T>> buffer_;
};

// The two-dimensional shape named by a dims vector: missing extents are 1,
// extents beyond the second must be 1.
std::pair<long, long> shape_of(const std::vector<long>& dims) {
  for (size_t k = 2; k < dims.size(); ++k)
    if (dims[k] != 1) throw std::runtime_error(tr("稀疏矩阵只能是二维的，第三维及以后的大小必须为 1。"));
  return {dims.size() > 0 ? dims[0] : 1, dims.size() > 1 ? dims[1] : 1};
}

}  // namespace

template <class T>
sparse_matrix<T>::sparse_matrix() {
  initialize(0, 0, 0);
}

template <class T>
sparse_matrix<T>::sparse_matrix(long m, long n, long nzmax) {
  initialize(m, n, nzmax);
}

template <class T>
sparse_matrix<T>::sparse_matrix(long m, long n, long nzmax, const long* ir, const long* jc,
                                const T* pr) {
  initialize(m, n, nzmax);
  nzmax = non_negative(nzmax);
  n = non_negative(n);
  std::copy_n(ir, nzmax, ir_->data());
  std::copy_n(pr, nzmax, values_);
  std::copy_n(jc, n + 1, jc_->data());
  long* jce = jce_->data();
  for (long j = 0; j < n; ++j) jce[j] = jc[j + 1];
}

// The result is exactly that of placing the triplets in list order and then
// calling compress(false) and reorder(), reached in fewer passes: one pass
// validates and counts, one places, and one sequential pass over the columns
// sorts each column by row stably and merges every run of equal rows by the
// compress rule (leading zeros dropped, the rest summed in list order).  The
// stable sort keeps the list order within a run, so the sums are the same to
// the bit, and no row marker is needed.
template <class T>
sparse_matrix<T>::sparse_matrix(const std::vector<triplet<T>>& triplets, long m, long n) {
  initialize(0, 0, 0);
  long nrows = non_negative(m);
  long ncols = non_negative(n);
  // counts[c + 1] = entries of column c, grown when a triplet lies beyond n.
  index_vector counts;
  counts.resize(static_cast<size_t>(ncols) + 1, boost::container::default_init);
  prepare_for_writing(counts.data(), counts.size() * sizeof(long));
  std::fill(counts.begin(), counts.end(), 0L);
  for (const triplet<T>& t : triplets) {
    if (t.row < 0 || t.col < 0)
      throw std::runtime_error(tr("稀疏矩阵的三元组中行号和列号不能为负数。"));
    if (t.row >= nrows) nrows = t.row + 1;
    if (t.col >= ncols) {
      ncols = t.col + 1;
      counts.resize(static_cast<size_t>(ncols) + 1);
    }
    ++counts[t.col + 1];
  }
  const size_t total = triplets.size();
  jce_->resize(static_cast<size_t>(ncols), boost::container::default_init);
  ir_->resize(total, boost::container::default_init);
  pr_->resize(total, boost::container::default_init);
  prepare_for_writing(ir_->data(), total * sizeof(long));
  prepare_for_writing(pr_->data(), total * sizeof(T));
  prepare_for_writing(jce_->data(), static_cast<size_t>(ncols) * sizeof(long));
  jc_->swap(counts);
  dims_[0] = nrows;
  dims_[1] = ncols;
  refresh_values();

  // Column starts; jce is each column's next free place while filling and
  // ends up equal to jc[j + 1].
  long* jc = jc_->data();
  long* jce = jce_->data();
  long longest = 0;
  for (long j = 0; j < ncols; ++j) {
    longest = std::max(longest, jc[j + 1]);
    jc[j + 1] += jc[j];
    jce[j] = jc[j];
  }
  long* ir = ir_->data();
  T* pr = values_;
  for (const triplet<T>& t : triplets) {
    const long k = jce[t.col]++;
    ir[k] = t.row;
    pr[k] = t.value;
  }

  // Each column is sorted, then merged from the sorted entries to the front.
  // A short column is sorted into a copy on the stack and merged from there.
  column_sorter<T> sorter(longest, nrows);
  long sorted_rows[short_column];
  T sorted_values[short_column];
  long kept = 0;
  for (long j = 0; j < ncols; ++j) {
    const long start = kept;
    const long len = jce[j] - jc[j];
    const long* from_ir = ir + jc[j];
    const T* from_pr = pr + jc[j];
    if (len > 1 && len <= short_column && sorter.narrow_keys()) {
      column_sorter<T>::sorted_copy(from_ir, from_pr, len, sorted_rows, sorted_values);
      from_ir = sorted_rows;
      from_pr = sorted_values;
    } else {
      sorter.sort(ir + jc[j], pr + jc[j], len);
    }
    long k = 0;
    while (k < len) {
      const long r = from_ir[k];
      while (k < len && from_ir[k] == r && sparse_element<T>::is_zero(from_pr[k])) ++k;
      if (k == len || from_ir[k] != r) continue;
      T sum = from_pr[k++];
      for (; k < len && from_ir[k] == r; ++k) sparse_element<T>::add_to(sum, from_pr[k]);
      // kept never passes the place being read, so writing here is safe.
      ir[kept] = r;
      pr[kept] = sum;
      ++kept;
    }
    jc[j] = start;
    jce[j] = kept;
  }
  jc[ncols] = kept;
}

template <class T>
sparse_matrix<T>::sparse_matrix(const sparse_matrix& other) : matrix_base() {
  cpy_impl(other);
}

template <class T>
sparse_matrix<T>& sparse_matrix<T>::operator=(const sparse_matrix& other) {
  cpy_impl(other);
  return *this;
}

template <class T>
sparse_matrix<T>::~sparse_matrix() = default;

template <class T>
void sparse_matrix<T>::initialize(long m, long n, long nzmax) {
  m = non_negative(m);
  n = non_negative(n);
  nzmax = non_negative(nzmax);
  // Everything is made before anything is replaced, so a failure leaves the
  // matrix as it was.
  auto pr = std::make_shared<value_vector>(static_cast<size_t>(nzmax));
  auto ir = std::make_shared<index_vector>(static_cast<size_t>(nzmax));
  auto jc = std::make_shared<index_vector>(static_cast<size_t>(n) + 1);
  auto jce = std::make_shared<index_vector>(static_cast<size_t>(n));
  adopt(m, n, std::move(pr), std::move(ir), std::move(jc), std::move(jce));
}

template <class T>
void sparse_matrix<T>::cpy_impl(const sparse_matrix& src) {
  if (this == &src) return;
  auto pr = std::make_shared<value_vector>(*src.pr_);
  auto ir = std::make_shared<index_vector>(*src.ir_);
  auto jc = std::make_shared<index_vector>(*src.jc_);
  auto jce = std::make_shared<index_vector>(*src.jce_);
  adopt(src.dims_[0], src.dims_[1], std::move(pr), std::move(ir), std::move(jc), std::move(jce));
}

template <class T>
void sparse_matrix<T>::adopt(long m, long n, std::shared_ptr<value_vector> pr,
                             std::shared_ptr<index_vector> ir, std::shared_ptr<index_vector> jc,
                             std::shared_ptr<index_vector> jce) noexcept {
  dims_[0] = m;
  dims_[1] = n;
  pr_ = std::move(pr);
  ir_ = std::move(ir);
  jc_ = std::move(jc);
  jce_ = std::move(jce);
  refresh_values();
}

template <class T>
void sparse_matrix<T>::swap(sparse_matrix& other) noexcept {
  dims_.swap(other.dims_);
  pr_.swap(other.pr_);
  ir_.swap(other.ir_);
  jc_.swap(other.jc_);
  jce_.swap(other.jce_);
  std::swap(values_, other.values_);
}

template <class T>
T sparse_matrix<T>::get_value(long i, long j) const {
  if (i < 0 || j < 0 || i >= rows() || j >= cols()) return T();
  const long* ir = ir_->data();
  const long* end = ir + (*jce_)[j];
  const long* p = std::lower_bound(ir + (*jc_)[j], end, i);
  if (p == end || *p != i) return T();
  return values_[p - ir];
}

template <class T>
std::vector<triplet<T>> sparse_matrix<T>::to_triplet() const {
  std::vector<triplet<T>> out;
  out.reserve(static_cast<size_t>(non_negative(nnz())));
  const long* ir = ir_->data();
  const long* jc = jc_->data();
  const long* jce = jce_->data();
  for (long j = 0; j < cols(); ++j)
    for (long k = jc[j]; k < jce[j]; ++k) out.push_back(triplet<T>{values_[k], j, ir[k]});
  return out;
}

template <class T>
matrix<T> sparse_matrix<T>::to_full() const {
  matrix<T> full(rows(), cols());
  const long* ir = ir_->data();
  const long* jc = jc_->data();
  const long* jce = jce_->data();
  for (long j = 0; j < cols(); ++j)
    for (long k = jc[j]; k < jce[j]; ++k) sparse_element<T>::add_to(full(ir[k], j), values_[k]);
  return full;
}

template <class T>
void sparse_matrix<T>::reserve(long nz) {
  if (nz <= 0) return;
  ir_->reserve(static_cast<size_t>(nz));
  pr_->reserve(static_cast<size_t>(nz));
  refresh_values();
}

template <class T>
void sparse_matrix<T>::reserve(const std::vector<long>& slack) {
  const long n = cols();
  const long* jc = jc_->data();
  const long* jce = jce_->data();
  auto wanted = [&](long j) {
    return j < static_cast<long>(slack.size()) ? non_negative(slack[j]) : 0;
  };
  bool short_of_room = false;
  for (long j = 0; j < n && !short_of_room; ++j) short_of_room = jc[j + 1] - jce[j] < wanted(j);
  if (!short_of_room) return;

  // New layout: every column keeps its entries and gets the larger of its
  // present and its wanted room.  A layout that does not fit a long is a
  // vector beyond the allocator's maximum.
  index_vector new_jc(static_cast<size_t>(n) + 1);
  index_vector new_jce(static_cast<size_t>(n));
  long pos = 0;
  for (long j = 0; j < n; ++j) {
    const long len = jce[j] - jc[j];
    const long room = std::max(jc[j + 1] - jce[j], wanted(j));
    new_jc[j] = pos;
    new_jce[j] = pos + len;
    if (__builtin_add_overflow(pos, len, &pos) || __builtin_add_overflow(pos, room, &pos))
      internal::throw_max_size_reached();
  }
  new_jc[n] = pos;

  value_vector new_pr(static_cast<size_t>(pos));
  index_vector new_ir(static_cast<size_t>(pos));
  const long* ir = ir_->data();
  for (long j = 0; j < n; ++j) {
    std::copy(ir + jc[j], ir + jce[j], new_ir.data() + new_jc[j]);
    std::copy(values_ + jc[j], values_ + jce[j], new_pr.data() + new_jc[j]);
  }
  pr_->swap(new_pr);
  ir_->swap(new_ir);
  jc_->swap(new_jc);
  jce_->swap(new_jce);
  refresh_values();
}

template <class T>
void sparse_matrix<T>::compress(bool shrink) {
  const long n = cols();
  // Where each row was last kept; a position below the current column's
  // start means "not in this column".
  std::vector<long> marker(static_cast<size_t>(rows()), -1);
  long* ir = ir_->data();
  long* jc = jc_->data();
  long* jce = jce_->data();
  T* pr = values_;
  long kept = 0;
  for (long j = 0; j < n; ++j) {
    const long start = kept;
    const long end = jce[j];
    for (long k = jc[j]; k < end; ++k) {
      const long r = ir[k];
      if (marker[r] >= start) {
        // A duplicate of a kept row is added even when it is zero, so a sum
        // of zero stays stored.
        sparse_element<T>::add_to(pr[marker[r]], pr[k]);
      } else if (!sparse_element<T>::is_zero(pr[k])) {
        // A zero is dropped only when its row has not been kept yet, so a
        // zero before a non-zero of the same row vanishes.  Intended.
        marker[r] = kept;
        ir[kept] = r;
        pr[kept] = pr[k];
        ++kept;
      }
    }
    jc[j] = start;
    jce[j] = kept;
  }
  jc[n] = kept;
  if (shrink) {
    ir_->resize(static_cast<size_t>(kept));
    pr_->resize(static_cast<size_t>(kept));
  }
  refresh_values();
}

template <class T>
void sparse_matrix<T>::reorder() {
  const long n = cols();
  long* ir = ir_->data();
  const long* jc = jc_->data();
  const long* jce = jce_->data();
  long longest = 0;
  for (long j = 0; j < n; ++j) longest = std::max(longest, jce[j] - jc[j]);
  // The buffer is made before any column is touched.
  // The raw-array constructor checks no rows, so no bound on them is assumed.
  column_sorter<T> sorter(longest, std::numeric_limits<long>::max());
  for (long j = 0; j < n; ++j) sorter.sort(ir + jc[j], values_ + jc[j], jce[j] - jc[j]);
}

template <class T>
void sparse_matrix<T>::resize(long m, long n) {
  m = non_negative(m);
  n = non_negative(n);
  index_vector new_jc(static_cast<size_t>(n) + 1);
  index_vector new_jce(static_cast<size_t>(n));
  jc_->swap(new_jc);
  jce_->swap(new_jce);
  dims_[0] = m;
  dims_[1] = n;
}

template <class T>
void sparse_matrix<T>::resize(const std::vector<long>& dims) {
  const auto shape = shape_of(dims);
  resize(shape.first, shape.second);
}

template <class T>
void sparse_matrix<T>::conservative_resize(long m, long n) {
  conservative_resize_impl(non_negative(m), non_negative(n));
}

template <class T>
void sparse_matrix<T>::conservative_resize(const std::vector<long>& dims) {
  const auto shape = shape_of(dims);
  conservative_resize_impl(non_negative(shape.first), non_negative(shape.second));
}

template <class T>
void sparse_matrix<T>::conservative_resize_impl(long m, long n) {
  const long old_n = cols();
  // The only step that can fail comes first.
  if (n > old_n) {
    jc_->reserve(static_cast<size_t>(n) + 1);
    jce_->reserve(static_cast<size_t>(n));
  }
  long* ir = ir_->data();
  long* jc = jc_->data();
  long* jce = jce_->data();
  if (m < rows()) {
    // Rows beyond the new last one leave their column; what stays is packed
    // to the column's front in its order, the rest becomes slack.
    for (long j = 0; j < std::min(n, old_n); ++j) {
      long kept = jc[j];
      for (long k = jc[j]; k < jce[j]; ++k) {
        if (ir[k] < m) {
          ir[kept] = ir[k];
          values_[kept] = values_[k];
          ++kept;
        }
      }
      jce[j] = kept;
    }
  }
  if (n > old_n) {
    // New columns are empty and start where the old last column's room ends.
    const long tail = jc[old_n];
    jc_->resize(static_cast<size_t>(n) + 1, tail);
    jce_->resize(static_cast<size_t>(n), tail);
  } else {
    // Dropped columns become room after the new last column.
    jc_->resize(static_cast<size_t>(n) + 1);
    jce_->resize(static_cast<size_t>(n));
  }
  dims_[0] = m;
  dims_[1] = n;
}

template <class T>
void sparse_matrix<T>::set_value(long i, long j, const T& v) {
  // Zero is never stored here and never removes an entry (intended).
  if (sparse_element<T>::is_zero(v)) return;
  if (i < 0 || j < 0 || i >= rows() || j >= cols()) return;
  const T value = v;  // v may refer into pr, which may move
  long* ir = ir_->data();
  long* jc = jc_->data();
  long* jce = jce_->data();
  const long lo = jc[j];
  const long hi = jce[j];
  const long p = std::lower_bound(ir + lo, ir + hi, i) - ir;
  if (p < hi && ir[p] == i) {
    values_[p] = value;
    return;
  }
  if (hi < jc[j + 1]) {
    // Room behind the column: only this column's tail moves.
    std::copy_backward(ir + p, ir + hi, ir + hi + 1);
    std::copy_backward(values_ + p, values_ + hi, values_ + hi + 1);
    ir[p] = i;
    values_[p] = value;
    ++jce[j];
    return;
  }
  // No room: both vectors grow by one place and every later entry moves.
  ir_->insert(ir_->begin() + p, i);
  try {
    pr_->insert(pr_->begin() + p, value);
  } catch (...) {
    ir_->erase(ir_->begin() + p);
    throw;
  }
  refresh_values();
  const long n = cols();
  for (long c = j + 1; c <= n; ++c) ++jc[c];
  for (long c = j; c < n; ++c) ++jce[c];
}

template <class T>
void sparse_matrix<T>::transpose() {
  transpose_impl(false);
}

template <class T>
void sparse_matrix<T>::ctranspose() {
  transpose_impl(true);
}

template <class T>
void sparse_matrix<T>::transpose_impl(bool conjugate) {
  const long m = rows();
  const long n = cols();
  const long* ir = ir_->data();
  const long* jc = jc_->data();
  const long* jce = jce_->data();

  // Counting sort by row: the rows become the new columns, and walking the
  // old columns in order leaves every new column sorted.
  index_vector new_jc(static_cast<size_t>(m) + 1);
  long total = 0;
  for (long j = 0; j < n; ++j) {
    total += jce[j] - jc[j];
    for (long k = jc[j]; k < jce[j]; ++k) ++new_jc[ir[k] + 1];
  }
  for (long r = 0; r < m; ++r) new_jc[r + 1] += new_jc[r];
  index_vector new_jce(new_jc.begin(), new_jc.begin() + m);
  index_vector new_ir(static_cast<size_t>(total), boost::container::default_init);
  value_vector new_pr(static_cast<size_t>(total), boost::container::default_init);
  for (long j = 0; j < n; ++j) {
    for (long k = jc[j]; k < jce[j]; ++k) {
      const long pos = new_jce[ir[k]]++;
      new_ir[pos] = j;
      new_pr[pos] = conjugate ? sparse_element<T>::conj(values_[k]) : values_[k];
    }
  }
  pr_->swap(new_pr);
  ir_->swap(new_ir);
  jc_->swap(new_jc);
  jce_->swap(new_jce);
  dims_[0] = n;
  dims_[1] = m;
  refresh_values();
}

#define ZORVAT_INSTANTIATE_SPARSE(T) \
  template struct triplet<T>;        \
  template class sparse_matrix<T>;
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_INSTANTIATE_SPARSE)
#undef ZORVAT_INSTANTIATE_SPARSE

}  // namespace zorvat
