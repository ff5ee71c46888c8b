// The dense array: behaviour shared by all seventeen element types, typed
// over them, plus shape rules that do not depend on the element type.  View
// addressing, resizes and clipped transfers on random shapes are checked
// against index arithmetic by fuzz/dense_views.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <complex>
#include <new>
#include <type_traits>
#include <memory>
#include <string>
#include <vector>

#include "matrix/matrix.h"
#include "test_values.h"

namespace zorvat {
namespace {

template <class T>
class MatrixTyped : public ::testing::Test {};

using AllElementTypes =
    ::testing::Types<double, float, std::complex<double>, std::complex<float>, signed char, short,
                     int, long, unsigned char, unsigned short, unsigned int, unsigned long, char,
                     bool, zo_hdl_t, std::shared_ptr<zo_obj>, std::string>;
TYPED_TEST_SUITE(MatrixTyped, AllElementTypes);

template <class T>
void fill_distinct(matrix<T>& m) {
  for (long i = 0; i < m.size(); ++i) m[i] = sample<T>(i);
}

TYPED_TEST(MatrixTyped, NegativeExtentsGiveAnEmptyArrayWithoutBlock) {
  matrix<TypeParam> m(-3, 4, 0);
  EXPECT_EQ(m.dim_vec(), (std::vector<long>{0, 4}));
  EXPECT_EQ(m.data(), nullptr);
  EXPECT_FALSE(m.block());
  EXPECT_TRUE(m.is_empty());
  EXPECT_FALSE(m.is_standard());
}

TYPED_TEST(MatrixTyped, CopyIsDeepAndStandard) {
  matrix<TypeParam> a(2, 3);
  fill_distinct(a);
  matrix<TypeParam> b(a);
  EXPECT_TRUE(b.is_standard());
  EXPECT_NE(b.data(), a.data());
  for (long i = 0; i < 6; ++i) EXPECT_TRUE(b[i] == a[i]);
  b[0] = sample<TypeParam>(40);
  EXPECT_TRUE(a[0] == sample<TypeParam>(0));
}

TYPED_TEST(MatrixTyped, ShallowDuplicateSharesTheBlockAndIsNotStandard) {
  matrix<TypeParam> a(2, 2);
  auto b = a.dup(true);
  EXPECT_EQ(b.data(), a.data());
  EXPECT_FALSE(a.is_standard());
  EXPECT_FALSE(b.is_standard());
  auto c = a.dup(false);
  EXPECT_NE(c.data(), a.data());
}

TYPED_TEST(MatrixTyped, MoveLeavesTheSourceEmpty) {
  matrix<TypeParam> a(2, 3);
  fill_distinct(a);
  const TypeParam* data = a.data();
  matrix<TypeParam> b(std::move(a));
  EXPECT_EQ(b.data(), data);
  EXPECT_TRUE(b.is_standard());
  EXPECT_EQ(a.dim_vec(), (std::vector<long>{0, 0}));
  EXPECT_EQ(a.stride_vec(), (std::vector<long>{1, 0}));
  EXPECT_EQ(a.data(), nullptr);
  a = std::move(b);
  EXPECT_EQ(a.data(), data);
}

TYPED_TEST(MatrixTyped, ClearResetsEveryElementAndKeepsTheShape) {
  matrix<TypeParam> m({2, 2, 2});
  fill_distinct(m);
  m.clear();
  EXPECT_EQ(m.dim_vec(), (std::vector<long>{2, 2, 2}));
  for (long i = 0; i < 8; ++i) EXPECT_TRUE(m[i] == TypeParam{});
}

TYPED_TEST(MatrixTyped, ReallocateGivesAFreshBlockAndLeavesTheOldOneToItsSharers) {
  matrix<TypeParam> m(2, 2);
  fill_distinct(m);
  const auto old = m.block();
  m.reallocate(3, false);
  ASSERT_TRUE(m.block());
  EXPECT_NE(m.block(), old);
  EXPECT_EQ(m.size_max(), 0);  // destroy() cleared it and allocate() does not set it
  for (long i = 0; i < 3; ++i) EXPECT_TRUE(m[i] == TypeParam{});
  EXPECT_TRUE(old->data[3] == sample<TypeParam>(3));
  m.destroy();
  EXPECT_FALSE(m.block());
  EXPECT_EQ(m.data(), nullptr);
}

TYPED_TEST(MatrixTyped, CopyOfAViewKeepsItsGeometryOnAPrivateCopyOfTheWholeBlock) {
  matrix<TypeParam> a(4, 4);
  fill_distinct(a);
  auto v = a.view(2, 2, 1, 4, 1);
  matrix<TypeParam> c(v);
  EXPECT_EQ(c.stride_vec(), (std::vector<long>{1, 4}));
  EXPECT_EQ(c.offset(), 1);
  EXPECT_EQ(c.block()->count, 16u);
  EXPECT_NE(c.block(), a.block());
  for (long j = 0; j < 2; ++j)
    for (long i = 0; i < 2; ++i) EXPECT_TRUE(c(i, j) == a(1 + i, j));
  EXPECT_TRUE(c.block()->data[15] == a[15]);  // outside the view, copied all the same
}

TYPED_TEST(MatrixTyped, ContiguousOfAStridedViewIsAFreshStandardCopy) {
  matrix<TypeParam> a(4, 4);
  fill_distinct(a);
  auto v = a.view(2, 2, 1, 4, 1);
  EXPECT_FALSE(v.is_contiguous());
  auto c = v.contiguous();
  EXPECT_TRUE(c.is_standard());
  for (long j = 0; j < 2; ++j)
    for (long i = 0; i < 2; ++i) EXPECT_TRUE(c(i, j) == a(1 + i, j));
}

TYPED_TEST(MatrixTyped, ConservativeResizeKeepsTheOverlap) {
  matrix<TypeParam> m(2, 2);
  fill_distinct(m);
  m.conservative_resize(3, 3);
  EXPECT_EQ(m.dim_vec(), (std::vector<long>{3, 3}));
  EXPECT_TRUE(m(0, 0) == sample<TypeParam>(0));
  EXPECT_TRUE(m(1, 0) == sample<TypeParam>(1));
  EXPECT_TRUE(m(0, 1) == sample<TypeParam>(2));
  EXPECT_TRUE(m(1, 1) == sample<TypeParam>(3));
  for (long k : {2, 5, 6, 7, 8}) EXPECT_TRUE(m(k) == TypeParam{});
  m.conservative_resize(1, 1);
  EXPECT_TRUE(m[0] == sample<TypeParam>(0));
  EXPECT_EQ(m.size(), 1);
}

TYPED_TEST(MatrixTyped, BltCopiesTheClippedOverlap) {
  matrix<TypeParam> dst(3, 3), src(2, 2);
  fill_distinct(src);
  dst.blt(2, 1, src);  // only one row of src fits
  EXPECT_TRUE(dst(2, 1) == sample<TypeParam>(0));
  EXPECT_TRUE(dst(2, 2) == sample<TypeParam>(2));
  EXPECT_TRUE(dst(1, 1) == TypeParam{});
  dst.blt(3, 0, src);  // nothing fits
  matrix<TypeParam> before(dst);
  dst.blt(-1, -1, src);  // only src(1, 1) lands, at (0, 0)
  EXPECT_TRUE(dst(0, 0) == sample<TypeParam>(3));
  dst.blt(-2, 0, src);
  dst.blt(0, -5, src);
  dst.blt(LONG_MIN, LONG_MIN, src);
  for (long i = 1; i < 9; ++i) EXPECT_TRUE(dst[i] == before[i]);
}

// Views, walks and shape changes of an N-d array, checked against index
// arithmetic on a(i, j, k) = element i + 3j + 12k.
TYPED_TEST(MatrixTyped, ViewsWalksAndReshapesAgreeWithIndexArithmetic) {
  matrix<TypeParam> a({3, 4, 2});
  fill_distinct(a);
  EXPECT_EQ(a.pages(), 2);
  EXPECT_EQ(a.dim(2), 2);
  EXPECT_EQ(a.head_dim(2), 12);
  matrix<TypeParam> copy;
  {
    // Every second row, the last two columns, both pages.
    const auto v = a.view({2, 2, 2}, {2, 3, 12}, 6);
    long n = 0;
    for (auto it = v.begin(); it != v.end(); it++, ++n) {
      const std::vector<long>& ix = it.index();
      EXPECT_TRUE(*it == a(2 * ix[0], 2 + ix[1], ix[2])) << n;
    }
    EXPECT_EQ(n, 8);
    auto it = v.begin();
    it.advance_along_dim(2);
    EXPECT_EQ(it.index(), (std::vector<long>{0, 0, 1}));
    EXPECT_TRUE(*it == a(0, 2, 1));
    copy = v;
    EXPECT_TRUE(copy(1, 1, 1) == a(2, 3, 1));
    auto d = a.diag();
    ASSERT_EQ(d.dim_vec(), (std::vector<long>{3, 1}));
    for (long i = 0; i < 3; ++i) EXPECT_TRUE(d(i) == a(i, i, 0));
    d(2) = sample<TypeParam>(40);  // writes go through to the array
    EXPECT_TRUE(a(2, 2, 0) == sample<TypeParam>(40));
    d(2) = sample<TypeParam>(8);
  }
  a.reshape({2, 3, 4, 1});
  a.compress_dims();
  EXPECT_EQ(a.dim_vec(), (std::vector<long>{2, 3, 4}));
  a.reshape(4, 6);
  EXPECT_TRUE(a(3, 5) == sample<TypeParam>(23));
  const TypeParam* data = a.data();
  a.resize(2, 12);  // the same size on an unshared block: the elements stay
  EXPECT_EQ(a.data(), data);
  EXPECT_TRUE(a(1, 11) == sample<TypeParam>(23));
  a.resize(std::vector<long>{5});
  EXPECT_EQ(a.dim_vec(), (std::vector<long>{5, 1}));
  for (long i = 0; i < 5; ++i) EXPECT_TRUE(a[i] == TypeParam{});
}

// ---------------------------------------------------------------- shapes

TEST(MatrixShape, DimsArePaddedToTwoAndStridesPacked) {
  matrix<double> a({5});
  EXPECT_EQ(a.dim_vec(), (std::vector<long>{5, 1}));
  matrix<double> b({2, 3, 4});
  EXPECT_EQ(b.stride_vec(), (std::vector<long>{1, 2, 6}));
  EXPECT_EQ(b.size(), 24);
  EXPECT_EQ(b.pages(), 4);
  matrix<double> c(std::vector<long>{-1, 3});
  EXPECT_EQ(c.dim_vec(), (std::vector<long>{0, 3}));
}

TEST(MatrixShape, QueriesPastTheLastDimension) {
  matrix<double> m({2, 3, 4, 5});
  EXPECT_EQ(m.dim(7), 1);
  EXPECT_EQ(m.stride(7), 0);
  EXPECT_EQ(m.head_dim(0), 1);
  EXPECT_EQ(m.head_dim(9), 120);
  EXPECT_EQ(m.tail_dim(2), 20);
  EXPECT_EQ(m.tail_dim(4), 1);
}

struct VectorCase {
  std::vector<long> dims;
  bool row, column;
};

class MatrixVectorShape : public ::testing::TestWithParam<VectorCase> {};

TEST_P(MatrixVectorShape, RowAndColumnNeedExactlyTwoDims) {
  matrix<int> m(GetParam().dims);
  EXPECT_EQ(m.is_row(), GetParam().row);
  EXPECT_EQ(m.is_column(), GetParam().column);
  EXPECT_EQ(m.is_vector(), GetParam().row || GetParam().column);
}

INSTANTIATE_TEST_SUITE_P(Shapes, MatrixVectorShape,
                         ::testing::Values(VectorCase{{1, 4}, true, false},
                                           VectorCase{{4, 1}, false, true},
                                           VectorCase{{1, 1}, true, true},
                                           VectorCase{{1, 0}, false, false},
                                           VectorCase{{2, 2}, false, false},
                                           VectorCase{{1, 4, 1}, false, false}));

TEST(MatrixAccess, AtSkipsTheRowStrideButOperatorCallUsesIt) {
  matrix<int> m(4, 2);
  m << 0, 1, 2, 3, 4, 5, 6, 7;
  auto v = m.view({2, 2}, {2, 4}, 0);  // every second row
  EXPECT_EQ(v(1, 1), 6);
  EXPECT_EQ(v.at(1, 1), 5);
  EXPECT_EQ(v(3), 6);  // linear index over the first two dims
  // The read-only forms address the same elements.
  const matrix<int>& c = v;
  EXPECT_EQ(&c(1, 1), &v(1, 1));
  EXPECT_EQ(&c.at(1, 1), &v.at(1, 1));
  EXPECT_EQ(&c(3), &v(3));
  EXPECT_EQ(c.inner_stride(), 2);
  EXPECT_EQ(c.outer_stride(), 4);
  EXPECT_EQ(c.storage(), nullptr);  // dense: no sparse storage
  EXPECT_EQ(c.cbegin().operator->(), &v(0, 0));
  EXPECT_TRUE(std::equal(c.cbegin(), c.cend(), std::vector<int>{0, 2, 4, 6}.begin()));
}

TEST(MatrixAccess, CommaInitialisationFillsRawPositions) {
  matrix<double> m({2, 2, 2});
  m << 1, 2, 3, 4, 5, 6, 7, 8;
  EXPECT_EQ(m(1, 0, 1), 6);
  EXPECT_EQ(m.at(0, 1, 1), 7);
  const matrix<double>& c = m;
  EXPECT_EQ(&c(1, 0, 1), &m(1, 0, 1));
  EXPECT_EQ(&c.at(0, 1, 1), &m.at(0, 1, 1));
}

TEST(MatrixView, RefusesNonContiguousArraysAndBadShapes) {
  matrix<double> a(4, 4);
  auto v = a.view(2, 2, 1, 4, 1);
  try {
    v.view(1, 1);
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "矩阵存储格式不连续，不能调用 view()。请先调用 .contiguous()。");
  }
  try {
    a.view({3}, {1}, 0);
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "view() 输入格式错误，新的维度和间隔长度必须相同且在 2 以上。");
  }
  EXPECT_THROW(a.view({3, 1}, {1}, 0), std::runtime_error);
  try {
    matrix<double> b(2, 2), c(4, 4);
    b.blt(0, 0, c.view(2, 2, 0, 4, 1));
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "同类 blt 时假定存储连续。请先调用 .contiguous()。");
  }
}

