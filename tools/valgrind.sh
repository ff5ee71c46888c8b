#!/usr/bin/env bash
# The reference host runs the tour under valgrind's memcheck: any invalid
# access, use of uninitialised memory, leak or crash fails (nothing is
# suppressed).  The tour shows some errors on purpose, so the host's own exit
# status (non-zero after an error with --keep-going) is reported, not judged.
# Uses the normal build in build/ (built if needed).
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh valgrind
[ -d build ] || cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target zorvat-host >/dev/null
log=build/valgrind.log
status=0
valgrind --leak-check=full --error-exitcode=1 --suppressions=tools/valgrind.supp --log-file="$log" \
  build/examples/zorvat-host --keep-going --plugin-root build/plugin_root examples/tour.zs \
  >/dev/null 2>&1 || status=$?
grep -E 'ERROR SUMMARY|in use at exit' "$log" | sed 's/^==[0-9]*== /valgrind: /'
if ! grep -q 'ERROR SUMMARY: 0 errors' "$log" || grep -q 'Process terminating' "$log"; then
  cat "$log"
  echo "valgrind: findings in the tour (log: $log)" >&2
  exit 1
fi
echo "valgrind: the tour ran clean (the host's exit status: $status)"
