// The host of the host writers' tutorial: registers the callbacks, makes and
// shows values, switches display formats, saves the values to a MAT-file and
// loads some back, loads the tutorial's plugin, uses it and unloads it with
// the clearing hook installed.
//   host_sample PLUGIN_ROOT DATA_DIR
#include <zorvat.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <iostream>
#include <map>
#include <stdexcept>

using namespace zorvat;

//! [callbacks]
static std::string data_dir;  // holds locale/<lang>/LC_MESSAGES/zorvat_core.mo
static int console_width = 60;

// The first callback: console output and the data directory.
static void* f2k(std::string const& query, void* arg) {
  if (query == "write_to_cout" || query == "write_to_cerr") {
    auto* text = static_cast<std::string*>(arg);
    std::fwrite(text->data(), 1, text->size(), query == "write_to_cout" ? stdout : stderr);
  } else if (query == "flush_cout" || query == "flush_cerr") {
    std::fflush(nullptr);
  } else if (query == "local_data_dir") {
    return &data_dir;
  }
  return nullptr;  // every other service: not available
}

// The second callback: the console width.
static void* k2f(std::string const& query, void*) {
  return query == "window_width" ? &console_width : nullptr;
}
//! [callbacks]

//! [workspace]
// The host's workspace, and the clearing hook that empties every variable
// holding an object of a plugin that is being removed (in a cell too).
static std::map<std::string, std::shared_ptr<zo_obj>> workspace;

static bool holds_type(const zo_obj& v, std::vector<int> const& ids) {
  if (v.type == type_extern) {
    int id = v.get<extern_obj_base>().type_id();
    return std::find(ids.begin(), ids.end(), id) != ids.end();
  }
  if (v.type == type_cell) {
    auto& cells = v.get<cell_array>();
    for (long k = 0; k < cells.size(); ++k) {
      if (cells(k) && holds_type(*cells(k), ids)) return true;
    }
  }
  return false;
}

static void clear_plugin_values(std::vector<int> const& ids) {
  for (auto it = workspace.begin(); it != workspace.end();) {
    it = holds_type(*it->second, ids) ? workspace.erase(it) : std::next(it);
  }
}
//! [workspace]

