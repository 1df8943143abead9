#include "agent/ip_address_table_sm.h"

#include "agent/ip_address_reactors.h"
#include "agent/trace.h"
#include "platform/blipmark/blipmark.h"

namespace IpSnmp {

namespace {

// One name for both versions, so that what follows is written once.
InetAddress inetAddress(Dovel::IpAddr const& address) { return InetAddress::fromIpAddr(address); }
InetAddress inetAddress(Dovel::Ip6Addr const& address) { return InetAddress::fromIp6Addr(address); }

template <class AddrWithMask>
Mav::Ptr<IpAddressPrefixEntry const> newPrefixEntry(std::int32_t ifIndex,
                                                    AddrWithMask const& address) {
  // The local address's, also where a peer is set: `ip address add 10.0.0.1 peer 10.0.0.2/24` has
  // the prefix 10.0.0.0/24.
  auto const subnet = inetAddress(address.subnet());
  return Mav::makeObject<IpAddressPrefixEntry const>(IpAddressPrefixKey(
      static_cast<std::uint32_t>(ifIndex), subnet.version(), subnet.bytes(), address.length()));
}

IpAddressPrefixKey const& prefixKey(IntfData const& data) {
  return Mav::validPtr(data.prefixEntry())->key();
}

// The wording promises more than is done: the new length takes the place of the old one.
template <class AddrWithMask>
void tellOtherLength(IntfData const& old, AddrWithMask const& address) {
  if (old == IntfData() || prefixKey(old).length() == address.length()) return;
  MAV_TRACE_AS(agentTraceHandle(), 1, "addToIpAddressTable",
               old.key().intfId() << " already has address " << address.address()
                                  << " with prefix length " << prefixKey(old).length()
                                  << "; ignoring it");
}

// `entry` does not hold the IntfData of `key` in its new form yet.
void filePrefix(IpMib& ipMib, IpAddressEntry const& entry, IntfDataKey const& key,
                Mav::Ptr<IpAddressPrefixEntry const> const& prefix) {
  if (auto const master = entry.intfIterator()) {
    // An address shows the prefix of its first presence alone.
    if (master.key() <= key) return;
    // By key, whoever put the row there: another address may share the prefix. Its row comes back
    // when the mirror announces that one again, at the end of the slice (PrefixLedger).
    ipMib.ipAddressPrefixTableDel(prefixKey(master.value()));
  }
  ipMib.ipAddressPrefixTableIs(prefix);
}

// By identity: another address may have put a row of its own under an equal key.
void withdrawPrefix(IpMib& ipMib, IntfData const& data) {
  auto const& key = prefixKey(data);
  if (ipMib.ipAddressPrefixTable(key) == data.prefixEntry()) ipMib.ipAddressPrefixTableDel(key);
}

template <class Reactor>
void handIntfStatus(Reactor const& reactor, Mav::Ptr<Interface::IntfStatus const> const& status) {
  // An interface need not have addresses of both versions, nor on both sides.
  if (reactor) reactor->intfStatusIs(status);
}

}  // namespace

IpAddressTableSm::IpAddressTableSm(Mav::Ptr<Mav::ActivityConfig> activityConfig,
                                   Mav::Ptr<Interface::AllIntfStatusDir const> intfStatusDir,
                                   Mav::Ptr<IpMib> ipMib, Mav::Ptr<Ip::Config const> config,
                                   Mav::Ptr<Ip::Status const> status,
                                   Mav::Ptr<Ip6::Config const> config6,
                                   Mav::Ptr<Ip6::Status const> status6)
    : activityConfig_(std::move(activityConfig)), ipMib_(std::move(ipMib)) {
  inputIs(*this, mavIntfStatusDir_, std::move(intfStatusDir));
  if (ipMib_) mavIpMib_ = std::make_unique<MavIpMib>(ipMib_);
  // Last: the reactors that this makes ask for interface statuses, and file into the cache, at
  // once.
  watch(mavConfig_, ipIntfConfig_, std::move(config));
  watch(mavStatus_, ipIntfStatus_, std::move(status));
  watch(mavConfig6_, ip6IntfConfig_, std::move(config6));
  watch(mavStatus6_, ip6IntfStatus_, std::move(status6));
}

// Registers before the first pass: what comes while that runs is heard.
template <class Reactor, class IntfReactor, class Dir>
void IpAddressTableSm::watch(std::unique_ptr<Reactor>& reactor, ReactorSet<IntfReactor>& intfs,
                             Mav::Ptr<Dir const> dir) {
  if (!dir) return;
  reactor = std::make_unique<Reactor>(*this, intfs, std::move(dir));
  reactor->handleIntf();
}

// The reactors first: a caller may hold one for longer, and its back pointer must not outlive this.
IpAddressTableSm::~IpAddressTableSm() {
  configDel();
  statusDel();
  config6Del();
  status6Del();
}

Mav::Ptr<Interface::AllIntfStatusDir const> IpAddressTableSm::intfStatusDir() const {
  return notifierOf(mavIntfStatusDir_);
}
Mav::Ptr<Ip::Config const> IpAddressTableSm::config() const { return notifierOf(mavConfig_); }
Mav::Ptr<Ip::Status const> IpAddressTableSm::status() const { return notifierOf(mavStatus_); }
Mav::Ptr<Ip6::Config const> IpAddressTableSm::config6() const { return notifierOf(mavConfig6_); }
Mav::Ptr<Ip6::Status const> IpAddressTableSm::status6() const { return notifierOf(mavStatus6_); }

// The reactors keep the statuses that they hold: what is filed stays, and later addresses are
// filed.
void IpAddressTableSm::intfStatusDirDel() { mavIntfStatusDir_.reset(); }

void IpAddressTableSm::ipMibDel() {
  mavIpMib_.reset();
  ipMib_.reset();
}

void IpAddressTableSm::configDel() {
  // Nothing is heard any more when its reactors go, so that none is made again; so the next three.
  mavConfig_.reset();
  ipIntfConfigDelAll();
}

void IpAddressTableSm::statusDel() {
  mavStatus_.reset();
  ipIntfStatusDelAll();
}

void IpAddressTableSm::config6Del() {
  mavConfig6_.reset();
  ip6IntfConfigDelAll();
}

void IpAddressTableSm::status6Del() {
  mavStatus6_.reset();
  ip6IntfStatusDelAll();
}

Mav::Ptr<IpAddressTableSm::MavIpIntfConfig> IpAddressTableSm::ipIntfConfig(
    Dovel::IntfId const& intf) const {
  return ipIntfConfig_.get(intf);
}
void IpAddressTableSm::ipIntfConfigIs(Mav::Ptr<Ip::IpIntfConfig const> const& entity) {
  ipIntfConfig_.is(*this, entity);
}
void IpAddressTableSm::ipIntfConfigDel(Dovel::IntfId const& intf) { ipIntfConfig_.del(intf); }
void IpAddressTableSm::ipIntfConfigDelAll() { ipIntfConfig_.delAll(); }

Mav::Ptr<IpAddressTableSm::MavIpIntfStatus> IpAddressTableSm::ipIntfStatus(
    Dovel::IntfId const& intf) const {
  return ipIntfStatus_.get(intf);
}
void IpAddressTableSm::ipIntfStatusIs(Mav::Ptr<Ip::IpIntfStatus const> const& entity) {
  ipIntfStatus_.is(*this, entity);
}
void IpAddressTableSm::ipIntfStatusDel(Dovel::IntfId const& intf) { ipIntfStatus_.del(intf); }
void IpAddressTableSm::ipIntfStatusDelAll() { ipIntfStatus_.delAll(); }

Mav::Ptr<IpAddressTableSm::MavIp6IntfConfig> IpAddressTableSm::ip6IntfConfig(
    Dovel::IntfId const& intf) const {
  return ip6IntfConfig_.get(intf);
}
void IpAddressTableSm::ip6IntfConfigIs(Mav::Ptr<Ip6::IntfConfig const> const& entity) {
  ip6IntfConfig_.is(*this, entity);
}
void IpAddressTableSm::ip6IntfConfigDel(Dovel::IntfId const& intf) { ip6IntfConfig_.del(intf); }
void IpAddressTableSm::ip6IntfConfigDelAll() { ip6IntfConfig_.delAll(); }

Mav::Ptr<IpAddressTableSm::MavIp6IntfStatus> IpAddressTableSm::ip6IntfStatus(
    Dovel::IntfId const& intf) const {
  return ip6IntfStatus_.get(intf);
}
void IpAddressTableSm::ip6IntfStatusIs(Mav::Ptr<Ip6::IntfStatus const> const& entity) {
  ip6IntfStatus_.is(*this, entity);
}
void IpAddressTableSm::ip6IntfStatusDel(Dovel::IntfId const& intf) { ip6IntfStatus_.del(intf); }
void IpAddressTableSm::ip6IntfStatusDelAll() { ip6IntfStatus_.delAll(); }

Mav::Ptr<Interface::IntfStatus const> IpAddressTableSm::intfStatus(
    Dovel::IntfId const& intf) const {
  return mavIntfStatusDir_ ? mavIntfStatusDir_->notifier()->intfStatus(intf) : nullptr;
}

void IpAddressTableSm::handleIntfStatus(Dovel::IntfId intf) {
  constexpr auto signature = "void IpSnmp::IpAddressTableSm::handleIntfStatus(Dovel::IntfId)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << intf);
  // Read once for all four: they are to hold the same object, or none.
  auto const status = intfStatus(intf);
  handIntfStatus(ipIntfConfig_.get(intf), status);
  handIntfStatus(ipIntfStatus_.get(intf), status);
  handIntfStatus(ip6IntfConfig_.get(intf), status);
  handIntfStatus(ip6IntfStatus_.get(intf), status);
}

template <class AddrWithMask>
Mav::Ptr<IpAddressEntry> IpAddressTableSm::addToIpAddressTable(IntfDataKey const& key,
                                                               std::int32_t ifIndex,
                                                               AddrWithMask const& address) {
  // 0.0.0.0 is an interface without address; one without ifIndex has no row to stand in yet.
  if (address.address().isUnspecified() || ifIndex < 1) return nullptr;
  auto const ipMib = Mav::validPtr(ipMib_);
  auto entry = Mav::validPtr(ipMib->ipAddressTableIs(inetAddress(address.address())));
  // A new object each time, equal key or not: it is by this one that the presence withdraws its
  // row.
  auto const prefix = newPrefixEntry(ifIndex, address);
  tellOtherLength(entry->intf(key), address);
  filePrefix(*ipMib, *entry, key, prefix);
  // Behind the prefix row: filePrefix() has to see who was first without it.
  entry->intfIs(IntfData(key, prefix));
  return entry;
}

bool IpAddressTableSm::delFromIpAddressTable(IntfDataKey const& key, InetAddress const& address) {
  auto const ipMib = Mav::validPtr(ipMib_);
  // A presence that was never filed (0.0.0.0, no ifIndex yet) is withdrawn like any other.
  auto const entry = ipMib->ipAddressTable(address);
  if (!entry) return false;
  if (auto const data = entry->intf(key); data != IntfData()) {
    // Prefix row, presence, then whatever is first now: at the end of the notification the tables
    // agree, and no request comes in between.
    withdrawPrefix(*ipMib, data);
    entry->intfDel(key);
  }
  if (auto const master = entry->intfIterator()) {
    // Another presence is the first by now: its prefix gets the row.
    ipMib->ipAddressPrefixTableIs(Mav::validPtr(master.value().prefixEntry()));
    return false;
  }
  ipMib->ipAddressTableDel(address);
  return true;
}

void IpAddressTableSm::doAddAddr(Dovel::IntfId intf, AddressSource source, std::int32_t ifIndex,
                                 Dovel::IpAddrWithMask const& address) {
  constexpr auto signature =
      "void IpSnmp::IpAddressTableSm::doAddAddr(Dovel::IntfId, IpSnmp::AddressSource, S32, "
      "const Dovel::IpAddrWithMask&)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8,
            signature << " for " << intf << " from " << source << ", " << address);
  auto const entry = addToIpAddressTable(IntfDataKey(source, intf), ifIndex, address);
  // ipAddrTable, older, has the IPv4 addresses alone, and reads them from this entry.
  if (entry) ipMib_->ipAddrTableIs(entry);
}

