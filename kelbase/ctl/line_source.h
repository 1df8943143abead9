#pragma once
// The bytes of a stream, one at a time, with the number of the line that they stand on: a parser
// that reads through the iterators can say where it is at any moment. Buffers 64 KiB. A stream that
// goes bad throws std::system_error.
//
// Used by readIpJson() alone, through the parser of nlohmann, which wants iterators and tells no
// lines. The stream must outlive it; nothing of it may be read beside.

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <iterator>

namespace Kelbase::Ctl {

/// Not copied: the iterators point to it, and share where it is.
class LineSource {
 public:
  /// `onBlock` hears after each block how many bytes have been read so far.
  LineSource(std::istream& in, std::function<void(std::uint64_t)> onBlock);

  /// The line of the last byte taken, from 1. A newline belongs to the line that it ends.
  int line() const { return line_; }

  bool atEnd() { return next_ == end_ && !fill(); }
  /// Only after atEnd() has said false, like take().
  char peek() { return buffer_[next_]; }
  void take() {
    if (newline_) ++line_;
    newline_ = buffer_[next_++] == '\n';
  }

  /// Takes JSON's white space; false at the end.
  bool skipSpace();

  /// An input iterator; copies share the source's position. Default constructed: the end.
  class Iterator {
   public:
    using iterator_category = std::input_iterator_tag;
    using value_type = char;
    using difference_type = std::ptrdiff_t;
    using pointer = char const*;
    using reference = char;

    Iterator() = default;
    explicit Iterator(LineSource& source) : source_(&source) {}
    char operator*() const { return source_->peek(); }
    Iterator& operator++() {
      source_->take();
      return *this;
    }
    // No copy of the old place: an input iterator of a stream has none to give.
    void operator++(int) { source_->take(); }
    // All that a parser asks is whether it is at the end.
    friend bool operator==(Iterator const& a, Iterator const& b) { return a.atEnd() == b.atEnd(); }

   private:
    bool atEnd() const { return !source_ || source_->atEnd(); }
    LineSource* source_ = nullptr;
  };

 private:
  bool fill();

  std::istream& in_;
  std::function<void(std::uint64_t)> onBlock_;
  std::array<char, 65536> buffer_;
  std::size_t next_ = 0;
  std::size_t end_ = 0;
  std::uint64_t bytes_ = 0;
  int line_ = 1;
  bool newline_ = false;  // the last byte taken ended its line
};

}  // namespace Kelbase::Ctl
