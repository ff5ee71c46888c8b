// zo_assert.h: debug checks of the preconditions that release builds trust.
//
// Members that check nothing in release builds state their precondition on a
// `// REQUIRES:` line; ZORVAT_ASSERT checks the same condition in debug builds
// (no NDEBUG) and in builds that define ZORVAT_DEBUG_CHECKS (the sanitizer
// build does), and compiles to nothing otherwise, so element access keeps its
// speed:
//
//   // REQUIRES: 0 <= i < numel()
//   T& at(long i) { ZORVAT_ASSERT(0 <= i && i < numel()); return data_[i]; }
//
// A failed check prints the condition and its place to standard error and
// aborts: it marks a caller's bug, never a user's input.
#pragma once

#if !defined(NDEBUG) && !defined(ZORVAT_DEBUG_CHECKS)
#define ZORVAT_DEBUG_CHECKS 1
#endif

namespace zorvat::internal {
[[noreturn]] void assertion_failed(const char* cond, const char* file, int line) noexcept;
}  // namespace zorvat::internal

#if defined(ZORVAT_DEBUG_CHECKS) && ZORVAT_DEBUG_CHECKS
#define ZORVAT_ASSERT(cond) \
  ((cond) ? (void)0 : ::zorvat::internal::assertion_failed(#cond, __FILE__, __LINE__))
#else
#define ZORVAT_ASSERT(cond) ((void)0)
#endif