TEST(MatrixView, ContiguousOfAContiguousViewSharesTheBlock) {
  matrix<double> a(4, 4);
  auto v = a.view(4, 2, 4);
  auto c = v.contiguous();
  EXPECT_EQ(c.data(), v.data());
  EXPECT_EQ(c.offset(), 4);
  EXPECT_FALSE(c.is_standard());
}

TEST(MatrixResize, ASharedBlockIsNeverReused) {
  matrix<double> m(2, 2);
  m << 1, 2, 3, 4;
  auto shared = m.dup(true);
  m.resize(1, 4);
  EXPECT_NE(m.data(), shared.data());
  EXPECT_EQ(m[3], 0);
  EXPECT_EQ(shared[3], 4);
}

TEST(MatrixResize, ConservativeResizeRefusesViewsAndIgnoresNegativeSizes) {
  matrix<double> m(2, 2);
  m << 1, 2, 3, 4;
  m.conservative_resize(-1, 5);
  EXPECT_EQ(m.dim_vec(), (std::vector<long>{2, 2}));
  auto d = m.dup(true);
  try {
    d.conservative_resize(3, 3);
    FAIL();
  } catch (const std::runtime_error& e) {
    EXPECT_STREQ(e.what(), "matrix<T>::conservative_resize() 仅对标准格式有效。");
  }
  EXPECT_EQ(d.dim_vec(), (std::vector<long>{2, 2}));
  auto v = matrix<double>(4, 4).view(2, 2, 1);
  EXPECT_THROW(v.conservative_resize(1, 1), std::runtime_error);
}

