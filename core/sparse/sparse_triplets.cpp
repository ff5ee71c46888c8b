// The construction of sparse_matrix<T> from coordinates.
//
// The result is exactly that of placing the triplets column by column in
// list order and then calling compress(false) and reorder(); it is reached in
// three passes that keep random memory traffic low, which is what the time
// of a large construction is made of:
//
//  1. count:  check the triplets, find the shape and count the triplets of
//             each block of 2^s adjacent columns (few counters, in cache);
//  2. bucket: copy each triplet, in list order, to its block's range of
//             ir/pr as a key (row << s | column within the block) and its
//             value.  Each block's range fills sequentially, so this costs
//             about one stream per block instead of one cache miss per write
//             (the processor follows these streams by itself: prefetching
//             their next lines by hand measured no faster);
//             the blocks are made large enough that there are at most a few
//             hundred streams (two arrays each), which the caches can keep
//             open (thousands of them cost a miss per write again);
//  3. finish: block by block (a block holds at most 32,768 entries, so its
//             buffer stays in the core's cache), deal the block's entries
//             to their columns in a buffer, still in list order; then sort
//             each column by row, stably, and merge each run of equal rows by
//             the compress rule (leading zeros dropped, the rest summed in
//             list order), writing the result to the front of ir/pr.  When
//             the block's columns are long on average, the whole block is
//             first sorted by row with radix passes instead, so that the
//             (stable) deal leaves every column sorted: a comparison sort of
//             columns of a hundred entries costs several times as much.
//             When a block has far fewer entries than columns, anything done
//             per column costs more than the entries: its entries are then
//             sorted by column with radix passes instead of being dealt, and
//             the empty columns between are filled in runs.
//
// The output of a block never reaches past the block's own range, which is
// in the buffer by then, so later blocks are never overwritten.
#include "sparse/sparse_matrix.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include <algorithm>
#include <cstdint>
#include <limits>
#include <stdexcept>

#include "memory/messages.h"
#include "sparse/sparse_detail.h"

namespace zorvat {
namespace {

using sparse_detail::column_sorter;
using sparse_detail::non_negative;
using sparse_detail::sparse_element;

// Entries per block of columns aimed at: about 1/384 of the list, so that
// pass 2 writes to a few hundred blocks, but within these bounds (pass 3
// keeps a block's entries in a buffer that is to stay in cache); and the
// widest block (its column counters are a buffer too).
constexpr double min_block_entries = 8192;
constexpr double max_block_entries = 32768;
constexpr double blocks_aimed_at = 384;
constexpr int max_block_shift = 14;

// log2 of the block width that gives blocks of the size aimed at when
// `entries` triplets spread over `n` columns.
int block_shift(long entries, long n) {
  if (entries == 0) return max_block_shift;
  const double block_entries = std::min(
      max_block_entries, std::max(min_block_entries, static_cast<double>(entries) / blocks_aimed_at));
  const double width = block_entries * static_cast<double>(n) / static_cast<double>(entries);
  int s = 0;
  while (s < max_block_shift && static_cast<double>(long{2} << s) <= width) ++s;
  return s;
}

// The result's arrays are written whole (see internal::prepare_for_writing).
template <class V>
void prepare_for_writing(V& v) {
  internal::prepare_for_writing(v.data(), v.size() * sizeof(typename V::value_type));
}

// Sorting keys of a column of at most 16 entries: row * 16 + position, which
// are distinct and ordered as (row, position), padded with the largest key.
// rank(k) is the number of keys below key k: entry k's place in the stable
// order.  The keys fit 32 bits for rows below 2^27.
// REQUIRES: rows[0 .. max_len) readable (what lies beyond len is ignored).
class short_column_keys {
 public:
  static constexpr long max_len = 16;
  static constexpr long max_rows = long{1} << 27;

  short_column_keys(const long* rows, long len) {
#if defined(__SSE2__)
    // Made in registers, four keys at a time from the low halves of four
    // rows, so that no lane is loaded back from four separate stores.
    const __m128i top = _mm_set1_epi32(std::numeric_limits<std::int32_t>::max());
    const __m128i count = _mm_set1_epi32(static_cast<std::int32_t>(len));
    __m128i position = _mm_setr_epi32(0, 1, 2, 3);
    for (int q = 0; q < 4; ++q) {
      const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows + 4 * q));
      const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(rows + 4 * q + 2));
      const __m128i low = _mm_castps_si128(
          _mm_shuffle_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _MM_SHUFFLE(2, 0, 2, 0)));
      const __m128i key = _mm_or_si128(_mm_slli_epi32(low, 4), position);
      const __m128i used = _mm_cmplt_epi32(position, count);
      lanes_[q] = _mm_or_si128(_mm_and_si128(used, key), _mm_andnot_si128(used, top));
      _mm_store_si128(reinterpret_cast<__m128i*>(keys_) + q, lanes_[q]);
      position = _mm_add_epi32(position, _mm_set1_epi32(4));
    }
