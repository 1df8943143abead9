#pragma once
// Streps: the string representation of values, which prints and parses.
//
//   valueToStrep(v)          numbers in decimal; True and False; enumerators, addresses, names and
//                            octet strings in single quotes; a composite as
//                            Value('Type', ** {'attribute': ...}); a reference to an object as
//                            None, or as Ptr(KEY), which does not parse.
//   strepToValue<T>(text)    the value, from the whole of `text`.
//
// Inside quotes a backslash escapes: \\ and \' stand for themselves, \xHH for any octet. Printing
// escapes what is not printable ASCII. White space is allowed between tokens. Every error is a
// RangeException; columns count from 0 at the start of the text.
//
// A type takes part by two functions that are found by its namespace: valueToStrep(T) and
// parseStrep(StrepReader&, T&). TextValue, Value and MAV_ENUM supply them.

#include <charconv>
#include <concepts>
#include <string>
#include <string_view>

#include "platform/mav/exception.h"
#include "platform/mav/object.h"
#include "platform/mav/type_name.h"

namespace Mav {

/// A string of 8-bit units that claims no encoding. Its strep is quoted, with escapes.
using String8 = std::string;

/// Reads tokens from a text, which must outlive the reader. Each read skips white space first.
class StrepReader {
 public:
  StrepReader(char const* from, char const* to) : begin_(from), at_(from), end_(to) {}
  explicit StrepReader(std::string_view text)
      : StrepReader(text.data(), text.data() + text.size()) {}

  /// Where the next read begins: for a value that stands in a longer text (parsedStrep).
  char const* at() const { return at_; }
  bool atEnd() const { return at_ == end_; }
  bool isAt(char c) const { return at_ != end_ && *at_ == c; }
  std::size_t column() const { return static_cast<std::size_t>(at_ - begin_); }

  void skipSpace();
  /// Reads `token`, or fails with its name: tokens are literals, and need no blank between them.
  void expect(std::string_view token);
  /// Reads a quoted string, and gives its content without quotes and escapes.
  std::string quoted();
  template <std::integral T>
  T number();

  /// Raises RangeException "expected WHAT at column N". The column is that of the token that was
  /// expected.
  [[noreturn]] void fail(std::string_view what) const;

 private:
  char takeEscaped();

  char const* const begin_;
  char const* at_;
  char const* const end_;
};

template <std::integral T>
T StrepReader::number() {
  skipSpace();
  T value{};
  auto const [end, error] = std::from_chars(at_, end_, value);
  if (error == std::errc::invalid_argument) {
    fail(std::unsigned_integral<T> ? "an unsigned decimal number" : "a decimal number");
  }
  // A number that is too great is told as that, and not as none.
  if (error != std::errc()) {
    fail("a number of at most " + std::to_string(8 * sizeof(T)) + " bits");
  }
  at_ = end;
  return value;
}

/// Gives `bytes` with escapes, without quotes.
std::string escaped(std::string_view bytes);
/// Gives `bytes` with escapes, in single quotes.
std::string quoted(std::string_view bytes);

// A bool prints as True or False, below; a char is a piece of text, and has no strep.
template <class T>
concept Number = std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char>;

template <Number T>
std::string valueToStrep(T value) {
  return std::to_string(value);
}
template <Number T>
void parseStrep(StrepReader& in, T& value) {
  value = in.number<T>();
}

/// True or False, bare.
template <std::same_as<bool> T>
std::string valueToStrep(T value) {
  return value ? "True" : "False";
}
template <std::same_as<bool> T>
void parseStrep(StrepReader& in, T& value) {
  in.skipSpace();
  value = in.isAt('T');
  in.expect(value ? "True" : "False");
}

inline std::string valueToStrep(std::string const& bytes) { return Mav::quoted(bytes); }
inline void parseStrep(StrepReader& in, std::string& bytes) { bytes = in.quoted(); }

template <class T>
std::string valueToStrep(Ptr<T> const& object) {
  // By its key: an object has no text of its own, and cannot come from one.
  return object ? "Ptr(" + valueToStrep(object->key()) + ")" : "None";
}
template <class T>
void parseStrep(StrepReader& in, Ptr<T>& object) {
  in.expect("None");  // an object cannot come from a text
  object = nullptr;
}

namespace Detail {
[[noreturn]] void throwJunk(std::size_t column, std::string_view typeName);
}

template <class T>
T strepToValue(std::string_view text) {
  StrepReader in(text);
  T value{};
  parseStrep(in, value);
  if (!in.atEnd()) Detail::throwJunk(in.column(), typeName<T>());
  return value;
}

/// Parses a value from the front of a text and moves `from` behind it: the work of a value's
/// constructor from a pair of iterators. After an error `from` is as it was.
template <class T>
T parsedStrep(char const*& from, char const* to) {
  StrepReader in(from, to);
  T value{};
  parseStrep(in, value);
  from = in.at();
  return value;
}

}  // namespace Mav
