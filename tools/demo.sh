#!/usr/bin/env bash
# Installs what is missing, builds the library and runs the main job.
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh
cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target zorvat-demo
./build/examples/zorvat-demo "$@"
