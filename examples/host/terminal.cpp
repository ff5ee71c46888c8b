// terminal.cpp: libedit's readline interface for zorvat-host.
//
// The SIGINT handler only sets interrupt_requested.  The key reader below
// gives libedit an end of input when a read is interrupted by it, so
// readline() returns at once with the line abandoned; evaluation looks at
// the flag between statements and operators.  No jump ever leaves library
// code half done.
#include "terminal.h"

#include <editline/readline.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "host/console.h"

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

// libedit's key reader: one character, decoded from UTF-8.
int read_key(FILE* in) {
  const int fd = fileno(in);
  const int b = read_byte(fd);
  if (b < 0xC0) return b;  // ASCII, end, or a stray continuation byte
  const int extra = b >= 0xF0 ? 3 : b >= 0xE0 ? 2 : 1;
  int c = b & (0x3F >> extra);
  for (int k = 0; k < extra; ++k) {
    const int next = read_byte(fd);
    if (next < 0) return -1;
    c = (c << 6) | (next & 0x3F);
  }
  return c;
}

char* next_name(const char* text, int state) {
  if (state == 0) {
    candidates.clear();
    next_candidate = 0;
    const size_t n = std::strlen(text);
    for (auto& name : active->known_names())
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
    char* text = readline(s.block_open() ? ".. " : ">> ");  // ".." while a block is open
    if (!text) {
      zorvat::write_to_cout_flush("\n");
      s.cancel_block();
      if (interrupt_requested) continue;  // Ctrl-C: a fresh prompt
      break;
    }
    const std::string line(text);
    std::free(text);
    if (line.find_first_not_of(" \t") != std::string::npos) add_history(line.c_str());
    s.run_line(line, "stdin", ++line_no);
  }
  if (!history.empty()) write_history(history.c_str());
  return 0;
}

}  // namespace zorvat_host
