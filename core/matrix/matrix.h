// matrix.h: the N-dimensional dense array.
//
// A matrix<T> is a strided view (dims, strides, offset) on a shared storage
// block zo_container<T>.  Arrays are column-major: entry 0 of the subscript
// varies fastest.  Copies are deep and keep the view geometry; only view(),
// diag(), dup(true) and contiguous() of a contiguous array share a block.  There is no
// copy-on-write here: sharing at the value level belongs to zo_obj.
//
//   zorvat::matrix<double> m(2, 3, 0);        // 2x3 zeros, strides {1, 2}
//   m(1, 2) = 4.0;
//   auto col = m.view(2, 1, 2 * 2);           // shares the block: writes show in m
//   for (double x : m) sum += x;              // column-major walk of any view
//   m.conservative_resize(3, 3);              // keeps the overlap, zero elsewhere
//
// T is one of the seventeen element types of ZORVAT_FOR_EACH_DENSE_TYPE.
// Element access performs no bounds checks: callers validate indices.
// Misuse (a view of a non-contiguous array, a bad view shape, resizing a
// non-standard array) throws std::runtime_error with a translated message;
// an exhausted heap throws internal::insufficient_memory and an element count
// that does not fit 64 bits a std::length_error (std::bad_array_new_length for
// the byte size).
#pragma once

#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <vector>

#include "matrix/zo_hdl.h"
#include "memory/type_lists.h"
#include "memory/zo_assert.h"
#include "memory/zo_malloc.h"

namespace zorvat {

// Shape queries of any dense or sparse array without knowing its element
// type.  The order of the virtual operations is part of the interface.
class matrix_base {
 public:
  virtual long rows() const = 0;
  virtual long cols() const = 0;
  virtual long pages() const = 0;
  virtual long ndims() const = 0;
  virtual long dim(long k) const = 0;
  virtual const std::vector<long>& dim_vec() const = 0;
  virtual void resize(long m, long n) = 0;
  virtual void resize(const std::vector<long>& dims) = 0;
  virtual void conservative_resize(long m, long n) = 0;
  virtual void conservative_resize(const std::vector<long>& dims) = 0;
  virtual bool is_scalar() const = 0;
  virtual bool is_empty() const = 0;
  virtual ~matrix_base() = default;
};

// The storage block of dense arrays, shared by every array that looks into
// it.  Arithmetic blocks are zero-filled heap memory (calloc/free); string,
// value-pointer and handle blocks are made with array new, so every element
// is default-constructed and destroyed.
template <class T>
struct zo_container {
  std::uint64_t count = 0;
  T* data = nullptr;

  zo_container() = default;
  zo_container(const zo_container&) = delete;
  zo_container& operator=(const zo_container&) = delete;
  ~zo_container();

  // A fresh block of n > 0 elements.  Throws std::bad_array_new_length when
  // n * sizeof(T) does not fit 64 bits and insufficient_memory when the heap
  // refuses; nothing is left allocated on failure.
  static std::shared_ptr<zo_container> make(long n);
  // The same for a block that the caller overwrites whole at once: arithmetic
  // elements are left unset instead of zero-filled (copies use it).
  static std::shared_ptr<zo_container> make_for_overwrite(long n);
  // A block over n elements at p that someone else owns (memory shared with
  // another library): instead of being freed, it is handed back by calling
  // release(context) once, when the last array lets go.  Nothing is adopted
  // when making the block fails (std::bad_alloc): the caller still owns p.
  // The elements are neither made nor destroyed here.
  // REQUIRES: p holds n elements (or n == 0), release is not null.
  static std::shared_ptr<zo_container> adopt(T* p, std::uint64_t n, void (*release)(void*),
                                             void* context);
};

template <class T>
class matrix : public matrix_base {
 public:
  using value_type = T;
  class iterator;
  using const_iterator = iterator;

