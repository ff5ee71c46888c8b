#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests and the benchmarks
# need, and only those that are missing.  Nothing is fetched from anywhere
# else.  Safe to run again: with everything present it does nothing.
set -euo pipefail

packages=(g++ cmake make pkg-config libboost-dev libgtest-dev libbenchmark-dev
          gettext libeigen3-dev)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "setup: installing ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
if ! "${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${missing[@]}"; then
  "${sudo_cmd[@]}" apt-get update
  "${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
fi
