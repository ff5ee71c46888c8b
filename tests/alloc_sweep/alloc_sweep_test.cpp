// The allocation-failure sweep: every scenario is run again and again, the
// Nth allocation failing on the Nth run (N = 1, 2, 3, ...), until a run
// completes without reaching an injection point.  Allocations are counted in
// the global operator new of this program and in zo_malloc (through its
// test hook).  At each point the scenario must end with std::bad_alloc (the
// library's insufficient_memory is one) or complete, leak nothing (the
// sanitizer build runs LeakSanitizer at exit) and leave the objects it
// promises to keep as they were.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "display/display.h"
#include "fake_host.h"
#include "host/console.h"
#include "host/host_services.h"
#include "io/mat_file.h"
#include "memory/zo_malloc.h"
#include "plugin/plugin_manager.h"
#include "plugin/zex.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/structure.h"
#include "value/zo_obj.h"

namespace {

// The countdown: 0 is off; otherwise the allocation whose number reaches it
// fails, once.
long fail_at = 0;
long counted = 0;

bool fail_now() noexcept {
  if (fail_at == 0) return false;
  return ++counted == fail_at;
}

void* counted_new(std::size_t n) {
  if (fail_now()) throw std::bad_alloc();
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}

long total_points = 0;

// Runs `scenario` with the Nth allocation failing for N = 1, 2, ... and
// returns the number of injection points.  `unchanged` is asked after each
// failed run whether the objects that must survive a failure still do.
long sweep(const std::function<void()>& scenario, const std::function<bool()>& unchanged = [] { return true; }) {
  zorvat::internal::zo_malloc_fail_hook = &fail_now;
  long n = 1;
  for (;; ++n) {
    bool failed = false;
    counted = 0;
    fail_at = n;
    try {
      scenario();
    } catch (const std::bad_alloc&) {
      failed = true;
    } catch (const std::exception& e) {
      fail_at = 0;
      ADD_FAILURE() << "point " << n << ": " << e.what();
      break;
    }
    const bool reached = counted >= n;
    fail_at = 0;
    if (failed) {
      EXPECT_TRUE(reached) << "bad_alloc without an injected failure at " << n;
      EXPECT_TRUE(unchanged()) << "object changed by the failure at point " << n;
    }
    if (!reached) break;
  }
  zorvat::internal::zo_malloc_fail_hook = nullptr;
  total_points += n - 1;
  return n - 1;
}

using namespace zorvat;
using obj = std::shared_ptr<zo_obj>;
using items = std::vector<obj>;

obj dbl(double v) { return std::make_shared<zo_obj>(v); }

// A new value of kind t adopting a new P(args...).  make_shared<zo_obj>(t,
// new P) would leak the P when the value object's own allocation fails.
template <class P, class... A>
obj make_value(zo_type t, A&&... args) {
  auto v = std::make_shared<zo_obj>();
  *v = zo_obj(t, new P(std::forward<A>(args)...));
  return v;
}

// A cell of structures with text, numbers, a sparse matrix and a nested cell.
obj nested_value() {
  auto inner = make_value<cell_array>(type_cell, items{dbl(1), std::make_shared<zo_obj>("text")}, false);
  auto st = make_value<structure>(type_struct, 1, 2);
  structure& s = st->get<structure>();
  s.create_field_table("name")(1) = std::make_shared<zo_obj>("ab\ncd", type_char);
  s.create_field_table("inner")(0) = inner;
  auto sp = make_value<sparse_matrix<double>>(type_sparse_double, std::vector<triplet<double>>{{1.5, 0, 0}, {-2, 1, 2}}, 3, 2);
  return make_value<cell_array>(type_cell, items{st, inner, sp, dbl(3)}, false);
}

// Every scenario is reported with its number of points.
void report(const char* name, long points) {
  std::printf("alloc sweep: %-28s %5ld injection points\n", name, points);
  EXPECT_GT(points, 0);
}

TEST(AllocSweep, DenseConstructionViewsAndResizes) {
  matrix<double> keep(3, 4);
  for (long i = 0; i < keep.size(); ++i) keep[i] = static_cast<double>(i);
  report("dense", sweep([&] {
    matrix<double> a(4, 5);
    matrix<std::string> s(2, 3);
    s[1] = "x";
    auto v = keep.view(3, 2, 3);
    matrix<double> c(v);
    c[0] = 1.0;
    matrix<double> r = keep;
    r.conservative_resize(5, 6);
    a.resize(std::vector<long>{2, 3, 4});
    matrix<double> d = keep;
    d.allocate(7, true);
  }, [&] { return keep.size() == 12 && keep[11] == 11.0; }));
}

TEST(AllocSweep, SparseConstructionAndSetValue) {
  sparse_matrix<double> keep(std::vector<triplet<double>>{{1.0, 0, 0}, {2.0, 2, 1}}, 3, 3);
  report("sparse", sweep([&] {
    sparse_matrix<double> t(std::vector<triplet<double>>{{1.0, 1, 0}, {2.0, 2, 3}, {4.0, 1, 0}}, 4, 4);
    t.set_value(2, 2, 5.0);
    t.set_value(0, 3, 6.0);
    sparse_matrix<double> c(keep);
    c.set_value(2, 0, 7.0);
    sparse_matrix<std::complex<float>> z(2, 2, 1);
    z.set_value(1, 1, {1.0f, 2.0f});
  }, [&] { return keep.get_value(1, 2) == 2.0 && keep.get_value(2, 0) == 0.0; }));
}

TEST(AllocSweep, CellAndStructureBuildingAndCopyOnWrite) {
  auto shared = nested_value();
  zo_obj keep(*shared);
  const void* payload = keep.payload();
  report("cell and structure", sweep([&] {
    auto v = nested_value();
    auto m = zo_obj::make_matrix<obj>(1, 2, {v});
    zo_obj::make_matrix<std::string>(1, 2, {"a", "b"});
    cell_array c(2, 2);
    c(1) = v;
    structure s(2, 1);
    s.create_field_table("a");
    s.resize(3, 1);
    s.rename_field(0, "b");
    zo_obj copy(*v);
    copy.copy_on_write(true);
    keep.copy_on_write(true);  // strong: unchanged on failure
    keep = *shared;
    keep.reset(type_struct, true);
    keep = *shared;
  }, [&] { return keep.payload() == payload; }));
}

TEST(AllocSweep, MatFileSaveAndLoad) {
  const std::string path = testing::TempDir() + "/alloc_sweep.mat";
  std::vector<named_value> vars{{"v", nested_value()}, {"s", std::make_shared<zo_obj>("x", type_string)}};
  mat_save(path, vars, {mat_version::v6});
  auto bytes = [&] {
    std::string b;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
      for (int c; (c = std::fgetc(f)) != EOF;) b += static_cast<char>(c);
      std::fclose(f);
    }
    return b;
  };
  for (mat_version ver : {mat_version::v6, mat_version::v7}) {
    const std::string old = bytes();  // kept by every failed save
    report("MAT-file save", sweep([&] { mat_save(path, vars, {ver}); }, [&] { return bytes() == old; }));
    report("MAT-file load", sweep([&] { mat_load(path); }));
  }
}

