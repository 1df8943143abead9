#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <linux/if_addr.h>

#include "kelbase/netlink/address_decoder.h"
#include "kelbase/netlink/link_decoder.h"
#include "kelbase/netlink/model_source.h"
#include "kelbase/publish/address_rows.h"
#include "kelbase/publish/on_links_view.h"
#include "platform/dovel/addr_with_mask.h"
#include "tests/kelbase/netlink_builder.h"

namespace Kelbase {
namespace {

using Dovel::IntfId;

class AddressesTest : public testing::Test {
 protected:
  void link(int index, std::string_view name) {
    linkSource_.receive(linkMessage(RTM_NEWLINK, index).text(IFLA_IFNAME, name).message());
  }
  void linkGone(int index) { linkSource_.receive(linkMessage(RTM_DELLINK, index).message()); }

  static NetlinkBuilder message4(unsigned index, char const* addr, unsigned flags = 0) {
    Dovel::IpAddrWithMask const parsed{std::string_view(addr)};
    return addressMessage(RTM_NEWADDR, AF_INET, index, parsed.length(), flags)
        .value(IFA_ADDRESS, parsed.address().octets())
        .value(IFA_LOCAL, parsed.address().octets());
  }
  void address(unsigned index, char const* addr) {
    source4_.receive(message4(index, addr).message());
  }
  static Address4Row::Table::Key key(char const* link, char const* addr) {
    Dovel::IpAddrWithMask const parsed{std::string_view(addr)};
    return {IntfId(link), parsed.address(), static_cast<std::uint8_t>(parsed.length()),
            parsed.address()};
  }
  bool has(char const* link, char const* addr) const {
    return view4_.find(key(link, addr)).has_value();
  }

  Links links_;
  Addresses4 addresses4_{links_};
  Addresses6 addresses6_{links_};
  OnLinksView<Address4Row> view4_{links_, addresses4_};
  OnLinksView<Address6Row> view6_{links_, addresses6_};
  ModelSource<LinkDecoder, Links> linkSource_{links_};
  ModelSource<Address4Decoder, Addresses4> source4_{addresses4_};
  ModelSource<Address6Decoder, Addresses6> source6_{addresses6_};
};

TEST_F(AddressesTest, AddressesGoByTheNameOfTheirLinkAndGoWithIt) {
  address(2, "10.0.0.1/24");
  EXPECT_FALSE(has("a", "10.0.0.1/24"));
  link(2, "a");
  EXPECT_TRUE(has("a", "10.0.0.1/24"));
  link(2, "c");
  EXPECT_FALSE(has("a", "10.0.0.1/24"));
  EXPECT_TRUE(has("c", "10.0.0.1/24"));
  link(3, "c");  // the rename of link 2 was lost
  EXPECT_FALSE(has("c", "10.0.0.1/24"));
  link(2, "d");
  EXPECT_TRUE(has("d", "10.0.0.1/24"));
  linkGone(2);
  EXPECT_EQ(addresses4_.size(), 0U);
  link(2, "e");
  EXPECT_FALSE(has("e", "10.0.0.1/24"));
}

TEST_F(AddressesTest, LabelAndFlagsAreKept) {
  link(2, "a");
  source4_.receive(message4(2, "10.0.0.1/24", IFA_F_SECONDARY).text(IFA_LABEL, "a:1").message());
  EXPECT_EQ(*view4_.find(key("a", "10.0.0.1/24")),
            (Pondo::Address4Table::Record{IntfId("a:1"), true}));
  Dovel::Ip6Addr const addr("2001:db8::1");
  Dovel::Ip6Addr const other("2001:db8::2");
  auto message = addressMessage(RTM_NEWADDR, AF_INET6, 2, 128, IFA_F_TENTATIVE);
  message.value(IFA_ADDRESS, other.octets()).value(IFA_LOCAL, addr.octets());
  source6_.receive(message.message());
  EXPECT_TRUE(view6_.find({IntfId("a"), addr})->tentative);
  // The long flags count where they are told.
  message.value(IFA_FLAGS, std::uint32_t{IFA_F_DEPRECATED | IFA_F_NOPREFIXROUTE});
  source6_.receive(message.message());
  EXPECT_EQ(*view6_.find({IntfId("a"), addr}),
            (Pondo::Address6Table::Record{128, other, false, false, true}));
  source4_.receive(message.message());  // the other version's
  EXPECT_EQ(addresses4_.size(), 1U);
}

TEST_F(AddressesTest, ABadMessageChangesNothing) {
  link(2, "a");
  auto const rejects = [this](NetlinkBuilder const& message, char const* why) {
    EXPECT_THAT([&] { source4_.receive(message.message()); },
                testing::ThrowsMessage<BadMessage>(why));
  };
  rejects(addressMessage(RTM_NEWADDR, AF_INET, 0, 8),
          "RTM_NEWADDR: interface index 0, expected 1 or more");
  rejects(addressMessage(RTM_NEWADDR, AF_INET, 2, 8),
          "RTM_NEWADDR: 0.0.0.0 is no interface's address");
  rejects(addressMessage(RTM_NEWADDR, AF_INET, 2, 8).value(IFA_LOCAL, std::uint16_t{1}),
          "RTM_NEWADDR: IFA_LOCAL: 2 bytes, expected 4");
  rejects(addressMessage(RTM_NEWADDR, AF_INET, 2, 33).value(IFA_LOCAL, std::uint32_t{1}),
          "RTM_NEWADDR: prefix length 33, expected 0 to 32");
  EXPECT_THROW(source6_.receive(addressMessage(RTM_NEWADDR, AF_INET6, 2, 64).message()),
               BadMessage);
  EXPECT_EQ(addresses4_.size() + addresses6_.size(), 0U);
}

}  // namespace
}  // namespace Kelbase
