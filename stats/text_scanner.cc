#include "stats/text_scanner.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace Ip {

std::size_t TextScanner::skip(std::size_t max, char delimiter) {
  if (!good()) return 0;
  std::string_view const window = rest_.substr(0, max);
  std::size_t const found = window.find(delimiter);
  if (found != std::string_view::npos) return take(found + 1).size();
  if (window.size() < max) state_ = State::ended;
  return take(window.size()).size();
}

std::string_view TextScanner::word(std::size_t max) {
  if (!good()) return {};
  std::string_view const window = rest_.substr(0, max);
  std::size_t const found = window.find(' ');
  if (found == std::string_view::npos && window.size() < max) state_ = State::ended;
  return take(std::min(found, window.size()));
}

std::uint64_t TextScanner::number() {
  if (!good()) return fail(0);
  take(std::min(rest_.find_first_not_of(" \t\n\v\f\r"), rest_.size()));
  bool const negative = rest_.starts_with('-');
  if (negative || rest_.starts_with('+')) take(1);

  std::uint64_t value = 0;
  auto const [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), value);
  take(static_cast<std::size_t>(end - rest_.data()));
  if (error == std::errc::invalid_argument) return fail(0);
  if (error != std::errc()) return fail(std::numeric_limits<std::uint64_t>::max());
  if (rest_.empty()) state_ = State::ended;
  return negative ? 0 - value : value;
}

std::string_view TextScanner::take(std::size_t length) {
  std::string_view const taken = rest_.substr(0, length);
  rest_.remove_prefix(length);
  return taken;
}

std::uint64_t TextScanner::fail(std::uint64_t value) {
  state_ = State::failed;
  return value;
}

}  // namespace Ip
