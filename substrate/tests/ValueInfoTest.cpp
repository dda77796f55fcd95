// SPDX-License-Identifier: MIT
/// Value types and enumerations by name: how a host that knows no header builds and prints a key.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>

#include "substrate/vel/PtrInterface.h"
#include "substrate/vel/TypeRegistry.h"
#include "substrate/vel/ValueInfo.h"
#include "substrate/vel/ValueType.h"

namespace Sample {

enum class Color : unsigned { red = 1, green = 2 };
Vel::EnumType<unsigned int> const& velEnumType(Color) {
   static constexpr std::array names{Vel::Enumerator{1, "red"}, Vel::Enumerator{2, "green"}};
   static constexpr Vel::EnumType<unsigned int> type("Sample::Color", names);
   return type;
}

/// A value type with a field of an enumeration.
struct Lamp : Vel::ValueType<Lamp> {
   static constexpr std::string_view velTypeName = "Sample::Lamp";
   static constexpr auto velFields() {
      return std::tuple(Vel::field("number", &Lamp::number), Vel::field("color", &Lamp::color));
   }
   std::uint16_t number = 0;
   Color color = Color::red;

   bool operator==(Lamp const&) const = default;
   auto operator<=>(Lamp const&) const = default;
};

struct Unregistered {};

}  // namespace Sample

namespace {

using Sample::Color;
using Sample::Lamp;
using testing::ThrowsMessage;
using Vel::Any;

constexpr std::string_view kLampText = "Value('Sample::Lamp', ** {'number': 7, 'color': green})";

Lamp lamp() {
   Lamp made;
   made.number = 7;
   made.color = Color::green;
   return made;
}

class ValueInfoTest : public testing::Test {
 protected:
   static Vel::TypeRegistry const& registry() { return Vel::TypeRegistry::instance(); }
   static constexpr Vel::TypeInfo kObject{.name = "Sample::Object"};
   static inline std::array const types_{&kObject, &Vel::valueTypeInfo<Lamp>(), &Vel::valueTypeInfo<Color>()};
   Vel::TypeModule const module_{"Sample", types_};
};

TEST_F(ValueInfoTest, aValueIsMadeFromItsTextByTheNameOfItsType) {
   EXPECT_EQ(std::any_cast<Lamp>(registry().strepToValue("Sample::Lamp", kLampText)), lamp());
   EXPECT_EQ(std::any_cast<Color>(registry().strepToValue("Sample::Color", "green")), Color::green);
}

TEST_F(ValueInfoTest, aTextThatIsNotRightIsRefusedAsItsTypeRefusesIt) {
   EXPECT_THAT([] { registry().strepToValue("Sample::Color", "blue"); },
               ThrowsMessage<Vel::ParseException>("\"blue\" is not an enumerator of Sample::Color"));
   EXPECT_THROW(registry().strepToValue("Sample::Color", "green "), Vel::ParseException);
   EXPECT_THROW(registry().strepToValue("Sample::Lamp", std::string(kLampText) + "x"), Vel::ParseException);
   EXPECT_THAT(
         [] {
            registry().strepToValue("Sample::Lamp",
                                    "Value('Sample::Lamp', ** {'number': 65536, 'color': "
                                    "red})");
         },
         ThrowsMessage<Vel::RangeException>("attribute 'number': 65536 is out of range (at most 65535)"));
}

TEST_F(ValueInfoTest, onlyARegisteredValueTypeHasATextForm) {
   EXPECT_THAT([] { registry().strepToValue("Sample::Unregistered", ""); },
               ThrowsMessage<Vel::UnknownTypeException>("no type 'Sample::Unregistered' is registered"));
   EXPECT_THAT([] { registry().strepToValue("Sample::Object", ""); },
               ThrowsMessage<Vel::UnknownTypeException>("type 'Sample::Object' is no value type"));
   for (Any const& value : {Any(Sample::Unregistered()), Any(7), Any(Vel::Ptr<Vel::PtrInterface>())}) {
      EXPECT_THAT([&] { registry().valueToStrep(value); },
                  ThrowsMessage<Vel::UnknownTypeException>("the value is of no registered value type"));
   }
}

TEST_F(ValueInfoTest, whatTheGenericInterfaceCarriesIsPrinted) {
   EXPECT_EQ(registry().valueToStrep(Any(lamp())), kLampText);
   EXPECT_EQ(registry().valueToStrep(Any(Color::red)), "red");
   EXPECT_EQ(registry().valueToStrep(Any(std::uint64_t{18446744073709551615U})), "18446744073709551615");
   EXPECT_EQ(registry().valueToStrep(Any(2.5)), "2.5");
   EXPECT_EQ(registry().valueToStrep(Any(true)), "True");
   EXPECT_EQ(registry().valueToStrep(Any(Vel::String("core"))), "core");
   EXPECT_EQ(registry().valueToStrep(Any(Vel::Bytes("\xc0\x80"))), "c0:80");
   EXPECT_EQ(registry().valueToStrep(Any()), "None");
}

TEST_F(ValueInfoTest, theNumbersOfAnEnumerationAreFoundByName) {
   auto const* const enumeration = registry().type("Sample::Color").enumeration;
   ASSERT_NE(enumeration, nullptr);
   EXPECT_EQ(enumeration->byName("green").value, 2U);
   EXPECT_EQ(enumeration->byNumber(1).name, "red");
   EXPECT_EQ(registry().type("Sample::Lamp").enumeration, nullptr);
}

/// A value with a text form of its own.
struct Port {
   unsigned number = 0;
   std::string valueToStrep() const { return number == 0 ? "none" : fmt::format("port{}", number); }
   static Port fromText(std::string_view text) {
      if (!text.starts_with("port")) throw Vel::ParseException("no port");
      return {static_cast<unsigned>(text.back() - '0')};
   }
};

TEST_F(ValueInfoTest, aTypeMayHaveATextFormOfItsOwn) {
   Vel::TypeInfo const port = Vel::valueTypeNamed<Port>("Sample::Port");
   std::array const types{&port};
   Vel::TypeModule const module("Ports", types);
   EXPECT_EQ(std::any_cast<Port>(registry().strepToValue("Sample::Port", "port7")).number, 7U);
   EXPECT_EQ(std::any_cast<Port>(registry().strepToValue("Sample::Port", "none")).number, 0U);
   EXPECT_EQ(registry().valueToStrep(Any(Port{7})), "port7");
   EXPECT_THROW(registry().strepToValue("Sample::Port", "nothing"), Vel::ParseException);
}

TEST_F(ValueInfoTest, aFieldMayBeAnEnumeration) {
   EXPECT_EQ(lamp().valueToStrep(), kLampText);
   EXPECT_EQ(Vel::strepToValue<Lamp>(kLampText), lamp());
   Lamp red = lamp();
   red.color = Color::red;
   EXPECT_NE(red.hash(), lamp().hash());
   EXPECT_LT(red, lamp());
   EXPECT_THROW(Vel::strepToValue<Lamp>("Value('Sample::Lamp', ** {'number': 7, 'color': blue})"), Vel::ParseException);
}

}  // namespace
