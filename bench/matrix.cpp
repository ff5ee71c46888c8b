// Dense array speed: deep copy against malloc + memcpy, iterator walks
// against raw loops over the same strides, and the scalar path.
#include <cstdlib>
#include <cstring>

#include "matrix/matrix.h"
#include "ratio.h"

using zorvat::matrix;

namespace {

constexpr long kCopyElems = 64L * 1024 * 1024 / sizeof(double);  // 64 MiB

const matrix<double>& copy_source() {
  static matrix<double> m = [] {
    matrix<double> a(kCopyElems, 1);
    for (long i = 0; i < a.size(); ++i) a[i] = static_cast<double>(i);
    return a;
  }();
  return m;
}

void BM_DeepCopy64MiB(benchmark::State& state) {
  const auto& src = copy_source();
  for (auto _ : state) {
    matrix<double> copy(src);
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(state.iterations() * kCopyElems * sizeof(double));
}

void BM_MallocMemcpy64MiB(benchmark::State& state) {
  const auto& src = copy_source();
  const size_t bytes = kCopyElems * sizeof(double);
  for (auto _ : state) {
    void* p = std::malloc(bytes);
    std::memcpy(p, src.data(), bytes);
    benchmark::DoNotOptimize(p);
    std::free(p);
  }
  state.SetBytesProcessed(state.iterations() * bytes);
}

const matrix<double>& cube() {
  static matrix<double> m = [] {
    matrix<double> a({200, 200, 200});
    for (long i = 0; i < a.size(); ++i) a[i] = static_cast<double>(i % 1000) * 0.5;
    return a;
  }();
  return m;
}

// The full cube (arg 0) or every second element along each dimension (arg 1).
matrix<double> walked_view(long every_second) {
  if (!every_second) return cube().view({200, 200, 200}, {1, 200, 40000}, 0);
  return cube().view({100, 100, 100}, {2, 400, 80000}, 0);
}

void BM_IteratorSum(benchmark::State& state) {
  const auto v = walked_view(state.range(0));
  for (auto _ : state) {
    double s = 0;
    for (auto it = v.begin(), e = v.end(); it != e; ++it) s += *it;
    benchmark::DoNotOptimize(s);
  }
  state.SetItemsProcessed(state.iterations() * v.size());
}

void BM_RawLoopSum(benchmark::State& state) {
  const auto v = walked_view(state.range(0));
  const long n0 = v.dim(0), n1 = v.dim(1), n2 = v.dim(2);
  const long s0 = v.stride(0), s1 = v.stride(1), s2 = v.stride(2);
  const double* d = v.data();
  for (auto _ : state) {
    double s = 0;
    for (long k = 0; k < n2; ++k)
      for (long j = 0; j < n1; ++j)
        for (long i = 0; i < n0; ++i) s += d[i * s0 + j * s1 + k * s2];
    benchmark::DoNotOptimize(s);
  }
  state.SetItemsProcessed(state.iterations() * v.size());
}

void BM_ScalarConstructDestroy(benchmark::State& state) {
  for (auto _ : state) {
    matrix<double> m(1, 1);
    benchmark::DoNotOptimize(m.data());
  }
}

}  // namespace

BENCHMARK(BM_DeepCopy64MiB)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MallocMemcpy64MiB)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_IteratorSum)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_RawLoopSum)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ScalarConstructDestroy);

ZORVAT_BENCH_RATIO("BM_DeepCopy64MiB/real_time", "BM_MallocMemcpy64MiB/real_time");
ZORVAT_BENCH_RATIO("BM_IteratorSum/0", "BM_RawLoopSum/0");
ZORVAT_BENCH_RATIO("BM_IteratorSum/1", "BM_RawLoopSum/1");
ZORVAT_BENCH_MAIN();
