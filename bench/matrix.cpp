// Dense array speed, each as a ratio against a baseline of the same run.
//
// Walks: the statistics a built-in function gathers over an array (sum,
// count above a threshold, position of the first maximum) in one pass, in a
// function the compiler may not inline into the benchmark loop, over a
// contiguous 200x200x200 array (arg 0) and over the view of every second
// element along each dimension (arg 1).  Three versions of that function:
// through matrix<T>::iterator (counting the position alongside), as a raw
// loop over the same strides, and with Eigen::Map pages of the same strides.
// Medians of 3 (CPU) on a quiet 2-core VM (AMD EPYC): iterator / raw 0.97
// contiguous and 1.04 strided, iterator / Eigen 0.46 and 0.84.  With other
// builds sharing the 2 cores: iterator / raw
// 1.02-1.09 for both walks, iterator / Eigen 0.54-0.60; before the end test
// became one register test (end()'s first subscript a known zero), 1.20-1.29
// and 0.61-0.87 in the same conditions.  What is left over the raw loop is
// the store of the first subscript at every step, which keeps index() exact.
// (Taking the position of a new maximum from index() instead of the count
// changes the block layout of the whole loop: 1.04-1.16.)
// On a later machine of the same kind the contiguous walk depends on where
// the linker puts the loop: 1.12-1.85 for this file as built (its back
// branch crosses a 64-byte line), 1.03 with -falign-loops=32, 1.01 for the
// same function in a program of its own; strided 0.95-1.30.  The
// iterator's loop has 17 instructions to the raw loop's 13: the store of
// the first subscript, and the end test, which GCC keeps at the loop head
// (it does not thread the back edge through the head, whatever tells it
// that the subscript is not 0 there: an unsigned range test, an
// unreachable hint, a flag).
//
// Copies: matrix<double> copy construction and the first write to a shared
// value (zo_obj copy-on-write) of 8 MiB and 64 MiB against malloc + memcpy
// into fresh memory of the same size.  On a 2-core VM whose 4 KiB page
// faults are slow: 8 MiB (the heap reuses its block, and both blocks fit
// the last-level cache) 0.96-1.25 between runs for both, with or without
// the library's page hints, in the noise of a baseline copying at 30-40
// GB/s; 64 MiB (a fresh mapping every time) 0.35-0.37 on a quiet machine
// (0.05 in a run whose faults were slower still), since the new block is
// faulted in with huge pages before it is written, where memcpy takes its
// 16,384 faults one by one (1.0 before that).
#include <cstdlib>
#include <cstring>
#include <vector>

#include "matrix/matrix.h"
#include "ratio.h"
#include "value/zo_obj.h"

#ifdef ZORVAT_HAVE_EIGEN
#include <Eigen/Core>
#endif

using zorvat::matrix;

