#pragma once
// A snapshot of the kernel's IP counters of one version: 27 unsigned 64-bit numbers, 0 at first.
// Which of them the kernel has for which version is the reader's business (stats_scan.h).
//
// The fields are those of IP_SW_FWD_FIELDS. Each has an accessor and a mutator, inReceives() and
// inReceivesIs(value), with which a reader fills its working copy.
//
// A value of some 200 octets, copied as it stands. What reads a file works on a copy, so that a
// read that fails half-way leaves no half of a snapshot.

#include <cstdint>
#include <tuple>

#include <boost/preprocessor/cat.hpp>
#include <boost/preprocessor/seq/enum.hpp>
#include <boost/preprocessor/seq/for_each.hpp>
#include <boost/preprocessor/seq/transform.hpp>
#include <boost/preprocessor/stringize.hpp>
#include <boost/preprocessor/variadic/to_seq.hpp>

#include "platform/mav/value.h"
#include "stats/sw_fwd_counter_list.h"

#define IP_MEMBER(field) BOOST_PP_CAT(field, _)
#define IP_DECLARE_FIELD(r, data, field)                                                    \
 public:                                                                                    \
  constexpr std::uint64_t field() const { return IP_MEMBER(field); }                        \
  constexpr void BOOST_PP_CAT(field, Is)(std::uint64_t value) { IP_MEMBER(field) = value; } \
                                                                                            \
 private:                                                                                   \
  std::uint64_t IP_MEMBER(field) = 0;
#define IP_FIELD_ATTRIBUTE(s, Data, field) \
  Mav::Attribute(BOOST_PP_STRINGIZE(field), &Data::IP_MEMBER(field))

namespace Ip {

class SwFwdStatsData : public Mav::PlainValue<SwFwdStatsData> {
 public:
  SwFwdStatsData() = default;
  /// Parses the printed form; `from` is moved behind it.
  SwFwdStatsData(char const*& from, char const* to)
      : SwFwdStatsData(Mav::parsedStrep<SwFwdStatsData>(from, to)) {}

  /// In the order of the fields, in which a value is printed and parsed.
  static constexpr auto attributes() {
    return std::tuple{BOOST_PP_SEQ_ENUM(BOOST_PP_SEQ_TRANSFORM(
        IP_FIELD_ATTRIBUTE, SwFwdStatsData, BOOST_PP_VARIADIC_TO_SEQ(IP_SW_FWD_FIELDS)))};
  }

  BOOST_PP_SEQ_FOR_EACH(IP_DECLARE_FIELD, _, BOOST_PP_VARIADIC_TO_SEQ(IP_SW_FWD_FIELDS))
};

}  // namespace Ip

#undef IP_FIELD_ATTRIBUTE
#undef IP_DECLARE_FIELD
#undef IP_MEMBER
