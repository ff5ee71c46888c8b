#!/usr/bin/env bash
# The ABI check: compares the public interface of build/libzorvat_core.so
# (the types of the public headers, the exported functions and variables)
# with the baseline abi/libzorvat_core.abi.xz (libabigail's abidw / abidiff;
# the XML is kept compressed: it describes every exported template instance).
# Any difference fails, additions included: change the interface on purpose
# and then refresh the baseline with
#   bash tools/abi_check.sh --update
# and commit abi/libzorvat_core.abi.xz with the change.  The library is built
# in build/ (RelWithDebInfo: the debug information describes the types).
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh abi
baseline=abi/libzorvat_core.abi.xz
xml=build/libzorvat_core.abi
[ -d build ] || cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target zorvat_core >/dev/null
lib=build/libzorvat_core.so
headers=(--headers-dir core --headers-dir build/generated)

if [ "${1:-}" = "--update" ]; then
  mkdir -p abi
  abidw "${headers[@]}" --drop-private-types --no-corpus-path --no-show-locs \
    --type-id-style hash --out-file "$xml" "$lib"
  xz -9 -c "$xml" >"$baseline"
  echo "abi: baseline $baseline refreshed; commit it with the interface change"
  exit 0
fi
[ -f "$baseline" ] || { echo "abi: no baseline $baseline; make it with tools/abi_check.sh --update" >&2; exit 1; }
xz -d -c "$baseline" >"$xml.baseline"
status=0
abidiff --headers-dir2 core --headers-dir2 build/generated --drop-private-types \
  --no-show-locs "$xml.baseline" "$lib" >build/abi.diff || status=$?
if [ "$status" -ne 0 ]; then
  cat build/abi.diff
  if [ $((status & 1)) -ne 0 ]; then
    echo "abi: abidiff failed (status $status)" >&2
  else
    echo "abi: the public interface differs from $baseline. If that is intended," >&2
    echo "abi: run 'bash tools/abi_check.sh --update' and commit the baseline." >&2
  fi
  exit 1
fi
echo "abi: the public interface matches $baseline"
