#pragma once
// A device made of plain entities, the state machine on top, and what its tables show as text.

#include "agent/ip6_intf_reactor.h"
#include "agent/ip_address_reactors.h"
#include "agent/ip_intf_reactor.h"
#include "model/typed_inet_address.h"
#include "tests/agent/device_fixture.h"

class AddressFixture : public DeviceFixture {
 protected:
  static Dovel::IpAddrWithMask v4(std::string_view text) { return Dovel::IpAddrWithMask(text); }
  static Dovel::Ip6AddrWithMask v6(std::string_view text) { return Dovel::Ip6AddrWithMask(text); }

  Mav::Ptr<IpSnmp::IpAddressTableSm> newSm() {
    return Mav::makeObject<IpSnmp::IpAddressTableSm>(activityConfig_, dir_, ipMib_, config_,
                                                     status_, config6_, status6_);
  }

  /// "IFINDEX PREFIX/LENGTH".
  Texts prefixes() const {
    Texts texts;
    for (auto row = ipMib_->ipAddressPrefixTableIterator(); row; ++row) {
      texts.push_back(std::to_string(row.key().ifIndex()) + " " +
                      addressText(row.key().version(), row.key().bytes()) + "/" +
                      std::to_string(row.key().length()));
    }
    return texts;
  }

  /// "ADDRESS IFINDEX INTERFACE...", the master first, an interface of the configuration in
  /// brackets.
  Texts addresses() const {
    Texts texts;
    for (auto row = ipMib_->ipAddressTableIterator(); row; ++row) {
      std::string text = addressText(row.key().version(), row.key().bytes()) + " " +
                         std::to_string(row->ifIndex());
      for (auto intf = row->intfIterator(); intf; ++intf) {
        auto const name = intf.key().intfId().stringValue();
        bool const configured = intf.key().source() == IpSnmp::addressSourceConfig;
        text += configured ? " (" + name + ")" : " " + name;
      }
      texts.push_back(text);
    }
    return texts;
  }

  /// "ADDRESS IFINDEX MASK" of ipAddrTable.
  Texts oldTable() const {
    Texts texts;
    for (auto row = ipMib_->ipAddrTableIterator(); row; ++row) {
      texts.push_back(row.key().stringValue() + " " + std::to_string(row->ipAdEntIfIndex()) + " " +
                      row->ipAdEntNetMask().stringValue());
    }
    return texts;
  }

  static std::string addressText(Ip::IpVersion version, Snmp::String const& bytes) {
    return IpSnmp::TypedInetAddress(unsigned(version), {bytes.data(), bytes.size()}).stringValue();
  }

  Mav::Activity activity_;
  Mav::Ptr<Mav::ActivityConfig> activityConfig_ = Mav::makeObject<Mav::ActivityConfig>(activity_);
  Mav::Ptr<IpSnmp::IpMib> ipMib_ = Mav::makeObject<IpSnmp::IpMib>("ipmib");
  Mav::Ptr<Ip::Config> config_ = Mav::makeObject<Ip::Config>();
  Mav::Ptr<Ip::Status> status_ = Mav::makeObject<Ip::Status>();
  Mav::Ptr<Ip6::Config> config6_ = Mav::makeObject<Ip6::Config>();
  Mav::Ptr<Ip6::Status> status6_ = Mav::makeObject<Ip6::Status>();
};
