// messages.h: the one way a user-visible text is looked up.
//
// Every message of the library is a Chinese UTF-8 literal that doubles as the
// key in the message catalogue of the domain "zorvat_core".  Look it up at
// the point of use, and insert values with str_format into the translated
// text, so translators see and keep the conversion specifiers:
//
//   throw std::runtime_error(str_format(tr("无法分配 %.1f %ciB 大小的内存"), v, u));
//
// Without a bound catalogue the literal itself is returned.
#pragma once

#include <libintl.h>

namespace zorvat {

// The catalogue domain of every message of this library.
inline constexpr const char* message_domain = "zorvat_core";

inline const char* tr(const char* msgid) { return dgettext(message_domain, msgid); }

}  // namespace zorvat
