#include "stats/counter.h"

#include <algorithm>
#include <array>

namespace Ip {

namespace {

struct NamedCounter {
  std::string_view name;
  Counter const* counter;
};

constexpr auto countersByName = [] {
#define IP_NAME_COUNTER(Class, instance, field, statName) NamedCounter{statName, &(instance)},
  std::array counters{IP_SW_FWD_COUNTERS(IP_NAME_COUNTER)};
#undef IP_NAME_COUNTER
  // Sorted while compiling: every line of /proc/net/snmp6 is looked up here.
  std::ranges::sort(counters, {}, &NamedCounter::name);
  return counters;
}();

}  // namespace

// Of some ninety lines of the file most have none: five comparisons say so.
Counter const* counter(char const* name, std::size_t length) {
  std::string_view const wanted(name, length);
  auto const* const found =
      std::ranges::lower_bound(countersByName, wanted, {}, &NamedCounter::name);
  return found != countersByName.end() && found->name == wanted ? found->counter : nullptr;
}

}  // namespace Ip
