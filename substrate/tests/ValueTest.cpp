// SPDX-License-Identifier: MIT
/// Value types: text form, parsing, order and hash; optional values.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>
#include <set>
#include <sstream>

#include "substrate/vel/Optional.h"
#include "substrate/vel/ValueType.h"

namespace Sample {

using Vel::operator<<;

struct Label : Vel::ValueType<Label> {
   static constexpr std::string_view velTypeName = "Sample::Label";
   static constexpr auto velFields() {
      return std::tuple(Vel::field("value", &Label::value), Vel::field("bottom", &Label::bottom));
   }
   std::uint32_t value = 0;
   bool bottom = false;

   bool operator==(Label const&) const = default;
   auto operator<=>(Label const&) const = default;
};

struct Binding : Vel::ValueType<Binding> {
   static constexpr std::string_view velTypeName = "Sample::Binding";
   static constexpr auto velFields() {
      return std::tuple(Vel::field("octet", &Binding::octet), Vel::field("word", &Binding::word),
                        Vel::field("index", &Binding::index), Vel::field("counter", &Binding::counter),
                        Vel::field("label", &Binding::label));
   }
   std::uint8_t octet = 0;
   std::uint16_t word = 0;
   std::uint32_t index = 0;
   std::uint64_t counter = 0;
   Label label;

   bool operator==(Binding const&) const = default;
   auto operator<=>(Binding const&) const = default;
};

}  // namespace Sample

