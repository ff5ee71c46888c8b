// MAT-file speed, each figure against a baseline in the same run: every
// iteration times the subject and then its baseline, and the counter "ratio"
// is the median of the per-iteration ratios (below 1: faster).
//
// 1. Version 6, 1e7 doubles (80 MB): mat_save against what a durable write
//    of the same bytes costs, done the way mat_save does it (fwrite to a new
//    file, fsync of the file, rename, fsync of the folder), and mat_load
//    against fread into fresh memory.
// 2. Version 7, 1e7 random doubles and 1e7 smooth ones: mat_save against
//    zlib's compress2 at its default level (in memory, no file), with
//    "size" our file over zlib's stream; mat_load against zlib's uncompress
//    of our file's stream (read into memory beforehand) into its size.
// 3. A cell of N short strings and a structure of N fields, version 7: the
//    time per element of mat_save and mat_load ("ns_per_element"), N = 1e3,
//    1e4, 1e5.  These files go to /dev/shm (tmpfs, where fsync costs almost
//    nothing) when it exists: the fixed cost of a save's two fsyncs on a
//    disk (tens of milliseconds) is the file system's, not a per-element
//    cost of the library, and would drown the figure at N = 1e3.
#include <benchmark/benchmark.h>
#include <zlib.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "io/mat_file.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace {

using namespace zorvat;
using clock_type = std::chrono::steady_clock;

const std::string dir = [] {
  const char* t = std::getenv("TMPDIR");
  return std::string(t ? t : "/tmp");
}();

double seconds(clock_type::time_point a, clock_type::time_point b) {
  return std::chrono::duration<double>(b - a).count();
}
double median(std::vector<double> v) {
  std::sort(v.begin(), v.end());
  return v.empty() ? 0 : v[v.size() / 2];
}

std::shared_ptr<zo_obj> doubles(bool smooth) {
  auto m = new matrix<double>(10000000, 1);
  std::mt19937_64 rng(7);
  std::uniform_real_distribution<double> u(-1, 1);
  for (long i = 0; i < m->size(); ++i) (*m)[i] = smooth ? std::sin(i * 1e-4) * 100 : u(rng);
  return std::make_shared<zo_obj>(type_double, m);
}

long file_size(const std::string& p) {
  struct stat st {};
  return stat(p.c_str(), &st) == 0 ? st.st_size : 0;
}

void BM_V6(benchmark::State& state) {
  const bool load = state.range(0);
  const auto v = doubles(false);
  const auto& m = v->get<matrix<double>>();
  const std::string path = dir + "/bench_v6.mat", raw = dir + "/bench_raw.bin";
  mat_save(path, {{"x", v}}, {mat_version::v6});
  FILE* once = std::fopen(raw.c_str(), "wb");
  std::fwrite(m.data(), 8, m.size(), once);
  std::fclose(once);
  std::vector<double> ratios;
  for (auto _ : state) {
    auto t0 = clock_type::now();
    if (load)
      benchmark::DoNotOptimize(mat_load(path));
    else
      mat_save(path, {{"x", v}}, {mat_version::v6});
    auto t1 = clock_type::now();
    if (load) {
      FILE* f = std::fopen(raw.c_str(), "rb");
      double* d = static_cast<double*>(std::malloc(m.size() * 8));
      benchmark::DoNotOptimize(std::fread(d, 8, m.size(), f));
      std::fclose(f);
      std::free(d);
    } else {
      const std::string tmp = raw + ".tmp";
      FILE* f = std::fopen(tmp.c_str(), "wb");
      std::fwrite(m.data(), 8, m.size(), f);
      std::fflush(f);
      fsync(fileno(f));
      std::fclose(f);
      std::rename(tmp.c_str(), raw.c_str());
      const int d = open(dir.c_str(), O_RDONLY | O_DIRECTORY);
      fsync(d);
      close(d);
    }
    auto t2 = clock_type::now();
    ratios.push_back(seconds(t0, t1) / seconds(t1, t2));
  }
  state.counters["ratio"] = median(ratios);
}
BENCHMARK(BM_V6)->Arg(0)->Arg(1)->Iterations(7)->Unit(benchmark::kMillisecond);

