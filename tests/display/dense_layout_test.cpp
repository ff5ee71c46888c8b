// Whole texts of obj2str for dense values: one table per display rule.
#include <cmath>
#include <complex>
#include <limits>
#include <sstream>
#include <string>

#include "display/display.h"
#include "display_test_util.h"

namespace zorvat_test {

// Every row through each of the four sinks: obj2str, obj2console to a
// stream draining after every insertion, and the host's two streams.
TEST_P(Layout, PrintsExactText) {
  const layout_case& c = GetParam();
  set_format(c.format, c.loose);
  const zorvat::zo_obj v = c.make();
  EXPECT_EQ(zorvat::internal::obj2str(v, c.width), c.expected);
  std::ostringstream os;
  zorvat::internal::obj2console(os, v, c.width, 0);
  EXPECT_EQ(os.str(), c.expected);
  const host_console console;
  zorvat::internal::obj2console_safe<1>(v, c.width, 16);
  zorvat::internal::obj2console_safe<2>(v, c.width, 1 << 20);
  EXPECT_EQ(console.out(), c.expected);
  EXPECT_EQ(console.err(), c.expected);
}

namespace {

using namespace zorvat;
using cd = std::complex<double>;
using cf = std::complex<float>;
const double nan = std::numeric_limits<double>::quiet_NaN();
const double inf = std::numeric_limits<double>::infinity();

zo_obj row(std::initializer_list<double> v) { return arr<double>({1, long(v.size())}, v); }

const layout_case header_cases[] = {
    {"Compact", [] { return zo_obj(1.5); }, 80, 0, false, "  1x1 double\n    1.5000\n"},
    {"EmptyDoubleShowsOnlyHeader", [] { return arr<double>({0, 0}); }, 80, 0, true, "\n  empty 0x0 double\n\n"},
    {"EmptyChar", [] { return zo_obj("", type_char); }, 80, 0, true, "\n  empty 1x0 char\n\n"},
    {"EmptyInteger", [] { return arr<int>({3, 0}); }, 80, 0, false, "  empty 3x0 int32\n"},
};
INSTANTIATE_TEST_SUITE_P(Header, Layout, ::testing::ValuesIn(header_cases), case_name);

// Whole doubles below 1e9 print as integers; anything else stays double.
const layout_case integer_path_cases[] = {
    {"WholeDoubles", [] { return row({1, 2, 3}); }, 80, 0, true, "\n  1x3 double\n\n   1   2   3\n\n"},
    {"WholeSingles", [] { return arr<float>({2, 1}, {2, 40}); }, 80, 2, false, "  2x1 single\n    2\n   40\n"},
    {"BillionStaysDouble", [] { return row({1e9, 1}); }, 80, 0, true,
     "\n  1x2 double\n\n  1.0e+09 *\n\n    1.0000    0.0000\n\n"},
    {"NaNStaysDouble", [] { return row({nan, 1}); }, 80, 0, true, "\n  1x2 double\n\n       NaN    1.0000\n\n"},
    {"UnsupportedFormatStillDecimal", [] { return row({1, 2}); }, 80, 5, true, "\n  1x2 double\n\n   1   2\n\n"},
};
INSTANTIATE_TEST_SUITE_P(IntegerPath, Layout, ::testing::ValuesIn(integer_path_cases), case_name);

const layout_case fixed_and_exponent_cases[] = {
    {"BelowThousand", [] { return zo_obj(999.5); }, 80, 0, true, "\n  1x1 double\n\n  999.5000\n\n"},
    {"ThousandSwitches", [] { return zo_obj(1000.5); }, 80, 0, true, "\n  1x1 double\n\n  1.0005e+03\n\n"},
    {"InfinitySwitches", [] { return zo_obj(inf); }, 80, 0, true, "\n  1x1 double\n\n        inf\n\n"},
    {"NegativeNaN", [] { return zo_obj(-nan); }, 80, 0, true, "\n  1x1 double\n\n      -NaN\n\n"},
    {"LongFixed", [] { return zo_obj(M_PI); }, 80, 1, true, "\n  1x1 double\n\n   3.141592653589793\n\n"},
    {"LongFixedLargeScalar", [] { return zo_obj(1234.5); }, 80, 1, false, "  1x1 double\n  1.234500000000000e+03\n"},
    {"ShortExponentNoScale", [] { return row({1500.5, -2.25}); }, 80, 2, true,
     "\n  1x2 double\n\n   1.5005e+03  -2.2500e+00\n\n"},
    {"LongExponent", [] { return zo_obj(0.1); }, 80, 3, false, "  1x1 double\n     1.000000000000000e-01\n"},
    {"SingleLongFixed", [] { return zo_obj(0.5f); }, 80, 1, false, "  1x1 single\n   0.5000000\n"},
    {"SingleLargeScalar", [] { return zo_obj(1500.5f); }, 80, 1, false, "  1x1 single\n  1.5005000e+03\n"},
    {"SingleLongExponent", [] { return zo_obj(0.5f); }, 80, 3, false, "  1x1 single\n   5.0000000e-01\n"},
};
INSTANTIATE_TEST_SUITE_P(FixedAndExponent, Layout, ::testing::ValuesIn(fixed_and_exponent_cases), case_name);

// The common power of ten: from a finite magnitude of 1000 up (100 for
// complex), above every slice, in every fixed format.
const layout_case scale_cases[] = {
    {"Thousand", [] { return row({1000.5, 2}); }, 80, 0, true,
     "\n  1x2 double\n\n  1.0e+03 *\n\n    1.0005    0.0020\n\n"},
    {"CompactScale", [] { return row({1000.5, 2}); }, 80, 1, false,
     "  1x2 double\n  1.0e+03 *\n   1.000500000000000   0.002000000000000\n"},
    {"BelowThousandNoScale", [] { return row({999, 0.5}); }, 80, 0, true,
     "\n  1x2 double\n\n  999.0000    0.5000\n\n"},
    {"InfinitySkipped", [] { return row({inf, 1.5}); }, 80, 0, true, "\n  1x2 double\n\n       inf    1.5000\n\n"},
    {"ComplexHundred", [] { return arr<cd>({1, 2}, {cd(150, 1), cd(2, 0)}); }, 80, 0, true,
     "\n  1x2 complex double\n\n  1.0e+02 *\n\n   1.5000 + 0.0100i   0.0200 + 0.0000i\n\n"},
    {"SingleThousand", [] { return arr<float>({1, 2}, {2500.5f, 0.5f}); }, 80, 0, false,
     "  1x2 single\n  1.0e+03 *\n    2.5005    0.0005\n"},
    {"ScaleAboveEverySlice", [] { return arr<double>({1, 1, 2}, {1000.5, 2.5}); }, 80, 0, false,
     "  1x1x2 double\n(:,:,1) = \n  1.0e+03 *\n    1.0005\n(:,:,2) = \n  1.0e+03 *\n    0.0025\n"},
};
INSTANTIATE_TEST_SUITE_P(Scale, Layout, ::testing::ValuesIn(scale_cases), case_name);

zo_obj twenty() {
  auto* m = new matrix<double>(1, 20);
  for (long k = 0; k < 20; ++k) (*m)(0, k) = static_cast<double>(k) + 1.25;
  return zo_obj(type_double, m);
}

// Columns per page from the console width (10 characters a column here).
const layout_case page_cases[] = {
    {"ThreePages", twenty, 80, 0, true,
     "\n  1x20 double\n\n"
     "  列 1 -- 8\n\n"
     "    1.2500    2.2500    3.2500    4.2500    5.2500    6.2500    7.2500    8.2500\n\n"
     "  列 9 -- 16\n\n"
     "    9.2500   10.2500   11.2500   12.2500   13.2500   14.2500   15.2500   16.2500\n\n"
     "  列 17 -- 20\n\n"
     "   17.2500   18.2500   19.2500   20.2500\n\n"},
    {"NarrowConsoleOneColumn", [] { return row({0.5, -1.5}); }, 19, 0, true,
     "\n  1x2 double\n\n  列 1\n\n    0.5000\n\n  列 2\n\n   -1.5000\n\n"},
    {"TwoColumnsAtTwenty", [] { return row({0.5, -1.5, 2.5}); }, 20, 0, false,
     "  1x3 double\n  列 1 -- 2\n    0.5000   -1.5000\n  列 3\n    2.5000\n"},
    {"IntegerPages", [] { return arr<int>({2, 6}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}); }, 20, 0, true,
     "\n  2x6 int32\n\n  列 1 -- 4\n\n    1    3    5    7\n    2    4    6    8\n\n"
     "  列 5 -- 6\n\n    9   11\n   10   12\n\n"},
    {"LogicalNarrow", [] { return arr<bool>({1, 2}, {true, false}); }, 7, 0, false,
     "  1x2 logical\n  列 1\n   1\n  列 2\n   0\n"},
    {"ComplexPages", [] { return arr<cd>({1, 3}, {cd(1, 1), cd(2, 2), cd(3, 3)}); }, 40, 0, false,
     "  1x3 complex double\n  列 1 -- 2\n   1.0000 + 1.0000i   2.0000 + 2.0000i\n  列 3\n   3.0000 + 3.0000i\n"},
};
INSTANTIATE_TEST_SUITE_P(Pages, Layout, ::testing::ValuesIn(page_cases), case_name);

const layout_case slice_cases[] = {
    {"ThreeSlices", [] { return arr<int>({2, 2, 3}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}); }, 80, 0, true,
     "\n  2x2x3 int32\n\n(:,:,1) = \n\n    1    3\n    2    4\n\n(:,:,2) = \n\n    5    7\n    6    8\n\n"
     "(:,:,3) = \n\n    9   11\n   10   12\n\n"},
    {"FourDimensionsCompact", [] { return arr<short>({1, 1, 2, 2}, {1, 2, 3, 4}); }, 80, 0, false,
     "  1x1x2x2 int16\n(:,:,1,1) = \n   1\n(:,:,2,1) = \n   2\n(:,:,1,2) = \n   3\n(:,:,2,2) = \n   4\n"},
    {"ViewOfOuterColumns", [] { return outer_columns<double>({0.5, 1, 2, 3, 4, 5.25}); }, 80, 0, false,
     "  2x2 double\n    0.5000    4.0000\n    1.0000    5.2500\n"},
    {"WholeViewOfOuterColumns", [] { return outer_columns<double>({1, 2, 3, 4, 5, 6}); }, 80, 0, false,
     "  2x2 double\n   1   5\n   2   6\n"},
};
INSTANTIATE_TEST_SUITE_P(Slices, Layout, ::testing::ValuesIn(slice_cases), case_name);

