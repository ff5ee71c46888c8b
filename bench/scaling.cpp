// Cost per element at 1e3 .. 1e7 elements, so that growth shows at a glance:
// the "ns_per_elem" column should stay flat down each group.
//
//   display/N     obj2console of an N-element double column to a null stream,
//                 drained every 64 KiB.  13 / 13 / 19 / 19 / 19 ns on a quiet
//                 2-core VM (AMD EPYC): flat once the array and the text
//                 leave L2.
//   sparse/N      sparse construction from N random triplets (N x N), after
//                 one untimed construction.  8 / 27 / 11 / 14-15 / 23-25 ns
//                 per entry.  Not flat, and why: up to 1e3 everything stays
//                 in L1/L2.  At 1e4 the construction's working buffers
//                 (about 0.5 MB, freed when it returns) are the top of the
//                 heap, which the C library then gives back to the system
//                 (its trim threshold is 128 KiB), so every construction
//                 faults them in afresh: 11 ns with MALLOC_TRIM_THRESHOLD_
//                 set high.  From 1e5 the triplets (24 B) and entries (16 B)
//                 leave L2; at 1e7 (N columns too, so 560 MB in all) every
//                 pass runs at memory speed.
//   deep_copy/N   first write to a shared N-element double value
//                 (zo_obj copy-on-write).  0.18 / 0.17 / 0.21 / 0.25 / 1.35
//                 ns: from 1e5 the copy leaves L2, and at 1e7 (80 MB) the
//                 new block is fresh memory faulted in with huge pages (4 KiB
//                 faults cost 23 ns per element there).
#include <memory>
#include <ostream>
#include <random>
#include <streambuf>
#include <vector>

#include "display/display.h"
#include "matrix/matrix.h"
#include "ratio.h"
#include "sparse/sparse_matrix.h"
#include "value/zo_obj.h"

using zorvat::matrix;

namespace {

class null_buffer : public std::streambuf {
 protected:
  int_type overflow(int_type c) override { return traits_type::not_eof(c); }
  std::streamsize xsputn(const char*, std::streamsize n) override { return n; }
};

zorvat::zo_obj column(long n) {
  auto* m = new matrix<double>(n, 1);
  std::mt19937_64 g(7);
  std::uniform_real_distribution<double> u(-1000.0, 1000.0);
  for (long i = 0; i < n; ++i) (*m)[i] = u(g);
  return zorvat::zo_obj(zorvat::type_double, m);
}

void per_element(benchmark::State& state, long n) {
  state.counters["ns_per_elem"] = benchmark::Counter(
      static_cast<double>(n) * 1e-9, benchmark::Counter::kIsIterationInvariantRate |
                                          benchmark::Counter::kInvert);
}

// The sink passes its text on every 64 KiB, as a console host has it do.
// (With no threshold the whole text, 130 MB at 1e7, is gathered in one
// string first, and its growth in fresh pages then costs more than the
// formatting.)
constexpr long console_threshold = 1L << 16;

void BM_Display(benchmark::State& state) {
  const long n = state.range(0);
  const auto v = column(n);
  null_buffer buf;
  std::ostream os(&buf);
  for (auto _ : state) zorvat::internal::obj2console(os, v, 80, console_threshold);
  per_element(state, n);
}

void BM_SparseFromTriplets(benchmark::State& state) {
  const long n = state.range(0);
  std::mt19937_64 g(42);
  std::uniform_int_distribution<long> index(0, n - 1);
  std::vector<zorvat::triplet<double>> list(static_cast<size_t>(n));
  for (auto& t : list) t = {1.0, index(g), index(g)};
  // One untimed construction first: at 1e7 the timed loop runs once, and
  // would otherwise show the process's first touch of 560 MB.
  { zorvat::sparse_matrix<double> warm(list, n, n); }
  for (auto _ : state) {
    zorvat::sparse_matrix<double> s(list, n, n);
    benchmark::DoNotOptimize(&s);
  }
  per_element(state, n);
}

void BM_DeepCopy(benchmark::State& state) {
  const long n = state.range(0);
  const auto shared = column(n);
  for (auto _ : state) {
    zorvat::zo_obj writer(shared);
    writer.copy_on_write(false);
    benchmark::DoNotOptimize(writer.payload());
  }
  per_element(state, n);
}

}  // namespace

BENCHMARK(BM_Display)->RangeMultiplier(10)->Range(1000, 10000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SparseFromTriplets)->RangeMultiplier(10)->Range(1000, 10000000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DeepCopy)->RangeMultiplier(10)->Range(1000, 10000000)->Unit(benchmark::kMillisecond);

ZORVAT_BENCH_MAIN();
