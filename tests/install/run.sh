#!/bin/sh
# The installed package as host and plugin writers meet it.
#   run.sh BUILD_DIR SOURCE_DIR [EXTRA_FLAGS]
# Installs BUILD_DIR into a temporary prefix; builds consumer/ (a host, a C++
# plugin and a C plugin) against it through the CMake package and runs it;
# runs the README's install commands (pkg-config) as written; checks what
# add_subdirectory builds; runs the installed zorvat-host with the installed
# sample plugin; checks that README's code samples are the consumer's files.
# EXTRA_FLAGS (for example the sanitizer flags of the library's build) are
# passed to every compile and link of the consumer.
set -eu
build=$1 src=$2 flags=${3:-}
here=$src/tests/install
tmp=$(mktemp -d)
trap 'rm -rf "$tmp"' EXIT
fail() { echo "install test: $*" >&2; exit 1; }

cmake --install "$build" --prefix "$tmp/prefix" >/dev/null
prefix=$tmp/prefix

# The consumer prints a matrix, the C plugin's result and error, a plugin
# object and the dispatcher's error (in the C locale: the Chinese original).
# Nothing goes to standard error: the library finds libzex.so beside itself.
check_run() {  # check_run WHAT HOST PLUGIN_ROOT
  LC_ALL=C LANGUAGE= "$2" "$3" "$prefix/share/zorvat" >"$tmp/out" 2>"$tmp/err" || fail "$1: the host failed"
  diff -u "$here/expected.out" "$tmp/out" || fail "$1: unexpected output"
  [ ! -s "$tmp/err" ] || { cat "$tmp/err"; fail "$1: the host wrote to standard error"; }
}

# 1. find_package(zorvat_core CONFIG) and zorvat_add_plugin.
cmake -S "$here/consumer" -B "$tmp/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
      -DCMAKE_CXX_FLAGS="$flags" -DCMAKE_C_FLAGS="$flags" -DCMAKE_EXE_LINKER_FLAGS="$flags" \
      -DCMAKE_MODULE_LINKER_FLAGS="$flags" >/dev/null || fail "configuring with find_package"
cmake --build "$tmp/cmake" >/dev/null || fail "building with find_package"
for p in units scale; do
  [ -f "$tmp/cmake/plugin_root/plugins/$p/main.so" ] || fail "zorvat_add_plugin: no plugins/$p/main.so"
done
check_run find_package "$tmp/cmake/tiny_host" "$tmp/cmake/plugin_root"

# The installed English catalogue: the same error in English.
locale -a 2>/dev/null | grep -Eqx 'en_US\.(utf8|UTF-8)' ||
  fail "the locale en_US.UTF-8 is not installed; run tools/setup.sh"
msgid='错误 - 运算符 %s 不支持该类型的输入参数组合'
english=$(LANGUAGE=en LC_ALL=en_US.UTF-8 TEXTDOMAINDIR="$prefix/share/zorvat/locale" \
          gettext -d zorvat_core "$msgid")
[ -n "$english" ] && [ "$english" != "$msgid" ] ||
  fail "the installed catalogue has no English text of the dispatcher's error"
# shellcheck disable=SC2059  # the translation is the format
expected=$(printf "$english" +)
LANGUAGE=en LC_ALL=en_US.UTF-8 "$tmp/cmake/tiny_host" "$tmp/cmake/plugin_root" "$prefix/share/zorvat" \
  2>/dev/null | tail -n 1 >"$tmp/en.out" || fail "the host failed in English"
[ "$(cat "$tmp/en.out")" = "$expected" ] ||
  fail "English: expected '$expected', got '$(cat "$tmp/en.out")' (installed catalogue not found?)"

# 2. The README's install commands, as written (with its own prefix, and the
# sanitizer flags added to each compile), in a folder holding host.cpp, units.cpp, scale.c
# and a link to the build tree.
mkdir -p "$tmp/readme"
cp "$here/consumer/host.cpp" "$here/consumer/units.cpp" "$here/consumer/scale.c" "$tmp/readme/"
ln -s "$build" "$tmp/readme/build"
awk '
  $0 == "<!-- run by tests/install/run.sh -->" { grab = 1; next }
  grab == 1 && /^```/ { grab = 2; next }
  grab == 2 && /^```/ { exit }
  grab == 2 { print }' "$src/README.md" >"$tmp/readme.sh"
