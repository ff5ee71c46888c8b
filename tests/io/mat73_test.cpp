// Version 7.3 MAT-files beyond the shared round-trip table
// (mat_file_test.cpp): what is refused, listing and choosing variables, an
// empty complex array, and files that are damaged or not ours.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <limits>
#include <stdexcept>

#include "io/mat_detail.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace {

using zorvat::matrix;
using zorvat::sparse_matrix;
using zorvat::zo_obj;
using value = std::shared_ptr<zo_obj>;

// ------------------------------------------------------------ value builders

template <class T>
value array(zorvat::zo_type t, std::vector<long> dims, std::vector<T> elems) {
  auto* m = new matrix<T>(dims);
  for (size_t k = 0; k < elems.size(); ++k) m->data()[k] = elems[k];
  return std::make_shared<zo_obj>(t, m);
}

value text(std::vector<long> dims, const std::string& bytes) {
  return array<char>(zorvat::type_char, dims, std::vector<char>(bytes.begin(), bytes.end()));
}

template <class T>
value sparse(zorvat::zo_type t, long m, long n, std::vector<zorvat::triplet<T>> entries) {
  return std::make_shared<zo_obj>(t, new sparse_matrix<T>(entries, m, n));
}

value cell(std::vector<long> dims, std::vector<value> elems) {
  auto* c = new zorvat::cell_array(dims);
  for (size_t k = 0; k < elems.size(); ++k) c->data().data()[k] = elems[k];
  return std::make_shared<zo_obj>(zorvat::type_cell, c);
}

// A structure with `dims` whose fields (in this order) hold the records'
// values in linear order.
value record(std::vector<long> dims, std::vector<std::pair<std::string, std::vector<value>>> fields) {
  auto* s = new zorvat::structure(dims);
  for (auto& [name, vals] : fields) {
    auto& table = s->create_field_table(name);
    for (size_t k = 0; k < vals.size(); ++k) table.data()[k] = vals[k];
  }
  return std::make_shared<zo_obj>(zorvat::type_struct, s);
}

value empty_double() { return array<double>(zorvat::type_double, {0, 0}, {}); }

template <class T>
value extremes(zorvat::zo_type t) {
  return array<T>(t, {1, 3}, {std::numeric_limits<T>::min(), T(0), std::numeric_limits<T>::max()});
}

// ------------------------------------------------------------ temp files

struct temp_dir {
  std::string path;
  temp_dir() {
    std::string pattern = ::testing::TempDir() + "mat73_XXXXXX";
    path = mkdtemp(pattern.data()) ? pattern : "";
  }
  ~temp_dir() {
    if (!path.empty()) std::system(("rm -rf '" + path + "'").c_str());
  }
  std::string file(const std::string& name) const { return path + "/" + name; }
};

// Values that a version 7.3 file cannot hold are refused with the
// variable's name, and nothing of them is left to read.
TEST(Mat73, RefusesWhatItCannotHoldNamingTheVariable) {
  temp_dir dir;
  const std::string path = dir.file("bad.mat");
  const std::pair<std::string, value> cases[] = {
      {"handle_in_cell", cell({1, 2}, {empty_double(), std::make_shared<zo_obj>(zorvat::function_handle())})},
      {"nothing", std::make_shared<zo_obj>()},
      {"bad_field", record({1, 1}, {{"a/b", {empty_double()}}})},
  };
  for (const auto& [name, v] : cases) {
    try {
      zorvat::internal::mat73_write(path, {{"ok", empty_double()}, {name, v}});
      ADD_FAILURE() << name << " was written";
    } catch (const std::runtime_error& e) {
      EXPECT_NE(std::string(e.what()).find(name), std::string::npos) << e.what();
    }
  }
  // A cell nested deeper than the limit (here: inside itself).
  auto loop = cell({1, 1}, {});
  loop->get<zorvat::cell_array>().data().data()[0] = loop;
  EXPECT_THROW(zorvat::internal::mat73_write(path, {{"loop", loop}}), std::runtime_error);
  loop->get<zorvat::cell_array>().data().data()[0] = nullptr;
  EXPECT_THROW(zorvat::internal::mat73_write(path, {{"a/b", empty_double()}}), std::runtime_error);
}

