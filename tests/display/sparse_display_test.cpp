// Whole texts of obj2str for sparse matrices: one table per display rule.
#include <complex>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "display/display.h"
#include "display/display_sparse.h"
#include "display_test_util.h"
#include "sparse/sparse_matrix.h"

namespace zorvat {
namespace {

using cd = std::complex<double>;

struct sparse_case {
  const char* name;
  std::function<zo_obj()> make;
  unsigned format;
  bool loose;
  std::string expected;
};

std::ostream& operator<<(std::ostream& os, const sparse_case& c) { return os << c.name; }

class SparseLayout : public zorvat_test::display_format_guard,
                     public ::testing::WithParamInterface<sparse_case> {};

TEST_P(SparseLayout, PrintsExactText) {
  const sparse_case& c = GetParam();
  set_format(c.format, c.loose);
  EXPECT_EQ(internal::obj2str(c.make(), 80), c.expected);
}

template <class T>
zo_type kind_of();
template <> zo_type kind_of<double>() { return type_sparse_double; }
template <> zo_type kind_of<float>() { return type_sparse_single; }
template <> zo_type kind_of<cd>() { return type_sparse_complex_double; }
template <> zo_type kind_of<bool>() { return type_sparse_logical; }

// Entries given as {value, row, col} (zero-based).
template <class T>
std::function<zo_obj()> sp(long m, long n, std::vector<std::tuple<T, long, long>> entries) {
  return [=] {
    std::vector<triplet<T>> t;
    for (const auto& [v, r, c] : entries) t.push_back({v, c, r});
    return zo_obj(kind_of<T>(), new sparse_matrix<T>(t, m, n));
  };
}

auto case_name = [](const auto& i) { return std::string(i.param.name); };

INSTANTIATE_TEST_SUITE_P(
    Shapes, SparseLayout,
    ::testing::Values(
        sparse_case{"AllZeroNotice", [] { return zo_obj(type_sparse_double, new sparse_matrix<double>(3, 3, 0)); }, 0,
                    true, "\n  3x3 sparse double\n\n  (全 0 矩阵)\n\n"},
        sparse_case{"AllZeroCompact", [] { return zo_obj(type_sparse_logical, new sparse_matrix<bool>(2, 2, 4)); },
                    0, false, "  2x2 sparse logical\n  (全 0 矩阵)\n"},
        sparse_case{"NoRowsPrintsNothing", [] { return zo_obj(type_sparse_double, new sparse_matrix<double>(0, 5, 0)); },
                    0, true, "\n  empty 0x5 sparse double\n\n\n"},
        sparse_case{"NoRowsCompact", [] { return zo_obj(type_sparse_double, new sparse_matrix<double>(0, 5, 0)); },
                    0, false, "  empty 0x5 sparse double\n"}),
    case_name);

INSTANTIATE_TEST_SUITE_P(
    IndexWidths, SparseLayout,
    ::testing::Values(
        sparse_case{"OneDigit", sp<double>(3, 2, {{1.5, 1, 0}, {-2.25, 2, 1}}), 0, false,
                    "  3x2 sparse double\n  (2,1)    1.5000\n  (3,2)   -2.2500\n"},
        sparse_case{"TwoDigitRows", sp<double>(12, 3, {{0.5, 11, 0}, {0.25, 0, 2}}), 0, false,
                    "  12x3 sparse double\n  (12,1)    0.5000\n  ( 1,3)    0.2500\n"},
        sparse_case{"ThreeDigitRowsOneDigitColumns", sp<double>(100, 7, {{0.5, 4, 0}, {0.75, 99, 6}}), 0, false,
                    "  100x7 sparse double\n  (  5,1)    0.5000\n  (100,7)    0.7500\n"},
        sparse_case{"ThreeDigitColumns", sp<double>(2, 150, {{0.5, 0, 8}, {0.75, 1, 149}}), 0, false,
                    "  2x150 sparse double\n  (1,  9)    0.5000\n  (2,150)    0.7500\n"}),
    case_name);

const double nan = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    ScaleAndFormats, SparseLayout,
    ::testing::Values(
        sparse_case{"ScaleLine", sp<double>(2, 1, {{1500.0, 0, 0}, {2.0, 1, 0}}), 0, true,
                    "\n  2x1 sparse double\n\n  1.0e+03 *\n\n  (1,1)    1.5000\n  (2,1)    0.0020\n\n"},
        sparse_case{"ScaleLineLongFormat", sp<double>(2, 1, {{25000.0, 0, 0}, {2.5, 1, 0}}), 1, false,
                    "  2x1 sparse double\n  1.0e+04 *\n  (1,1)   2.500000000000000\n  (2,1)   0.000250000000000\n"},
        sparse_case{"BelowThousandNoScale", sp<double>(2, 1, {{999.0, 0, 0}, {0.5, 1, 0}}), 0, false,
                    "  2x1 sparse double\n  (1,1)  999.0000\n  (2,1)    0.5000\n"},
        sparse_case{"ComplexBarIsThousandToo", sp<cd>(2, 1, {{cd(150, 1), 0, 0}, {cd(1, -2), 1, 0}}), 0, false,
                    "  2x1 sparse complex double\n  (1,1) 150.0000 + 1.0000i\n  (2,1)   1.0000 - 2.0000i\n"},
        sparse_case{"ScalarNeverScaled", sp<double>(1, 1, {{1500.0, 0, 0}}), 0, false,
                    "  1x1 sparse double\n  (1,1)  1.5000e+03\n"},
        sparse_case{"ExponentFormatNoScale", sp<double>(2, 1, {{1500.0, 0, 0}, {2.0, 1, 0}}), 2, false,
                    "  2x1 sparse double\n  (1,1)   1.5000e+03\n  (2,1)   2.0000e+00\n"},
        sparse_case{"NaNStaysLowerCase", sp<double>(2, 1, {{nan, 0, 0}, {1.0, 1, 0}}), 0, false,
                    "  2x1 sparse double\n  (1,1)       nan\n  (2,1)    1.0000\n"},
        sparse_case{"Signs", sp<double>(3, 1, {{3.0, 0, 0}, {-1.0, 1, 0}, {1.0, 2, 0}, {-1.0, 2, 0}}), 9, false,
                    "  3x1 sparse double\n  (1,1)+\n  (2,1)-\n  (3,1) \n"},
        sparse_case{"UnsupportedFormatNotice", sp<double>(2, 1, {{1.0, 0, 0}}), 5, true,
                    "\n  2x1 sparse double\n\n    (该类型变量暂不支持的以该格式输出)\n\n"},
        sparse_case{"Single", sp<float>(2, 2, {{0.5f, 1, 1}}), 0, false, "  2x2 sparse single\n  (2,2)    0.5000\n"},
        sparse_case{"Logical", sp<bool>(2, 2, {{true, 0, 1}}), 5, false, "  2x2 sparse logical\n  (1,2)   1\n"}),
    case_name);

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
  global::fmt_fl = {0, 256};
}

TEST(SparseScale, LowerAndUpperBoundsAreExponents) {
  sparse_matrix<double> small(std::vector<triplet<double>>{{1e-5, 0, 0}}, 2, 1);
  sparse_matrix<double> big(std::vector<triplet<double>>{{-2.5e7, 0, 0}, {1.0, 0, 1}}, 2, 1);
  EXPECT_EQ(internal::get_scale_float(small, -3.0, 3.0), 1.0);  // magnitudes start at 1
  EXPECT_EQ(internal::get_scale_float(big, -3.0, 3.0), 1e7);
  EXPECT_EQ(internal::get_scale_float(big, -3.0, 8.0), 1.0);
}

}  // namespace
}  // namespace zorvat
