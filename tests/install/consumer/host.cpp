// A minimal host: lends the library its console, width and data directory,
// shows values, loads a C plugin and a C++ plugin and uses their functions
// and an operator.
#include <zorvat.h>
#include <clocale>
#include <cstdio>
#include <stdexcept>
using namespace zorvat;

static std::string data_dir;  // its locale/ folder holds the catalogues
static void* f2k(std::string const& q, void* arg) {
  auto* text = static_cast<std::string*>(arg);
  if (q == "write_to_cout") std::fwrite(text->data(), 1, text->size(), stdout);
  if (q == "write_to_cerr") std::fwrite(text->data(), 1, text->size(), stderr);
  if (q == "flush_cout" || q == "flush_cerr") std::fflush(nullptr);
  if (q == "local_data_dir") return &data_dir;
  return nullptr;  // any other service: not available
}
static void* k2f(std::string const& q, void*) {
  static int width = 80;
  return q == "window_width" ? &width : nullptr;
}
static void show(const zo_obj& v) { internal::obj2console_safe<1>(v, window_width(), 1 << 16); }

int main(int argc, char** argv) {  // host PLUGIN_ROOT DATA_DIR
  if (argc != 3) return 2;
  std::setlocale(LC_MESSAGES, "");  // messages in the user's language
  data_dir = argv[2];
  global::set_core_query_function(f2k, k2f);
  show(*zo_obj::make_matrix<double>(2, 2, {1, 2, 3, 4}));
  auto& mgr = global::plugin_mgr();
  std::vector<std::shared_ptr<zo_obj>> out;
  // A plugin written in C through libzex.so: a result, then its own error.
  if (mgr.add("scale", {}, argv[1]) != 0) return std::fprintf(stderr, "%s\n", mgr.error_msg().c_str()), 1;
  auto scale = mgr.get_function_by_name("scale");
  mgr.apply_function(scale, 1, {zo_obj::make_matrix<double>(1, 2, {1, 2}), std::make_shared<zo_obj>(3.0)}, out);
  show(*out[0]);
  try { mgr.apply_function(scale, 1, {std::make_shared<zo_obj>("x")}, out); }
  catch (const std::runtime_error& e) { std::printf("scale: %s\n", e.what()); }  // the caller names it
  // A C++ plugin with an object type and its operator.
  if (mgr.add("units", {}, argv[1]) != 0) return std::fprintf(stderr, "%s\n", mgr.error_msg().c_str()), 1;
  out.clear();
  mgr.apply_function(mgr.get_function_by_name("units::m"), 1, {std::make_shared<zo_obj>(2.5)}, out);
  show(*mgr.apply_operator(zxOpPlus, out[0], std::make_shared<zo_obj>(1.0)));
  try { mgr.apply_operator(zxOpPlus, std::make_shared<zo_obj>(1.0), std::make_shared<zo_obj>(2.0)); }
  catch (const std::runtime_error& e) { std::printf("%s\n", e.what()); }
  out.clear();  // values of a plugin's types go before the plugin does
  return mgr.remove("units") | mgr.remove("scale");
}