#else
    for (long k = 0; k < max_len; ++k) keys_[k] = std::numeric_limits<std::int32_t>::max();
    for (long k = 0; k < len; ++k) keys_[k] = static_cast<std::int32_t>(rows[k] * max_len + k);
#endif
  }

  long rank(long k) const {
#if defined(__SSE2__)
    // Each comparison is -1 where key k is greater; sum the lanes.
    const __m128i key = _mm_set1_epi32(keys_[k]);
    __m128i sum = _mm_add_epi32(
        _mm_add_epi32(_mm_cmpgt_epi32(key, lanes_[0]), _mm_cmpgt_epi32(key, lanes_[1])),
        _mm_add_epi32(_mm_cmpgt_epi32(key, lanes_[2]), _mm_cmpgt_epi32(key, lanes_[3])));
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0x4e));
    sum = _mm_add_epi32(sum, _mm_shuffle_epi32(sum, 0xb1));
    return -_mm_cvtsi128_si32(sum);
#else
    long rank = 0;
    for (long q = 0; q < max_len; ++q) rank += keys_[q] < keys_[k];
    return rank;
#endif
  }

 private:
  alignas(16) std::int32_t keys_[max_len];
#if defined(__SSE2__)
  __m128i lanes_[4];
#endif
};

// Writes the len (2..16) entries of a column sorted by row, stably, to
// rows/values, and tells whether they are final: no zero and no row twice.
// REQUIRES: every row below short_column_keys::max_rows; ir[0 .. 16)
// readable.
template <class T>
bool sort_short_column(const long* ir, const T* pr, long len, long* rows, T* values) {
  const short_column_keys keys(ir, len);
  bool zero = false;
  for (long k = 0; k < len; ++k) {
    const long r = keys.rank(k);
    rows[r] = ir[k];
    values[r] = pr[k];
    zero |= sparse_element<T>::is_zero(pr[k]);
  }
  bool twice = false;
  for (long k = 1; k < len; ++k) twice |= rows[k] == rows[k - 1];
  return !zero && !twice;
}

// Stable LSD radix sort of a block's entries by row: the keys are
// row << s | column within the block, so the row's digits start at bit s.
// Passes alternate between the block's own range and a scratch buffer; the
// sorted entries end in one of the two (returned through out_keys/out_vals).
class radix_sorter {
 public:
  // Rows of up to this many bits take at most three passes.
  static constexpr int max_row_bits = 33;
  // Blocks are sorted this way when their columns hold this many entries on
  // average; shorter columns are sorted one by one.
  static constexpr long min_column = 16;

  radix_sorter(int row_bits, int s) : s_(s) {
    passes_ = (row_bits + 10) / 11;
    bits_ = passes_ == 0 ? 0 : (row_bits + passes_ - 1) / passes_;
  }

  template <class T>
  void sort(long* keys, T* vals, long* other_keys, T* other_vals, long count, const long*& out_keys,
            const T*& out_vals) {
    const long digit_mask = (long{1} << bits_) - 1;
    for (int p = 0; p < passes_; ++p) {
      const int shift = s_ + p * bits_;
      std::fill_n(counts_, digit_mask + 2, 0L);
      for (long k = 0; k < count; ++k) ++counts_[((keys[k] >> shift) & digit_mask) + 1];
      for (long d = 0; d < digit_mask; ++d) counts_[d + 1] += counts_[d];
      for (long k = 0; k < count; ++k) {
        const long q = counts_[(keys[k] >> shift) & digit_mask]++;
        other_keys[q] = keys[k];
        other_vals[q] = vals[k];
      }
      std::swap(keys, other_keys);
      std::swap(vals, other_vals);
    }
    out_keys = keys;
    out_vals = vals;
  }

 private:
  int s_;
  int passes_;
  int bits_;
  long counts_[(1 << 11) + 1];
};

