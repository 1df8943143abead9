#include "platform/mav/trace_config.h"

#include <charconv>
#include <optional>

#include "platform/mav/trace_handle.h"

namespace Mav {

namespace {

constexpr std::uint32_t levelZero = 1;
constexpr std::uint32_t everyLevel = (1U << (TraceHandle::levelMax + 1)) - 1;

std::string_view trimmed(std::string_view text) {
  auto const first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::optional<unsigned> level(std::string_view text) {
  unsigned value = 0;
  auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size()) return std::nullopt;
  if (value > TraceHandle::levelMax) return std::nullopt;
  return value;
}

/// "2" or "0-2" as bits.
std::optional<std::uint32_t> levelRange(std::string_view text) {
  auto const dash = text.find('-');
  auto const low = level(text.substr(0, dash));
  auto const high = dash == std::string_view::npos ? low : level(text.substr(dash + 1));
  if (!low || !high || *low > *high) return std::nullopt;
  // The bits up to high, less those below low.
  return (everyLevel >> (TraceHandle::levelMax - *high)) & ~((1U << *low) - 1);
}

}  // namespace

TraceConfig::TraceConfig(std::string_view text) {
  while (!text.empty()) {
    auto const comma = text.find(',');
    auto const item = trimmed(text.substr(0, comma));
    if (!item.empty() && !add(item)) badItems_.emplace_back(item);
    text.remove_prefix(comma == std::string_view::npos ? text.size() : comma + 1);
  }
}

bool TraceConfig::add(std::string_view item) {
  auto const slash = item.find('/');
  auto const name = item.substr(0, slash);
  auto const levels = slash == std::string_view::npos ? std::optional(everyLevel)
                                                      : levelRange(item.substr(slash + 1));
  if (name.empty() || !levels) return false;
  items_.push_back({std::string(name), *levels});
  return true;
}

std::uint32_t TraceConfig::levels(std::string_view handleName) const {
  std::uint32_t levels = levelZero;
  for (auto const& item : items_) {
    if (item.name == "*" || item.name == handleName) levels |= item.levels;
  }
  return levels;
}

}  // namespace Mav
