// Sinks, entry points, format selection and one-line texts of the display.
#include <cmath>
#include <complex>
#include <limits>
#include <random>
#include <ostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <vector>

#include "display/display.h"
#include "display/display_format.h"
#include "display/display_kinds.h"
#include "display_test_util.h"
#include "host/host_query.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/kind_table.h"

namespace zorvat_test {
namespace {

using namespace zorvat;
using internal::format_info;
using cd = std::complex<double>;
const double nan = std::numeric_limits<double>::quiet_NaN();

// ---------------------------------------------------------------- sinks

// Records where each write of text to the stream ends.
class write_ends : public std::streambuf {
 public:
  std::vector<size_t> ends;
  std::string text;

 protected:
  std::streamsize xsputn(const char* p, std::streamsize n) override {
    if (n == 0) return 0;  // an empty buffer flushed: no piece
    text.append(p, static_cast<size_t>(n));
    ends.push_back(text.size());
    return n;
  }
  int_type overflow(int_type c) override {
    if (c != traits_type::eof()) xsputn(reinterpret_cast<const char*>(&c), 1);
    return traits_type::not_eof(c);
  }
};

// Renderers join insertions into larger writes; the cap must still cut
// right after the insertion that passes it, and a console sink with a
// threshold of 0 must write after every insertion.  The model: the uncapped
// text and the ends of its insertions (each element and line end for dense
// rows; the position, the value and the line end of each sparse entry; each
// column and the line end of string and cell rows).
class CapCut : public display_format_guard {};

TEST_F(CapCut, CutsAfterTheInsertionThatPassesTheLimit) {
  set_format(0, false);
  std::mt19937_64 rng(3);
  std::uniform_real_distribution<double> u(0.01, 0.99);
  auto* d = new matrix<double>(3, 4);
  for (long k = 0; k < 12; ++k) (*d)(k) = u(rng);
  auto* c = new cell_array(2, 3);
  for (long k = 0; k < 6; ++k) (*c)(k) = std::make_shared<zo_obj>(std::string(static_cast<size_t>(k + 1), 'a').c_str());
  const struct {
    zo_obj value;
    long element_chars;  // dense: the width of every element text; 0: no element pieces
    char piece_close;    // a piece ends after this character (0: none)
  } rows[] = {
      {zo_obj(type_double, d), 10, 0},
      {zo_obj(type_sparse_double, new sparse_matrix<double>({{0.5, 0, 0}, {0.25, 2, 1}, {0.125, 1, 2}}, 3, 3)), 0,
       ')'},
      {zo_obj(type_cell, c), 0, '}'},
  };
  for (const auto& r : rows) {
    const std::string full = internal::obj2str(r.value, 80);
    const size_t header = full.find('\n') + 1;
    std::vector<size_t> ends;
    for (size_t at = header, line = header; at < full.size(); ++at) {
      if (r.element_chars != 0 && full[at] != '\n' && (at + 1 - line) % r.element_chars == 0) ends.push_back(at + 1);
      if (r.piece_close != 0 && full[at] == r.piece_close) ends.push_back(at + 1);
      if (full[at] == '\n') {
        if (at > line && (ends.empty() || ends.back() != at)) ends.push_back(at);  // the last piece before the line feed
        ends.push_back(at + 1);
        line = at + 1;
      }
    }
    for (size_t limit = header; limit < full.size(); ++limit) {
      internal::FixedLengthStream s(static_cast<long>(limit));
      internal::obj2str_stream(s, r.value, 80);
      size_t cut = full.size();
      for (size_t e : ends)
        if (e > limit) {
          cut = e;
          break;
        }
      ASSERT_EQ(s.str(), full.substr(0, cut) + "\n\n  ...\n") << "limit " << limit << " of\n" << full;
    }
    write_ends console;
    std::ostream os(&console);
    internal::obj2console(os, r.value, 80, 0);
    ASSERT_EQ(console.text, full);
    std::vector<size_t> written;
    for (size_t e : console.ends)
      if (e > header) written.push_back(e);
    EXPECT_EQ(written, ends) << full;
  }
}

TEST(FixedLengthStream, NullTextSetsFailbitAndInsertsNothing) {
  internal::FixedLengthStream s(100);
  const char* none = nullptr;
  s << "a" << none;
  EXPECT_TRUE(s.stream.fail());
  EXPECT_EQ(s.str(), "a");
}

TEST(BufferedStream, FlushesPastThresholdAndClearsErrorState) {
  std::ostringstream os;
  internal::BufferedStream<0> s(&os, 4);
  s << "ab";
  EXPECT_EQ(os.str(), "");
  s << std::string("cde");
  EXPECT_EQ(os.str(), "abcde");
  const char* none = nullptr;
  s << "f" << none;
  s.flush();
  EXPECT_EQ(os.str(), "abcdef");
  EXPECT_FALSE(s.stream.fail());
  s << "g";
  s.flush();
  EXPECT_EQ(os.str(), "abcdefg");
}

// ------------------------------------------------------------- entry points

// The console text equals obj2str's for every threshold, on random values
// of every kind: fuzz/display_values.cpp.  Here the real cap, on values far
// beyond it.
class EntryPoints : public display_format_guard {};

TEST_F(EntryPoints, StringCapEndsInMarkAndBoundsTheText) {
  auto* m = new matrix<double>(1000, 600);
  std::mt19937 rng(1);
  std::uniform_real_distribution<double> u(0.0, 1.0);
  for (auto& x : *m) x = u(rng);
  const zo_obj v(type_double, m);
  const std::string capped = internal::obj2str(v, 80);
  std::ostringstream full;
  internal::obj2console(full, v, 80, 65536);
  const std::string mark = "\n\n  ...\n";
  ASSERT_GT(full.str().size(), 5000000u);
  ASSERT_GT(capped.size(), static_cast<size_t>(internal::obj2str_limit));
  EXPECT_LE(capped.size(), static_cast<size_t>(internal::obj2str_limit) + 10 + mark.size());
  EXPECT_EQ(capped.substr(capped.size() - mark.size()), mark);
  const std::string kept = capped.substr(0, capped.size() - mark.size());
  EXPECT_EQ(full.str().compare(0, kept.size(), kept), 0);
}

// Every kind, as its default value and as a 2x2 array of 1.5 (in its element
// type) where it has elements, gives one text through all four sinks.
TEST_F(EntryPoints, EveryKindGivesOneTextThroughEverySink) {
  std::vector<zo_obj> values;
  for (int kind = -1; kind <= 33; ++kind) {
    values.emplace_back().reset(kind, true);
    internal::visit_kind(kind, [&](auto k) {
      using P = typename decltype(k)::payload;
      if constexpr (internal::is_scalar_dense_v<P>) {
        auto* m = new P(2, 2);
        for (auto& x : *m) x = typename P::value_type(1.5);
        values.emplace_back(static_cast<zo_type>(kind), m);
      } else if constexpr (internal::is_sparse_v<P>) {
        values.emplace_back(static_cast<zo_type>(kind), new P(2, 2, 1));
        values.back().template get<P>().set_value(1, 0, typename P::value_type(1.5));
      }
    });
  }
  for (bool loose : {false, true})
    for (const zo_obj& v : values) {
      set_format(0, loose);
      const std::string text = internal::obj2str(v, 80);
      std::ostringstream os;
      internal::obj2console(os, v, 80, 0);
      const host_console console;
      internal::obj2console_safe<1>(v, 80, 1);
      internal::obj2console_safe<2>(v, 80, 1000);
      EXPECT_EQ(os.str(), text) << v.type;
      EXPECT_EQ(console.out(), text) << v.type;
      EXPECT_EQ(console.err(), text) << v.type;
    }
}

TEST_F(EntryPoints, MovedFromArrayPrintsNotice) {
  zo_obj a(1.5);
  zo_obj b(std::move(a));
  EXPECT_EQ(internal::obj2str(a, 80), "\n  1x1 double\n\n  (暂不支持该类型数据的输出)\n");
  EXPECT_EQ(internal::obj2str_one_line(a), "[1x1 double]");
}

// ---------------------------------------------------------- format selection
// Rows whose outcome a whole text of the layout tables already shows are not
// repeated here.

struct info_case {
  const char* name;
  std::function<format_info()> get;
  unsigned format;
  const char* fmt;  // null: no rendering
  long cols_per_page, pages;
  int field_width;
};
std::ostream& operator<<(std::ostream& os, const info_case& c) { return os << c.name; }

class FormatInfo : public display_format_guard, public ::testing::WithParamInterface<info_case> {};

TEST_P(FormatInfo, SelectsTextColumnsAndPages) {
  const info_case& c = GetParam();
  set_format(c.format, true);
  const format_info info = c.get();
  if (c.fmt == nullptr) {
    EXPECT_EQ(info.fmt, nullptr);
    return;
  }
  ASSERT_NE(info.fmt, nullptr);
  EXPECT_STREQ(info.fmt, c.fmt);
  EXPECT_EQ(info.cols_per_page, c.cols_per_page);
  EXPECT_EQ(info.pages, c.pages);
  EXPECT_EQ(info.field_width, c.field_width);
}

template <class T>
std::function<format_info()> info_of(std::vector<long> dims, std::vector<T> elems, long width) {
  return [=] {
    matrix<T> m(dims);
    for (size_t k = 0; k < elems.size(); ++k) m.data()[k] = elems[k];
    return internal::get_format_info(m, width);
  };
}

template <class T>
std::function<format_info()> sparse_info_of(long rows, long cols, T value, long width) {
  return [=] { return internal::get_format_info(sparse_matrix<T>({{value, 0, 0}}, rows, cols), width); };
}

const info_case info_cases[] = {
    {"DefaultWidth", info_of<double>({1, 20}, {0.5}, -1), 0, " %9.4f", 8, 3, 0},
    {"ScalarNaNStaysFixed", info_of<double>({1, 1}, {nan}, 80), 1, " %19.15f", 4, 1, 0},
    {"SingleLongExponent", info_of<float>({2, 11}, {1}, 80), 3, " %15.7e", 5, 3, 0},
    {"ComplexLong", info_of<cd>({1, 3}, {cd(5000, 0)}, 80), 1, " %18.15f %c%18.15fi", 2, 2, 0},
    {"ComplexSingleExponent", info_of<std::complex<float>>({1, 3}, {}, 80), 3, " %17.7e %c%14.7ei", 2, 2, 0},
    {"NoRendering", info_of<double>({1, 2}, {}, 80), 4, nullptr, 0, 0, 0},
    {"EmptyInteger", info_of<short>({0, 3}, {}, 80), 0, "%*d", 20, 1, 4},
    {"Int64", info_of<long>({1, 30}, {-10000}, 80), 0, "%*ld", 10, 3, 8},
    {"Uint8", info_of<unsigned char>({1, 2}, {255}, 80), 2, "%*u", 13, 1, 6},
    {"Uint64", info_of<unsigned long>({1, 2}, {9}, 80), 0, "%*lu", 20, 1, 4},
    {"HexUint8", info_of<unsigned char>({1, 30}, {}, 80), 8, "  %0*x", 20, 2, 2},
    {"HexInt64", info_of<long>({1, 9}, {}, 80), 8, "  %0*lx", 4, 3, 16},
    {"HexNarrow", info_of<long>({1, 9}, {}, 35), 8, "  %0*lx", 1, 9, 16},
    {"IntegerSigns", info_of<int>({1, 2}, {}, 80), 9, "%*d", 20, 1, 4},
    {"Logical", info_of<bool>({1, 30}, {}, 8), 0, "%4d", 2, 15, 4},
    {"Char", info_of<char>({3, 30}, {}, 80), 0, "%c", 1, 1, 1},
    {"SparseScalar", sparse_info_of<double>(1, 1, 1500.0, -1), 0, "  %9.4e", 8, 1, 0},
    {"SparseComplex", sparse_info_of<cd>(3, 5, cd(1, 1), 80), 2, " %12.4e %c%11.4ei", 2, 3, 0},
    {"SparseLogical", sparse_info_of<bool>(2, 2, true, 80), 0, "%4d", 20, 1, 4},
};
INSTANTIATE_TEST_SUITE_P(AllTypes, FormatInfo, ::testing::ValuesIn(info_cases),
                         [](const auto& i) { return std::string(i.param.name); });

// Power of ten of the largest finite magnitude (the modulus for complex);
// cases not already visible as a scale line of the layout tables.
TEST(Scale, PowerOfTenOfLargestFiniteMagnitude) {
  const struct {
    std::vector<double> re, im;
    double scale;
  } rows[] = {{{-123456.0, 2}, {}, 1e5}, {{nan, 5000}, {}, 1e3}, {{1e-5, 0.001}, {}, 1},
              {{}, {}, 1},               {{60}, {80}, 100},      {{99}, {0}, 1}};
  for (const auto& r : rows) {
    const long n = static_cast<long>(r.re.size());
    if (r.im.empty()) {
      matrix<double> m(1, n);
      for (long k = 0; k < n; ++k) m(0, k) = r.re[k];
      EXPECT_EQ(internal::get_scale(m), r.scale) << n;
    } else {
      matrix<cd> m(1, n);
      for (long k = 0; k < n; ++k) m(0, k) = cd(r.re[k], r.im[k]);
      EXPECT_EQ(internal::get_scale(m), r.scale) << r.re[0];
    }
  }
}

TEST(ToIntMat, WholeValuesBelowBillionBecomeInt32) {
  zo_obj out;
  internal::to_int_mat_9_digits(arr<double>({2, 2}, {1, -2, 999999999, 0}), out);
  ASSERT_EQ(out.type, type_int32);
  const auto& m = out.get<matrix<int>>();
  EXPECT_EQ(m.dim_vec(), (std::vector<long>{2, 2}));
  EXPECT_EQ(std::vector<int>(m.data(), m.data() + 4), (std::vector<int>{1, -2, 999999999, 0}));

  zo_obj empty_out;
  internal::to_int_mat_9_digits(arr<float>({0, 5}), empty_out);
  ASSERT_EQ(empty_out.type, type_int32);
  EXPECT_EQ(empty_out.get<matrix<int>>().dim_vec(), (std::vector<long>{0, 5}));

  // Fractions, 1e9, NaN and infinities stay double: the IntegerPath rows of
  // the layout tables.  Integer arrays are left alone.
  zo_obj untouched;
  internal::to_int_mat_9_digits(arr<int>({1, 2}, {1, 2}), untouched);
  EXPECT_EQ(untouched.type, type_void);
}

TEST(ConvertNaN, RewritesOnlyNan) {
  std::string s = "nan -nan inf nanan";
  internal::convert_nan_inplace(s);
  EXPECT_EQ(s, "NaN -NaN inf NaNan");
  char buf[] = "nan -nan inf nanan";
  internal::convert_nan_inplace(buf, sizeof buf - 1);
  EXPECT_STREQ(buf, "NaN -NaN inf NaNan");
}

// ------------------------------------------------------------ one-line texts

class OneLine : public display_format_guard {};

TEST_F(OneLine, RowVectorTexts) {
  const struct {
    zo_obj value;
    long max_len;
    bool bracket;
    const char* text;
  } rows[] = {
      {zo_obj(2.5), 100, false, "2.5000"},
      {zo_obj(2.5), 100, true, "[2.5000]"},
      {zo_obj(1500.5), 100, false, "1.5005e+03"},
      {arr<double>({1, 2}, {nan, 1}), 100, true, "[NaN 1.0000]"},
      {arr<cd>({1, 2}, {cd(1, 2), cd(3, -4)}), 100, true, "[1.0000 + 2.0000i 3.0000 - 4.0000i]"},
      {arr<bool>({1, 2}, {true, false}), 100, true, "[1 0]"},
      {zo_obj(type_sparse_double, new sparse_matrix<double>({{1.5, 0, 0}, {2.5, 2, 0}}, 1, 4)), 100, true,
       "[1.5000 2.5000]"},
      {zo_obj("abc", type_char), 100, true, ""},
  };
  for (const auto& r : rows) EXPECT_EQ(internal::row_vector_to_string(r.value, r.max_len, r.bracket), r.text);
}

// A text cut at max_len is the whole text up to the element that passes
// max_len, then "..."; a text within max_len is not cut.
void expect_cuts_agree(const zo_obj& v) {
  const std::string whole = internal::row_vector_to_string(v, 0, true);
  const std::string inner = whole.substr(1, whole.size() - 2);
  for (long max_len = 1; max_len <= static_cast<long>(inner.size()); ++max_len) {
    const std::string cut = internal::row_vector_to_string(v, max_len, true);
    if (max_len == static_cast<long>(inner.size())) {
      EXPECT_EQ(cut, whole);
      continue;
    }
    ASSERT_EQ(cut.compare(cut.size() - 4, 4, "...]"), 0) << cut;
    const std::string kept = cut.substr(1, cut.size() - 5);
    EXPECT_GT(static_cast<long>(kept.size()), max_len) << cut;
    EXPECT_EQ(inner.compare(0, kept.size(), kept), 0) << cut;
    EXPECT_TRUE(kept.size() == inner.size() || inner[kept.size()] == ' ') << cut;
  }
}

template <class T>
zo_obj sparse_row(zo_type kind) {
  return zo_obj(kind, new sparse_matrix<T>({{T(1), 0, 0}, {T(2), 2, 0}, {T(3), 3, 0}}, 1, 5));
}

TEST_F(OneLine, CutsFallBetweenElementsOfEveryType) {
#define ZORVAT_TEST_DENSE_ROW(T)                                      \
  {                                                                   \
    auto* m = new matrix<T>(1, 4);                                    \
    for (long j = 0; j < 4; ++j) (*m)(0, j) = static_cast<T>(j + 1); \
    expect_cuts_agree(zo_obj(internal::dense_kind_of<T>(), m));       \
  }
  ZORVAT_FOR_EACH_NUMERIC_TYPE(ZORVAT_TEST_DENSE_ROW)
#undef ZORVAT_TEST_DENSE_ROW
  expect_cuts_agree(sparse_row<double>(type_sparse_double));
  expect_cuts_agree(sparse_row<float>(type_sparse_single));
  expect_cuts_agree(sparse_row<cd>(type_sparse_complex_double));
  expect_cuts_agree(sparse_row<std::complex<float>>(type_sparse_complex_single));
  expect_cuts_agree(sparse_row<bool>(type_sparse_logical));
}

TEST_F(OneLine, SummaryOfAnyValue) {
  const struct {
    zo_obj value;
    unsigned format;
    const char* text;
  } rows[] = {
      {arr<int>({1, 3}, {1, 2, 3}), 0, "[1 2 3]"},
      {zo_obj(-0.5), 0, "-0.5000"},
      {zo_obj("hello"), 0, "\"hello\""},
      {zo_obj("abc", type_char), 0, "'abc'"},
      {zo_obj("", type_char), 0, "''"},
      // The first row of a 2x3 char array: a view with a column stride of 2.
      {zo_obj(type_char,
              new matrix<char>(arr<char>({2, 3}, {'a', 'b', 'c', 'd', 'e', 'f'}).get<matrix<char>>().view(1, 3, 0, 2))),
       0, "'ace'"},
      {arr<char>({2, 3}), 0, "[2x3 char]"},
      {arr<double>({2, 2}), 0, "[2x2 double]"},
      {zo_obj(), 0, "[1x1 void]"},
      {arr<double>({1, 3}), 6, "[1x3 double]"},  // a format without a rendering
      // Format 9 signs even for whole values: the summary has no int32 path.
      {arr<double>({1, 3}, {1, -2, 0}), 9, "[+ - ]"},
      {zo_obj(-3.0), 9, "-"},
      {arr<long>({1, 2}, {-4, 5}), 9, "[-4 5]"},
  };
  for (const auto& r : rows) {
    set_format(r.format, true);
    EXPECT_EQ(internal::obj2str_one_line(r.value), r.text);
  }
}

}  // namespace
}  // namespace zorvat_test
