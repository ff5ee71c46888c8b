// Display speed of cells and sparse matrices: obj2console of a 1000x1000 cell
// of short strings and of a sparse matrix with 1,000,000 entries, each against
// obj2console of a dense 1000x1000 double matrix (the same element count).
// Items per second is elements per second; the ratios are times per element.
//
// Medians of 3 (CPU): dense 12.6 ns per element, cell 39-41 ns (3.1x),
// sparse 20.3 ns (1.6x); before the dense speed-up dense was 46 ns, cell
// 62 ns (1.34x), sparse 63 ns (1.37x).  The cell's time is the walk to its
// texts: each element is a separate value reached through three dependent
// pointers (slot, value, array, string), a cache miss each on a million
// elements; every element is now looked at once.  A sparse entry line is
// 2.6 times the text of a dense element (its position comes first).
#include <ostream>
#include <random>
#include <streambuf>
#include <string>
#include <vector>

#include "display/display.h"
#include "ratio.h"
#include "sparse/sparse_matrix.h"
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

void BM_DenseDoubleMillion(benchmark::State& state) { run(state, dense_doubles()); }
void BM_CellOfStringsMillion(benchmark::State& state) { run(state, cell_of_strings()); }
void BM_SparseMillion(benchmark::State& state) { run(state, sparse_million()); }

}  // namespace

BENCHMARK(BM_DenseDoubleMillion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CellOfStringsMillion)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SparseMillion)->Unit(benchmark::kMillisecond);
ZORVAT_BENCH_RATIO("BM_CellOfStringsMillion", "BM_DenseDoubleMillion");
ZORVAT_BENCH_RATIO("BM_SparseMillion", "BM_DenseDoubleMillion");
ZORVAT_BENCH_MAIN();
