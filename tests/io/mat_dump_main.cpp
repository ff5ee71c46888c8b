// mat_dump: the helper of scipy_compare.py.
//   mat_dump load FILE         prints {"name": value JSON, ...} or "ERROR: message"
//   mat_dump save FILE 6|7     writes the sample variables of every kind
#include <cstdio>
#include <cstring>
#include <exception>

#include "io/mat_file.h"
#include "mat_dump.h"

namespace {

using namespace zorvat;

std::vector<named_value> samples() {
  std::vector<named_value> v;
  auto add = [&](const char* n, std::shared_ptr<zo_obj> x) { v.emplace_back(n, x); };
  add("d", zo_obj::make_matrix<double>(2, 2, {1.5, -0.0, 1e300, -7}));
  add("f", zo_obj::make_matrix<float>(1, 2, {1.5f, -3}));
  add("i8", zo_obj::make_matrix<signed char>(1, 2, {-128, 127}));
  add("i16", zo_obj::make_matrix<short>(1, 2, {-32768, 32767}));
  add("i32", zo_obj::make_matrix<int>(1, 2, {-2147483647 - 1, 2147483647}));
  add("i64", zo_obj::make_matrix<long>(1, 2, {-9223372036854775807L - 1, 9223372036854775807L}));
  add("u8", zo_obj::make_matrix<unsigned char>(1, 2, {0, 255}));
  add("u16", zo_obj::make_matrix<unsigned short>(1, 2, {0, 65535}));
  add("u32", zo_obj::make_matrix<unsigned int>(1, 2, {0, 4294967295u}));
  add("u64", zo_obj::make_matrix<unsigned long>(1, 2, {0, 18446744073709551615UL}));
  add("cd", zo_obj::make_matrix<std::complex<double>>(1, 2, {{1, 2}, {-3, 0.5}}));
  add("cf", zo_obj::make_matrix<std::complex<float>>(1, 1, {{1, -2}}));
  add("lg", zo_obj::make_matrix<bool>(1, 3, {true, false, true}));
  add("ch", std::make_shared<zo_obj>("h\xc3\xa9llo \xe2\x86\x92", type_char));
  add("e", std::make_shared<zo_obj>(type_double, nullptr));
  auto nd = std::make_shared<zo_obj>(type_double, new matrix<double>(std::vector<long>{2, 3, 2}));
  for (long i = 0; i < 12; ++i) nd->get<matrix<double>>()[i] = i;
  add("nd", nd);
  std::vector<triplet<double>> t{{2.5, 1, 0}, {-1, 0, 2}};
  add("sp", std::make_shared<zo_obj>(type_sparse_double, new sparse_matrix<double>(t, 3, 2)));
  std::vector<triplet<std::complex<double>>> tc{{{1, 1}, 1, 1}};
  add("spc", std::make_shared<zo_obj>(type_sparse_complex_double, new sparse_matrix<std::complex<double>>(tc, 2, 2)));
  auto c = std::make_shared<zo_obj>(type_cell, new cell_array(1, 3));
  c->get<cell_array>()(0, 1) = std::make_shared<zo_obj>("ab", type_char);
  c->get<cell_array>()(0, 2) = zo_obj::make_matrix<int>(1, 1, {4});
  add("c", c);
  auto s = std::make_shared<zo_obj>(type_struct, new structure());
  s->get<structure>().set_field("zeta", zo_obj::make_matrix<double>(1, 1, {1}), false);
  s->get<structure>().set_field("alpha", std::make_shared<zo_obj>("x", type_char), false);
  s->get<structure>().set_field("inner", c, false);
  add("s", s);
  auto sa = std::make_shared<zo_obj>(type_struct, new structure(1, 2));
  sa->get<structure>().create_field_table("a");
  sa->get<structure>().get_field_table("a")(1) = zo_obj::make_matrix<double>(1, 1, {2});
  add("sa", sa);
  return v;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 3) return 2;
  try {
    if (std::strcmp(argv[1], "save") == 0) {
      const bool v6 = argc > 3 && std::strcmp(argv[3], "6") == 0;
      mat_save(argv[2], samples(), {v6 ? mat_version::v6 : mat_version::v7});
      return 0;
    }
    std::string out = "{";
    bool first = true;
    for (const auto& [name, value] : mat_load(argv[2])) {
      if (!first) out += ',';
      first = false;
      zorvat_test::dump_text(out, name.data(), name.size());
      out += ':';
      zorvat_test::dump(out, value.get(), false);
    }
    std::printf("%s}\n", out.c_str());
  } catch (const std::exception& e) {
    std::printf("ERROR: %s\n", e.what());
  }
  return 0;
}
