#!/bin/sh
# An interactive session on a pseudo-terminal (through script(1)): the host
# shows its prompt and lays out columns for the terminal's real width.
#   interactive.sh ZORVAT_HOST
host="$1"
run() {  # run COLUMNS-of-the-terminal
  printf 'x = ones(2, 12)\nexit\n' |
    env -u COLUMNS script -qec "stty cols $1 rows 24; '$host'" /dev/null | tr -d '\r'
}
narrow=$(run 40) || exit 1
wide=$(run 200) || exit 1
fail=0
check() { if ! eval "$1"; then echo "FAILED: $2"; fail=1; fi; }
check 'printf "%s" "$narrow" | grep -q "^>> x ="' "the prompt is shown on a terminal"
check 'printf "%s" "$narrow" | grep -q "1 -- 10$"' "a 40-column terminal pages the columns"
check 'printf "%s" "$narrow" | grep -q "11 -- 12$"' "the second page holds the rest"
check '! printf "%s" "$wide" | grep -q " -- "' "a 200-column terminal shows one page"
[ $fail -eq 0 ] && echo "interactive: prompt and width-dependent layout as expected"
exit $fail
