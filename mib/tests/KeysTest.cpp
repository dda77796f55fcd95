// SPDX-License-Identifier: MIT
/// The row keys of the MIB tables: their order is that of an SNMP walk, their text form that of the framework.
#include "mib/Keys.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <sstream>

namespace MplsSnmp {

namespace {

using testing::HasSubstr;
using testing::ThrowsMessage;

constexpr std::uint16_t kMax16 = 65535;
constexpr std::uint32_t kMax32 = 4294967295U;

template <class Key>
Key parse(std::string_view text) {
   return Key(text.data(), text.data() + text.size());
}

TEST(MplsTunnelTableKeyTest, isOrderedFieldByField) {
   using Key = MplsTunnelTableKey;
   EXPECT_LT(Key(1, kMax32, kMax32, kMax32), Key(2, 0, 0, 0));
   EXPECT_LT(Key(1, 1, kMax32, kMax32), Key(1, 2, 0, 0));
   EXPECT_LT(Key(1, 1, 1, kMax32), Key(1, 1, 2, 0));
   EXPECT_LT(Key(1, 1, 1, 1), Key(1, 1, 1, 2));
   EXPECT_FALSE(Key(1, 1, 1, 1) < Key(1, 1, 1, 1));
}

TEST(MplsTunnelTableKeyTest, isOrderedWithoutSigns) {
   using Key = MplsTunnelTableKey;
   EXPECT_LT(Key(1, kMax32, kMax32, kMax32), Key(kMax16, 0, 0, 0));
   EXPECT_LT(Key(1, 0x7fffffff, 0, 0), Key(1, 0x80000000, 0, 0));
   EXPECT_LT(Key(0x7fff, 0, 0, 0), Key(0x8000, 0, 0, 0));
}

TEST(MplsTunnelTableKeyTest, isEqualWhenAllFieldsAre) {
   using Key = MplsTunnelTableKey;
   EXPECT_EQ(Key(1, 2, 3, 4), Key(1, 2, 3, 4));
   for (Key const& other : {Key(9, 2, 3, 4), Key(1, 9, 3, 4), Key(1, 2, 9, 4), Key(1, 2, 3, 9)}) {
      EXPECT_NE(Key(1, 2, 3, 4), other);
      EXPECT_NE(Key(1, 2, 3, 4).hash(), other.hash());
   }
   EXPECT_EQ(Key(), Key(0, 0, 0, 0));
}

TEST(MplsTunnelTableKeyTest, hashesItsFieldsInOrderFromTheSeed) {
   MplsTunnelTableKey const key(1, 2, 3, 4);
   Vel::Hasher hasher(77);
   hasher.mix2(1);
   hasher.mix4(2);
   hasher.mix4(3);
   hasher.mix4(4);
   EXPECT_EQ(key.hash(77), hasher.result());
   EXPECT_NE(key.hash(77), key.hash(78));
   EXPECT_EQ(key.hash(), key.hash(Vel::hashSeed32));
}

TEST(MplsTunnelTableKeyTest, isWrittenAndReadAsText) {
   MplsTunnelTableKey const key(kMax16, 1, 167772161, kMax32);
   std::string const text =
         "Value('MplsSnmp::MplsTunnelTableKey', ** {'tunnelIndex': 65535, 'tunnelInstance': 1, "
         "'tunnelIngressLsrId': 167772161, 'tunnelEgressLsrId': 4294967295})";
   EXPECT_EQ(key.valueToStrep(), text);
   EXPECT_EQ(key.stringValue().view(), text);
   EXPECT_EQ(fmt::format("{}", key), text);
   std::ostringstream stream;
   stream << key;
   EXPECT_EQ(stream.str(), text);
   EXPECT_EQ(parse<MplsTunnelTableKey>(text), key);
   EXPECT_EQ(Vel::strepToValue<MplsTunnelTableKey>(text), key);
}

TEST(MplsTunnelTableKeyTest, everyKeyComesBackFromItsText) {
   std::mt19937 random(3);
   for (int n = 0; n < 200; ++n) {
      MplsTunnelTableKey const key(static_cast<std::uint16_t>(random()), random(), random(), random());
      EXPECT_EQ(parse<MplsTunnelTableKey>(key.valueToStrep()), key);
      MplsTunnelHopTableKey const hop(random(), random(), random());
      EXPECT_EQ(parse<MplsTunnelHopTableKey>(hop.valueToStrep()), hop);
   }
}

TEST(MplsTunnelTableKeyTest, aNumberThatDoesNotFitItsFieldIsNamed) {
   auto const read = [](std::string_view index, std::string_view instance) {
      return [=] {
         parse<MplsTunnelTableKey>(
               fmt::format("Value('MplsSnmp::MplsTunnelTableKey', ** {{'tunnelIndex': {}, 'tunnelInstance': {}, "
                           "'tunnelIngressLsrId': 3, 'tunnelEgressLsrId': 4}})",
                           index, instance));
      };
   };
   EXPECT_NO_THROW(read("65535", "4294967295")());
   EXPECT_THAT(read("65536", "1"), ThrowsMessage<Vel::RangeException>(HasSubstr("tunnelIndex")));
   EXPECT_THAT(read("1", "4294967296"), ThrowsMessage<Vel::RangeException>(HasSubstr("tunnelInstance")));
   EXPECT_THAT(read("1", "99999999999999999999"), ThrowsMessage<Vel::RangeException>(HasSubstr("tunnelInstance")));
   EXPECT_THAT(read("", "1"), ThrowsMessage<Vel::ParseException>(HasSubstr("tunnelIndex")));
   EXPECT_THAT(read("-1", "1"), ThrowsMessage<Vel::ParseException>(HasSubstr("tunnelIndex")));
}

TEST(MplsTunnelTableKeyTest, anyOtherTextIsRefused) {
   std::string const text = MplsTunnelTableKey(1, 2, 3, 4).valueToStrep();
   // Each character is needed, and none may follow or be different.
   for (std::size_t n = 0; n < text.size(); ++n) {
      EXPECT_THROW(parse<MplsTunnelTableKey>(text.substr(0, n)), Vel::ParseException) << n;
      std::string changed = text;
      changed[n] = '~';
      EXPECT_THROW(parse<MplsTunnelTableKey>(changed), Vel::ParseException) << changed;
   }
   EXPECT_THROW(parse<MplsTunnelTableKey>(text + " "), Vel::ParseException);
   EXPECT_THROW(parse<MplsTunnelTableKey>(" " + text), Vel::ParseException);
}

TEST(MplsTunnelTableKeyTest, fieldsMayNotBeReorderedOrLeftOut) {
   for (std::string_view const text : {
              "Value('MplsSnmp::MplsTunnelTableKey', ** {'tunnelInstance': 2, 'tunnelIndex': 1, "
              "'tunnelIngressLsrId': 3, 'tunnelEgressLsrId': 4})",
              "Value('MplsSnmp::MplsTunnelTableKey', ** {'tunnelIndex': 1, 'tunnelInstance': 2, "
              "'tunnelIngressLsrId': 3})",
              "Value('MplsSnmp::MplsTunnelHopTableKey', ** {'tunnelHopListIndex': 1, "
              "'tunnelHopPathOptionIndex': 2, 'tunnelHopIndex': 3})",
        }) {
      EXPECT_THROW(parse<MplsTunnelTableKey>(text), Vel::ParseException) << text;
   }
}

TEST(MplsTunnelTableKeyTest, aTextThatFailsHalfWayLeavesNoPartialValue) {
   std::string_view const text = "Value('MplsSnmp::MplsTunnelTableKey', ** {'tunnelIndex': 1, 'tunnelInstance': x";
   MplsTunnelTableKey key(9, 9, 9, 9);
   Vel::TextIterator position = text.data();
   EXPECT_THROW(MplsTunnelTableKey::sequenceToValue(position, text.data() + text.size(), key), Vel::ParseException);
   EXPECT_EQ(key, MplsTunnelTableKey(9, 9, 9, 9));
}

TEST(MplsTunnelHopTableKeyTest, isOrderedFieldByField) {
   using Key = MplsTunnelHopTableKey;
   EXPECT_LT(Key(1, kMax32, kMax32), Key(2, 0, 0));
   EXPECT_LT(Key(1, 1, kMax32), Key(1, 2, 0));
   EXPECT_LT(Key(1, 1, 1), Key(1, 1, 2));
   EXPECT_LT(Key(0x7fffffff, 0, 0), Key(0x80000000, 0, 0));
   EXPECT_NE(Key(1, 1, 1), Key(1, 1, 2));
   EXPECT_EQ(Key(), Key(0, 0, 0));
}

TEST(MplsTunnelHopTableKeyTest, hashesItsFieldsInOrderFromTheSeed) {
   Vel::Hasher hasher(77);
   for (std::uint32_t field : {1U, 2U, 3U}) hasher.mix4(field);
   EXPECT_EQ(MplsTunnelHopTableKey(1, 2, 3).hash(77), hasher.result());
   EXPECT_NE(MplsTunnelHopTableKey(1, 2, 3).hash(), MplsTunnelHopTableKey(3, 2, 1).hash());
}

TEST(MplsTunnelHopTableKeyTest, isWrittenAndReadAsText) {
   MplsTunnelHopTableKey const key(kMax32, 1, 255);
   std::string const text =
         "Value('MplsSnmp::MplsTunnelHopTableKey', ** {'tunnelHopListIndex': 4294967295, "
         "'tunnelHopPathOptionIndex': 1, 'tunnelHopIndex': 255})";
   EXPECT_EQ(key.valueToStrep(), text);
   EXPECT_EQ(parse<MplsTunnelHopTableKey>(text), key);
   std::ostringstream stream;
   stream << key;
   EXPECT_EQ(stream.str(), text);
   for (std::size_t n = 0; n < text.size(); ++n) {
      EXPECT_THROW(parse<MplsTunnelHopTableKey>(text.substr(0, n)), Vel::ParseException) << n;
   }
   EXPECT_THROW(parse<MplsTunnelHopTableKey>(MplsTunnelTableKey().valueToStrep()), Vel::ParseException);
}

}  // namespace

}  // namespace MplsSnmp
