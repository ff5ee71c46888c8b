// Sparse matrix speed, each figure against a baseline in the same run.
//
// 1. Construction from 1,000,000 random triplets into a 100,000 x 100,000
//    double matrix, against Eigen's setFromTriplets on the same coordinates
//    (the results are checked equal before timing; the program prints the
//    ratio of CPU times for each heap state, below 1 meaning faster).
//    The argument is the state of the heap, the same for both, because
//    first-touch page faults of fresh memory can cost more than the work:
//      0  the C library's default: freed memory goes back to the system
//         when the free top of the heap exceeds twice the largest mmapped
//         block freed so far, so the state depends on the process's history.
//         Here the Eigen pair's own 16 MB coordinate vector, freed after
//         each of its runs, lifts that limit to 32 MB and its matrices stay
//         in warm memory; ours run first, after 8 MB blocks only, and at
//         17.6 MB get fresh pages every time,
//      1  fresh memory every time (the heap is trimmed before each build),
//      2  a warm heap (trimming and mmap switched off; runs last).
// 2. set_value into a column with reserved room: the time per insertion
//    ("per_insert") must stay flat while the other columns grow tenfold; the
//    same insertions without room are shown beside it, growing with the total.
#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <numeric>
#include <random>
#include <vector>

#include "ratio.h"
#include "sparse/sparse_matrix.h"

#ifdef ZORVAT_HAVE_EIGEN
#include <Eigen/SparseCore>
#endif

