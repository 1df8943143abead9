#include "agent/ip_address_reactors.h"

#include "platform/blipmark/blipmark.h"

namespace IpSnmp {

void IpAddressTableSm::MavIntfStatusDir::onIntfStatus() {
  Blipmark::Timer const blip("void IpSnmp::IpAddressTableSm::MavIntfStatusDir::onIntfStatus()");
  auto const refresh = [this](auto& reactor) {
    reactor.intfStatusIs(notifier()->intfStatus(reactor.intfId()));
  };
  sm_.ipIntfConfig_.forEach(refresh);
  sm_.ipIntfStatus_.forEach(refresh);
  sm_.ip6IntfConfig_.forEach(refresh);
  sm_.ip6IntfStatus_.forEach(refresh);
}

void IpAddressTableSm::MavConfig::onIpIntfConfig(Dovel::IntfId const& intf) {
  Blipmark::Timer const blip(
      "void IpSnmp::IpAddressTableSm::MavConfig::onIpIntfConfig(Dovel::IntfId)");
  if (auto const entity = notifier()->ipIntfConfig(intf)) {
    sm_.ipIntfConfigIs(entity);
  } else {
    sm_.ipIntfConfigDel(intf);
  }
}

void IpAddressTableSm::MavConfig::onIpIntfConfig() {
  Blipmark::Timer const blip("void IpSnmp::IpAddressTableSm::MavConfig::onIpIntfConfig()");
  for (auto i = notifier()->ipIntfConfigIterator(); i; ++i) sm_.ipIntfConfigIs(i.value());
  sm_.ipIntfConfig_.delUnless(
      [this](Dovel::IntfId const& intf) { return bool(notifier()->ipIntfConfig(intf)); });
}

void IpAddressTableSm::MavStatus::onIpIntfStatus(Dovel::IntfId const& intf) {
  Blipmark::Timer const blip(
      "void IpSnmp::IpAddressTableSm::MavStatus::onIpIntfStatus(Dovel::IntfId)");
  if (auto const entity = notifier()->ipIntfStatus(intf)) {
    sm_.ipIntfStatusIs(entity);
  } else {
    sm_.ipIntfStatusDel(intf);
  }
}

void IpAddressTableSm::MavStatus::onIpIntfStatus() {
  Blipmark::Timer const blip("void IpSnmp::IpAddressTableSm::MavStatus::onIpIntfStatus()");
  for (auto i = notifier()->ipIntfStatusIterator(); i; ++i) sm_.ipIntfStatusIs(i.value());
  sm_.ipIntfStatus_.delUnless(
      [this](Dovel::IntfId const& intf) { return bool(notifier()->ipIntfStatus(intf)); });
}

void IpAddressTableSm::MavConfig6::onIntf(Dovel::IntfId const& intf) {
  Blipmark::Timer const blip("void IpSnmp::IpAddressTableSm::MavConfig6::onIntf(Dovel::IntfId)");
  if (auto const entity = notifier()->intf(intf)) {
    sm_.ip6IntfConfigIs(entity);
  } else {
    sm_.ip6IntfConfigDel(intf);
  }
}

void IpAddressTableSm::MavConfig6::onIntf() {
  Blipmark::Timer const blip("void IpSnmp::IpAddressTableSm::MavConfig6::onIntf()");
  for (auto i = notifier()->intfIterator(); i; ++i) sm_.ip6IntfConfigIs(i.value());
  sm_.ip6IntfConfig_.delUnless(
      [this](Dovel::IntfId const& intf) { return bool(notifier()->intf(intf)); });
}

void IpAddressTableSm::MavStatus6::onIntf(Dovel::IntfId const& intf) {
  Blipmark::Timer const blip("void IpSnmp::IpAddressTableSm::MavStatus6::onIntf(Dovel::IntfId)");
  if (auto const entity = notifier()->intf(intf)) {
    sm_.ip6IntfStatusIs(entity);
  } else {
    sm_.ip6IntfStatusDel(intf);
  }
}

void IpAddressTableSm::MavStatus6::onIntf() {
  Blipmark::Timer const blip("void IpSnmp::IpAddressTableSm::MavStatus6::onIntf()");
  for (auto i = notifier()->intfIterator(); i; ++i) sm_.ip6IntfStatusIs(i.value());
  sm_.ip6IntfStatus_.delUnless(
      [this](Dovel::IntfId const& intf) { return bool(notifier()->intf(intf)); });
}

}  // namespace IpSnmp
