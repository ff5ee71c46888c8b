// Construction, lifetime, sharing and summaries of zo_obj.  What each kind
// holds and how its payload is made, copied and adopted lives in
// kind_table.h; this file only dispatches on it.
#include "value/zo_obj.h"

#include <cstring>
#include <type_traits>
#include <sstream>

#include "memory/str_util.h"
#include "value/kind_table.h"

namespace zorvat {

namespace {

using internal::kind_ops;
using internal::visit_kind;

// The payload of make_matrix<T>, made in place (moving a matrix allocates,
// and its move is noexcept): matrix<T> for the dense kinds, and a cell for an
// array of value pointers.  Returns the payload and its array.
template <class T>
struct matrix_payload {
  static constexpr zo_type kind = internal::dense_kind_of<T>();
  static_assert(kind != type_error, "matrix<T> is the payload of no kind");
  static std::pair<std::shared_ptr<void>, matrix<T>*> make(long m, long n) {
    auto p = std::make_shared<matrix<T>>(m, n);
    return {p, p.get()};
  }
};

template <>
struct matrix_payload<std::shared_ptr<zo_obj>> {
  static constexpr zo_type kind = type_cell;
  static std::pair<std::shared_ptr<void>, matrix<std::shared_ptr<zo_obj>>*> make(long m, long n) {
    const matrix<std::shared_ptr<zo_obj>> elements(m, n);
    auto c = std::make_shared<cell_array>();
    c->data() = elements;  // a copy: null elements, as make_matrix promises
    return {c, &c->data()};
  }
};

std::shared_ptr<matrix<std::string>> make_text(const char* s) {
  auto m = std::make_shared<matrix<std::string>>(1, 1);
  if (s) (*m)[0] = s;
  return m;
}

// Whether a payload of this kind holds values (cells, structures, lists), so
// releasing its last reference releases further payloads.
bool holds_values(zo_type t) {
  return visit_kind(t, [](auto k) {
    using P = typename decltype(k)::payload;
    return std::is_base_of_v<container_base, P> || std::is_same_v<P, VariableList>;
  });
}

// Releases the reference p of a payload of kind t without recursion: a
// cell, structure or list whose last reference goes is queued, and only the
// outermost release destroys queued payloads, one at a time, so the payloads
// that their elements release join the queue instead of nesting on the
// stack.  A value nested 100,000 levels deep thus needs a constant stack.
void release_payload(std::shared_ptr<void>& p, zo_type t) noexcept {
  if (!p) return;
  if (p.use_count() != 1 || !holds_values(t)) {
    p.reset();
    return;
  }
  // Values released after the thread's queue is gone (by destructors of
  // statics that run later at exit) are released directly.
  static thread_local bool queue_gone = false;
  struct queue {
    std::vector<std::shared_ptr<void>> pending;
    bool draining = false;
    ~queue() { queue_gone = true; }
  };
  static thread_local queue q;
  if (queue_gone) {
    p.reset();
    return;
  }
  try {
    q.pending.push_back(std::move(p));
  } catch (...) {
    p.reset();  // no room to queue: release it here, recursively
    return;
  }
  if (q.draining) return;
  q.draining = true;
  while (!q.pending.empty()) {
    std::shared_ptr<void> last = std::move(q.pending.back());
    q.pending.pop_back();
    last.reset();
  }
  q.draining = false;
}

}  // namespace

namespace internal {

std::shared_ptr<zo_obj> make_empty_element() { return std::make_shared<zo_obj>(type_double, nullptr); }

void detach_element(std::shared_ptr<zo_obj>& e, std::vector<zo_obj*>& work) {
  if (!e) return;
  // The value object itself may be shared with the container this one was
  // copied from: take a copy of it first, so the write below cannot show there.
  if (e.use_count() > 1) e = std::make_shared<zo_obj>(*e);
  work.push_back(e.get());
}

void copy_on_write_work(std::vector<zo_obj*>& work) {
  // copy_on_write(true) of every listed value, its nested cells and
  // structures taken from the same list rather than by recursion.
  while (!work.empty()) {
    zo_obj* v = work.back();
    work.pop_back();
    const void* before = v->payload();
    v->copy_on_write(false);
    if (v->payload() == before) continue;  // not shared: its elements stay as they are
    if (container_base* c = v->container()) c->detach_elements(work);
  }
}

}  // namespace internal

// ---- construction -----------------------------------------------------------

zo_obj::zo_obj() : type(type_void), payload_(std::make_shared<int>(0)) {}

template <class T>
void zo_obj::init_scalar(zo_type t, const T& v) {
  auto m = std::make_shared<matrix<T>>(1, 1);
  (*m)[0] = v;
  payload_ = std::move(m);
  type = t;
}

#define ZORVAT_SCALAR_CONSTRUCTOR(T) \
  zo_obj::zo_obj(T v) { init_scalar(internal::dense_kind_of<T>(), v); }
ZORVAT_FOR_EACH_ARITH_TYPE(ZORVAT_SCALAR_CONSTRUCTOR)
#undef ZORVAT_SCALAR_CONSTRUCTOR

zo_obj::zo_obj(const zo_hdl_t& h) { init_scalar(type_handle, h); }

zo_obj::zo_obj(const char* s) : type(type_string), payload_(make_text(s)) {}

zo_obj::zo_obj(const std::string& s) : type(type_string) { init_scalar(type_string, s); }

zo_obj::zo_obj(const char* s, zo_type t) {
  if (t != type_char) {
    payload_ = make_text(s);
    type = type_string;
    return;
  }
  const int n = s ? static_cast<int>(std::strlen(s)) : 0;
  auto m = std::make_shared<matrix<char>>(1, n);
  if (n > 0) std::memcpy(m->data(), s, static_cast<size_t>(n));
  payload_ = std::move(m);
  type = type_char;
}

zo_obj::zo_obj(const std::vector<std::string>& v, long m, long n) : type(type_string) {
  auto a = std::make_shared<matrix<std::string>>(m, n);
  const long k = std::min(a->size(), static_cast<long>(v.size()));
  for (long i = 0; i < k; ++i) (*a)[i] = v[static_cast<size_t>(i)];
  payload_ = std::move(a);
}

zo_obj::zo_obj(controlType c) : type(type_control), payload_(std::make_shared<controlType>(c)) {}

zo_obj::zo_obj(const draw_t& d) : type(type_draw), payload_(std::make_shared<draw_t>(d)) {}

zo_obj::zo_obj(const function_handle& f)
    : type(type_function_handle), payload_(std::make_shared<function_handle>(f)) {}

zo_obj::zo_obj(const extern_obj_base* p) : type(type_extern) {
  if (p) payload_ = kind_ops<extern_obj_base>::adopt(p);
}

zo_obj::zo_obj(int t, const void* p) {
  if (!p) {
    create_from_nullptr(t);
    return;
  }
  payload_ = visit_kind(t, [p](auto k) { return kind_ops<typename decltype(k)::payload>::adopt(p); });
  type = static_cast<zo_type>(t);
}

zo_obj::zo_obj(const zo_obj& other) : type(other.type), payload_(other.payload_) {}

zo_obj::zo_obj(zo_obj&& other) noexcept : type(other.type), payload_(std::move(other.payload_)) {}

zo_obj& zo_obj::operator=(const zo_obj& other) {
  copy_impl(other);
  return *this;
}

zo_obj& zo_obj::operator=(zo_obj&& other) noexcept {
  move_impl(std::move(other));
  return *this;
}

zo_obj::~zo_obj() { release_payload(payload_, type); }

void zo_obj::copy_impl(const zo_obj& src) {
  std::shared_ptr<void> old = src.payload_;  // taken first: safe for self-assignment
  payload_.swap(old);
  const zo_type old_type = type;
  type = src.type;
  release_payload(old, old_type);
}

void zo_obj::move_impl(zo_obj&& src) noexcept {
  if (this == &src) return;
  std::shared_ptr<void> old = std::move(payload_);
  const zo_type old_type = type;
  payload_ = std::move(src.payload_);
  // The source keeps its kind with a null payload (intended).
  type = src.type;
  release_payload(old, old_type);
}

template <class T>
std::shared_ptr<zo_obj> zo_obj::make_matrix(long m, long n, std::initializer_list<T> list) {
  using wrap = matrix_payload<T>;
  auto [payload, a] = wrap::make(m, n);
  long k = 0;
  for (const T& v : list) {
    if (k >= a->size()) break;
    (*a)[k++] = v;
  }
  return std::shared_ptr<zo_obj>(new zo_obj(wrap::kind, std::move(payload), shared_payload{}));
}

#define ZORVAT_INSTANTIATE_MAKE_MATRIX(T) \
  template std::shared_ptr<zo_obj> zo_obj::make_matrix<T>(long, long, std::initializer_list<T>);
ZORVAT_FOR_EACH_DENSE_TYPE(ZORVAT_INSTANTIATE_MAKE_MATRIX)
#undef ZORVAT_INSTANTIATE_MAKE_MATRIX

std::shared_ptr<zo_obj> zo_obj::make_void(zo_void_flag f) {
  auto v = std::make_shared<zo_obj>();
  v->copy_on_write(false);
  v->get<int>() = f;
  return v;
}

// ---- kind changes and sharing -----------------------------------------------

void zo_obj::create_from_nullptr(int t) {
  std::shared_ptr<void> p = visit_kind(t, [](auto k) -> std::shared_ptr<void> {
    using K = decltype(k);
    if (K::fills_from_nullptr) return kind_ops<typename K::payload>::make_default();
    return nullptr;
  });
  payload_.swap(p);
  const zo_type old_type = type;
  type = static_cast<zo_type>(t);
  release_payload(p, old_type);
}

void zo_obj::reset(int t, bool force) {
  if (type == t && !force) return;
  // Made before the old payload goes, so a failed allocation changes nothing.
  std::shared_ptr<void> p =
      visit_kind(t, [](auto k) { return kind_ops<typename decltype(k)::payload>::make_default(); });
  payload_.swap(p);
  const zo_type old_type = type;
  type = static_cast<zo_type>(t);
  release_payload(p, old_type);
}

void zo_obj::destroy() {
  release_payload(payload_, type);
  type = type_error;
}

void zo_obj::copy_on_write(bool deep) {
  if (!payload_ || payload_.use_count() < 2) return;
  std::shared_ptr<void> p = visit_kind(type, [&](auto k) {
    return kind_ops<typename decltype(k)::payload>::copy(payload_.get(), deep);
  });
  // Kinds without a payload type keep what they have.
  if (p || type == type_extern) payload_ = std::move(p);
}

// ---- shape ------------------------------------------------------------------

matrix_base* zo_obj::array_base() {
  if (!payload_) return nullptr;
  return visit_kind(type, [this](auto k) {
    return internal::as_array_base<typename decltype(k)::payload>(payload_.get());
  });
}

const matrix_base* zo_obj::array_base() const { return const_cast<zo_obj*>(this)->array_base(); }

container_base* zo_obj::container() {
  if (!payload_) return nullptr;
  return visit_kind(type, [this](auto k) {
    return internal::as_container_base<typename decltype(k)::payload>(payload_.get());
  });
}

const container_base* zo_obj::container() const { return const_cast<zo_obj*>(this)->container(); }

bool zo_obj::is_row_vector() const {
  const matrix_base* a = array_base();
  return a && a->ndims() == 2 && a->rows() == 1 && a->cols() >= 1;
}

// ---- summary ----------------------------------------------------------------

namespace {

void write_dims(std::ostringstream& os, const std::vector<long>& dims) {
  for (size_t k = 0; k < dims.size(); ++k) {
    if (k) os << 'x';
    os << static_cast<std::int64_t>(dims[k]);
  }
}

bool has_array_summary(zo_type t) {
  return internal::is_scalar_dense_kind(t) || t == type_string || internal::is_sparse_kind(t);
}

}  // namespace

std::string zo_obj::brief_type_str() const {
  std::ostringstream os;
  if (has_array_summary(type) && payload_) {
    const matrix_base* a = array_base();
    if (a->is_empty()) os << "empty ";
    write_dims(os, a->dim_vec());
    os << ' ' << type_str(type);
  } else if (type == type_cell && payload_) {
    write_dims(os, get<cell_array>().dim_vec());
    os << " cell array";
  } else if (type == type_struct && payload_) {
    const structure& s = get<structure>();
    write_dims(os, s.dim_vec());
    os << " struct";
    if (!s.is_scalar()) os << " array";
  } else if (type == type_extern && payload_) {
    os << "1x1 " << get<extern_obj_base>().classname();
  } else {
    os << str_format("1x1 %s", type_str(type));
  }
  return os.str();
}

}  // namespace zorvat
