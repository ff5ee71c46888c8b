// Kind names: type_str, the short cell names, the one-line summary and the
// cell size texts, each as a table.
#include <gtest/gtest.h>

#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/kind_traits.h"
#include "value/structure.h"
#include "value/variable_list.h"
#include "value_test_util.h"

using namespace zorvat;
using zorvat_test::array_value;

namespace {

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

// The classes derived from the kind list, against the fixed numbering.
TEST(KindClasses, FollowTheNumberingOfEveryId) {
  using namespace zorvat::internal;
  for (int id = -1; id <= 33; ++id) {
    const bool dense = id >= 1 && id <= 14, sparse = id >= 26 && id <= 30;
    EXPECT_EQ(is_scalar_dense_kind(id), dense) << id;
    EXPECT_EQ(is_sparse_kind(id), sparse) << id;
    EXPECT_EQ(is_numeric_kind(id), (id >= 1 && id <= 12) || (id >= 26 && id <= 29)) << id;
    EXPECT_EQ(is_complex_kind(id), id == 11 || id == 12 || id == 28 || id == 29) << id;
    EXPECT_EQ(is_integer_kind(id), id >= 1 && id <= 8) << id;
    EXPECT_EQ(is_logical_kind(id), id == 14 || id == 30) << id;
  }
}

TEST(TypeStrCell, ComplexSharesRealNamesAndSparseIsUnknown) {
  const std::pair<int, const char*> rows[] = {
      {1, "int8"},      {8, "uint64"},   {9, "double"},   {10, "single"},  {11, "double"},   {12, "single"},
      {13, "char"},     {14, "logical"}, {15, "function"}, {16, "struct"}, {17, "string"},   {18, "control"},
      {19, "handle"},   {20, "unknown"}, {21, "extern"},  {22, "void"},    {23, "unknown"},  {25, "cell"},
      {26, "unknown"},  {30, "unknown"}, {31, "unknown"}, {0, "unknown"}};
  for (const auto& [kind, name] : rows) {
    auto v = std::make_shared<zo_obj>();
    v->reset(kind, true);
    EXPECT_STREQ(cell_array::type_str_cell(v), name) << kind;
  }
}

zo_obj destroyed() {
  zo_obj v(2.0);
  v.destroy();
  return v;
}

zo_obj moved_from() {
  zo_obj v(2.0);
  zo_obj w(std::move(v));
  return v;
}

TEST(BriefTypeStr, SummarisesEveryKind) {
  const std::pair<const char*, zo_obj> rows[] = {
      {"3x4 double", array_value<double>(type_double, {3, 4})},
      {"1x1x2 int8", array_value<signed char>(type_int8, {1, 1, 2})},
      {"empty 0x0 char", zo_obj(type_char, nullptr)},
      {"empty 0x3 double", array_value<double>(type_double, {0, 3})},
      {"1x1 string", zo_obj("text")},
      // Every scalar constructor gives a 1x1 array of its element's kind.
      {"1x1 int8", zo_obj(static_cast<signed char>(1))},   {"1x1 int16", zo_obj(static_cast<short>(1))},
      {"1x1 int32", zo_obj(1)},                            {"1x1 int64", zo_obj(1L)},
      {"1x1 uint8", zo_obj(static_cast<unsigned char>(1))}, {"1x1 uint16", zo_obj(static_cast<unsigned short>(1))},
      {"1x1 uint32", zo_obj(1u)},                          {"1x1 uint64", zo_obj(1ul)},
      {"1x1 double", zo_obj(1.0)},                         {"1x1 single", zo_obj(1.0f)},
      {"1x1 complex double", zo_obj(std::complex<double>(1, 2))}, {"1x1 complex single", zo_obj(std::complex<float>(1, 2))},
      {"1x1 char", zo_obj('a')},                           {"1x1 logical", zo_obj(true)},
      {"5x5 sparse logical", zo_obj(type_sparse_logical, new sparse_matrix<bool>(5, 5, 0))},
      {"1x1 struct", zo_obj(type_struct, new structure())},
      {"1x2 struct array", zo_obj(type_struct, new structure(1, 2))},
      {"0x0 struct array", zo_obj(type_struct, new structure(0, 0))},
      {"2x3 cell array", zo_obj(type_cell, new cell_array(2, 3))},
      {"1x1 extern object", zo_obj(new zorvat_test::plain_extern)},
      {"1x1 counter", zo_obj(new zorvat_test::counter_extern(3))},
      {"1x1 function_handle", zo_obj(function_handle())},
      {"1x1 handle matrix", array_value<zo_hdl_t>(type_handle, {2, 2})},
      {"1x1 void", zo_obj()},
      {"1x1 control", zo_obj(controlType{1})},
      {"1x1 error", zo_obj(draw_t())},
      {"1x1 variable list", zo_obj(type_variable_list, new VariableList())},
      {"1x1 error", destroyed()},
      {"1x1 double", moved_from()},  // keeps its kind, falls back to the generic rule
  };
  for (const auto& [text, value] : rows) EXPECT_EQ(value.brief_type_str(), text);
}

// Plain ("2x3", "4-D") and aligned in 3 + 3 characters around the "x".
TEST(SizeStrCell, PlainByNumberOfDimsAndAligned) {
  const struct {
    zo_obj value;
    const char *plain, *aligned;
  } rows[] = {{array_value<double>(type_double, {2, 3}), "2x3", "  2x3  "},
              {array_value<int>(type_int32, {2, 3, 4}), "2x3x4", nullptr},
              {array_value<char>(type_char, {2, 3, 4, 5}), "4-D", nullptr},
              {array_value<double>(type_double, {10, 200}), "10x200", " 10x200"},
              {zo_obj(type_struct, new structure(1, 2)), "1x2", "  1x2  "},
              {zo_obj(type_cell, new cell_array(3, 1)), "3x1", "  3x1  "},
              {zo_obj(type_sparse_double, nullptr), "0x0", nullptr},
              {zo_obj(function_handle()), "1x1", "  1x1  "}};
  for (const auto& r : rows) {
    const auto v = std::make_shared<zo_obj>(r.value);
    EXPECT_EQ(cell_array::size_str_cell(v), r.plain);
    if (r.aligned) {
      EXPECT_EQ(cell_array::size_str_cell(v, 3, 3), r.aligned) << r.plain;
    }
  }
}

}  // namespace
