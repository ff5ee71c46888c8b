#!/bin/sh
# Runs the tutorials' host sample with the tutorials' plugin and compares its
# output with host_sample.out (in the C locale: the messages' originals).
#   run.sh HOST_SAMPLE PLUGIN_ROOT DATA_DIR SAMPLES_DIR
set -eu
out=$(mktemp) err=$(mktemp)
trap 'rm -f "$out" "$err"' EXIT
LC_ALL=C LANGUAGE= "$1" "$2" "$3" >"$out" 2>"$err" ||
  { cat "$out" "$err"; echo "doc sample: the host failed" >&2; exit 1; }
diff -u "$4/host_sample.out" "$out"
