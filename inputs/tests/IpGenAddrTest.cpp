// SPDX-License-Identifier: MIT
/// IPv4 and IPv6 addresses.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <arpa/inet.h>

#include <random>
#include <sstream>
#include <vector>

#include "inputs/lanu/IpGenAddr.h"

namespace {

using namespace std::string_literals;
using Family = Lanu::IpGenAddr::Family;
using Lanu::IpGenAddr;
using testing::ThrowsMessage;

TEST(IpGenAddrTest, ipv4AddressesHaveFourOctetsInNetworkOrder) {
   auto const address = IpGenAddr::fromText("10.0.12.2");
   EXPECT_EQ(address.family(), Family::ipv4);
   EXPECT_EQ(address.octets(), "\x0a\x00\x0c\x02"s.substr(0, 4));
   EXPECT_EQ(address, IpGenAddr::ipv4({10, 0, 12, 2}));
   EXPECT_EQ(address.valueToStrep(), "10.0.12.2");
}

TEST(IpGenAddrTest, aNumberInHostOrderIsAnIpv4Address) {
   EXPECT_EQ(IpGenAddr::fromHostOrder(167772161).valueToStrep(), "10.0.0.1");
   EXPECT_EQ(IpGenAddr::fromHostOrder(0).valueToStrep(), "0.0.0.0");
   EXPECT_EQ(IpGenAddr::fromHostOrder(0xffffffffU).valueToStrep(), "255.255.255.255");
   EXPECT_EQ(ntohl(IpGenAddr::fromText("10.0.0.1").ip4NetworkOrder()), 167772161U);
}

TEST(IpGenAddrTest, ipv6AddressesHaveSixteenOctets) {
   auto const address = IpGenAddr::fromText("2001:DB8:0:0:0:0:0:1");
   EXPECT_EQ(address.family(), Family::ipv6);
   EXPECT_EQ(address.octets().size(), 16U);
   EXPECT_EQ(address.octets().substr(0, 4), "\x20\x01\x0d\xb8");
   EXPECT_EQ(address, IpGenAddr::ipv6({0x20, 0x01, 0x0d, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}));
   EXPECT_EQ(address.valueToStrep(), "2001:db8::1");
   EXPECT_EQ(address.ip4NetworkOrder(), 0U);
}

TEST(IpGenAddrTest, aDefaultMadeAddressIsNone) {
   EXPECT_EQ(IpGenAddr().family(), Family::none);
   EXPECT_EQ(IpGenAddr().octets(), "");
   EXPECT_EQ(IpGenAddr().ip4NetworkOrder(), 0U);
   EXPECT_EQ(IpGenAddr().valueToStrep(), "none");
   EXPECT_NE(IpGenAddr(), IpGenAddr::fromText("0.0.0.0"));
   EXPECT_NE(IpGenAddr::fromText("::"), IpGenAddr::fromText("0.0.0.0"));
}

TEST(IpGenAddrTest, otherTextsAreRefused) {
   for (std::string const& text :
        {""s, "none"s, "10.0.0"s, "10.0.0.1.2"s, "10.0.0.256"s, "10.0.0.-1"s, " 10.0.0.1"s, "10.0.0.1 "s, "10.0.0.01"s,
         "10.0.0.1/32"s, "0x0a000001"s, "167772161"s, "2001:db8"s, "2001:db8::1::2"s, "2001:db8::g"s, "fe80::1%eth0"s,
         "2001:db8::1/64"s, ":"s, std::string(5000, '1')}) {
      EXPECT_THAT([&] { IpGenAddr::fromText(text); },
                  ThrowsMessage<Vel::ParseException>("\"" + text + "\" is not an IP address"));
   }
}

TEST(IpGenAddrTest, anAddressDoesNotEndAtANul) {
   EXPECT_THROW(IpGenAddr::fromText("10.0.0.1\0"s), Vel::ParseException);
   EXPECT_THROW(IpGenAddr::fromText("2001:db8::1\0x"s), Vel::ParseException);
   EXPECT_THROW(IpGenAddr::fromText("\0"s), Vel::ParseException);
}

TEST(IpGenAddrTest, theTextReadsBackAsTheAddress) {
   std::mt19937 random(1);
   for (int i = 0; i < 1000; ++i) {
      auto const ipv4 = IpGenAddr::fromHostOrder(static_cast<std::uint32_t>(random()));
      ASSERT_EQ(IpGenAddr::fromText(ipv4.valueToStrep()), ipv4);
      std::array<std::uint8_t, 16> octets{};
      for (auto& octet : octets) octet = random() % 3 == 0 ? static_cast<std::uint8_t>(random()) : 0;
      auto const ipv6 = IpGenAddr::ipv6(octets);
      ASSERT_EQ(IpGenAddr::fromText(ipv6.valueToStrep()), ipv6) << ipv6;
   }
}

TEST(IpGenAddrTest, addressesAreOrderedByFamilyAndThenByOctets) {
   std::vector<std::string> const ascending{"0.0.0.0",    "9.255.255.255", "10.0.0.1", "10.0.0.2",
                                            "127.0.0.1",  "128.0.0.1",     "::",       "::1",
                                            "2001:db8::", "fe80::1"};
   EXPECT_LT(IpGenAddr(), IpGenAddr::fromText(ascending.front()));
   for (std::size_t n = 1; n < ascending.size(); ++n) {
      auto const less = IpGenAddr::fromText(ascending[n - 1]);
      auto const greater = IpGenAddr::fromText(ascending[n]);
      EXPECT_LT(less, greater) << greater;
      EXPECT_FALSE(greater < less);
      EXPECT_NE(less.hash(), greater.hash());
   }
   EXPECT_EQ(IpGenAddr::fromText("10.0.0.1").hash(), IpGenAddr::fromHostOrder(167772161).hash());
}

TEST(IpGenAddrTest, printsItsText) {
   std::ostringstream out;
   out << IpGenAddr::fromText("10.0.0.1");
   EXPECT_EQ(out.str(), "10.0.0.1");
   EXPECT_EQ(fmt::format("{}", IpGenAddr::fromText("::1")), "::1");
}

}  // namespace
