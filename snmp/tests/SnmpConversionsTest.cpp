// SPDX-License-Identifier: MIT
#include "snmp/SnmpConversions.h"

#include <gtest/gtest.h>

#include <array>

namespace MplsSnmp {
namespace {

using Octets = std::array<std::uint8_t, 3>;

std::uint8_t octetOf(std::uint8_t flags) {
   Octets buffer{0xee, 0xee, 0xee};
   EXPECT_EQ(SessionAttributesToAsnBits(SessionAttributesBits(flags), buffer.data(), buffer.size()), 1);
   EXPECT_EQ(buffer[1], 0xee) << "wrote beyond the first octet";
   return buffer[0];
}

TEST(SessionAttributesToAsnBits, EachFlagIsTheBitThatTheMibNumbersFromTheMostSignificantOn) {
   EXPECT_EQ(octetOf(0x01), 0x80) << "fastReroute";
   EXPECT_EQ(octetOf(0x02), 0x40) << "mergingPermitted";
   EXPECT_EQ(octetOf(0x04), 0x20) << "isPersistent";
   EXPECT_EQ(octetOf(0x08), 0x10) << "isPinned";
   EXPECT_EQ(octetOf(0x10), 0x08) << "recordRoute";
}

TEST(SessionAttributesToAsnBits, FlagsAddUpAndTheLowThreeBitsStayClear) {
   EXPECT_EQ(octetOf(0x00), 0x00);
   EXPECT_EQ(octetOf(0x14), 0x28) << "isPersistent and recordRoute";
   EXPECT_EQ(octetOf(0x1f), 0xf8);
}

TEST(SessionAttributesToAsnBits, OneOctetOfRoomIsEnough) {
   std::uint8_t octet = 0;
   EXPECT_EQ(SessionAttributesToAsnBits(SessionAttributesBits(0x04), &octet, 1), 1);
   EXPECT_EQ(octet, 0x20);
}

TEST(SessionAttributesToAsnBitsDeathTest, NoRoomIsAProgrammingError) {
   std::uint8_t octet = 0;
   EXPECT_DEATH(SessionAttributesToAsnBits(SessionAttributesBits(), &octet, 0), "`len >= 1' failed");
   EXPECT_DEATH(SessionAttributesToAsnBits(SessionAttributesBits(), &octet, -1), "`len >= 1' failed");
}

}  // namespace
}  // namespace MplsSnmp
