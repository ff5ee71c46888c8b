// Conversions and predicates: every accepted and refused kind as a table,
// with the refusal messages and the value left untouched.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <stdexcept>

#include "value/cell_array.h"
#include "value/structure.h"
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
  EXPECT_EQ(v.use_count(), 1);
}

zo_obj uint64_value(unsigned long u) { return zo_obj(u); }
zo_obj row_of_two() { return *zo_obj::make_matrix(1, 2, {1.0, 2.0}); }

// ---- as_int -----------------------------------------------------------------

class AsInt : public ::testing::TestWithParam<conv_case<long>> {};
TEST_P(AsInt, AcceptsExactlyTheIntegerKinds) {
  check_conversion(GetParam(), [](const zo_obj& v) { return v.as_int(); },
                   "该 zo_obj 对象不是合法的整数类型");
}
INSTANTIATE_TEST_SUITE_P(
    Kinds, AsInt,
    ::testing::Values(
        conv_case<long>{"int8", [] { return zo_obj(static_cast<signed char>(-5)); }, true, -5},
        conv_case<long>{"int16", [] { return zo_obj(static_cast<short>(-300)); }, true, -300},
        conv_case<long>{"int32", [] { return zo_obj(-70000); }, true, -70000},
        conv_case<long>{"int64", [] { return zo_obj(-(1L << 62)); }, true, -(1L << 62)},
        conv_case<long>{"uint8", [] { return zo_obj(static_cast<unsigned char>(200)); }, true, 200},
        conv_case<long>{"uint32", [] { return zo_obj(4000000000u); }, true, 4000000000L},
        conv_case<long>{"uint64_above_2_63_bit_for_bit",
                        [] { return uint64_value(0xFFFFFFFFFFFFFFFEul); }, true, -2},
        conv_case<long>{"logical_true", [] { return zo_obj(true); }, true, 1},
        conv_case<long>{"double_3", [] { return zo_obj(3.0); }, true, 3},
        conv_case<long>{"double_minus_3", [] { return zo_obj(-3.0); }, true, -3},
        conv_case<long>{"double_3_5", [] { return zo_obj(3.5); }, false, 0},
        conv_case<long>{"double_minus_half", [] { return zo_obj(-0.5); }, false, 0},
        conv_case<long>{"double_just_below_2_52", [] { return zo_obj(two52 - 0.5); }, false, 0},
        conv_case<long>{"double_2_52", [] { return zo_obj(two52); }, true, 4503599627370496L},
        conv_case<long>{"double_2_52_plus_1", [] { return zo_obj(two52 + 1); }, true, 4503599627370497L},
        conv_case<long>{"double_minus_2_60", [] { return zo_obj(-std::ldexp(1.0, 60)); }, true,
                        -(1L << 60)},
        conv_case<long>{"double_nan", [] { return zo_obj(nan_d); }, false, 0},
        conv_case<long>{"double_inf", [] { return zo_obj(inf_d); }, false, 0},
        conv_case<long>{"double_minus_inf", [] { return zo_obj(-inf_d); }, false, 0},
        conv_case<long>{"single_7", [] { return zo_obj(7.0f); }, true, 7},
        conv_case<long>{"single_below_2_23_with_half", [] { return zo_obj(8388607.5f); }, false, 0},
        conv_case<long>{"single_2_24", [] { return zo_obj(16777216.0f); }, true, 16777216},
        conv_case<long>{"single_nan", [] { return zo_obj(nan_f); }, false, 0},
        conv_case<long>{"single_inf", [] { return zo_obj(inf_f); }, false, 0},
        conv_case<long>{"complex", [] { return zo_obj(std::complex<double>(3, 0)); }, false, 0},
        conv_case<long>{"char", [] { return zo_obj('a'); }, false, 0},
        conv_case<long>{"string", [] { return zo_obj("1"); }, false, 0},
        conv_case<long>{"row_of_two", row_of_two, false, 0},
        conv_case<long>{"empty_double", [] { return zo_obj(type_double, nullptr); }, false, 0},
        conv_case<long>{"cell", [] { return zo_obj(type_cell, new cell_array(1, 1)); }, false, 0},
        conv_case<long>{"void", [] { return zo_obj(); }, false, 0},
        conv_case<long>{"handle", [] { return zo_obj(zo_hdl_t{1}); }, false, 0}),
    case_name<long>);

// ---- as_double --------------------------------------------------------------

