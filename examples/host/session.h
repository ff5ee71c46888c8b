// session.h: the state of one zorvat-host session and the evaluation of its
// command language.
//
// A session owns the workspace (named values), the search-path list and the
// set of plugins that it loaded.  run_line() evaluates one line: commands
// (format, plugin, help, who, path, clear, exit) or statements `name = expr`,
// `name(i, j) = expr`, `name{i} = expr` and bare `expr`, separated by ',' or
// ';' (';' suppresses the display).  Errors are reported as one line on
// standard error; a statement that fails leaves the workspace as it was.
//
//   session s(opts);
//   s.run_line("x = int8([1 2; 3 4])", "-e", 1);
#pragma once

#include <csignal>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "values.h"

namespace zorvat_host {

struct options {
  std::string plugin_root;  // --plugin-root, else $ZORVAT_PLUGIN_PATH
  std::string data_dir;     // --data-dir, else <exe dir>/../share/zorvat
  std::string cache_dir;    // --cache-dir, else the XDG cache directory
  bool keep_going = false;  // go on after an error in a script
};

class session {
 public:
  explicit session(options opts);

  // Evaluates one line; false when it failed (the error is already printed).
  // `where` and `line_no` name the line in error messages.
  bool run_line(const std::string& line, const std::string& where, int line_no);
  // Evaluates `code` and appends the values of its statements to `results`
  // (the host's "eval_ptr" service).  Throws host_error.
  void eval_code(const std::string& code, std::vector<value_ptr>& results);
  // Calls a plugin function by name: overloads first, then the plain function.
  void call_function(const std::string& name, const value_list& args, int nargout,
                     std::vector<value_ptr>& results, int col);

  bool exit_requested() const { return exit_; }
  // Whether a name is a variable, a command, a built-in or a loaded plugin's
  // function; and every such name (for completion).
  bool is_known_name(const std::string& name) const;
  std::vector<std::string> known_names() const;
  const options& opts() const { return opts_; }

  // The workspace and the search path, read and written by the host bridge.
  std::map<std::string, value_ptr>& workspace() { return vars_; }
  std::vector<std::string>& search_path() { return path_; }

 private:
  friend class parser;
  bool run_command(const std::vector<std::string>& words);
  void show(const std::string& name, const zo_obj& v) const;

  options opts_;
  std::map<std::string, value_ptr> vars_;
  std::vector<std::string> path_;
  std::set<std::string> plugins_;
  bool exit_ = false;
};

// Set by the interactive host's SIGINT handler (and nothing else there): the
// evaluator stops with an error at the next statement or operator, between
// calls into the library, so no library state is left half-changed.
extern volatile std::sig_atomic_t interrupt_requested;

// The deepest nesting of brackets and unary operators that a line may have;
// deeper lines are refused with an error instead of exhausting the stack.
constexpr int max_nesting = 200;

// The command words, in the order of `help`.
extern const char* const command_words[];
extern const size_t command_count;
// The words of `line` when it is a command ("plugin load x;"), else none.
std::vector<std::string> command_line_words(const std::string& line);

// The one session of the process, for the host's query callbacks.
session*& current_session();

// The folder above the one that holds this executable (<prefix> when
// installed, the build directory in the build tree); empty if unknown.
std::string installation_dir();

// Registers the query callbacks of zorvat-host with the core.
void install_host_bridge();

}  // namespace zorvat_host
