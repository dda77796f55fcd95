// SPDX-License-Identifier: MIT
/// Enumerations with registered names.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <sstream>

#include "substrate/vel/EnumType.h"

namespace Sample {

using Vel::operator<<;

enum class Role : std::uint8_t { head = 1, transit = 2, tail = 3, headTail = 4 };

Vel::EnumType<unsigned int> const& velEnumType(Role) {
   static constexpr std::array names{Vel::Enumerator{1, "head"}, Vel::Enumerator{2, "transit"},
                                     Vel::Enumerator{3, "tail"}, Vel::Enumerator{4, "headTail"}};
   static constexpr Vel::EnumType<unsigned int> type("Sample::Role", names);
   return type;
}

}  // namespace Sample

namespace {

using Sample::Role;
using testing::ThrowsMessage;

TEST(EnumTypeTest, everyNumberHasItsNameAndEveryNameItsNumber) {
   for (auto const& enumerator : Sample::velEnumType(Role{}).enumerators()) {
      auto const value = Vel::enumInstance<Role>(enumerator.value);
      EXPECT_EQ(static_cast<unsigned>(value), enumerator.value);
      EXPECT_EQ(Vel::toStrep(value), enumerator.name);
      EXPECT_EQ(Vel::enumInstance<Role>(Vel::String(enumerator.name)), value);
   }
   EXPECT_EQ(Sample::velEnumType(Role{}).name(), "Sample::Role");
}

TEST(EnumTypeTest, anUnknownNumberIsOutOfRange) {
   EXPECT_THAT([] { Vel::enumInstance<Role>(0U); },
               ThrowsMessage<Vel::RangeException>("0 is not a value of the enumeration Sample::Role"));
   EXPECT_THAT([] { Vel::enumInstance<Role>(257U); },  // 1 in the octet that the enumeration is stored in
               ThrowsMessage<Vel::RangeException>("257 is not a value of the enumeration Sample::Role"));
}

TEST(EnumTypeTest, anUnknownNameIsRefused) {
   for (std::string const name : {"", "Head", "hea", "heads", "2"}) {
      EXPECT_THAT([&] { Vel::enumInstance<Role>(Vel::String(name)); },
                  ThrowsMessage<Vel::ParseException>("\"" + name + "\" is not an enumerator of Sample::Role"));
   }
}

TEST(EnumTypeTest, printsTheNameOrTheNumberOfAValueOutsideTheTable) {
   std::ostringstream out;
   out << Role::transit;
   EXPECT_EQ(out.str(), "transit");
   EXPECT_EQ(fmt::format("{}", Role::tail), "tail");
   EXPECT_EQ(Vel::toStrep(static_cast<Role>(9)), "9");
}

TEST(EnumTypeTest, readsTheLongestNameAndStepsBehindIt) {
   std::string const text = "headTail, head";
   Vel::TextIterator position = text.data();
   Role role{};
   Vel::sequenceToValue(position, text.data() + text.size(), role);
   EXPECT_EQ(role, Role::headTail);
   EXPECT_EQ(position - text.data(), 8);
}

TEST(EnumTypeTest, hasWhatEveryValueTypeHas) {
   EXPECT_EQ(Vel::valueToStrep(Role::tail), "tail");
   EXPECT_EQ(Vel::stringValue(Role::tail), Vel::String("tail"));
   EXPECT_EQ(Vel::strepToValue<Role>("headTail"), Role::headTail);
   EXPECT_THAT([] { Vel::strepToValue<Role>("head tail"); },
               ThrowsMessage<Vel::ParseException>("\"head\" is followed by \" tail\""));
   Vel::Hasher hasher(7);
   hasher.mix1(3);
   EXPECT_EQ(Vel::hash(Role::tail, 7), hasher.result());
   EXPECT_EQ(Vel::hash(Role::tail), Vel::hash(Role::tail, Vel::hashSeed32));
}

TEST(EnumTypeTest, aNameThatIsNoneLeavesTargetAndPositionAsTheyWere) {
   std::string const text = "middle)";
   Vel::TextIterator position = text.data();
   Role role = Role::tail;
   EXPECT_THROW(Vel::sequenceToValue(position, text.data() + text.size(), role), Vel::ParseException);
   EXPECT_EQ(role, Role::tail);
   EXPECT_EQ(position, text.data());
}

}  // namespace
