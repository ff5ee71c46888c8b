// Iterator corner cases (arrays without a block, advancing along a chosen
// dimension, comparison) and the stream dump.  Walks of random strided views,
// with their pointers and live index(), are checked against an odometer by
// fuzz/dense_views.cpp.
#include <gtest/gtest.h>

#include <complex>
#include <sstream>
#include <vector>

#include "matrix/matrix.h"

namespace zorvat {
namespace {

TEST(MatrixIterator, AZeroExtentStillWalksTheOtherExtent) {
  matrix<double> m(0, 3);
  auto b = m.begin(), e = m.end();
  EXPECT_NE(b, e);
  int steps = 0;
  for (; b != e; ++b) ++steps;
  EXPECT_EQ(steps, 3);
  EXPECT_EQ(e.index(), (std::vector<long>{0, 3}));
}

TEST(MatrixIterator, EndIsTheSameWhicheverDimensionTheWalkAdvancedAlong) {
  matrix<double> m({2, 3, 4});
  for (long d = 0; d < 3; ++d) {
    auto it = m.begin();
    while (it != m.end()) it.advance_along_dim(d);
    EXPECT_EQ(it.index(), (std::vector<long>{0, 0, 4})) << "dimension " << d;
  }
}

struct CompareCase {
  std::vector<long> left_dims, right_dims;
  long left_steps, right_steps;
  bool equal;
};

class MatrixIteratorCompare : public ::testing::TestWithParam<CompareCase> {};

// The left operand's subscripts (never the pointers: a and b are different
// arrays) are compared from the last one down; an entry the right operand
// lacks counts as 0.
TEST_P(MatrixIteratorCompare, LeftLengthDecides) {
  const auto& c = GetParam();
  matrix<double> a(c.left_dims), b(c.right_dims);
  auto ia = a.begin(), ib = b.begin();
  for (long i = 0; i < c.left_steps; ++i) ++ia;
  for (long i = 0; i < c.right_steps; ++i) ++ib;
  EXPECT_EQ(ia == ib, c.equal);
  EXPECT_EQ(ia != ib, !c.equal);
  const auto before = ib++;  // the position before the step
  EXPECT_EQ(ia == before, c.equal);
  EXPECT_FALSE(ib == before);
}

INSTANTIATE_TEST_SUITE_P(
    Subscripts, MatrixIteratorCompare,
    ::testing::Values(CompareCase{{2, 2}, {2, 2, 2}, 2, 2, true},    // {0,1} vs {0,1,0}
                      CompareCase{{2, 2, 2}, {2, 2}, 2, 2, true},    // {0,1,0} vs {0,1}
                      CompareCase{{2, 2}, {2, 2, 2}, 2, 6, true},    // {0,1} vs {0,1,1}
                      CompareCase{{2, 2, 2}, {2, 2}, 6, 2, false},   // {0,1,1} vs {0,1}
                      CompareCase{{2, 2}, {2, 2, 2}, 1, 2, false},   // {1,0} vs {0,1,0}
                      CompareCase{{3, 2}, {2, 3}, 3, 2, true},       // {0,1} vs {0,1}
                      CompareCase{{3, 2}, {2, 3}, 4, 2, false},      // {1,1} vs {0,1}
                      CompareCase{{2, 2}, {2, 2, 2}, 1, 1, true},    // {1,0} vs {1,0,0}
                      CompareCase{{2, 2, 2}, {2, 2}, 5, 1, false},   // {1,0,1} vs {1,0}
                      CompareCase{{2, 3}, {2, 3}, 5, 3, false}));    // {1,2} vs {1,1}

// A default iterator has no subscripts: as the left operand it equals every
// iterator, as the right one it stands for all-zero subscripts.
TEST(MatrixIterator, DefaultIteratorComparesAsNoSubscripts) {
  matrix<double> m(3, 2);
  const matrix<double>::iterator none;
  auto it = m.begin();
  EXPECT_TRUE(it == none);
  ++it;  // {1, 0}
  EXPECT_TRUE(none == it);
  EXPECT_FALSE(it == none);
  ++it, ++it;  // {0, 1}
  EXPECT_FALSE(it == none);
  EXPECT_TRUE(none == m.end());
}

TEST(MatrixIterator, AdvanceAlongOutOfRangeDimensionsClamps) {
  matrix<double> m({2, 3, 2});
  auto below = m.begin(), first = m.begin();
  below.advance_along_dim(-5);
  ++first;
  EXPECT_EQ(below.index(), first.index());
  EXPECT_EQ(below.ptr(), first.ptr());
  auto past = m.begin(), last = m.begin();
  past.advance_along_dim(3);
  last.advance_along_dim(2);
  EXPECT_EQ(past.index(), (std::vector<long>{0, 0, 1}));
  EXPECT_EQ(past.ptr(), last.ptr());
  past.advance_along_dim(99);
  EXPECT_EQ(past, m.end());
}

// ---------------------------------------------------------------- stream output

template <class T>
std::string dump(const matrix<T>& m) {
  std::ostringstream os;
  os << m;
  return os.str();
}

TEST(MatrixStream, WritesRowsWithTabs) {
  matrix<double> m(2, 2);
  m << 1, 2, 3, 4.5;
  EXPECT_EQ(dump(m), "1\t3\t\n2\t4.5\t\n");
}

TEST(MatrixStream, EmptyArraysWriteTheNote) {
  EXPECT_EQ(dump(matrix<double>(0, 3)), "(空矩阵)\n");
  EXPECT_EQ(dump(matrix<int>({2, 0, 3})), "(空矩阵)\n");
}

TEST(MatrixStream, EveryPageRepeatsTheFirstPage) {
  matrix<int> m({2, 1, 2});
  m << 1, 2, 3, 4;
  EXPECT_EQ(dump(m), "(:, :, 1) = \n1\t\n2\t\n(:, :, 2) = \n1\t\n2\t\n");
}

TEST(MatrixStream, ElementFormattingFollowsTheType) {
  matrix<signed char> s(1, 2);
  s << 65, 'z';
  EXPECT_EQ(dump(s), "A\tz\t\n");
  matrix<unsigned char> u(1, 1);
  u << 66;
  EXPECT_EQ(dump(u), "B\t\n");
  matrix<bool> l(1, 2);
  l << true, false;
  EXPECT_EQ(dump(l), "1\t0\t\n");
  matrix<std::complex<float>> z(1, 1);
  z << std::complex<float>(1.5f, -2.0f);
  EXPECT_EQ(dump(z), "(1.5,-2)\t\n");
  matrix<unsigned long> big(1, 1);
  big << 18446744073709551615ul;
  EXPECT_EQ(dump(big), "18446744073709551615\t\n");
  matrix<float> f(1, 1);
  f << 0.1f;
  EXPECT_EQ(dump(f), "0.1\t\n");
  std::ostringstream os;
  os.precision(10);
  os << f;
  EXPECT_EQ(os.str(), "0.1000000015\t\n");  // widened to double, the stream's flags apply
}

TEST(MatrixStream, StridedViewsPrintWhatTheyAddress) {
  matrix<int> m(3, 3);
  m << 1, 2, 3, 4, 5, 6, 7, 8, 9;
  EXPECT_EQ(dump(m.view(2, 2, 1, 3, 1)), "2\t5\t\n3\t6\t\n");
  EXPECT_EQ(dump(m.diag()), "1\t\n5\t\n9\t\n");
}

}  // namespace
}  // namespace zorvat