const layout_case complex_cases[] = {
    {"ScalarNeverSwitches", [] { return zo_obj(cd(150, 1)); }, 80, 0, false,
     "  1x1 complex double\n 150.0000 + 1.0000i\n"},
    {"NegativeImaginary", [] { return zo_obj(cd(1, -2)); }, 80, 0, false,
     "  1x1 complex double\n   1.0000 - 2.0000i\n"},
    {"NaNParts", [] { return zo_obj(cd(nan, nan)); }, 80, 0, false, "  1x1 complex double\n      NaN +    NaNi\n"},
    {"SingleLongFixed", [] { return zo_obj(cf(0.5f, 0.25f)); }, 80, 1, false,
     "  1x1 complex single\n  0.5000000 + 0.2500000i\n"},
    {"ShortExponent", [] { return zo_obj(cd(-0.5, 3)); }, 80, 2, false,
     "  1x1 complex double\n  -5.0000e-01 + 3.0000e+00i\n"},
};
INSTANTIATE_TEST_SUITE_P(Complex, Layout, ::testing::ValuesIn(complex_cases), case_name);

const layout_case logical_and_char_cases[] = {
    {"Logical", [] { return arr<bool>({1, 3}, {true, false, true}); }, 80, 0, true,
     "\n  1x3 logical\n\n   1   0   1\n\n"},
    {"CharRows", [] { return arr<char>({2, 3}, {'a', 'd', 'b', 'e', 'c', 'f'}); }, 80, 0, true,
     "\n  2x3 char\n\n    'abc'\n    'def'\n\n"},
    {"CharEscapes", [] { return arr<char>({1, 10}, {'x', 0, 7, 8, 9, 10, 11, 12, 13, 'y'}); }, 80, 0, false,
     "  1x10 char\n    'x \\a\\b\\t\\n\\v\\f\\ry'\n"},
    {"CharSlices", [] { return arr<char>({1, 2, 2}, {'a', 'b', 'c', 'd'}); }, 80, 0, true,
     "\n  1x2x2 char\n\n(:,:,1) = \n\n    'ab'\n\n(:,:,2) = \n\n    'cd'\n\n"},
};
INSTANTIATE_TEST_SUITE_P(LogicalAndChar, Layout, ::testing::ValuesIn(logical_and_char_cases), case_name);

