#!/usr/bin/env bash
# Installs the Debian packages that the build, the tests and the benchmarks
# need, and only those that are missing, and makes sure that an English UTF-8
# locale (en_US.UTF-8) exists, for the test that shows the English messages.
# Nothing is fetched from anywhere else.  Safe to run again: with everything
# present it does nothing and prints nothing.
#   tools/setup.sh              what building and testing need
#   tools/setup.sh STEP...      also what these CI steps need: fuzz (clang and
#                               its sanitizer runtimes), coverage (gcovr),
#                               valgrind, docs (doxygen), abi (abigail-tools);
#                               --ci means all of them
set -euo pipefail

packages=(g++ cmake make pkg-config libboost-dev libgtest-dev libbenchmark-dev
          gettext libeigen3-dev libedit-dev libdeflate-dev zlib1g-dev python3-scipy libmatio-dev
          libdlpack-dev python3-numpy)
for step in "$@"; do
  case "$step" in
    fuzz) packages+=(clang libclang-rt-14-dev) ;;
    coverage) packages+=(gcovr) ;;
    valgrind) packages+=(valgrind) ;;
    docs) packages+=(doxygen) ;;
    abi) packages+=(abigail-tools) ;;
    --ci) packages+=(clang libclang-rt-14-dev gcovr valgrind doxygen abigail-tools) ;;
    *) echo "setup: unknown step '$step' (fuzz, coverage, valgrind, docs, abi, --ci)" >&2; exit 2 ;;
  esac
done

has_english_locale() {
  locale -a 2>/dev/null | grep -Eqx 'en_US\.(utf8|UTF-8)'
}
need_locale=0
has_english_locale || need_locale=1
# The locale is generated from the data of the locales package.
[ "$need_locale" -eq 1 ] && packages+=(locales)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && [ "$need_locale" -eq 0 ] && exit 0

sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive

if [ ${#missing[@]} -gt 0 ]; then
  echo "setup: installing ${missing[*]}"
  if ! "${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${missing[@]}"; then
    "${sudo_cmd[@]}" apt-get update
    "${sudo_cmd[@]}" apt-get install -y --no-install-recommends "${missing[@]}"
  fi
fi

if [ "$need_locale" -eq 1 ]; then
  echo "setup: generating the locale en_US.UTF-8"
  if grep -Eq '^[# ]*en_US\.UTF-8 UTF-8' /etc/locale.gen 2>/dev/null; then
    "${sudo_cmd[@]}" sed -i -E 's/^[# ]*(en_US\.UTF-8 UTF-8)/\1/' /etc/locale.gen
  else
    echo "en_US.UTF-8 UTF-8" | "${sudo_cmd[@]}" tee -a /etc/locale.gen >/dev/null
  fi
  "${sudo_cmd[@]}" locale-gen >/dev/null
  has_english_locale || { echo "setup: en_US.UTF-8 is still missing" >&2; exit 1; }
fi
