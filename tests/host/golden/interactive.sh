#!/bin/sh
# An interactive session on a pseudo-terminal (through script(1)): the host
# shows its prompt and lays out columns for the terminal's real width; Ctrl-C
# cancels the line being typed and keeps the session, Tab completes a
# variable's name and the plugin command, and the lines are kept in the
# history file; typed UTF-8 is kept whatever the locale.  An open block shows
# the continuation prompt ".. " until its end; Ctrl-C stops an endless loop
# and a long matrix product within a second, keeping the workspace.
#   interactive.sh ZORVAT_HOST PLUGIN_ROOT
host="$1" root="$2"
run() {  # run COLUMNS-of-the-terminal
  printf 'x = ones(2, 12)\nexit\n' |
    env -u COLUMNS LC_ALL=zh_CN.UTF-8 script -qec "stty cols $1 rows 24; '$host'" /dev/null | tr -d '\r'
}
data=$(mktemp -d) || exit 1
trap 'rm -rf "$data"' EXIT
# Keys typed with pauses, so that each reaches the line editor on its own.
keys() {
  printf 'longname = 5;\n'; sleep 0.3
  printf 'abc'; sleep 0.3
  printf '\003'; sleep 0.3
  printf 'longn\t + 1\n'; sleep 0.3
  printf 'exit\n'
}
edited=$(keys | env -u COLUMNS XDG_DATA_HOME="$data" LC_ALL=zh_CN.UTF-8 \
         script -qec "stty cols 80 rows 24; '$host'" /dev/null | tr -d '\r')
# Blocks over several lines, and Ctrl-C during evaluation: each computation
# is given 3 seconds (it would take far longer), and Ctrl-C comes after 0.5.
blocks() {
  printf 'kept = 7;\n'; sleep 0.3
  printf 'for i = 1:2\n'; sleep 0.3
  printf 'if i == 2, disp(10 * i), end\n'; sleep 0.3
  printf 'end\n'; sleep 0.3
  printf 'while true, end\n'; sleep 0.5
  printf '\003'; sleep 0.5
  printf 'a = ones(2000); b = a * a;\n'; sleep 0.5
  printf '\003'; sleep 0.5
  printf 'kept + 1\n'; sleep 0.3
  printf 'exit\n'
}
start=$(date +%s)
looped=$(blocks | env -u COLUMNS XDG_DATA_HOME="$data" LC_ALL=zh_CN.UTF-8 \
         script -qec "stty cols 80 rows 24; '$host'" /dev/null | tr -d '\r')
took=$(( $(date +%s) - start ))
# UTF-8 typed under C.UTF-8 is kept, bytes that are not UTF-8 are refused
# and shown; Tab completes "plugin lo" and then the plugin's name.
typed() {
  printf "z = 'h\303\251llo\344\270\255'\n"; sleep 0.3
  printf "y = 'a\351b'\n"; sleep 0.3
  printf 'plugin lo\t cla\t\n'; sleep 0.3
  printf 'plugin list\nexit\n'
}
text=$(typed | env -u COLUMNS -u LC_ALL XDG_DATA_HOME="$data" LANG=C.UTF-8 \
       script -qec "stty cols 80 rows 24; '$host' --plugin-root '$root'" /dev/null | tr -d '\r')
narrow=$(run 40) || exit 1
wide=$(run 200) || exit 1
fail=0
check() { if ! eval "$1"; then echo "FAILED: $2"; fail=1; fi; }
check 'printf "%s" "$narrow" | grep -q "^>> x ="' "the prompt is shown on a terminal"
check 'printf "%s" "$narrow" | grep -q "1 -- 10$"' "a 40-column terminal pages the columns"
check 'printf "%s" "$narrow" | grep -q "11 -- 12$"' "the second page holds the rest"
check '! printf "%s" "$wide" | grep -q " -- "' "a 200-column terminal shows one page"
check 'printf "%s" "$edited" | grep -q "^   6$"' "Ctrl-C keeps the session and Tab completes longname"
check '! printf "%s" "$edited" | grep -q "错误"' "Ctrl-C drops the line being typed (no error for abc)"
check 'grep -q "^longname.*1$" "$data/zorvat/history"' "the history file holds the lines"
check 'printf "%s" "$looped" | grep -q "^\.\. if i == 2"' "an open block shows the continuation prompt"
check 'printf "%s" "$looped" | grep -q "^ *20$"' "the block runs at its end"
check '[ $(printf "%s" "$looped" | grep -c "已中断") -eq 2 ]' "Ctrl-C stops the loop and the product"
check 'printf "%s" "$looped" | grep -q "^   8$"' "the workspace is kept after Ctrl-C"
check '[ $took -lt 8 ]' "Ctrl-C stops within a second ($took s in all)"
check 'printf "%s" "$text" | grep -q "^    '"'"'héllo中'"'"'$"' "UTF-8 typed under C.UTF-8 is kept"
check 'printf "%s" "$text" | grep -q "^stdin:2: Error: .*\\\\xE9$"' "bytes that are not UTF-8 are refused and shown"
check 'printf "%s" "$text" | grep -q "^clash: zeros clash::fail$"' "Tab completes plugin load and the plugin name"
[ $fail -eq 0 ] && echo "interactive: prompt, layout, Ctrl-C, completion, history, blocks and UTF-8 as expected"
exit $fail
