// Dense arrays against plain index arithmetic: random N-d shapes (empty
// extents included), views inside the block, resizes, and iterator walks
// whose elements, pointers and index() must match the subscripts computed by
// hand.  The input is read as a stream of small operation codes.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "core/matrix/matrix.h"
#include "fuzz/fuzz_input.h"

namespace {

using zorvat::matrix;

using fuzz_input::check;
using fuzz_input::reader;

// Walks v with its iterator and with an odometer of its own.
void check_walk(const matrix<double>& v) {
  // An array without a block has no positions to point at.
  if (!v.data()) return;
  const auto& d = v.dim_vec();
  std::vector<long> idx(d.size(), 0);
  auto it = v.begin();
  const auto e = v.end();
  const std::vector<long>& live = it.index();
  long steps = 0;
  // A view with a zero extent still walks the other extents (the last one
  // decides the end), so the model counts the same positions.
  long expected = 1;
  for (size_t k = 0; k + 1 < d.size(); ++k) expected *= d[k] > 0 ? d[k] : 1;
  expected *= d.back();
  for (; it != e; ++it, ++steps) {
    check(steps < expected);
    check(live == idx);
    bool inside = true;
    long off = 0;
    for (size_t k = 0; k < d.size(); ++k) {
      off += idx[k] * v.stride(static_cast<long>(k));
      inside = inside && idx[k] < d[k];
    }
    // Steps over a zero extent leave the pointer where no element is.
    if (v.size() > 0) check(it.ptr() == v.data() + off);
    if (inside) check(*it == v.data()[off]);
    size_t k = 0;
    while (k + 1 < d.size() && ++idx[k] >= (d[k] > 0 ? d[k] : 1)) idx[k++] = 0;
    if (k + 1 == d.size()) ++idx[k];
  }
  check(steps == expected);
  check(live == idx);
}

std::vector<long> random_dims(reader& r, long max_elems) {
  const long nd = 2 + r.take(3);
  std::vector<long> dims(nd);
  long count = 1;
  for (auto& x : dims) {
    x = r.take(5);
    if (x > 0 && count * x > max_elems) x = 1;
    if (x > 0) count *= x;
  }
  return dims;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  reader r{data, size};
  matrix<double> m(random_dims(r, 256));
  for (long i = 0; i < m.size(); ++i) m[i] = static_cast<double>(i);
  check_walk(m);
  for (int op = 0; op < 16 && r.n > 0; ++op) {
    switch (r.take(4)) {
      case 0: {  // a view inside the block, any positive strides
        if (!m.is_contiguous() || m.size() == 0) break;
        const long nd = 2 + r.take(2);
        std::vector<long> dims(nd), strides(nd);
        long reach = 0;
        for (long k = 0; k < nd; ++k) {
          dims[k] = r.take(4);
          strides[k] = r.take(7);
        }
        const long start = r.take(m.size());
        bool empty = false;
        for (long k = 0; k < nd; ++k) {
          empty = empty || dims[k] == 0;
          reach += dims[k] > 0 ? (dims[k] - 1) * strides[k] : 0;
        }
        if (!empty && start + reach >= m.size()) break;
        const auto v = m.view(dims, strides, start);
        if (!empty) {
          std::vector<long> idx(nd, 0);
          for (long k = 0; k < nd; ++k) idx[k] = r.take(dims[k]);
          long off = start;
          for (long k = 0; k < nd; ++k) off += idx[k] * strides[k];
          if (nd == 2) check(&v(idx[0], idx[1]) == m.data() + off);
          if (nd == 3) check(&v(idx[0], idx[1], idx[2]) == m.data() + off);
        }
        check_walk(v);
        const auto c = v.contiguous();
        check(c.is_contiguous() && c.dim_vec() == v.dim_vec());
        if (!empty) {
          auto a = v.begin();
          for (auto b = c.begin(), ce = c.end(); b != ce; ++a, ++b) check(*a == *b);
        }
        break;
      }
      case 1: {  // resize and refill
        m.resize(random_dims(r, 256));
        for (long i = 0; i < m.size(); ++i) m[i] = static_cast<double>(i) + 0.5;
        check_walk(m);
        break;
      }
      case 2: {  // conservative resize keeps the overlap
        const matrix<double> old(m);
        const auto dims = random_dims(r, 256);
        m.conservative_resize(dims);
        check_walk(m);
        for (auto it = m.begin(), e = m.end(); it != e && m.size() > 0; ++it) {
          const auto& idx = it.index();
          bool in_old = true;
          long off = 0;
          for (long k = static_cast<long>(idx.size()); k < old.ndims(); ++k)
            in_old = in_old && old.dim(k) > 0;
          for (size_t k = 0; k < idx.size(); ++k) {
            const long od = k < old.dim_vec().size() ? old.dim(static_cast<long>(k)) : 1;
            in_old = in_old && idx[k] < od;
            off += idx[k] * old.stride(static_cast<long>(k));
          }
          check(*it == (in_old && old.size() > 0 ? old.data()[off] : 0.0));
        }
        break;
      }
      case 3: {  // a clipped block transfer at any position
        if (m.size() == 0) break;
        matrix<double> src(1 + r.take(3), 1 + r.take(3));
        for (long i = 0; i < src.size(); ++i) src[i] = -1.0 - static_cast<double>(i);
        const long row = r.take(9) - 4, col = r.take(9) - 4;
        const matrix<double> old(m);
        m.blt(row, col, src);
        const long page = m.rows() * m.cols(), np = m.tail_dim(2) < 1 ? 1 : m.tail_dim(2);
        for (long p = 0; p < np && p < 1; ++p)
          for (long j = 0; j < m.cols(); ++j)
            for (long i = 0; i < m.rows(); ++i) {
              const long si = i - row, sj = j - col;
              const bool from_src = si >= 0 && si < src.rows() && sj >= 0 && sj < src.cols();
              check(m[p * page + i + j * m.rows()] ==
                    (from_src ? src(si, sj) : old[p * page + i + j * m.rows()]));
            }
        break;
      }
    }
  }
  return 0;
}
