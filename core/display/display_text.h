// display_text.h: the visible and quoted forms of text used by the display.
//
// escape_str shows control characters (code 0 as a blank; 7..13 as \a \b \t
// \n \v \f \r); the rows of char arrays and the elements of string arrays are
// shown through it.  string_quote_truncate gives the one-line form of a
// scalar string ("text") or a char row ('text'), shortened to a maximum
// length with "..." inside the quotes.
//
//   internal::escape_str("a\tb");                        // a\tb (4 characters)
//   internal::string_quote_truncate(zo_obj("abcdef"), 3); // "abc..."
#pragma once

#include <string>

namespace zorvat {

class zo_obj;

namespace internal {

std::string escape_str(const std::string& s);

// Appends the visible form of the n bytes at p to out.
void append_escaped(std::string& out, const char* p, long n);
// Writes that visible form at dst; returns its end.
char* write_escaped(char* dst, const char* p, long n);
// The length of that visible form.
long escaped_length(const char* p, long n);

// The quoted text of a string value (kind 17, first element; '"') or a char
// value (kind 13, its characters in storage order; '\'').  With max_len >= 1
// a longer text is cut to max_len characters followed by "...".  -1 never
// cuts.  Any other kind or a null payload gives a pair of quotes.
std::string string_quote_truncate(const zo_obj& obj, long max_len);
// The same appended to out, reading no more of the text than it keeps.
void append_string_quote_truncate(std::string& out, const zo_obj& obj, long max_len);
// The length of string_quote_truncate(obj, max_len), in constant time.
long string_quote_truncate_length(const zo_obj& obj, long max_len);

}  // namespace internal
}  // namespace zorvat
