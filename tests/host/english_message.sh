#!/bin/sh
# english_message.sh HOST EN_PO
# One library error shown by zorvat-host under several locales: English (the
# text of po/en.po) for English, for languages without a catalogue of their
# own (French, German) and for the C locale; the Chinese original under a
# Chinese locale or LANGUAGE.  Both are built from the same msgid/msgstr pair
# of EN_PO, so the test follows any rewording of the translation.
host=$1 po=$2

if ! locale -a 2>/dev/null | grep -Eqx 'en_US\.(utf8|UTF-8)'; then
  echo "FAIL: the locale en_US.UTF-8 is not installed; run tools/setup.sh" >&2
  exit 1
fi

# Prints the msgstr of the msgid $1 from $po (continuation lines joined;
# the texts used here hold no escapes).
translation() {
  awk -v want="$1" '
    function text(line) { sub(/^[a-z]* *"/, "", line); sub(/"$/, "", line); return line }
    /^msgid /  { if (cur == "str" && id == want) { print str; found = 1; exit }
                 id = text($0); str = ""; cur = "id"; next }
    /^msgstr / { str = text($0); cur = "str"; next }
    /^"/       { if (cur == "id") id = id text($0); else if (cur == "str") str = str text($0); next }
               { if (cur == "str" && id == want) { print str; found = 1; exit } cur = "" }
    END        { if (!found && cur == "str" && id == want) print str }' "$po"
}

# The dispatcher's error for the operator '+' at column 5 (the plugin
# manager opens libzex.so without a warning).
operator_id='错误 - 运算符 %s 不支持该类型的输入参数组合'
operator_en=$(translation "$operator_id")
for t in "$operator_en"; do
  if [ -z "$t" ]; then
    echo "FAIL: $po has no translation of a message used here" >&2
    exit 1
  fi
done
if [ "$operator_en" = "$operator_id" ]; then
  echo "FAIL: the English text equals the original; the test could not tell them apart" >&2
  exit 1
fi

status=0
# check NAME EXPECTED_OPERATOR_FORMAT ENV...
check() {
  name=$1 operator=$2
  shift 2
  expected=$(printf -- '-e:1:5: '; printf "$operator" '+')
  actual=$(env -u LANGUAGE -u LANG -u LC_ALL -u LC_MESSAGES "$@" "$host" -e '{1} + 2' 2>&1 >/dev/null)
  if [ "$actual" != "$expected" ]; then
    printf 'FAIL (%s):\n  expected: %s\n  actual:   %s\n' "$name" "$expected" "$actual" >&2
    status=1
  fi
}
check english "$operator_en" LANGUAGE=en LC_ALL=en_US.UTF-8
check english-locale "$operator_en" LC_ALL=en_US.UTF-8
check c "$operator_en" LC_ALL=C
check nothing-set "$operator_en"
check c-utf8 "$operator_en" LANG=C.UTF-8
check language-under-c "$operator_en" LANGUAGE=en LC_ALL=C
check french "$operator_en" LC_ALL=fr_FR.UTF-8
check german-language "$operator_en" LANGUAGE=de:fr LC_ALL=en_US.UTF-8
check chinese "$operator_id" LC_ALL=zh_CN.UTF-8
check chinese-language "$operator_id" LANGUAGE=zh_CN LC_ALL=C
exit $status
