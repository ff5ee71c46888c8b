// Cells, structures and argument lists.
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

#include "value/cell_array.h"
#include "value/structure.h"
#include "value/variable_list.h"
#include "value_test_util.h"

using namespace zorvat;
using zorvat_test::array_value;
using zorvat_test::dbl;
using items = std::vector<std::shared_ptr<zo_obj>>;

namespace {

// ---- cells ------------------------------------------------------------------

TEST(Cell, NewCellsHoldEmptySlots) {
  cell_array c(2, 2);
  EXPECT_EQ(c.dim_vec(), (std::vector<long>{2, 2}));
  for (long i = 0; i < 4; ++i) EXPECT_EQ(c(i), nullptr);
  EXPECT_EQ(cell_array(std::vector<long>{1, 2}).as_std_vector(), (items{nullptr, nullptr}));
  EXPECT_EQ(cell_array(-1, 3).dim_vec(), (std::vector<long>{0, 3}));
  const cell_array n(std::vector<long>{2, 1, 3});
  EXPECT_EQ((std::vector<long>{n.pages(), n.ndims(), n.dim(3)}), (std::vector<long>{3, 3, 1}));
}

TEST(Cell, ListsElementsColumnByColumn) {
  cell_array c(2, 2);
  c(0, 0) = dbl(1);
  c(1, 0) = dbl(2);
  c(0, 1) = dbl(3);
  c(1, 1) = dbl(4);
  const auto v = c.as_std_vector();
  const auto vc = c.as_std_vector_c();
  ASSERT_EQ(v.size(), 4u);
  for (size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(v[i]->as_double(), static_cast<double>(i + 1));
    EXPECT_EQ(vc[i], v[i]);
  }
  zo_obj list = c.as_variable_list();
  ASSERT_EQ(list.type, type_variable_list);
  EXPECT_EQ(list.get<VariableList>().data(), v);
}

TEST(Cell, RowFromItemsSharesOrCopiesTheValueObjects) {
  items src{dbl(1), dbl(2)};
  cell_array shared(src, false);
  cell_array copied(src, true);
  EXPECT_EQ(shared.dim_vec(), (std::vector<long>{1, 2}));
  for (long i = 0; i < 2; ++i) {
    EXPECT_EQ(shared(i), src[static_cast<size_t>(i)]);
    EXPECT_NE(copied(i), src[static_cast<size_t>(i)]);
    EXPECT_EQ(copied(i)->payload(), src[static_cast<size_t>(i)]->payload());
  }
  cell_array from_const(std::vector<std::shared_ptr<zo_obj const>>{src[0]});
  EXPECT_EQ(from_const(0), src[0]);
  // Element i is item i: a null item stays null, and nothing shifts.
  for (bool deep : {false, true}) {
    cell_array with_null(items{nullptr, src[1]}, deep);
    EXPECT_EQ(with_null(0), nullptr);
    EXPECT_EQ(with_null(1)->payload(), src[1]->payload());
  }
}

TEST(Cell, ToStringWritesOneLinePerRowOfTheFirstPage) {
  cell_array c(2, 2);
  c(0, 0) = dbl(1);
  c(0, 1) = zorvat_test::chars("abc");
  c(1, 1) = std::make_shared<zo_obj>("s");
  EXPECT_EQ(c.to_string(), "  {1x1 double}  {1x3 char}\n  {}  {1x1 string}\n");
  cell_array n(std::vector<long>{1, 1, 2});
  EXPECT_EQ(n.to_string(), "  {}\n");  // an empty slot holds no value
}

// ---- structures ---------------------------------------------------------------

TEST(Structure, ShapeQueries) {
  EXPECT_TRUE(structure().is_scalar());
  EXPECT_FALSE(structure().is_empty());
  EXPECT_FALSE(structure(1, 2).is_scalar());
  EXPECT_TRUE(structure(0, 3).is_empty());
  EXPECT_EQ(structure(std::vector<long>{4}).dim_vec(), (std::vector<long>{4, 1}));
  structure s(std::vector<long>{2, 3, 4});
  EXPECT_EQ(s.rows(), 2);
  EXPECT_EQ(s.cols(), 3);
  EXPECT_EQ(s.pages(), 4);
  EXPECT_EQ(s.dim(5), 1);
  EXPECT_EQ(s.numel(), 24);
}

// Every table has the structure's dims and the name list matches the map.
void expect_invariants(const structure& s) {
  EXPECT_EQ(static_cast<size_t>(s.nfields()), s.data().size());
  for (const auto& name : s.fieldnames()) {
    ASSERT_TRUE(s.isfield(name)) << name;
    EXPECT_EQ(s.get_field_table(name).dim_vec(), s.dim_vec()) << name;
  }
}

TEST(Structure, FieldsKeepCreationOrder) {
  structure s;
  s.set_field("zeta", dbl(1), false);
  s.set_field("alpha", dbl(2), false);
  s.create_field_table_at(1, "mid");
  s.create_field_table_at(-5, "first");
  s.create_field_table_at(99, "last");
  EXPECT_EQ(s.fieldnames(), (std::vector<std::string>{"first", "zeta", "mid", "alpha", "last"}));
  // An existing name keeps its place and value.
  s.create_field_table_at(0, "alpha");
  EXPECT_EQ(s.fieldnames()[3], "alpha");
  EXPECT_EQ(s.get_field("alpha")->as_double(), 2.0);
  EXPECT_EQ(s.get_field("mid")->brief_type_str(), "empty 0x0 double");
  expect_invariants(s);
}

TEST(Structure, GetAndSetField) {
  structure s;
  auto v = dbl(3);
  s.set_field("a", v, false);
  EXPECT_EQ(s.get_field("a"), v);
  s.set_field("b", v, true);
  EXPECT_NE(s.get_field("b"), v);
  EXPECT_EQ(s.get_field("b")->payload(), v->payload());
  s.set_field("c", v.get());
  EXPECT_NE(s.get_field("c"), v);
  s.set_field("a", nullptr, false);
  s.set_field("d", static_cast<const zo_obj*>(nullptr));
  for (const char* name : {"a", "d"}) EXPECT_EQ(s.get_field(name)->brief_type_str(), "empty 0x0 double");
  EXPECT_FALSE(s.isfield("A"));
  EXPECT_EQ(s.get_field("A"), nullptr);
  EXPECT_THROW(s.get_field_table("A"), std::invalid_argument);

  structure e(0, 0);
  e.set_field("x", v, false);
  EXPECT_TRUE(e.is_scalar());
  EXPECT_EQ(e.get_field("x"), v);
  expect_invariants(e);
}

TEST(Structure, RemoveAndRename) {
  structure s;
  for (const char* n : {"a", "b", "c"}) s.set_field(n, dbl(1), false);
  EXPECT_TRUE(s.remove_field("b"));
  EXPECT_FALSE(s.remove_field("b"));
  EXPECT_TRUE(s.rename_field(0, "z"));
  EXPECT_EQ(s.fieldnames(), (std::vector<std::string>{"z", "c"}));
  EXPECT_FALSE(s.rename_field(0, "c"));
  EXPECT_FALSE(s.rename_field(2, "q"));
  EXPECT_FALSE(s.rename_field(-1, "q"));
  EXPECT_TRUE(s.rename_field(1, "c"));
  EXPECT_EQ(s.get_field("z")->as_double(), 1.0);
  expect_invariants(s);
}

TEST(Structure, ResizeKeepsRecordsAtTheirSubscripts) {
  structure s(2, 2);
  auto& t = s.create_field_table("a");
  for (long i = 0; i < 4; ++i) t(i) = dbl(static_cast<double>(i + 1));
  s.resize(3, 3);
  expect_invariants(s);
  const auto& g = s.get_field_table("a");
  EXPECT_EQ(g(0, 0)->as_double(), 1.0);
  EXPECT_EQ(g(1, 0)->as_double(), 2.0);
  EXPECT_EQ(g(0, 1)->as_double(), 3.0);
  EXPECT_EQ(g(1, 1)->as_double(), 4.0);
  EXPECT_EQ(g(2, 2)->brief_type_str(), "empty 0x0 double");
  s.resize(std::vector<long>{1, 2, 2});
  expect_invariants(s);
  EXPECT_EQ(s.get_field_table("a")(0, 1)->as_double(), 3.0);
  s.resize(-1, 4);
  EXPECT_TRUE(s.is_empty());
  expect_invariants(s);
  // Regression: empty through a dimension beyond the new ones (2x1x0 to
  // 2x2) once read a record of the empty table.
  structure e(std::vector<long>{2, 1, 0});
  e.create_field_table("a");
  e.resize(2, 2);
  expect_invariants(e);
  EXPECT_EQ(e.get_field_table("a")(1, 1)->brief_type_str(), "empty 0x0 double");
}

TEST(Structure, RecordCountOfHugeDimsSaturatesAndTablesAreRefused) {
  structure s(1L << 40, 1L << 40);
  EXPECT_EQ(s.numel(), std::numeric_limits<long>::max());
  EXPECT_EQ(structure(std::vector<long>{1L << 40, 1L << 40, 0}).numel(), 0);
  EXPECT_ANY_THROW(s.create_field_table("a"));
  EXPECT_TRUE(s.is_no_fields());
}

TEST(Structure, FailedResizeLeavesTheStructureAsItWas) {
  structure s(2, 1);
  s.create_field_table("a");
  s.create_field_table("b")(1) = dbl(5);
  // The byte size does not fit 64 bits: refused before any allocation (an
  // exhausted heap cannot be provoked through array new under the sanitizers).
  EXPECT_THROW(s.resize(1L << 31, 1L << 31), std::bad_alloc);
  EXPECT_EQ(s.dim_vec(), (std::vector<long>{2, 1}));
  EXPECT_EQ(s.get_field_table("b")(1)->as_double(), 5.0);
  expect_invariants(s);
}

TEST(Structure, ToStringAlignsNamesAndListsThemForArrays) {
  structure s;
  s.set_field("a", std::make_shared<zo_obj>(array_value<double>(type_double, {2, 2})), false);
  s.set_field("bbbbb", std::make_shared<zo_obj>(type_cell, new cell_array(1, 2)), false);
  EXPECT_EQ(s.to_string(false), "        a: [2x2 double]\n    bbbbb: [1x2 cell array]\n");
  s.resize(1, 2);
  EXPECT_EQ(s.to_string(false), "  包含如下字段：\n        a\n    bbbbb\n");
  EXPECT_EQ(structure().to_string(true), "  （结构体不含任何字段）\n");
  EXPECT_EQ(structure(0, 3).to_string(false), "  （结构体不含任何字段）\n");
}

// A copy shares its elements until copy_on_write_each gives it its own.
TEST(Containers, CopyOnWriteEachDetachesEveryElement) {
  cell_array a(items{dbl(1), dbl(2)}, false);
  cell_array b(a);
  EXPECT_EQ(b(0), a(0));
  b.copy_on_write_each();
  for (long i = 0; i < 2; ++i) {
    EXPECT_NE(b(i), a(i));
    EXPECT_NE(b(i)->payload(), a(i)->payload());
  }
  b(0)->get<matrix<double>>()[0] = 10;
  EXPECT_EQ(a(0)->as_double(), 1.0);

  structure s;
  s.set_field("x", dbl(1), false);
  structure t(s);
  t.copy_on_write_each();
  t.get_field("x")->get<matrix<double>>()[0] = 5;
  EXPECT_EQ(s.get_field("x")->as_double(), 1.0);
}

// Assignment does what the copy and move constructors do (elements shared),
// and assigning a container to itself changes nothing.
TEST(Containers, AssignmentCopiesOrSteals) {
  cell_array a(items{dbl(1), dbl(2)}, false), b, c;
  b = a;
  b = static_cast<const cell_array&>(b);
  c = std::move(b);
  EXPECT_EQ(c.dim_vec(), a.dim_vec());
  EXPECT_EQ(c(1), a(1));
  structure s, t, u;
  s.set_field("x", dbl(1), false);
  t = s;
  t = static_cast<const structure&>(t);
  t.set_field("y", dbl(2), false);
  u = std::move(t);
  structure w(std::move(u));
  EXPECT_EQ(s.nfields(), 1);
  EXPECT_EQ(w.fieldnames(), (std::vector<std::string>{"x", "y"}));
  EXPECT_EQ(w.get_field("x"), s.get_field("x"));
}

// ---- lists ------------------------------------------------------------

TEST(VariableListTest, ShallowCopySharesDeepCopyDoesNot) {
  VariableList a{dbl(1), dbl(2), nullptr};
  VariableList shallow(a, false);
  VariableList deep(a, true);
  for (size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(shallow.data()[i], a.data()[i]);
    EXPECT_NE(deep.data()[i], a.data()[i]);
    EXPECT_EQ(deep.data()[i]->payload(), a.data()[i]->payload());
  }
  EXPECT_EQ(deep.data()[2], nullptr);
  EXPECT_EQ(VariableList(items{dbl(3)}).size(), 1);
}

}  // namespace
