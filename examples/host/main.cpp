// main.cpp: zorvat-host, the reference host of libzorvat_core.
//
//   zorvat-host [options] [FILE]        run FILE, or standard input
//   zorvat-host -e 'x = int8([1 2])'    run the text
//   zorvat-host --help | --version
// Options: --plugin-root DIR, --data-dir DIR, --cache-dir DIR, --keep-going.
// The plugin root is --plugin-root, else ZORVAT_PLUGIN_PATH, else the
// installation's <prefix>/lib/zorvat (the build tree's <build>/plugin_root).
// On a terminal the session is interactive (line editing, history and
// completion; errors and Ctrl-C never end it); a script stops at its first
// error with status 1; with --keep-going it reports every error, goes on, and
// ends with status 1 if there was any.
//
// --data-dir DIR is the data directory that the core is told of; its
// locale/<lang>/LC_MESSAGES/zorvat_core.mo are the message catalogues.  By
// default it is <exe dir>/../share/zorvat, which is both the installed data
// directory (<prefix>/bin -> <prefix>/share/zorvat) and the build tree's
// (<build>/examples -> <build>/share/zorvat).  Messages follow the user's
// language, falling back to English (language.h).  Numbers are always
// formatted as in the C locale.
#include <langinfo.h>
#include <locale.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>
#include <string>

#include "host/console.h"
#include "memory/messages.h"
#include "memory/str_util.h"
#include "language.h"
#include "session.h"
#include "terminal.h"
#include "zorvat_version.h"

using zorvat::str_format;
using zorvat::tr;

namespace {

// Runs the lines of `in`; returns the exit status: 1 after an error (with
// --keep-going, after the last line).
int run_stream(zorvat_host::session& s, std::istream& in, const std::string& where) {
  int status = 0, line_no = 0;
  std::string line;
  while (!s.exit_requested() && std::getline(in, line)) {
    if (!s.run_line(line, where, ++line_no)) {
      status = 1;
      if (!s.opts().keep_going) break;
    }
  }
  if (!s.end_input()) status = 1;  // a block without its end
  return status;
}

const char* usage_text() {
  return tr("用法：zorvat-host [--plugin-root DIR] [--data-dir DIR] [--cache-dir DIR] [--keep-going] "
            "[-e TEXT]... [FILE]");
}

int usage(const std::string& msg) {
  std::cerr << "zorvat-host: " << msg << "\n" << usage_text() << "\n";
  return 2;
}

int help() {
  std::cout << usage_text() << "\n\n"
            << tr("libzorvat_core 的参考宿主程序：运行 FILE、-e 给出的文本或标准输入中的命令。\n"
                  "  -e TEXT             运行 TEXT（可以多次给出）\n"
                  "  --plugin-root DIR   插件根目录（默认：环境变量 ZORVAT_PLUGIN_PATH，或安装目录中的插件）\n"
                  "  --data-dir DIR      数据目录，其中的 locale/ 存放消息目录\n"
                  "  --cache-dir DIR     缓存目录\n"
                  "  --keep-going        出错后继续运行；有错误时退出状态为 1\n"
                  "  --help, --version   显示本帮助或版本后退出\n"
                  "在终端上交互运行时可以编辑命令行、翻阅历史、用 Tab 补全名称；输入 help 查看命令语言。")
            << "\n";
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  // Only messages and the character set follow the environment: LC_NUMERIC
  // stays "C", so numbers keep their '.' whatever the user's locale.
  setlocale(LC_MESSAGES, "");
  // The host reads and writes UTF-8: when the user's locale is missing or
  // has another character set, the line editor still decodes UTF-8.
  if (!setlocale(LC_CTYPE, "") || std::strcmp(nl_langinfo(CODESET), "UTF-8") != 0)
    if (!setlocale(LC_CTYPE, "C.UTF-8")) setlocale(LC_CTYPE, "en_US.UTF-8");
  zorvat_host::choose_message_language();
  zorvat_host::options opts;
  std::string file, texts, bad_option;
  bool have_text = false, two_files = false, want_help = false, want_version = false;
  for (int k = 1; k < argc; ++k) {
    const std::string a = argv[k];
    const bool has_value = k + 1 < argc;
    if (a == "--help") want_help = true;
    else if (a == "--version") want_version = true;
    else if (a == "--keep-going") opts.keep_going = true;
    else if (a == "-e" && has_value) texts += std::string(argv[++k]) + "\n", have_text = true;
    else if (a == "--plugin-root" && has_value) opts.plugin_root = argv[++k];
    else if (a == "--data-dir" && has_value) opts.data_dir = argv[++k];
    else if (a == "--cache-dir" && has_value) opts.cache_dir = argv[++k];
    else if (a.size() > 1 && a[0] == '-') bad_option = bad_option.empty() ? a : bad_option;
    else if (file.empty()) file = a;
    else two_files = true;
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

  // The bridge tells the core where the catalogues are: from here on every
  // message, the usage and --help included, is in the user's language.
  zorvat_host::session s(opts);
  zorvat_host::current_session() = &s;
  zorvat_host::install_host_bridge();

  if (want_help) return help();
  if (want_version) {
    std::cout << "zorvat-host " << ZORVAT_VERSION_STRING << " (libzorvat_core " << zorvat::version() << ")\n";
    return 0;
  }
  if (!bad_option.empty()) return usage(str_format(tr("无效的选项 %s"), bad_option.c_str()));
  if (two_files) return usage(tr("只能给出一个脚本文件"));

  int status = 0;
  if (have_text) {
    std::istringstream in(texts);
    status = run_stream(s, in, "-e");
  }
  if (!file.empty() && !s.exit_requested() && (status == 0 || opts.keep_going)) {
    struct stat st {};
    std::ifstream in;
    if (stat(file.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
      std::cerr << "zorvat-host: " << str_format(tr("%s 是目录，不是脚本文件"), file.c_str()) << "\n";
      return 2;
    }
    in.open(file, std::ios::binary);
    if (!in) {
      std::cerr << "zorvat-host: " << str_format(tr("无法打开文件 %s"), file.c_str()) << "\n";
      return 2;
    }
    status = std::max(status, run_stream(s, in, file));
    if (in.bad()) {
      std::cerr << "zorvat-host: " << str_format(tr("读取文件 %s 时出错"), file.c_str()) << "\n";
      return 2;
    }
  } else if (!have_text && file.empty()) {
    status = isatty(STDIN_FILENO) ? zorvat_host::run_terminal(s) : run_stream(s, std::cin, "stdin");
  }
  return s.exit_status() >= 0 ? s.exit_status() : status;
}
