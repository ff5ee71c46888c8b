// Edge cases of sparse_matrix<T>: shapes, stable reordering,
// storage reservation and failures that must leave the matrix as it was.
// The coordinate rule, compress, copies and edits are checked against models
// in sparse_model_test.cpp and fuzz/sparse_model.cpp.
#include <gtest/gtest.h>

#include <climits>
#include <complex>
#include <stdexcept>
#include <vector>

#include "memory/zo_malloc.h"
#include "sparse/sparse_matrix.h"

namespace {

using zorvat::sparse_matrix;
using zorvat::triplet;

const char* const max_size_text = "get_next_capacity, allocator's max size reached";

TEST(SparseShape, NegativeSizesCountAsZero) {
  sparse_matrix<double> s(-3, -1, -5);
  EXPECT_EQ(s.rows(), 0);
  EXPECT_EQ(s.cols(), 0);
  EXPECT_EQ(s.nzmax(), 0);
  EXPECT_EQ(s.jc()[0], 0);
  EXPECT_TRUE(s.is_empty());
  EXPECT_EQ(s.dim(2), 1);
}

TEST(SparseTriplets, NegativeIndexIsRejected) {
  EXPECT_THROW(sparse_matrix<double>(std::vector<triplet<double>>{{1.0, -1, 0}}, 2, 2), std::runtime_error);
  EXPECT_THROW(sparse_matrix<double>(std::vector<triplet<double>>{{1.0, 0, -1}}, 2, 2), std::runtime_error);
  // Later in the list, after a column beyond the asked shape, and before the
  // column's own limit is looked at.
  EXPECT_THROW(sparse_matrix<double>(std::vector<triplet<double>>{{1.0, 0, 0}, {1.0, 5, 1}, {1.0, 1, -1}}, 2, 2),
               std::runtime_error);
  EXPECT_THROW(sparse_matrix<double>(std::vector<triplet<double>>{{1.0, 0, 0}, {1.0, LONG_MAX, -1}}, 2, 2),
               std::runtime_error);
}

TEST(SparseShape, NnzCountsSlackBetweenColumns) {
  sparse_matrix<double> s(std::vector<triplet<double>>{{1.0, 0, 0}, {2.0, 1, 1}}, 2, 2);
  s.reserve(std::vector<long>{3});
  EXPECT_EQ(s.nnz(), 5);
  EXPECT_EQ(s.to_triplet().size(), 2u);
}

// Columns short enough for insertion and long enough for the buffered sort.
TEST(SparseReorder, KeepsEntriesOfEqualRowsInOrder) {
  for (long len : {5L, 200L}) {
    std::vector<long> ir(len);
    std::vector<double> pr(len);
    for (long k = 0; k < len; ++k) ir[k] = (k * 7) % 4, pr[k] = static_cast<double>(k);
    const long jc[] = {0, len};
    sparse_matrix<double> s(4, 1, len, ir.data(), jc, pr.data());
    s.reorder();
    for (long k = 1; k < len; ++k) {
      ASSERT_LE(s.ir()[k - 1], s.ir()[k]);
      if (s.ir()[k - 1] == s.ir()[k]) {
        ASSERT_LT(s[k - 1], s[k]) << "length " << len;
      }
    }
  }
}

TEST(SparseReserve, TotalRoomKeepsStorageInPlace) {
  sparse_matrix<double> s(1000, 1, 0);
  s.reserve(500);
  const double* before = s.pr();
  for (long i = 0; i < 500; ++i) s.set_value(999 - 2 * i, 0, 1.0 + i);
  EXPECT_EQ(s.pr(), before);
  EXPECT_EQ(s.nzmax(), 500);
  EXPECT_EQ(s.get_value(999, 0), 1.0);
}

TEST(SparseResize, DimsVectorsNameTwoDimensions) {
  sparse_matrix<double> s(std::vector<triplet<double>>{{1.0, 1, 1}}, 2, 2);
  s.conservative_resize(std::vector<long>{3, 2, 1});
  EXPECT_EQ(s.rows(), 3);
  EXPECT_EQ(s.get_value(1, 1), 1.0);
  EXPECT_THROW(s.conservative_resize(std::vector<long>{3, 2, 2}), std::runtime_error);
  EXPECT_THROW(s.resize(std::vector<long>{3, 2, 2}), std::runtime_error);
  EXPECT_EQ(s.cols(), 2);
  EXPECT_EQ(s.get_value(1, 1), 1.0);
  s.resize(std::vector<long>{4});
  EXPECT_EQ(s.rows(), 4);
  EXPECT_EQ(s.cols(), 1);
  EXPECT_EQ(s.nnz(), 0);
}

// Failures, for every element type: the matrix afterwards is the one before.
template <class T>
class SparseFailure : public ::testing::Test {
 protected:
  sparse_matrix<T> s{std::vector<triplet<T>>{{T(1), 0, 1}, {T(1), 1, 0}}, 2, 2};
  void expect_unchanged() {
    EXPECT_EQ(s.rows(), 2);
    EXPECT_EQ(s.cols(), 2);
    EXPECT_EQ(s.get_value(1, 0), T(1));
    EXPECT_EQ(s.get_value(0, 1), T(1));
    EXPECT_EQ(s.nnz(), 2);
  }
};
using SparseTypes = ::testing::Types<double, float, std::complex<double>, std::complex<float>, bool>;
TYPED_TEST_SUITE(SparseFailure, SparseTypes);

template <class F>
std::string length_error_text(F f) {
  try {
    f();
  } catch (const std::length_error& e) {
    return e.what();
  }
  return "no length error";
}

TYPED_TEST(SparseFailure, VectorsBeyondTheMaximumRaiseTheLengthError) {
  using T = TypeParam;
  EXPECT_EQ(length_error_text([] { sparse_matrix<T>(1, LONG_MAX, 0); }), max_size_text);
  EXPECT_EQ(length_error_text([&] { this->s.initialize(1, LONG_MAX, 0); }), max_size_text);
  EXPECT_EQ(length_error_text([&] { this->s.conservative_resize(2, LONG_MAX); }), max_size_text);
  EXPECT_EQ(length_error_text([&] { this->s.reserve(std::vector<long>{LONG_MAX, LONG_MAX}); }),
            max_size_text);
  EXPECT_EQ(length_error_text([&] { this->s.reserve(LONG_MAX); }), max_size_text);
  this->expect_unchanged();
}

template <class F>
bool refused(F f) {
  try {
    f();
  } catch (const std::length_error&) {
    return true;
  } catch (const std::bad_alloc&) {  // insufficient_memory, bad_array_new_length
    return true;
  }
  return false;
}

TYPED_TEST(SparseFailure, ExhaustedHeapRaisesInsufficientMemory) {
  using T = TypeParam;
  EXPECT_THROW(sparse_matrix<T>(1, 1, 1L << 58), zorvat::internal::insufficient_memory);
  EXPECT_THROW(this->s.initialize(1, 1, 1L << 58), zorvat::internal::insufficient_memory);
  EXPECT_THROW(this->s.reserve(std::vector<long>{1L << 58}), zorvat::internal::insufficient_memory);
  // From triplets the column starts are made first: the error names their
  // (n + 1) x 8 bytes.
  try {
    sparse_matrix<T>(std::vector<triplet<T>>{{T(1), 0, 0}}, 1, 1L << 59);
    ADD_FAILURE() << "2^59 columns were made";
  } catch (const zorvat::internal::insufficient_memory& e) {
    EXPECT_STREQ(e.what(), "无法分配 4194304.0 TiB 大小的内存");
  }
  this->expect_unchanged();
}

// Sizes at the top of the range are refused by every operation that makes
// storage, and the matrix stays usable (a later set_value once wrote through
// a wrapped reservation).
TYPED_TEST(SparseFailure, SizesAtTheTopOfTheRangeAreRefused) {
  using T = TypeParam;
  for (long big : {(1L << 60) - 1, (1L << 61) - 3, (1L << 61) - 2, (1L << 61) - 1, LONG_MAX / 2}) {
    EXPECT_TRUE(refused([&] { sparse_matrix<T>(1, 1, big); })) << big;
    EXPECT_TRUE(refused([&] { sparse_matrix<T>(1, big, 0); })) << big;
    EXPECT_TRUE(refused([&] { this->s.initialize(1, 1, big); })) << big;
    EXPECT_TRUE(refused([&] { this->s.reserve(big); })) << big;
    EXPECT_TRUE(refused([&] { this->s.reserve(std::vector<long>{big}); })) << big;
    EXPECT_TRUE(refused([&] { this->s.conservative_resize(2, big); })) << big;
    EXPECT_TRUE(refused([&] { this->s.resize(2, big); })) << big;
    EXPECT_TRUE(refused([&] { sparse_matrix<T>(std::vector<triplet<T>>{{T(1), big, 0}}, 0, 0); }));
    this->expect_unchanged();
    sparse_matrix<T> tall(big, 1, 0);
    EXPECT_TRUE(refused([&] { tall.transpose(); })) << big;
    EXPECT_EQ(tall.rows(), big);
  }
  this->s.set_value(1, 1, T(1));
  EXPECT_EQ(this->s.get_value(1, 1), T(1));
}

// Coordinates at the top of the range: columns beyond jc's maximum raise the
// vector length error, rows beyond the row marker's limit the standard
// vector's, whatever the asked shape; nothing wraps.  (Rows up to the
// marker's limit on either side: fuzz/sparse_model.cpp.)
TYPED_TEST(SparseFailure, TripletsBeyondTheLimits) {
  using T = TypeParam;
  struct row { long r, c, m, n; const char* text; };
  const char* const marker_text = "cannot create std::vector larger than max_size()";
  for (const row& x : {row{LONG_MAX, 0, 0, 0, marker_text}, row{1L << 61, 0, 2, 2, marker_text},
                       row{1L << 60, 0, 0, 0, marker_text}, row{0, 0, LONG_MAX, 1, marker_text},
                       row{0, LONG_MAX, 0, 0, max_size_text}, row{0, (1L << 61) - 2, 0, 0, max_size_text},
                       row{LONG_MAX, LONG_MAX, 0, 0, max_size_text}, row{0, 0, 1, LONG_MAX, max_size_text}}) {
    const std::vector<triplet<T>> list{{T(1), 0, 0}, {T(1), x.c, x.r}};
    EXPECT_EQ(length_error_text([&] { sparse_matrix<T>(list, x.m, x.n); }), x.text) << x.r << " " << x.c;
  }
}

TYPED_TEST(SparseFailure, RowMarkerBeyondTheVectorLimit) {
  using T = TypeParam;
  sparse_matrix<T> tall(LONG_MAX, 2, 0);
  tall.set_value(LONG_MAX - 1, 1, T(1));
  try {
    tall.compress(true);
    FAIL() << "compress of LONG_MAX rows did not throw";
  } catch (const std::length_error& e) {
    EXPECT_STREQ(e.what(), "cannot create std::vector larger than max_size()");
  }
  EXPECT_EQ(tall.get_value(LONG_MAX - 1, 1), T(1));
  EXPECT_EQ(tall.nzmax(), 1);
}

}  // namespace
