// sparse_matrix.h: the two-dimensional sparse array.
//
// A sparse_matrix<T> stores its entries in compressed columns with a separate
// end pointer per column, so that each column may keep unused room (slack)
// behind its last entry:
//
//   pr  values        ir  row of each value       (both of length nzmax())
//   jc  column starts (cols() + 1 entries)        jce column ends (cols())
//
// The entries of column j are the positions k with jc[j] <= k < jce[j]; the
// positions jce[j] .. jc[j+1] are slack and mean nothing.  After compress()
// and reorder() the rows of a column are strictly increasing; every lookup
// (get_value, set_value) relies on this with a binary search.  A stored value
// may be zero: only compress() removes zeros.
//
// The four vectors are zo_vector (60 % growth, zo_allocator) held by shared
// pointers that no other matrix shares: copies are always deep.  Values
// (zo_obj) hold sparse matrices; the sparse display walks pr(), ir(), jc(),
// jce().
//
//   std::vector<zorvat::triplet<double>> t{{1.0, 0, 2}, {5.0, 1, 0}, {2.0, 0, 2}};
//   zorvat::sparse_matrix<double> s(t, 3, 2);   // (2,0) = 3, (0,1) = 5
//   s.reserve(std::vector<long>{4, 0});         // room for 4 more in column 0
//   s.set_value(0, 0, 7.0);                     // shifts column 0 only
//   zorvat::matrix<double> full = s.to_full();
//
// T is one of the five types of ZORVAT_FOR_EACH_SPARSE_TYPE: double, float,
// std::complex<double>, std::complex<float> and bool (logical; for it a sum
// of duplicates is a logical or).  Element access is unchecked; negative
// sizes count as 0.  A vector longer than the allocator's maximum throws
// std::length_error("get_next_capacity, allocator's max size reached"), an
// exhausted heap internal::insufficient_memory.  Apart from the constructor
// from raw arrays (which checks nothing), a failed operation leaves the matrix
// as it was or at least valid (each operation says which).
#pragma once

#include <complex>
#include <memory>
#include <vector>

#include "matrix/matrix.h"
#include "memory/type_lists.h"
#include "memory/zo_malloc.h"

namespace zorvat {

// One coordinate entry: value at (row, col), both zero-based.
template <class T>
struct triplet {
  T value;
  long col;
  long row;
};

template <class T>
class sparse_matrix : public matrix_base {
 public:
  using value_type = T;
  using value_vector = zo_vector<T>;
  using index_vector = zo_vector<long>;

  // Construction.  Every constructor makes fresh vectors through initialize().
  // 0 x 0 with no entries (jc = {0}).
  sparse_matrix();
  // m x n with no entries and nzmax zero-filled places of slack behind the
  // last column.
  sparse_matrix(long m, long n, long nzmax);
  // A packed matrix from raw compressed-column arrays: nzmax rows and values,
  // n + 1 column starts; each column ends where the next one starts.
  // REQUIRES: the arrays are valid for m, n, nzmax (nothing is checked).
  sparse_matrix(long m, long n, long nzmax, const long* ir, const long* jc, const T* pr);
  // From coordinates.  The shape is the larger of (m, n) and what the
  // triplets reach.  Triplets are placed in list order, then compress(false)
  // drops zeros and merges duplicates (a zero before a non-zero of the same
  // place is dropped; duplicates summing to zero stay as a stored zero) and
  // reorder() sorts each column.  nzmax() is the number of triplets.
  // Besides the result it needs a buffer, twice for long columns, for one
  // block of adjacent columns (8,192 to 32,768 entries for a list spread
  // over the columns, up to the whole list when it falls into a few
  // columns).  Throws std::runtime_error for a negative row or column,
  // std::length_error "get_next_capacity, allocator's max size reached" for
  // columns beyond the allocator's maximum and "cannot create std::vector
  // larger than max_size()" for more rows than a row marker can have (as
  // compress() would).
  sparse_matrix(const std::vector<triplet<T>>& triplets, long m, long n);
  // Deep copies (cpy_impl): the two matrices never share vectors.
  sparse_matrix(const sparse_matrix& other);
  sparse_matrix& operator=(const sparse_matrix& other);
  ~sparse_matrix() override;

  // Replaces the four vectors by fresh zero-filled ones: m x n, no entries,
  // nzmax places.  Negative arguments count as 0.  On failure the matrix is
  // unchanged.
  void initialize(long m, long n, long nzmax);
  // The deep copy behind copy construction and assignment.  On failure the
  // matrix is unchanged.
  void cpy_impl(const sparse_matrix& src);
  // Exchanges the contents of two matrices; never throws.
  void swap(sparse_matrix& other) noexcept;

  // Shape queries (matrix_base) of a two-dimensional array.
  long rows() const override { return dims_[0]; }
  long cols() const override { return dims_[1]; }
  long pages() const override { return 1; }
  long ndims() const override { return 2; }
  // 1 past the second dimension.
  long dim(long k) const override { return k < 2 ? dims_[k] : 1; }
  const std::vector<long>& dim_vec() const override { return dims_; }
  bool is_scalar() const override { return dims_[0] == 1 && dims_[1] == 1; }
  bool is_empty() const override { return dims_[0] == 0 || dims_[1] == 0; }