// Format 9: one sign character per floating element, all columns on one
// page; integer arrays and whole-valued doubles (the int32 path) stay decimal.
const layout_case sign_cases[] = {
    {"Doubles", [] { return arr<double>({2, 3}, {1.5, nan, -2, 3, 0, -0.5}); }, 80, 9, true,
     "\n  2x3 double\n\n+- \n +-\n\n"},
    {"WholeValuedDoublesStayDecimal", [] { return row({1, -2, 0}); }, 80, 9, false, "  1x3 double\n   1  -2   0\n"},
    {"AllColumnsOnOnePage", [] { return row({1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, 1.5, -1.5}); }, 20, 9,
     false, "  1x11 double\n++++++++++-\n"},
    {"UnsignedStaysDecimal", [] { return arr<unsigned char>({1, 2}, {0, 200}); }, 80, 9, false,
     "  1x2 uint8\n     0   200\n"},
    {"ComplexByRealPart", [] { return arr<cd>({1, 2}, {cd(-1, 1), cd(0.5, -1)}); }, 80, 9, false,
     "  1x2 complex double\n-+\n"},
    {"LogicalStaysDecimal", [] { return arr<bool>({1, 2}, {true, false}); }, 80, 9, false,
     "  1x2 logical\n   1   0\n"},
};
INSTANTIATE_TEST_SUITE_P(SignFormat, Layout, ::testing::ValuesIn(sign_cases), case_name);

