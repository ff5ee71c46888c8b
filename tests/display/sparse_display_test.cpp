// Whole texts of obj2str for sparse matrices: one table per display rule.
#include <complex>
#include <cstdio>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "display/display.h"
#include "display/display_sparse.h"
#include "display_test_util.h"
#include "memory/str_util.h"
#include "sparse/sparse_matrix.h"

namespace zorvat_test {
namespace {

using namespace zorvat;
using cd = std::complex<double>;
const double nan = std::numeric_limits<double>::quiet_NaN();


// An m x n sparse value with entries given as {value, row, col} (zero-based).
template <class T>
std::function<zo_obj()> sp(long m, long n, std::vector<std::tuple<T, long, long>> entries) {
  return [=] {
    std::vector<triplet<T>> t;
    for (const auto& [v, r, c] : entries) t.push_back({v, c, r});
    return zo_obj(internal::sparse_kind_of<T>(), new sparse_matrix<T>(t, m, n));
  };
}

// Made with room for entries (nzmax) but none stored.
template <class T>
std::function<zo_obj()> zeros(long m, long n, long nzmax) {
  return [=] { return zo_obj(internal::sparse_kind_of<T>(), new sparse_matrix<T>(m, n, nzmax)); };
}

const layout_case shape_cases[] = {
    {"AllZeroNotice", zeros<double>(3, 3, 0), 80, 0, true, "\n  3x3 sparse double\n\n  (全 0 矩阵)\n\n"},
    {"AllZeroCompact", zeros<bool>(2, 2, 4), 80, 0, false, "  2x2 sparse logical\n  (全 0 矩阵)\n"},
    {"NoRowsPrintsNothing", zeros<double>(0, 5, 0), 80, 0, true, "\n  empty 0x5 sparse double\n\n\n"},
    // nnz() counts the slack between column starts: not all zero, no entry.
    {"SlackWithoutEntriesIsNoAllZeroNotice",
     [] {
       auto* m = new sparse_matrix<double>(3, 3, 0);
       m->reserve(std::vector<long>{2, 0, 0});
       return zo_obj(type_sparse_double, m);
     },
     80, 0, true, "\n  3x3 sparse double\n\n\n"},
};
INSTANTIATE_TEST_SUITE_P(SparseShapes, Layout, ::testing::ValuesIn(shape_cases), case_name);

// "(row,col)" with each index padded to the digits of its largest value.
const layout_case index_width_cases[] = {
    {"OneDigit", sp<double>(3, 2, {{1.5, 1, 0}, {-2.25, 2, 1}}), 80, 0, false,
     "  3x2 sparse double\n  (2,1)    1.5000\n  (3,2)   -2.2500\n"},
    {"TwoDigitRows", sp<double>(12, 3, {{0.5, 11, 0}, {0.25, 0, 2}}), 80, 0, false,
     "  12x3 sparse double\n  (12,1)    0.5000\n  ( 1,3)    0.2500\n"},
    {"ThreeDigitRowsOneDigitColumns", sp<double>(100, 7, {{0.5, 4, 0}, {0.75, 99, 6}}), 80, 0, false,
     "  100x7 sparse double\n  (  5,1)    0.5000\n  (100,7)    0.7500\n"},
    {"ThreeDigitColumns", sp<double>(2, 150, {{0.5, 0, 8}, {0.75, 1, 149}}), 80, 0, false,
     "  2x150 sparse double\n  (1,  9)    0.5000\n  (2,150)    0.7500\n"},
};
INSTANTIATE_TEST_SUITE_P(SparseIndexWidths, Layout, ::testing::ValuesIn(index_width_cases), case_name);

const layout_case scale_and_format_cases[] = {
    {"ScaleLine", sp<double>(2, 1, {{1500.0, 0, 0}, {2.0, 1, 0}}), 80, 0, true,
     "\n  2x1 sparse double\n\n  1.0e+03 *\n\n  (1,1)    1.5000\n  (2,1)    0.0020\n\n"},
    {"ScaleLineLongFormat", sp<double>(2, 1, {{25000.0, 0, 0}, {2.5, 1, 0}}), 80, 1, false,
     "  2x1 sparse double\n  1.0e+04 *\n  (1,1)   2.500000000000000\n  (2,1)   0.000250000000000\n"},
    {"BelowThousandNoScale", sp<double>(2, 1, {{999.0, 0, 0}, {0.5, 1, 0}}), 80, 0, false,
     "  2x1 sparse double\n  (1,1)  999.0000\n  (2,1)    0.5000\n"},
    {"ComplexBarIsThousandToo", sp<cd>(2, 1, {{cd(150, 1), 0, 0}, {cd(1, -2), 1, 0}}), 80, 0, false,
     "  2x1 sparse complex double\n  (1,1) 150.0000 + 1.0000i\n  (2,1)   1.0000 - 2.0000i\n"},
    {"ScalarNeverScaled", sp<double>(1, 1, {{1500.0, 0, 0}}), 80, 0, false,
     "  1x1 sparse double\n  (1,1)  1.5000e+03\n"},
    {"ExponentFormatNoScale", sp<double>(2, 1, {{1500.0, 0, 0}, {2.0, 1, 0}}), 80, 2, false,
     "  2x1 sparse double\n  (1,1)   1.5000e+03\n  (2,1)   2.0000e+00\n"},
    {"NaNStaysLowerCase", sp<double>(2, 1, {{nan, 0, 0}, {1.0, 1, 0}}), 80, 0, false,
     "  2x1 sparse double\n  (1,1)       nan\n  (2,1)    1.0000\n"},
    {"Signs", sp<double>(3, 1, {{3.0, 0, 0}, {-1.0, 1, 0}, {1.0, 2, 0}, {-1.0, 2, 0}}), 80, 9, false,
     "  3x1 sparse double\n  (1,1)+\n  (2,1)-\n  (3,1) \n"},
    {"UnsupportedFormatNotice", sp<double>(2, 1, {{1.0, 0, 0}}), 80, 5, true,
     "\n  2x1 sparse double\n\n    (该类型变量暂不支持的以该格式输出)\n\n"},
    {"Logical", sp<bool>(2, 2, {{true, 0, 1}}), 80, 5, false, "  2x2 sparse logical\n  (1,2)   1\n"},
};
INSTANTIATE_TEST_SUITE_P(SparseScaleAndFormats, Layout, ::testing::ValuesIn(scale_and_format_cases), case_name);

// Room reserved behind a column holds stale values that are not entries.
TEST(SparseDisplaySlack, OnlyRealEntriesAreShown) {
  auto* m = new sparse_matrix<double>(std::vector<triplet<double>>{{1.0, 0, 0}, {2.0, 1, 1}}, 2, 2);
  m->reserve(std::vector<long>{3, 2});
  for (long j = 0; j < 2; ++j)
    for (long k = m->jce()[j]; k < m->jc()[j + 1]; ++k) {
      m->pr()[k] = 777.0;
      m->ir()[k] = 1;
    }
  const zo_obj v(type_sparse_double, m);
  global::fmt_fl = {0, 0};
  EXPECT_EQ(internal::obj2str(v, 80), "  2x2 sparse double\n  (1,1)    1.0000\n  (2,2)    2.0000\n");
  // A row index outside the matrix is printed as it is, without reading
  // outside the table of row texts.
  m->ir()[m->jc()[1]] = 40;
  EXPECT_EQ(internal::obj2str(v, 80), "  2x2 sparse double\n  (1,1)    1.0000\n  (41,2)    2.0000\n");
  global::fmt_fl = {0, 256};
}

// Entry lines against a model made with snprintf, over random matrices whose
// row count is below, near and far above the number of entries (the row
// texts are then made in two different ways), with index widths from 1 to 7
// digits and values that need the scale line.
TEST(SparseEntryLines, MatchPrintfModel) {
  std::mt19937_64 rng(23);
  const long row_counts[] = {1, 9, 10, 99, 100, 5000, 1234567};
  const long col_counts[] = {1, 10, 311};
  for (long rows : row_counts)
    for (long cols : col_counts)
      for (double top : {1.0, 5e4}) {
        if (rows * cols == 1) continue;  // a scalar is never scaled (see above)
        std::uniform_int_distribution<long> row(0, rows - 1), col(0, cols - 1);
        std::uniform_real_distribution<double> val(-top, top);
        const long count = std::uniform_int_distribution<long>(1, 400)(rng);
        std::vector<triplet<double>> t;
        for (long k = 0; k < count; ++k) t.push_back({val(rng), col(rng), row(rng)});
        const zo_obj v(type_sparse_double, new sparse_matrix<double>(t, rows, cols));
        const auto& m = v.get<sparse_matrix<double>>();
        global::fmt_fl = {0, 0};
        const std::string got = internal::obj2str(v, 80);
        global::fmt_fl = {0, 256};
        char buf[128];
        std::snprintf(buf, sizeof buf, "  %ldx%ld sparse double\n", rows, cols);
        std::string want = buf;
        const double scale = internal::get_scale_float(m, -3.0, 3.0);
        if (scale != 1.0) want += zorvat::str_format("  %.1e *", scale) + "\n";
        const int rw = std::snprintf(nullptr, 0, "%ld", rows), cw = std::snprintf(nullptr, 0, "%ld", cols);
        for (long j = 0; j < cols; ++j)
          for (long k = m.jc()[j]; k < m.jce()[j]; ++k) {
            std::snprintf(buf, sizeof buf, "  (%*ld,%*ld) %9.4f\n", rw, m.ir()[k] + 1, cw, j + 1, m.pr()[k] / scale);
            want += buf;
          }
        ASSERT_EQ(got, want) << rows << "x" << cols << " with " << count << " entries";
      }
}

TEST(SparseScale, LowerAndUpperBoundsAreExponents) {
  sparse_matrix<double> small(std::vector<triplet<double>>{{1e-5, 0, 0}}, 2, 1);
  sparse_matrix<double> big(std::vector<triplet<double>>{{-2.5e7, 0, 0}, {1.0, 0, 1}}, 2, 1);
  EXPECT_EQ(internal::get_scale_float(small, -3.0, 3.0), 1.0);  // magnitudes start at 1
  EXPECT_EQ(internal::get_scale_float(big, -3.0, 3.0), 1e7);
  EXPECT_EQ(internal::get_scale_float(big, -3.0, 8.0), 1.0);
}

}  // namespace
}  // namespace zorvat_test
