// language.h: the language of zorvat-host's messages.
//
// Messages are the library's Chinese originals, translated through the
// message catalogues.  A user whose language has no catalogue (French,
// German, the C locale, ...) gets the shipped English one rather than the
// originals; a Chinese locale (zh_*) keeps the originals.
#pragma once

namespace zorvat_host {

// Sets LANGUAGE (and, under the C locale, a messages locale that honours
// it) from the environment.  Call after setlocale(LC_MESSAGES, "").
void choose_message_language();

}  // namespace zorvat_host
