#include "matrix/matrix.h"

#include <algorithm>
#include <stdexcept>

#include "matrix/element_traits.h"
#include "memory/messages.h"

namespace zorvat {
namespace {

[[noreturn]] void throw_count_overflow() {
  throw std::length_error("matrix: element count does not fit 64 bits");
}

long checked_mul(long a, long b) {
  long r;
  if (__builtin_mul_overflow(a, b, &r)) throw_count_overflow();
  return r;
}

// Packed column-major strides for `dims` (negative extents become 0, at least
// two dims); returns the element count.
long standardize(std::vector<long>& dims, std::vector<long>& strides) {
  for (auto& d : dims)
    if (d < 0) d = 0;
  if (dims.size() < 2) dims.resize(2, 1);
  strides.resize(dims.size());
  strides[0] = 1;
  for (size_t k = 1; k < dims.size(); ++k) strides[k] = checked_mul(strides[k - 1], dims[k - 1]);
  return checked_mul(strides.back(), dims.back());
}

[[noreturn]] void throw_not_contiguous_view() {
  throw std::runtime_error(tr("矩阵存储格式不连续，不能调用 view()。请先调用 .contiguous()。"));
}

}  // namespace

// ---------------------------------------------------------------- blocks

template <class T>
zo_container<T>::~zo_container() {
  internal::element_traits<T>::release(data);
}

namespace {

template <class T, bool zeroed>
std::shared_ptr<zo_container<T>> make_block(long n) {
  using traits = internal::element_traits<T>;
  if (n <= 0) return nullptr;
  if (static_cast<std::uint64_t>(n) > traits::max_count) throw std::bad_array_new_length();
  T* p = zeroed ? traits::make(static_cast<std::uint64_t>(n))
                : traits::make_for_overwrite(static_cast<std::uint64_t>(n));
  // The container and its reference counts share one heap block: a scalar
  // value is made of several small blocks, and this is one fewer.
  std::shared_ptr<zo_container<T>> c;
  try {
    c = std::make_shared<zo_container<T>>();
  } catch (...) {
    traits::release(p);
    throw;
  }
  c->count = static_cast<std::uint64_t>(n);
  c->data = p;
  return c;
}

// A block whose elements belong to someone else: the callback gives them
// back, and the base's release then sees no data.
template <class T>
struct adopted_block : zo_container<T> {
  void (*release)(void*);
  void* context;
  adopted_block(T* p, std::uint64_t n, void (*r)(void*), void* c) : release(r), context(c) {
    this->data = p;
    this->count = n;
  }
  adopted_block(const adopted_block&) = delete;
  adopted_block& operator=(const adopted_block&) = delete;
  ~adopted_block() {
    this->data = nullptr;
    release(context);
  }
};

}  // namespace

template <class T>
std::shared_ptr<zo_container<T>> zo_container<T>::adopt(T* p, std::uint64_t n, void (*release)(void*),
                                                         void* context) {
  ZORVAT_ASSERT(release && (p || n == 0));
  // make_shared destroys the most derived type, so the base needs no
  // virtual destructor; a failed make_shared constructs nothing.
  return std::make_shared<adopted_block<T>>(p, n, release, context);
}

template <class T>
std::shared_ptr<zo_container<T>> zo_container<T>::make(long n) {
  return make_block<T, true>(n);
}

template <class T>
std::shared_ptr<zo_container<T>> zo_container<T>::make_for_overwrite(long n) {
  return make_block<T, false>(n);
}

// ---------------------------------------------------------------- construction

template <class T>
matrix<T>::matrix(long m, long n, int) {
  m = std::max(m, 0L);
  n = std::max(n, 0L);
  const long count = checked_mul(m, n);
  allocate(count, true);
  dims_ = {m, n};
  strides_ = {1, m};
  size_ = count;
  size_max_ = count;
}

template <class T>
matrix<T>::matrix(const std::vector<long>& dims) : dims_(dims) {
  set_standard_dims_strides();
  size_max_ = size_;
  allocate(size_, true);
}

template <class T>
matrix<T>::matrix(std::initializer_list<long> dims) : matrix(std::vector<long>(dims)) {}

template <class T>
matrix<T>::matrix(const matrix& other) : matrix() {
  matrix_cpy_impl(other);
}

template <class T>
matrix<T>::matrix(matrix&& other) {
  // This array's default dims and strides exist already (the only
  // allocations); the move proper swaps them into the source.
  matrix_mov_impl(std::move(other));
}

template <class T>
matrix<T>& matrix<T>::operator=(const matrix& other) {
  if (this != &other) matrix_cpy_impl(other);
  return *this;
}

template <class T>
matrix<T>& matrix<T>::operator=(matrix&& other) noexcept {
  if (this != &other) matrix_mov_impl(std::move(other));
  return *this;
}

// ---------------------------------------------------------------- storage

template <class T>
void matrix<T>::allocate(long n, bool) {
  if (n <= 0) {
    storage_.reset();
    data_ = nullptr;
    return;
  }
  auto fresh = zo_container<T>::make(n);  // on failure the old block stays
  storage_ = std::move(fresh);
  data_ = storage_->data;
}

template <class T>
void matrix<T>::destroy() {
  storage_.reset();
  data_ = nullptr;
  size_max_ = 0;
}

template <class T>
void matrix<T>::reallocate(long n, bool flag) {
  destroy();
  allocate(n, flag);
}

template <class T>
void matrix<T>::set_standard_dims_strides() {
  size_ = standardize(dims_, strides_);
}

// ---------------------------------------------------------------- queries

template <class T>
long matrix<T>::head_dim(long k) const {
  if (k >= ndims()) return size_;
  long p = 1;
  for (long i = 0; i < k; ++i) p *= dims_[i];
  return p;
}

template <class T>
long matrix<T>::tail_dim(long k) const {
  long p = 1;
  for (long i = std::max(k, 0L); i < ndims(); ++i) p *= dims_[i];
  return p;
}

template <class T>
bool matrix<T>::is_contiguous() const {
  long expect = 1;
  for (size_t k = 0; k < dims_.size(); ++k) {
    if (strides_[k] != expect) return false;
    expect *= dims_[k];
  }
  return true;
}

template <class T>
bool matrix<T>::is_standard() const {
  return is_contiguous() && offset_ == 0 && storage_ && storage_.use_count() == 1;
}

template <class T>
void matrix<T>::clear() {
  if (!storage_ || size_ == 0) return;
  for (auto it = begin(), e = end(); it != e; ++it) *it = T{};
}

// ---------------------------------------------------------------- iteration

template <class T>
void matrix<T>::iterator::advance_along_dim(long d) {
  const long last = static_cast<long>(index_.size()) - 1;
  ZORVAT_ASSERT(m_ && last >= 0 && index_[last] < m_->dims_[last]);
  d = std::clamp(d, 0L, last);
  const long start = d;
  const long* dims = m_->dims_.data();
  const long* strides = m_->strides_.data();
  for (;; ++d) {
    if (d == last) {
      ++index_[last];
      ptr_ += strides[last];
      // The end position is the same whichever dimension the walk advanced along.
      if (index_[last] == dims[last] && start >= 1) {
        for (long k = 0; k < start; ++k) {
          index_[k] = 0;
          ptr_ -= strides[k] * dims[k];
        }
      }
      break;
    }
    ptr_ += strides[d];
    if (++index_[d] < dims[d]) break;
    index_[d] = 0;
    ptr_ -= strides[d] * dims[d];
  }
  i0_ = index_[0];
  il_ = index_[last];
}

// ---------------------------------------------------------------- views and copies

template <class T>
matrix<T> matrix<T>::view(long m, long n, long start, long col_step, long row_step) const {
  if (!is_contiguous()) throw_not_contiguous_view();
  return share_as({m, n}, {row_step, col_step == -1 ? m : col_step}, checked_mul(m, n), start);
}

template <class T>
matrix<T> matrix<T>::view(const std::vector<long>& dims, const std::vector<long>& strides,
                          long start) const {
  if (dims.size() != strides.size() || dims.size() < 2)
    throw std::runtime_error(tr("view() 输入格式错误，新的维度和间隔长度必须相同且在 2 以上。"));
  if (!is_contiguous()) throw_not_contiguous_view();
  long count = 1;
  for (long d : dims) count = checked_mul(count, d);
  return share_as(dims, strides, count, start);
}

template <class T>
matrix<T> matrix<T>::share_as(std::vector<long> dims, std::vector<long> strides, long size,
                              long start) const {
  matrix r;
  r.dims_ = std::move(dims);
  r.strides_ = std::move(strides);
  r.size_ = size;
  r.offset_ = offset_ + start;
  r.storage_ = storage_;
  r.size_max_ = size_max_;
  r.rebase();
  r.assert_inside_block();
  return r;
}

template <class T>
void matrix<T>::assert_inside_block() const {
#if defined(ZORVAT_DEBUG_CHECKS) && ZORVAT_DEBUG_CHECKS
  if (size_ <= 0) return;
  long lo = 0, hi = 0;
  for (size_t k = 0; k < dims_.size(); ++k) {
    const long reach = (dims_[k] - 1) * strides_[k];
    (reach < 0 ? lo : hi) += reach;
  }
  ZORVAT_ASSERT(storage_ && offset_ + lo >= 0 &&
                static_cast<std::uint64_t>(offset_ + hi) < storage_->count);
#endif
}

template <class T>
matrix<T> matrix<T>::contiguous() const {
  if (is_contiguous()) return view(dims_, strides_, 0);
  matrix r(dims_);
  auto dst = r.begin();
  for (auto it = begin(), e = end(); it != e && r.size_ > 0; ++it, ++dst) *dst = *it;
  return r;
}

template <class T>
matrix<T> matrix<T>::dup(bool shallow) const {
  if (!shallow) return matrix(*this);
  matrix r;
  r.dims_ = dims_;
  r.strides_ = strides_;
  r.size_ = size_;
  r.offset_ = offset_;
  r.size_max_ = size_max_;
  r.storage_ = storage_;
  r.data_ = data_;
  return r;
}

template <class T>
void matrix<T>::matrix_cpy_impl(const matrix& src) {
  // The whole source block is copied, so a copied view keeps its strides and
  // offset on a private block.  The new block is made before anything changes,
  // so a failure leaves this array as it was.
  const std::uint64_t count = src.storage_ ? src.storage_->count : 0;
  std::shared_ptr<zo_container<T>> block;
  if (src.size_max_ > 0 && count > 0) {
    const bool reuse = storage_ && storage_.use_count() == 1 && size_max_ == src.size_max_ &&
                       storage_->count == count && storage_ != src.storage_;
    // A fresh block is overwritten whole at once: no zero-fill first.
    block = reuse ? storage_ : zo_container<T>::make_for_overwrite(static_cast<long>(count));
    internal::element_traits<T>::copy(block->data, src.storage_->data, count);
  }
  dims_ = src.dims_;
  strides_ = src.strides_;
  size_ = src.size_;
  offset_ = src.offset_;
  size_max_ = src.size_max_;
  storage_ = std::move(block);
  rebase();
}

template <class T>
void matrix<T>::assign_block(std::shared_ptr<zo_container<T>> block, std::vector<long>&& dims,
                             std::vector<long>&& strides, long offset) noexcept {
  ZORVAT_ASSERT(dims.size() == strides.size() && dims.size() >= 2);
  long count = 1;
  for (long d : dims) count *= d;
  dims_.swap(dims);
  strides_.swap(strides);
  size_ = count;
  offset_ = offset;
  size_max_ = block ? static_cast<long>(block->count) : 0;
  storage_ = std::move(block);
  rebase();
  assert_inside_block();
}

template <class T>
void matrix<T>::matrix_mov_impl(matrix&& src) noexcept {
  // The source gets this array's old vectors back, refilled in place: every
  // array holds at least two dims, so the refill never allocates.
  dims_.swap(src.dims_);
  strides_.swap(src.strides_);
  size_ = src.size_;
  offset_ = src.offset_;
  storage_ = std::move(src.storage_);
  size_max_ = src.size_max_;
  rebase();
  src.dims_.resize(2);
  src.dims_[0] = src.dims_[1] = 0;
  src.strides_.resize(2);
  src.strides_[0] = 1;
  src.strides_[1] = 0;
  src.size_ = 0;
  src.storage_.reset();
  src.size_max_ = 0;
  src.data_ = nullptr;
  src.offset_ = 0;
}

template <class T>
void matrix<T>::blt(long row, long col, const matrix& src) {
  if (!is_contiguous() || !src.is_contiguous())
    throw std::runtime_error(tr("同类 blt 时假定存储连续。请先调用 .contiguous()。"));
  // Source rows and columns that would land before this array are skipped;
  // a source wholly before it copies nothing (and no difference below can
  // overflow).
  if (row <= -src.rows() || col <= -src.cols()) return;
  const long r0 = row < 0 ? -row : 0;
  const long c0 = col < 0 ? -col : 0;
  row += r0;
  col += c0;
  const long nr = std::min(src.rows() - r0, rows() - row);
  const long nc = std::min(src.cols() - c0, cols() - col);
  const long np = std::min(src.tail_dim(2), tail_dim(2));
  if (nr <= 0 || nc <= 0 || np <= 0) return;
  const long dst_page = rows() * cols(), src_page = src.rows() * src.cols();
  for (long p = 0; p < np; ++p)
    for (long j = 0; j < nc; ++j) {
      T* d = data_ + p * dst_page + (col + j) * strides_[1] + row;
      const T* s = src.data_ + p * src_page + (c0 + j) * src.strides_[1] + r0;
      internal::element_traits<T>::copy(d, s, static_cast<std::uint64_t>(nr));
    }
}

// ---------------------------------------------------------------- resizing

template <class T>
void matrix<T>::resize(long m, long n) {
  resize_impl({m, n});
}

template <class T>
void matrix<T>::resize(const std::vector<long>& dims) {
  resize_impl(dims);
}

template <class T>
void matrix<T>::resize_impl(std::vector<long> dims) {
  std::vector<long> strides;
  const long count = standardize(dims, strides);
  if (!(count == size_max_ && storage_ && storage_.use_count() == 1)) {
    // Not reusable: fresh elements, the old contents are gone.
    auto fresh = zo_container<T>::make(count);
    storage_ = std::move(fresh);
    size_max_ = count;
  }
  // A kept block is read through the new shape as it is (no zeroing).
  dims_ = std::move(dims);
  strides_ = std::move(strides);
  size_ = count;
  offset_ = 0;
  rebase();
}

template <class T>
void matrix<T>::require_conservative_resizable() const {
  if (!is_contiguous() || offset_ != 0 || (storage_ && storage_.use_count() != 1))
    throw std::runtime_error(tr("matrix<T>::conservative_resize() 仅对标准格式有效。"));
}

template <class T>
void matrix<T>::conservative_resize(long m, long n) {
  require_conservative_resizable();
  if (dims_.size() == 2 && m == dims_[0] && n == dims_[1]) return;
  if (m < 0 || n < 0) return;  // ignored on purpose, neither clamped nor reported
  conservative_resize_impl({m, n});
}

template <class T>
void matrix<T>::conservative_resize(const std::vector<long>& dims) {
  require_conservative_resizable();
  conservative_resize_impl(dims);
}

template <class T>
void matrix<T>::conservative_resize_impl(std::vector<long> dims) {
  std::vector<long> strides;
  const long count = standardize(dims, strides);
  auto fresh = zo_container<T>::make(count);  // the old block is still held
  if (fresh && storage_) {
    // Copy the overlapping hyper-rectangle, one run along the first dim at a
    // time; an odometer walks the remaining dims of the overlap.
    const size_t nd = std::max(dims.size(), dims_.size());
    std::vector<long> overlap(nd), idx(nd, 0);
    for (size_t k = 0; k < nd; ++k) {
      const long a = k < dims.size() ? dims[k] : 1, b = k < dims_.size() ? dims_[k] : 1;
      overlap[k] = std::min(a, b);
    }
    const bool empty = std::any_of(overlap.begin(), overlap.end(), [](long x) { return x <= 0; });
    while (!empty) {
      long so = 0, dof = 0;
      for (size_t k = 1; k < nd; ++k) {
        if (k < strides_.size()) so += idx[k] * strides_[k];
        if (k < strides.size()) dof += idx[k] * strides[k];
      }
      internal::element_traits<T>::copy(fresh->data + dof, data_ + so,
                                        static_cast<std::uint64_t>(overlap[0]));
      size_t k = 1;
      for (; k < nd; ++k) {
        if (++idx[k] < overlap[k]) break;
        idx[k] = 0;
      }
      if (k == nd) break;
    }
  }
  dims_ = std::move(dims);
  strides_ = std::move(strides);
  size_ = count;
  size_max_ = count;
  offset_ = 0;
  storage_ = std::move(fresh);  // releases the old block
  rebase();
}

template <class T>
void matrix<T>::compress_dims() {
  if (dims_.size() < 3) return;
  size_t n = dims_.size();
  while (n > 2 && dims_[n - 1] == 1) --n;
  dims_.resize(n);  // strides keep their length on purpose
}

template <class T>
matrix<T> matrix<T>::diag() const {
  const long k = std::min(rows(), cols());
  return view(k, 1, 0, 0, strides_[1] + 1);
}

template <class T>
void matrix<T>::reshape(long m, long n) {
  reshape(std::vector<long>{m, n});
}

template <class T>
void matrix<T>::reshape(const std::vector<long>& dims) {
  // Made aside and swapped in: a count that does not fit leaves the array
  // as it was.
  std::vector<long> new_dims = dims, new_strides;
  const long n = standardize(new_dims, new_strides);
  dims_.swap(new_dims);
  strides_.swap(new_strides);
  size_ = n;
}

#define ZORVAT_INSTANTIATE_MATRIX(T) \
  template struct zo_container<T>;   \
  template class matrix<T>;
ZORVAT_FOR_EACH_DENSE_TYPE(ZORVAT_INSTANTIATE_MATRIX)
#undef ZORVAT_INSTANTIATE_MATRIX

}  // namespace zorvat
