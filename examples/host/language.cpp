// language.cpp: English as the fallback language of the messages.
//
// gettext looks through the LANGUAGE list for a catalogue and shows the
// original text when none is found; under the C locale it ignores LANGUAGE
// altogether.  So the host appends "en" to the list that the user gave (or
// that their locale implies) and, under C or POSIX, switches only the
// messages category to C.UTF-8 (or en_US.UTF-8), which keeps LANGUAGE in
// force.  Catalogue texts are delivered in UTF-8 whatever the locale.
#include "language.h"

#include <libintl.h>
#include <locale.h>

#include <cstdlib>
#include <string>

#include "memory/messages.h"

namespace zorvat_host {

namespace {

// The first of LC_ALL, LC_MESSAGES and LANG that is set: the messages locale
// that the user asked for.
std::string requested_locale() {
  for (const char* var : {"LC_ALL", "LC_MESSAGES", "LANG"})
    if (const char* v = std::getenv(var); v && *v) return v;
  return {};
}

bool is_chinese(const std::string& lang) { return lang.compare(0, 2, "zh") == 0; }

}  // namespace

void choose_message_language() {
  bind_textdomain_codeset(zorvat::message_domain, "UTF-8");
  const std::string locale = requested_locale();
  const char* given = std::getenv("LANGUAGE");
  std::string list = given && *given ? given : "";
  if (list.empty() && locale != "C" && locale != "POSIX")
    list = locale.substr(0, locale.find_first_of(".@"));
  if (list == "C" || list == "POSIX") list.clear();  // "C" in the list would stop the search
  if (is_chinese(list) || (list.empty() && is_chinese(locale))) return;  // the originals
  list = list.empty() ? "en" : list + ":en";
  setenv("LANGUAGE", list.c_str(), 1);
  const std::string current = setlocale(LC_MESSAGES, nullptr);
  if (current == "C" || current == "POSIX")
    if (!setlocale(LC_MESSAGES, "C.UTF-8")) setlocale(LC_MESSAGES, "en_US.UTF-8");
}

}  // namespace zorvat_host
