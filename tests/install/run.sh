#!/bin/sh
# The installed package as host and plugin writers meet it.
#   run.sh BUILD_DIR SOURCE_DIR [EXTRA_FLAGS]
# Installs BUILD_DIR into a temporary prefix; builds consumer/ (a host, a C++
# plugin and a C plugin) against it once through the CMake package and once through
# pkg-config and runs both; runs the installed zorvat-host with the installed
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

# 2. pkg-config.
export PKG_CONFIG_PATH="$prefix/lib/pkgconfig"
cflags=$(pkg-config --cflags zorvat_core) || fail "pkg-config does not know zorvat_core"
libs=$(pkg-config --libs zorvat_core)
libdir=$(pkg-config --variable=libdir zorvat_core)
mkdir -p "$tmp/pc/root/plugins/units" "$tmp/pc/root/plugins/scale"
# shellcheck disable=SC2086  # the flags are lists of words
g++ -std=c++17 $flags $cflags "$here/consumer/host.cpp" -o "$tmp/pc/tiny_host" $libs \
    -Wl,-rpath,"$libdir" || fail "building the host with pkg-config"
# shellcheck disable=SC2086
g++ -std=c++17 -shared -fPIC $flags $cflags "$here/consumer/units.cpp" \
    -o "$tmp/pc/root/plugins/units/main.so" $libs || fail "building the plugin with pkg-config"
# The C plugin with the flags of zorvat_zex, as plain C99.
zex_cflags=$(pkg-config --cflags zorvat_zex) || fail "pkg-config does not know zorvat_zex"
zex_libs=$(pkg-config --libs zorvat_zex)
# shellcheck disable=SC2086
gcc -std=c99 -Wall -Wextra -Werror -shared -fPIC $flags $zex_cflags "$here/consumer/scale.c" \
    -o "$tmp/pc/root/plugins/scale/main.so" $zex_libs || fail "building the C plugin with pkg-config"
check_run pkg-config "$tmp/pc/tiny_host" "$tmp/pc/root"

# 3. The installed reference host finds its library and the installed plugin.
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

# 4. README shows these very files.
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
