// SPDX-License-Identifier: MIT
#include "mib/SessionAttributesBits.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>

#include "substrate/vel/Hasher.h"

namespace MplsSnmp {

namespace {

using testing::ThrowsMessage;

using Flags = std::vector<bool>;
Flags flags(SessionAttributesBits bits) {
   return {bits.fastReroute(), bits.mergingPermitted(), bits.isPersistent(), bits.isPinned(), bits.recordRoute()};
}

TEST(SessionAttributesBitsTest, hasOneBitForEachFlagTheFirstLowest) {
   EXPECT_EQ(flags(SessionAttributesBits()), Flags(5, false));
   EXPECT_EQ(flags(SessionAttributesBits(0x1f)), Flags(5, true));
   for (unsigned n = 0; n < 5; ++n) {
      Flags expected(5, false);
      expected[n] = true;
      EXPECT_EQ(flags(SessionAttributesBits(static_cast<std::uint8_t>(1U << n))), expected);
   }
}

TEST(SessionAttributesBitsTest, flagsAreSetAndClearedOneByOne) {
   SessionAttributesBits bits;
   bits.fastRerouteIs(true);
   EXPECT_EQ(bits.value(), 0x01);
   bits.mergingPermittedIs(true);
   EXPECT_EQ(bits.value(), 0x03);
   bits.isPersistentIs(true);
   EXPECT_EQ(bits.value(), 0x07);
   bits.isPinnedIs(true);
   EXPECT_EQ(bits.value(), 0x0f);
   bits.recordRouteIs(true);
   EXPECT_EQ(bits.value(), 0x1f);
   bits.isPersistentIs(false);
   EXPECT_EQ(bits.value(), 0x1b);
}

TEST(SessionAttributesBitsTest, aValueWithOtherBitsIsRefusedByItsTypesName) {
   for (unsigned value = 0x20; value <= 0xff; ++value) {
      EXPECT_THAT([&] { SessionAttributesBits(static_cast<std::uint8_t>(value)); },
                  ThrowsMessage<Vel::RangeException>(fmt::format(
                        "{} is out of range for the bit set MplsSnmp::SessionAttributesBits (at most 31)", value)));
   }
}

TEST(SessionAttributesBitsTest, isWrittenAndReadAsText) {
   std::string const text =
         "Value('MplsSnmp::SessionAttributesBits', ** {'fastReroute': False, 'mergingPermitted': False, "
         "'isPersistent': True, 'isPinned': False, 'recordRoute': True})";
   EXPECT_EQ(SessionAttributesBits(0x14).valueToStrep(), text);
   EXPECT_EQ(SessionAttributesBits(0x14).stringValue().view(), text);
   std::ostringstream stream;
   stream << SessionAttributesBits(0x14);
   EXPECT_EQ(stream.str(), text);
   for (std::uint8_t value = 0; value <= 0x1f; ++value) {
      std::string const each = SessionAttributesBits(value).valueToStrep();
      EXPECT_EQ(SessionAttributesBits(each.data(), each.data() + each.size()).value(), value);
   }
   for (std::size_t n = 0; n < text.size(); ++n) {
      EXPECT_THROW(SessionAttributesBits(text.data(), text.data() + n), Vel::ParseException) << n;
   }
   std::string const lower =
         "Value('MplsSnmp::SessionAttributesBits', ** {'fastReroute': true, 'mergingPermitted': False, "
         "'isPersistent': True, 'isPinned': False, 'recordRoute': True})";
   EXPECT_THROW(SessionAttributesBits(lower.data(), lower.data() + lower.size()), Vel::ParseException);
}

TEST(SessionAttributesBitsTest, equalFlagsAreEqualAndHashTheSame) {
   EXPECT_EQ(SessionAttributesBits(0x14), SessionAttributesBits(0x14));
   EXPECT_NE(SessionAttributesBits(0x14), SessionAttributesBits(0x15));
   Vel::Hasher hasher(5);
   hasher.mix1(0x14);
   EXPECT_EQ(SessionAttributesBits(0x14).hash(5), hasher.result());
   EXPECT_EQ(SessionAttributesBits(0x14).hash(), SessionAttributesBits(0x14).hash(Vel::hashSeed32));
}

TEST(SessionAttributesBitsTest, areOrderedByTheirValue) {
   for (std::uint8_t value = 1; value <= 0x1f; ++value) {
      SessionAttributesBits const less(static_cast<std::uint8_t>(value - 1));
      EXPECT_TRUE(less < SessionAttributesBits(value));
      EXPECT_FALSE(SessionAttributesBits(value) < less);
      EXPECT_FALSE(SessionAttributesBits(value) < SessionAttributesBits(value));
   }
}

}  // namespace

}  // namespace MplsSnmp
