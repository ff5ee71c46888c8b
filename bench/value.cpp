// Values: the cost of sharing and of making a scalar.
//
// - Copying a zo_obj or a std::shared_ptr<zo_obj> takes one reference count,
//   so the time per copy must stay flat from a 1x1 to a 1000x1000 payload.
//   Compare the times across the sizes; BM_CopyFlatness reports the ratio
//   1000x1000 / 1x1 measured in one run ("ratio", about 1).
// - zo_obj(3.0) made and destroyed against a bare 1x1 matrix<double>: the
//   value adds one shared owner around the array.  Compare the two
//   benchmarks' times (the ratio is printed as "vs_bare_matrix" by the
//   scalar benchmark, measured in the same run).
#include <benchmark/benchmark.h>

#include <chrono>
#include <memory>

#include "matrix/matrix.h"
#include "value/zo_obj.h"

namespace {

zorvat::zo_obj square(long n) { return zorvat::zo_obj(zorvat::type_double, new zorvat::matrix<double>(n, n)); }

// Seconds per call of f(), measured over a fixed number of rounds for the
// ratio counters.
template <class F>
double seconds_per_op(F f, int rounds) {
  const auto t0 = std::chrono::steady_clock::now();
  for (int i = 0; i < rounds; ++i) f();
  const auto t1 = std::chrono::steady_clock::now();
  return std::chrono::duration<double>(t1 - t0).count() / rounds;
}

void BM_CopyValue(benchmark::State& state) {
  const zorvat::zo_obj v = square(state.range(0));
  for (auto _ : state) {
    zorvat::zo_obj c(v);
    benchmark::DoNotOptimize(c);
  }
}
BENCHMARK(BM_CopyValue)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

void BM_CopySharedValue(benchmark::State& state) {
  const auto v = std::make_shared<zorvat::zo_obj>(square(state.range(0)));
  for (auto _ : state) {
    std::shared_ptr<zorvat::zo_obj> c(v);
    benchmark::DoNotOptimize(c);
  }
}
BENCHMARK(BM_CopySharedValue)->Arg(1)->Arg(10)->Arg(100)->Arg(1000);

void BM_CopyFlatness(benchmark::State& state) {
  const zorvat::zo_obj small = square(1);
  const zorvat::zo_obj large = square(1000);
  const auto copy_of = [](const zorvat::zo_obj& v) {
    return [&v] {
      zorvat::zo_obj c(v);
      benchmark::DoNotOptimize(c);
    };
  };
  double ratio = 0;
  for (auto _ : state) {
    constexpr int rounds = 1000000;
    ratio = seconds_per_op(copy_of(large), rounds) / seconds_per_op(copy_of(small), rounds);
  }
  state.counters["ratio"] = ratio;
}
BENCHMARK(BM_CopyFlatness)->Iterations(3);

void make_bare() {
  zorvat::matrix<double> m(1, 1);
  m[0] = 3.0;
  benchmark::DoNotOptimize(m.data());
}

void make_value() {
  zorvat::zo_obj v(3.0);
  benchmark::DoNotOptimize(v.payload());
}

void BM_BareMatrixScalar(benchmark::State& state) {
  for (auto _ : state) make_bare();
}
BENCHMARK(BM_BareMatrixScalar);

void BM_ValueScalar(benchmark::State& state) {
  for (auto _ : state) make_value();
  constexpr int rounds = 200000;
  const double bare = seconds_per_op(make_bare, rounds);
  const double value = seconds_per_op(make_value, rounds);
  state.counters["bare_ns"] = bare * 1e9;
  state.counters["value_ns"] = value * 1e9;
  state.counters["vs_bare_matrix"] = value / bare;
}
BENCHMARK(BM_ValueScalar);

}  // namespace

BENCHMARK_MAIN();
