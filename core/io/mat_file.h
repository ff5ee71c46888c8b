// mat_file.h: saving values to MAT-files and loading them back.
//
// A MAT-file holds named variables.  Three versions are written:
//   - version 6: the "level 5" layout, uncompressed;
//   - version 7 (the default): the same, each variable compressed;
//   - version 7.3: an HDF5 file with a 512-byte header block.
// Loading finds the version, and the byte order of a level 5 file, by itself.
//
//   std::vector<zorvat::named_value> vars{{"x", std::make_shared<zorvat::zo_obj>(2.0)}};
//   zorvat::mat_save("run.mat", vars);                       // version 7
//   auto back = zorvat::mat_load("run.mat");                 // back[0].first == "x"
//   for (const auto& v : zorvat::mat_list("run.mat")) { ... v.name, v.dims ... }
//   zorvat::save_ws("ws.mat", {}, {});                       // the whole workspace
//   zorvat::load_ws("ws.mat", {"x"});                        // just x
//
// Guarantees:
//   - A save writes a temporary file beside the target and renames it over the
//     target only once it is complete: a failed save leaves an existing file
//     as it was and leaves no temporary file behind.  Every value is checked
//     before the first byte is written; an unsaveable value or a variable too
//     large for the version is refused with a message naming the variable.
//   - A load is all or nothing: either every requested variable is read, or
//     the call throws and nothing is returned (the workspace forms change no
//     variable).  Sizes a file declares are checked against the file before
//     anything is allocated for them.
//   - What is saved, and how it loads back: numeric, char and logical arrays
//     (N-d, empty, complex; every bit of every element), sparse double,
//     complex double and logical matrices, cells and structures (nested,
//     field order kept) load back as they were.  Chosen conversions:
//     sparse single saves as sparse double (complex single as complex
//     double); a string array saves as a cell of char rows and loads as that
//     cell; an empty slot of a cell or structure (a null element) saves as a
//     0x0 double.  Char arrays hold UTF-8 and are written as UTF-16: rows
//     whose texts differ in length once converted are padded with blanks at
//     their end (both ways), and a byte that starts no valid UTF-8 sequence
//     is saved as the character of the same number (U+0080..U+00FF), so it
//     loads back as that character's UTF-8 form.  Function handles, external
//     and plugin objects, variable lists, handles, control values and void
//     cannot be saved: the save is refused before anything is written, with
//     a message naming the variable.  Variable names must be non-empty and
//     distinct; cells and structures nest at most 200 deep.
//   - Loading files from elsewhere: data stored in a narrower type than its
//     class is converted; complex integers load as complex double; objects
//     load as structures (the class name is dropped); repeated field names
//     become _1_name, _2_name, ...; function handles and other classes that
//     have no kind here are refused; the nameless subsystem variable is
//     skipped; variable names must be ASCII.  Version 4 files load too
//     (numbers as double or complex double, text, sparse; never written).
//   - Versions 6 and 7 hold variables below 2^31 bytes each (a larger one is
//     refused, naming it and pointing at version 7.3).
//   - Errors: a file that cannot be opened, written, renamed or parsed, and a
//     value that cannot be saved, throw std::runtime_error with a translated
//     message naming the file or the variable; failed allocations throw
//     std::bad_alloc (internal::insufficient_memory).
#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "value/zo_obj.h"

namespace zorvat {

// The file versions that mat_save writes.
enum class mat_version { v6, v7, v7_3 };

struct mat_save_options {
  mat_version version = mat_version::v7;
};

// One variable as the file declares it, read without its data.
struct mat_variable_info {
  std::string name;
  zo_type kind = type_double;  // the kind it loads as
  std::vector<long> dims;      // at least two
  bool is_complex = false;
  bool is_sparse = false;
};

// A variable: its name and its value.
using named_value = std::pair<std::string, std::shared_ptr<zo_obj const>>;
using loaded_value = std::pair<std::string, std::shared_ptr<zo_obj>>;

// Writes `vars`, in their order, to the file `path` (replaced when it exists).
void mat_save(std::string const& path, std::vector<named_value> const& vars,
              mat_save_options const& options = {});

// The variables of the file `path` in file order: all of them when `names`
// is empty, else those named (a name the file lacks is an error).
std::vector<loaded_value> mat_load(std::string const& path, std::vector<std::string> const& names = {});

// The variables of the file `path` without their data, in file order.
std::vector<mat_variable_info> mat_list(std::string const& path);

// The workspace forms: the host's variables through the host bridge
// (get_all_variable_names_ws, get_variable_ws, set_variable_ws).  save_ws
// saves the named variables (all when `names` is empty) and returns the names
// saved; load_ws loads the named ones (all when empty), replaces variables of
// the same name, and returns the names loaded.
std::vector<std::string> save_ws(std::string const& path, std::vector<std::string> const& names,
                                 mat_save_options const& options = {});
std::vector<std::string> load_ws(std::string const& path, std::vector<std::string> const& names = {});

}  // namespace zorvat