TEST(AllocSweep, DisplayOfNestedValues) {
  auto v = nested_value();
  const std::string expected = internal::obj2str(*v, 80);
  report("display", sweep([&] {
    internal::obj2str(*v, 80);
    std::ostringstream os;
    internal::obj2console(os, *v, 60, 64);
  }));
  EXPECT_EQ(internal::obj2str(*v, 80), expected);
}

TEST(AllocSweep, HostBridge) {
  zorvat_test::fake_host host;
  std::string path = "/usr/share/zorvat/sin.m";
  std::string dir = "/home/user/.zorvat";
  std::string names = "a\nbb\nccc\n";
  std::string keywords = "if\nfor\nwhile\n";
  int width = 72;
  host.answer_with("which", &path);
  host.answer_with("local_data_dir", &dir);
  host.answer_with("variable_brief", &names);
  host.answer_with("keyword_list", &keywords);
  host.answer_with("window_width", &width);
  report("host bridge", sweep([&] {
    host.log.clear();
    host.log.shrink_to_fit();
    host.install();
    std::vector<obj> results;
    eval("x = 1", results);
    which("sin");
    get_all_variable_names_ws();
    internal::obj2console_safe<1>(zo_obj(2.5), -1, 64);
    get_user_config_dir();
    window_width();
    zorvat_test::fake_host::uninstall();
  }));
  zorvat_test::fake_host::uninstall();
}

