// Version 7.3 MAT-files: every kind through a file and back (a table of
// values with what each comes back as), what is refused, listing and
// choosing variables, and files that are damaged or not ours.
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

double bits(std::uint64_t b) {
  double d;
  std::memcpy(&d, &b, sizeof d);
  return d;
}

value empty_double() { return array<double>(zorvat::type_double, {0, 0}, {}); }

// --------------------------------------------------------- deep comparison

template <class P>
bool same_bytes(const P& a, const P& b) {
  const auto ca = a.contiguous(), cb = b.contiguous();
  return ca.size() == cb.size() &&
         (ca.size() == 0 || std::memcmp(ca.data(), cb.data(), sizeof(*ca.data()) * ca.size()) == 0);
}

template <class T>
bool same_sparse(const sparse_matrix<T>& a, const sparse_matrix<T>& b) {
  const auto ta = a.to_triplet(), tb = b.to_triplet();
  if (ta.size() != tb.size()) return false;
  for (size_t k = 0; k < ta.size(); ++k)
    if (ta[k].row != tb[k].row || ta[k].col != tb[k].col || std::memcmp(&ta[k].value, &tb[k].value, sizeof(T)))
      return false;
  return true;
}

::testing::AssertionResult same(const zo_obj& a, const zo_obj& b, const std::string& where) {
  auto fail = [&](const char* what) { return ::testing::AssertionFailure() << where << ": " << what; };
  if (a.type != b.type) return fail("kind") << " " << a.type << " vs " << b.type;
  if (a.array_base() && a.array_base()->dim_vec() != b.array_base()->dim_vec()) return fail("dims");
  if (a.container() && a.container()->dim_vec() != b.container()->dim_vec()) return fail("dims");
  switch (a.type) {
#define CASE(T, K)    \
  case zorvat::K:     \
    return same_bytes(a.get<matrix<T>>(), b.get<matrix<T>>()) ? ::testing::AssertionSuccess() : fail("elements");
    CASE(double, type_double) CASE(float, type_single) CASE(signed char, type_int8) CASE(short, type_int16)
    CASE(int, type_int32) CASE(long, type_int64) CASE(unsigned char, type_uint8) CASE(unsigned short, type_uint16)
    CASE(unsigned int, type_uint32) CASE(unsigned long, type_uint64) CASE(std::complex<double>, type_complex_double)
    CASE(std::complex<float>, type_complex_single) CASE(char, type_char) CASE(bool, type_logical)
#undef CASE
#define CASE(T, K)    \
  case zorvat::K:     \
    return same_sparse(a.get<sparse_matrix<T>>(), b.get<sparse_matrix<T>>()) ? ::testing::AssertionSuccess() : fail("entries");
    CASE(double, type_sparse_double) CASE(std::complex<double>, type_sparse_complex_double)
    CASE(bool, type_sparse_logical)
#undef CASE
    case zorvat::type_cell: {
      const auto& ca = a.get<zorvat::cell_array>().data();
      const auto& cb = b.get<zorvat::cell_array>().data();
      for (long k = 0; k < ca.size(); ++k) {
        auto r = same(*ca.data()[k], *cb.data()[k], where + "{" + std::to_string(k) + "}");
        if (!r) return r;
      }
      return ::testing::AssertionSuccess();
    }
    case zorvat::type_struct: {
      const auto& sa = a.get<zorvat::structure>();
      const auto& sb = b.get<zorvat::structure>();
      if (sa.fieldnames() != sb.fieldnames()) return fail("field names");
      for (const auto& f : sa.fieldnames())
        for (long k = 0; k < sa.numel(); ++k) {
          auto r = same(*sa.get_field_table(f).data()[k], *sb.get_field_table(f).data()[k],
                        where + "(" + std::to_string(k) + ")." + f);
          if (!r) return r;
        }
      return ::testing::AssertionSuccess();
    }
    default:
      return fail("unexpected kind");
  }
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

// ------------------------------------------------------------ round trips

struct round_trip {
  const char* label;
  std::function<value()> make;
  std::function<value()> expect;  // null: comes back as made
};

void PrintTo(const round_trip& c, std::ostream* os) { *os << c.label; }

template <class T>
value extremes(zorvat::zo_type t) {
  return array<T>(t, {1, 3}, {std::numeric_limits<T>::min(), T(0), std::numeric_limits<T>::max()});
}

const round_trip round_trips[] = {
    {"double_special_bits", [] { return array<double>(zorvat::type_double, {2, 3}, {bits(0x7FF8DEADBEEF0001), -0.0, HUGE_VAL, -HUGE_VAL, 1e-310, 3.5}); }, nullptr},
    {"double_nd", [] { return array<double>(zorvat::type_double, {2, 1, 3, 2}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}); }, nullptr},
    {"double_empty_0x3", [] { return array<double>(zorvat::type_double, {0, 3}, {}); }, nullptr},
    {"double_empty_3x0x2", [] { return array<double>(zorvat::type_double, {3, 0, 2}, {}); }, nullptr},
    {"single_nan_payload", [] { return array<float>(zorvat::type_single, {1, 2}, {std::nanf("7"), -0.0f}); }, nullptr},
    {"int8", [] { return extremes<signed char>(zorvat::type_int8); }, nullptr},
    {"int16", [] { return extremes<short>(zorvat::type_int16); }, nullptr},
    {"int32", [] { return extremes<int>(zorvat::type_int32); }, nullptr},
    {"int64", [] { return extremes<long>(zorvat::type_int64); }, nullptr},
    {"uint8", [] { return extremes<unsigned char>(zorvat::type_uint8); }, nullptr},
    {"uint16", [] { return extremes<unsigned short>(zorvat::type_uint16); }, nullptr},
    {"uint32", [] { return extremes<unsigned int>(zorvat::type_uint32); }, nullptr},
    {"uint64", [] { return extremes<unsigned long>(zorvat::type_uint64); }, nullptr},
    {"complex_double_nd", [] { return array<std::complex<double>>(zorvat::type_complex_double, {2, 1, 2}, {{1, -0.0}, {0, 2}, {bits(0x7FF0000000000001), 3}, {-4, HUGE_VAL}}); }, nullptr},
    {"complex_single", [] { return array<std::complex<float>>(zorvat::type_complex_single, {1, 2}, {{1.5f, -2}, {0, 0}}); }, nullptr},
    // libmatio writes no complex flag for an empty array.
    {"complex_empty", [] { return array<std::complex<double>>(zorvat::type_complex_double, {0, 2}, {}); },
     [] { return array<double>(zorvat::type_double, {0, 2}, {}); }},
    {"logical", [] { return array<bool>(zorvat::type_logical, {2, 2}, {true, false, false, true}); }, nullptr},
    {"logical_empty", [] { return array<bool>(zorvat::type_logical, {1, 0}, {}); }, nullptr},
    {"char_rows", [] { return text({2, 3}, "adbecf"); }, nullptr},
    {"char_nd", [] { return text({2, 1, 3}, "abcdef"); }, nullptr},
    {"char_utf8", [] { return text({1, 9}, "a\xE4\xB8\xAD\xF0\x9F\x98\x80z"); }, nullptr},
    // Rows of 4 bytes: "中b" (2 code units) and "abcd" (4): padded to 4 units,
    // which come back as 6 and 4 bytes, the second row padded to 6.
    {"char_rows_padded", [] { return text({2, 4}, "\xE4" "a\xB8" "b\xAD" "cbd"); },
     [] { return text({2, 6}, "\xE4" "a\xB8" "b\xAD" "cbd" "    "); }},
    {"char_invalid_utf8", [] { return text({1, 2}, "\xFF" "a"); }, [] { return text({1, 3}, "\xC3\xBF" "a"); }},
    {"char_empty", [] { return text({1, 0}, ""); }, nullptr},
    {"sparse_double", [] { return sparse<double>(zorvat::type_sparse_double, 4, 3, {{2.5, 0, 3}, {-0.0, 2, 0}, {bits(0x7FF8000000000042), 2, 1}}); }, nullptr},
    {"sparse_complex", [] { return sparse<std::complex<double>>(zorvat::type_sparse_complex_double, 2, 2, {{{1, -1}, 1, 1}}); }, nullptr},
    {"sparse_logical", [] { return sparse<bool>(zorvat::type_sparse_logical, 3, 2, {{true, 0, 2}, {true, 1, 0}}); }, nullptr},
    {"sparse_empty", [] { return sparse<double>(zorvat::type_sparse_double, 3, 0, {}); }, nullptr},
    {"sparse_no_entries", [] { return sparse<double>(zorvat::type_sparse_double, 2, 5, {}); }, nullptr},
    {"sparse_single_as_double", [] { return sparse<float>(zorvat::type_sparse_single, 2, 2, {{0.1f, 0, 1}}); },
     [] { return sparse<double>(zorvat::type_sparse_double, 2, 2, {{double(0.1f), 0, 1}}); }},
    {"cell_nested_with_empty_slot",
     [] { return cell({2, 2}, {array<double>(zorvat::type_double, {1, 1}, {1}), cell({1, 1}, {text({1, 1}, "x")}), text({1, 2}, "ab"), nullptr}); },
     [] { return cell({2, 2}, {array<double>(zorvat::type_double, {1, 1}, {1}), cell({1, 1}, {text({1, 1}, "x")}), text({1, 2}, "ab"), empty_double()}); }},
    {"cell_empty_2x0", [] { return cell({2, 0}, {}); }, nullptr},
    {"strings_as_cell_of_rows", [] { return std::make_shared<zo_obj>(std::vector<std::string>{"ab", "", "\xE4\xB8\xAD"}, 1, 3); },
     [] { return cell({1, 3}, {text({1, 2}, "ab"), text({1, 0}, ""), text({1, 3}, "\xE4\xB8\xAD")}); }},
    {"struct_field_order_nested",
     [] { return record({1, 1}, {{"zeta", {extremes<long>(zorvat::type_int64)}}, {"alpha", {record({1, 1}, {{"b", {text({1, 1}, "q")}}, {"a", {empty_double()}}})}}, {"mid", {nullptr}}}); },
     [] { return record({1, 1}, {{"zeta", {extremes<long>(zorvat::type_int64)}}, {"alpha", {record({1, 1}, {{"b", {text({1, 1}, "q")}}, {"a", {empty_double()}}})}}, {"mid", {empty_double()}}}); }},
    {"struct_array_nd", [] { return record({2, 1, 2}, {{"v", {empty_double(), text({1, 1}, "a"), cell({0, 0}, {}), array<bool>(zorvat::type_logical, {1, 1}, {true})}}}); }, nullptr},
    {"struct_no_fields", [] { return record({1, 1}, {}); }, nullptr},
    {"struct_empty_with_fields", [] { return record({0, 3}, {{"b", {}}, {"a", {}}}); }, nullptr},
};

class Mat73RoundTrip : public ::testing::TestWithParam<round_trip> {};

TEST_P(Mat73RoundTrip, ComesBackExactly) {
  temp_dir dir;
  const std::string path = dir.file("v.mat");
  const round_trip& c = GetParam();
  zorvat::internal::mat73_write(path, {{"v", c.make()}});
  auto back = zorvat::internal::mat73_read(path, {});
  ASSERT_EQ(back.size(), 1u);
  EXPECT_EQ(back[0].first, "v");
  EXPECT_TRUE(same(*back[0].second, *(c.expect ? c.expect() : c.make()), "v"));
}

INSTANTIATE_TEST_SUITE_P(EveryKind, Mat73RoundTrip, ::testing::ValuesIn(round_trips),
                         [](const auto& info) { return std::string(info.param.label); });

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
