#pragma once
// Counters as objects: each knows one field of SwFwdStatsData, so that the reader of a file of
// names and values goes from a name to the field that it sets. They have no state; the one instance
// of each lives as long as the program.
//
// Tables of pointers to them cost nothing at run time to build; a switch over names would have to
// be kept beside the list of fields.

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "stats/sw_fwd_counter_list.h"
#include "stats/sw_fwd_stats_data.h"

namespace Ip {

class Counter {
 public:
  virtual std::uint64_t read(SwFwdStatsData const& data) const = 0;
  virtual void write(SwFwdStatsData& data, std::uint64_t value) const = 0;
  /// The field's name, such as "inReceives".
  virtual std::string_view name() const = 0;

 protected:
  ~Counter() = default;
};

#define IP_DECLARE_COUNTER(Class, instance, field, statName)                               \
  class Class final : public Counter {                                                     \
   public:                                                                                 \
    std::uint64_t read(SwFwdStatsData const& data) const override { return data.field(); } \
    void write(SwFwdStatsData& data, std::uint64_t value) const override {                 \
      data.field##Is(value);                                                               \
    }                                                                                      \
    std::string_view name() const override { return #field; }                              \
  };                                                                                       \
  inline constexpr Class instance{};
IP_SW_FWD_COUNTERS(IP_DECLARE_COUNTER)
#undef IP_DECLARE_COUNTER

/// The counter that a name of /proc/net/snmp6 sets ("Ip6InReceives"), or null.
Counter const* counter(char const* name, std::size_t length);

}  // namespace Ip