class AsDouble : public ::testing::TestWithParam<conv_case<double>> {};
TEST_P(AsDouble, AcceptsNumericScalarsAndRealComplex) {
  check_conversion(GetParam(), [](const zo_obj& v) { return v.as_double(); },
                   "该 zo_obj 对象不能转化为双精度标量。");
}
INSTANTIATE_TEST_SUITE_P(
    Kinds, AsDouble,
    ::testing::Values(
        conv_case<double>{"int8", [] { return zo_obj(static_cast<signed char>(-5)); }, true, -5.0},
        conv_case<double>{"int64_min", [] { return zo_obj(std::numeric_limits<long>::min()); }, true,
                          -9223372036854775808.0},
        conv_case<double>{"uint64_above_2_63", [] { return uint64_value(0x8000000000000800ul); }, true,
                          9223372036854777856.0},
        conv_case<double>{"uint64_max", [] { return uint64_value(~0ul); }, true, 18446744073709551616.0},
        conv_case<double>{"double_nan", [] { return zo_obj(nan_d); }, true, nan_d},
        conv_case<double>{"double_minus_inf", [] { return zo_obj(-inf_d); }, true, -inf_d},
        conv_case<double>{"single", [] { return zo_obj(1.5f); }, true, 1.5},
        conv_case<double>{"complex_real", [] { return zo_obj(std::complex<double>(2, 0)); }, true, 2.0},
        conv_case<double>{"complex_minus_zero_imag",
                          [] { return zo_obj(std::complex<double>(2, -0.0)); }, true, 2.0},
        conv_case<double>{"complex_single_real", [] { return zo_obj(std::complex<float>(1.5f, 0)); },
                          true, 1.5},
        conv_case<double>{"complex_imag", [] { return zo_obj(std::complex<double>(2, 1)); }, false, 0},
        conv_case<double>{"complex_nan_imag", [] { return zo_obj(std::complex<double>(2, nan_d)); },
                          false, 0},
        conv_case<double>{"logical", [] { return zo_obj(true); }, false, 0},
        conv_case<double>{"char", [] { return zo_obj('1'); }, false, 0},
        conv_case<double>{"string", [] { return zo_obj("1"); }, false, 0},
        conv_case<double>{"row_of_two", row_of_two, false, 0},
        conv_case<double>{"struct", [] { return zo_obj(type_struct, new structure()); }, false, 0}),
    case_name<double>);

// ---- as_bool ----------------------------------------------------------------

class AsBool : public ::testing::TestWithParam<conv_case<bool>> {};
TEST_P(AsBool, NonZeroAndNanAreTrue) {
  check_conversion(GetParam(), [](const zo_obj& v) { return v.as_bool(); },
                   "该 zo_obj 对象不能转化为 bool 标量。");
}
INSTANTIATE_TEST_SUITE_P(
    Kinds, AsBool,
    ::testing::Values(
        conv_case<bool>{"int8_zero", [] { return zo_obj(static_cast<signed char>(0)); }, true, false},
        conv_case<bool>{"int32_minus_one", [] { return zo_obj(-1); }, true, true},
        conv_case<bool>{"uint64_2_63", [] { return uint64_value(1ul << 63); }, true, true},
        conv_case<bool>{"double_zero", [] { return zo_obj(0.0); }, true, false},
        conv_case<bool>{"double_minus_zero", [] { return zo_obj(-0.0); }, true, false},
        conv_case<bool>{"double_half", [] { return zo_obj(0.5); }, true, true},
        conv_case<bool>{"double_nan", [] { return zo_obj(nan_d); }, true, true},
        conv_case<bool>{"single_inf", [] { return zo_obj(inf_f); }, true, true},
        conv_case<bool>{"logical_false", [] { return zo_obj(false); }, true, false},
        conv_case<bool>{"complex", [] { return zo_obj(std::complex<float>(1, 0)); }, false, false},
        conv_case<bool>{"char", [] { return zo_obj('a'); }, false, false},
        conv_case<bool>{"logical_column",
                        [] { return *zo_obj::make_matrix(2, 1, {true, false}); }, false, false},
        conv_case<bool>{"string", [] { return zo_obj("true"); }, false, false}),
    case_name<bool>);

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
INSTANTIATE_TEST_SUITE_P(
    Kinds, AsString,
    ::testing::Values(
        conv_case<std::string>{"char_row", [] { return zo_obj("abc", type_char); }, true, "abc"},
        conv_case<std::string>{"char_row_view", strided_char_row, true, "abc"},
        conv_case<std::string>{"char_0x0", [] { return zo_obj(type_char, nullptr); }, true, ""},
        conv_case<std::string>{"char_3x0", [] { return array_value<char>(type_char, {3, 0}); }, true, ""},
        conv_case<std::string>{"char_2x3", [] { return array_value<char>(type_char, {2, 3}); }, false, ""},
        conv_case<std::string>{"string", [] { return zo_obj("hello"); }, true, "hello"},
        conv_case<std::string>{"string_1x2",
                               [] { return zo_obj(std::vector<std::string>{"a", "b"}, 1, 2); }, false, ""},
        conv_case<std::string>{"double", [] { return zo_obj(1.0); }, false, ""},
        conv_case<std::string>{"cell", [] { return zo_obj(type_cell, new cell_array(1, 1)); }, false, ""}),
    case_name<std::string>);