  // Construction.  Every constructor gives a standard array (packed strides,
  // offset 0, sole owner of its block) or an empty one without a block.
  matrix() = default;
  // m x n fresh elements; negative extents count as 0.  The third argument is
  // accepted for interface compatibility and not consulted.
  matrix(long m, long n, int = 0);
  explicit matrix(const std::vector<long>& dims);
  matrix(std::initializer_list<long> dims);
  matrix(const matrix& other);
  // Moves leave the source as a default-constructed array.  Construction has
  // to give the source fresh dims and strides vectors, so it may throw
  // std::bad_alloc (the source is then untouched); assignment hands the
  // target's old vectors to the source and allocates nothing.
  matrix(matrix&& other);
  matrix& operator=(const matrix& other);
  matrix& operator=(matrix&& other) noexcept;
  ~matrix() override = default;

  // Storage management.  allocate(n) replaces the block by a fresh one of n
  // elements (n <= 0: no block, null data); the flag does not change the
  // result.  On failure the array keeps its previous block.
  void allocate(long n, bool flag);
  void destroy();
  void reallocate(long n, bool flag);
  // Makes the strides packed for the current dims: negative extents become 0,
  // at least two dims, size = product of the extents.  The block is untouched.
  void set_standard_dims_strides();

  // Shape queries (matrix_base).
  long rows() const override { return dims_[0]; }
  long cols() const override { return dims_[1]; }
  // The third extent only (higher dims are not folded in); 1 for 2-D.
  long pages() const override { return dims_.size() > 2 ? dims_[2] : 1; }
  long ndims() const override { return static_cast<long>(dims_.size()); }
  // 1 past the last dimension.
  long dim(long k) const override { return k < ndims() ? dims_[k] : 1; }
  const std::vector<long>& dim_vec() const override { return dims_; }
  bool is_scalar() const override { return size_ == 1; }
  bool is_empty() const override { return size_ == 0; }

  const std::vector<long>& stride_vec() const { return strides_; }
  // 0 past the last dimension: a missing dimension has no step.
  long stride(long k) const { return k < ndims() ? strides_[k] : 0; }
  const long& row_stride() const { return strides_[0]; }
  const long& inner_stride() const { return strides_[0]; }
  const long& col_stride() const { return strides_[1]; }
  const long& outer_stride() const { return strides_[1]; }
  // Product of dims[0..k-1]; 1 for k < 1, size() for k >= ndims().
  long head_dim(long k) const;
  // Product of dims[k..]; 1 for k >= ndims().
  long tail_dim(long k) const;
  long size() const { return size_; }
  long size_max() const { return size_max_; }
  long offset() const { return offset_; }
  // Exactly two dims, one row, at least one column (3-D arrays never are).
  bool is_row() const { return dims_.size() == 2 && dims_[0] == 1 && dims_[1] > 0; }
  bool is_column() const { return dims_.size() == 2 && dims_[1] == 1 && dims_[0] > 0; }
  bool is_vector() const { return is_row() || is_column(); }
  bool is_contiguous() const;
  bool is_standard() const;
  // Dense arrays have no sparse storage: always null.
  void* storage() const { return nullptr; }
  // The shared block (null without one); its use_count() tells sharing.
  const std::shared_ptr<zo_container<T>>& block() const { return storage_; }
  T* data() { return data_; }
  const T* data() const { return data_; }

