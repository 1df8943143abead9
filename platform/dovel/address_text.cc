#include "platform/dovel/address_text.h"

#include <charconv>
#include <string>

#include <arpa/inet.h>
#include <fmt/format.h>

#include "platform/mav/strep.h"

namespace Dovel {

void parseAddress(int family, std::string_view text, void* binary) {
  // inet_pton(3) looks for a NUL at the end, which a string_view does not have.
  std::string const terminated(text);
  // inet_pton would stop at a NUL byte within the text.
  bool const hasNul = text.find('\0') != std::string_view::npos;
  if (!hasNul && inet_pton(family, terminated.c_str(), binary) == 1) return;
  // Escaped: the text may come from a file, and the message goes into a log.
  throw Mav::RangeException(fmt::format("invalid {} address '{}'",
                                        family == AF_INET ? "IPv4" : "IPv6", Mav::escaped(text)));
}

AddressAndLength splitLength(std::string_view text, unsigned lengthMax) {
  // The last one: no address has a slash, and a text with two fails as an address.
  std::size_t const slash = text.rfind('/');
  if (slash != std::string_view::npos) {
    unsigned length = 0;
    char const* const end = text.data() + text.size();
    // Decimal digits alone: from_chars takes neither a sign, of unsigned numbers, nor white space.
    auto const [at, error] = std::from_chars(text.data() + slash + 1, end, length);
    if (error == std::errc() && at == end && length <= lengthMax) {
      return {text.substr(0, slash), length};
    }
  }
  throw Mav::RangeException(fmt::format("invalid prefix length in '{}'", Mav::escaped(text)));
}

void throwLength(unsigned length, unsigned lengthMax) {
  throw Mav::RangeException(fmt::format("prefix length {} is not in 0..{}", length, lengthMax));
}

}  // namespace Dovel
