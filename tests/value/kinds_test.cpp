// Kind names: type_str, the short cell names, the one-line summary and the
// cell size texts, each as a table.
#include <gtest/gtest.h>

#include <functional>

#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"
#include "value/variable_list.h"
#include "value_test_util.h"

using namespace zorvat;
using zorvat_test::array_value;

TEST(TypeStr, NamesEveryIdAndErrorOutside) {
  const char* expected[] = {
      "error",  "int8",   "int16",  "int32",          "int64",           "uint8",
      "uint16", "uint32", "uint64", "double",         "single",          "complex double",
      "complex single",   "char",   "logical",        "function_handle", "struct",
      "string", "control", "handle matrix", "error",  "extern",          "void",
      "error",  "error",  "cell",   "sparse double",  "sparse single",   "sparse complex double",
      "sparse complex single", "sparse logical", "variable list"};
  for (int id = 0; id < 32; ++id) {
    EXPECT_STREQ(type_str(id), expected[id]) << id;
    EXPECT_STREQ(type_str(static_cast<zo_type>(id)), expected[id]) << id;
  }
  for (int id : {-1, 32, 100, -2147483647 - 1}) EXPECT_STREQ(type_str(id), "error") << id;
}

TEST(TypeStrCell, ComplexSharesRealNamesAndSparseIsUnknown) {
  struct row {
    int kind;
    const char* name;
  } rows[] = {{1, "int8"},      {8, "uint64"},     {9, "double"},   {10, "single"},  {11, "double"},
              {12, "single"},   {13, "char"},      {14, "logical"}, {15, "function"}, {16, "struct"},
              {17, "string"},   {18, "control"},   {19, "handle"},  {20, "unknown"}, {21, "extern"},
              {22, "void"},     {23, "unknown"},   {25, "cell"},    {26, "unknown"}, {30, "unknown"},
              {31, "unknown"},  {0, "unknown"}};
  for (const auto& r : rows) {
    zo_obj v;
    v.reset(r.kind, true);
    EXPECT_STREQ(cell_array::type_str_cell(std::make_shared<zo_obj>(v)), r.name) << r.kind;
  }
}

struct brief_case {
  const char* expected;
  std::function<zo_obj()> make;
};

class BriefTypeStr : public ::testing::TestWithParam<brief_case> {};

TEST_P(BriefTypeStr, Summarises) { EXPECT_EQ(GetParam().make().brief_type_str(), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(
    Kinds, BriefTypeStr,
    ::testing::Values(
        brief_case{"3x4 double", [] { return array_value<double>(type_double, {3, 4}); }},
        brief_case{"1x1x2 int8", [] { return array_value<signed char>(type_int8, {1, 1, 2}); }},
        brief_case{"empty 0x0 char", [] { return zo_obj(type_char, nullptr); }},
        brief_case{"empty 0x3 double", [] { return array_value<double>(type_double, {0, 3}); }},
        brief_case{"1x1 string", [] { return zo_obj("text"); }},
        brief_case{"1x1 complex single", [] { return zo_obj(std::complex<float>(1, 2)); }},
        brief_case{"5x5 sparse logical",
                   [] { return zo_obj(type_sparse_logical, new sparse_matrix<bool>(5, 5, 0)); }},
        brief_case{"1x1 struct", [] { return zo_obj(type_struct, new structure()); }},
        brief_case{"1x2 struct array", [] { return zo_obj(type_struct, new structure(1, 2)); }},
        brief_case{"0x0 struct array", [] { return zo_obj(type_struct, new structure(0, 0)); }},
        brief_case{"2x3 cell array", [] { return zo_obj(type_cell, new cell_array(2, 3)); }},
        brief_case{"1x1 extern object", [] { return zo_obj(new zorvat_test::plain_extern); }},
        brief_case{"1x1 counter", [] { return zo_obj(new zorvat_test::counter_extern(3)); }},
        brief_case{"1x1 function_handle", [] { return zo_obj(function_handle()); }},
        brief_case{"1x1 handle matrix", [] { return array_value<zo_hdl_t>(type_handle, {2, 2}); }},
        brief_case{"1x1 void", [] { return zo_obj(); }},
        brief_case{"1x1 control", [] { return zo_obj(controlType{1}); }},
        brief_case{"1x1 error", [] { return zo_obj(draw_t()); }},
        brief_case{"1x1 variable list", [] { return zo_obj(type_variable_list, new VariableList()); }},
        brief_case{"1x1 error", [] {
                     zo_obj v(2.0);
                     v.destroy();
                     return v;
                   }},
        // A moved-from value keeps its kind and falls back to the generic rule.
        brief_case{"1x1 double", [] {
                     zo_obj v(2.0);
                     zo_obj w(std::move(v));
                     return v;
                   }}));

TEST(SizeStrCell, PlainByNumberOfDims) {
  struct row {
    const char* expected;
    zo_obj value;
  } rows[] = {{"2x3", array_value<double>(type_double, {2, 3})},
              {"2x3x4", array_value<int>(type_int32, {2, 3, 4})},
              {"4-D", array_value<char>(type_char, {2, 3, 4, 5})},
              {"1x2", zo_obj(type_struct, new structure(1, 2))},
              {"3x1", zo_obj(type_cell, new cell_array(3, 1))},
              {"0x0", zo_obj(type_sparse_double, nullptr)},
              {"1x1", zo_obj(function_handle())}};
  for (const auto& r : rows)
    EXPECT_EQ(cell_array::size_str_cell(std::make_shared<zo_obj>(r.value)), r.expected) << r.expected;
}

TEST(SizeStrCell, AlignedPutsTheXInOneColumn) {
  struct row {
    const char* expected;
    zo_obj value;
  } rows[] = {{"  1x1  ", zo_obj(2.5)},
              {"  1x1  ", zo_obj("s")},
              {" 10x200", array_value<double>(type_double, {10, 200})},
              {"  2x3  ", zo_obj(type_cell, new cell_array(2, 3))},
              {"  1x1  ", zo_obj(true)}};
  for (const auto& r : rows)
    EXPECT_EQ(cell_array::size_str_cell(std::make_shared<zo_obj>(r.value), 3, 3), r.expected)
        << r.expected;
}
