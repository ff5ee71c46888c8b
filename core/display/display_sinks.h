// display_sinks.h: the output sinks of the console display.
//
// Every renderer writes its text into one of four sinks, and every renderer
// template is instantiated for exactly these four (ZORVAT_FOR_EACH_DISPLAY_SINK):
//
//   FixedLengthStream   collects the text in a string with a hard cap
//                       (obj2str); past the cap it appends "\n\n  ...\n" once
//                       and ignores everything after it.
//   BufferedStream<0>   drains to a caller's std::ostream (obj2console),
//   BufferedStream<1>   to the host's standard output (write_to_cout_flush),
//   BufferedStream<2>   to the host's standard error (write_to_cerr_flush),
//                       each time the buffered text grows past `threshold`.
//
// Renderers insert with operator<< (std::string, const char*, char, literals)
// or, for text already in a buffer, with write(p, n); both are the same
// insertion.  Before composing a long piece of text a renderer asks stopped(),
// which is true only for a FixedLengthStream that has passed its cap.
//
//   internal::FixedLengthStream s(4194304);
//   s << "  1x1 double\n" << std::string(4, ' ');
//   std::string text = s.str();
#pragma once

#include <cstddef>
#include <iosfwd>
#include <sstream>
#include <string>
#include <type_traits>

#include "memory/zo_assert.h"

// The four sinks, each passed with an extra argument A: X(S, A).
#define ZORVAT_FOR_EACH_DISPLAY_SINK_WITH(X, A)                                                \
  X(::zorvat::internal::FixedLengthStream, A) X(::zorvat::internal::BufferedStream<0>, A)     \
  X(::zorvat::internal::BufferedStream<1>, A) X(::zorvat::internal::BufferedStream<2>, A)
#define ZORVAT_DISPLAY_SINK_ONLY(S, X) X(S)
// The four sinks: X(S).
#define ZORVAT_FOR_EACH_DISPLAY_SINK(X) ZORVAT_FOR_EACH_DISPLAY_SINK_WITH(ZORVAT_DISPLAY_SINK_ONLY, X)

namespace zorvat {
namespace internal {

// The string sink of obj2str.  The cap cuts only between insertions: the text
// can exceed `limit` by one insertion plus the 8-character mark.
class FixedLengthStream {
 public:
  explicit FixedLengthStream(long limit) : limit(limit) {}

  // Inserts n characters; once the put position passes `limit`, appends the
  // truncation mark and sets `truncated`.  Does nothing after that.
  void write(const char* p, std::size_t n) {
    // A failed stream drops output, as std::ostream::write would.
    if (truncated || stream.fail()) return;
    text_.append(p, n);
    if (static_cast<long>(text_.size()) > limit) mark_truncated();
  }
  bool stopped() const { return truncated; }
  // True when n more characters inserted at once give the text that the same
  // characters inserted in any pieces would: the cap is not passed.
  bool fits(std::size_t n) const { return static_cast<long>(text_.size() + n) <= limit; }
  // Whether every insertion must reach the sink by itself: no.
  bool each_insertion() const { return false; }
  const std::string& str() const { return text_; }
  // The collected text, moved out; the sink is spent.
  std::string release() { return std::move(text_); }

  // Holds only the error state (a null C string sets its failbit); the
  // text is collected in text_, which renderers append to directly.
  std::stringstream stream;
  long limit;
  bool truncated = false;

 private:
  void mark_truncated();
  std::string text_;
};

// The console sink: text is buffered and emitted by flush() whenever the
// buffer grows past `threshold`; nothing is ever dropped.  N selects where
// flush() sends it (0: *out, 1: host standard output, 2: host standard error).
template <int N>
class BufferedStream {
 public:
  BufferedStream(std::ostream* out, long threshold) : threshold(threshold), out(out) {
    text_.reserve(static_cast<std::size_t>(threshold <= 0 ? 0 : threshold < (1L << 20) ? threshold : 1L << 20) + 256);
  }

  void write(const char* p, std::size_t n) {
    if (stream.fail()) return;  // as std::ostream::write would
    text_.append(p, n);
    if (static_cast<long>(text_.size()) > threshold) flush();
  }
  bool stopped() const { return false; }
  // Nothing is ever dropped: pieces may always be joined.
  bool fits(std::size_t) const { return true; }
  // A threshold of 0 or less flushes after every insertion: joined pieces
  // would reach the destination in fewer flushes, so they are then inserted
  // one by one.
  bool each_insertion() const { return threshold <= 0; }
  // Emits the buffered text, empties the buffer and clears its error state.
  void flush();

