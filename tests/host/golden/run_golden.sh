#!/bin/sh
# Runs one golden transcript: run_golden.sh HOST SCRIPT EXPECTED_DIR [HOST OPTIONS...]
# The script's standard output (followed by its exit status) and standard
# error are compared byte for byte with EXPECTED_DIR/<name>.out and .err.
# The messages are the Chinese originals (a Chinese locale; installed or not,
# no catalogue is looked up for it).  The host runs in a fresh folder holding
# a copy of the script, so files that a script writes (save) go there and
# are removed with it.
# ZORVAT_GOLDEN_ROOT, when set, is the plugin root, replaced by <plugin_root>.
# With ZORVAT_GOLDEN_UPDATE=1 the expected files are rewritten instead.
host=$1 script=$2 dir=$3
shift 3
name=$(basename "$script" .zs)
tmp=$(mktemp -d) || exit 2
trap 'rm -rf "$tmp"' EXIT
mkdir "$tmp/work" && cp "$script" "$tmp/work/" && cd "$tmp/work" || exit 2
COLUMNS=80 LC_ALL=zh_CN.UTF-8 "$host" "$@" "$(basename "$script")" >"$tmp/out" 2>"$tmp/err" </dev/null
echo "[exit $?]" >>"$tmp/out"
# Under AddressSanitizer a refused huge block is also announced by it.
sed '/^==[0-9]*==WARNING: AddressSanitizer failed to allocate/d' "$tmp/err" >"$tmp/err.s" && mv "$tmp/err.s" "$tmp/err"
# Paths of the build tree vary: the plugin root is written as <plugin_root>.
if [ -n "$ZORVAT_GOLDEN_ROOT" ]; then
  for f in out err; do
    sed "s|$ZORVAT_GOLDEN_ROOT|<plugin_root>|g" "$tmp/$f" >"$tmp/$f.s" && mv "$tmp/$f.s" "$tmp/$f"
  done
fi
if [ "$ZORVAT_GOLDEN_UPDATE" = 1 ]; then
  cp "$tmp/out" "$dir/$name.out" && cp "$tmp/err" "$dir/$name.err"
  exit $?
fi
diff -u "$dir/$name.out" "$tmp/out" && diff -u "$dir/$name.err" "$tmp/err"
