#include "kelbase/ctl/load_batch.h"

#include <algorithm>
#include <cctype>
#include <limits>
#include <optional>
#include <vector>

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <net/if.h>
#include <system_error>

#include "kelbase/ctl/ip_fields.h"
#include "kelbase/ctl/line_source.h"

namespace Kelbase::Ctl {
namespace {

using Pondo::Family;

bool has(std::vector<std::string_view> const& names, std::string_view name) {
  return std::ranges::find(names, name) != names.end();
}

/// Nothing for MPLS, which `ip netconf` lists too.
std::optional<Family> family(Fields const& fields) {
  constexpr std::string_view expected = R"("inet", "inet6" or "mpls")";
  std::string const& name = fields.text("family", expected);
  if (name == "inet") return Family::ipv4;
  if (name == "inet6") return Family::ipv6;
  if (name != "mpls") fields.failExpected("family", expected);
  return std::nullopt;
}

template <class Addr>
Addr address(Fields const& fields, std::string_view name) {
  auto const addr = ipAddress<Addr>(fields, name);
  if (name == "local" && addr.isUnspecified())
    fields.failExpected(name, "an address that an interface can have");
  return addr;
}

template <class Addr>
std::uint8_t prefixLength(Fields const& fields) {
  return static_cast<std::uint8_t>(fields.wholeNumber("prefixlen", 0, Addr::bits));
}

Dovel::IntfId label(Fields const& fields) {
  static std::string const expected = fmt::format("a label of at most {} bytes", IFNAMSIZ - 1);
  if (!fields.has("label")) return {};
  std::string const& text = fields.text("label", expected);
  if (text.size() >= IFNAMSIZ || text.find('\0') != text.npos) {
    fields.failExpected("label", expected);
  }
  return Dovel::IntfId(text);
}

/// Nothing where there is none, or one of another kind of link.
std::optional<Dovel::EthAddr> ethAddrOf(Fields const& fields) {
  if (!fields.has("lladdr")) return std::nullopt;
  try {
    return Dovel::EthAddr(std::string_view(fields.text("lladdr", "a link address")));
  } catch (Mav::RangeException const&) {
    return std::nullopt;
  }
}

[[noreturn]] void failToldOtherwise(Fields const& fields, std::string const& local,
                                    Dovel::IntfId const& link) {
  fields.fail("local", fmt::format("{} of \"{}\" was told otherwise before", local, link.name()));
}

}  // namespace

struct LoadBatch::Kind {
  std::string_view command;  // that prints it
  std::string_view marker;   // the field that tells it from the kinds after it
  bool (LoadBatch::*take)(Fields const&);
};

LoadBatch::Kind const LoadBatch::kinds[] = {
    {"ip -json address", "addr_info", &LoadBatch::takeAddress},
    {"ip -json link", "ifname", &LoadBatch::takeLink},
    {"ip -json netconf", "interface", &LoadBatch::takeNetconf},
    {"ip -json neighbour", "state", &LoadBatch::takeNeighbour},
    {"ip -json -details route", "dst", &LoadBatch::takeRoute},
    {"ip -json nexthop", "id", &LoadBatch::takeNexthop},
};

std::string LoadBatch::kindList() {
  std::vector<std::string> commands;
  for (Kind const& kind : kinds) commands.push_back(fmt::format("'{}'", kind.command));
  return fmt::format("known are the outputs of {}", fmt::join(commands, ", "));
}

/// Each array of a file is of one kind, told by its first object.
class LoadBatch::FileVisitor : public IpJsonVisitor {
 public:
  FileVisitor(LoadBatch& batch, std::string_view file) : batch_(batch), file_(file) {}

  void onArray() override { kind_ = nullptr; }

  void onObject(Node const& object) override {
    if (object.children.empty()) return;
    Fields const fields(object, file_);
    if (!kind_) kind_ = &kindOf(fields, object.line);
    if ((batch_.*kind_->take)(fields)) toldSomething_ = true;
  }

  bool toldSomething() const { return toldSomething_; }

 private:
  Kind const& kindOf(Fields const& fields, int line) const {
    for (Kind const& kind : kinds) {
      if (fields.has(kind.marker)) return kind;
    }
    throw LoadException(fmt::format("{}:{}: of no known kind; {}", file_, line, kindList()));
  }

