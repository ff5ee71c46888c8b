// fuzz_input.h: what the fuzz targets share: reading choices from the input
// bytes, and failing loudly when a property does not hold.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace fuzz_input {

// Takes choices from the front of the input; an exhausted input answers 0.
struct reader {
  const uint8_t* p;
  size_t n;
  long take(long bound) {  // 0 .. bound - 1
    if (n == 0 || bound <= 0) return 0;
    --n;
    return static_cast<long>(*p++) % bound;
  }
};

// A broken property is a finding: abort so that the fuzzer keeps the input.
inline void check(bool ok) {
  if (!ok) std::abort();
}

}  // namespace fuzz_input
