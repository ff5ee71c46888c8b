// Sparse matrices driven by arbitrary bytes and checked against a model that
// keeps one record per stored place (an ordered map): construction from
// triplets (duplicates, explicit zeros, NaN, coordinates beyond the asked
// shape, rows up to the limits), then a sequence of set_value, compress,
// reorder, transposes, resizes, reservations and copies.  After every step
// the storage invariants hold and the stored places and values are the
// model's.
//
// Input: byte 0 picks the element type, byte 1 the construction (a short
// list spelled out byte by byte, or a long random list seeded by the input);
// the rest is the list and the operations.
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "sparse/sparse_matrix.h"

#define FUZZ_CHECK(c) ((c) ? (void)0 : std::abort())

namespace {

using zorvat::sparse_matrix;
using zorvat::triplet;

class reader {
 public:
  reader(const uint8_t* d, size_t n) : d_(d), n_(n) {}
  bool done() const { return pos_ >= n_; }
  unsigned byte() { return pos_ < n_ ? d_[pos_++] : 0; }
  unsigned long word() {
    unsigned long w = 0;
    for (int k = 0; k < 4; ++k) w = w << 8 | byte();
    return w;
  }

 private:
  const uint8_t* d_;
  size_t n_;
  size_t pos_ = 0;
};

template <class T>
struct traits {
  static bool zero(const T& v) { return v == T(); }
  static T plus(const T& a, const T& b) { return a + b; }
  static T conj(const T& v) { return v; }
  static bool same(const T& a, const T& b) { return a == b || (a != a && b != b); }
  // Small integers (sums stay exact), -0 and NaN.
  static T make(unsigned code) {
    switch (code % 8) {
      case 6: return T(-0.0);
      case 7: return T(NAN);
      default: return T(static_cast<int>(code % 8) - 3);
    }
  }
};

template <>
struct traits<bool> {
  static bool zero(bool v) { return !v; }
  static bool plus(bool a, bool b) { return a || b; }
  static bool conj(bool v) { return v; }
  static bool same(bool a, bool b) { return a == b; }
  static bool make(unsigned code) { return code % 3 == 0; }
};

template <class R>
struct traits<std::complex<R>> {
  using T = std::complex<R>;
  static bool zero(const T& v) { return v == T(); }
  static T plus(const T& a, const T& b) { return a + b; }
  static T conj(const T& v) { return std::conj(v); }
  static bool same(const T& a, const T& b) {
    return traits<R>::same(a.real(), b.real()) && traits<R>::same(a.imag(), b.imag());
  }
  static T make(unsigned code) { return T(traits<R>::make(code), traits<R>::make(code >> 3)); }
};

// Rows up to this are small enough for a row marker (compress) and for a
// transposition's column starts; taller matrices are only built and edited.
constexpr long workable_rows = 1L << 16;

template <class T>
struct model {
  using tr = traits<T>;
  long m = 0, n = 0;
  std::map<std::pair<long, long>, T> at;  // (column, row) -> stored value

