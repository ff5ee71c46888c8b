// DLPack export and import: neither touches the elements, so both must take
// the same time for 1e3 and 1e7 elements (ratio at most 1.2) and stay within
// twice the time of making and dropping a 1x1 value (zo_obj(3.0)).
//
// - BM_Export/n: to_dlpack of an n-element value, then the consumer's
//   deleter call.
// - BM_Import/n: from_dlpack of a producer's n-element tensor into a value,
//   then dropping the value (which calls the producer's deleter).
// - BM_Scalar: zo_obj(3.0) made and dropped.
// - BM_AlternatingPairs: the four target ratios, each the median over 41
//   pairs of timings of its two sides taken back to back (subject, then
//   baseline), so that a change in the machine's load between the two runs
//   of a pair moves both.  The counters are the ratios.
// Measured on a loaded 2-core VM (CPU time, medians of the pairs): export
// 1e7 / 1e3 = 0.999-1.009, import 1e7 / 1e3 = 0.993-0.997, export / scalar
// 0.23-0.25 (18 ns against 80 ns), import / scalar 1.39-1.42 (114 ns: the
// tensor's dims and strides, the value with its empty array, the block).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <ctime>
#include <cstdint>
#include <vector>

#include "io/dlpack.h"
#include "ratio.h"

namespace {

using zorvat::zo_obj;

zo_obj value_of(long n) { return zo_obj(zorvat::type_double, new zorvat::matrix<double>(n, 1)); }

// A producer's tensor over n doubles of its own; its deleter does nothing,
// so the same tensor can be imported again and again.
struct producer {
  std::vector<double> cells;
  std::int64_t shape[2];
  DLManagedTensor tensor;
  explicit producer(long n)
      : cells(static_cast<size_t>(n)),
        shape{n, 1},
        tensor{{cells.data(), {kDLCPU, 0}, 2, {kDLFloat, 64, 1}, shape, nullptr, 0}, nullptr,
               [](DLManagedTensor*) {}} {}
};

void export_once(const zo_obj& v) {
  DLManagedTensor* t = zorvat::to_dlpack(v);
  benchmark::DoNotOptimize(t->dl_tensor.data);
  t->deleter(t);
}

void import_once(producer& p) {
  zo_obj w = zorvat::from_dlpack(&p.tensor);
  benchmark::DoNotOptimize(w.payload());
}

void scalar_once() {
  zo_obj v(3.0);
  benchmark::DoNotOptimize(v.payload());
}

void BM_Export(benchmark::State& state) {
  const zo_obj v = value_of(state.range(0));
  for (auto _ : state) export_once(v);
}
BENCHMARK(BM_Export)->Arg(1000)->Arg(10000000);

void BM_Import(benchmark::State& state) {
  producer p(state.range(0));
  for (auto _ : state) import_once(p);
}
BENCHMARK(BM_Import)->Arg(1000)->Arg(10000000);

void BM_Scalar(benchmark::State& state) {
  for (auto _ : state) scalar_once();
}
BENCHMARK(BM_Scalar);

// CPU seconds of this thread for `rounds` calls of f: other processes on a
// shared machine disturb it less than the wall clock.
template <class F>
double seconds(F f, int rounds) {
  timespec t0, t1;
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t0);
  for (int i = 0; i < rounds; ++i) f();
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &t1);
  return static_cast<double>(t1.tv_sec - t0.tv_sec) + 1e-9 * static_cast<double>(t1.tv_nsec - t0.tv_nsec);
}

// The median over `pairs` back-to-back timings of a against b.
template <class A, class B>
double median_ratio(A a, B b) {
  constexpr int pairs = 41, rounds = 20000;
  std::vector<double> r;
  for (int i = 0; i < pairs; ++i) {
    const double ta = seconds(a, rounds);
    r.push_back(ta / seconds(b, rounds));
  }
  std::nth_element(r.begin(), r.begin() + pairs / 2, r.end());
  return r[pairs / 2];
}

void BM_AlternatingPairs(benchmark::State& state) {
  const zo_obj small = value_of(1000), large = value_of(10000000);
  producer ps(1000), pl(10000000);
  for (auto _ : state) {
    state.counters["export_1e7_vs_1e3"] = median_ratio([&] { export_once(large); }, [&] { export_once(small); });
    state.counters["import_1e7_vs_1e3"] = median_ratio([&] { import_once(pl); }, [&] { import_once(ps); });
    state.counters["export_vs_scalar"] = median_ratio([&] { export_once(small); }, scalar_once);
    state.counters["import_vs_scalar"] = median_ratio([&] { import_once(ps); }, scalar_once);
  }
}
BENCHMARK(BM_AlternatingPairs)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

ZORVAT_BENCH_RATIO("BM_Export/10000000", "BM_Export/1000");
ZORVAT_BENCH_RATIO("BM_Import/10000000", "BM_Import/1000");
ZORVAT_BENCH_RATIO("BM_Export/1000", "BM_Scalar");
ZORVAT_BENCH_RATIO("BM_Import/1000", "BM_Scalar");
ZORVAT_BENCH_MAIN();
