#!/bin/sh
# replay.sh TARGET DIR...: runs TARGET once on every file of the existing DIRs
# (no fuzzing); passes when there is nothing to replay.
target=$1; shift
files=
for d in "$@"; do
  [ -d "$d" ] && for f in "$d"/*; do [ -f "$f" ] && files="$files $f"; done
done
[ -z "$files" ] && exit 0
# shellcheck disable=SC2086
exec "$target" $files
