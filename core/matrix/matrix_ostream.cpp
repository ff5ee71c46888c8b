#include <complex>
#include <ostream>

#include "matrix/matrix.h"
#include "memory/messages.h"

namespace zorvat {
namespace {

// Element insertion: char-sized types as the byte itself, float widened to
// double, everything else the stream's own insertion.
template <class T>
void put(std::ostream& os, const T& v) { os << v; }
void put(std::ostream& os, float v) { os << static_cast<double>(v); }

}  // namespace

template <class T>
std::ostream& operator<<(std::ostream& os, const matrix<T>& m) {
  const long pages = m.tail_dim(2);
  if (m.is_empty()) {
    const char* note = tr("(空矩阵)");
    if (!note) {
      os.setstate(std::ios::failbit);
      return os;
    }
    os << note << '\n' << std::flush;
    return os;
  }
  if (pages < 1) return os << std::flush;
  const T* data = m.data();
  const long rs = m.row_stride(), cs = m.col_stride();
  for (long p = 1; p <= pages; ++p) {
    if (pages != 1) os << "(:, :, " << p << ") = \n";
    // No page term in the address: every page block repeats the first page.
    for (long i = 0; i < m.rows(); ++i) {
      for (long j = 0; j < m.cols(); ++j) {
        put(os, data[i * rs + j * cs]);
        os << '\t';
      }
      os << '\n';
    }
  }
  return os << std::flush;
}

#define ZORVAT_INSTANTIATE_MATRIX_OSTREAM(T) \
  template std::ostream& operator<<(std::ostream&, const matrix<T>&);
ZORVAT_FOR_EACH_ARITH_TYPE(ZORVAT_INSTANTIATE_MATRIX_OSTREAM)
#undef ZORVAT_INSTANTIATE_MATRIX_OSTREAM

}  // namespace zorvat
