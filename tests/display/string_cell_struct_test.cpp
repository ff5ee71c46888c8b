// Whole texts of obj2str for string arrays, cell arrays, structures, function
// handles, external objects and kinds without a rendering: one table per rule.
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "display/display.h"
#include "display/display_string.h"
#include "display_test_util.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace zorvat {
namespace {

using zorvat_test::array_value;

struct text_case {
  const char* name;
  std::function<zo_obj()> make;
  long width;
  bool loose;
  std::string expected;
};

std::ostream& operator<<(std::ostream& os, const text_case& c) { return os << c.name; }

class TextLayout : public zorvat_test::display_format_guard, public ::testing::WithParamInterface<text_case> {};

TEST_P(TextLayout, PrintsExactText) {
  const text_case& c = GetParam();
  set_format(0, c.loose);
  EXPECT_EQ(internal::obj2str(c.make(), c.width), c.expected);
}

auto case_name = [](const auto& i) { return std::string(i.param.name); };

zo_obj strings(std::vector<std::string> v, long m, long n) { return zo_obj(v, m, n); }

std::shared_ptr<zo_obj> chars(const std::string& s) { return std::make_shared<zo_obj>(s.c_str(), type_char); }

// A cell of the given shape filled in storage order.
zo_obj cell_of(long m, long n, std::vector<std::shared_ptr<zo_obj>> items) {
  auto* c = new cell_array(m, n);
  for (size_t k = 0; k < items.size(); ++k) (*c)(static_cast<long>(k)) = items[k];
  return zo_obj(type_cell, c);
}

INSTANTIATE_TEST_SUITE_P(
    Strings, TextLayout,
    ::testing::Values(
        text_case{"ScalarLoose", [] { return zo_obj("abc"); }, 80, true, "\n  1x1 string\n\n    \"abc\"\n\n"},
        text_case{"ScalarCompact", [] { return zo_obj("abc"); }, 80, false, "  1x1 string\n    \"abc\"\n"},
        text_case{"EmptyArrayShowsOnlyHeader", [] { return strings({}, 0, 3); }, 80, false,
                  "  empty 0x3 string\n"},
        text_case{"ColumnsPaddedToLongest", [] { return strings({"a", "cc", "bbb", "d"}, 2, 2); }, 80, false,
                  "  2x2 string\n    \"a \"    \"bbb\"\n    \"cc\"    \"d  \"\n"},
        text_case{"ControlCharactersEscaped",
                  [] { return zo_obj(std::string("a\0b\a\b\t\n\v\f\rc\x01", 12)); }, 80, false,
                  "  1x1 string\n    \"a b\\a\\b\\t\\n\\v\\f\\rc\x01\"\n"},
        text_case{"InvalidUtf8KeptAsBytes", [] { return zo_obj("\xff\xfe\xc3"); }, 80, false,
                  "  1x1 string\n    \"\xff\xfe\xc3\"\n"},
        // Width 20: each column costs its width + 6; columns 1 and 2 fit, 3 starts a page.
        text_case{"PagesOfSeveralColumns", [] { return strings({"a", "b", "c", "d"}, 1, 4); }, 20, false,
                  "  1x4 string\n  列 1 -- 2\n    \"a\"    \"b\"\n  列 3 -- 4\n    \"c\"    \"d\"\n"},
        text_case{"WiderThanConsoleAlone",
                  [] { return strings({"aaaaaaaaaa", "bb", std::string(24, 'c')}, 1, 3); }, 20, false,
                  "  1x3 string\n  列 1\n    \"aaaaaaaaaa\"\n  列 2\n    \"bb\"\n  列 3\n    \"" +
                      std::string(24, 'c') + "\"\n"},
        text_case{"FirstColumnWiderThanConsole", [] { return strings({std::string(30, 'x'), "y"}, 1, 2); }, 20,
                  true,
                  "\n  1x2 string\n\n  列 1\n\n    \"" + std::string(30, 'x') +
                      "\"\n\n  列 2\n\n    \"y\"\n\n"},
        text_case{"SlicesOfNdArray",
                  [] {
                    auto* m = new matrix<std::string>(std::vector<long>{1, 1, 2});
                    m->data()[0] = "p";
                    m->data()[1] = "q";
                    return zo_obj(type_string, m);
                  },
                  80, true, "\n  1x1x2 string\n\n(:,:,1) = \n\n    \"p\"\n\n(:,:,2) = \n\n    \"q\"\n\n"}),
    case_name);

INSTANTIATE_TEST_SUITE_P(
    Cells, TextLayout,
    ::testing::Values(
        text_case{"EmptyCellShowsOnlyHeader", [] { return zo_obj(type_cell, new cell_array(0, 2)); }, 80, false,
                  "  0x2 cell array\n"},
        // 2 * 80 / 5 = 32 characters survive.
        text_case{"LongCharRowCutAt2WidthOver5", [] { return cell_of(1, 1, {chars(std::string(200, 'a'))}); }, 80,
                  false, "  1x1 cell array\n    {'" + std::string(32, 'a') + "...'}\n"},
        text_case{"NarrowConsoleCutsShorter", [] { return cell_of(1, 1, {std::make_shared<zo_obj>("abcdefghijk")}); },
                  20, false, "  1x1 cell array\n    {\"abcdefgh...\"}\n"},
        text_case{"MatrixShowsSizeAndType",
                  [] { return cell_of(1, 1, {std::make_shared<zo_obj>(array_value<double>(type_double, {3, 3}, {}))}); },
                  80, false, "  1x1 cell array\n    {3x3 double}\n"},
        text_case{"RowVectorShowsNumbers",
                  [] {
                    return cell_of(1, 1, {std::make_shared<zo_obj>(array_value<int>(type_int32, {1, 3}, {1, 2, 3}))});
                  },
                  80, false, "  1x1 cell array\n    {[1 2 3]}\n"},
        text_case{"EmptySlotAndPadding", [] { return cell_of(2, 2, {chars("ab"), nullptr, nullptr, std::make_shared<zo_obj>(2.5)}); },
                  80, false, "  2x2 cell array\n    {'ab'}    {        }\n    {    }    {[2.5000]}\n"},
        text_case{"ControlCharsInCharRowEscaped", [] { return cell_of(1, 1, {chars("x\ty\n")}); }, 80, false,
                  "  1x1 cell array\n    {'x\\ty\\n'}\n"},
        text_case{"NestedContainersShowSizeAndType",
                  [] {
                    auto inner = std::make_shared<zo_obj>(type_cell, new cell_array(2, 3));
                    auto st = std::make_shared<zo_obj>(type_struct, new structure(1, 2));
                    return cell_of(1, 2, {inner, st});
                  },
                  80, false, "  1x2 cell array\n    {2x3 cell}    {1x2 struct}\n"}),
    case_name);

INSTANTIATE_TEST_SUITE_P(
    Others, TextLayout,
    ::testing::Values(
        text_case{"FunctionHandle", [] { return zo_obj(function_handle(fh_anonymous, "@(x) x + 1")); }, 80, true,
                  "\n  1x1 function_handle\n\n    @(x) x + 1\n\n"},
        text_case{"FunctionHandleCompactEndsLine", [] { return zo_obj(function_handle(fh_named, "sin")); }, 80, false,
                  "  1x1 function_handle\n    sin\n"},
        text_case{"ControlKindPrintsNotice", [] { return zo_obj(controlType{1}); }, 80, false,
                  "  1x1 control\n  (暂不支持该类数据的输出)\n"},
        text_case{"BaseExternObjectIsEmpty", [] { return zo_obj(new extern_obj_base); }, 80, true,
                  "\n  1x1 extern object\n\n\n"}),
    case_name);

class counter : public extern_obj_base {
 public:
  extern_obj_base* dup() const override { return new counter(*this); }
  std::string to_string() const override { return "    count = 3\n"; }
  std::string classname() const override { return "counter"; }
};

TEST(ExternDisplay, WritesTheObjectsOwnText) {
  EXPECT_EQ(internal::obj2str(zo_obj(new counter), 80), "\n  1x1 counter\n\n    count = 3\n\n");
}

// Structures: field lines come from structure::to_string, names right-aligned.
class StructDisplay : public zorvat_test::display_format_guard {};

TEST_F(StructDisplay, ScalarFieldsOfEveryKindAlignOnTheColon) {
  set_format(0, false);
  auto* st = new structure;
  st->set_field("a", std::make_shared<zo_obj>(1.5), false);
  st->set_field("name", chars("x\ty"), false);
  st->set_field("c", std::make_shared<zo_obj>(type_cell, new cell_array(1, 1)), false);
  st->set_field("s", std::make_shared<zo_obj>(type_struct, new structure), false);
  st->set_field("fh", std::make_shared<zo_obj>(function_handle(fh_named, "sin")), false);
  st->set_field("str", std::make_shared<zo_obj>("q"), false);
  st->set_field("v", std::make_shared<zo_obj>(), false);
  st->set_field("sp", std::make_shared<zo_obj>(type_sparse_double, new sparse_matrix<double>(2, 2, 0)), false);
  EXPECT_EQ(internal::obj2str(zo_obj(type_struct, st), 80),
            "  1x1 struct\n"
            "       a: 1.5000\n"
            "    name: 'x\ty'\n"
            "       c: [1x1 cell array]\n"
            "       s: [1x1 struct]\n"
            "      fh: [1x1 function_handle]\n"
            "     str: \"q\"\n"
            "       v: [1x1 void]\n"
            "      sp: [2x2 sparse double]\n");
}

TEST_F(StructDisplay, ArrayListsFieldNamesAndNoFieldsGivesOneLine) {
  set_format(0, true);
  auto* arr = new structure(1, 2);
  arr->create_field_table("x");
  arr->create_field_table("long");
  EXPECT_EQ(internal::obj2str(zo_obj(type_struct, arr), 80),
            "\n  1x2 struct array\n\n  包含如下字段：\n\n       x\n    long\n\n");
  EXPECT_EQ(internal::obj2str(zo_obj(type_struct, new structure(3, 1)), 80),
            "\n  3x1 struct array\n\n  （结构体不含任何字段）\n\n");
}

// A cell that holds itself, and a deep chain of nested cells, print at once:
// only the outer cell's elements are summarised.
TEST(CellDisplay, SelfContainingAndDeeplyNestedCellsDoNotRecurse) {
  auto self = std::make_shared<zo_obj>(type_cell, new cell_array(1, 1));
  self->get<cell_array>()(0) = self;
  EXPECT_EQ(internal::obj2str(*self, 80), "\n  1x1 cell array\n\n    {1x1 cell}\n\n");
  self->get<cell_array>()(0) = nullptr;  // break the cycle

  auto chain = std::make_shared<zo_obj>(2.0);
  for (int k = 0; k < 2000; ++k) {
    auto outer = std::make_shared<zo_obj>(type_cell, new cell_array(1, 1));
    outer->get<cell_array>()(0) = chain;
    chain = outer;
  }
  EXPECT_EQ(internal::obj2str(*chain, 80), "\n  1x1 cell array\n\n    {1x1 cell}\n\n");
  // Unlink from the outside so that releasing the chain does not nest 2000 deep.
  while (chain->type == type_cell) {
    auto next = chain->get<cell_array>()(0);
    chain->get<cell_array>()(0) = nullptr;
    chain = next;
  }
}

// The layout on its own: brackets left out when 0, in every sink alike.
class StringMatLayout : public zorvat_test::display_format_guard {};

TEST_F(StringMatLayout, ZeroBracketsAreLeftOutAndSinksAgree) {
  set_format(0, false);
  matrix<std::string> t(2, 1);
  t(0) = "ab";
  t(1) = "c";
  internal::FixedLengthStream f(1 << 20);
  internal::obj2str_impl_from_string_mat(f, t, 80, 0, 0, 0);
  EXPECT_EQ(f.str(), "    ab\n    c \n");
  std::ostringstream os;
  internal::BufferedStream<0> b(&os, 0);
  internal::obj2str_impl_from_string_mat(b, t, 80, '<', 0, 1);
  b.flush();
  EXPECT_EQ(os.str(), "    <ab\n    <c \n");
}

}  // namespace
}  // namespace zorvat