  // Element access, unchecked in release builds (debug builds check that the
  // element lies inside the block).
  // REQUIRES: the element addressed lies inside the block.
  // operator[] is the raw position from the first element, ignoring strides.
  T& operator[](long i) { return data_[checked(i)]; }
  const T& operator[](long i) const { return data_[checked(i)]; }
  // Linear index over the first two dims.  REQUIRES: rows() > 0.
  T& operator()(long i) { return data_[linear(i)]; }
  const T& operator()(long i) const { return data_[linear(i)]; }
  T& operator()(long i, long j) { return data_[checked(i * strides_[0] + j * strides_[1])]; }
  const T& operator()(long i, long j) const {
    return data_[checked(i * strides_[0] + j * strides_[1])];
  }
  T& operator()(long i, long j, long k) {
    return data_[checked(i * strides_[0] + j * strides_[1] + page_term(k))];
  }
  const T& operator()(long i, long j, long k) const {
    return data_[checked(i * strides_[0] + j * strides_[1] + page_term(k))];
  }
  // The fast forms assume a unit row stride and do not multiply i: intended,
  // they differ from operator() on views with another row stride.
  T& at(long i, long j) { return data_[checked(i + j * strides_[1])]; }
  const T& at(long i, long j) const { return data_[checked(i + j * strides_[1])]; }
  T& at(long i, long j, long k) { return data_[checked(i + j * strides_[1] + page_term(k))]; }
  const T& at(long i, long j, long k) const {
    return data_[checked(i + j * strides_[1] + page_term(k))];
  }

  // Comma initialisation by raw memory position: m << 1, 2, 3, 4 fills a
  // standard 2x2 array column by column.
  class comma_initializer {
   public:
    comma_initializer(matrix& m, long pos) : m_(&m), pos_(pos) {}
    comma_initializer& operator,(const T& v) {
      (*m_)[pos_++] = v;
      return *this;
    }

   private:
    matrix* m_;
    long pos_;
  };
  comma_initializer operator<<(const T& v) {
    (*this)[0] = v;
    return comma_initializer(*this, 1);
  }

  // Column-major walks of the view (an all-zero subscript at data()).
  iterator begin() const { return iterator(*this, false); }
  iterator end() const { return iterator(*this, true); }
  iterator cbegin() const { return iterator(*this, false); }
  iterator cend() const { return iterator(*this, true); }

  // Sets every element of the view to its fresh value; the shape stays.
  void clear();

  // Views.  Both require a contiguous array and share its block.  A col_step
  // of -1 selects m.
  // REQUIRES: every element of a non-empty view lies inside the block
  // (checked in debug builds only).
  matrix view(long m, long n, long start = 0, long col_step = -1, long row_step = 1) const;
  matrix view(const std::vector<long>& dims, const std::vector<long>& strides, long start) const;
  // Braced lists pick the N-d form: view({3, 2}, {1, 3}, 0).
  matrix view(std::initializer_list<long> dims, std::initializer_list<long> strides,
              long start) const {
    return view(std::vector<long>(dims), std::vector<long>(strides), start);
  }
  // A contiguous array holding the same elements: a second array on the same
  // block when this one is contiguous already, else a fresh standard copy.
  matrix contiguous() const;
  // shallow: a second array on the same block; otherwise a deep copy.
  matrix dup(bool shallow) const;
  // The deep copy behind copy construction and assignment: the same geometry
  // on a private copy of the whole block (a copied view is not compacted).
  void matrix_cpy_impl(const matrix& src);
  // Makes this array a view of `block` (null: none) with the given geometry,
  // `offset` elements into the block, dropping its own block; allocates
  // nothing, so the caller can make the array first and hand it a block
  // that must not be lost.  Used for blocks of zo_container::adopt.
  // REQUIRES: dims and strides of the same length >= 2, no extent negative,
  // their product fits a long, and every element of a non-empty view lies
  // inside the block.
  void assign_block(std::shared_ptr<zo_container<T>> block, std::vector<long>&& dims,
                    std::vector<long>&& strides, long offset) noexcept;
  // The move behind move construction and assignment; src ends up empty.
  void matrix_mov_impl(matrix&& src) noexcept;
  // Copies src into this array with src's (0, 0) at (row, col), clipped to
  // what fits: a negative row or col drops the leading rows or columns of
  // src that would fall before this array.  Both arrays must be contiguous.
  void blt(long row, long col, const matrix& src);