namespace {

using zorvat::sparse_matrix;
using zorvat::triplet;

constexpr long kSide = 100000;
constexpr long kTriplets = 1000000;

const std::vector<triplet<double>>& random_triplets() {
  static const std::vector<triplet<double>> list = [] {
    std::mt19937_64 g(42);
    std::uniform_int_distribution<long> index(0, kSide - 1);
    std::uniform_real_distribution<double> value(0.5, 1.5);
    std::vector<triplet<double>> out(kTriplets);
    for (auto& t : out) t = {value(g), index(g), index(g)};
    return out;
  }();
  return list;
}

// Puts the heap into the state that the benchmark's argument names.
void set_heap(benchmark::State& state) {
  if (state.range(0) == 2) {
    mallopt(M_TRIM_THRESHOLD, 1 << 30);
    mallopt(M_MMAP_THRESHOLD, 1 << 30);
  }
}

void trim_heap_if_fresh(benchmark::State& state) {
  if (state.range(0) != 1) return;
  state.PauseTiming();
  malloc_trim(0);
  state.ResumeTiming();
}

void BM_sparse_from_triplets(benchmark::State& state) {
  const auto& list = random_triplets();
  set_heap(state);
  for (auto _ : state) {
    trim_heap_if_fresh(state);
    sparse_matrix<double> s(list, kSide, kSide);
    benchmark::DoNotOptimize(s.pr());
  }
  state.SetItemsProcessed(state.iterations() * kTriplets);
}

#ifdef ZORVAT_HAVE_EIGEN
std::vector<Eigen::Triplet<double>> eigen_triplets() {
  std::vector<Eigen::Triplet<double>> out;
  out.reserve(kTriplets);
  for (const auto& t : random_triplets()) out.emplace_back(t.row, t.col, t.value);
  return out;
}

// Both constructions must give the same matrix, or the comparison means
// nothing.
bool same_result(const std::vector<Eigen::Triplet<double>>& et) {
  Eigen::SparseMatrix<double> e(kSide, kSide);
  e.setFromTriplets(et.begin(), et.end());
  sparse_matrix<double> s(random_triplets(), kSide, kSide);
  if (e.nonZeros() != s.jc()[kSide]) return false;
  for (long j = 0; j < kSide; ++j) {
    long k = s.jc()[j];
    for (Eigen::SparseMatrix<double>::InnerIterator it(e, j); it; ++it, ++k)
      if (k >= s.jce()[j] || it.row() != s.ir()[k] || it.value() != s[k]) return false;
    if (k != s.jce()[j]) return false;
  }
  return true;
}

void BM_eigen_set_from_triplets(benchmark::State& state) {
  const auto et = eigen_triplets();
  if (!same_result(et)) {
    state.SkipWithError("results differ");
    return;
  }
  set_heap(state);
  for (auto _ : state) {
    trim_heap_if_fresh(state);
    Eigen::SparseMatrix<double> e(kSide, kSide);
    e.setFromTriplets(et.begin(), et.end());
    benchmark::DoNotOptimize(e.valuePtr());
  }
  state.SetItemsProcessed(state.iterations() * kTriplets);
}
#endif

BENCHMARK(BM_sparse_from_triplets)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
#ifdef ZORVAT_HAVE_EIGEN
BENCHMARK(BM_eigen_set_from_triplets)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
ZORVAT_BENCH_RATIO("BM_sparse_from_triplets/0", "BM_eigen_set_from_triplets/0");
ZORVAT_BENCH_RATIO("BM_sparse_from_triplets/1", "BM_eigen_set_from_triplets/1");
ZORVAT_BENCH_RATIO("BM_sparse_from_triplets/2", "BM_eigen_set_from_triplets/2");
#endif

// A 100,000-row matrix of 1,000 columns holding about `total` entries, with
// 100 entries (even rows) in column 0.
sparse_matrix<double> matrix_with_total(long total) {
  std::mt19937_64 g(7);
  std::uniform_int_distribution<long> row(0, kSide - 1), col(1, 999);
  std::vector<triplet<double>> list;
  list.reserve(total + 100);
  for (long r = 0; r < 100; ++r) list.push_back({1.0, 0, 2 * r});
  for (long k = 0; k < total; ++k) list.push_back({1.0, col(g), row(g)});
  return sparse_matrix<double>(list, kSide, 1000);
}

// The odd rows below 2 * count in a fixed random order: none is stored yet.
std::vector<long> odd_rows(long count) {
  std::vector<long> rows(count);
  for (long k = 0; k < count; ++k) rows[k] = 2 * k + 1;
  std::shuffle(rows.begin(), rows.end(), std::mt19937_64(9));
  return rows;
}

// Inserts into column 0 after reserving room for every insertion behind it.
// Each batch is undone by handing the column's new entries back to its room,
// which is O(1), so the matrix never has to be rebuilt.
void BM_set_value_with_room(benchmark::State& state) {
  const long inserts = 1000;
  sparse_matrix<double> s = matrix_with_total(state.range(0));
  s.reserve(std::vector<long>{inserts});
  const long end0 = s.jce()[0];
  const auto rows = odd_rows(inserts);
  for (auto _ : state) {
    for (long r : rows) s.set_value(r, 0, 2.0);
    s.jce()[0] = end0;
  }
  state.counters["per_insert"] = benchmark::Counter(
      static_cast<double>(state.iterations() * inserts),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["total"] = static_cast<double>(s.nnz());
}
BENCHMARK(BM_set_value_with_room)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

// The same insertions without room: each one moves every later entry.
void BM_set_value_without_room(benchmark::State& state) {
  const long inserts = 20;
  const auto rows = odd_rows(inserts);
  const sparse_matrix<double> base = matrix_with_total(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    sparse_matrix<double> s = base;
    s.reserve(s.nzmax() + inserts);  // no reallocation inside the timing
    state.ResumeTiming();
    for (long r : rows) s.set_value(r, 0, 2.0);
  }
  state.counters["per_insert"] = benchmark::Counter(
      static_cast<double>(state.iterations() * inserts),
      benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}
BENCHMARK(BM_set_value_without_room)->Arg(100000)->Arg(1000000)->Unit(benchmark::kMicrosecond);

}  // namespace

// The warm-heap pair changes the process's heap settings for good, so it runs
// after everything else.
BENCHMARK(BM_sparse_from_triplets)->Arg(2)->Unit(benchmark::kMillisecond);
#ifdef ZORVAT_HAVE_EIGEN
BENCHMARK(BM_eigen_set_from_triplets)->Arg(2)->Unit(benchmark::kMillisecond);
#endif

ZORVAT_BENCH_MAIN();
