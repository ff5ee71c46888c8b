// Conversions and predicates: the edges of each conversion as a table, every
// element type and every kind's default value as typed and looped checks,
// with the refusal messages and the value left untouched.
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>

#include "value/cell_array.h"
#include "value/kind_table.h"
#include "value_test_util.h"

using namespace zorvat;
using zorvat_test::array_value;

namespace {

const double nan_d = std::numeric_limits<double>::quiet_NaN();
const double inf_d = std::numeric_limits<double>::infinity();
const float nan_f = std::numeric_limits<float>::quiet_NaN();
const float inf_f = std::numeric_limits<float>::infinity();
const double two52 = 4503599627370496.0;

// One row: a value and, when accepted, the expected result.
template <class R>
struct conv_case {
  const char* name;
  std::function<zo_obj()> make;
  bool accepted;
  R expected;
};

template <class R>
std::string case_name(const ::testing::TestParamInfo<conv_case<R>>& info) {
  return info.param.name;
}

// Checks one conversion: the result or the exact refusal message, and that the
// value did not change (same payload, same summary, same use count).
template <class R, class Convert>
void check_conversion(const conv_case<R>& c, Convert convert, const char* message) {
  zo_obj v = c.make();
  const void* payload = v.payload();
  const std::string before = v.brief_type_str();
  if (c.accepted) {
    const R r = convert(v);
    if constexpr (std::is_floating_point_v<R>) {
      if (std::isnan(c.expected))
        EXPECT_TRUE(std::isnan(r));
      else
        EXPECT_EQ(r, c.expected);
    } else {
      EXPECT_EQ(r, c.expected);
    }
  } else {
    try {
      convert(v);
      ADD_FAILURE() << "accepted";
    } catch (const std::invalid_argument& e) {
      EXPECT_STREQ(e.what(), message);
    }
  }
  EXPECT_EQ(v.payload(), payload);
  EXPECT_EQ(v.brief_type_str(), before);
  EXPECT_EQ(v.use_count(), payload ? 1 : 0);
}

zo_obj uint64_value(unsigned long u) { return zo_obj(u); }

// ---- as_int -----------------------------------------------------------------

class AsInt : public ::testing::TestWithParam<conv_case<long>> {};
TEST_P(AsInt, AcceptsExactlyTheIntegerKinds) {
  check_conversion(GetParam(), [](const zo_obj& v) { return v.as_int(); },
                   "该 zo_obj 对象不是合法的整数类型");
}
const conv_case<long> as_int_cases[] = {
    {"int8", [] { return zo_obj(static_cast<signed char>(-5)); }, true, -5},
    {"int32", [] { return zo_obj(-70000); }, true, -70000},
    {"int64", [] { return zo_obj(-(1L << 62)); }, true, -(1L << 62)},
    {"uint32", [] { return zo_obj(4000000000u); }, true, 4000000000L},
    {"uint64_above_2_63_bit_for_bit", [] { return uint64_value(0xFFFFFFFFFFFFFFFEul); }, true, -2},
    {"double_3", [] { return zo_obj(3.0); }, true, 3},
    {"double_minus_3", [] { return zo_obj(-3.0); }, true, -3},
    {"double_3_5", [] { return zo_obj(3.5); }, false, 0},
    {"double_minus_half", [] { return zo_obj(-0.5); }, false, 0},
    {"double_just_below_2_52", [] { return zo_obj(two52 - 0.5); }, false, 0},
    {"double_2_52", [] { return zo_obj(two52); }, true, 4503599627370496L},
    {"double_2_52_plus_1", [] { return zo_obj(two52 + 1); }, true, 4503599627370497L},
    {"double_minus_2_60", [] { return zo_obj(-std::ldexp(1.0, 60)); }, true, -(1L << 60)},
    {"double_minus_2_63", [] { return zo_obj(-9223372036854775808.0); }, true, LONG_MIN},
    // Whole beyond the range of long: LONG_MIN, as the processor converts.
    {"double_2_63", [] { return zo_obj(9223372036854775808.0); }, true, LONG_MIN},
    {"double_minus_1e19", [] { return zo_obj(-1e19); }, true, LONG_MIN},
    {"double_nan", [] { return zo_obj(nan_d); }, false, 0},
    {"double_inf", [] { return zo_obj(inf_d); }, false, 0},
    {"double_minus_inf", [] { return zo_obj(-inf_d); }, false, 0},
    {"single_below_2_23_with_half", [] { return zo_obj(8388607.5f); }, false, 0},
    {"single_2_24", [] { return zo_obj(16777216.0f); }, true, 16777216},
    {"single_nan", [] { return zo_obj(nan_f); }, false, 0},
    {"single_inf", [] { return zo_obj(inf_f); }, false, 0},
};
INSTANTIATE_TEST_SUITE_P(Kinds, AsInt, ::testing::ValuesIn(as_int_cases), case_name<long>);

// ---- as_double --------------------------------------------------------------

class AsDouble : public ::testing::TestWithParam<conv_case<double>> {};
TEST_P(AsDouble, AcceptsNumericScalarsAndRealComplex) {
  check_conversion(GetParam(), [](const zo_obj& v) { return v.as_double(); },
                   "该 zo_obj 对象不能转化为双精度标量。");
}
const conv_case<double> as_double_cases[] = {
    {"int8", [] { return zo_obj(static_cast<signed char>(-5)); }, true, -5.0},
    {"int64_min", [] { return zo_obj(std::numeric_limits<long>::min()); }, true, -9223372036854775808.0},
    {"uint64_above_2_63", [] { return uint64_value(0x8000000000000800ul); }, true, 9223372036854777856.0},
    {"uint64_max", [] { return uint64_value(~0ul); }, true, 18446744073709551616.0},
    {"double_nan", [] { return zo_obj(nan_d); }, true, nan_d},
    {"double_minus_inf", [] { return zo_obj(-inf_d); }, true, -inf_d},
    {"complex_minus_zero_imag", [] { return zo_obj(std::complex<double>(2, -0.0)); }, true, 2.0},
    {"complex_imag", [] { return zo_obj(std::complex<double>(2, 1)); }, false, 0},
    {"complex_nan_imag", [] { return zo_obj(std::complex<double>(2, nan_d)); }, false, 0},
};
INSTANTIATE_TEST_SUITE_P(Kinds, AsDouble, ::testing::ValuesIn(as_double_cases), case_name<double>);

// ---- as_bool ----------------------------------------------------------------

class AsBool : public ::testing::TestWithParam<conv_case<bool>> {};
TEST_P(AsBool, NonZeroAndNanAreTrue) {
  check_conversion(GetParam(), [](const zo_obj& v) { return v.as_bool(); },
                   "该 zo_obj 对象不能转化为 bool 标量。");
}
const conv_case<bool> as_bool_cases[] = {
    {"int8_zero", [] { return zo_obj(static_cast<signed char>(0)); }, true, false},
    {"int32_minus_one", [] { return zo_obj(-1); }, true, true},
    {"uint64_2_63", [] { return uint64_value(1ul << 63); }, true, true},
    {"double_zero", [] { return zo_obj(0.0); }, true, false},
    {"double_minus_zero", [] { return zo_obj(-0.0); }, true, false},
    {"double_half", [] { return zo_obj(0.5); }, true, true},
    {"double_nan", [] { return zo_obj(nan_d); }, true, true},
    {"single_inf", [] { return zo_obj(inf_f); }, true, true},
    {"logical_false", [] { return zo_obj(false); }, true, false},
};
INSTANTIATE_TEST_SUITE_P(Kinds, AsBool, ::testing::ValuesIn(as_bool_cases), case_name<bool>);

// ---- as_string --------------------------------------------------------------

zo_obj strided_char_row() {
  // The first row of a 2x3 char array: a 1x3 view with a column step of 2.
  matrix<char> m(2, 3);
  m << 'a', 'x', 'b', 'y', 'c', 'z';
  return zo_obj(type_char, new matrix<char>(m.view(1, 3, 0, 2)));
}

class AsString : public ::testing::TestWithParam<conv_case<std::string>> {};
TEST_P(AsString, AcceptsCharRowsAndScalarStrings) {
  check_conversion(GetParam(), [](const zo_obj& v) { return v.as_string(); },
                   "该 zo_obj 对象不能转化为 string");
}
const conv_case<std::string> as_string_cases[] = {
    {"char_row", [] { return zo_obj("abc", type_char); }, true, "abc"},
    {"char_row_view", strided_char_row, true, "abc"},
    {"char_0x0", [] { return zo_obj(type_char, nullptr); }, true, ""},
    {"char_3x0", [] { return array_value<char>(type_char, {3, 0}); }, true, ""},
    {"char_2x3", [] { return array_value<char>(type_char, {2, 3}); }, false, ""},
    {"string", [] { return zo_obj("hello"); }, true, "hello"},
    {"string_1x2", [] { return zo_obj(std::vector<std::string>{"a", "b"}, 1, 2); }, false, ""},
    {"double", [] { return zo_obj(1.0); }, false, ""},
    {"cell", [] { return zo_obj(type_cell, new cell_array(1, 1)); }, false, ""},
};
INSTANTIATE_TEST_SUITE_P(Kinds, AsString, ::testing::ValuesIn(as_string_cases), case_name<std::string>);

// ---- as_int_mat -------------------------------------------------------------

// The elements of the int32 copy, after checking that it is a new unshared
// value of the same dims.
std::vector<int> int_mat_elements(const zo_obj& v) {
  const zo_obj out = v.as_int_mat();
  EXPECT_NE(out.payload(), v.payload());
  EXPECT_EQ(out.use_count(), 1);
  if (out.type != type_int32) {
    ADD_FAILURE() << "kind " << out.type;
    return {};
  }
  const auto& m = out.get<matrix<int>>();
  EXPECT_EQ(m.dim_vec(), v.array_base()->dim_vec());
  return std::vector<int>(m.data(), m.data() + m.size());
}

using ints = std::vector<int>;
class AsIntMat : public ::testing::TestWithParam<conv_case<ints>> {};
TEST_P(AsIntMat, ConvertsEveryIntegralElementKeepingTheDims) {
  check_conversion(GetParam(), int_mat_elements, "该 zo_obj 对象不是合法的整数类型");
}
const conv_case<ints> as_int_mat_cases[] = {
    {"int8", [] { return *zo_obj::make_matrix<signed char>(1, 2, {1, -2}); }, true, {1, -2}},
    {"int64_truncated", [] { return *zo_obj::make_matrix<long>(1, 1, {(1L << 32) + 5}); }, true, {5}},
    {"uint64_max", [] { return *zo_obj::make_matrix<unsigned long>(1, 1, {~0ul}); }, true, {-1}},
    {"uint16", [] { return *zo_obj::make_matrix<unsigned short>(1, 1, {65535}); }, true, {65535}},
    {"uint32_wraps", [] { return *zo_obj::make_matrix<unsigned int>(1, 1, {4000000000u}); }, true, {-294967296}},
    {"double_2x2", [] { return *zo_obj::make_matrix(2, 2, {1.0, -2.0, 3.0, 4.0}); }, true, {1, -2, 3, 4}},
    {"single", [] { return *zo_obj::make_matrix(1, 2, {3.0f, -4.0f}); }, true, {3, -4}},
    {"int32_copied", [] { return *zo_obj::make_matrix(1, 3, {7, 8, 9}); }, true, {7, 8, 9}},
    {"double_3d", [] { return array_value<double>(type_double, {2, 1, 2}); }, true, {0, 0, 0, 0}},
    {"double_empty", [] { return zo_obj(type_double, nullptr); }, true, {}},
    {"double_fraction", [] { return *zo_obj::make_matrix(1, 2, {1.0, 2.5}); }, false, {}},
    {"double_nan", [] { return *zo_obj::make_matrix(1, 2, {1.0, nan_d}); }, false, {}},
    {"single_inf", [] { return *zo_obj::make_matrix(1, 1, {inf_f}); }, false, {}},
    {"logical", [] { return zo_obj(true); }, false, {}},
    {"complex", [] { return zo_obj(std::complex<double>(1, 0)); }, false, {}},
    {"char", [] { return zo_obj("12", type_char); }, false, {}},
    {"string", [] { return zo_obj("12"); }, false, {}},
    {"cell", [] { return zo_obj(type_cell, new cell_array(1, 1)); }, false, {}},
    {"void", [] { return zo_obj(); }, false, {}},
};
INSTANTIATE_TEST_SUITE_P(Kinds, AsIntMat, ::testing::ValuesIn(as_int_mat_cases), case_name<ints>);

// Only a scalar converts: an array of two elements or of none, of any element
// type, is refused by every scalar conversion with its message.
// The three scalar conversions of make(): each gives one or is refused with
// its message, as the flags say.
void check_scalar_conversions(const std::function<zo_obj()>& make, bool to_int, bool to_double, bool to_bool) {
  check_conversion(conv_case<long>{"", make, to_int, 1}, [](const zo_obj& v) { return v.as_int(); },
                   "该 zo_obj 对象不是合法的整数类型");
  check_conversion(conv_case<double>{"", make, to_double, 1.0}, [](const zo_obj& v) { return v.as_double(); },
                   "该 zo_obj 对象不能转化为双精度标量。");
  check_conversion(conv_case<bool>{"", make, to_bool, true}, [](const zo_obj& v) { return v.as_bool(); },
                   "该 zo_obj 对象不能转化为 bool 标量。");
}

template <class T>
class ScalarOnly : public ::testing::Test {};
using dense_element_types =
    ::testing::Types<double, float, std::complex<double>, std::complex<float>, signed char, short, int, long,
                     unsigned char, unsigned short, unsigned int, unsigned long, char, bool, std::string, zo_hdl_t>;
TYPED_TEST_SUITE(ScalarOnly, dense_element_types);
TYPED_TEST(ScalarOnly, ArraysOfTwoOrNoElementsAreRefused) {
  for (long n : {2L, 0L}) {
    check_scalar_conversions(
        [n] { return zo_obj(internal::dense_kind_of<TypeParam>(), new matrix<TypeParam>(1, n)); }, false, false,
        false);
  }
}

// The default value of every kind (an empty array, an empty container, a
// handle, nothing at all) is no scalar of any sort.
TEST(ScalarConversions, DefaultValueOfEveryKindIsRefused) {
  for (int kind = -1; kind <= 33; ++kind) {
    const auto make = [kind] {
      zo_obj v;
      v.reset(kind, true);
      return v;
    };
    SCOPED_TRACE(kind);
    check_scalar_conversions(make, false, false, false);
  }
}

// A 1x1 array holding one: the integer types, logical and the real floating
// types give 1 to as_int and as_bool, every numeric type (complex too) gives
// 1 to as_double; char, string and handle elements are no scalar of any sort.
TYPED_TEST(ScalarOnly, AnElementOfOneConvertsByItsType) {
  using T = TypeParam;
  constexpr bool no_number = std::is_same_v<T, char> || std::is_same_v<T, std::string> || std::is_same_v<T, zo_hdl_t>;
  constexpr bool complex = std::is_same_v<T, std::complex<double>> || std::is_same_v<T, std::complex<float>>;
  const auto make = [] {
    auto* m = new matrix<T>(1, 1);
    if constexpr (std::is_same_v<T, std::string>)
      (*m)[0] = "1";
    else if constexpr (std::is_same_v<T, char>)
      (*m)[0] = '1';
    else
      (*m)[0] = T{1};
    return zo_obj(internal::dense_kind_of<T>(), m);
  };
  const bool real = !no_number && !complex;
  check_scalar_conversions(make, real, !no_number && !std::is_same_v<T, bool>, real);
}

// ---- predicates -------------------------------------------------------------

TEST(Predicates, CharVectorsAreEmptyOrOneRowAndCellsOfThemCheckEveryElement) {
  using zorvat_test::chars;
  using items = std::vector<std::shared_ptr<zo_obj>>;
  auto cell = [](items v) { return zo_obj(type_cell, new cell_array(v, false)); };
  const struct {
    zo_obj value;
    bool char_vector, cell_of_char_vectors;
  } rows[] = {{array_value<char>(type_char, {3, 0}), true, false},
              {zo_obj(type_char, nullptr), true, false},
              {zo_obj("abcde", type_char), true, false},
              {array_value<char>(type_char, {2, 2}), false, false},
              {zo_obj("abc"), false, false},
              {zo_obj(1.0), false, false},
              {zo_obj(type_cell, new cell_array(0, 0)), false, true},
              {cell({chars("ab"), chars("")}), false, true},
              {cell({chars("ab"), std::make_shared<zo_obj>(array_value<char>(type_char, {2, 2}))}), false, false},
              {cell({std::make_shared<zo_obj>("ab")}), false, false}};
  for (const auto& r : rows) {
    EXPECT_EQ(r.value.is_char_vector(), r.char_vector) << r.value.brief_type_str();
    EXPECT_EQ(r.value.is_cell_of_char_vector(), r.cell_of_char_vectors) << r.value.brief_type_str();
  }
}

}  // namespace
