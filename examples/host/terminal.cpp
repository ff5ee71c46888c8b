// terminal.cpp: libedit's readline interface for zorvat-host.
//
// The SIGINT handler only sets interrupt_requested.  The key reader below
// gives libedit an end of input when a read is interrupted by it, so
// readline() returns at once with the line abandoned; evaluation looks at
// the flag between statements and operators.  No jump ever leaves library
// code half done.
#include "terminal.h"

#include <dirent.h>
#include <editline/readline.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

#include "host/console.h"
#include "lexer.h"
#include "memory/messages.h"
#include "memory/str_util.h"

namespace zorvat_host {

namespace {

session* active = nullptr;
std::vector<std::string> candidates;
size_t next_candidate = 0;

extern "C" void on_sigint(int) { interrupt_requested = 1; }

// One byte of the terminal, or -1 at its end or on Ctrl-C.
int read_byte(int fd) {
  unsigned char b;
  while (true) {
    const ssize_t n = read(fd, &b, 1);
    if (n == 1) return b;
    if (n == 0 || errno != EINTR || interrupt_requested) return -1;
  }
}

// The bytes of the line being typed that are not UTF-8; the line is refused.
std::string invalid_bytes;

// libedit's key reader: one character, decoded from UTF-8.  A byte that
// does not belong to a character is kept in invalid_bytes and shows as
// U+FFFD.
int read_key(FILE* in) {
  const int fd = fileno(in);
  const int b = read_byte(fd);
  if (b < 0x80) return b;  // ASCII or the end
  const int extra = b >= 0xC2 && b <= 0xDF ? 1 : b >= 0xE0 && b <= 0xEF ? 2 : b >= 0xF0 && b <= 0xF4 ? 3 : 0;
  std::string bytes(1, static_cast<char>(b));
  int c = b & (0x3F >> extra);
  for (int k = 0; k < extra; ++k) {
    const int next = read_byte(fd);
    if (next < 0) return -1;
    bytes += static_cast<char>(next);
    if ((next & 0xC0) != 0x80) break;
    c = (c << 6) | (next & 0x3F);
  }
  if (extra == 0 || static_cast<int>(bytes.size()) != extra + 1 || (bytes.back() & 0xC0) != 0x80) {
    invalid_bytes += bytes;
    return 0xFFFD;
  }
  return c;
}

// The plugins that `plugin load` can find: the folders of <root>/plugins
// that hold a main.so.
std::vector<std::string> plugin_names() {
  std::vector<std::string> names;
  std::string root = active->opts().plugin_root;
  if (root.empty() && std::getenv("ZORVAT_PLUGIN_PATH")) root = std::getenv("ZORVAT_PLUGIN_PATH");
  if (root.empty()) return names;
  if (DIR* d = opendir((root + "/plugins").c_str())) {
    while (const dirent* e = readdir(d)) {
      const std::string name = e->d_name;
      if (name[0] != '.' && access((root + "/plugins/" + name + "/main.so").c_str(), R_OK) == 0)
        names.push_back(name);
    }
    closedir(d);
  }
  return names;
}

// What may stand at the word being completed, from the words before it:
// after "plugin" its subcommands, after "plugin load" the plugins found,
// elsewhere the names of the session.
std::vector<std::string> names_for(const std::string& before) {
  std::istringstream in(before);
  std::vector<std::string> w;
  for (std::string word; in >> word;) w.push_back(word);
  if (w.size() == 1 && w[0] == "plugin") return {"list", "load", "unload"};
  if (w.size() == 2 && w[0] == "plugin" && w[1] == "load") return plugin_names();
  return active->known_names();
}

char* next_name(const char* text, int state) {
  if (state == 0) {
    next_candidate = 0;
    const size_t n = std::strlen(text);
    candidates.clear();
    for (auto& name : names_for(std::string(rl_line_buffer, std::min<size_t>(rl_point, std::strlen(rl_line_buffer)) - n)))
      if (name.compare(0, n, text) == 0) candidates.push_back(name);
    std::sort(candidates.begin(), candidates.end());
    candidates.erase(std::unique(candidates.begin(), candidates.end()), candidates.end());
  }
  return next_candidate < candidates.size() ? strdup(candidates[next_candidate++].c_str()) : nullptr;
}

char** complete(const char* text, int, int) { return rl_completion_matches(text, next_name); }

// <data>/zorvat/history, creating the folders.
std::string history_file() {
  std::string dir;
  if (const char* x = std::getenv("XDG_DATA_HOME"); x && *x) dir = x;
  else if (const char* h = std::getenv("HOME"); h && *h) dir = std::string(h) + "/.local/share";
  else return {};
  dir += "/zorvat";
  for (size_t p = 1; p != std::string::npos; p = dir.find('/', p + 1)) mkdir(dir.substr(0, p).c_str(), 0700);
  mkdir(dir.c_str(), 0700);
  return dir + "/history";
}

}  // namespace

int run_terminal(session& s) {
  active = &s;
  struct sigaction sa {};
  sa.sa_handler = on_sigint;
  sigemptyset(&sa.sa_mask);
  sa.sa_flags = 0;  // no SA_RESTART: a pending read returns with EINTR
  sigaction(SIGINT, &sa, nullptr);

  rl_readline_name = const_cast<char*>("zorvat");
  rl_catch_signals = 0;
  rl_getc_function = read_key;
  rl_attempted_completion_function = complete;
  using_history();
  stifle_history(1000);
  const std::string history = history_file();
  if (!history.empty()) read_history(history.c_str());

  int line_no = 0;
  while (!s.exit_requested()) {
    interrupt_requested = 0;
    invalid_bytes.clear();
    char* text = readline(s.block_open() ? ".. " : ">> ");  // ".." while a block is open
    if (!text) {
      zorvat::write_to_cout_flush("\n");
      s.cancel_block();
      if (interrupt_requested) continue;  // Ctrl-C: a fresh prompt
      break;
    }
    const std::string line(text);
    std::free(text);
    ++line_no;
    if (!invalid_bytes.empty()) {
      try {
        check_utf8(invalid_bytes);
      } catch (const host_error& e) {
        zorvat::write_to_cerr_flush(zorvat::str_format("stdin:%d: ", line_no) + zorvat::tr("错误：") + e.what() + "\n");
      }
      invalid_bytes.clear();
      continue;
    }
    if (line.find_first_not_of(" \t") != std::string::npos) add_history(line.c_str());
    s.run_line(line, "stdin", line_no);
  }
  if (!history.empty()) write_history(history.c_str());
  return 0;
}

}  // namespace zorvat_host
