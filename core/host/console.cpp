// console.cpp: console output, width and directories, each a host query.
#include "host/console.h"

#include "host/host_query.h"

namespace zorvat {
namespace {

// The host reads the std::string itself, never writes it.
void* text_arg(std::string const& text) { return const_cast<std::string*>(&text); }

std::string directory_answer(const char* query) {
  const auto* dir = static_cast<const std::string*>(global::F2KQuery_fwd(query, nullptr));
  return dir ? *dir : std::string();
}

}  // namespace

void write_to_cout(std::string const& text) { global::F2KQuery_fwd("write_to_cout", text_arg(text)); }
void write_to_cerr(std::string const& text) { global::F2KQuery_fwd("write_to_cerr", text_arg(text)); }
void flush_cout() { global::F2KQuery_fwd("flush_cout", nullptr); }
void flush_cerr() { global::F2KQuery_fwd("flush_cerr", nullptr); }

void write_to_cout_flush(std::string const& text) {
  write_to_cout(text);
  flush_cout();
}

void write_to_cerr_flush(std::string const& text) {
  write_to_cerr(text);
  flush_cerr();
}

int window_width() {
  const auto* width = static_cast<const int*>(global::K2FQuery_fwd("window_width", nullptr));
  return width ? *width : -1;
}

std::string get_user_config_dir() { return directory_answer("local_data_dir"); }
std::string get_user_config_dir_u() { return directory_answer("local_data_dir_u"); }
std::string get_user_cache_dir() { return directory_answer("local_cache_dir"); }
std::string get_user_cache_dir_u() { return directory_answer("local_cache_dir_u"); }

}  // namespace zorvat