void IpAddressTableSm::doDelAddr(Dovel::IntfId intf, AddressSource source,
                                 Dovel::IpAddrWithMask const& address) {
  constexpr auto signature =
      "void IpSnmp::IpAddressTableSm::doDelAddr(Dovel::IntfId, IpSnmp::AddressSource, "
      "const Dovel::IpAddrWithMask&)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8,
            signature << " for " << intf << " from " << source << ", " << address);
  auto const addr = address.address();
  // ipAddrTable reads through the entry: it loses its row when the entry goes, and not before.
  if (delFromIpAddressTable(IntfDataKey(source, intf), inetAddress(addr))) {
    ipMib_->ipAddrTableDel(addr);
  }
}

void IpAddressTableSm::doAddAddr6(Dovel::IntfId intf, AddressSource source, std::int32_t ifIndex,
                                  Dovel::Ip6AddrWithMask const& address) {
  constexpr auto signature =
      "void IpSnmp::IpAddressTableSm::doAddAddr6(Dovel::IntfId, IpSnmp::AddressSource, S32, "
      "const Dovel::Ip6AddrWithMask&)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << intf << ", " << address);
  addToIpAddressTable(IntfDataKey(source, intf), ifIndex, address);
}

void IpAddressTableSm::doDelAddr6(Dovel::IntfId intf, AddressSource source,
                                  Dovel::Ip6AddrWithMask const& address) {
  constexpr auto signature =
      "void IpSnmp::IpAddressTableSm::doDelAddr6(Dovel::IntfId, IpSnmp::AddressSource, "
      "const Dovel::Ip6AddrWithMask&)";
  Blipmark::Timer const blip(signature);
  MAV_TRACE(agentTraceHandle(), 8, signature << " for " << intf << ", " << address);
  delFromIpAddressTable(IntfDataKey(source, intf), inetAddress(address.address()));
}

}  // namespace IpSnmp