  // jc[cols()] - jc[0]: counted from the column starts, so slack between
  // columns is included (intended); exact only for a packed matrix.
  long nnz() const { return (*jc_)[dims_[1]] - (*jc_)[0]; }
  long size() const { return nnz(); }
  // Length of pr() and ir().
  long nzmax() const { return static_cast<long>(pr_->size()); }

  // The k-th stored value.  REQUIRES: 0 <= k < nzmax().
  T& operator[](long k) { return values_[k]; }
  const T& operator[](long k) const { return values_[k]; }

  // The raw arrays: nzmax() values and rows, cols() + 1 starts, cols() ends.
  // Pointers into pr()/ir() are invalidated by any operation that can grow
  // them (set_value, reserve, resize, transposition, initialize, assignment).
  T* pr() { return values_; }
  const T* pr() const { return values_; }
  long* ir() { return ir_->data(); }
  const long* ir() const { return ir_->data(); }
  long* jc() { return jc_->data(); }
  const long* jc() const { return jc_->data(); }
  long* jce() { return jce_->data(); }
  const long* jce() const { return jce_->data(); }

  // Element (i, j); zero for any index outside the matrix.  Binary search:
  // REQUIRES: the column's rows are sorted.
  T get_value(long i, long j) const;
  // Every entry, column by column, in storage order within a column.
  std::vector<triplet<T>> to_triplet() const;
  // The dense array of the same shape.  Entries of one place that were never
  // merged (raw-array input) are summed.
  matrix<T> to_full() const;

  // Capacity of pr()/ir() for nz entries in all, so that set_value into a
  // column without slack does not reallocate until then.  nzmax() and the
  // layout are unchanged.  nz <= 0 does nothing.  On failure unchanged; a
  // count whose blocks cannot have a byte size throws (length error or
  // insufficient_memory), as every operation that makes storage does.
  void reserve(long nz);
  // At least slack[j] unused places behind column j (missing or negative
  // counts are 0), so that set_value into column j shifts only that column.
  // Existing slack larger than asked is kept; room after the last column is
  // dropped.  Does nothing when every column already has its room.  On
  // failure unchanged.
  void reserve(const std::vector<long>& slack);
  // Removes zeros and merges duplicates column by column, packing the result
  // to the front: the first non-zero of a row is kept and later duplicates of
  // that row are added to it, so a zero before any non-zero of its row is
  // dropped and a sum of zero stays stored (intended).  shrink: pr()/ir() are
  // cut to the entries kept; otherwise nzmax() stays and the rest is slack
  // after the last column.  Throws (unchanged) when the row marker cannot be
  // made ("cannot create std::vector larger than max_size()" beyond the
  // standard vector's limit).
  void compress(bool shrink);
  // Sorts the entries of each column by ascending row, stably (entries of
  // equal rows keep their order).  Throws only when its work buffers cannot
  // be made, before anything is changed.
  void reorder();

  // An m x n matrix without entries (negative sizes count as 0); nzmax() and
  // the capacity are kept as slack after the last column.  On failure
  // unchanged.
  void resize(long m, long n) override;
  // dims as for a dense array: missing extents are 1, extra extents must be
  // 1 (otherwise std::runtime_error: a sparse matrix has two dimensions).
  void resize(const std::vector<long>& dims) override;
  // m x n keeping the entries inside the new shape and dropping the others
  // (negative sizes count as 0).  Columns keep their places; dropped rows
  // become slack of their column; new columns are empty.  On failure
  // unchanged.
  void conservative_resize(long m, long n) override;
  void conservative_resize(const std::vector<long>& dims) override;

  // Stores v at (i, j).  Assigning zero returns at once, even onto a stored
  // entry, which keeps its value (intended: only compress removes entries);
  // an index outside the matrix changes nothing.  A stored row is
  // overwritten; otherwise the entry goes in at its sorted place, shifting
  // only column j when it has slack, else every later entry (pr()/ir() grow
  // by the 60 % rule).  REQUIRES: column j's rows are sorted.  On failure
  // unchanged.
  void set_value(long i, long j, const T& v);

  // In-place transposition: the matrix becomes cols() x rows(), packed (no
  // slack; nzmax() == number of entries), rows sorted within each column,
  // entries of equal rows in the order of their original columns.
  void transpose();
  // As transpose(), conjugating complex values (the same for real and
  // logical matrices).
  void ctranspose();
  // The worker of both: a counting sort by row into fresh vectors, swapped
  // in at the end.  On failure unchanged.
  void transpose_impl(bool conjugate);

 private:
  void refresh_values() { values_ = pr_->data(); }
  // Installs freshly made storage of an m x n matrix (the commit step of
  // initialize and cpy_impl, after everything that can fail).
  void adopt(long m, long n, std::shared_ptr<value_vector> pr, std::shared_ptr<index_vector> ir,
             std::shared_ptr<index_vector> jc, std::shared_ptr<index_vector> jce) noexcept;
  void conservative_resize_impl(long m, long n);

  std::vector<long> dims_{0, 0};
  std::shared_ptr<value_vector> pr_;
  std::shared_ptr<index_vector> ir_;
  std::shared_ptr<index_vector> jc_;
  std::shared_ptr<index_vector> jce_;
  // pr_->data(), refreshed after every operation that can reallocate pr_.
  T* values_ = nullptr;
};

#define ZORVAT_EXTERN_SPARSE(T)        \
  extern template struct triplet<T>;   \
  extern template class sparse_matrix<T>;
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_EXTERN_SPARSE)
#undef ZORVAT_EXTERN_SPARSE

}  // namespace zorvat