// ---- as_int_mat -------------------------------------------------------------

TEST(AsIntMat, ConvertsEveryElementKeepingTheDims) {
  struct row {
    const char* name;
    zo_obj value;
    std::vector<int> expected;
  } rows[] = {
      {"int8", *zo_obj::make_matrix<signed char>(1, 2, {1, -2}), {1, -2}},
      {"int64_truncated", *zo_obj::make_matrix<long>(1, 1, {(1L << 32) + 5}), {5}},
      {"uint64_max", *zo_obj::make_matrix<unsigned long>(1, 1, {~0ul}), {-1}},
      {"uint16", *zo_obj::make_matrix<unsigned short>(1, 1, {65535}), {65535}},
      {"double_2x2", *zo_obj::make_matrix(2, 2, {1.0, -2.0, 3.0, 4.0}), {1, -2, 3, 4}},
      {"single", *zo_obj::make_matrix(1, 2, {3.0f, -4.0f}), {3, -4}},
      {"int32_copied", *zo_obj::make_matrix(1, 3, {7, 8, 9}), {7, 8, 9}},
      {"double_3d", array_value<double>(type_double, {2, 1, 2}), {0, 0, 0, 0}},
      {"double_empty", zo_obj(type_double, nullptr), {}},
  };
  for (const auto& r : rows) {
    SCOPED_TRACE(r.name);
    zo_obj out = r.value.as_int_mat();
    ASSERT_EQ(out.type, type_int32);
    EXPECT_NE(out.payload(), r.value.payload());
    EXPECT_EQ(out.use_count(), 1);
    const auto& m = out.get<matrix<int>>();
    EXPECT_EQ(m.dim_vec(), r.value.array_base()->dim_vec());
    EXPECT_EQ(std::vector<int>(m.data(), m.data() + m.size()), r.expected);
  }
}

TEST(AsIntMat, RefusesNonIntegersAndOtherKinds) {
  std::vector<zo_obj> refused = {*zo_obj::make_matrix(1, 2, {1.0, 2.5}),
                                 *zo_obj::make_matrix(1, 2, {1.0, nan_d}),
                                 *zo_obj::make_matrix(1, 1, {inf_f}),
                                 zo_obj(true),
                                 zo_obj(std::complex<double>(1, 0)),
                                 zo_obj("12", type_char),
                                 zo_obj("12"),
                                 zo_obj(type_cell, new cell_array(1, 1)),
                                 zo_obj()};
  for (const auto& v : refused) {
    SCOPED_TRACE(v.brief_type_str());
    try {
      v.as_int_mat();
      ADD_FAILURE() << "accepted";
    } catch (const std::invalid_argument& e) {
      EXPECT_STREQ(e.what(), "该 zo_obj 对象不是合法的整数类型");
    }
    EXPECT_EQ(v.use_count(), 1);
  }
}

// ---- predicates -------------------------------------------------------------

TEST(Predicates, CharVectorsAreEmptyOrOneRow) {
  struct row {
    zo_obj value;
    bool expected;
  } rows[] = {{array_value<char>(type_char, {3, 0}), true}, {zo_obj(type_char, nullptr), true},
              {zo_obj("abcde", type_char), true},           {array_value<char>(type_char, {2, 2}), false},
              {zo_obj("abc"), false},                       {zo_obj(1.0), false}};
  for (const auto& r : rows) EXPECT_EQ(r.value.is_char_vector(), r.expected) << r.value.brief_type_str();
}

TEST(Predicates, CellOfCharVectorsChecksEveryElement) {
  using items = std::vector<std::shared_ptr<zo_obj>>;
  auto matrix2x2 = std::make_shared<zo_obj>(array_value<char>(type_char, {2, 2}));
  EXPECT_TRUE(zo_obj(type_cell, new cell_array(0, 0)).is_cell_of_char_vector());
  EXPECT_TRUE(zo_obj(type_cell, new cell_array(items{zorvat_test::chars("ab"), zorvat_test::chars("")}, false))
                  .is_cell_of_char_vector());
  EXPECT_FALSE(zo_obj(type_cell, new cell_array(items{zorvat_test::chars("ab"), matrix2x2}, false))
                   .is_cell_of_char_vector());
  EXPECT_FALSE(zo_obj(type_cell, new cell_array(items{std::make_shared<zo_obj>("ab")}, false))
                   .is_cell_of_char_vector());
  EXPECT_FALSE(zo_obj("ab", type_char).is_cell_of_char_vector());
}

}  // namespace
