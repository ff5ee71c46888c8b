// zo_obj: construction, kinds, sharing, moves, copy-on-write and resets,
// observed through payload identity and use counts.  The kind of each scalar
// constructor: the summary table of kinds_test.cpp.
#include <gtest/gtest.h>

#include <functional>

#include "memory/zo_malloc.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"
#include "value/variable_list.h"
#include "value_test_util.h"

using namespace zorvat;
using zorvat_test::array_value;
using zorvat_test::first_double;
using cd = std::complex<double>;

namespace {

TEST(Construct, DefaultAndMadeVoidsHoldTheirFlag) {
  zo_obj v;
  EXPECT_EQ(v.type, type_void);
  EXPECT_EQ(v.get<int>(), 0);
  auto a = zo_obj::make_void(static_cast<zo_void_flag>(3));
  auto b = zo_obj::make_void(static_cast<zo_void_flag>(4));
  EXPECT_EQ(a->type, type_void);
  EXPECT_EQ(a->get<int>(), 3);
  EXPECT_EQ(b->get<int>(), 4);
  EXPECT_EQ(a->use_count(), 1);
}

TEST(Construct, TextKindsFollowTheSecondArgument) {
  zo_obj c("abc", 13);
  ASSERT_EQ(c.type, type_char);
  EXPECT_EQ(c.as_string(), "abc");

  zo_obj s("abc", 9);
  ASSERT_EQ(s.type, type_string);
  EXPECT_TRUE(s.get<matrix<std::string>>().is_scalar());
  EXPECT_EQ(s.get<matrix<std::string>>()[0], "abc");

  zo_obj empty_chars(static_cast<const char*>(nullptr), type_char);
  EXPECT_EQ(empty_chars.get<matrix<char>>().dim_vec(), (std::vector<long>{1, 0}));
  EXPECT_EQ(zo_obj(static_cast<const char*>(nullptr)).as_string(), "");
}

TEST(Construct, StringArrayFillsInStorageOrder) {
  zo_obj v(std::vector<std::string>{"a", "b", "c"}, 2, 2);
  const auto& m = v.get<matrix<std::string>>();
  ASSERT_EQ(v.type, type_string);
  EXPECT_EQ(m(0, 0), "a");
  EXPECT_EQ(m(1, 0), "b");
  EXPECT_EQ(m(0, 1), "c");
  EXPECT_EQ(m(1, 1), "");
}

TEST(Construct, PointerConstructorAdoptsByKind) {
  auto* m = new matrix<int>(2, 2);
  zo_obj v(type_int32, m);
  EXPECT_EQ(v.payload(), m);
  EXPECT_EQ(v.use_count(), 1);

  // A null pointer makes the kind's empty payload (arrays) or none.
  zo_obj e(type_sparse_single, nullptr);
  EXPECT_TRUE(e.get<sparse_matrix<float>>().is_empty());
  EXPECT_EQ(zo_obj(type_cell, nullptr).payload(), nullptr);

  // Unknown kinds keep a null payload and do not touch the pointer.
  int* raw = new int(3);
  for (int kind : {0, 23, 24, 32, -5}) {
    zo_obj u(kind, static_cast<const void*>(raw));
    EXPECT_EQ(u.type, kind);
    EXPECT_EQ(u.payload(), nullptr);
  }
  delete raw;
}

TEST(Construct, ExternObjectsAreOwnedAndDeletedThroughTheBase) {
  const int before = zorvat_test::live_count::n();
  {
    zo_obj a(new zorvat_test::second_base_extern(7));
    zo_obj b(type_extern, new zorvat_test::second_base_extern(8));
    EXPECT_EQ(a.get<extern_obj_base>().classname(), "counter");
    EXPECT_EQ(b.get<extern_obj_base>().to_string(), "8");
    EXPECT_EQ(b.get<extern_obj_base>().type_id(), 101);
    EXPECT_EQ(zorvat_test::live_count::n(), before + 2);
  }
  EXPECT_EQ(zorvat_test::live_count::n(), before);
  EXPECT_EQ(zorvat_test::plain_extern().type_id(), type_extern);
}

// The storage order: the as_int_mat table.
TEST(MakeMatrix, PadsOrCutsTheList) {
  auto shorter = zo_obj::make_matrix<int>(1, 3, {5});
  EXPECT_EQ(shorter->type, type_int32);
  EXPECT_EQ(shorter->get<matrix<int>>()[2], 0);
  auto longer = zo_obj::make_matrix<std::string>(1, 1, {"a", "b"});
  EXPECT_EQ(longer->type, type_string);
  EXPECT_EQ(longer->get<matrix<std::string>>().size(), 1);

  auto cell = zo_obj::make_matrix<std::shared_ptr<zo_obj>>(1, 2, {zorvat_test::dbl(1), zorvat_test::dbl(2)});
  ASSERT_EQ(cell->type, type_cell);
  EXPECT_EQ(cell->get<cell_array>()(1)->as_double(), 2.0);
}

TEST(MakeMatrix, OutOfMemoryPropagates) {
  EXPECT_THROW(zo_obj::make_matrix<double>(1L << 25, 1L << 25, {1.0}), internal::insufficient_memory);
  zo_obj v(1.0);
  EXPECT_THROW(v = zo_obj(std::vector<std::string>{}, 1L << 31, 1L << 31), std::bad_alloc);
  EXPECT_EQ(v.as_double(), 1.0);
}

// ---- sharing ----------------------------------------------------------------

TEST(Sharing, CopySharesThePayloadAndMoveEmptiesTheSource) {
  zo_obj a(3.0);
  zo_obj b(a);
  EXPECT_EQ(b.payload(), a.payload());
  EXPECT_EQ(a.use_count(), 2);

  zo_obj c(std::move(b));
  EXPECT_EQ(b.type, type_double);  // the kind stays, on purpose
  EXPECT_EQ(b.payload(), nullptr);
  EXPECT_EQ(b.use_count(), 0);
  EXPECT_EQ(c.payload(), a.payload());
  EXPECT_EQ(a.use_count(), 2);

  zo_obj d("x");
  d = a;
  EXPECT_EQ(d.type, type_double);
  EXPECT_EQ(a.use_count(), 3);
  d = d;
  EXPECT_EQ(a.use_count(), 3);
  d = std::move(d);
  EXPECT_EQ(d.payload(), a.payload());
  b = std::move(c);
  EXPECT_EQ(c.payload(), nullptr);
  EXPECT_EQ(a.use_count(), 3);
}

// Every kind with a payload: a copy-on-write of an unshared value keeps its
// payload; of a shared one gives a private payload with the same summary
// (external objects through dup()).
class CopyOnWriteByKind : public ::testing::TestWithParam<std::function<zo_obj()>> {};

TEST_P(CopyOnWriteByKind, DetachesOnlyASharedPayloadWithEqualContents) {
  zo_obj a = GetParam()();
  const void* own = a.payload();
  a.copy_on_write(true);
  EXPECT_EQ(a.payload(), own);
  zo_obj b(a);
  b.copy_on_write(false);
  ASSERT_NE(b.payload(), nullptr);
  EXPECT_NE(b.payload(), a.payload());
  EXPECT_EQ(b.type, a.type);
  EXPECT_EQ(b.brief_type_str(), a.brief_type_str());
  EXPECT_EQ(a.use_count(), 1);
  EXPECT_EQ(b.use_count(), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, CopyOnWriteByKind,
    ::testing::Values([] { return zo_obj(static_cast<signed char>(1)); }, [] { return zo_obj(3.0); },
                      [] { return array_value<std::complex<float>>(type_complex_single, {2, 3}); },
                      [] { return zo_obj(std::vector<std::string>{"a", "b"}, 1, 2); },
                      [] { return zo_obj(zo_hdl_t{3}); },
                      [] { return zo_obj(function_handle(fh_named, "sin")); },
                      [] { return zo_obj(type_struct, new structure(2, 1)); },
                      [] { return zo_obj(controlType{1}); }, [] { return zo_obj(draw_t()); },
                      [] { return zo_obj(new zorvat_test::counter_extern(5)); }, [] { return zo_obj(); },
                      [] { return zo_obj(type_cell, new cell_array(1, 3)); },
                      [] { return zo_obj(type_sparse_complex_double, new sparse_matrix<cd>(3, 3, 2)); },
                      [] { return zo_obj(type_variable_list, new VariableList{zorvat_test::dbl(1)}); }));

TEST(Sharing, ExternWithoutDupBecomesNullOnWrite) {
  const int before = zorvat_test::live_count::n();
  zo_obj a(new zorvat_test::plain_extern);
  zo_obj b(a);
  b.copy_on_write(false);
  EXPECT_EQ(b.type, type_extern);
  EXPECT_EQ(b.payload(), nullptr);
  EXPECT_EQ(b.brief_type_str(), "1x1 extern");
  EXPECT_NE(a.payload(), nullptr);
  a.destroy();
  EXPECT_EQ(zorvat_test::live_count::n(), before);
}

// A cell holding a double and a nested cell whose element is a structure
// with a double field.
std::shared_ptr<zo_obj> nested_value() {
  using items = std::vector<std::shared_ptr<zo_obj>>;
  structure s;
  s.set_field("x", zorvat_test::dbl(1.0), false);
  auto inner = std::make_shared<zo_obj>(
      type_cell, new cell_array(items{std::make_shared<zo_obj>(type_struct, new structure(s))}, false));
  return std::make_shared<zo_obj>(type_cell, new cell_array(items{zorvat_test::dbl(2.0), inner}, false));
}

double& deep_x(zo_obj& v) {
  auto& inner = v.get<cell_array>()(1)->get<cell_array>();
  return inner(0)->get<structure>().get_field("x")->get<matrix<double>>()[0];
}

TEST(Sharing, DeepCopyOnWriteDetachesNestedCellsAndStructures) {
  auto a = nested_value();
  zo_obj b(*a);
  b.copy_on_write(true);
  deep_x(b) = 99.0;
  b.get<cell_array>()(0)->get<matrix<double>>()[0] = 98.0;
  EXPECT_EQ(deep_x(*a), 1.0);
  EXPECT_EQ(first_double(*a->get<cell_array>()(0)), 2.0);

  // Without deep only the outer cell is copied: the nested write shows.
  zo_obj c(*a);
  c.copy_on_write(false);
  deep_x(c) = 97.0;
  EXPECT_EQ(deep_x(*a), 97.0);
}

TEST(Sharing, DeepCopyOnWriteOfAnUnsharedValueCopiesNothing) {
  auto a = nested_value();
  zo_obj b(*a);
  const void* inner = a->get<cell_array>()(1)->payload();
  a.reset();  // b is now the only owner of the outer cell
  b.copy_on_write(true);
  EXPECT_EQ(b.get<cell_array>()(1)->payload(), inner);
}

// A cell nested `depth` levels deep, built as c = {c}; the innermost element
// is a 1x1 double 7 (in a structure field every third level, to mix kinds).
std::shared_ptr<zo_obj> deeply_nested(long depth) {
  auto c = zorvat_test::dbl(7.0);
  for (long k = 0; k < depth; ++k) {
    if (k % 3 == 2) {
      auto s = std::make_shared<zo_obj>(type_struct, new structure);
      s->get<structure>().set_field("f", c, false);
      c = s;
    } else {
      c = std::make_shared<zo_obj>(type_cell, new cell_array(std::vector<std::shared_ptr<zo_obj>>{c}, false));
    }
  }
  return c;
}

zo_obj& innermost(zo_obj& v) {
  zo_obj* p = &v;
  while (p->type != type_double)
    p = p->type == type_cell ? p->get<cell_array>()(0).get() : p->get<structure>().get_field("f").get();
  return *p;
}

// Releasing and detaching nested values takes no stack per level.
TEST(Sharing, DeeplyNestedValuesAreReleasedAndDetachedWithoutRecursion) {
  auto deep = deeply_nested(100000);
  zo_obj copy(*deep);
  deep.reset();  // the chain now hangs off `copy` alone
  {
    zo_obj b(copy);
    b.copy_on_write(true);
    innermost(b).get<matrix<double>>()[0] = 8.0;
    EXPECT_EQ(first_double(innermost(copy)), 7.0);
  }
  copy = zo_obj(1.0);  // assignment releases the chain too
  EXPECT_EQ(first_double(copy), 1.0);

  auto c = deeply_nested(10000);
  auto d = std::make_shared<zo_obj>(*c);
  d->copy_on_write(true);
  c->destroy();
  EXPECT_EQ(first_double(innermost(*d)), 7.0);
}

// The kind check of get<T>() is compiled into debug and sanitizer builds
// only; release builds trust the caller.
TEST(Get, ChecksTheKindInDebugBuilds) {
  static_assert(zo_obj::holds<matrix<int>>(type_int32) && zo_obj::holds<const structure>(type_struct));
  static_assert(!zo_obj::holds<matrix<double>>(type_single) && !zo_obj::holds<int>(type_error));
  zo_obj v(1.5);
  EXPECT_EQ(v.get<matrix<double>>()[0], 1.5);
#if defined(ZORVAT_DEBUG_CHECKS) && ZORVAT_DEBUG_CHECKS
  EXPECT_DEATH(v.get<matrix<float>>(), "holds<T>");
  v.destroy();
  EXPECT_DEATH(v.get<matrix<double>>(), "payload_");
#endif
}

// ---- kind changes -----------------------------------------------------------

TEST(Reset, KeepsTheSameKindUnlessForced) {
  zo_obj v(5.0);
  const void* p = v.payload();
  v.reset(type_double, false);
  EXPECT_EQ(v.payload(), p);
  EXPECT_EQ(first_double(v), 5.0);
  v.reset(type_double, true);
  EXPECT_NE(v.payload(), nullptr);
  EXPECT_TRUE(v.get<matrix<double>>().is_empty());
}

// reset gives every kind with a payload type a fresh default (an empty array
// for arrays); create_from_nullptr fills only the dense and sparse arrays.
TEST(Reset, GivesEveryKindItsDefaultPayloadAndCreateFromNullptrOnlyArrays) {
  for (int kind = -1; kind <= 33; ++kind) {
    zo_obj v, w(1.0);
    v.reset(kind, true);
    w.create_from_nullptr(kind);
    EXPECT_EQ(v.type, kind);
    EXPECT_EQ(w.type, kind);
    const bool none = kind <= 0 || kind == 21 || kind == 23 || kind == 24 || kind > 31;
    EXPECT_EQ(v.payload() == nullptr, none) << kind;
    if (const matrix_base* a = v.array_base()) {
      EXPECT_TRUE(a->is_empty()) << kind;
    }
    const bool filled = (kind >= 1 && kind <= 14) || (kind >= 26 && kind <= 30);
    EXPECT_EQ(w.payload() != nullptr, filled) << kind;
  }
  zo_obj v;
  v.reset(type_void, true);
  EXPECT_EQ(v.get<int>(), 0);
  v.reset(type_struct, true);
  EXPECT_TRUE(v.get<structure>().is_no_fields());
}

TEST(Shape, RowVectorIsTwoDimensionalWithOneRowAndColumns) {
  const std::pair<zo_obj, bool> rows[] = {{array_value<double>(type_double, {1, 3}), true},
                                          {zo_obj(2.0), true},
                                          {zo_obj(type_sparse_double, new sparse_matrix<double>(1, 4, 0)), true},
                                          {array_value<double>(type_double, {1, 0}), false},
                                          {array_value<double>(type_double, {1, 3, 1}), false},
                                          {array_value<double>(type_double, {2, 3}), false},
                                          {zo_obj(type_cell, new cell_array(1, 3)), false},
                                          {zo_obj(function_handle()), false}};
  for (const auto& [v, row] : rows) EXPECT_EQ(v.is_row_vector(), row) << v.brief_type_str();
}

}  // namespace