  // Resizing.  resize() gives fresh elements unless the new size equals the
  // block's and the array owns it alone: then the old elements are read
  // through the new shape.  conservative_resize() keeps the overlap and needs
  // a standard array; negative sizes leave the array untouched.
  void resize(long m, long n) override;
  void resize(const std::vector<long>& dims) override;
  void conservative_resize(long m, long n) override;
  void conservative_resize(const std::vector<long>& dims) override;
  // Drops trailing singleton dims beyond the second (the strides vector keeps
  // its length: intended, shape queries count dims only).
  void compress_dims();
  // A column view of the main diagonal; writes through it change the array.
  matrix diag() const;
  // New dims for the same elements.  REQUIRES: the new size fits the block.
  // A count that does not fit 64 bits throws std::length_error and leaves
  // the array as it was.
  void reshape(long m, long n);
  void reshape(const std::vector<long>& dims);

  // Walks a view in column-major order.  The end position has its last
  // subscript equal to the last extent and all others zero; comparison looks
  // at the subscripts only, never at the arrays or pointers.  index() is the
  // iterator's own subscript vector, current after every step.
  class iterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = T*;
    using reference = T&;

    iterator() = default;
    iterator(const matrix& m, bool at_end)
        : m_(&m), index_(m.dims_.size(), 0), ptr_(m.data_), n0_(m.dims_[0]), s0_(m.strides_[0]) {
      if (at_end) move_to_end();
    }

    // REQUIRES: the iterator is at an element (not at the end, not empty).
    T& operator*() const {
      ZORVAT_ASSERT(at_element());
      return *ptr_;
    }
    T* operator->() const {
      ZORVAT_ASSERT(at_element());
      return ptr_;
    }
    const std::vector<long>& index() const { return index_; }
    T* ptr() const { return ptr_; }

    // REQUIRES: the iterator is not at the end.
    iterator& operator++() {
      ZORVAT_ASSERT(m_ && il_ < m_->dims_[index_.size() - 1]);
      // The first subscript is stored at every step (index() stays exact)
      // but never read back: the walk counts in i0_, so no step waits for
      // the previous step's store.
      ptr_ += s0_;
      index_[0] = ++i0_;
      if (i0_ < n0_) return *this;
      index_[0] = i0_ = 0;
      ptr_ -= s0_ * n0_;
      carry(1);
      return *this;
    }
    iterator operator++(int) {
      iterator old(*this);
      ++*this;
      return old;
    }
    // Odometer step starting at dimension d (see matrix.cpp); a d below 0
    // counts as 0 and one past the last dimension as the last.
    // REQUIRES: the iterator is not at the end.
    void advance_along_dim(long d);
    // Inline so that a walk sees the end position's subscripts as constants.
    // REQUIRES: at least two subscripts (every array has two dims or more),
    // so that the first one, and i0_, stay as they are.
    void move_to_end() {
      if (index_.empty()) return;
      const size_t last = index_.size() - 1;
      ZORVAT_ASSERT(last >= 1);
      il_ = index_[last] = m_->dims_[last];
      ptr_ = m_->data_ + m_->dims_[last] * m_->strides_[last];
    }

    // Compares the subscripts from the last entry down to the first; the
    // length of the left operand decides (an entry the right operand lacks
    // counts as 0).
    bool operator==(const iterator& o) const {
      const size_t n = index_.size(), on = o.index_.size();
      // Between two wraps of the first subscript a walk is at a non-zero
      // first subscript, which end()'s (a zero, seen as a constant when
      // end() is made in the same function) is not: one register test, and
      // the walk's loop keeps a single branch back.  A non-zero i0_ implies
      // that this iterator has subscripts, and o.i0_ is o's first entry or
      // the 0 that stands for a missing one.
      if (__builtin_expect(i0_ != 0 && i0_ != o.i0_, 1)) return false;
      // The last subscript decides almost every other comparison with end().
      if (n == on && il_ != o.il_) return false;
      for (size_t k = n; k-- > 0;)
        if (index_[k] != (k < on ? o.index_[k] : 0)) return false;
      return true;
    }
    bool operator!=(const iterator& o) const { return !(*this == o); }