  // Holds only the error state (see FixedLengthStream); the text waits in
  // text_ and goes to its destination from there, without a copy.
  std::stringstream stream;
  long threshold;
  std::ostream* out;

 private:
  std::string text_;
};

extern template class BufferedStream<0>;
extern template class BufferedStream<1>;
extern template class BufferedStream<2>;

// A type that is one of the four sinks.
template <class S>
struct is_display_sink : std::false_type {};
template <>
struct is_display_sink<FixedLengthStream> : std::true_type {};
template <int N>
struct is_display_sink<BufferedStream<N>> : std::true_type {};

// Joins consecutive insertions into writes of about `chunk` characters.  The
// text, and the point where obj2str's cap cuts it, stay those of inserting
// every piece by itself: a piece that would carry obj2str's sink past its
// cap is inserted alone, after the pieces before it, and a console sink that
// flushes after every insertion gets every piece at once.  A renderer
// formats a piece straight into room() and passes its length to commit();
// flush() before writing to the sink by any other way.
//
//   chunked_writer<S> out(s);
//   out.commit(f.real(out.room(), x));
//   out.flush();
template <class S>
class chunked_writer {
 public:
  static constexpr std::size_t chunk = 16384;
  // The longest piece that room() takes.
  static constexpr std::size_t max_piece = 2048;

  explicit chunked_writer(S& s) : s_(s), base_(s.each_insertion() ? chunk - 1 : 0), used_(base_) {}
  chunked_writer(const chunked_writer&) = delete;
  chunked_writer& operator=(const chunked_writer&) = delete;

  char* room() { return buf_ + used_; }
  // REQUIRES: n <= max_piece characters were written at room().
  void commit(std::size_t n) {
    ZORVAT_ASSERT(n <= max_piece);
    if (s_.fits(used_ + n)) {
      used_ += n;
      if (used_ >= chunk) flush();
      return;
    }
    spill(&n, 1);
  }
  // Pieces written one after another at room(), piece k ending ends[k]
  // characters in: joined when the sink takes them so, else inserted one by
  // one (the same text and cut as commit() of each).
  // REQUIRES: count >= 1 and ends[count - 1] <= max_piece.
  void commit_pieces(const std::size_t* ends, std::size_t count) {
    const std::size_t n = ends[count - 1];
    ZORVAT_ASSERT(count >= 1 && n <= max_piece);
    if (base_ == 0 && s_.fits(used_ + n)) {
      used_ += n;
      if (used_ >= chunk) flush();
      return;
    }
    spill(ends, count);
  }
  void put(char c) {
    *room() = c;
    commit(1);
  }
  void flush() {
    if (used_ == base_) return;
    const std::size_t n = used_ - base_;
    used_ = base_;
    s_.write(buf_ + base_, n);
  }

 private:
  // The sink does not take the pieces at room() joined to what is pending:
  // the pending text, then each piece, is inserted on its own.
  void spill(const std::size_t* ends, std::size_t count) {
    const std::size_t before = used_ - base_;
    used_ = base_;
    if (before != 0) s_.write(buf_ + base_, before);
    for (std::size_t k = 0, from = 0; k < count; from = ends[k++])
      s_.write(buf_ + base_ + before + from, ends[k] - from);
  }

  S& s_;
  // Where the text starts in buf_: 0, or chunk - 1 for a sink that takes
  // each insertion by itself, so that every commit() reaches chunk and is
  // written at once without a test of its own on the way.
  const std::size_t base_;
  std::size_t used_;
  char buf_[chunk + max_piece];
};

// Insertion operators of every sink.
template <class S, class = std::enable_if_t<is_display_sink<S>::value>>
S& operator<<(S& s, const std::string& text) {
  s.write(text.data(), text.size());
  return s;
}

// A C string; a null pointer sets the failbit of the sink's inner stream and
// inserts nothing, as with a standard stream.
template <class S, class P,
          class = std::enable_if_t<is_display_sink<S>::value &&
                                   (std::is_same_v<P, const char*> || std::is_same_v<P, char*>)>>
S& operator<<(S& s, P text) {
  if (text == nullptr) {
    s.stream.setstate(std::ios_base::failbit);
    return s;
  }
  s.write(text, std::char_traits<char>::length(text));
  return s;
}

template <class S, class = std::enable_if_t<is_display_sink<S>::value>>
S& operator<<(S& s, char c) {
  s.write(&c, 1);
  return s;
}

// One-character literals such as "\n".
template <class S, class = std::enable_if_t<is_display_sink<S>::value>>
S& operator<<(S& s, const char (&text)[2]) {
  s.write(text, 1);
  return s;
}

}  // namespace internal
}  // namespace zorvat
