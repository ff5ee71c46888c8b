# Doxygen input filter for the public headers: the comment block at the top
# of a header (its manual) becomes the documentation of the file, shown as
# written (a preformatted block).  Only comment lines change, and the number
# of lines stays the same, so Doxygen's line numbers are the header's.
#   // name.h: title.          ->  /** \brief name.h: title. \file
#   //                         ->  \verbatim
#   // text                    ->  text
#   // last line               ->  last line \endverbatim */
# A header opened by a C comment (/* ... */) is handled the same way.
function flush_last(    t) {
  if (!has_last) return
  t = last
  if (opened_verbatim) t = t " \\endverbatim"
  print t " */"
  has_last = 0
}
BEGIN { state = 0 }  # 0 before the block, 1 in a // block, 2 in a /* block, 3 after
state == 0 && /^\/\/ / {
  state = 1; opened_verbatim = 0
  last = "/** \\brief " substr($0, 4) " \\file"; has_last = 1
  next
}
state == 0 && /^\/\* / {
  state = 2; opened_verbatim = 0
  line = substr($0, 4)
  if (line ~ /\*\/ *$/) { sub(/ *\*\/ *$/, "", line); print "/** \\brief " line " \\file */"; state = 3; next }
  print "/** \\brief " line " \\file"
  next
}
state == 1 && /^\/\/( |$)/ {
  text = substr($0, 4)
  if (!opened_verbatim && text == "") { text = "\\verbatim"; opened_verbatim = 1 }
  if (has_last) print last
  last = text; has_last = 1
  next
}
state == 1 { flush_last(); state = 3; print; next }
state == 2 {
  line = $0
  closing = (line ~ /\*\//)
  sub(/^ \* ?/, "", line); sub(/^ \*\/.*$/, "", line)
  if (!opened_verbatim && line == "" && !closing) { line = "\\verbatim"; opened_verbatim = 1 }
  if (closing) { print line (opened_verbatim ? " \\endverbatim" : "") " */"; state = 3; next }
  print line
  next
}
{ print }
