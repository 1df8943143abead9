#include "platform/mav/strep.h"

#include <fmt/format.h>

namespace Mav {

namespace {

// What isspace(3) has in the C locale, without asking the process's.
bool isSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

}  // namespace

void StrepReader::skipSpace() {
  while (at_ != end_ && isSpace(*at_)) ++at_;
}

void StrepReader::expect(std::string_view token) {
  skipSpace();
  std::string_view const rest(at_, static_cast<std::size_t>(end_ - at_));
  if (!rest.starts_with(token)) fail(fmt::format("\"{}\"", token));
  at_ += token.size();
}

std::string StrepReader::quoted() {
  skipSpace();
  if (!isAt('\'')) fail("a quoted string");
  ++at_;
  std::string bytes;
  while (!isAt('\'')) {
    // isAt() is false at the end too.
    if (atEnd()) fail("a closing quote");
    bytes += takeEscaped();
  }
  ++at_;
  return bytes;
}

char StrepReader::takeEscaped() {
  // Two escapes and no more: what printing makes, parsing takes, and nothing else is guessed.
  if (*at_ != '\\') return *at_++;
  if (end_ - at_ >= 2 && (at_[1] == '\\' || at_[1] == '\'')) {
    at_ += 2;
    return at_[-1];
  }
  if (end_ - at_ >= 4 && at_[1] == 'x') {
    // Both digits have to be taken: from_chars is content with one.
    unsigned char octet = 0;
    if (std::from_chars(at_ + 2, at_ + 4, octet, 16).ptr == at_ + 4) {
      at_ += 4;
      return static_cast<char>(octet);
    }
  }
  fail("an escape (\\\\, \\' or \\xHH)");
}

void StrepReader::fail(std::string_view what) const {
  throw RangeException(fmt::format("expected {} at column {}", what, column()));
}

std::string escaped(std::string_view bytes) {
  std::string text;
  text.reserve(bytes.size());
  for (char const c : bytes) {
    if (c == '\\' || c == '\'') {
      (text += '\\') += c;
    } else if (c >= ' ' && c <= '~') {
      text += c;
    } else {
      fmt::format_to(std::back_inserter(text), "\\x{:02x}", static_cast<unsigned char>(c));
    }
  }
  return text;
}

std::string quoted(std::string_view bytes) { return "'" + escaped(bytes) + "'"; }

void Detail::throwJunk(std::size_t column, std::string_view typeName) {
  throw RangeException(fmt::format("junk at column {} deserializing {}", column, typeName));
}

}  // namespace Mav
