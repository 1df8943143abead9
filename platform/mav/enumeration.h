#pragma once
// Enumerations that know their enumerators' names.
//
//   namespace IpSnmp {
//   MAV_ENUM(AddressSource, (addressSourceStatus, 0), (addressSourceConfig, 1))
//   }
//
// declares, in the current namespace, the unscoped 32-bit signed enumeration and for it:
//
//   stringValue(e)               the enumerator's name, or "AddressSource(7)"
//   AddressSourceInstance(n)     the enumerator of an unsigned number
//   AddressSourceInstance(s)     the enumerator of that very name
//   AddressSourceEnumerators     the list, in order of declaration
//   operator<<, valueToStrep     stringValue, bare and in single quotes
//   parseStrep                   from a quoted name; the form with a number does not parse
//
// Both Instance functions raise a RangeException whose text is the type's name. A number from
// outside becomes an enumerator by Instance, never by a cast: nothing is clamped or rounded.

#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <string_view>

#include <boost/preprocessor/cat.hpp>
#include <boost/preprocessor/seq/for_each.hpp>
#include <boost/preprocessor/stringize.hpp>
#include <boost/preprocessor/tuple/elem.hpp>
#include <boost/preprocessor/variadic/to_seq.hpp>

#include "platform/mav/strep.h"

namespace Mav {

struct Enumerator {
  std::int32_t value;
  std::string_view name;
};

/// One enumeration's type name and enumerators, behind the functions that MAV_ENUM declares.
struct Enumeration {
  std::string_view typeName;
  std::span<Enumerator const> enumerators;

  std::string stringValue(std::int32_t value) const;
  std::int32_t instance(std::uint32_t number) const;
  std::int32_t instance(std::string_view name) const;
};

}  // namespace Mav

// One list makes the enumerators and the table of their names: they cannot drift apart.
#define MAV_ENUM_DECLARE(r, data, pair) BOOST_PP_TUPLE_ELEM(0, pair) = BOOST_PP_TUPLE_ELEM(1, pair),
#define MAV_ENUM_LIST(r, data, pair) \
  {BOOST_PP_TUPLE_ELEM(1, pair), BOOST_PP_STRINGIZE(BOOST_PP_TUPLE_ELEM(0, pair))},

#define MAV_ENUM(Name, ...)                                                                    \
  enum Name : std::int32_t {                                                                   \
    BOOST_PP_SEQ_FOR_EACH(MAV_ENUM_DECLARE, _, BOOST_PP_VARIADIC_TO_SEQ(__VA_ARGS__))          \
  };                                                                                           \
  inline constexpr ::Mav::Enumerator Name##Enumerators[] = {                                   \
      BOOST_PP_SEQ_FOR_EACH(MAV_ENUM_LIST, _, BOOST_PP_VARIADIC_TO_SEQ(__VA_ARGS__))};         \
  inline constexpr ::Mav::Enumeration Name##Enumeration{#Name, Name##Enumerators};             \
  inline std::string stringValue(Name e) { return Name##Enumeration.stringValue(e); }          \
  inline Name Name##Instance(std::uint32_t number) {                                           \
    return static_cast<Name>(Name##Enumeration.instance(number));                              \
  }                                                                                            \
  inline Name Name##Instance(std::string_view name) {                                          \
    return static_cast<Name>(Name##Enumeration.instance(name));                                \
  }                                                                                            \
  inline std::string valueToStrep(Name e) { return "'" + stringValue(e) + "'"; }               \
  inline void parseStrep(::Mav::StrepReader& in, Name& e) { e = Name##Instance(in.quoted()); } \
  inline std::ostream& operator<<(std::ostream& out, Name e) { return out << stringValue(e); }
