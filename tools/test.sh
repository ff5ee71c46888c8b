#!/usr/bin/env bash
# Installs what is missing, builds the library, tests, benchmarks and
# examples, and runs every test.
#   tools/test.sh             normal build in build/
#   tools/test.sh --sanitize  AddressSanitizer + UBSan (leak checking on) in build-asan/
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh

dir=build
flags=(-DCMAKE_BUILD_TYPE=RelWithDebInfo)
if [ "${1:-}" = "--sanitize" ]; then
  dir=build-asan
  flags+=(-DZORVAT_SANITIZE=ON -DZORVAT_BUILD_BENCH=OFF)
  export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1:abort_on_error=1
  export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
  export ZORVAT_SANITIZER_RUN=1
fi
cmake -S . -B "$dir" "${flags[@]}" >/dev/null
cmake --build "$dir" -j"$(nproc)"
ctest --test-dir "$dir" --output-on-failure -j"$(nproc)"
