// main.cpp: zorvat-host, the reference host of libzorvat_core.
//
//   zorvat-host [options] [FILE]        run FILE, or standard input
//   zorvat-host -e 'x = int8([1 2])'    run the text
// Options: --plugin-root DIR, --data-dir DIR, --cache-dir DIR, --keep-going.
// The plugin root is --plugin-root, else ZORVAT_PLUGIN_PATH, else the
// installation's <prefix>/lib/zorvat (the build tree's <build>/plugin_root).
// On a terminal the session is interactive (prompt ">> ", errors never end
// it); a script stops at its first error with status 1; with --keep-going it
// reports every error and goes on, ending with status 0.
//
// --data-dir DIR is the data directory that the core is told of; its
// locale/<lang>/LC_MESSAGES/zorvat_core.mo are the message catalogues.  By
// default it is <exe dir>/../share/zorvat, which is both the installed data
// directory (<prefix>/bin -> <prefix>/share/zorvat) and the build tree's
// (<build>/examples -> <build>/share/zorvat).
//
// Messages follow the user's language: they are the Chinese originals unless
// a catalogue of that language is found.  English is shown with an English
// messages locale, which must be installed (tools/setup.sh makes en_US.UTF-8),
// or with LANGUAGE=en under any messages locale except C/POSIX:
//   LANGUAGE=en LC_ALL=en_US.UTF-8 zorvat-host ...   (LC_ALL, LC_MESSAGES or
//   LANG=en_US.UTF-8 alone do as well)
//   LANGUAGE=en LANG=C.UTF-8 zorvat-host ...         (no English locale needed)
// With LC_ALL=C (or LC_MESSAGES=C, or nothing set) every message is the
// Chinese original, whatever LANGUAGE says.  Numbers are always formatted as
// in the C locale.
#include <locale.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "host/console.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "session.h"

using zorvat::str_format;
using zorvat::tr;

namespace {

// Runs the lines of `in`; returns the exit status.
int run_stream(zorvat_host::session& s, std::istream& in, const std::string& where, bool interactive) {
  int status = 0, line_no = 0;
  std::string line;
  while (!s.exit_requested()) {
    if (interactive) zorvat::write_to_cout_flush(">> ");
    if (!std::getline(in, line)) {
      if (interactive) zorvat::write_to_cout_flush("\n");
      break;
    }
    ++line_no;
    // With --keep-going (and interactively) errors are reported and passed.
    if (!s.run_line(line, where, line_no) && !interactive && !s.opts().keep_going) {
      status = 1;
      break;
    }
  }
  return status;
}

int usage(const std::string& msg) {
  std::cerr << "zorvat-host: " << msg << "\n"
            << tr("用法：zorvat-host [--plugin-root DIR] [--data-dir DIR] [--cache-dir DIR] [--keep-going] "
                  "[-e TEXT]... [FILE]")
            << "\n";
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  // Only messages and the character set follow the environment: LC_NUMERIC
  // stays "C", so numbers keep their '.' whatever the user's locale.
  setlocale(LC_MESSAGES, "");
  setlocale(LC_CTYPE, "");
  zorvat_host::options opts;
  std::string file, texts;
  bool have_text = false;
  for (int k = 1; k < argc; ++k) {
    const std::string a = argv[k];
    const bool has_value = k + 1 < argc;
    if (a == "--keep-going") opts.keep_going = true;
    else if (a == "-e" && has_value) texts += std::string(argv[++k]) + "\n", have_text = true;
    else if (a == "--plugin-root" && has_value) opts.plugin_root = argv[++k];
    else if (a == "--data-dir" && has_value) opts.data_dir = argv[++k];
    else if (a == "--cache-dir" && has_value) opts.cache_dir = argv[++k];
    else if (a.size() > 1 && a[0] == '-') return usage(str_format(tr("无效的选项 %s"), a.c_str()));
    else if (file.empty()) file = a;
    else return usage(tr("只能给出一个脚本文件"));
  }
  // Without --plugin-root or ZORVAT_PLUGIN_PATH, the plugins of this
  // installation (<prefix>/lib/zorvat) or of the build tree (<build>/plugin_root).
  const char* env_root = std::getenv("ZORVAT_PLUGIN_PATH");
  if (opts.plugin_root.empty() && (!env_root || !*env_root)) {
    const std::string base = zorvat_host::installation_dir();
    for (const char* sub : {"/lib/zorvat", "/plugin_root"})
      if (!base.empty() && access((base + sub + "/plugins").c_str(), F_OK) == 0) {
        opts.plugin_root = base + sub;
        break;
      }
  }
  // Unloading takes the plugin root from the environment: keep both in step.
  if (!opts.plugin_root.empty() && (!env_root || !*env_root))
    setenv("ZORVAT_PLUGIN_PATH", opts.plugin_root.c_str(), 1);

  zorvat_host::session s(opts);
  zorvat_host::current_session() = &s;
  zorvat_host::install_host_bridge();

  int status = 0;
  if (have_text) {
    std::istringstream in(texts);
    status = run_stream(s, in, "-e", false);
  }
  if (!file.empty() && !s.exit_requested() && (status == 0 || opts.keep_going)) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
      std::cerr << "zorvat-host: " << str_format(tr("无法打开文件 %s"), file.c_str()) << "\n";
      return 2;
    }
    status = std::max(status, run_stream(s, in, file, false));
  } else if (!have_text && file.empty()) {
    status = run_stream(s, std::cin, "stdin", isatty(STDIN_FILENO));
  }
  return status;
}
