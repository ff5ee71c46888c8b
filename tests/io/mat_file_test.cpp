// MAT-files: round trips of every kind in every version, the chosen
// conversions, refusals before writing, and saves that fail part-way.
#include <gtest/gtest.h>

#include <algorithm>

#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <limits>

#include "io/mat_file.h"
#include "mat_dump.h"
#include "value/function_handle.h"

namespace {

using namespace zorvat;
using value_ptr = std::shared_ptr<zo_obj>;

template <class T>
constexpr zo_type internal_kind(T) {
  if constexpr (std::is_same_v<T, signed char>) return type_int8;
  if constexpr (std::is_same_v<T, short>) return type_int16;
  if constexpr (std::is_same_v<T, int>) return type_int32;
  if constexpr (std::is_same_v<T, long>) return type_int64;
  if constexpr (std::is_same_v<T, unsigned char>) return type_uint8;
  if constexpr (std::is_same_v<T, unsigned short>) return type_uint16;
  if constexpr (std::is_same_v<T, unsigned int>) return type_uint32;
  if constexpr (std::is_same_v<T, unsigned long>) return type_uint64;
  if constexpr (std::is_same_v<T, double>) return type_double;
  if constexpr (std::is_same_v<T, float>) return type_single;
  if constexpr (std::is_same_v<T, std::complex<double>>) return type_complex_double;
  if constexpr (std::is_same_v<T, std::complex<float>>) return type_complex_single;
  if constexpr (std::is_same_v<T, char>) return type_char;
  return type_logical;
}
template <class T>
value_ptr nd(std::vector<long> dims, std::vector<T> items) {
  auto m = std::make_unique<matrix<T>>(dims);
  for (long i = 0; i < m->size(); ++i) (*m)[i] = items[i % items.size()];
  return std::make_shared<zo_obj>(internal_kind(T{}), m.release());
}
template <class T>
std::vector<T> extremes() {
  using L = std::numeric_limits<T>;
  return {L::min(), L::max(), T(0), T(1), T(L::max() / 3)};
}
value_ptr text(std::vector<long> dims, const std::string& bytes) {
  return nd<char>(dims, std::vector<char>(bytes.begin(), bytes.end()));
}
template <class T>
value_ptr sparse(long m, long n, std::vector<triplet<T>> t, zo_type kind) {
  return std::make_shared<zo_obj>(kind, new sparse_matrix<T>(t, m, n));
}
value_ptr cell(std::vector<long> dims, std::vector<value_ptr> items) {
  matrix<cell_array::element> m(dims);
  for (long i = 0; i < m.size(); ++i) m[i] = items[i];
  return std::make_shared<zo_obj>(type_cell, new cell_array(std::move(m)));
}
value_ptr record(std::vector<long> dims, std::vector<std::string> names, std::vector<value_ptr> items) {
  auto s = std::make_unique<structure>(dims);
  size_t k = 0;
  for (const auto& n : names) s->create_field_table(n);
  for (long r = 0; r < s->numel() && !names.empty(); ++r)
    for (const auto& n : names) s->get_field_table(n)[r] = items[k++ % items.size()];
  return std::make_shared<zo_obj>(type_struct, s.release());
}
double bits(std::uint64_t b) {
  double d;
  std::memcpy(&d, &b, 8);
  return d;
}

const double inf = std::numeric_limits<double>::infinity();
const double nan_payload = bits(0x7ff8000000000123ULL);
const float finf = std::numeric_limits<float>::infinity();

// Values that load back exactly as they were.
std::vector<std::pair<std::string, value_ptr>> exact_values() {
  return {
      {"dbl", nd<double>({2, 3}, {1.5, -0.0, inf, -inf, nan_payload, 4.9e-324})},
      {"sgl", nd<float>({1, 4}, {1.5f, -0.0f, finf, std::nanf("7")})},
      {"i8", nd<signed char>({1, 5}, extremes<signed char>())},
      {"i16", nd<short>({5, 1}, extremes<short>())},
      {"i32", nd<int>({1, 5}, extremes<int>())},
      {"i64", nd<long>({1, 5}, extremes<long>())},
      {"u8", nd<unsigned char>({1, 5}, extremes<unsigned char>())},
      {"u16", nd<unsigned short>({1, 5}, extremes<unsigned short>())},
      {"u32", nd<unsigned int>({1, 5}, extremes<unsigned int>())},
      {"u64", nd<unsigned long>({1, 5}, extremes<unsigned long>())},
      {"cd", nd<std::complex<double>>({2, 2}, {{1, -0.0}, {inf, nan_payload}, {0, 2}})},
      {"cs", nd<std::complex<float>>({1, 3}, {{1, -2}, {finf, 0}})},
      {"lg", nd<bool>({2, 3}, {true, false, false})},
      {"nd", nd<double>({2, 3, 4}, {1, 2, 3, 5, 7})},
      {"nd1", nd<short>({2, 1, 1, 3}, {-1, 2})},
      // Over 64 KiB: version 7 loads it in place in the inflated buffer.
      {"big", nd<int>({40, 30, 21}, {1, -2, 3, -4, 5, -6, 7})},
      {"e0", nd<double>({0, 0}, {0})},
      {"e03", nd<int>({0, 3}, {0})},
      {"e302", nd<float>({3, 0, 2}, {0})},
      {"ch", text({1, 5}, "hello")},
      {"utf", text({1, 15}, "h\xc3\xa9llo \xe2\x86\x92 \xf0\x9f\x98\x80")},
      {"rows", text({2, 3}, "aBcDeF")},
      {"ch_nd", text({2, 2, 2}, "abcdefgh")},
      {"ch0", text({0, 0}, " ")},
      {"ch30", text({3, 0}, " ")},
      {"sp", sparse<double>(4, 3, {{1.5, 0, 1}, {-2, 2, 3}, {nan_payload, 1, 0}}, type_sparse_double)},
      {"spc", sparse<std::complex<double>>(3, 2, {{{1, 2}, 1, 2}}, type_sparse_complex_double)},
      {"spl", sparse<bool>(2, 5, {{true, 4, 1}, {true, 0, 0}}, type_sparse_logical)},
      {"sp0", sparse<double>(3, 4, {}, type_sparse_double)},
      {"c", cell({2, 2}, {nd<double>({1, 1}, {1}), text({1, 2}, "ab"),
                          cell({1, 2}, {nd<int>({1, 1}, {7}), cell({0, 0}, {})}), nd<bool>({1, 1}, {true})})},
      {"c0", cell({0, 3}, {})},
      {"s", record({1, 1}, {"zeta", "alpha", std::string(63, 'f')},
                   {nd<double>({1, 1}, {1}), text({1, 1}, "x"), record({1, 2}, {"in"}, {cell({1, 1}, {text({1, 1}, "y")})})})},
      {"sa", record({1, 3}, {"b", "a"}, {nd<long>({1, 1}, {1}), nd<double>({0, 0}, {0}), text({1, 2}, "ok")})},
      {"s20", record({2, 0}, {"f"}, {})},
      {"snf", record({1, 1}, {}, {})},
  };
}

struct conversion {
  const char* name;
  value_ptr saved, loaded;
};
// Values that load back as another, documented, value.
std::vector<conversion> conversions() {
  auto strings = std::make_shared<zo_obj>(std::vector<std::string>{"ab", "", "\xc3\xa9"}, 1, 3);
  auto null_slots = cell({1, 2}, {nullptr, nd<int>({1, 1}, {3})});
  auto null_field = record({1, 1}, {"f"}, {nullptr});
  auto e = nd<double>({0, 0}, {0});
  return {
      {"sps", sparse<float>(2, 2, {{1.5f, 1, 0}}, type_sparse_single),
       sparse<double>(2, 2, {{1.5, 1, 0}}, type_sparse_double)},
      {"spcs", sparse<std::complex<float>>(2, 2, {{{1, 2}, 1, 1}}, type_sparse_complex_single),
       sparse<std::complex<double>>(2, 2, {{{1, 2}, 1, 1}}, type_sparse_complex_double)},
      {"str", strings, cell({1, 3}, {text({1, 2}, "ab"), text({1, 0}, ""), text({1, 2}, "\xc3\xa9")})},
      {"nul", null_slots, cell({1, 2}, {e, nd<int>({1, 1}, {3})})},
      {"nulf", null_field, record({1, 1}, {"f"}, {e})},
      // Rows of different lengths once converted are padded with blanks.
      {"pad", text({2, 2}, "a\xc3" "b\xa9"), text({2, 3}, "a\xc3" "b\xa9  ")},
      // An invalid byte stands for the character of its number.
      {"bad", text({1, 2}, "a\xff"), text({1, 3}, "a\xc3\xbf")},
  };
}

const mat_version versions[] = {mat_version::v6, mat_version::v7, mat_version::v7_3};

std::string temp_dir() {
  static std::string dir = [] {
    char t[] = "/tmp/mat_test_XXXXXX";
    return std::string(mkdtemp(t));
  }();
  return dir;
}

TEST(MatFile, EveryKindRoundTripsInEveryVersion) {
  std::vector<named_value> vars;
  std::vector<std::string> expected;
  for (const auto& [n, v] : exact_values()) {
    vars.emplace_back(n, v);
    expected.push_back(zorvat_test::dump(v.get(), true));
  }
  for (const auto& c : conversions()) {
    vars.emplace_back(c.name, c.saved);
    expected.push_back(zorvat_test::dump(c.loaded.get(), true));
  }
  for (mat_version ver : versions) {
    const std::string path = temp_dir() + "/all.mat";
    mat_save(path, vars, {ver});
    const auto back = mat_load(path);
    ASSERT_EQ(back.size(), vars.size());
    const auto list = mat_list(path);
    ASSERT_EQ(list.size(), vars.size());
    // Levels 6 and 7 keep the order of saving; a version 7.3 file lists its
    // variables by name.
    std::vector<size_t> order(vars.size());
    for (size_t i = 0; i < vars.size(); ++i) order[i] = i;
    if (ver == mat_version::v7_3)
      std::sort(order.begin(), order.end(), [&](size_t a, size_t b) { return vars[a].first < vars[b].first; });
    for (size_t k = 0; k < vars.size(); ++k) {
      const size_t i = order[k];
      EXPECT_EQ(back[k].first, vars[i].first);
      EXPECT_EQ(zorvat_test::dump(back[k].second.get(), true), expected[i]) << vars[i].first;
      EXPECT_EQ(list[k].name, vars[i].first);
      EXPECT_EQ(list[k].kind, back[k].second->type) << vars[i].first;
    }
    // A chosen subset, in file order; a missing name loads nothing.
    const auto some = mat_load(path, {"utf", "dbl"});
    ASSERT_EQ(some.size(), 2u);
    EXPECT_EQ(some[0].first, "dbl");
    EXPECT_THROW(mat_load(path, {"dbl", "absent"}), std::runtime_error);
  }
}

std::vector<std::string> dir_entries(const std::string& dir) {
  std::vector<std::string> out;
  DIR* d = opendir(dir.c_str());
  while (dirent* e = d ? readdir(d) : nullptr)
    if (e->d_name[0] != '.' || (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, ".."))) out.push_back(e->d_name);
  if (d) closedir(d);
  return out;
}
std::string file_bytes(const std::string& path) {
  std::ifstream f(path, std::ios::binary);
  return std::string(std::istreambuf_iterator<char>(f), {});
}