   private:
    bool at_element() const {
      if (!m_ || !ptr_) return false;
      for (size_t k = 0; k < index_.size(); ++k)
        if (index_[k] < 0 || index_[k] >= m_->dims_[k]) return false;
      return true;
    }
    // Continues a step that wrapped dimension d - 1.  Inline so that a walk
    // keeps the iterator in registers.
    void carry(long d) {
      const long last = static_cast<long>(index_.size()) - 1;
      const long* dims = m_->dims_.data();
      const long* strides = m_->strides_.data();
      long* idx = index_.data();
      for (; d < last; ++d) {
        ptr_ += strides[d];
        if (++idx[d] < dims[d]) return;
        idx[d] = 0;
        ptr_ -= strides[d] * dims[d];
      }
      il_ = ++idx[last];
      ptr_ += strides[last];
    }

    const matrix* m_ = nullptr;
    std::vector<long> index_;
    T* ptr_ = nullptr;
    long i0_ = 0;           // equals index_[0] (0 without subscripts)
    long n0_ = 0, s0_ = 0;  // first extent and stride, for the inner step
    long il_ = 0;           // copy of the last subscript, for a one-compare end test
  };

 private:
  long page_term(long k) const { return dims_.size() > 2 ? k * strides_[2] : 0; }
  // pos (from data()) checked to lie inside the block in debug builds.
  long checked(long pos) const {
    ZORVAT_ASSERT(storage_ && offset_ + pos >= 0 &&
                  static_cast<std::uint64_t>(offset_ + pos) < storage_->count);
    return pos;
  }
  long linear(long i) const {
    ZORVAT_ASSERT(dims_[0] > 0);
    return checked((i % dims_[0]) * strides_[0] + (i / dims_[0]) * strides_[1]);
  }
  // REQUIRES of the views: a non-empty view stays inside the block.
  void assert_inside_block() const;
  void rebase() { data_ = storage_ ? storage_->data + offset_ : nullptr; }
  // A second array on this block with the given geometry, `start` elements
  // past this array's first element.
  matrix share_as(std::vector<long> dims, std::vector<long> strides, long size, long start) const;
  void resize_impl(std::vector<long> dims);
  void conservative_resize_impl(std::vector<long> dims);
  void require_conservative_resizable() const;

  std::vector<long> dims_{0, 0};
  std::vector<long> strides_{1, 0};
  long size_ = 0;
  std::shared_ptr<zo_container<T>> storage_;
  long size_max_ = 0;
  T* data_ = nullptr;
  long offset_ = 0;
};

// Plain text dump: one line per row, every element followed by a tab, a page
// header "(:, :, p) = " per page of an N-d array (each page repeats the
// elements of the first page: intended).  An empty array writes "(空矩阵)".
// Exists for the fourteen arithmetic and text element types.
template <class T>
std::ostream& operator<<(std::ostream& os, const matrix<T>& m);

#define ZORVAT_EXTERN_MATRIX(T)               \
  extern template struct zo_container<T>;     \
  extern template class matrix<T>;
ZORVAT_FOR_EACH_DENSE_TYPE(ZORVAT_EXTERN_MATRIX)
#undef ZORVAT_EXTERN_MATRIX

#define ZORVAT_EXTERN_MATRIX_OSTREAM(T) \
  extern template std::ostream& operator<<(std::ostream&, const matrix<T>&);
ZORVAT_FOR_EACH_ARITH_TYPE(ZORVAT_EXTERN_MATRIX_OSTREAM)
#undef ZORVAT_EXTERN_MATRIX_OSTREAM

}  // namespace zorvat