// Appends a column's entries, sorted by row, to ir/pr at `kept` by the
// compress rule and returns the new end: zeros before the first non-zero of
// a row are dropped, everything after it is added to it (so a sum of zero
// stays).  Writes never pass reads, so the entries may already lie at kept.
template <class T>
long merge_column(const long* from_ir, const T* from_pr, long len, long* ir, T* pr, long kept) {
  long k = 0;
  while (k < len) {
    const long r = from_ir[k];
    while (k < len && from_ir[k] == r && sparse_element<T>::is_zero(from_pr[k])) ++k;
    if (k == len || from_ir[k] != r) continue;
    T sum = from_pr[k++];
    for (; k < len && from_ir[k] == r; ++k) sparse_element<T>::add_to(sum, from_pr[k]);
    ir[kept] = r;
    pr[kept] = sum;
    ++kept;
  }
  return kept;
}

// Blocks with at most one entry for this many columns are finished by
// finish_sparse_block.
constexpr long sparse_block_density = 4;

// Pass 3 for a block of at most one entry per column on average, where any
// work per column would cost more than the entries: the block's entries
// (keys row << s | column within the block, and values) are sorted by
// column with radix passes of at most 8 bits, which keeps list order within
// a column, through the buffer rows/values (at least count long).  Each
// column met is then sorted by row and merged to ir/pr at kept, and the
// empty columns between are filled in runs.  jc and jce point at the block's
// first column.  Reads stay ahead of the writes at kept as in the other
// ways, so the block's own range may hold the sorted entries.
template <class T>
long finish_sparse_block(long* keys, T* vals, long count, int s, long* rows, T* values, column_sorter<T>& sorter,
                         long* ir, T* pr, long* jc, long* jce, long width, long kept) {
  const long mask = (long{1} << s) - 1;
  const int passes = (s + 7) / 8;
  const int bits = passes == 0 ? 0 : (s + passes - 1) / passes;
  const long digit_mask = (long{1} << bits) - 1;
  long counts[(1 << 8) + 1];
  for (int p = 0; p < passes; ++p) {
    const int shift = p * bits;
    std::fill_n(counts, digit_mask + 2, 0L);
    for (long k = 0; k < count; ++k) ++counts[(((keys[k] & mask) >> shift) & digit_mask) + 1];
    for (long d = 0; d < digit_mask; ++d) counts[d + 1] += counts[d];
    for (long k = 0; k < count; ++k) {
      const long q = counts[((keys[k] & mask) >> shift) & digit_mask]++;
      rows[q] = keys[k];
      values[q] = vals[k];
    }
    std::swap(keys, rows);
    std::swap(vals, values);
  }
  long c = 0;
  for (long k = 0; k < count;) {
    const long col = keys[k] & mask;
    long end = k + 1;
    while (end < count && (keys[end] & mask) == col) ++end;
    std::fill(jc + c, jc + col, kept);
    std::fill(jce + c, jce + col, kept);
    jc[col] = kept;
    if (end - k == 1) {
      if (!sparse_element<T>::is_zero(vals[k])) {
        ir[kept] = keys[k] >> s;
        pr[kept] = vals[k];
        ++kept;
      }
    } else {
      for (long q = k; q < end; ++q) keys[q] >>= s;
      sorter.sort(keys + k, vals + k, end - k);
      kept = merge_column(keys + k, vals + k, end - k, ir, pr, kept);
    }
    jce[col] = kept;
    c = col + 1;
    k = end;
  }
  std::fill(jc + c, jc + width, kept);
  std::fill(jce + c, jce + width, kept);
  return kept;
}

}  // namespace

