#include "sparse/sparse_matrix.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <utility>

#include "memory/messages.h"
#include "sparse/sparse_detail.h"

namespace zorvat {
namespace {

using sparse_detail::column_sorter;
using sparse_detail::non_negative;
using sparse_detail::sparse_element;

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

// The constructor from triplets is in sparse_triplets.cpp.

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
  sparse_detail::require_entries<T>(nzmax);
  sparse_detail::require_block<long>(static_cast<size_t>(n) + 1);
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
  sparse_detail::require_entries<T>(nz);
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
  sparse_detail::require_entries<T>(pos);

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
  sparse_detail::require_block<long>(static_cast<size_t>(n) + 1);
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
    sparse_detail::require_block<long>(static_cast<size_t>(n) + 1);
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
  sparse_detail::require_block<long>(static_cast<size_t>(m) + 1);
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