const layout_case notice_cases[] = {
    {"FormatWithoutRendering", [] { return zo_obj(0.5); }, 80, 5, true,
     "\n  1x1 double\n\n\n    (该类型变量暂不支持的以该格式输出)\n"},
    {"HexOfFloating", [] { return zo_obj(cd(0.5, 1)); }, 80, 8, false,
     "  1x1 complex double\n    (该类型变量暂不支持的以该格式输出)\n"},
    {"KindWithoutRenderer", [] { return zo_obj(); }, 80, 0, true, "\n  1x1 void\n\n  (暂不支持该类数据的输出)\n\n"},
};
INSTANTIATE_TEST_SUITE_P(Notices, Layout, ::testing::ValuesIn(notice_cases), case_name);

// Every integer type over its extreme values, in decimal (format 0) and in
// hexadecimal (format 8: widened to int, 64-bit types as they are).
template <class T>
class IntegerTypes : public display_format_guard {};
using integer_types = ::testing::Types<signed char, short, int, long, unsigned char, unsigned short, unsigned int,
                                       unsigned long>;
TYPED_TEST_SUITE(IntegerTypes, integer_types);

TYPED_TEST(IntegerTypes, DecimalAndHexadecimal) {
  using T = TypeParam;
  using lim = std::numeric_limits<T>;
  const struct {
    const char* type;
    const char* decimal;
    const char* hex;
  } want[] = {
      {"int8", "  -128     0   127", "  ffffff80  00  7f"},
      {"int16", "  -32768       0   32767", "  ffff8000  0000  7fff"},
      {"int32", "  -2147483648            0   2147483647", "  80000000  00000000  7fffffff"},
      {"int64", "  -9223372036854775808                     0   9223372036854775807",
       "  8000000000000000  0000000000000000  7fffffffffffffff"},
      {"uint8", "     0     7   255", "  00  07  ff"},
      {"uint16", "       0       7   65535", "  0000  0007  ffff"},
      {"uint32", "            0            7   4294967295", "  00000000  00000007  ffffffff"},
      {"uint64", "                      0                      7   18446744073709551615",
       "  0000000000000000  0000000000000007  ffffffffffffffff"},
  };
  const int width_index = sizeof(T) == 1 ? 0 : sizeof(T) == 2 ? 1 : sizeof(T) == 4 ? 2 : 3;
  const auto& w = want[(lim::is_signed ? 0 : 4) + width_index];
  const zo_obj v = arr<T>({1, 3}, {lim::min(), T(lim::is_signed ? 0 : 7), lim::max()});
  const std::string header = std::string("  1x3 ") + w.type + "\n";
  this->set_format(0, false);
  EXPECT_EQ(internal::obj2str(v, 80), header + w.decimal + "\n");
  this->set_format(8, false);
  EXPECT_EQ(internal::obj2str(v, 80), header + w.hex + "\n");
}

}  // namespace
}  // namespace zorvat_test
