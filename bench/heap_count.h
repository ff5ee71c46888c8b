// heap_count.h: the bytes in use on the heap and their peak, for benchmark
// programs that report memory beside time.  Include it from exactly one
// source file of the program: it replaces malloc and its relatives.
//
//   const size_t before = heap_count::in_use;
//   heap_count::peak = before;
//   work();
//   const size_t extra = heap_count::peak - before;
#pragma once

#include <malloc.h>

#include <algorithm>
#include <cstddef>

// Heap accounting: every block of the process passes through these wrappers,
// which keep the bytes in use and their peak since the last reset.
namespace heap_count {
std::size_t in_use = 0;
std::size_t peak = 0;
void add(void* p) {
  if (!p) return;
  in_use += malloc_usable_size(p);
  peak = std::max(peak, in_use);
}
void sub(void* p) {
  if (p) in_use -= malloc_usable_size(p);
}
}  // namespace heap_count

extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t n) {
  void* p = __libc_malloc(n);
  heap_count::add(p);
  return p;
}
void* calloc(std::size_t n, std::size_t k) {
  void* p = __libc_calloc(n, k);
  heap_count::add(p);
  return p;
}
void* realloc(void* old, std::size_t n) {
  heap_count::sub(old);
  void* p = __libc_realloc(old, n);
  heap_count::add(p ? p : (n ? old : nullptr));
  return p;
}
void free(void* p) {
  heap_count::sub(p);
  __libc_free(p);
}
void* memalign(std::size_t a, std::size_t n) {
  void* p = __libc_memalign(a, n);
  heap_count::add(p);
  return p;
}
void* aligned_alloc(std::size_t a, std::size_t n) { return memalign(a, n); }
int posix_memalign(void** out, std::size_t a, std::size_t n) {
  *out = memalign(a, n);
  return *out ? 0 : 12;
}
}