  LoadBatch& batch_;
  std::string_view file_;
  Kind const* kind_ = nullptr;
  bool toldSomething_ = false;
};

void LoadBatch::read(std::istream& in, std::string_view file,
                     std::function<void(std::uint64_t)> const& onBlock) {
  FileVisitor visitor(*this, file);
  try {
    LineSource source(in, onBlock);
    readIpJson(source, file, visitor);
  } catch (std::system_error const& e) {
    throw LoadException(fmt::format("{}: cannot be read: {}", file, e.code().message()));
  }
  if (!visitor.toldSomething()) {
    throw LoadException(fmt::format("{}: holds nothing to load; {}", file, kindList()));
  }
}

void LoadBatch::check() const {
  for (auto const& [ipVersion, place] : familyPlaces_) {
    if (forwarding_.contains(ipVersion)) continue;
    throw LoadException(fmt::format(
        R"({}: interface: no object for "all" of family "{}" (made by 'ip netconf show dev'?))",
        place, ipVersion == Family::ipv4 ? "inet" : "inet6"));
  }
  if (routes_.tellsNexthops() && !routes_.tellsRoutes()) {
    throw LoadException(fmt::format(
        "{}: id: nexthop objects without routes; load the output of 'ip -json -details route' too",
        routes_.nexthopPlace()));
  }
}

bool LoadBatch::takeAddress(Fields const& fields) {
  // With a family, `ip address` leaves out the links that have no address of it, and prints no
  // link_type for the others: loading it would remove links that are there.
  if (!fields.has("link_type")) {
    fields.fail("link_type",
                "missing: 'ip -4 address' and 'ip -6 address' leave links out; "
                "load the output of 'ip -json address'");
  }
  takeLink(fields);
  tellsAddresses_ = true;
  Dovel::IntfId const link = interfaceName(fields, "ifname");
  for (Fields const& address : fields.objects("addr_info")) {
    if (address.empty()) continue;
    auto const ipVersion = family(address);
    if (ipVersion == Family::ipv4) takeAddress4(link, address);
    if (ipVersion == Family::ipv6) takeAddress6(link, address);
  }
  return true;
}

void LoadBatch::takeAddress4(Dovel::IntfId const& link, Fields const& fields) {
  auto const local = address<Dovel::IpAddr>(fields, "local");
  Addresses4::key_type const key{
      link, local, prefixLength<Dovel::IpAddr>(fields),
      fields.has("address") ? address<Dovel::IpAddr>(fields, "address") : local};
  Addresses4::mapped_type const record{label(fields), fields.flag("secondary")};
  auto const [told, added] = addresses4_.emplace(key, record);
  if (!added && !(told->second == record)) failToldOtherwise(fields, local.stringValue(), link);
}

void LoadBatch::takeAddress6(Dovel::IntfId const& link, Fields const& fields) {
  auto const local = address<Dovel::Ip6Addr>(fields, "local");
  Addresses6::mapped_type const record{
      .length = prefixLength<Dovel::Ip6Addr>(fields),
      .peer = fields.has("address") ? address<Dovel::Ip6Addr>(fields, "address") : local,
      .tentative = fields.flag("tentative"),
      .dadFailed = fields.flag("dadfailed"),
      .deprecated = fields.flag("deprecated")};
  auto const [told, added] = addresses6_.emplace(Addresses6::key_type{link, local}, record);
  if (!added && !(told->second == record)) failToldOtherwise(fields, local.stringValue(), link);
}

bool LoadBatch::takeLink(Fields const& fields) {
  Dovel::IntfId const name = interfaceName(fields, "ifname");
  auto const flags = fields.names("flags");
  Pondo::LinkTable::Record record;
  record.ifIndex = static_cast<std::int32_t>(
      fields.wholeNumber("ifindex", 1, std::numeric_limits<std::int32_t>::max()));
  record.adminUp = has(flags, "UP");
  record.operUp = record.adminUp && !has(flags, "NO-CARRIER");

  auto const [link, added] = links_.emplace(name, record);
  if (!added) {
    if (link->second == record) return true;
    fields.fail("ifname",
                fmt::format(R"("{}" was told otherwise at {})", name.name(), linkPlaces_.at(name)));
  }
  auto const [owner, free] = linksByIndex_.emplace(record.ifIndex, name);
  if (!free) {
    fields.fail("ifindex", fmt::format(R"({} is the index of "{}" at {})", record.ifIndex,
                                       owner->second.name(), linkPlaces_.at(owner->second)));
  }
  linkPlaces_.emplace(name, fields.place("ifname"));
  return true;
}

bool LoadBatch::takeNetconf(Fields const& fields) {
  auto const ipVersion = family(fields);
  std::string const& interface = fields.text("interface", "the name of an interface");
  if (!ipVersion) return false;
  familyPlaces_.emplace(*ipVersion, fields.place("interface"));
  Pondo::ForwardingTable::Record const record{.routing = fields.boolean("forwarding")};
  if (interface != "all") return true;

  auto const [told, added] = forwarding_.emplace(*ipVersion, record);
  if (!added && !(told->second == record)) {
    fields.fail("forwarding",
                fmt::format("was told otherwise at {}", forwardingPlaces_.at(*ipVersion)));
  }
  forwardingPlaces_.emplace(*ipVersion, fields.place("forwarding"));
  return true;
}

bool LoadBatch::takeNeighbour(Fields const& fields) {
  tellsNeighbours_ = true;
  constexpr std::string_view expected = "an IP address";
  if (fields.text("dst", expected).find(':') != std::string::npos) return true;
  Neighbours::key_type const key{interfaceName(fields, "dev"),
                                 ipAddress<Dovel::IpAddr>(fields, "dst")};
  auto const states = fields.names("state");
  bool const isUsable = std::ranges::none_of(states, [](auto state) {
    return state == "FAILED" || state == "INCOMPLETE" || state == "NOARP";
  });
  auto const ethAddr = ethAddrOf(fields);
  if (!isUsable || !ethAddr) return true;
  Neighbours::mapped_type const record{*ethAddr, has(states, "PERMANENT")};
  auto const [told, added] = neighbours_.emplace(key, record);
  if (!added && !(told->second == record)) {
    fields.fail("dst", fmt::format("{} of \"{}\" was told otherwise before", key.addr.stringValue(),
                                   key.link.name()));
  }
  return true;
}

}  // namespace Kelbase::Ctl
