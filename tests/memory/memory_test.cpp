// Aligned blocks, the allocator, the out-of-memory message and the text
// helpers.
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>

#include "memory/str_util.h"
#include "memory/zo_malloc.h"

namespace zorvat {
namespace {

unsigned distance_byte(void* p) { return static_cast<unsigned char*>(p)[-1]; }

struct AlignCase {
  unsigned long asked, effective;
};

class ZoMallocAlign : public ::testing::TestWithParam<AlignCase> {};

TEST_P(ZoMallocAlign, ResultIsAlignedAndRecordsItsDistance) {
  const auto c = GetParam();
  for (unsigned long size : {0ul, 1ul, 7ul, 100ul, 4096ul}) {
    void* p = zo_malloc(size, c.asked);
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % c.effective, 0u);
    EXPECT_GE(distance_byte(p), 1u);
    EXPECT_LE(distance_byte(p), c.effective);
    zo_free(p);
  }
}

// Alignment 0 puts the block one byte past the heap block.
INSTANTIATE_TEST_SUITE_P(Alignments, ZoMallocAlign,
                         ::testing::Values(AlignCase{0, 1}, AlignCase{1, 1}, AlignCase{8, 8},
                                           AlignCase{16, 16}, AlignCase{64, 64},
                                           AlignCase{127, 127}));

TEST(ZoMalloc, AlignmentAbove255IsClampedTo255) {
  void* p = zo_malloc(32, 1000);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 255, 0u);
  EXPECT_LE(distance_byte(p), 255u);
  // A distance above 127 reads back negative: release the heap block by hand.
  std::free(static_cast<unsigned char*>(p) - distance_byte(p));
}

TEST(ZoMalloc, FreeOfNullDoesNothing) {
  zo_free(nullptr);
  zo_free_impl(nullptr);
}

TEST(ZoMalloc, CEntryPointsShareTheBlockFormat) {
  void* p = ::zo_malloc(10, 16);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 16, 0u);
  zorvat::zo_free(p);
  ::zo_free(zorvat::zo_malloc(10, 16));
}

// Sizes whose byte count plus the alignment passes 2^64 - 1 must be refused,
// never wrapped into a tiny block.
TEST(ZoMalloc, SizesAtTheTopOfTheRangeAreRefused) {
  constexpr unsigned long top = std::numeric_limits<unsigned long>::max();
  for (unsigned long align : {1ul, 16ul, 127ul, 255ul}) {
    for (unsigned long size : {top, top - align + 1, top - 300}) {
      EXPECT_EQ(zo_malloc_impl(size, align), nullptr) << size << " " << align;
      EXPECT_EQ(zo_malloc(size, align), nullptr) << size << " " << align;
    }
  }
}

TEST(ZoAllocator, LargestCountsAreRefusedNotWrapped) {
  EXPECT_THROW(zo_allocator<double>().allocate((1ul << 61) - 1), internal::insufficient_memory);
  EXPECT_THROW(zo_allocator<bool>().allocate(std::numeric_limits<std::uint64_t>::max()),
                internal::insufficient_memory);
  zo_vector<long> v(3, 7L);
  EXPECT_THROW(v.reserve((1ul << 61) - 1), std::bad_alloc);
  EXPECT_EQ(v.capacity(), 3u);  // unchanged, and still usable
  v.push_back(8);
  EXPECT_EQ(v[3], 8);
}

struct MessageCase {
  unsigned long bytes;
  const char* text;
};

class InsufficientMemoryMessage : public ::testing::TestWithParam<MessageCase> {};

