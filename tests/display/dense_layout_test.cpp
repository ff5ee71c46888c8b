// Whole texts of obj2str for dense values: one table per display rule.
#include <cmath>
#include <complex>
#include <functional>
#include <limits>
#include <string>

#include "display/display.h"
#include "display_test_util.h"

namespace zorvat {
namespace {

using zorvat_test::array_value;
using cd = std::complex<double>;
using cf = std::complex<float>;
const double nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();

struct layout_case {
  const char* name;
  std::function<zo_obj()> make;
  long width;
  unsigned format;
  bool loose;
  std::string expected;
};

std::ostream& operator<<(std::ostream& os, const layout_case& c) { return os << c.name; }

class Layout : public zorvat_test::display_format_guard,
               public ::testing::WithParamInterface<layout_case> {};

TEST_P(Layout, PrintsExactText) {
  const layout_case& c = GetParam();
  set_format(c.format, c.loose);
  EXPECT_EQ(internal::obj2str(c.make(), c.width), c.expected);
}

zo_obj row(std::initializer_list<double> v) { return array_value<double>(type_double, {1, long(v.size())}, v); }

INSTANTIATE_TEST_SUITE_P(
    Header, Layout,
    ::testing::Values(layout_case{"Loose", [] { return zo_obj(1.5); }, 80, 0, true,
                                  "\n  1x1 double\n\n    1.5000\n\n"},
                      layout_case{"Compact", [] { return zo_obj(1.5); }, 80, 0, false, "  1x1 double\n    1.5000\n"},
                      layout_case{"EmptyDoubleShowsOnlyHeader",
                                  [] { return array_value<double>(type_double, {0, 0}, {}); }, 80, 0, true,
                                  "\n  empty 0x0 double\n\n"},
                      layout_case{"EmptyColumnsShowOnlyHeader",
                                  [] { return array_value<double>(type_double, {0, 5}, {}); }, 80, 0, true,
                                  "\n  empty 0x5 double\n\n"}),
    [](const auto& i) { return std::string(i.param.name); });

INSTANTIATE_TEST_SUITE_P(
    IntegerPath, Layout,
    ::testing::Values(
        layout_case{"WholeDoubles", [] { return row({1, 2, 3}); }, 80, 0, true, "\n  1x3 double\n\n   1   2   3\n\n"},
        layout_case{"FieldWidthFromDigits", [] { return row({5, -123}); }, 80, 0, true,
                    "\n  1x2 double\n\n     5  -123\n\n"},
        layout_case{"WholeSingles", [] { return array_value<float>(type_single, {2, 1}, {2.0f, 40.0f}); }, 80, 2,
                    false, "  2x1 single\n    2\n   40\n"},
        layout_case{"BillionStaysDouble", [] { return row({1e9, 1}); }, 80, 0, true,
                    "\n  1x2 double\n\n  1.0e+09 *\n\n    1.0000    0.0000\n\n"},
        layout_case{"NaNStaysDouble", [] { return row({nan, 1}); }, 80, 0, true,
                    "\n  1x2 double\n\n       NaN    1.0000\n\n"},
        layout_case{"UnsupportedFormatStillDecimal", [] { return row({1, 2}); }, 80, 5, true,
                    "\n  1x2 double\n\n   1   2\n\n"}),
    [](const auto& i) { return std::string(i.param.name); });

INSTANTIATE_TEST_SUITE_P(
    FixedAndExponent, Layout,
    ::testing::Values(
        layout_case{"BelowThousand", [] { return zo_obj(999.5); }, 80, 0, true, "\n  1x1 double\n\n  999.5000\n\n"},
        layout_case{"ThousandSwitches", [] { return zo_obj(1000.5); }, 80, 0, true,
                    "\n  1x1 double\n\n  1.0005e+03\n\n"},
        layout_case{"NegativeSwitches", [] { return zo_obj(-1000.5); }, 80, 0, true,
                    "\n  1x1 double\n\n  -1.0005e+03\n\n"},
        layout_case{"InfinitySwitches", [] { return zo_obj(inf); }, 80, 0, true, "\n  1x1 double\n\n        inf\n\n"},
        layout_case{"NegativeNaN", [] { return zo_obj(-nan); }, 80, 0, true, "\n  1x1 double\n\n      -NaN\n\n"},
        layout_case{"LongFixed", [] { return zo_obj(M_PI); }, 80, 1, true,
                    "\n  1x1 double\n\n   3.141592653589793\n\n"},
        layout_case{"LongFixedLargeScalar", [] { return zo_obj(1234.5); }, 80, 1, false,
                    "  1x1 double\n  1.234500000000000e+03\n"},
        layout_case{"ShortExponentNoScale", [] { return row({1500.5, -2.25}); }, 80, 2, true,
                    "\n  1x2 double\n\n   1.5005e+03  -2.2500e+00\n\n"},
        layout_case{"LongExponent", [] { return zo_obj(0.1); }, 80, 3, false,
                    "  1x1 double\n     1.000000000000000e-01\n"},
        layout_case{"SingleLongFixed", [] { return zo_obj(0.5f); }, 80, 1, false, "  1x1 single\n   0.5000000\n"},
        layout_case{"SingleLargeScalar", [] { return zo_obj(1500.5f); }, 80, 1, false,
                    "  1x1 single\n  1.5005000e+03\n"},
        layout_case{"SingleLongExponent", [] { return zo_obj(0.5f); }, 80, 3, false,
                    "  1x1 single\n   5.0000000e-01\n"}),
    [](const auto& i) { return std::string(i.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Scale, Layout,
    ::testing::Values(
        layout_case{"Thousand", [] { return row({1000.5, 2}); }, 80, 0, true,
                    "\n  1x2 double\n\n  1.0e+03 *\n\n    1.0005    0.0020\n\n"},
        layout_case{"CompactScale", [] { return row({1000.5, 2}); }, 80, 1, false,
                    "  1x2 double\n  1.0e+03 *\n   1.000500000000000   0.002000000000000\n"},
        layout_case{"BelowThousandNoScale", [] { return row({999, 0.5}); }, 80, 0, true,
                    "\n  1x2 double\n\n  999.0000    0.5000\n\n"},
        layout_case{"InfinitySkipped", [] { return row({inf, 1.5}); }, 80, 0, true,
                    "\n  1x2 double\n\n       inf    1.5000\n\n"},
        layout_case{"ComplexHundred",
                    [] { return array_value<cd>(type_complex_double, {1, 2}, {cd(150, 1), cd(2, 0)}); }, 80, 0,
                    true, "\n  1x2 complex double\n\n  1.0e+02 *\n\n   1.5000 + 0.0100i   0.0200 + 0.0000i\n\n"},
        layout_case{"SingleThousand", [] { return array_value<float>(type_single, {1, 2}, {2500.5f, 0.5f}); },
                    80, 0, false, "  1x2 single\n  1.0e+03 *\n    2.5005    0.0005\n"}),
    [](const auto& i) { return std::string(i.param.name); });

const std::string pages_1x20 =
    "\n  1x20 double\n\n"
    "  列 1 -- 8\n\n"
    "    1.2500    2.2500    3.2500    4.2500    5.2500    6.2500    7.2500    8.2500\n\n"
    "  列 9 -- 16\n\n"
    "    9.2500   10.2500   11.2500   12.2500   13.2500   14.2500   15.2500   16.2500\n\n"
    "  列 17 -- 20\n\n"
    "   17.2500   18.2500   19.2500   20.2500\n\n";

INSTANTIATE_TEST_SUITE_P(
    Pages, Layout,
    ::testing::Values(
        layout_case{"ThreePages",
                    [] {
                      return row({1.25, 2.25, 3.25, 4.25, 5.25, 6.25, 7.25, 8.25, 9.25, 10.25, 11.25, 12.25, 13.25,
                                  14.25, 15.25, 16.25, 17.25, 18.25, 19.25, 20.25});
                    },
                    80, 0, true, pages_1x20},
        layout_case{"DefaultWidth",
                    [] {
                      return row({1.25, 2.25, 3.25, 4.25, 5.25, 6.25, 7.25, 8.25, 9.25, 10.25, 11.25, 12.25, 13.25,
                                  14.25, 15.25, 16.25, 17.25, 18.25, 19.25, 20.25});
                    },
                    -1, 0, true, pages_1x20},
        layout_case{"LastPageOneColumn",
                    [] { return row({0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.5, 0.25}); }, 80, 0, false,
                    "  1x9 double\n  列 1 -- 8\n"
                    "    0.5000    0.5000    0.5000    0.5000    0.5000    0.5000    0.5000    0.5000\n"
                    "  列 9\n    0.2500\n"},
        layout_case{"NarrowConsoleOneColumn", [] { return row({0.5, -1.5}); }, 19, 0, true,
                    "\n  1x2 double\n\n  列 1\n\n    0.5000\n\n  列 2\n\n   -1.5000\n\n"},
        layout_case{"TwoColumnsAtTwenty", [] { return row({0.5, -1.5, 2.5}); }, 20, 0, false,
                    "  1x3 double\n  列 1 -- 2\n    0.5000   -1.5000\n  列 3\n    2.5000\n"},
        layout_case{"IntegerPages",
                    [] { return array_value<int>(type_int32, {2, 6}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}); }, 20,
                    0, true,
                    "\n  2x6 int32\n\n  列 1 -- 4\n\n    1    3    5    7\n    2    4    6    8\n\n"
                    "  列 5 -- 6\n\n    9   11\n   10   12\n\n"},
        layout_case{"LogicalNarrow", [] { return array_value<bool>(type_logical, {1, 2}, {true, false}); }, 7, 0,
                    false, "  1x2 logical\n  列 1\n   1\n  列 2\n   0\n"}),
    [](const auto& i) { return std::string(i.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Slices, Layout,
    ::testing::Values(
        layout_case{"ThreeSlices",
                    [] { return array_value<int>(type_int32, {2, 2, 3}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}); },
                    80, 0, true,
                    "\n  2x2x3 int32\n\n(:,:,1) = \n\n    1    3\n    2    4\n\n(:,:,2) = \n\n    5    7\n    6    8\n\n"
                    "(:,:,3) = \n\n    9   11\n   10   12\n\n"},
        layout_case{"FourDimensionsCompact",
                    [] { return array_value<short>(type_int16, {1, 1, 2, 2}, {1, 2, 3, 4}); }, 80, 0, false,
                    "  1x1x2x2 int16\n(:,:,1,1) = \n   1\n(:,:,2,1) = \n   2\n(:,:,1,2) = \n   3\n(:,:,2,2) = \n   4\n"},
        layout_case{"ScaleAboveEverySlice",
                    [] { return array_value<double>(type_double, {1, 1, 2}, {1000.5, 2.5}); }, 80, 0, false,
                    "  1x1x2 double\n(:,:,1) = \n  1.0e+03 *\n    1.0005\n(:,:,2) = \n  1.0e+03 *\n    0.0025\n"}),
    [](const auto& i) { return std::string(i.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Complex, Layout,
    ::testing::Values(
        layout_case{"ScalarNeverSwitches", [] { return zo_obj(cd(150, 1)); }, 80, 0, false,
                    "  1x1 complex double\n 150.0000 + 1.0000i\n"},
        layout_case{"NegativeImaginary", [] { return zo_obj(cd(1, -2)); }, 80, 0, false,
                    "  1x1 complex double\n   1.0000 - 2.0000i\n"},
        layout_case{"NaNParts", [] { return zo_obj(cd(nan, nan)); }, 80, 0, false,
                    "  1x1 complex double\n      NaN +    NaNi\n"},
        layout_case{"SingleLongFixed", [] { return zo_obj(cf(0.5f, 0.25f)); }, 80, 1, false,
                    "  1x1 complex single\n  0.5000000 + 0.2500000i\n"},
        layout_case{"ShortExponent", [] { return zo_obj(cd(-0.5, 3)); }, 80, 2, false,
                    "  1x1 complex double\n  -5.0000e-01 + 3.0000e+00i\n"},
        layout_case{"ComplexPages",
                    [] { return array_value<cd>(type_complex_double, {1, 3}, {cd(1, 1), cd(2, 2), cd(3, 3)}); }, 40,
                    0, false,
                    "  1x3 complex double\n  列 1 -- 2\n   1.0000 + 1.0000i   2.0000 + 2.0000i\n  列 3\n"
                    "   3.0000 + 3.0000i\n"}),
    [](const auto& i) { return std::string(i.param.name); });

INSTANTIATE_TEST_SUITE_P(
    LogicalAndChar, Layout,
    ::testing::Values(
        layout_case{"Logical", [] { return array_value<bool>(type_logical, {1, 3}, {true, false, true}); }, 80, 0,
                    true, "\n  1x3 logical\n\n   1   0   1\n\n"},
        layout_case{"CharRows", [] { return array_value<char>(type_char, {2, 3}, {'a', 'd', 'b', 'e', 'c', 'f'}); },
                    80, 0, true, "\n  2x3 char\n\n    'abc'\n    'def'\n\n"},
        layout_case{"CharEscapes",
                    [] {
                      return array_value<char>(type_char, {1, 10}, {'x', 0, 7, 8, 9, 10, 11, 12, 13, 'y'});
                    },
                    80, 0, false, "  1x10 char\n    'x \\a\\b\\t\\n\\v\\f\\ry'\n"},
        layout_case{"CharSlices", [] { return array_value<char>(type_char, {1, 2, 2}, {'a', 'b', 'c', 'd'}); }, 80,
                    0, true, "\n  1x2x2 char\n\n(:,:,1) = \n\n    'ab'\n\n(:,:,2) = \n\n    'cd'\n\n"},
        layout_case{"EmptyChar", [] { return zo_obj("", type_char); }, 80, 0, true, "\n  empty 1x0 char\n\n"},
        layout_case{"EmptyInteger", [] { return array_value<int>(type_int32, {3, 0}, {}); }, 80, 0, false,
                    "  empty 3x0 int32\n"}),
    [](const auto& i) { return std::string(i.param.name); });

INSTANTIATE_TEST_SUITE_P(
    SignFormat, Layout,
    ::testing::Values(
        layout_case{"Doubles", [] { return array_value<double>(type_double, {2, 3}, {1.5, nan, -2, 3, 0, -0.5}); },
                    80, 9, true, "\n  2x3 double\n\n+- \n +-\n\n"},
        layout_case{"WholeValuesCompact", [] { return row({3, -1, 0}); }, 80, 9, false, "  1x3 double\n+- \n"},
        layout_case{"AllColumnsOnOnePage",
                    [] { return row({1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, -1.5}); }, 20, 9, false,
                    "  1x11 double\n++++++++++-\n"},
        layout_case{"Unsigned", [] { return array_value<unsigned char>(type_uint8, {1, 2}, {0, 200}); }, 80, 9,
                    false, "  1x2 uint8\n +\n"}),
    [](const auto& i) { return std::string(i.param.name); });

INSTANTIATE_TEST_SUITE_P(
    Notices, Layout,
    ::testing::Values(
        layout_case{"FormatWithoutRendering", [] { return zo_obj(0.5); }, 80, 5, true,
                    "\n  1x1 double\n\n\n    (该类型变量暂不支持的以该格式输出)\n"},
        layout_case{"HexOfFloating", [] { return zo_obj(cd(0.5, 1)); }, 80, 8, false,
                    "  1x1 complex double\n    (该类型变量暂不支持的以该格式输出)\n"},
        layout_case{"FormatAboveNine", [] { return zo_obj(0.5f); }, 80, 12, false,
                    "  1x1 single\n    (该类型变量暂不支持的以该格式输出)\n"},
        layout_case{"KindWithoutRenderer", [] { return zo_obj(); }, 80, 0, true,
                    "\n  1x1 void\n\n  (暂不支持该类数据的输出)\n\n"}),
    [](const auto& i) { return std::string(i.param.name); });

// Every integer type in decimal and in hexadecimal (widened to int, 64-bit
// types as they are), over its extreme values.
struct integer_case {
  const char* name;
  std::function<zo_obj()> make;
  const char* decimal;
  const char* hex;
};

class IntegerTypes : public zorvat_test::display_format_guard,
                     public ::testing::WithParamInterface<integer_case> {};

TEST_P(IntegerTypes, DecimalAndHexadecimal) {
  const integer_case& c = GetParam();
  const zo_obj v = c.make();
  const std::string header = "  " + v.brief_type_str() + "\n";
  set_format(0, false);
  EXPECT_EQ(internal::obj2str(v, 80), header + c.decimal + "\n");
  set_format(8, false);
  EXPECT_EQ(internal::obj2str(v, 80), header + c.hex + "\n");
}

template <class T>
zo_obj extremes(zo_type kind, T third) {
  return array_value<T>(kind, {1, 3}, {std::numeric_limits<T>::min(), third, std::numeric_limits<T>::max()});
}

INSTANTIATE_TEST_SUITE_P(
    AllWidths, IntegerTypes,
    ::testing::Values(
        integer_case{"int8", [] { return extremes<signed char>(type_int8, 0); }, "  -128     0   127",
                     "  ffffff80  00  7f"},
        integer_case{"int16", [] { return extremes<short>(type_int16, 0); }, "  -32768       0   32767",
                     "  ffff8000  0000  7fff"},
        integer_case{"int32", [] { return extremes<int>(type_int32, 0); },
                     "  -2147483648            0   2147483647", "  80000000  00000000  7fffffff"},
        integer_case{"int64", [] { return extremes<long>(type_int64, 0); },
                     "  -9223372036854775808                     0   9223372036854775807",
                     "  8000000000000000  0000000000000000  7fffffffffffffff"},
        integer_case{"uint8", [] { return extremes<unsigned char>(type_uint8, 7); }, "     0     7   255",
                     "  00  07  ff"},
        integer_case{"uint16", [] { return extremes<unsigned short>(type_uint16, 7); }, "       0       7   65535",
                     "  0000  0007  ffff"},
        integer_case{"uint32", [] { return extremes<unsigned int>(type_uint32, 7); },
                     "            0            7   4294967295", "  00000000  00000007  ffffffff"},
        integer_case{"uint64", [] { return extremes<unsigned long>(type_uint64, 7); },
                     "                      0                      7   18446744073709551615",
                     "  0000000000000000  0000000000000007  ffffffffffffffff"}),
    [](const auto& i) { return std::string(i.param.name); });

}  // namespace
}  // namespace zorvat
