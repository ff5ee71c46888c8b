#include "display/display_sinks.h"

#include <ostream>

#include "host/console.h"

namespace zorvat {
namespace internal {

void FixedLengthStream::mark_truncated() {
  text_.append("\n\n  ...\n", 8);
  truncated = true;
}

template <int N>
void BufferedStream<N>::flush() {
  if constexpr (N == 0) {
    *out << text_;
  } else if constexpr (N == 1) {
    write_to_cout_flush(text_);
  } else {
    write_to_cerr_flush(text_);
  }
  text_.clear();
  stream.clear();
}

template class BufferedStream<0>;
template class BufferedStream<1>;
template class BufferedStream<2>;

}  // namespace internal
}  // namespace zorvat