namespace {

const matrix<double>& cube() {
  static matrix<double> m = [] {
    matrix<double> a({200, 200, 200});
    for (long i = 0; i < a.size(); ++i) a[i] = static_cast<double>((i * 7919) % 1000) * 0.5;
    return a;
  }();
  return m;
}

// The full cube (arg 0) or every second element along each dimension (arg 1).
matrix<double> walked_view(long every_second) {
  if (!every_second) return cube().view({200, 200, 200}, {1, 200, 40000}, 0);
  return cube().view({100, 100, 100}, {2, 400, 80000}, 0);
}

struct stats {
  double sum = 0;
  long above = 0;  // elements above the threshold
  double max = -1;
  long max_at = -1;  // linear position of the first maximum
};

constexpr double kThreshold = 250.0;

__attribute__((noinline)) stats stats_iterator(const matrix<double>& v) {
  stats s;
  long pos = 0;
  for (auto it = v.begin(), e = v.end(); it != e; ++it, ++pos) {
    const double x = *it;
    s.sum += x;
    s.above += x > kThreshold;
    if (x > s.max) {
      s.max = x;
      s.max_at = pos;
    }
  }
  return s;
}

__attribute__((noinline)) stats stats_raw(const matrix<double>& v) {
  stats s;
  const long n0 = v.dim(0), n1 = v.dim(1), n2 = v.dim(2);
  const long s0 = v.stride(0), s1 = v.stride(1), s2 = v.stride(2);
  const double* d = v.data();
  long pos = 0;
  for (long k = 0; k < n2; ++k)
    for (long j = 0; j < n1; ++j)
      for (long i = 0; i < n0; ++i, ++pos) {
        const double x = d[i * s0 + j * s1 + k * s2];
        s.sum += x;
        s.above += x > kThreshold;
        if (x > s.max) {
          s.max = x;
          s.max_at = pos;
        }
      }
  return s;
}

#ifdef ZORVAT_HAVE_EIGEN
using page_map =
    Eigen::Map<const Eigen::MatrixXd, 0, Eigen::Stride<Eigen::Dynamic, Eigen::Dynamic>>;

__attribute__((noinline)) stats stats_eigen(const matrix<double>& v) {
  stats s;
  const long n0 = v.dim(0), n1 = v.dim(1), n2 = v.dim(2);
  const Eigen::Stride<Eigen::Dynamic, Eigen::Dynamic> st(v.stride(1), v.stride(0));
  for (long k = 0; k < n2; ++k) {
    const page_map a(v.data() + k * v.stride(2), n0, n1, st);
    s.sum += a.sum();
    s.above += (a.array() > kThreshold).count();
    Eigen::Index i, j;
    const double m = a.maxCoeff(&i, &j);
    if (m > s.max) {
      s.max = m;
      s.max_at = k * n0 * n1 + j * n0 + i;
    }
  }
  return s;
}
#endif

template <stats (*F)(const matrix<double>&)>
void BM_Walk(benchmark::State& state) {
  const auto v = walked_view(state.range(0));
  const stats want = stats_raw(v);
  for (auto _ : state) {
    stats s = F(v);
    benchmark::DoNotOptimize(s);
    if (s.above != want.above || s.max_at != want.max_at) state.SkipWithError("wrong result");
  }
  state.SetItemsProcessed(state.iterations() * v.size());
}

void BM_WalkIterator(benchmark::State& state) { BM_Walk<stats_iterator>(state); }
void BM_WalkRaw(benchmark::State& state) { BM_Walk<stats_raw>(state); }
BENCHMARK(BM_WalkIterator)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_WalkRaw)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
ZORVAT_BENCH_RATIO("BM_WalkIterator/0", "BM_WalkRaw/0");
ZORVAT_BENCH_RATIO("BM_WalkIterator/1", "BM_WalkRaw/1");
#ifdef ZORVAT_HAVE_EIGEN
void BM_WalkEigen(benchmark::State& state) { BM_Walk<stats_eigen>(state); }
BENCHMARK(BM_WalkEigen)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
ZORVAT_BENCH_RATIO("BM_WalkIterator/0", "BM_WalkEigen/0");
ZORVAT_BENCH_RATIO("BM_WalkIterator/1", "BM_WalkEigen/1");
#endif

// ---------------------------------------------------------------- copies

const matrix<double>& copy_source(long mib) {
  static std::vector<matrix<double>*> made(65, nullptr);
  if (!made[mib]) {
    made[mib] = new matrix<double>(mib * 1024 * 1024 / 8, 1);
    for (long i = 0; i < made[mib]->size(); ++i) (*made[mib])[i] = static_cast<double>(i);
  }
  return *made[mib];
}

void BM_MallocMemcpy(benchmark::State& state) {
  const auto& src = copy_source(state.range(0));
  const size_t bytes = static_cast<size_t>(src.size()) * sizeof(double);
  for (auto _ : state) {
    void* p = std::malloc(bytes);
    std::memcpy(p, src.data(), bytes);
    benchmark::DoNotOptimize(p);
    std::free(p);
  }
  state.SetBytesProcessed(static_cast<long>(state.iterations() * bytes));
}

void BM_MatrixCopy(benchmark::State& state) {
  const auto& src = copy_source(state.range(0));
  for (auto _ : state) {
    matrix<double> copy(src);
    benchmark::DoNotOptimize(copy.data());
  }
  state.SetBytesProcessed(state.iterations() * src.size() * 8);
}

// The first write to a value that shares its payload with another one.
void BM_CopyOnWrite(benchmark::State& state) {
  const zorvat::zo_obj shared(zorvat::type_double, new matrix<double>(copy_source(state.range(0))));
  for (auto _ : state) {
    zorvat::zo_obj writer(shared);
    writer.copy_on_write(false);
    benchmark::DoNotOptimize(writer.payload());
  }
  state.SetBytesProcessed(state.iterations() * state.range(0) * 1024 * 1024);
}

BENCHMARK(BM_MallocMemcpy)->Arg(8)->Arg(64)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_MatrixCopy)->Arg(8)->Arg(64)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_CopyOnWrite)->Arg(8)->Arg(64)->Unit(benchmark::kMillisecond)->UseRealTime();
ZORVAT_BENCH_RATIO("BM_MatrixCopy/8/real_time", "BM_MallocMemcpy/8/real_time");
ZORVAT_BENCH_RATIO("BM_MatrixCopy/64/real_time", "BM_MallocMemcpy/64/real_time");
ZORVAT_BENCH_RATIO("BM_CopyOnWrite/8/real_time", "BM_MallocMemcpy/8/real_time");
ZORVAT_BENCH_RATIO("BM_CopyOnWrite/64/real_time", "BM_MallocMemcpy/64/real_time");

}  // namespace

ZORVAT_BENCH_MAIN();