template <class T>
sparse_matrix<T>::sparse_matrix(const std::vector<triplet<T>>& triplets, long m, long n) {
  initialize(0, 0, 0);
  long nrows = non_negative(m);
  long ncols = non_negative(n);
  const long total = static_cast<long>(triplets.size());

  // jc holds ncols + 1 entries: a column beyond that is a vector beyond the
  // allocator's maximum (tested before ncols + 1 is formed, so LONG_MAX does
  // not wrap).
  const long col_limit = static_cast<long>(zo_allocator<long>::max_elements()) - 1;
  if (ncols > col_limit) internal::throw_max_size_reached();

  // The column starts of the asked shape are made first: when memory runs
  // out, their size is what the error reports.  Columns that the triplets
  // add are made room for after pass 1.
  sparse_detail::require_block<long>(static_cast<size_t>(ncols) + 1);
  index_vector jc_made(static_cast<size_t>(ncols) + 1, boost::container::default_init);

  // Pass 1.  starts[b + 1] counts the triplets of block b, for blocks sized
  // to the asked shape.
  int s = block_shift(total, ncols);
  long highest_row = -1;  // the sort keys depend on the rows present
  index_vector starts;
  auto size_starts = [&](long blocks) {
    sparse_detail::require_block<long>(static_cast<size_t>(blocks) + 2);
    starts.resize(static_cast<size_t>(blocks) + 2);
  };
  size_starts(ncols >> s);
  // The inner loop makes no call, so that its running values stay in
  // registers; it stops at a triplet to refuse or beyond the columns so far.
  const triplet<T>* t = triplets.data();
  const triplet<T>* const end = t + total;
  for (;;) {
    long top = highest_row;
    const long cols = ncols;
    long* counts = starts.data();
    for (; t != end && (t->row | t->col) >= 0 && t->col < cols; ++t) {
      top = std::max(top, t->row);
      ++counts[(t->col >> s) + 1];
    }
    highest_row = top;
    if (t == end) break;
    if ((t->row | t->col) < 0)  // either negative
      throw std::runtime_error(tr("稀疏矩阵的三元组中行号和列号不能为负数。"));
    if (t->col >= col_limit) internal::throw_max_size_reached();
    ncols = t->col + 1;
    size_starts(ncols >> s);
  }
  // Columns beyond the asked shape call for wider blocks: each one's count
  // is the sum of those of the narrow blocks it covers.  A narrow block's
  // count is moved before any other is added to its place.
  if (const int wide = block_shift(total, ncols); wide > s) {
    const long narrow_blocks = ncols == 0 ? 0 : ((ncols - 1) >> s) + 1;
    for (long b = 0; b < narrow_blocks; ++b) {
      const long count = starts[b + 1];
      starts[b + 1] = 0;
      starts[(b >> (wide - s)) + 1] += count;
    }
    s = wide;
    size_starts(ncols >> s);
  }
  // A row too large to share a key with the column in its block: blocks of
  // one column, counted again.
  if (s > 0 && highest_row > (std::numeric_limits<long>::max() >> s)) {
    s = 0;
    starts.clear();
    size_starts(ncols);
    for (const triplet<T>& t : triplets) ++starts[t.col + 1];
  }
  const long mask = (long{1} << s) - 1;
  const long nblocks = ncols == 0 ? 0 : ((ncols - 1) >> s) + 1;

  if (static_cast<size_t>(ncols) + 1 != jc_made.size()) {
    sparse_detail::require_block<long>(static_cast<size_t>(ncols) + 1);
    jc_made.resize(static_cast<size_t>(ncols) + 1, boost::container::default_init);
  }
  index_vector jce_made(static_cast<size_t>(ncols), boost::container::default_init);
  index_vector ir_made(static_cast<size_t>(total), boost::container::default_init);
  value_vector pr_made(static_cast<size_t>(total), boost::container::default_init);
  // Merging duplicates needs a place per row (a row marker), so the rows
  // are bounded by the standard vector's limit, checked once the columns'
  // storage is made.  highest_row + 1 cannot wrap below that bound.
  const long row_limit = static_cast<long>(std::vector<long>().max_size());
  if (nrows > row_limit || highest_row >= row_limit)
    throw std::length_error("cannot create std::vector larger than max_size()");
  nrows = std::max(nrows, highest_row + 1);
  jc_->swap(jc_made);
  jce_->swap(jce_made);
  ir_->swap(ir_made);
  pr_->swap(pr_made);
  prepare_for_writing(*jc_);
  prepare_for_writing(*jce_);
  prepare_for_writing(*ir_);
  prepare_for_writing(*pr_);
  dims_[0] = nrows;
  dims_[1] = ncols;
  refresh_values();
  long* ir = ir_->data();
  T* pr = values_;
  long* jc = jc_->data();
  long* jce = jce_->data();

  // Pass 2.  starts[b] becomes the start of block b's range.
  long biggest = 0;
  for (long b = 0; b < nblocks; ++b) {
    biggest = std::max(biggest, starts[b + 1]);
    starts[b + 1] += starts[b];
  }
  index_vector next(starts.begin(), starts.begin() + nblocks);
  for (const triplet<T>& t : triplets) {
    const long k = next[t.col >> s]++;
    ir[k] = (t.row << s) | (t.col & mask);
    pr[k] = t.value;
  }

  // Pass 3.  ends[c] is first the start, then the end of column c of the
  // block in the buffer.  Blocks whose columns are long on average are
  // first sorted by row as a whole (radix passes between the block's own
  // range and a scratch buffer), so that dealing them to their columns, which
  // is stable, leaves every column sorted.
  index_vector ends;  // made by the first block that deals (sparse blocks do not)
  // The short sort reads a column's rows 16 at a time: room past the end.
  index_vector buffer_rows(static_cast<size_t>(biggest + short_column_keys::max_len),
                           boost::container::default_init);
  value_vector buffer_values(static_cast<size_t>(biggest), boost::container::default_init);
  long* rows = buffer_rows.data();
  T* values = buffer_values.data();
  const int row_bits = highest_row > 0 ? 64 - __builtin_clzl(static_cast<unsigned long>(highest_row)) : 0;
  const bool radix_rows = row_bits <= radix_sorter::max_row_bits;
  radix_sorter radix(row_bits, s);
  index_vector scratch_rows;
  value_vector scratch_values;
  const bool short_keys = highest_row < short_column_keys::max_rows;
  column_sorter<T> sorter(0, highest_row + 1);
  long kept = 0;
  for (long b = 0; b < nblocks; ++b) {
    const long first = b << s;
    const long width = std::min(ncols - first, mask + 1);
    const long lo = starts[b], hi = starts[b + 1];
    const long* keys = ir + lo;
    const T* vals = pr + lo;
    const bool by_row = radix_rows && hi - lo >= radix_sorter::min_column * width;
    if (by_row) {
      if (scratch_rows.size() < static_cast<size_t>(hi - lo)) {
        scratch_rows.resize(static_cast<size_t>(biggest), boost::container::default_init);
        scratch_values.resize(static_cast<size_t>(biggest), boost::container::default_init);
      }
      radix.sort(ir + lo, pr + lo, scratch_rows.data(), scratch_values.data(), hi - lo, keys, vals);
    }
    if (!by_row && (hi - lo) * sparse_block_density <= width) {
      kept = finish_sparse_block(ir + lo, pr + lo, hi - lo, s, rows, values, sorter, ir, pr, jc + first,
                                 jce + first, width, kept);
      continue;
    }
    if (ends.empty()) ends.resize(static_cast<size_t>(mask) + 2, boost::container::default_init);
    std::fill_n(ends.data(), width + 1, 0L);
    for (long k = 0; k < hi - lo; ++k) ++ends[(keys[k] & mask) + 1];
    for (long c = 0; c < width; ++c) ends[c + 1] += ends[c];
    for (long k = 0; k < hi - lo; ++k) {
      const long p = ends[keys[k] & mask]++;
      rows[p] = keys[k] >> s;
      values[p] = vals[k];
    }
    // Columns of at most one entry are the most common and the least
    // predictable: they are copied without a branch on the length (an empty
    // column copies the next entry and keeps nothing; the block's range is
    // free by now and kept stays below the next unread place, so this
    // writes inside it).  Two unequal non-zero rows are ordered in place.
    long from = 0;
    const long count = hi - lo;
    for (long c = 0; c < width; ++c) {
      const long len = ends[c] - from;
      jc[first + c] = kept;
      if (len <= 1) {
        if (from < count) {
          ir[kept] = rows[from];
          pr[kept] = values[from];
          kept += len & static_cast<long>(!sparse_element<T>::is_zero(values[from]));
        }
      } else if (len == 2 && !by_row && rows[from] != rows[from + 1] &&
                 !sparse_element<T>::is_zero(values[from]) && !sparse_element<T>::is_zero(values[from + 1])) {
        const long low = rows[from + 1] < rows[from];
        ir[kept] = rows[from + low];
        pr[kept] = values[from + low];
        ir[kept + 1] = rows[from + 1 - low];
        pr[kept + 1] = values[from + 1 - low];
        kept += 2;
      } else {
        if (by_row) {
          kept = merge_column(rows + from, values + from, len, ir, pr, kept);
        } else if (short_keys && len <= short_column_keys::max_len) {
          // Sorted straight to its final place; merged there when needed.
          if (sort_short_column(rows + from, values + from, len, ir + kept, pr + kept))
            kept += len;
          else
            kept = merge_column(ir + kept, pr + kept, len, ir, pr, kept);
        } else {
          sorter.sort(rows + from, values + from, len);
          kept = merge_column(rows + from, values + from, len, ir, pr, kept);
        }
      }
      jce[first + c] = kept;
      from = ends[c];
    }
  }
  jc[ncols] = kept;
}

#define ZORVAT_INSTANTIATE_SPARSE_FROM_TRIPLETS(T) \
  template sparse_matrix<T>::sparse_matrix(const std::vector<triplet<T>>&, long, long);
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_INSTANTIATE_SPARSE_FROM_TRIPLETS)
#undef ZORVAT_INSTANTIATE_SPARSE_FROM_TRIPLETS

}  // namespace zorvat
