// DLPack import of random tensor descriptions (shape, strides, offset, type,
// device, lanes, null pointers, huge sizes) over one heap buffer.  A refused
// description leaves the tensor untouched and its deleter uncalled.  An
// accepted one gives an array of the described size whose elements are all
// different places inside the memory that the description names, read where
// the description puts them; when that memory lies inside the buffer the
// array is walked and copied (AddressSanitizer catches any read outside
// it); its export comes back as the same memory; and the deleter runs once,
// when the last array is gone.
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <set>
#include <stdexcept>
#include <type_traits>

#include "core/io/dlpack.h"
#include "core/value/kind_table.h"
#include "fuzz/fuzz_input.h"

namespace {

using namespace zorvat;

using fuzz_input::check;
using fuzz_input::reader;

long deleter_calls = 0;
void count_deleter(DLManagedTensor*) { ++deleter_calls; }

constexpr long buffer_bytes = 4096;

// Whether P is the payload of an imported value: matrix<E> of a number.
template <class P>
struct numeric_array : std::false_type {};
template <class E>
struct numeric_array<matrix<E>> : std::bool_constant<std::is_arithmetic_v<E>> {};
template <class E>
struct numeric_array<matrix<std::complex<E>>> : std::true_type {};

// Checks the array of an accepted import against the description.
template <class E>
void check_array(const matrix<E>& m, const DLTensor& d, const unsigned char* buffer) {
  __int128 elements = 1;
  for (int k = 0; k < d.ndim; ++k) elements *= d.shape[k];
  check(m.size() == elements && m.ndims() == (d.ndim < 2 ? 2 : d.ndim));
  if (m.size() == 0) return;
  const auto first = reinterpret_cast<std::uintptr_t>(d.data) + d.byte_offset;
  check(reinterpret_cast<std::uintptr_t>(m.data()) == first);
  // Positions as the description gives them (row-major without strides).
  __int128 reach = 0;
  std::set<__int128> seen;
  for (auto it = m.begin(), e = m.end(); it != e; ++it) {
    __int128 pos = 0, step = 1;
    for (int k = d.ndim - 1; k >= 0; --k) {
      pos += static_cast<__int128>(it.index()[k]) * (d.strides ? d.strides[k] : step);
      step *= d.shape[k];
    }
    check(reinterpret_cast<std::uintptr_t>(it.ptr()) == first + static_cast<std::uintptr_t>(pos) * sizeof(E));
    check(seen.insert(pos).second);  // no two elements in one place
    if (pos > reach) reach = pos;
    if (seen.size() > 1 << 12) break;
  }
  check(static_cast<__int128>(m.block()->count) == reach + 1 || seen.size() > 1 << 12);
  const auto end = first + static_cast<std::uintptr_t>(m.block()->count) * sizeof(E);
  const auto lo = reinterpret_cast<std::uintptr_t>(buffer);
  if (first < lo || end > lo + buffer_bytes || end < first) return;  // memory outside the buffer: not read
  for (auto it = m.begin(), e = m.end(); it != e; ++it)
    check(std::memcmp(&*it, buffer + (reinterpret_cast<std::uintptr_t>(it.ptr()) - lo), sizeof(E)) == 0);
  const matrix<E> copy(m);  // reads the whole block
  check(copy.size() == m.size());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  reader r{data, size};
  std::unique_ptr<unsigned char[]> buffer(new unsigned char[buffer_bytes]);
  for (long i = 0; i < buffer_bytes; ++i) buffer[i] = static_cast<unsigned char>(i * 7);
  const auto huge = [&](long small) { return r.take(16) == 0 ? (1L << (40 + r.take(23))) : small; };

  std::int64_t shape[6], strides[6];
  DLManagedTensor t{};
  DLTensor& d = t.dl_tensor;
  d.ndim = static_cast<int>(r.take(8)) - 1;  // -1 .. 6
  for (int k = 0; k < 6; ++k) {
    shape[k] = huge(r.take(6) - (r.take(32) == 0));
    strides[k] = huge(r.take(12) - (r.take(32) == 0));
  }
  static const uint8_t bits[] = {8, 16, 32, 64, 128, 1};
  d.dtype = {static_cast<uint8_t>(r.take(6)), bits[r.take(6)], static_cast<uint16_t>(r.take(16) == 0 ? 2 : 1)};
  d.device = {r.take(16) == 0 ? kDLCUDA : kDLCPU, 0};
  d.data = r.take(16) == 0 ? nullptr : buffer.get();
  d.byte_offset = static_cast<uint64_t>(huge(r.take(64)));
  d.shape = r.take(16) == 0 ? nullptr : shape;
  d.strides = r.take(3) == 0 ? nullptr : strides;
  t.deleter = r.take(8) == 0 ? nullptr : &count_deleter;
  const DLManagedTensor before = t;
  const long calls = deleter_calls;

  zo_obj v;
  try {
    v = from_dlpack(&t);
  } catch (const std::invalid_argument&) {
    check(deleter_calls == calls && std::memcmp(&before, &t, sizeof t) == 0);
    return 0;
  }
  check(d.device.device_type == kDLCPU && d.dtype.lanes == 1);
  internal::visit_kind(v.type, [&](auto k) {
    using P = typename decltype(k)::payload;
    if constexpr (numeric_array<P>::value) {
      check_array(v.get<P>(), d, buffer.get());
      zo_obj w = from_dlpack(to_dlpack(v));
      check(w.type == v.type && w.get<P>().data() == v.get<P>().data());
    } else {
      check(false);
    }
  });
  check(deleter_calls == calls);
  v = zo_obj();
  check(deleter_calls == calls + (t.deleter ? 1 : 0));
  return 0;
}
