// MAT-files that are truncated, damaged or lying about their sizes: every
// one gives an error (or, cut at a variable's end, the variables before it),
// never a crash, a hang or an allocation of what the file cannot hold.
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <stdexcept>

#include "io/mat5_detail.h"
#include "io/mat_file.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"

namespace {

using namespace zorvat;
using bytes = std::vector<unsigned char>;

bytes saved_file(mat_version ver) {
  auto c = std::make_shared<zo_obj>(type_cell, new cell_array(1, 2));
  c->get<cell_array>()(0, 0) = std::make_shared<zo_obj>("h\xc3\xa9", type_char);
  auto s = std::make_shared<zo_obj>(type_struct, new structure());
  s->get<structure>().set_field("f", c, false);
  std::vector<triplet<double>> t{{2.5, 1, 0}};
  const std::string path = testing::TempDir() + "/hostile.mat";
  mat_save(path,
           {{"a", zo_obj::make_matrix<double>(1, 3, {1, 2, 3})},
            {"s", s},
            {"sp", std::make_shared<zo_obj>(type_sparse_double, new sparse_matrix<double>(t, 2, 2))},
            {"z", zo_obj::make_matrix<std::complex<float>>(1, 1, {{1, 2}})}},
           {ver});
  std::ifstream f(path, std::ios::binary);
  return bytes(std::istreambuf_iterator<char>(f), {});
}

std::vector<loaded_value> load(const bytes& b) { return internal::mat5_read_memory(b.data(), b.size(), {}, "t"); }

TEST(MatHostile, TruncationsAndBitFlipsNeverCrash) {
  for (mat_version ver : {mat_version::v6, mat_version::v7}) {
    const bytes full = saved_file(ver);
    const auto all = load(full);
    ASSERT_EQ(all.size(), 4u);
    for (size_t n = 0; n < full.size(); ++n) {
      const bytes cut(full.begin(), full.begin() + n);
      try {
        const auto part = load(cut);
        // Only a cut at a variable's end loads, giving the variables before it.
        ASSERT_LT(part.size(), all.size()) << n;
        for (size_t i = 0; i < part.size(); ++i) EXPECT_EQ(part[i].first, all[i].first);
      } catch (const std::runtime_error&) {
      }
    }
    for (size_t i = 0; i < full.size(); ++i) {
      bytes b = full;
      b[i] ^= static_cast<unsigned char>(1 << (i % 8));
      try {
        load(b);
      } catch (const std::runtime_error&) {
      }
    }
  }
}

// A file image built element by element.
struct image {
  bytes b = bytes(128, ' ');
  image() {
    b[124] = 0;
    b[125] = 1;
    b[126] = 'I';
    b[127] = 'M';
  }
  void u32(std::uint32_t v) {
    for (int k = 0; k < 4; ++k) b.push_back(static_cast<unsigned char>(v >> (8 * k)));
  }
  void tag(std::uint32_t type, std::uint32_t n) {
    u32(type);
    u32(n);
  }
  // A miMATRIX header of class cls with the given dims and name "x".
  void matrix(std::uint32_t content, std::uint32_t cls, std::vector<std::uint32_t> dims) {
    tag(internal::mi_matrix, content);
    tag(internal::mi_uint32, 8);
    u32(cls);
    u32(0);
    tag(internal::mi_int32, 4 * static_cast<std::uint32_t>(dims.size()));
    for (auto d : dims) u32(d);
    if (dims.size() % 2) u32(0);
    u32(internal::mi_int8 | (1u << 16));
    u32('x');
  }
};

TEST(MatHostile, ImpossibleSizesAreRefusedBeforeAllocating) {
  std::vector<std::pair<const char*, image>> cases;
  {
    image m;  // 2^31-1 squared doubles in 16 bytes
    m.matrix(64, internal::mx_double, {0x7FFFFFFF, 0x7FFFFFFF});
    m.tag(internal::mi_double, 8);
    m.u32(0), m.u32(0);
    cases.push_back({"huge double", m});
  }
  {
    image m;  // a billion cells, none there
    m.matrix(48, internal::mx_cell, {1000000000, 1});
    cases.push_back({"huge cell", m});
  }
  {
    image m;  // a struct of a billion records with one field
    m.matrix(64, internal::mx_struct, {1000000000, 1});
    m.u32(internal::mi_int32 | (4u << 16)), m.u32(8);
    m.tag(internal::mi_int8, 8), m.u32('f'), m.u32(0);
    cases.push_back({"huge struct", m});
  }
  {
    image m;  // a sparse matrix whose columns promise more entries than held
    m.matrix(80, internal::mx_sparse, {4, 1});
    m.tag(internal::mi_int32, 4), m.u32(0), m.u32(0);
    m.tag(internal::mi_int32, 8), m.u32(0), m.u32(1000);
    m.tag(internal::mi_double, 0);
    cases.push_back({"sparse beyond its rows", m});
  }
  {
    image m;  // a compressed variable declaring 4 GiB inside 20 bytes
    const unsigned char z[] = {0x78, 0x9c, 0x63, 0x63, 0x60, 0x60, 0x60, 0xf8, 0xff, 0xff, 0xff, 0x7f, 0x00, 0x00,
                               0x00, 0x00, 0x00, 0x00, 0x00, 0x00};
    m.tag(internal::mi_compressed, sizeof z);
    m.b.insert(m.b.end(), z, z + sizeof z);
    cases.push_back({"compressed bomb", m});
  }
  // Cells nested `depth` deep around an empty element.
  auto nest = [](int depth) {
    image m;
    for (int k = 0; k < depth; ++k) m.matrix(48 * static_cast<std::uint32_t>(depth - k), internal::mx_cell, {1, 1});
    m.tag(internal::mi_matrix, 0);
    return m;
  };
  cases.push_back({"too deep", nest(internal::mat5_max_depth + 5)});
  for (const auto& [what, m] : cases) EXPECT_THROW(load(m.b), std::runtime_error) << what;
  EXPECT_EQ(load(nest(internal::mat5_max_depth).b).size(), 1u);
}

}  // namespace
