#include "platform/dovel/ip6_prefix.h"

#include <charconv>

#include "platform/dovel/address_text.h"
#include "platform/mav/exception.h"

namespace Dovel {
namespace {

std::uint32_t zoneIn(std::string_view text) {
  auto const mark = text.find('%');
  if (mark == text.npos) return 0;
  // A zone is told by its number: the name of a link may change.
  auto const digits = text.substr(mark + 1);
  std::uint32_t zone = 0;
  auto const [end, error] = std::from_chars(digits.begin(), digits.end(), zone);
  // No link has the ifIndex 0, which RFC 4007 section 6 keeps for the default zone.
  if (error == std::errc() && end == digits.end() && zone != 0) return zone;
  throw Mav::RangeException("invalid zone in '" + std::string(text) + "'");
}

Ip6Prefix parsed(std::string_view text) {
  auto const zone = zoneIn(text);
  // The zone stands behind the length, unlike that of an address ("fe80::1%2").
  auto const parts = splitLength(text.substr(0, text.find('%')), Ip6Addr::bits);
  return {Ip6Addr(parts.address), parts.length, zone};
}

}  // namespace

Ip6Prefix::Ip6Prefix(Ip6Addr const& address, unsigned length, std::uint32_t zone)
    : address_(address),
      zone_(zone),
      length_(static_cast<std::uint8_t>(checkedLength(length, Ip6Addr::bits))) {
  check();
}

Ip6Prefix::Ip6Prefix(std::string_view text) : Ip6Prefix(parsed(text)) {}

void Ip6Prefix::check() const {
  if (address_.masked(length_) != address_) {
    throw Mav::RangeException("prefix " + stringValue() + " has host bits set");
  }
  if (isZoned(address_, length_) == (zone_ != 0)) return;
  throw Mav::RangeException("prefix " + stringValue() +
                            (zone_ == 0 ? " needs a zone" : " has no zone"));
}

std::string Ip6Prefix::stringValue() const {
  auto text = address_.stringValue() + "/" + std::to_string(length_);
  if (zone_ != 0) text += "%" + std::to_string(zone_);
  return text;
}

}  // namespace Dovel
