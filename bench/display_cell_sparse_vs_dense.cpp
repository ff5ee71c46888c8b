// Display speed of cells and sparse matrices: obj2console of a 1000x1000 cell
// of short strings and of a sparse matrix with 1,000,000 entries, each against
// obj2console of a dense 1000x1000 double matrix (the same element count).
// Items per second is elements per second; the ratios are times per element.
//
// Medians of 3 (CPU), on a shared machine whose other work moves the
// memory-bound figures by 10-20 %: dense 12.8-13.0 ns per element; cell
// 35.6-37.7 ns (2.4-3.0x, was 3.1-3.3x); sparse 12.5-15.0 ns (1.0-1.16x,
// was 1.45-1.6x); the raw walk to the cell's texts 23.6 ns (1.8x), the cell
// 1.5-1.6x that walk.  Before the dense speed-up dense was 46 ns, cell 62
// ns, sparse 63 ns.
//
// Sparse: the "  (row" texts come from a table made once per matrix, so an
// entry line costs about what a dense element does.  Cell: every element is
// a separate value reached through dependent pointers (slot, value, array,
// string); this cell's values and their arrays take about 240 bytes of heap
// each and the strings' storage blocks another 110, so merely reading each
// element's text streams about 350 MB, which the walk measures: already
// more than 1.3x the dense time before any text is made.  A later run: dense
// 15.0, cell 32.9 (2.2x), sparse 17.7 (1.18x), the walk 21.4 (1.43x).  This
// machine reads one core's memory stream at 20-23 GB/s (every line of a
// 368 MB block touched once), so the 350-odd bytes behind each element cost
// 15-18 ns however the walk is written: a staged prefetch of the value, the
// array and the string 16-48 elements ahead measured slower than the plain
// walk (26-30 ns against 17-20).  What is left above the walk is the second
// pass over the kept items of a page (the column widths must be known
// before a row is written) and the making of the items.
//
// Since a new cell's slots are empty (no value made for each), the values
// that this benchmark stores lie differently in the heap, and the same walk
// takes 22.8-26.7 ns, the cell 41.6-43.0 ns (1.6-1.9x the walk, as before).
// Storing an empty value in every slot first, as the cell used to, gives
// back the old figures: walk 18.6-20.2 ns, cell 32.6 ns (before: 33.5-37.2).
// Writing each column and line end of a row, and each part of a sparse entry
// line, as insertions of their own (joined where the sink allows) left the
// cell at 1.6-1.9x the walk and sparse at 1.24-1.29x dense (1.20-1.30 before).
#include <ostream>
#include <random>
#include <streambuf>
#include <string>
#include <vector>

#include "display/display.h"
#include "ratio.h"
#include "sparse/sparse_matrix.h"
#include "matrix/matrix.h"
#include "value/cell_array.h"
#include "value/zo_obj.h"

using zorvat::zo_obj;

namespace {

constexpr long n = 1000;

class discard_buf : public std::streambuf {
 protected:
  std::streamsize xsputn(const char*, std::streamsize k) override { return k; }
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
};

const zo_obj& dense_doubles() {
  static const zo_obj v = [] {
    auto* m = new zorvat::matrix<double>(n, n);
    std::mt19937_64 rng(17);
    std::uniform_real_distribution<double> u(0.001, 1.0);
    for (long k = 0; k < n * n; ++k) m->data()[k] = u(rng);
    return zo_obj(zorvat::type_double, m);
  }();
  return v;
}

const zo_obj& cell_of_strings() {
  static const zo_obj v = [] {
    auto* c = new zorvat::cell_array(n, n);
    for (long k = 0; k < n * n; ++k) (*c)(k) = std::make_shared<zo_obj>(("s" + std::to_string(k % 997)).c_str());
    return zo_obj(zorvat::type_cell, c);
  }();
  return v;
}

const zo_obj& sparse_million() {
  static const zo_obj v = [] {
    // 10,000 x 10,000 with 100 entries in each column.
    const long m = 10000, cols = 10000;
    std::vector<zorvat::triplet<double>> t;
    t.reserve(1000000);
    std::mt19937_64 rng(5);
    std::uniform_real_distribution<double> u(0.001, 1.0);
    for (long j = 0; j < cols; ++j)
      for (long k = 0; k < 100; ++k) t.push_back({u(rng), j, k * 100 + j % 100});
    return zo_obj(zorvat::type_sparse_double, new zorvat::sparse_matrix<double>(t, m, cols));
  }();
  return v;
}

void run(benchmark::State& state, const zo_obj& v) {
  discard_buf buf;
  std::ostream sink(&buf);
  for (auto _ : state) zorvat::internal::obj2console(sink, v, 80, 65536);
  state.SetItemsProcessed(state.iterations() * n * n);
  state.counters["ns_per_element"] =
      benchmark::Counter(static_cast<double>(n * n), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

// The floor of the cell's time: a raw loop that only reaches the text of
// every element (slot, value, array, string) and adds up the lengths.
void BM_CellTextWalkMillion(benchmark::State& state) {
  const auto& c = cell_of_strings().get<zorvat::cell_array>().data();
  for (auto _ : state) {
    long total = 0;
    const auto* slot = c.data();
    for (long k = 0; k < n * n; ++k) {
      const zo_obj& v = *slot[k];
      const auto& m = v.get<zorvat::matrix<std::string>>();
      total += m.size() == 1 ? static_cast<long>(m.data()->size()) + v.type : 0;
    }
    benchmark::DoNotOptimize(total);
  }
  state.SetItemsProcessed(state.iterations() * n * n);
  state.counters["ns_per_element"] =
      benchmark::Counter(static_cast<double>(n * n), benchmark::Counter::kIsIterationInvariantRate |
                                                         benchmark::Counter::kInvert);
}

void BM_DenseDoubleMillion(benchmark::State& state) { run(state, dense_doubles()); }
void BM_CellOfStringsMillion(benchmark::State& state) { run(state, cell_of_strings()); }
void BM_SparseMillion(benchmark::State& state) { run(state, sparse_million()); }

}  // namespace

BENCHMARK(BM_DenseDoubleMillion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CellOfStringsMillion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SparseMillion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CellTextWalkMillion)->Unit(benchmark::kMillisecond);
ZORVAT_BENCH_RATIO("BM_CellOfStringsMillion", "BM_DenseDoubleMillion");
ZORVAT_BENCH_RATIO("BM_SparseMillion", "BM_DenseDoubleMillion");
ZORVAT_BENCH_RATIO("BM_CellTextWalkMillion", "BM_DenseDoubleMillion");
ZORVAT_BENCH_RATIO("BM_CellOfStringsMillion", "BM_CellTextWalkMillion");
ZORVAT_BENCH_MAIN();
