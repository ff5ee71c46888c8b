// The construction of sparse_matrix<T> from coordinates.
//
// The result is exactly that of placing the triplets column by column in
// list order and then calling compress(false) and reorder(); it is reached in
// three passes that keep random memory traffic low, which is what the time
// of a large construction is made of (count_pass, bucket_pass and
// block_finisher below):
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
void prepare_vector_for_writing(V& v) {
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

// Stable LSD radix sort of `count` entries by the bit field [low, low +
// width) of their keys, in passes of at most max_digit_bits (at most 11).
// The passes alternate between (keys, vals) and (other_keys, other_vals);
// afterwards keys and vals point at the sorted entries and other_keys and
// other_vals at the other pair.  Bits above the field are ignored.
class radix_helper {
 public:
  static constexpr int max_digit_bits = 11;

  template <class T>
  void sort(long*& keys, T*& vals, long*& other_keys, T*& other_vals, long count, int low, int width,
            int digit_bits) {
    const int passes = (width + digit_bits - 1) / digit_bits;
    const int bits = passes == 0 ? 0 : (width + passes - 1) / passes;
    for (int p = 0; p < passes; ++p) {
      const int shift = low + p * bits;
      const long digit_mask = (long{1} << std::min(bits, width - p * bits)) - 1;
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
  }

 private:
  long counts_[(1 << max_digit_bits) + 1];
};

// Rows of up to this many bits are sorted by the radix helper in at most
// three passes of 11 bits.
constexpr int max_radix_row_bits = 33;
// A block is sorted by row as a whole when its columns hold this many
// entries on average; shorter columns are sorted one by one.
constexpr long min_radix_column = 16;
// The block's entries of a sparse block (below) are sorted by column in
// digits of this many bits.
constexpr int column_digit_bits = 8;

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

// Sorts a column of 2..16 entries by row, stably, to ir/pr at kept and
// merges it there by the compress rule; returns the new end.  Two unequal
// non-zero rows are ordered in place.  The one sorter of short columns.
// REQUIRES: rows below short_column_keys::max_rows; rows[0 .. 16) readable;
// rows/values apart from ir/pr at kept .. kept + len.
template <class T>
long place_short_column(const long* rows, const T* values, long len, long* ir, T* pr, long kept) {
  if (len == 2 && rows[0] != rows[1] && !sparse_element<T>::is_zero(values[0]) &&
      !sparse_element<T>::is_zero(values[1])) {
    const long low = rows[1] < rows[0];
    ir[kept] = rows[low];
    pr[kept] = values[low];
    ir[kept + 1] = rows[1 - low];
    pr[kept + 1] = values[1 - low];
    return kept + 2;
  }
  // Sorted straight to its final place; merged there when needed.
  if (sort_short_column(rows, values, len, ir + kept, pr + kept)) return kept + len;
  return merge_column(ir + kept, pr + kept, len, ir, pr, kept);
}

// Blocks with at most one entry for this many columns are finished by
// block_finisher::finish_sparse.
constexpr long sparse_block_density = 4;

// The blocks of columns of one construction: block b holds the columns
// from b << shift on, 2^shift of them (fewer in the last).  starts[b + 1]
// counts the triplets of block b after pass 1; pass 2 makes starts[b] the
// start of its range.
template <class T>
struct block_layout {
  int shift = 0;
  long ncols = 0;
  long highest_row = -1;  // the sort keys depend on the rows present
  typename sparse_matrix<T>::index_vector starts;

  long blocks() const { return ncols == 0 ? 0 : ((ncols - 1) >> shift) + 1; }
  long mask() const { return (long{1} << shift) - 1; }
};

// Pass 1: checks the triplets, finds the columns and the highest row, and
// counts the triplets of each block, for blocks sized to the asked shape
// first.  Columns up to col_limit are accepted.
template <class T>
block_layout<T> count_pass(const std::vector<triplet<T>>& triplets, long ncols, long col_limit) {
  block_layout<T> layout;
  const long total = static_cast<long>(triplets.size());
  int s = block_shift(total, ncols);
  auto& starts = layout.starts;
  auto size_starts = [&](long blocks) {
    sparse_detail::require_block<long>(static_cast<size_t>(blocks) + 2);
    starts.resize(static_cast<size_t>(blocks) + 2);
  };
  size_starts(ncols >> s);
  // The inner loop makes no call, so that its running values stay in
  // registers; it stops at a triplet to refuse or beyond the columns so far.
  long highest_row = -1;
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
    for (const triplet<T>& e : triplets) ++starts[e.col + 1];
  }
  layout.shift = s;
  layout.ncols = ncols;
  layout.highest_row = highest_row;
  return layout;
}

// Pass 2: makes starts[b] the start of block b's range and copies each
// triplet, in list order, to its block's range of ir/pr as a key (row <<
// shift | column within the block) and its value.  Returns the largest
// block's count.
template <class T>
long bucket_pass(const std::vector<triplet<T>>& triplets, block_layout<T>& layout, long* ir, T* pr) {
  auto& starts = layout.starts;
  const long nblocks = layout.blocks();
  const int s = layout.shift;
  const long mask = layout.mask();
  long biggest = 0;
  for (long b = 0; b < nblocks; ++b) {
    biggest = std::max(biggest, starts[b + 1]);
    starts[b + 1] += starts[b];
  }
  typename sparse_matrix<T>::index_vector next(starts.begin(), starts.begin() + nblocks);
  for (const triplet<T>& t : triplets) {
    const long k = next[t.col >> s]++;
    ir[k] = (t.row << s) | (t.col & mask);
    pr[k] = t.value;
  }
  return biggest;
}

// Pass 3, block by block: the block's entries, in its range of ir/pr, are
// sorted and merged to the front of ir/pr (at kept), and the block's column
// starts and ends are set.
template <class T>
class block_finisher {
 public:
  using index_vector = typename sparse_matrix<T>::index_vector;
  using value_vector = typename sparse_matrix<T>::value_vector;

  block_finisher(const block_layout<T>& layout, long biggest, long* ir, T* pr, long* jc, long* jce)
      // The short sort reads a column's rows 16 at a time: room past the end.
      : buffer_rows_(static_cast<size_t>(biggest + short_column_keys::max_len), boost::container::default_init),
        buffer_values_(static_cast<size_t>(biggest), boost::container::default_init),
        sorter_(0, layout.highest_row + 1),
        s_(layout.shift),
        mask_(layout.mask()),
        ncols_(layout.ncols),
        biggest_(biggest),
        row_bits_(layout.highest_row > 0 ? 64 - __builtin_clzl(static_cast<unsigned long>(layout.highest_row))
                                         : 0),
        short_keys_(layout.highest_row < short_column_keys::max_rows),
        ir_(ir),
        pr_(pr),
        jc_(jc),
        jce_(jce) {}

  // Finishes block b, whose entries lie at lo .. hi; returns the new kept.
  long finish(long b, long lo, long hi, long kept) {
    const long first = b << s_;
    const long width = std::min(ncols_ - first, mask_ + 1);
    long* keys = ir_ + lo;
    T* vals = pr_ + lo;
    const bool by_row = row_bits_ <= max_radix_row_bits && hi - lo >= min_radix_column * width;
    if (by_row) {
      if (scratch_rows_.size() < static_cast<size_t>(hi - lo)) {
        scratch_rows_.resize(static_cast<size_t>(biggest_), boost::container::default_init);
        scratch_values_.resize(static_cast<size_t>(biggest_), boost::container::default_init);
      }
      long* other_keys = scratch_rows_.data();
      T* other_vals = scratch_values_.data();
      radix_.sort(keys, vals, other_keys, other_vals, hi - lo, s_, row_bits_, radix_helper::max_digit_bits);
    } else if ((hi - lo) * sparse_block_density <= width) {
      return finish_sparse(keys, vals, hi - lo, first, width, kept);
    }
    return deal(keys, vals, hi - lo, by_row, first, width, kept);
  }

 private:
  // A block whose columns are long on average comes sorted by row, so that
  // dealing it to its columns, which is stable, leaves every column sorted;
  // other blocks' columns are sorted one by one after the deal.
  long deal(const long* keys, const T* vals, long count, bool by_row, long first, long width, long kept) {
    // ends[c] is first the start, then the end of column c in the buffer.
    if (ends_.empty()) ends_.resize(static_cast<size_t>(mask_) + 2, boost::container::default_init);
    // Locals throughout: the stores through these pointers could reach the
    // members as far as the compiler knows.
    long* const ends = ends_.data();
    long* const rows = buffer_rows_.data();
    T* const values = buffer_values_.data();
    long* const ir = ir_;
    T* const pr = pr_;
    long* const jc = jc_ + first;
    long* const jce = jce_ + first;
    const long mask = mask_;
    const int s = s_;
    std::fill_n(ends, width + 1, 0L);
    for (long k = 0; k < count; ++k) ++ends[(keys[k] & mask) + 1];
    for (long c = 0; c < width; ++c) ends[c + 1] += ends[c];
    for (long k = 0; k < count; ++k) {
      const long p = ends[keys[k] & mask]++;
      rows[p] = keys[k] >> s;
      values[p] = vals[k];
    }
    // Columns of at most one entry are the most common and the least
    // predictable: they are copied without a branch on the length (an empty
    // column copies the next entry and keeps nothing; the block's range is
    // free by now and kept stays below the next unread place, so this
    // writes inside it).
    long from = 0;
    for (long c = 0; c < width; ++c) {
      const long len = ends[c] - from;
      jc[c] = kept;
      if (len <= 1) {
        if (from < count) {
          ir[kept] = rows[from];
          pr[kept] = values[from];
          kept += len & static_cast<long>(!sparse_element<T>::is_zero(values[from]));
        }
      } else if (by_row) {
        kept = merge_column(rows + from, values + from, len, ir, pr, kept);
      } else {
        kept = place_column(rows + from, values + from, len, kept);
      }
      jce[c] = kept;
      from = ends[c];
    }
    return kept;
  }

  // A block of at most one entry per sparse_block_density columns, where
  // any work per column would cost more than the entries: its entries are
  // sorted by column with the radix helper, which keeps list order within a
  // column, through the buffer; each column met is then sorted by row and
  // merged at kept, and the empty columns between are filled in runs.
  // Reads stay ahead of the writes at kept as in the deal, so the block's
  // own range may hold the sorted entries.
  long finish_sparse(long* keys, T* vals, long count, long first, long width, long kept) {
    long* other_keys = buffer_rows_.data();
    T* other_vals = buffer_values_.data();
    radix_.sort(keys, vals, other_keys, other_vals, count, 0, s_, column_digit_bits);
    long* const ir = ir_;
    T* const pr = pr_;
    long* const jc = jc_ + first;
    long* const jce = jce_ + first;
    const long mask = mask_;
    const int s = s_;
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
      } else if (short_keys_ && end - k <= short_column_keys::max_len) {
        // Copied out first: the sorted entries may lie where kept writes.
        long rows[short_column_keys::max_len];
        T values[short_column_keys::max_len];
        for (long q = k; q < end; ++q) {
          rows[q - k] = keys[q] >> s;
          values[q - k] = vals[q];
        }
        kept = place_short_column(rows, values, end - k, ir, pr, kept);
      } else {
        for (long q = k; q < end; ++q) keys[q] >>= s;
        sorter_.sort(keys + k, vals + k, end - k);
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

  // A column of two or more entries of the buffer, in list order, sorted
  // by row and merged at kept.
  long place_column(long* rows, T* values, long len, long kept) {
    if (short_keys_ && len <= short_column_keys::max_len)
      return place_short_column(rows, values, len, ir_, pr_, kept);
    sorter_.sort(rows, values, len);
    return merge_column(rows, values, len, ir_, pr_, kept);
  }

  index_vector buffer_rows_;
  value_vector buffer_values_;
  index_vector ends_;  // made by the first block that deals (sparse blocks do not)
  index_vector scratch_rows_;
  value_vector scratch_values_;
  column_sorter<T> sorter_;
  radix_helper radix_;
  const int s_;
  const long mask_;
  const long ncols_;
  const long biggest_;
  const int row_bits_;
  const bool short_keys_;
  long* const ir_;
  T* const pr_;
  long* const jc_;
  long* const jce_;
};

}  // namespace

template <class T>
sparse_matrix<T>::sparse_matrix(const std::vector<triplet<T>>& triplets, long m, long n) {
  initialize(0, 0, 0);
  long nrows = non_negative(m);
  const long total = static_cast<long>(triplets.size());

  // jc holds ncols + 1 entries: a column beyond that is a vector beyond the
  // allocator's maximum (tested before ncols + 1 is formed, so LONG_MAX does
  // not wrap).
  const long col_limit = static_cast<long>(zo_allocator<long>::max_elements()) - 1;
  if (non_negative(n) > col_limit) internal::throw_max_size_reached();

  // The column starts of the asked shape are made first: when memory runs
  // out, their size is what the error reports.  Columns that the triplets
  // add are made room for after pass 1.
  sparse_detail::require_block<long>(static_cast<size_t>(non_negative(n)) + 1);
  index_vector jc_made(static_cast<size_t>(non_negative(n)) + 1, boost::container::default_init);

  block_layout<T> layout = count_pass(triplets, non_negative(n), col_limit);
  const long ncols = layout.ncols;
  const long highest_row = layout.highest_row;

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
  prepare_vector_for_writing(*jc_);
  prepare_vector_for_writing(*jce_);
  prepare_vector_for_writing(*ir_);
  prepare_vector_for_writing(*pr_);
  dims_[0] = nrows;
  dims_[1] = ncols;
  refresh_values();
  long* ir = ir_->data();
  T* pr = values_;

  const long biggest = bucket_pass(triplets, layout, ir, pr);

  block_finisher<T> finisher(layout, biggest, ir, pr, jc_->data(), jce_->data());
  long kept = 0;
  for (long b = 0, nblocks = layout.blocks(); b < nblocks; ++b)
    kept = finisher.finish(b, layout.starts[b], layout.starts[b + 1], kept);
  (*jc_)[ncols] = kept;
}

#define ZORVAT_INSTANTIATE_SPARSE_FROM_TRIPLETS(T) \
  template sparse_matrix<T>::sparse_matrix(const std::vector<triplet<T>>&, long, long);
ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_INSTANTIATE_SPARSE_FROM_TRIPLETS)
#undef ZORVAT_INSTANTIATE_SPARSE_FROM_TRIPLETS

}  // namespace zorvat
