#!/bin/sh
# cli.sh HOST VERSION: zorvat-host's options, its exit status and its limits
# on one line.  --help and --version answer and exit 0 (the version is the
# project's and the loaded library's), in the user's language; an unreadable
# script gives status 2; `exit N` ends with status N, also from inside a
# loop, and stops there; 5,000 and 100,000 nested brackets, minus signs or if
# blocks give the nesting error with status 1, never a crash.
host=$1 version=$2
fail=0
check() { if ! eval "$1"; then echo "FAILED: $2"; fail=1; fi; }
export LC_ALL=zh_CN.UTF-8

out=$("$host" --help) && st=0 || st=$?
check '[ $st -eq 0 ] && printf "%s" "$out" | grep -q -- "--keep-going"' "--help shows the options"
out=$("$host" --version) && st=0 || st=$?
check '[ $st -eq 0 ] && [ "$out" = "zorvat-host $version (libzorvat_core $version)" ]' "--version: $out"
out=$("$host" --bogus 2>&1) && st=0 || st=$?
check '[ $st -eq 2 ]' "an unknown option gives status 2"
# --help, the usage and option errors speak the user's language too.
out=$(LC_ALL=C.UTF-8 "$host" --help) && st=0 || st=$?
check '[ $st -eq 0 ] && printf "%s" "$out" | grep -q "^usage: zorvat-host"' "--help in English: $out"
out=$(LC_ALL=C.UTF-8 "$host" --bogus 2>&1) && st=0 || st=$?
check '[ $st -eq 2 ] && printf "%s" "$out" | grep -q "invalid option --bogus"' "option error in English: $out"
# A script that is a folder or cannot be read: status 2 and a message.
dir=$(mktemp -d) && trap 'rm -rf "$dir"' EXIT
for script in "$dir" "$dir/missing.zs"; do
  out=$("$host" "$script" 2>&1) && st=0 || st=$?
  check '[ $st -eq 2 ] && printf "%s" "$out" | grep -q "$script"' "script $script: status $st, $out"
done

out=$(printf 'for k = 1:5\n  if k == 3, exit 7, end\n  disp(k)\nend\ndisp(99)\n' | "$host" 2>&1) && st=0 || st=$?
check '[ $st -eq 7 ] && [ "$(printf "%s" "$out" | tr -d " \n")" = "12" ]' "exit 7 in a loop: status $st, output $out"
out=$("$host" -e 'exit 256' 2>&1) && st=0 || st=$?
check '[ $st -eq 1 ] && printf "%s" "$out" | grep -q "exit \[N\]"' "exit 256 is refused: status $st"
"$host" -e 'x = 1' -e exit >/dev/null && st=0 || st=$?
check '[ $st -eq 0 ]' "a plain exit ends with status 0"

# nested N OPEN CLOSE
nested() {
  printf 'x = '
  head -c "$1" /dev/zero | tr '\0' "$2"
  printf 1
  [ -n "$3" ] && head -c "$1" /dev/zero | tr '\0' "$3"
  echo
}
for n in 5000 100000; do
  for pair in "( )" "[ ]" "{ }" "- "; do
    set -- $pair
    err=$(nested "$n" "$1" "${2:-}" | "$host" 2>&1 >/dev/null) && st=0 || st=$?
    check '[ $st -eq 1 ] && printf "%s" "$err" | grep -q "嵌套过深"' "$n levels of '$1': status $st, $err"
  done
  err=$( (yes 'if 1,' | head -n "$n" | tr -d '\n'; printf 'x = 1'; yes ', end' | head -n "$n" | tr -d '\n'; echo) |
        "$host" 2>&1 >/dev/null) && st=0 || st=$?
  check '[ $st -eq 1 ] && printf "%s" "$err" | grep -q "嵌套过深"' "$n nested if blocks: status $st, $err"
done
[ $fail -eq 0 ] && echo "cli: options, exit status and nesting limit as expected"
exit $fail