grep -q '^PREFIX=' "$tmp/readme.sh" ||
  fail "README.md: no install commands marked <!-- run by tests/install/run.sh -->"
sed -e "s|^PREFIX=[^ ]*|PREFIX='$tmp/readme-prefix'|" -e "s|^g++ |g++ $flags |" -e "s|^gcc |gcc $flags |" \
    "$tmp/readme.sh" >"$tmp/readme/commands.sh"
(cd "$tmp/readme" && env -u PKG_CONFIG_PATH -u LD_LIBRARY_PATH LC_ALL=C LANGUAGE= \
   sh -eu commands.sh >"$tmp/out" 2>"$tmp/readme.err") ||
  { cat "$tmp/readme.err" >&2; fail "the README's install commands failed"; }
# What the host printed, without cmake --install's "-- Installing" lines.
grep -v '^-- ' "$tmp/out" >"$tmp/host.txt" || true
diff -u "$here/expected.out" "$tmp/host.txt" || fail "the README's install commands: unexpected output"

# 3. add_subdirectory from a consumer gives the library and the host only,
# unless the consumer asks for the tests and the benchmarks.
mkdir -p "$tmp/sub"
printf 'cmake_minimum_required(VERSION 3.16)\nproject(sub LANGUAGES CXX)\nadd_subdirectory("%s" zorvat)\n' \
  "$src" >"$tmp/sub/CMakeLists.txt"
cmake -S "$tmp/sub" -B "$tmp/sub/b" >/dev/null || fail "configuring with add_subdirectory"
cmake --build "$tmp/sub/b" --target help >"$tmp/sub/targets"
grep -q 'zorvat-host' "$tmp/sub/targets" || fail "add_subdirectory: no zorvat-host"
! grep -Eq '(test|bench)_' "$tmp/sub/targets" || fail "add_subdirectory builds tests or benchmarks by default"
cmake -S "$tmp/sub" -B "$tmp/sub/b" -DZORVAT_BUILD_TESTS=ON -DZORVAT_BUILD_BENCH=ON >/dev/null ||
  fail "configuring with ZORVAT_BUILD_TESTS and ZORVAT_BUILD_BENCH"
cmake --build "$tmp/sub/b" --target help | grep -q 'bench_' || fail "ZORVAT_BUILD_BENCH=ON gives no benchmarks"

# 4. The installed reference host finds its library and the installed plugin.
if [ -x "$prefix/bin/zorvat-host" ]; then
  # Its default plugin root is the installation's <prefix>/lib/zorvat.
  env -u ZORVAT_PLUGIN_PATH LC_ALL=C "$prefix/bin/zorvat-host" \
    -e "plugin load quaternion" -e "q = quat(1, 2, 3, 4) + quat(1, 0, 0, 0)" \
    -e "plugin load colstats" -e "s = colstats([1 5])" >"$tmp/host.out" 2>"$tmp/host.err" ||
    { cat "$tmp/host.out" "$tmp/host.err"; fail "the installed zorvat-host failed"; }
  grep -q "2 + 2i + 3j + 4k" "$tmp/host.out" || { cat "$tmp/host.out"; fail "the installed quaternion plugin"; }
  grep -q "mean: \[1.0000 5.0000\]" "$tmp/host.out" || { cat "$tmp/host.out"; fail "the installed colstats plugin"; }
  [ ! -s "$tmp/host.err" ] || { cat "$tmp/host.err"; fail "the installed zorvat-host wrote to standard error"; }
  [ -f "$prefix/lib/libzex.so" ] || [ -f "$prefix/lib64/libzex.so" ] || fail "libzex.so is not installed"
fi

# 5. README shows these very files.
for f in host.cpp units.cpp scale.c CMakeLists.txt; do
  awk -v want="consumer/$f" '
    $0 == "<!-- tests/install/" want " -->" { grab = 1; next }
    grab == 1 && /^```/ { grab = 2; next }
    grab == 2 && /^```/ { exit }
    grab == 2 { print }' "$src/README.md" >"$tmp/readme.$f"
  cmp -s "$tmp/readme.$f" "$here/consumer/$f" ||
    fail "README.md does not show tests/install/consumer/$f as it is (mark the block with <!-- tests/install/consumer/$f -->)"
done
echo "install test: passed"
