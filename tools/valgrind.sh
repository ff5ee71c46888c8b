#!/usr/bin/env bash
# The reference host runs the tour under valgrind's memcheck: any invalid
# access, use of uninitialised memory or leak fails (nothing is suppressed).
# Uses the normal build in build/ (built if needed).
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh valgrind
[ -d build ] || cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target zorvat-host >/dev/null
valgrind --leak-check=full --error-exitcode=1 \
  build/examples/zorvat-host --keep-going --plugin-root build/plugin_root examples/tour.zs >/dev/null
echo "valgrind: the tour ran clean"
