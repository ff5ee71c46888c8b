// console.h: console output, console width and the user's directories.
//
// Console text and directories come from the host, through its query
// callbacks (host_query.h); the core computes no directories.  The one text
// that the core writes to the process's standard error itself is the
// plugin manager's warning that the extension library is missing (there may
// be no host to ask yet).  Without a host, text is dropped, the width is -1 and the
// directories are empty.  The writers neither add line feeds nor buffer;
// buffering is the caller's (the display's output sinks).
//
//   zorvat::write_to_cout_flush("ans = 3\n");     // "write_to_cout", "flush_cout"
//   int w = zorvat::window_width();               // -1: use your own default
//   std::string d = zorvat::get_user_config_dir(); // query "local_data_dir"
#pragma once

#include <string>

namespace zorvat {

// Query "write_to_cout" with a pointer to `text` itself (the std::string).
void write_to_cout(std::string const& text);
// Query "write_to_cerr" with a pointer to `text`.
void write_to_cerr(std::string const& text);
// Query "flush_cout" with null.
void flush_cout();
// Query "flush_cerr" with null.
void flush_cerr();
// write_to_cout then flush_cout: always both queries, in that order.
void write_to_cout_flush(std::string const& text);
// write_to_cerr then flush_cerr: always both queries, in that order.
void write_to_cerr_flush(std::string const& text);

// The console's width in characters, read afresh on every call (query
// "window_width" through the second callback); -1 when unknown.
int window_width();

// Copies of the host's directories; the empty text when unknown.
// get_user_config_dir deliberately asks for "local_data_dir".
std::string get_user_config_dir();    // "local_data_dir"
std::string get_user_config_dir_u();  // "local_data_dir_u"
std::string get_user_cache_dir();     // "local_cache_dir"
std::string get_user_cache_dir_u();   // "local_cache_dir_u"

}  // namespace zorvat