TEST(MatFile, FailedSavesLeaveTheOldFileAndNoTemporaryFile) {
  const std::string dir = temp_dir() + "/keep";
  mkdir(dir.c_str(), 0700);
  const std::string path = dir + "/old.mat";
  mat_save(path, {{"x", nd<double>({1, 1}, {1})}});
  const std::string old = file_bytes(path);
  auto fh = std::make_shared<zo_obj>(function_handle());
  struct refusal {
    std::vector<named_value> vars;
    const char* names;  // the message names the variable
  };
  const refusal refusals[] = {
      {{{"ok", nd<double>({1, 1}, {1})}, {"fh", fh}}, "fh"},
      {{{"deep", cell({1, 1}, {record({1, 1}, {"g"}, {fh})})}}, "deep"},
      {{{"", nd<double>({1, 1}, {1})}}, ""},
      {{{"twice", fh}, {"twice", fh}}, "twice"},
  };
  for (const auto& r : refusals) {
    try {
      mat_save(path, r.vars);
      ADD_FAILURE() << "saved " << r.names;
    } catch (const std::runtime_error& e) {
      EXPECT_NE(std::string(e.what()).find(r.names), std::string::npos) << e.what();
    }
  }
  // Too deep to save: refused before writing.
  value_ptr deep = nd<double>({1, 1}, {1});
  for (int i = 0; i < 300; ++i) deep = cell({1, 1}, {deep});
  EXPECT_THROW(mat_save(path, {{"d", deep}}), std::runtime_error);
  // A write that fails part-way (the file size limit), in a child process.
  for (mat_version ver : versions) {
    const pid_t pid = fork();
    if (pid == 0) {
      signal(SIGXFSZ, SIG_IGN);
      rlimit lim{4096, 4096};
      setrlimit(RLIMIT_FSIZE, &lim);
      try {
        std::vector<double> noise(100000);
        for (size_t i = 0; i < noise.size(); ++i) noise[i] = std::sin(i * 0.37) * 1e6;
        mat_save(path, {{"big", nd<double>({1000, 100}, noise)}}, {ver});
      } catch (const std::runtime_error&) {
        _exit(0);
      }
      _exit(1);
    }
    int status = 0;
    waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the save did not fail";
  }
  EXPECT_TRUE(file_bytes(path) == old);
  EXPECT_EQ(dir_entries(dir), std::vector<std::string>{"old.mat"});
  EXPECT_THROW(mat_save(temp_dir() + "/no/such/dir/x.mat", {{"x", nd<double>({1, 1}, {1})}}), std::runtime_error);
}

}  // namespace
