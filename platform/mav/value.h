#pragma once
// Values: immutable types that are nothing but their attributes. A class lists these once:
//
//   class ArpTableIndex : public Mav::Value<ArpTableIndex> {
//    public:
//     ArpTableIndex() = default;
//     ArpTableIndex(std::uint32_t ifIndex, Dovel::IpAddr ipAddr);
//     ArpTableIndex(char const*& from, char const* to)
//         : ArpTableIndex(Mav::parsedStrep<ArpTableIndex>(from, to)) {}
//     ...accessors...
//     static constexpr auto attributes() {
//       return std::tuple{Mav::Attribute("ifIndex", &ArpTableIndex::ifIndex_),
//                         Mav::Attribute("ipAddr", &ArpTableIndex::ipAddr_)};
//     }
//
// That list makes ==, <=> and the rest (the first attribute that differs decides), operator! (equal
// to the default), and the strep and operator<<, which both write
//
//   Value('IpSnmp::ArpTableIndex', ** {'ifIndex': 3, 'ipAddr': '10.0.0.1'})
//
// and the parser of that form. It takes attributes in any order; an absent one keeps its default,
// and of several of one name the last one counts. A parse error is a RangeException, and yields no
// value:
//   "premature end of value type ArpTableIndex", "ArpTableIndex has no such attribute: NAME",
//   "expected TOKEN at column N", and those of the attributes' own types.
//
// A PlainValue is the same without an order.

#include <compare>
#include <ostream>
#include <string>
#include <string_view>
#include <tuple>

#include "platform/mav/strep.h"

namespace Mav {

/// A name that streps show, and where the attribute lies in the value.
template <class D, class M>
struct Attribute {
  constexpr Attribute(std::string_view attributeName, M D::*attributeMember)
      : name(attributeName), member(attributeMember) {}

  std::string_view name;
  M D::*member;
};

namespace Detail {

// The list is known to the compiler, which unrolls the call over it.
template <class D, class Call>
constexpr decltype(auto) withAttributes(Call const& call) {
  constexpr auto list = D::attributes();
  return std::apply(call, list);
}

void readValueHead(StrepReader& in, std::string_view typeName);
/// Reads up to the value of the next attribute; false at the closing brace.
bool readAttributeName(StrepReader& in, std::string_view shortTypeName, bool first,
                       std::string& name);
void readValueTail(StrepReader& in);
[[noreturn]] void throwNoSuchAttribute(std::string_view shortTypeName, std::string_view name);

template <class D>
void parseAttribute(StrepReader& in, D& value, std::string_view name) {
  bool const known = withAttributes<D>([&](auto const&... attribute) {
    return ((attribute.name == name && (parseStrep(in, value.*attribute.member), true)) || ...);
  });
  if (!known) throwNoSuchAttribute(shortTypeName<D>(), name);
}

inline void appendAttribute(std::string& text, std::string_view name, std::string const& strep) {
  if (!text.ends_with('{')) text += ", ";
  ((text += Mav::quoted(name)) += ": ") += strep;
}

}  // namespace Detail

template <class D>
class PlainValue {
 public:
  friend constexpr bool operator==(D const& a, D const& b) {
    return Detail::withAttributes<D>([&](auto const&... attribute) {
      return ((a.*attribute.member == b.*attribute.member) && ...);
    });
  }
  friend bool operator!(D const& value) { return value == D(); }

  friend std::string valueToStrep(D const& value) {
    std::string text = "Value(" + Mav::quoted(typeName<D>()) + ", ** {";
    Detail::withAttributes<D>([&](auto const&... attribute) {
      (Detail::appendAttribute(text, attribute.name, valueToStrep(value.*attribute.member)), ...);
    });
    return text += "})";
  }
  friend std::ostream& operator<<(std::ostream& out, D const& value) {
    return out << valueToStrep(value);
  }

  friend void parseStrep(StrepReader& in, D& value) {
    // What the text leaves out has its default, whatever `value` was before.
    value = D();
    Detail::readValueHead(in, typeName<D>());
    std::string name;
    for (bool first = true; Detail::readAttributeName(in, shortTypeName<D>(), first, name);
         first = false) {
      Detail::parseAttribute(in, value, name);
    }
    Detail::readValueTail(in);
  }
};

/// For keys, and for what is walked in order.
template <class D>
class Value : public PlainValue<D> {
 public:
  friend constexpr std::strong_ordering operator<=>(D const& a, D const& b) {
    return Detail::withAttributes<D>([&](auto const&... attribute) {
      std::strong_ordering order = std::strong_ordering::equal;
      // || ends the comparison at the first attribute that differs.
      static_cast<void>((((order = a.*attribute.member <=> b.*attribute.member) != 0) || ...));
      return order;
    });
  }
};

}  // namespace Mav
