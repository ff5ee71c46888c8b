#include "display/display_sinks.h"

#include <ostream>

#include "host/console.h"

namespace zorvat {
namespace internal {

void FixedLengthStream::mark_truncated() {
  stream.rdbuf()->sputn("\n\n  ...\n", 8);
  put_ += 8;
  truncated = true;
}

template <int N>
void BufferedStream<N>::flush() {
  const std::string text = stream.str();
  if constexpr (N == 0) {
    *out << text;
  } else if constexpr (N == 1) {
    write_to_cout_flush(text);
  } else {
    write_to_cerr_flush(text);
  }
  stream.str(std::string());
  stream.clear();
  put_ = 0;
}

template class BufferedStream<0>;
template class BufferedStream<1>;
template class BufferedStream<2>;

}  // namespace internal
}  // namespace zorvat
