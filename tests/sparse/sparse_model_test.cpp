// Model-based tests of sparse_matrix<T>: the construction from triplets must
// equal placing the list and compressing it, on random and on large lists.
// The coordinate rule itself, and edits after construction (set_value,
// transposes, resizes, reservations, copies), are checked against a model of
// stored places by fuzz/sparse_model.cpp.
#include <gtest/gtest.h>

#include <complex>
#include <deque>
#include <memory>
#include <random>
#include <vector>

#include "sparse/sparse_matrix.h"

namespace {

using zorvat::sparse_matrix;
using zorvat::triplet;

// Small integers (about one value in five is zero), so duplicates cancel and
// every sum is exact.
template <class T>
T random_value(std::mt19937& g) {
  std::uniform_int_distribution<int> d(-2, 2);
  if constexpr (std::is_same_v<T, bool>) return d(g) > 0;
  else if constexpr (std::is_same_v<T, std::complex<double>> || std::is_same_v<T, std::complex<float>>)
    return T(d(g), d(g) / 2);
  else return T(d(g));
}

template <class T>
struct random_case {
  std::vector<triplet<T>> list;
  long m, n;
};

// Up to 60 triplets in about 12 x 12, some beyond the asked shape; one case
// in four has at most two columns, so columns get long.
template <class T>
random_case<T> make_case(std::mt19937& g) {
  std::uniform_int_distribution<long> size(0, 12), count(0, 60), over(0, 3);
  const long m = size(g), n = g() % 4 ? size(g) : size(g) % 3;
  const long rmax = m + over(g), cmax = n + over(g);
  std::vector<triplet<T>> list(rmax > 0 && cmax > 0 ? count(g) : 0);
  for (auto& t : list)
    t = {random_value<T>(g), std::uniform_int_distribution<long>(0, cmax - 1)(g),
         std::uniform_int_distribution<long>(0, rmax - 1)(g)};
  return {list, m, n};
}

// The construction from `list` must equal placing the list column by column
// and calling compress(false) and reorder() on it, to the bit.
template <class T>
void expect_placed_then_compressed(const std::vector<triplet<T>>& list, const sparse_matrix<T>& s) {
  std::vector<long> jc(s.cols() + 1, 0), ir(list.size());
  std::deque<T> pr(list.size());
  for (const auto& t : list) ++jc[t.col + 1];
  for (long j = 0; j < s.cols(); ++j) jc[j + 1] += jc[j];
  std::vector<long> next(jc.begin(), jc.end() - 1);
  for (const auto& t : list) ir[next[t.col]] = t.row, pr[next[t.col]++] = t.value;
  std::unique_ptr<T[]> values(new T[pr.size() + 1]);  // no packed bool
  std::copy(pr.begin(), pr.end(), values.get());
  sparse_matrix<T> slow(s.rows(), s.cols(), ir.size(), ir.data(), jc.data(), values.get());
  slow.compress(false);
  slow.reorder();
  ASSERT_EQ(std::vector<long>(slow.jc(), slow.jc() + s.cols() + 1),
            std::vector<long>(s.jc(), s.jc() + s.cols() + 1));
  ASSERT_EQ(std::vector<long>(slow.jce(), slow.jce() + s.cols()),
            std::vector<long>(s.jce(), s.jce() + s.cols()));
  ASSERT_EQ(slow.nzmax(), s.nzmax());
  for (long k = 0; k < s.nnz(); ++k) {
    ASSERT_EQ(slow.ir()[k], s.ir()[k]) << k;
    ASSERT_EQ(slow[k], s[k]) << k;
  }
}

template <class T>
class SparseModel : public ::testing::Test {};
using SparseTypes = ::testing::Types<double, float, std::complex<double>, std::complex<float>, bool>;
TYPED_TEST_SUITE(SparseModel, SparseTypes);

// Large lists, which the construction splits into many blocks of columns:
// short columns with repeated rows and zeros, columns beyond the asked shape,
// long columns, and many empty columns.
struct large_case {
  long count, row_range, col_range, m, n;
};

TYPED_TEST(SparseModel, LargeTripletListsFollowTheCoordinateRule) {
  using T = TypeParam;
  const large_case cases[] = {
      {60000, 8, 20000, 8, 20000},     // about 3 per column, rows repeat
      {60000, 100000, 6000, 0, 0},     // every column beyond the asked shape
      {30000, 40, 600, 40, 600},       // about 50 per column
      {30000, 1000, 1500, 1000, 1500}, // about 20 per column
      {5000, 100, 1000, 100, 200000},  // mostly empty columns
      {1000, 4, 3000, 4, 100000},      // sparse blocks, some columns repeat rows
  };
  std::mt19937 g(5);
  for (const auto& c : cases) {
    std::uniform_int_distribution<long> row(0, c.row_range - 1), col(0, c.col_range - 1);
    std::vector<triplet<T>> list(c.count);
    for (auto& t : list) t = {random_value<T>(g), col(g), row(g)};
    sparse_matrix<T> s(list, c.m, c.n);
    SCOPED_TRACE(c.count);
    SCOPED_TRACE(c.col_range);
    ASSERT_NO_FATAL_FAILURE(expect_placed_then_compressed(list, s));
  }
  // Narrow blocks (many entries per column) next to nearly empty ones.
  std::uniform_int_distribution<long> row(0, 99), dense_col(0, 511), rare_col(512, 999);
  std::vector<triplet<T>> list(20040);
  for (size_t k = 0; k < list.size(); ++k)
    list[k] = {random_value<T>(g), k % 500 == 0 ? rare_col(g) : dense_col(g), k % 500 == 0 ? row(g) % 4 : row(g)};
  ASSERT_NO_FATAL_FAILURE(expect_placed_then_compressed(list, sparse_matrix<T>(list, 100, 1000)));
}

// Short columns sort on 32-bit keys (row, position) while every row is below
// 2^27 (2^26 for columns of 17 to 32 entries), and rows share a key with the
// column while they fit beside it.  Shifting every row keeps the result but
// for the shift, so lists shifted across each bound must give the matrix of
// the unshifted list.
TYPED_TEST(SparseModel, TripletsWithLargeRowsSortTheSame) {
  using T = TypeParam;
  std::mt19937 g(3);
  for (long shift : {(1L << 26) - 16, (1L << 26) - 8, (1L << 27) - 16, (1L << 27) - 8, (1L << 60) - 64}) {
    for (int c = 0; c < 100; ++c) {
      auto rc = make_case<T>(g);
      sparse_matrix<T> s(rc.list, rc.m, rc.n);
      ASSERT_NO_FATAL_FAILURE(expect_placed_then_compressed(rc.list, s));
      auto list = rc.list;
      for (auto& t : list) t.row += shift;
      sparse_matrix<T> big(list, rc.m + shift, rc.n);
      ASSERT_EQ(big.rows(), s.rows() + shift);
      ASSERT_EQ(big.cols(), s.cols());
      for (long j = 0; j <= s.cols(); ++j) ASSERT_EQ(big.jc()[j], s.jc()[j]);
      for (long k = 0; k < s.nnz(); ++k) {
        ASSERT_EQ(big.ir()[k], s.ir()[k] + shift);
        ASSERT_EQ(big[k], s[k]);
      }
    }
  }
}

}  // namespace
