// Whole texts of obj2str for string arrays, cell arrays, structures, function
// handles, external objects and kinds without a rendering: one table per rule.
#include <climits>
#include <memory>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "display/display.h"
#include "display/display_kinds.h"
#include "display/display_string.h"
#include "display/display_text.h"
#include "display_test_util.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace zorvat_test {
namespace {

using namespace zorvat;

zo_obj strings(std::vector<std::string> v, long m, long n) { return zo_obj(v, m, n); }
std::shared_ptr<zo_obj> chars(const std::string& s) { return std::make_shared<zo_obj>(s.c_str(), type_char); }
template <class... A>
std::shared_ptr<zo_obj> item(A&&... a) { return std::make_shared<zo_obj>(std::forward<A>(a)...); }

// A cell of the given shape filled in storage order.
zo_obj cell_of(long m, long n, std::vector<std::shared_ptr<zo_obj>> items) {
  auto* c = new cell_array(m, n);
  for (size_t k = 0; k < items.size(); ++k) (*c)(static_cast<long>(k)) = items[k];
  return zo_obj(type_cell, c);
}

const layout_case string_cases[] = {
    {"ScalarLoose", [] { return zo_obj("abc"); }, 80, 0, true, "\n  1x1 string\n\n    \"abc\"\n"},
    {"EmptyArrayShowsOnlyHeader", [] { return strings({}, 0, 3); }, 80, 0, false, "  empty 0x3 string\n"},
    {"ColumnsPaddedToLongest", [] { return strings({"a", "cc", "bbb", "d"}, 2, 2); }, 80, 0, false,
     "  2x2 string\n    \"a \"    \"bbb\"\n    \"cc\"    \"d  \"\n"},
    {"ControlCharactersEscaped", [] { return zo_obj(std::string("a\0b\a\b\t\n\v\f\rc\x01", 12)); }, 80, 0, false,
     "  1x1 string\n    \"a b\\a\\b\\t\\n\\v\\f\\rc\x01\"\n"},
    {"InvalidUtf8KeptAsBytes", [] { return zo_obj("\xff\xfe\xc3"); }, 80, 0, false,
     "  1x1 string\n    \"\xff\xfe\xc3\"\n"},
    // Width 20: each column costs its width + 6; columns 1 and 2 fit, 3 starts a page.
    {"PagesOfSeveralColumns", [] { return strings({"a", "b", "c", "d"}, 1, 4); }, 20, 0, false,
     "  1x4 string\n  列 1 -- 2\n    \"a\"    \"b\"\n  列 3 -- 4\n    \"c\"    \"d\"\n"},
    {"WiderThanConsoleAlone", [] { return strings({"aaaaaaaaaa", "bb", std::string(24, 'c')}, 1, 3); }, 20, 0, false,
     "  1x3 string\n  列 1\n    \"aaaaaaaaaa\"\n  列 2\n    \"bb\"\n  列 3\n    \"" + std::string(24, 'c') + "\"\n"},
    {"FirstColumnWiderThanConsole", [] { return strings({std::string(30, 'x'), "y"}, 1, 2); }, 20, 0, true,
     "\n  1x2 string\n\n  列 1\n\n    \"" + std::string(30, 'x') + "\"\n  列 2\n\n    \"y\"\n"},
    {"SlicesOfNdArray", [] { return arr<std::string>({1, 1, 2}, {"p", "q"}); }, 80, 0, true,
     "\n  1x1x2 string\n\n(:,:,1) = \n\n    \"p\"\n(:,:,2) = \n\n    \"q\"\n"},
    // A row longer than the writer's pieces (2048 characters) goes to the
    // sink whole, the same text.
    {"RowLongerThanAPiece", [] { return strings({std::string(2100, 's'), "t"}, 2, 1); }, 10000, 0, false,
     "  2x1 string\n    \"" + std::string(2100, 's') + "\"\n    \"t" + std::string(2099, ' ') + "\"\n"},
};
INSTANTIATE_TEST_SUITE_P(Strings, Layout, ::testing::ValuesIn(string_cases), case_name);

const layout_case cell_cases[] = {
    {"EmptyCellShowsOnlyHeader", [] { return zo_obj(type_cell, new cell_array(0, 2)); }, 80, 0, false,
     "  0x2 cell array\n"},
    // 2 * 80 / 5 = 32 characters survive.
    {"LongCharRowCutAt2WidthOver5", [] { return cell_of(1, 1, {chars(std::string(200, 'a'))}); }, 80, 0, false,
     "  1x1 cell array\n    {'" + std::string(32, 'a') + "...'}\n"},
    {"NarrowConsoleCutsShorter", [] { return cell_of(1, 1, {item("abcdefghijk")}); }, 20, 0, false,
     "  1x1 cell array\n    {\"abcdefgh...\"}\n"},
    {"MatrixShowsSizeAndType", [] { return cell_of(1, 1, {item(arr<double>({3, 3}))}); }, 80, 0, false,
     "  1x1 cell array\n    {3x3 double}\n"},
    {"RowVectorShowsNumbers", [] { return cell_of(1, 1, {item(arr<int>({1, 3}, {1, 2, 3}))}); }, 80, 0, false,
     "  1x1 cell array\n    {[1 2 3]}\n"},
    {"EmptySlotAndPadding", [] { return cell_of(2, 2, {chars("ab"), nullptr, nullptr, item(2.5)}); }, 80, 0, false,
     "  2x2 cell array\n    {'ab'}    {        }\n    {    }    {[2.5000]}\n"},
    // (2 x width) / 5 at the ends of long: no overflow, nothing cut.
    {"WidestConsole", [] { return cell_of(1, 2, {item("abc"), chars("de")}); }, LONG_MAX, 0, false,
     "  1x2 cell array\n    {\"abc\"}    {'de'}\n"},
    {"NegativeWidthColumnsAlone", [] { return cell_of(1, 2, {item("abc"), chars("de")}); }, LONG_MIN, 0, false,
     "  1x2 cell array\n  列 1\n    {\"abc\"}\n  列 2\n    {'de'}\n"},
    // A quoted summary is the cut text as it stands: never escaped, never past W.
    {"ControlCharsInCharRowKept", [] { return cell_of(1, 1, {chars("x\ty\n")}); }, 80, 0, false,
     "  1x1 cell array\n    {'x\ty\n'}\n"},
    {"ControlCharsCutAtW", [] { return cell_of(1, 1, {item(std::string(40, '\t').c_str())}); }, 80, 0, true,
     "\n  1x1 cell array\n\n    {\"" + std::string(32, '\t') + "...\"}\n"},
    {"LoosePagesHaveNoTrailingBlankLine", [] { return cell_of(1, 2, {item(std::string(30, 'a').c_str()), item(2.5)}); },
     30, 0, true, "\n  1x2 cell array\n\n  列 1\n\n    {\"aaaaaaaaaaaa...\"}\n  列 2\n\n    {[2.5000]}\n"},
    // Format 9: a summary formats the element type as it stands (no int32
    // copy, unlike the dense body), so whole-valued doubles show signs, zero
    // as a blank that the trim removes; integer elements stay decimal.
    {"SignFormatWholeDoublesShowSigns", [] { return cell_of(1, 1, {item(arr<double>({1, 3}, {1, -2, 0}))}); }, 80, 9,
     false, "  1x1 cell array\n    {[+ - ]}\n"},
    {"SignFormatIntegersStayDecimal", [] { return cell_of(1, 1, {item(arr<int>({1, 3}, {1, -2, 0}))}); }, 80, 9,
     false, "  1x1 cell array\n    {[1 -2 0]}\n"},
    {"NestedContainersShowSizeAndType",
     [] { return cell_of(1, 2, {item(type_cell, new cell_array(2, 3)), item(type_struct, new structure(1, 2))}); },
     80, 0, false, "  1x2 cell array\n    {2x3 cell}    {1x2 struct}\n"},
    {"RowLongerThanAPiece", [] { return cell_of(2, 1, {item(std::string(2100, 's').c_str()), chars("t")}); }, 10000,
     0, false, "  2x1 cell array\n    {\"" + std::string(2100, 's') + "\"}\n    {'t'" + std::string(2099, ' ') + "}\n"},
    {"SlicesOfNdCell",
     [] {
       auto* c = new cell_array(std::vector<long>{1, 1, 2});
       c->data()(1) = item(2.5);
       return zo_obj(type_cell, c);
     },
     80, 0, false, "  1x1x2 cell array\n(:,:,1) = \n    {}\n(:,:,2) = \n    {[2.5000]}\n"},
    // A new cell's slots hold no value: an empty slot keeps an empty text.
    {"NewCellHoldsEmptySlots", [] { return zo_obj(type_cell, new cell_array(1, 2)); }, 80, 0, false,
     "  1x2 cell array\n    {}    {}\n"},
};
INSTANTIATE_TEST_SUITE_P(Cells, Layout, ::testing::ValuesIn(cell_cases), case_name);

class counter : public extern_obj_base {
 public:
  extern_obj_base* dup() const override { return new counter(*this); }
  std::string to_string() const override { return "    count = 3\n"; }
  std::string classname() const override { return "counter"; }
};

// Field lines come from structure::to_string: names right-aligned on the
// colon, each value as its one-line summary.
zo_obj struct_of_every_kind() {
  auto* st = new structure;
  st->set_field("a", item(1.5), false);
  st->set_field("name", chars("x\ty"), false);
  st->set_field("r", item(arr<int>({1, 3}, {1, 2, 3})), false);
  st->set_field("c", item(type_cell, new cell_array(1, 1)), false);
  st->set_field("s", item(type_struct, new structure), false);
  st->set_field("fh", item(function_handle(fh_named, "sin")), false);
  st->set_field("str", item("q"), false);
  st->set_field("v", item(), false);
  st->set_field("sp", item(type_sparse_double, new sparse_matrix<double>(2, 2, 0)), false);
  return zo_obj(type_struct, st);
}

zo_obj struct_array_of_fields() {
  auto* arr = new structure(1, 2);
  arr->create_field_table("x");
  arr->create_field_table("long");
  return zo_obj(type_struct, arr);
}

const layout_case other_cases[] = {
    {"FunctionHandle", [] { return zo_obj(function_handle(fh_anonymous, "@(x) x + 1")); }, 80, 0, true,
     "\n  1x1 function_handle\n\n    @(x) x + 1\n"},
    {"FunctionHandleCompactHasNoLineFeed", [] { return zo_obj(function_handle(fh_named, "sin")); }, 80, 0, false,
     "  1x1 function_handle\n    sin"},
    {"ControlKindPrintsNotice", [] { return zo_obj(controlType{1}); }, 80, 0, false,
     "  1x1 control\n  (暂不支持该类数据的输出)\n"},
    {"BaseExternObjectIsEmpty", [] { return zo_obj(new extern_obj_base); }, 80, 0, true, "\n  1x1 extern object\n\n\n"},
    {"ExternWritesItsOwnText", [] { return zo_obj(new counter); }, 80, 0, true, "\n  1x1 counter\n\n    count = 3\n\n"},
    {"StructScalarFieldsAlignOnTheColon", struct_of_every_kind, 80, 0, false,
     "  1x1 struct\n"
     "       a: 1.5000\n"
     "    name: 'x\ty'\n"
     "       r: [1 2 3]\n"
     "       c: [1x1 cell array]\n"
     "       s: [1x1 struct]\n"
     "      fh: [1x1 function_handle]\n"
     "     str: \"q\"\n"
     "       v: [1x1 void]\n"
     "      sp: [2x2 sparse double]\n"},
    {"StructArrayListsFieldNames", struct_array_of_fields, 80, 0, true,
     "\n  1x2 struct array\n\n  包含如下字段：\n\n       x\n    long\n\n"},
    {"StructArrayWithoutFields", [] { return zo_obj(type_struct, new structure(3, 1)); }, 80, 0, true,
     "\n  3x1 struct array\n\n  （结构体不含任何字段）\n\n"},
};
INSTANTIATE_TEST_SUITE_P(Others, Layout, ::testing::ValuesIn(other_cases), case_name);

// A cell that holds itself, and a deep chain of nested cells, print at once:
// only the outer cell's elements are summarised.
TEST(CellDisplay, SelfContainingAndDeeplyNestedCellsDoNotRecurse) {
  auto self = std::make_shared<zo_obj>(type_cell, new cell_array(1, 1));
  self->get<cell_array>()(0) = self;
  EXPECT_EQ(internal::obj2str(*self, 80), "\n  1x1 cell array\n\n    {1x1 cell}\n");
  self->get<cell_array>()(0) = nullptr;  // break the cycle

  auto chain = std::make_shared<zo_obj>(2.0);
  for (int k = 0; k < 2000; ++k) {
    auto outer = std::make_shared<zo_obj>(type_cell, new cell_array(1, 1));
    outer->get<cell_array>()(0) = chain;
    chain = outer;
  }
  EXPECT_EQ(internal::obj2str(*chain, 80), "\n  1x1 cell array\n\n    {1x1 cell}\n");
  // Unlink from the outside so that releasing the chain does not nest 2000 deep.
  while (chain->type == type_cell) {
    auto next = chain->get<cell_array>()(0);
    chain->get<cell_array>()(0) = nullptr;
    chain = next;
  }
}

// Cells of random elements against the layout of their summary texts made
// one by one (quoted and cut texts of every length around the cut and the
// short-text copy, char rows stored with gaps, several-row char arrays, row
// vectors, matrices, empty slots), at widths that cut and page differently.
TEST(CellDisplay, MatchesLayoutOfSummaryTexts) {
  std::mt19937_64 rng(41);
  auto pick = [&](long n) { return static_cast<long>(rng() % static_cast<unsigned long>(n)); };
  const zo_obj gapped = outer_columns<char>({'a', 'b', 'c', 'd', 'e', 'f'});
  for (long width : {12L, 30L, 80L, 200L}) {
    const long max_len = 2 * width / 5;
    for (int round = 0; round < 20; ++round) {
      const long m = 1 + pick(5), n = 1 + pick(9);
      auto* c = new cell_array(m, n);
      matrix<std::string> texts(m, n);
      for (long k = 0; k < m * n; ++k) {
        const std::string t(static_cast<size_t>(pick(40)), static_cast<char>('a' + pick(26)));
        std::shared_ptr<zo_obj> e;
        switch (pick(7)) {
          case 0: e = item(t.c_str()); break;
          case 1: e = chars(t); break;
          case 2: e = item(gapped); break;
          case 3: e = item(arr<char>({2, 2}, {'a', 'b', 'c', 'd'})); break;
          case 4: e = item(arr<double>({1, 2}, {0.5, static_cast<double>(pick(1000))})); break;
          case 5: e = item(arr<double>({3, 3})); break;
          default: break;  // an empty slot
        }
        (*c)(k) = e;
        if (e == nullptr)
          texts(k) = "";
        else if (e->type == type_string || (e->type == type_char && e->get<matrix<char>>().rows() <= 1))
          texts(k) = internal::string_quote_truncate(*e, max_len);
        else if (e->is_row_vector())
          texts(k) = internal::row_vector_to_string(*e, max_len, true);
        else
          texts(k) = cell_array::size_str_cell(e) + " " + cell_array::type_str_cell(e);
      }
      const zo_obj v(type_cell, c);
      internal::FixedLengthStream got(1 << 20), want(1 << 20);
      internal::obj2str_impl_cell(got, v, width);
      internal::obj2str_impl_from_string_mat(want, texts, width, '{', '}', 0);
      ASSERT_EQ(got.str(), want.str()) << m << "x" << n << " at width " << width;
    }
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
  const host_console console;
  internal::BufferedStream<1> out(nullptr, 0);
  internal::obj2str_impl_from_string_mat(out, t, 80, 0, '>', 1);
  out.flush();
  internal::BufferedStream<2> err(nullptr, 1 << 20);
  internal::obj2str_impl_from_string_mat(err, t, 80, 0, '>', 0);
  err.flush();
  EXPECT_EQ(console.out(), "    ab>\n    c >\n");
  EXPECT_EQ(console.err(), console.out());
}

}  // namespace
}  // namespace zorvat_test