  void build(const std::vector<triplet<T>>& list, long asked_m, long asked_n) {
    m = asked_m < 0 ? 0 : asked_m;
    n = asked_n < 0 ? 0 : asked_n;
    for (const auto& t : list) m = std::max(m, t.row + 1), n = std::max(n, t.col + 1);
    for (const auto& t : list) {
      auto it = at.find({t.col, t.row});
      if (it != at.end()) it->second = tr::plus(it->second, t.value);
      else if (!tr::zero(t.value)) at.emplace(std::make_pair(t.col, t.row), t.value);
    }
  }
  void set(long i, long j, const T& v) {
    if (tr::zero(v) || i < 0 || j < 0 || i >= m || j >= n) return;
    at[{j, i}] = v;
  }
  void drop_zeros() {
    for (auto it = at.begin(); it != at.end();) it = tr::zero(it->second) ? at.erase(it) : std::next(it);
  }
  void transpose(bool conjugate) {
    std::map<std::pair<long, long>, T> t;
    for (const auto& e : at) t.emplace(std::make_pair(e.first.second, e.first.first),
                                       conjugate ? tr::conj(e.second) : e.second);
    at.swap(t);
    std::swap(m, n);
  }
  void keep_inside(long new_m, long new_n) {
    m = new_m < 0 ? 0 : new_m;
    n = new_n < 0 ? 0 : new_n;
    for (auto it = at.begin(); it != at.end();)
      it = it->first.first >= n || it->first.second >= m ? at.erase(it) : std::next(it);
  }
};

template <class T>
void check(const sparse_matrix<T>& s, const model<T>& ref) {
  using tr = traits<T>;
  FUZZ_CHECK(s.rows() == ref.m && s.cols() == ref.n);
  const long* jc = s.jc();
  const long* jce = s.jce();
  const long* ir = s.ir();
  FUZZ_CHECK(jc[0] >= 0 && jc[s.cols()] <= s.nzmax());
  auto it = ref.at.begin();
  for (long j = 0; j < s.cols(); ++j) {
    FUZZ_CHECK(jc[j] <= jce[j] && jce[j] <= jc[j + 1]);
    for (long k = jc[j]; k < jce[j]; ++k) {
      FUZZ_CHECK(ir[k] >= 0 && ir[k] < s.rows());
      FUZZ_CHECK(k == jc[j] || ir[k - 1] < ir[k]);
      FUZZ_CHECK(it != ref.at.end() && it->first == std::make_pair(j, ir[k]));
      FUZZ_CHECK(tr::same(s[k], it->second));
      FUZZ_CHECK(tr::same(s.get_value(ir[k], j), it->second));
      ++it;
    }
  }
  FUZZ_CHECK(it == ref.at.end());
  FUZZ_CHECK(s.get_value(-1, 0) == T() && s.get_value(0, -1) == T());
  FUZZ_CHECK(s.get_value(s.rows(), 0) == T() && s.get_value(0, s.cols()) == T());
  if (s.rows() <= 4096 && s.rows() * s.cols() <= 4096) {
    const zorvat::matrix<T> full = s.to_full();
    for (long j = 0; j < s.cols(); ++j)
      for (long i = 0; i < s.rows(); ++i) {
        auto e = ref.at.find({j, i});
        FUZZ_CHECK(tr::same(full(i, j), e == ref.at.end() ? T() : e->second));
        FUZZ_CHECK(tr::same(s.get_value(i, j), full(i, j)));
      }
  }
  FUZZ_CHECK(s.to_triplet().size() == ref.at.size());
}

template <class T>
void run(reader& in) {
  using tr = traits<T>;
  const unsigned mode = in.byte();
  std::vector<triplet<T>> list;
  long m, n;
  if (mode % 4 != 0) {
    // A short list: every coordinate and value spelled out.
    m = static_cast<long>(in.byte() % 10) - 1;
    n = static_cast<long>(in.byte() % 10) - 1;
    const unsigned count = in.byte() % 48;
    for (unsigned k = 0; k < count; ++k) {
      const long row = in.byte() % 12, col = in.byte() % 12;
      list.push_back({tr::make(in.byte()), col, row});
    }
  } else {
    // A long list from a generator: enough entries and columns for several
    // blocks of columns, rows from a few up to past the row limit.
    std::mt19937_64 g(in.word());
    const long count = static_cast<long>(in.word() % 12000);
    const long cols = 1 + static_cast<long>(in.word() % 4000);
    const int row_bits = static_cast<int>(in.byte() % 63);
    const long rows = row_bits == 0 ? 1 : (1L << row_bits) - (in.byte() % 2);
    const unsigned dup = in.byte();  // folds coordinates to make duplicates
    m = static_cast<long>(in.byte() % 16);
    n = static_cast<long>(in.byte() % 16);
    for (long k = 0; k < count; ++k) {
      long row = static_cast<long>(g() % static_cast<unsigned long>(rows));
      long col = static_cast<long>(g() % static_cast<unsigned long>(cols));
      if (dup & 1) row %= 7;
      if (dup & 2) col %= 5;
      if (dup & 4 && k % 3 == 0) row = rows - 1;
      list.push_back({tr::make(static_cast<unsigned>(g())), col, row});
    }
  }
  model<T> ref;
  ref.build(list, m, n);
  const long row_limit = static_cast<long>(std::vector<long>().max_size());
  if (ref.m > row_limit) {
    try {
      sparse_matrix<T> s(list, m, n);
    } catch (const std::length_error& e) {
      FUZZ_CHECK(std::string(e.what()) == "cannot create std::vector larger than max_size()");
      return;
    }
    std::abort();
  }
  sparse_matrix<T> s(list, m, n);
  FUZZ_CHECK(s.nzmax() == static_cast<long>(list.size()));
  check(s, ref);

  const int steps = mode % 4 != 0 ? 48 : 6;  // long lists: a few steps
  for (int step = 0; step < steps && !in.done(); ++step) {
    const unsigned op = in.byte();
    const bool workable = ref.m <= workable_rows;
    switch (op % 9) {
      case 0:
      case 1: {  // set_value near or at stored places, and just outside
        long i = static_cast<long>(in.byte()) - 2, j = static_cast<long>(in.byte() % 16) - 1;
        if (op & 16 && !ref.at.empty()) {
          auto it = ref.at.begin();
          std::advance(it, static_cast<long>(in.byte() % ref.at.size()));
          j = it->first.first;
          i = it->first.second;
        }
        if (op & 32) i = ref.m - 1 - (i & 3);
        const T v = tr::make(in.byte());
        s.set_value(i, j, v);
        ref.set(i, j, v);
        break;
      }
      case 2:
        if (!workable) continue;
        s.compress(op & 16);
        ref.drop_zeros();
        if (op & 16) FUZZ_CHECK(s.nzmax() == static_cast<long>(ref.at.size()));
        break;
      case 3:
        s.reorder();
        break;
      case 4:
        if (!workable) continue;
        if (op & 16) s.ctranspose();
        else s.transpose();
        ref.transpose(op & 16);
        FUZZ_CHECK(s.nzmax() == static_cast<long>(ref.at.size()));
        break;
      case 5: {
        const long new_m = static_cast<long>(in.byte() % 20) - 2, new_n = static_cast<long>(in.byte() % 20) - 2;
        if (op & 16) {
          s.resize(new_m, new_n);
          ref.keep_inside(0, 0);
          ref.m = new_m < 0 ? 0 : new_m;
          ref.n = new_n < 0 ? 0 : new_n;
        } else {
          s.conservative_resize(new_m, new_n);
          ref.keep_inside(new_m, new_n);
        }
        break;
      }
      case 6:
        if (op & 16) {
          s.reserve(static_cast<long>(in.byte()) - 8);
        } else {
          std::vector<long> slack(in.byte() % 8);
          for (long& x : slack) x = static_cast<long>(in.byte() % 8) - 2;
          s.reserve(slack);
        }
        break;
      case 7: {
        sparse_matrix<T> copy(s);
        copy.set_value(0, 0, tr::make(op >> 4));
        check(s, ref);  // copies are deep
        ref.set(0, 0, tr::make(op >> 4));
        s = copy;
        break;
      }
      case 8: {  // a round trip through the coordinates
        if (!workable) continue;
        sparse_matrix<T> again(s.to_triplet(), s.rows(), s.cols());
        FUZZ_CHECK(again.nzmax() == static_cast<long>(ref.at.size()));
        ref.drop_zeros();
        s = again;
        break;
      }
    }
    check(s, ref);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  reader in(data, size);
  switch (in.byte() % 5) {
    case 0: run<double>(in); break;
    case 1: run<float>(in); break;
    case 2: run<std::complex<double>>(in); break;
    case 3: run<std::complex<float>>(in); break;
    default: run<bool>(in); break;
  }
  return 0;
}
