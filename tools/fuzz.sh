#!/usr/bin/env bash
# Builds the libFuzzer targets (clang, ASan + UBSan) in build-fuzz/, replays
# the committed seeds and regression inputs, then fuzzes each target for
# SECONDS (default 60) on a scratch copy of its seeds.
#   tools/fuzz.sh             about a minute per target (what CI runs)
#   tools/fuzz.sh 600         ten minutes per target
#   tools/fuzz.sh 600 sparse  one target
# A crash leaves its input as build-fuzz/crash-<name>-*: commit it to
# fuzz/regressions/<name>/ once fixed.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh fuzz
seconds=${1:-60}
only=${2:-}
CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DZORVAT_FUZZ=ON -DZORVAT_BUILD_TESTS=OFF -DZORVAT_BUILD_BENCH=OFF \
  -DZORVAT_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-fuzz -j"$(nproc)"
export ASAN_OPTIONS=detect_leaks=1:allocator_may_return_null=1
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
ctest --test-dir build-fuzz --output-on-failure -j"$(nproc)"
for src in fuzz/*.cpp; do
  name=$(basename "$src" .cpp)
  [ "$name" = replay_main ] && continue  # the replay driver of the ordinary builds, not a target
  [ -n "$only" ] && [ "$only" != "$name" ] && continue
  work=build-fuzz/corpus-$name
  mkdir -p "$work"
  [ -d "fuzz/corpus/$name" ] && cp -n "fuzz/corpus/$name"/* "$work"/ 2>/dev/null || true
  echo "fuzz: $name for ${seconds}s"
  status=0
  ./build-fuzz/fuzz/fuzz_"$name" -max_total_time="$seconds" -rss_limit_mb=4096 \
    -artifact_prefix=build-fuzz/crash-"$name"- -print_final_stats=1 "$work" \
    >build-fuzz/fuzz-"$name".log 2>&1 || status=$?
  grep -E '^(stat::number_of_executed_units|stat::peak_rss|==[0-9]+==|SUMMARY|#[0-9]+ *DONE)' \
    build-fuzz/fuzz-"$name".log || true
  if [ "$status" -ne 0 ]; then
    grep -E -A12 'runtime error|ERROR: ' build-fuzz/fuzz-"$name".log | head -40
    echo "fuzz: $name failed (status $status); its input is build-fuzz/crash-$name-*" >&2
    exit 1
  fi
done