namespace {

using Sample::Binding;
using Sample::Label;
using testing::HasSubstr;
using testing::ThrowsMessage;

Label label(std::uint32_t value, bool bottom) {
   Label made;
   made.value = value;
   made.bottom = bottom;
   return made;
}

Binding largest() {
   Binding made;
   made.octet = 255;
   made.word = 65535;
   made.index = 4294967295U;
   made.counter = 18446744073709551615ULL;
   made.label = label(16, true);
   return made;
}

constexpr std::string_view kLargestText =
      "Value('Sample::Binding', ** {'octet': 255, 'word': 65535, 'index': 4294967295, 'counter': 18446744073709551615, "
      "'label': Value('Sample::Label', ** {'value': 16, 'bottom': True})})";

TEST(ValueTest, theTextNamesTypeAndFieldsInDeclarationOrder) {
   EXPECT_EQ(largest().valueToStrep(), kLargestText);
   EXPECT_EQ(Label().valueToStrep(), "Value('Sample::Label', ** {'value': 0, 'bottom': False})");
}

TEST(ValueTest, streamsFormatsAndStringsShowTheSameText) {
   std::ostringstream out;
   out << largest();
   EXPECT_EQ(out.str(), kLargestText);
   EXPECT_EQ(fmt::format("{}", largest()), kLargestText);
   EXPECT_EQ(largest().stringValue(), Vel::String(kLargestText));
   EXPECT_EQ(Vel::stringValue(largest()), Vel::String(kLargestText));
}

TEST(ValueTest, theTextReadsBackAsTheValue) {
   EXPECT_EQ(Vel::strepToValue<Binding>(kLargestText), largest());
   EXPECT_EQ(Vel::strepToValue<Binding>(Binding().valueToStrep()), Binding());
   std::mt19937_64 random(1);
   for (int i = 0; i < 200; ++i) {
      Binding value;
      value.octet = static_cast<std::uint8_t>(random());
      value.word = static_cast<std::uint16_t>(random());
      value.index = static_cast<std::uint32_t>(random());
      value.counter = random();
      value.label = label(static_cast<std::uint32_t>(random()), random() % 2 != 0);
      ASSERT_EQ(Vel::strepToValue<Binding>(value.valueToStrep()), value);
   }
}

TEST(ValueTest, readingStepsBehindTheValueAndLeavesTheRest) {
   std::string const text = label(3, false).valueToStrep() + label(4, true).valueToStrep() + "tail";
   Vel::TextIterator position = text.data();
   Vel::TextIterator const end = position + text.size();
   Label first;
   Label second;
   Label::sequenceToValue(position, end, first);
   Label::sequenceToValue(position, end, second);
   EXPECT_EQ(first, label(3, false));
   EXPECT_EQ(second, label(4, true));
   EXPECT_EQ(std::string_view(position, end - position), "tail");
}

TEST(ValueTest, everyTruncatedTextIsRefusedAndLeavesTheTargetAsItWas) {
   for (std::size_t length = 0; length < kLargestText.size(); ++length) {
      std::string const text(kLargestText.substr(0, length));  // a copy: reading past its end would be noticed
      Vel::TextIterator position = text.data();
      Binding out;
      out.index = 77;
      Binding const before = out;
      EXPECT_THROW(Binding::sequenceToValue(position, text.data() + text.size(), out), Vel::ParseException) << text;
      EXPECT_EQ(out, before) << text;
   }
}

TEST(ValueTest, textBehindTheValueIsRefused) {
   std::string const text = label(3, false).valueToStrep();
   EXPECT_THAT([&] { Vel::strepToValue<Label>(text + " x"); },
               ThrowsMessage<Vel::ParseException>("\"" + text + "\" is followed by \" x\""));
}

TEST(ValueTest, anErrorNamesWhatWasExpectedAndWhatWasFound) {
   EXPECT_THAT([] { Vel::strepToValue<Label>("Value('Sample::Binding', ** {})"); },
               ThrowsMessage<Vel::ParseException>(
                     "expected \"Value('Sample::Label', ** {\" but found \"Value('Sample::Binding', ** {})\""));
   EXPECT_THAT(
         [] { Vel::strepToValue<Label>("Value('Sample::Label', ** {'value': x, 'bottom': True})"); },
         ThrowsMessage<Vel::ParseException>("attribute 'value': expected a number but found \"x, 'bottom': True})\""));
   EXPECT_THAT([] { Vel::strepToValue<Label>("Value('Sample::Label', ** {'value': 1, 'bottom': true})"); },
               ThrowsMessage<Vel::ParseException>("attribute 'bottom': expected True or False but found \"true})\""));
   EXPECT_THROW(Vel::strepToValue<Label>("Value('Sample::Label', ** {'bottom': True, 'value': 1})"),
                Vel::ParseException);
   EXPECT_THROW(Vel::strepToValue<Label>("Value('Sample::Label', ** {'value': -1, 'bottom': True})"),
                Vel::ParseException);
   EXPECT_THROW(Vel::strepToValue<Label>("Value('Sample::Label', ** {'value': +1, 'bottom': True})"),
                Vel::ParseException);
}

TEST(ValueTest, aNumberTooLargeForItsFieldIsOutOfRange) {
   struct Case {
      std::string_view attribute;
      std::string_view fits;
      std::string_view exceeds;
   };
   for (Case const& c :
        {Case{"octet", "255", "256"}, Case{"word", "65535", "65536"}, Case{"index", "4294967295", "4294967296"},
         Case{"counter", "18446744073709551615", "18446744073709551616"}}) {
      std::string text(kLargestText);
      std::string const field = fmt::format("'{}': ", c.attribute);
      text.replace(text.find(field) + field.size(), c.fits.size(), c.exceeds);
      EXPECT_THAT([&] { Vel::strepToValue<Binding>(text); },
                  ThrowsMessage<Vel::RangeException>(fmt::format("attribute '{}': {} is out of range (at most {})",
                                                                 c.attribute, c.exceeds, c.fits)));
   }
}

TEST(ValueTest, aDamagedTextIsRefusedOrReadsAsAnotherValue) {
   std::mt19937 random(2);
   for (int i = 0; i < 5000; ++i) {
      std::string text(kLargestText);
      text[random() % text.size()] = static_cast<char>(random() % 256);
      try {
         auto const value = Vel::strepToValue<Binding>(text);
         EXPECT_EQ(Vel::strepToValue<Binding>(value.valueToStrep()), value) << text;
      } catch (Vel::ParseException const&) {
      } catch (Vel::RangeException const&) {
      }
   }
}

TEST(ValueTest, theOrderIsThatOfTheFieldsOneAfterTheOther) {
   EXPECT_LT(label(1, true), label(2, false));
   EXPECT_LT(label(1, false), label(1, true));
   EXPECT_FALSE(label(1, true) < label(1, true));
   EXPECT_NE(label(1, true), label(1, false));
}

TEST(HashTest, theFieldsAreMixedInDeclarationOrder) {
   Vel::Hasher hasher(7);
   hasher.mix1(255);
   hasher.mix2(65535);
   hasher.mix4(4294967295U);
   hasher.mix8(18446744073709551615ULL);
   hasher.mix4(label(16, true).hash(Vel::hashSeed32));
   EXPECT_EQ(largest().hash(7), hasher.result());
}

TEST(HashTest, equalValuesHashEquallyAndTheSeedMatters) {
   EXPECT_EQ(largest().hash(), largest().hash());
   EXPECT_NE(largest().hash(1), largest().hash(2));
   EXPECT_EQ(Vel::hashOf(largest()), largest().hash(Vel::hashSeed32));
   EXPECT_EQ(Vel::hashOf(Vel::String("gold")), Vel::hashOf(Vel::String("go") + "ld"));
}

TEST(HashTest, valuesThatLieCloseTogetherSpread) {
   std::set<std::uint32_t> hashes;
   std::set<std::uint32_t> lowBits;
   for (std::uint32_t i = 0; i < 65535; ++i) {
      hashes.insert(label(i, false).hash());
      lowBits.insert(label(i, false).hash() & 0xffffU);
   }
   EXPECT_GT(hashes.size(), 65500U);
   // Of 65536 buckets a random function leaves a share of 1/e empty.
   EXPECT_GT(lowBits.size(), 40000U);
}

TEST(OptionalTest, anEmptyOneCannotBeRead) {
   Vel::Optional<Label> const empty;
   EXPECT_FALSE(empty);
   EXPECT_FALSE(empty.hasValue());
   EXPECT_THROW(empty.value(), Vel::BadOptionalAccessException);
   EXPECT_THROW(*empty, Vel::BadOptionalAccessException);
   EXPECT_THROW(static_cast<void>(empty->value), Vel::BadOptionalAccessException);
   EXPECT_THAT([&] { static_cast<void>(*empty); },
               ThrowsMessage<Vel::BadOptionalAccessException>("an empty optional value was read"));
}

TEST(OptionalTest, holdsAValueAndComparesByIt) {
   Vel::Optional<Label> const one = label(1, true);
   EXPECT_TRUE(one);
   EXPECT_EQ(one->value, 1U);
   EXPECT_EQ(*one, label(1, true));
   EXPECT_EQ(one, Vel::Optional<Label>(label(1, true)));
   EXPECT_NE(one, Vel::Optional<Label>(label(2, true)));
   EXPECT_NE(one, Vel::Optional<Label>(Vel::None));
   EXPECT_EQ(Vel::Optional<Label>(), Vel::Optional<Label>(Vel::None));
   EXPECT_NE(Vel::Optional<Label>(Label()), Vel::Optional<Label>());
}

TEST(OptionalTest, printsItsValueOrNone) {
   EXPECT_EQ(Vel::toStrep(Vel::Optional<std::uint32_t>(5)), "Optional(5)");
   EXPECT_EQ(Vel::toStrep(Vel::Optional<bool>(true)), "Optional(True)");
   EXPECT_EQ(Vel::toStrep(Vel::Optional<Label>()), "None");
   EXPECT_EQ(fmt::format("{}", Vel::Optional<Label>(label(1, true))),
             "Optional(Value('Sample::Label', ** {'value': 1, 'bottom': True}))");
}

}  // namespace