// Makes a few values, keeps them in the workspace and shows them.  The
// local handles go at the end: from then on the workspace holds the values.
static void values_and_display() {
  //! [values]
  auto a = zo_obj::make_matrix<double>(2, 3, {1, 2, 3, 4, 5, 6.5});  // column by column
  auto n = std::make_shared<zo_obj>(int8_t(-7));                     // 1x1 int8
  auto text = std::make_shared<zo_obj>("hello", type_char);          // 1x5 char
  auto c = std::make_shared<zo_obj>(type_cell, new cell_array(1, 2));  // adopted
  c->get<cell_array>()(0, 1) = text;
  auto s = std::make_shared<zo_obj>(type_struct, new structure());
  s->get<structure>().set_field("n", n, false);
  s->get<structure>().set_field("a", a, false);
  workspace = {{"a", a}, {"n", n}, {"text", text}, {"c", c}, {"s", s}};
  //! [values]

  //! [show]
  std::string shown = internal::obj2str(*a, window_width());  // a string, capped at 4 MiB
  std::fputs(shown.c_str(), stdout);
  std::fflush(stdout);
  internal::obj2console(std::cout, *c, -1, 1 << 16);  // to a stream; -1: width 80
  std::cout.flush();
  internal::obj2console_safe<1>(*s, window_width(), 1 << 16);  // through write_to_cout
  std::printf("one line: %s\n", internal::obj2str_one_line(*text).c_str());
  //! [show]

  //! [read]
  // A field of a structure (of its first record): null when there is none.
  if (auto field = s->get<structure>().get_field("n")) std::printf("s.n = %g\n", field->as_double());
  // The elements of a cell, column by column.  A new cell holds empty 0x0
  // doubles; a null element (left by resizing its data() directly) counts
  // as one.
  const cell_array& cells = c->get<cell_array>();
  for (long k = 0; k < cells.size(); ++k) {
    const auto& e = cells(k);
    std::printf("c{%ld} = %s\n", k + 1, e ? internal::obj2str_one_line(*e).c_str() : "[empty 0x0 double]");
  }
  //! [read]
}

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  //! [start]
  std::setlocale(LC_ALL, "");  // messages in the user's language ...
  std::setlocale(LC_NUMERIC, "C");  // ... numbers always with a point
  data_dir = argv[2];
  global::set_core_query_function(f2k, k2f);
  global::set_clear_extern_obj(clear_plugin_values);
  if (version_number() < ZORVAT_VERSION_NUMBER) {  // the library loaded is older than the headers
    std::fprintf(stderr, "libzorvat_core %s is older than %s\n", version(), ZORVAT_VERSION_STRING);
    return 1;
  }
  //! [start]
  values_and_display();

  //! [formats]
  global::fmt_fl.format = global::format_long;
  global::fmt_fl.spacing = global::spacing_compact;
  internal::obj2console_safe<1>(*std::make_shared<zo_obj>(3.25), window_width(), 1 << 16);
  global::fmt_fl.format = global::format_hex;
  internal::obj2console_safe<1>(*zo_obj::make_matrix<unsigned char>(1, 3, {1, 127, 255}),
                                window_width(), 1 << 16);
  global::fmt_fl = {global::format_short, global::spacing_loose};  // back to the start
  //! [formats]

  //! [save_load]
  // The workspace to a version 7.3 MAT-file (mat_save writes version 7
  // without options) and two of its variables back.
  const std::string file = "host_sample.mat";
  mat_save(file, std::vector<named_value>(workspace.begin(), workspace.end()), {mat_version::v7_3});
  for (const mat_variable_info& v : mat_list(file))  // without reading the data
    std::printf("%s: %s %ldx%ld\n", v.name.c_str(), type_str(v.kind), v.dims[0], v.dims[1]);
  for (auto& [name, value] : mat_load(file, {"s", "a"})) workspace[name] = value;
  std::remove(file.c_str());
  //! [save_load]

  //! [plugin]
  auto& mgr = global::plugin_mgr();
  if (int status = mgr.add("tally", {}, argv[1]); status != 0) {
    std::fprintf(stderr, "load failed (%d): %s\n", status, mgr.error_msg().c_str());
    return 1;
  }
  std::vector<std::shared_ptr<zo_obj>> out;
  auto make = mgr.get_function_by_name("tally::make");
  mgr.apply_function(make, 1, {std::make_shared<zo_obj>(3.0)}, out);
  workspace["t"] = mgr.apply_operator(zxOpPlus, out.at(0), std::make_shared<zo_obj>(2.0));
  out.clear();
  internal::obj2console_safe<1>(*workspace["t"], window_width(), 1 << 16);
  try {  // no plugin defines + for two doubles
    mgr.apply_operator(zxOpPlus, std::make_shared<zo_obj>(1.0), std::make_shared<zo_obj>(2.0));
  } catch (const std::runtime_error& e) {
    std::printf("error: %s\n", e.what());
  }
  workspace["c"]->get<cell_array>()(0, 0) = workspace["t"];  // a tally in a cell too
  // remove() calls the clearing hook with the plugin's type ids, then its fini.
  int status = mgr.remove("tally");
  std::printf("removed (%d); left: %zu variables, t %s, c %s\n", status, workspace.size(),
              workspace.count("t") ? "kept" : "cleared", workspace.count("c") ? "kept" : "cleared");
  //! [plugin]

  //! [c_plugin]
  // A plugin in C: the load arguments are its name and the factor 10.
  std::vector<zo_obj> load_args{zo_obj("scaler", type_char), zo_obj(10.0)};
  std::vector<const __zxArray*> arg_ptrs;
  for (const auto& v : load_args) arg_ptrs.push_back(reinterpret_cast<const __zxArray*>(&v));
  if (int status = mgr.add("scaler", arg_ptrs, argv[1]); status != 0) {
    std::fprintf(stderr, "load failed (%d): %s\n", status, mgr.error_msg().c_str());
    return 1;
  }
  mgr.apply_function(mgr.get_function_by_name("scaler::times"), 1,
                     {zo_obj::make_matrix<double>(1, 3, {1, 2, 3.5})}, out);
  internal::obj2console_safe<1>(*out.at(0), window_width(), 1 << 16);
  out.clear();
  mgr.apply_function(mgr.get_function_by_name("scaler::pair"), 1, {std::make_shared<zo_obj>(2.0)}, out);
  internal::obj2console_safe<1>(*out.at(0), window_width(), 1 << 16);
  out.clear();
  try {  // the plugin records an error with zxError; the call raises it
    mgr.apply_function(mgr.get_function_by_name("scaler::times"), 1,
                       {std::make_shared<zo_obj>("text", type_char)}, out);
  } catch (const std::runtime_error& e) {
    std::printf("error: scaler::times: %s\n", e.what());  // the caller names the function
  }
  mgr.remove("scaler");
  //! [c_plugin]
  return 0;
}
