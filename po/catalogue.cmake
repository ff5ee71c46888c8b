# Run with cmake -P from po/CMakeLists.txt.
#   MODE=update  extracts the messages into the template POT (in the source
#                tree) and merges it into EN_PO: new messages arrive there
#                with an empty msgstr, to be translated.
#   MODE=check   extracts into WORK_DIR and fails when the result differs from
#                POT, or when a message of POT has no English translation in
#                EN_PO; touches STAMP when all is well.
# The template carries no creation date and no line numbers, so it changes
# only when a message is added, removed or moved to another file.

# Extracts the messages of the files named in FILES_LIST into `out`.
function(extract_messages out)
  execute_process(
    COMMAND ${XGETTEXT} --keyword=dgettext:2 --keyword=tr --from-code=UTF-8 --language=C++
            --sort-output --add-location=file --package-name=zorvat_core
            "--copyright-holder=the libzorvat_core developers" --msgid-bugs-address=
            --files-from=${FILES_LIST} --output=${out}.raw
    WORKING_DIRECTORY ${SOURCE_DIR}
    RESULT_VARIABLE rc ERROR_VARIABLE err)
  # There is no address for reports; pass on every other diagnostic.
  string(REGEX REPLACE "[^\n]*xgettext: warning: The option --msgid-bugs-address[^\n]*\n( [^\n]*\n)*" ""
         err "${err}")
  if(NOT err STREQUAL "")
    message("${err}")
  endif()
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "xgettext failed (${rc})")
  endif()
  file(READ ${out}.raw text)
  file(REMOVE ${out}.raw)
  string(REGEX REPLACE "\"POT-Creation-Date: [^\n]*\n" "" text "${text}")
  string(REPLACE "# SOME DESCRIPTIVE TITLE." "# Messages of libzorvat_core and of its reference host, zorvat-host."
         text "${text}")
  file(WRITE ${out} "${text}")
endfunction()

# The template's text without its creation date (none in ours; one, say, in a
# template written by hand with a stock tool).
function(read_without_date path var)
  file(READ ${path} text)
  string(REGEX REPLACE "\"POT-Creation-Date: [^\n]*\n" "" text "${text}")
  set(${var} "${text}" PARENT_SCOPE)
endfunction()

# Sets `var` to the entries that `msgattrib <option>` selects from EN_PO
# (empty when none).
function(en_po_entries option var)
  execute_process(COMMAND ${MSGATTRIB} ${option} --no-obsolete --no-wrap ${EN_PO}
                  OUTPUT_VARIABLE out ERROR_VARIABLE err RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "msgattrib ${option} ${EN_PO} failed: ${err}")
  endif()
  # Without the header entry, which msgattrib repeats.
  string(REGEX REPLACE "^(#[^\n]*\n)*msgid \"\"\nmsgstr \"\"\n(\"[^\n]*\n)*\n?" "" out "${out}")
  set(${var} "${out}" PARENT_SCOPE)
endfunction()

if(MODE STREQUAL "update")
  extract_messages(${POT}.new)
  # Keep the file (and its time stamp) when nothing changed.
  execute_process(COMMAND ${CMAKE_COMMAND} -E copy_if_different ${POT}.new ${POT})
  file(REMOVE ${POT}.new)
  execute_process(
    COMMAND ${MSGMERGE} --quiet --update --backup=none --no-fuzzy-matching --sort-output
            --add-location=file ${EN_PO} ${POT}
    RESULT_VARIABLE rc)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "msgmerge failed (${rc})")
  endif()
  en_po_entries(--untranslated untranslated)
  string(REGEX MATCHALL "\nmsgid " found "\n${untranslated}")
  list(LENGTH found n)
  if(n GREATER 0)
    message(STATUS "po/en.po: ${n} message(s) to translate (empty msgstr)")
  endif()
  return()
endif()

if(NOT MODE STREQUAL "check")
  message(FATAL_ERROR "catalogue.cmake: MODE must be update or check")
endif()

file(REMOVE ${STAMP})
# Prints `what` and the remedy as they are (message() without a mode does not
# reflow the text), then stops the build.
function(fail what)
  message("\n${what}\nTo fix it, run\n  cmake --build ${BUILD_DIR} --target update-pot\n"
          "then translate every message with an empty msgstr in po/en.po (and remove any\n"
          "'#, fuzzy' mark once the text is right), and commit po/zorvat_core.pot and po/en.po.\n")
  message(FATAL_ERROR "The message catalogue is not up to date; see above.")
endfunction()

set(fresh ${WORK_DIR}/zorvat_core.pot.fresh)
extract_messages(${fresh})
read_without_date(${fresh} fresh_text)
read_without_date(${POT} committed_text)
if(NOT fresh_text STREQUAL committed_text)
  set(details "")
  find_program(DIFF diff)
  if(DIFF)
    execute_process(COMMAND ${DIFF} -u ${POT} ${fresh} OUTPUT_VARIABLE details)
    string(LENGTH "${details}" len)
    if(len GREATER 4000)
      string(SUBSTRING "${details}" 0 4000 details)
      set(details "${details}\n...")
    endif()
  endif()
  fail("The message template po/zorvat_core.pot is out of date with the sources \
(a message was added, changed or removed):\n${details}")
endif()
file(REMOVE ${fresh})

# msgcmp finds the messages that en.po lacks altogether; msgattrib those
# that it holds without a usable translation.
execute_process(COMMAND ${MSGCMP} --use-untranslated --use-fuzzy ${EN_PO} ${POT}
                OUTPUT_VARIABLE out ERROR_VARIABLE missing RESULT_VARIABLE rc)
en_po_entries(--untranslated untranslated)
en_po_entries(--only-fuzzy fuzzy)
if(NOT rc EQUAL 0 OR NOT untranslated STREQUAL "" OR NOT fuzzy STREQUAL "")
  fail("po/en.po lacks the English translation of some messages of po/zorvat_core.pot:\n\
${missing}${untranslated}${fuzzy}")
endif()

file(WRITE ${STAMP} "")
