#!/usr/bin/env bash
# The ABI check: compares the public interface of each shared library built
# in build/ (libzorvat_core.so: the types of the public headers, the exported
# functions and variables; libzex.so: the C interface of plugin/zex.h) with
# its baseline abi/<library>.abi.xz (libabigail's abidw / abidiff; the XML is
# kept compressed: it describes every exported template instance).  Any
# difference fails, additions included: change the interface on purpose and
# then refresh the baselines with
#   bash tools/abi_check.sh --update
# and commit abi/*.abi.xz with the change.  The libraries are built in build/
# (RelWithDebInfo: the debug information describes the types).
set -euo pipefail
cd "$(dirname "$0")/.."
bash tools/setup.sh abi
[ -d build ] || cmake -S . -B build -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build build -j"$(nproc)" --target zorvat_core zex >/dev/null
headers=(--headers-dir core --headers-dir build/generated)
failed=0
for name in libzorvat_core libzex; do
  lib=build/$name.so baseline=abi/$name.abi.xz xml=build/$name.abi
  if [ "${1:-}" = "--update" ]; then
    mkdir -p abi
    abidw "${headers[@]}" --drop-private-types --no-corpus-path --no-show-locs \
      --type-id-style hash --out-file "$xml" "$lib"
    xz -9 -c "$xml" >"$baseline"
    echo "abi: baseline $baseline refreshed; commit it with the interface change"
    continue
  fi
  [ -f "$baseline" ] || { echo "abi: no baseline $baseline; make it with tools/abi_check.sh --update" >&2; exit 1; }
  xz -d -c "$baseline" >"$xml.baseline"
  status=0
  abidiff --headers-dir2 core --headers-dir2 build/generated --drop-private-types \
    --no-show-locs "$xml.baseline" "$lib" >"build/$name.abi.diff" || status=$?
  if [ "$status" -ne 0 ]; then
    cat "build/$name.abi.diff"
    if [ $((status & 1)) -ne 0 ]; then
      echo "abi: abidiff failed on $name.so (status $status)" >&2
    else
      echo "abi: the public interface of $name.so differs from $baseline. If that is" >&2
      echo "abi: intended, run 'bash tools/abi_check.sh --update' and commit the baselines." >&2
    fi
    failed=1
  else
    echo "abi: the public interface of $name.so matches $baseline"
  fi
done
exit "$failed"