void BM_V7(benchmark::State& state) {
  const bool load = state.range(0), smooth = state.range(1);
  const auto v = doubles(smooth);
  const auto& m = v->get<matrix<double>>();
  const std::string path = dir + "/bench_v7.mat";
  mat_save(path, {{"x", v}});
  uLongf zn = compressBound(m.size() * 8);
  std::vector<Bytef> z(zn);
  compress2(z.data(), &zn, reinterpret_cast<const Bytef*>(m.data()), m.size() * 8, Z_DEFAULT_COMPRESSION);
  // The stream of our file (the variable's compressed element), for the
  // load's baseline.
  std::vector<Bytef> ours(file_size(path));
  FILE* f = std::fopen(path.c_str(), "rb");
  benchmark::DoNotOptimize(std::fread(ours.data(), 1, ours.size(), f));
  std::fclose(f);
  const Bytef* stream = ours.data() + 136;
  const uLong stream_n = ours.size() - 136;
  std::vector<double> ratios;
  for (auto _ : state) {
    auto t0 = clock_type::now();
    if (load)
      benchmark::DoNotOptimize(mat_load(path));
    else
      mat_save(path, {{"x", v}});
    auto t1 = clock_type::now();
    if (load) {
      uLongf n = m.size() * 8 + 256;
      Bytef* d = static_cast<Bytef*>(std::malloc(n));
      uncompress(d, &n, stream, stream_n);
      std::free(d);
    } else {
      uLongf n = compressBound(m.size() * 8);
      std::vector<Bytef> out(n);
      compress2(out.data(), &n, reinterpret_cast<const Bytef*>(m.data()), m.size() * 8, Z_DEFAULT_COMPRESSION);
    }
    auto t2 = clock_type::now();
    ratios.push_back(seconds(t0, t1) / seconds(t1, t2));
  }
  state.counters["ratio"] = median(ratios);
  state.counters["size"] = static_cast<double>(file_size(path)) / zn;
}
BENCHMARK(BM_V7)->ArgsProduct({{0, 1}, {0, 1}})->Iterations(5)->Unit(benchmark::kMillisecond);

void BM_Elements(benchmark::State& state) {
  const bool load = state.range(0), fields = state.range(1);
  const long n = state.range(2);
  std::shared_ptr<zo_obj> v;
  if (fields) {
    auto s = new structure();
    for (long i = 0; i < n; ++i)
      s->set_field("field_" + std::to_string(i), zo_obj::make_matrix<double>(1, 1, {double(i)}), false);
    v = std::make_shared<zo_obj>(type_struct, s);
  } else {
    auto c = new cell_array(1, n);
    for (long i = 0; i < n; ++i) (*c)(i) = std::make_shared<zo_obj>(("text " + std::to_string(i)).c_str(), type_char);
    v = std::make_shared<zo_obj>(type_cell, c);
  }
  struct stat shm {};
  const std::string path =
      (stat("/dev/shm", &shm) == 0 && S_ISDIR(shm.st_mode) ? std::string("/dev/shm") : dir) + "/bench_elements.mat";
  mat_save(path, {{"x", v}});
  double total = 0;
  for (auto _ : state) {
    auto t0 = clock_type::now();
    if (load)
      benchmark::DoNotOptimize(mat_load(path));
    else
      mat_save(path, {{"x", v}});
    total += seconds(t0, clock_type::now());
  }
  state.counters["ns_per_element"] = total * 1e9 / static_cast<double>(state.iterations()) / n;
}
BENCHMARK(BM_Elements)->ArgsProduct({{0, 1}, {0, 1}, {1000, 10000, 100000}})->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
