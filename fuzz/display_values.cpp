// The display of random values: nested cells and structures, every dense
// element type (NaN, infinities and extremes from raw bytes), text with
// control bytes and invalid UTF-8, N-d and empty shapes, sparse matrices,
// handles and other kinds, at random console widths under every format code
// and both spacings.  Checked against the console text as the model:
// obj2str equals it below the cap; a small cap gives a beginning of it (cut
// between insertions) and the mark; every console threshold gives it whole.
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "display/display.h"
#include "display/display_format.h"
#include "sparse/sparse_matrix.h"
#include "value/cell_array.h"
#include "value/kind_table.h"
#include "value/structure.h"
#include "value/zo_obj.h"

#define FUZZ_CHECK(c) ((c) ? (void)0 : std::abort())

using namespace zorvat;

namespace {

// Reads the input front to back; past its end every read gives zeros.
class bytes {
 public:
  bytes(const uint8_t* p, size_t n) : p_(p), n_(n) {}
  uint8_t byte() { return k_ < n_ ? p_[k_++] : 0; }
  long small(long bound) { return static_cast<long>(byte()) % bound; }
  void raw(void* out, size_t n) {
    auto* o = static_cast<uint8_t*>(out);
    for (size_t i = 0; i < n; ++i) o[i] = byte();
  }
  std::string text() {
    std::string s(static_cast<size_t>(small(12)), ' ');
    for (char& c : s) c = static_cast<char>(byte());
    return s;
  }

 private:
  const uint8_t* p_;
  size_t n_, k_ = 0;
};

std::vector<long> shape(bytes& in) {
  std::vector<long> dims(static_cast<size_t>(2 + in.small(3)));
  for (long& d : dims) d = in.small(5);
  if (in.small(3) != 0) dims.resize(2);
  if (in.small(4) == 0) dims[0] = 1;  // row vectors take the one-line texts
  return dims;
}

template <class T>
zo_obj dense(bytes& in) {
  auto* m = new matrix<T>(shape(in));
  for (long k = 0, n = m->size(); k < n; ++k) {
    T& e = m->data()[k];
    if constexpr (std::is_same_v<T, bool>) {
      e = in.byte() & 1;
    } else if constexpr (std::is_same_v<T, std::string>) {
      e = in.text();
    } else if (in.small(2) == 0) {
      in.raw(&e, sizeof e);  // any bit pattern: NaN, infinities, extremes
    } else {
      e = static_cast<T>(static_cast<signed char>(in.byte()));  // small whole values
    }
  }
  return zo_obj(internal::dense_kind_of<T>(), m);
}

template <class T>
zo_obj sparse(bytes& in) {
  const long rows = in.small(12), cols = in.small(12);
  std::vector<triplet<T>> t(static_cast<size_t>(rows && cols ? in.small(8) : 0));
  for (auto& e : t) {
    if constexpr (std::is_same_v<T, bool>)
      e.value = in.byte() & 1;
    else
      in.raw(&e.value, sizeof e.value);
    e.row = in.small(rows);
    e.col = in.small(cols);
  }
  return zo_obj(internal::sparse_kind_of<T>(), new sparse_matrix<T>(t, rows, cols));
}

zo_obj value(bytes& in, int depth);

std::shared_ptr<zo_obj> element(bytes& in, int depth) {
  if (in.small(6) == 0) return nullptr;
  return std::make_shared<zo_obj>(value(in, depth + 1));
}

zo_obj value(bytes& in, int depth) {
  const long pick = in.small(depth < 3 ? 30 : 26);
  // Dense element types by index, then the other kinds.
  int k = 0;
  zo_obj out;
  bool made = false;
#define ZORVAT_FUZZ_DENSE_AT(T) \
  if (!made && pick == k++) {   \
    out = dense<T>(in);         \
    made = true;                \
  }
  ZORVAT_FOR_EACH_ARITH_TYPE(ZORVAT_FUZZ_DENSE_AT)
  ZORVAT_FUZZ_DENSE_AT(std::string)
#undef ZORVAT_FUZZ_DENSE_AT
#define ZORVAT_FUZZ_SPARSE_AT(T) \
  if (!made && pick == k++) {    \
    out = sparse<T>(in);         \
    made = true;                 \
  }
  ZORVAT_FOR_EACH_SPARSE_TYPE(ZORVAT_FUZZ_SPARSE_AT)
#undef ZORVAT_FUZZ_SPARSE_AT
  if (made) return out;
  switch (pick - k) {  // k == 20 here
    case 0: return zo_obj(function_handle(static_cast<fh_type>(in.small(2)), in.text()));
    case 1: return zo_obj(new extern_obj_base);
    case 2: return zo_obj();
    case 3: return zo_obj(controlType{static_cast<int>(in.small(4))});
    case 4: return zo_obj(in.text().c_str(), type_char);
    case 5: return zo_obj(in.text().c_str());
    case 6: {
      auto* c = new cell_array(shape(in));
      for (long i = 0, n = c->data().size(); i < n; ++i) c->data()(i) = element(in, depth);
      return zo_obj(type_cell, c);
    }
    case 7:
    case 8: {
      auto* st = pick - k == 7 ? new structure : new structure(in.small(3), in.small(3));
      for (long f = in.small(4); f > 0; --f) {
        const std::string name = "f" + std::to_string(in.small(6));
        if (st->is_scalar())
          st->set_field(name, element(in, depth), false);
        else if (!st->isfield(name))
          st->create_field_table(name);
      }
      return zo_obj(type_struct, st);
    }
    default: {
      auto* c = new cell_array(1, 1);
      c->data()(0) = element(in, depth);
      return zo_obj(type_cell, c);
    }
  }
}

long width(bytes& in) {
  switch (in.small(8)) {
    case 0: return -1;
    case 1: return LONG_MAX - in.small(3);
    case 2: return LONG_MIN + in.small(3);
    case 3: return -in.small(100);
    default: return in.small(200);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  bytes in(data, size);
  global::fmt_fl = {static_cast<std::uint32_t>(in.small(11)),
                    in.small(2) ? global::spacing_loose : global::spacing_compact};
  const long w = width(in);
  const long cap = in.small(200);
  const long threshold = in.small(64);
  const zo_obj v = value(in, 0);

  std::ostringstream whole;
  internal::obj2console(whole, v, w, 1L << 20);
  const std::string full = whole.str();

  // Below the cap the string text is the console text.
  if (full.size() < static_cast<size_t>(internal::obj2str_limit)) FUZZ_CHECK(internal::obj2str(v, w) == full);

  // Any threshold: the same text reaches the stream.
  std::ostringstream chunked;
  internal::obj2console(chunked, v, w, threshold);
  FUZZ_CHECK(chunked.str() == full);

  // A small cap: the beginning of the text, cut between insertions past the
  // cap, then the mark; nothing at all once it is set.
  internal::FixedLengthStream capped(cap);
  internal::obj2str_stream(capped, v, w);
  const std::string& t = capped.str();
  static const std::string mark = "\n\n  ...\n";
  if (!capped.truncated) {
    FUZZ_CHECK(t == full);
  } else {
    FUZZ_CHECK(t.size() >= mark.size() + static_cast<size_t>(cap) + 1);
    FUZZ_CHECK(t.compare(t.size() - mark.size(), mark.size(), mark) == 0);
    FUZZ_CHECK(full.compare(0, t.size() - mark.size(), t, 0, t.size() - mark.size()) == 0);
  }

  FUZZ_CHECK(!internal::obj2str_one_line(v).empty());
  global::fmt_fl = {0, global::spacing_loose};
  return 0;
}