struct CompressCase {
  std::vector<long> dims, after;
};

class MatrixCompressDims : public ::testing::TestWithParam<CompressCase> {};

TEST_P(MatrixCompressDims, DropsTrailingSingletonsBeyondTheSecond) {
  matrix<double> m(GetParam().dims);
  const auto strides = m.stride_vec();
  m.compress_dims();
  EXPECT_EQ(m.dim_vec(), GetParam().after);
  EXPECT_EQ(m.stride_vec(), strides);  // strides keep their length
}

INSTANTIATE_TEST_SUITE_P(Shapes, MatrixCompressDims,
                         ::testing::Values(CompressCase{{2, 3, 1, 1}, {2, 3}},
                                           CompressCase{{2, 1, 1}, {2, 1}},
                                           CompressCase{{2, 1, 4}, {2, 1, 4}},
                                           CompressCase{{1, 1, 1}, {1, 1}}));

// ---------------------------------------------------------------- failures

// Every operator new in this program fails while this is true.
bool g_refuse_new = false;

}  // namespace
}  // namespace zorvat

void* operator new(std::size_t n) {
  if (zorvat::g_refuse_new) throw std::bad_alloc();
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
// The pair above and below is malloc-based by design.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
void operator delete(void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
#pragma GCC diagnostic pop

namespace zorvat {
namespace {

// A noexcept move that allocated ended the process on an exhausted heap.
TEST(MatrixFailure, MovesSurviveAnExhaustedHeap) {
  matrix<double> a({2, 3, 4}), b(2, 2);
  a[5] = 7;
  const double* data = a.data();
  g_refuse_new = true;
  b = std::move(a);  // allocates nothing
  const bool construct_threw = [&] {
    try {
      matrix<double> c(std::move(b));
      return false;
    } catch (const std::bad_alloc&) {
      return true;
    }
  }();
  g_refuse_new = false;
  EXPECT_TRUE(construct_threw);
  EXPECT_EQ(b.data(), data);  // a failed move construction leaves the source whole
  EXPECT_EQ(b.dim_vec(), (std::vector<long>{2, 3, 4}));
  EXPECT_EQ(b[5], 7);
  EXPECT_EQ(a.dim_vec(), (std::vector<long>{0, 0}));
  EXPECT_EQ(a.stride_vec(), (std::vector<long>{1, 0}));
  EXPECT_EQ(a.data(), nullptr);
  static_assert(std::is_nothrow_move_assignable<matrix<double>>::value, "");
}

TEST(MatrixFailure, ExhaustedHeapThrowsAndKeepsThePreviousState) {
  matrix<double> m(2, 2);
  m << 1, 2, 3, 4;
  const double* data = m.data();
  EXPECT_THROW(m.resize(1L << 30, 1L << 29), internal::insufficient_memory);
  EXPECT_THROW(m.conservative_resize(1L << 30, 1L << 29), internal::insufficient_memory);
  EXPECT_EQ(m.dim_vec(), (std::vector<long>{2, 2}));
  EXPECT_EQ(m.data(), data);
  EXPECT_EQ(m[3], 4);
  try {
    matrix<double> huge(1L << 30, 1L << 29);
    FAIL();
  } catch (const internal::insufficient_memory& e) {
    EXPECT_STREQ(e.what(), "无法分配 4194304.0 TiB 大小的内存");
  }
}

TEST(MatrixFailure, ByteSizeBeyond64BitsIsABadArrayNewLength) {
  EXPECT_THROW(matrix<std::complex<double>>(1L << 31, 1L << 31), std::bad_array_new_length);
  EXPECT_THROW(matrix<double>(std::vector<long>{1L << 31, 1L << 31}), std::bad_array_new_length);
}

TEST(MatrixFailure, ElementCountBeyond64BitsIsALengthError) {
  EXPECT_THROW(matrix<char>(1L << 40, 1L << 40), std::length_error);
  EXPECT_THROW(matrix<char>({1L << 32, 1L << 32, 4}), std::length_error);
  matrix<char> m(2, 2);
  EXPECT_THROW(m.resize({1L << 62, 4}), std::length_error);
  EXPECT_EQ(m.size(), 4);
  // A failed reshape leaves the array as it was, shape and strides too.
  matrix<char> r(2, 3);
  EXPECT_THROW(r.reshape(1L << 32, 1L << 32), std::length_error);
  EXPECT_THROW(r.reshape({3, 1L << 62, 1L << 62}), std::length_error);
  EXPECT_EQ(r.dim_vec(), (std::vector<long>{2, 3}));
  EXPECT_EQ(r.stride_vec(), (std::vector<long>{1, 2}));
  EXPECT_EQ(r.size(), 6);
}

}  // namespace
}  // namespace zorvat