// Listing gives what each variable loads as without reading it; a load of
// chosen names gives just those, and a name the file lacks fails the whole
// load.  The file lists its variables by name.
TEST(Mat73, ListsAndLoadsChosenVariables) {
  temp_dir dir;
  const std::string path = dir.file("w.mat");
  zorvat::internal::mat73_write(
      path, {{"z", array<std::complex<float>>(zorvat::type_complex_single, {2, 1, 3}, {})},
             {"b", sparse<bool>(zorvat::type_sparse_logical, 3, 4, {{true, 1, 1}})},
             {"a", cell({1, 2}, {})},
             {"s", record({1, 2}, {{"f", {}}})},
             {"c", text({1, 3}, "abc")},
             {"u", extremes<unsigned long>(zorvat::type_uint64)}});
  const auto list = zorvat::internal::mat73_list(path);
  const std::vector<std::tuple<std::string, zorvat::zo_type, std::vector<long>, bool, bool>> want{
      {"a", zorvat::type_cell, {1, 2}, false, false},
      {"b", zorvat::type_sparse_logical, {3, 4}, false, true},
      {"c", zorvat::type_char, {1, 3}, false, false},
      {"s", zorvat::type_struct, {1, 2}, false, false},
      {"u", zorvat::type_uint64, {1, 3}, false, false},
      {"z", zorvat::type_complex_single, {2, 1, 3}, true, false}};
  ASSERT_EQ(list.size(), want.size());
  for (size_t k = 0; k < want.size(); ++k)
    EXPECT_EQ(std::make_tuple(list[k].name, list[k].kind, list[k].dims, list[k].is_complex, list[k].is_sparse),
              want[k])
        << k;
  const auto chosen = zorvat::internal::mat73_read(path, {"u", "c"});
  ASSERT_EQ(chosen.size(), 2u);
  EXPECT_EQ(chosen[0].first, "c");
  EXPECT_EQ(chosen[1].first, "u");
  EXPECT_THROW(zorvat::internal::mat73_read(path, {"c", "missing"}), std::runtime_error);
}

// libmatio writes no complex flag for an empty array: it comes back real.
TEST(Mat73, EmptyComplexComesBackReal) {
  temp_dir dir;
  const std::string path = dir.file("e.mat");
  zorvat::internal::mat73_write(path, {{"e", array<std::complex<double>>(zorvat::type_complex_double, {0, 2}, {})}});
  const auto back = zorvat::internal::mat73_read(path, {});
  ASSERT_EQ(back.size(), 1u);
  EXPECT_EQ(back[0].second->type, zorvat::type_double);
  EXPECT_EQ(back[0].second->get<matrix<double>>().dim_vec(), (std::vector<long>{0, 2}));
}

// A file cut short, overwritten in places or of another kind throws a
// runtime_error (or, where the damage misses everything read, loads);
// nothing crashes or prints.
TEST(Mat73, DamagedFilesFailCleanly) {
  temp_dir dir;
  const std::string good = dir.file("good.mat"), bad = dir.file("bad.mat");
  zorvat::internal::mat73_write(
      good, {{"d", array<double>(zorvat::type_double, {3, 3}, {1, 2, 3, 4, 5, 6, 7, 8, 9})},
             {"c", cell({1, 2}, {text({1, 2}, "hi"), record({1, 1}, {{"f", {empty_double()}}})})},
             {"s", sparse<double>(zorvat::type_sparse_double, 3, 3, {{1, 0, 0}, {2, 2, 2}})}});
  std::ifstream in(good, std::ios::binary);
  const std::string bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  auto attempt = [&](const std::string& content) {
    std::ofstream(bad, std::ios::binary | std::ios::trunc) << content;
    try {
      zorvat::internal::mat73_read(bad, {});
      zorvat::internal::mat73_list(bad);
    } catch (const std::runtime_error&) {
    }
  };
  testing::internal::CaptureStderr();
  for (size_t cut : {size_t(0), size_t(100), size_t(128), size_t(600), bytes.size() / 2, bytes.size() - 1})
    attempt(bytes.substr(0, cut));
  // Overwrites of eight bytes at about forty positions spread over the file,
  // skipping the header block (which only decides the version).
  const size_t step = std::max<size_t>(97, bytes.size() / 40) | 1;
  for (size_t at = 512; at + 8 < bytes.size(); at += step) {
    std::string damaged = bytes;
    for (size_t k = 0; k < 8; ++k) damaged[at + k] = static_cast<char>(damaged[at + k] ^ 0x5A);
    attempt(damaged);
  }
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_THROW(zorvat::internal::mat73_read(dir.file("none.mat"), {}), std::runtime_error);
}

// A version 7.3 file written by another program (SciPy's test corpus).
TEST(Mat73, ReadsAnotherWritersFile) {
  const std::string path = "/usr/lib/python3/dist-packages/scipy/io/matlab/tests/data/testhdf5_7.4_GLNX86.mat";
  if (access(path.c_str(), R_OK) != 0) GTEST_SKIP() << "python3-scipy's test data is not installed";
  const auto back = zorvat::internal::mat73_read(path, {});
  ASSERT_EQ(back.size(), 1u);
  EXPECT_EQ(back[0].first, "testdouble");
  const auto& m = back[0].second->get<matrix<double>>();
  ASSERT_EQ(m.dim_vec(), (std::vector<long>{1, 9}));
  for (long k = 0; k < 9; ++k) EXPECT_DOUBLE_EQ(m.data()[k], k * M_PI / 4);
}

}  // namespace