// Loading, calls and unloading.  A load that fails leaves no trace (no
// plugin, no function), so the next run can load again; an unload that fails
// leaves the plugin loaded and removable.
TEST(AllocSweep, PluginLoadingAndCalls) {
  auto& mgr = global::plugin_mgr();
  mgr.remove("tp_absent");  // the manager and its tables exist before the sweep
  report("plugin refused", sweep([&] { mgr.add("tp_absent", {}, ZORVAT_TEST_PLUGIN_ROOT); }));
  const auto loaded = [&] { return mgr.is_loaded("tp_good") && mgr.get_function_by_name("tp::sum"); };
  report("plugin loading", sweep([&] {
    if (int status = mgr.add("tp_good", {}, ZORVAT_TEST_PLUGIN_ROOT); status != 0)
      throw std::logic_error(mgr.error_msg());
  }, [&] { return !mgr.is_loaded("tp_good") && !mgr.get_function_by_name("tp::sum"); }));
  ASSERT_TRUE(loaded());
  report("plugin calls", sweep([&] {
    auto fn = mgr.get_function_by_name("tp::sum");
    if (!fn) throw std::logic_error("tp::sum not registered");
    internal::plugin_manager::result_list out;
    internal::plugin_manager::apply_function(fn, 1, {dbl(1), dbl(2), dbl(3)}, out);
    mgr.get_export_function_list("tp_good");
  }, loaded));
  report("plugin unloading", sweep([&] {
    // A failure that remove() absorbs (it keeps the code mapped for good
    // rather than postpone its unmapping) completes the run: load again.
    const long saved = fail_at;
    fail_at = 0;
    if (!mgr.is_loaded("tp_good")) mgr.add("tp_good", {}, ZORVAT_TEST_PLUGIN_ROOT);
    fail_at = saved;
    if (int status = mgr.remove("tp_good"); status != 0) throw std::logic_error(mgr.error_msg());
  }, loaded));
  EXPECT_FALSE(mgr.is_loaded("tp_good"));
}

// The plugin interface: a failed allocation inside a zex call gives the
// call's failure result with a message naming the function and the lack of
// memory, and no exception crosses into the plugin's C code.
TEST(AllocSweep, ZexMakersAndChanges) {
  std::vector<__zxArray*> made;
  made.reserve(16);  // keeping a value never allocates within the sweep
  const auto keep = [&](__zxArray* a) {
    if (!a) {
      const std::string e = zxLastError() ? zxLastError() : "";
      zxClearError();
      // "内存不足" or the block's own "无法分配 ... 大小的内存".
      if (e.compare(0, 2, "zx") != 0 || e.find("：") == std::string::npos || e.find("内存") == std::string::npos)
        throw std::logic_error("zex failure: " + e);
      throw std::bad_alloc();
    }
    made.push_back(a);
    return a;
  };
  const auto status = [&](int r) { return r == 0 ? made.back() : keep(nullptr); };
  const long dims[] = {2, 3}, rows[] = {1, 0}, cols[] = {0, 2}, jc[] = {0, 1, 1, 2}, ir[] = {1, 0};
  const double values[] = {1.5, 2.5};
  const char* names[] = {"a", "b"};
  const char* texts[] = {"x", nullptr, "zz", "y"};
  report("zex makers", sweep([&] {
    struct destroy_all {
      std::vector<__zxArray*>& v;
      ~destroy_all() {
        for (__zxArray* a : v) zxDestroyArray(a);
        v.clear();
      }
    } cleanup{made};
    keep(zxCreateNumericArray(2, dims, zxKindInt16));
    keep(zxCreateDoubleMatrix(2, 2, 1));
    keep(zxCreateSparse(3, 3, 2, rows, cols, values, zxKindSparseDouble));
    keep(zxCreateSparseFromColumns(2, 3, jc, ir, values, zxKindSparseComplexSingle));
    keep(zxCreateCharArray("text"));
    keep(zxCreateStringArray(2, 2, texts));
    __zxArray* s = keep(zxCreateStructMatrix(1, 2, 2, names));
    status(zxSetField(s, 1, "c", zxCreateString("field")));
    status(zxAddField(s, "d") >= 0 ? 0 : -1);
    __zxArray* c = keep(zxCreateCellArray(2, dims));
    status(zxSetCell(c, 5, zxDuplicateArray(s)));
    status(zxResize(c, 2, jc + 1));
    status(zxResize(made[0], 2, jc + 2));
  }));
}

// Printed last: the integrator reports this number.
TEST(AllocSweep, ZTotal) {
  std::printf("alloc sweep: %ld injection points in all\n", total_points);
}

}  // namespace

void* operator new(std::size_t n) { return counted_new(n); }
void* operator new[](std::size_t n) { return counted_new(n); }
void operator delete(void* p) noexcept { std::free(p); }
void operator delete[](void* p) noexcept { std::free(p); }
void operator delete(void* p, std::size_t) noexcept { std::free(p); }
void operator delete[](void* p, std::size_t) noexcept { std::free(p); }