TEST_P(InsufficientMemoryMessage, NamesTheSizeInBinaryUnits) {
  EXPECT_STREQ(internal::insufficient_memory(GetParam().bytes).what(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Sizes, InsufficientMemoryMessage,
    ::testing::Values(MessageCase{0, "无法分配 0.0 KiB 大小的内存"},
                      MessageCase{1536, "无法分配 1.5 KiB 大小的内存"},
                      MessageCase{1048575, "无法分配 1024.0 KiB 大小的内存"},
                      MessageCase{1048576, "无法分配 1.0 MiB 大小的内存"},
                      MessageCase{3221225472ul, "无法分配 3.0 GiB 大小的内存"},
                      MessageCase{1ul << 40, "无法分配 1.0 TiB 大小的内存"}));

TEST(ZoAllocator, CountsBeyondTheMaximumThrowBadArrayNewLength) {
  zo_allocator<double> a;
  EXPECT_THROW(a.allocate(a.max_size() + 1), std::bad_array_new_length);
}

TEST(ZoAllocator, ExhaustedHeapThrowsInsufficientMemoryWithTheByteCount) {
  zo_allocator<double> a;
  try {
    a.allocate(1ul << 58);  // 2 EiB
    FAIL() << "allocation succeeded";
  } catch (const std::bad_alloc& e) {  // insufficient_memory is one
    EXPECT_STREQ(e.what(), "无法分配 2097152.0 TiB 大小的内存");
  }
}

TEST(ZoVector, GrowsBySixtyPercent) {
  zo_vector<long> v;
  v.reserve(100);
  v.resize(100);
  v.push_back(1);
  EXPECT_EQ(v.capacity(), 160u);
  v.resize(160);
  v.insert(v.end(), 200, 0L);  // more than 60 % needed: exactly what is needed
  EXPECT_EQ(v.capacity(), 360u);
}

TEST(ZoVector, ResizeZeroFillsNewElements) {
  zo_vector<double> v(3, 7.0);
  v.resize(6);
  EXPECT_EQ(v[5], 0.0);
}

TEST(ZoVector, GrowingPastTheAllocatorMaximumIsALengthError) {
  zo_vector<double> v(4, 0.0);
  try {
    v.insert(v.end(), v.max_size() - 2, 0.0);
    FAIL() << "no length error";
  } catch (const std::length_error& e) {
    EXPECT_STREQ(e.what(), "get_next_capacity, allocator's max size reached");
  }
}

// The page hints before a large block is written keep whatever the block
// and its neighbours hold, at offsets and sizes around the huge-page bounds.
// Each case takes a fresh mapping whose first and last 2 MiB are written and
// whose middle is not, so blocks in the middle take the hints and blocks
// reaching into the written part are left alone.
TEST(PrepareForWriting, KeepsTheContentsOfTheBlockAndItsNeighbours) {
  constexpr std::size_t huge = std::size_t{1} << 21;
  const std::size_t total = 5 * huge;
  auto expected = [&](std::size_t k) {
    return k < huge || k >= total - huge ? static_cast<unsigned char>(k * 131 + 7) : 0;
  };
  for (std::size_t offset : {std::size_t{1}, std::size_t{4096}, huge - 8, huge + 3, 2 * huge})
    for (std::size_t bytes : {huge / 4 - 1, huge / 4, huge, 2 * huge + 5}) {
      void* region = mmap(nullptr, total, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
      ASSERT_NE(region, MAP_FAILED);
      auto* buffer = static_cast<unsigned char*>(region);
      for (std::size_t k = 0; k < total; ++k)
        if (expected(k)) buffer[k] = expected(k);
      internal::prepare_for_writing(buffer + offset, bytes);
      for (std::size_t k = 0; k < total; k += 509)
        ASSERT_EQ(buffer[k], expected(k)) << offset << " " << bytes << " " << k;
      munmap(region, total);
    }
  internal::prepare_for_writing(nullptr, huge);  // nothing to do, no fault
}

// ---------------------------------------------------------------- text

TEST(StrFormat, LongResultsComeBackWhole) {
  const std::string big(5000, 'z');
  const std::string r = str_format("<%s>", big.c_str());
  ASSERT_EQ(r.size(), 5002u);
  EXPECT_EQ(r, "<" + big + ">");
}

struct SplitCase {
  const char* in;
  std::vector<std::string> fields;
};

class SplitV : public ::testing::TestWithParam<SplitCase> {};

// split_s is the set of these fields: fuzz/text_utils.cpp checks the two agree.
TEST_P(SplitV, KeepsEmptyFieldsButNoTrailingOne) {
  EXPECT_EQ(split_v(GetParam().in, ','), GetParam().fields);
}

INSTANTIATE_TEST_SUITE_P(
    Fields, SplitV,
    ::testing::Values(SplitCase{"", {}}, SplitCase{",", {""}}, SplitCase{"a,b,", {"a", "b"}},
                      SplitCase{"a,,b", {"a", "", "b"}}, SplitCase{",a", {"", "a"}},
                      SplitCase{"abc", {"abc"}}, SplitCase{" a , b ", {" a ", " b "}},
                      SplitCase{"a,,", {"a", ""}}));

struct TrimCase {
  const char* in;
  const char* chars;
  const char* out;
};

class Trim : public ::testing::TestWithParam<TrimCase> {};

TEST_P(Trim, DropsTheGivenCharactersAtBothEnds) {
  EXPECT_EQ(internal::trim(GetParam().in, GetParam().chars), GetParam().out);
}

INSTANTIATE_TEST_SUITE_P(Cases, Trim,
                         ::testing::Values(TrimCase{"  x  ", " ", "x"}, TrimCase{"   ", " ", ""},
                                           TrimCase{"", " ", ""}, TrimCase{" a b ", " ", "a b"},
                                           TrimCase{"\t-x-\n", "\t\n-", "x"},
                                           TrimCase{" x ", "", " x "}));

}  // namespace
}  // namespace zorvat
