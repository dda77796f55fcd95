// SPDX-License-Identifier: MIT
/// Names inside ids: what is percent-encoded, and which texts are no names.
#include <gtest/gtest.h>

#include "inputs/rsvp/Ids.h"
#include "inputs/rsvp/NameText.h"
#include "inputs/tests/RandomNames.h"

namespace {

using namespace std::string_literals;
using Rsvp::decodeName;
using Rsvp::encodeName;

/// The name that `encoded` stands for, or why it stands for none.
std::string decoded(std::string_view encoded) {
   std::string name;
   std::string const why = decodeName(encoded, name);
   return why.empty() ? name : "refused: " + why;
}

TEST(NameTextTest, ordinaryNamesAreWrittenAsTheyAre) {
   for (std::string const name : {"to-paris", "a.b:c/d", "with blanks", "caf\xc3\xa9", "~!$^&*()[]{}<>'\"\\|`"}) {
      EXPECT_EQ(encodeName(name), name);
      EXPECT_EQ(decoded(name), name);
   }
}

TEST(NameTextTest, thePunctuationOfIdsAndControlCharactersAreEncoded) {
   EXPECT_EQ(encodeName("50%"), "50%25");
   EXPECT_EQ(encodeName("a#b"), "a%23b");
   EXPECT_EQ(encodeName("a@b"), "a%40b");
   EXPECT_EQ(encodeName("tab\there"), "tab%09here");
   EXPECT_EQ(encodeName("\x1f\x20\x7e\x7f"), "%1F\x20\x7e%7F");
   EXPECT_EQ(encodeName("%41"), "%2541");
}

TEST(NameTextTest, everyCharacterMayBeWrittenEncodedInEitherCase) {
   EXPECT_EQ(decoded("%41bc"), "Abc");
   EXPECT_EQ(decoded("%c3%A9"), "\xc3\xa9");
   EXPECT_EQ(decoded("%2541"), "%41");  // once, not twice
}

TEST(NameTextTest, encodedNamesReadBackAsTheyWere) {
   std::mt19937 random(1);
   for (int i = 0; i < 2000; ++i) {
      std::string const name = TestSupport::randomName(random, 20);
      std::string const encoded = encodeName(name);
      ASSERT_EQ(decoded(encoded), name);
      for (unsigned char const c : encoded) ASSERT_TRUE(c >= 0x20 && c != 0x7f && c != '#' && c != '@') << encoded;
   }
}

TEST(NameTextTest, anUnfinishedOrWrongEscapeIsRefused) {
   for (std::string const text : {"%", "a%", "%4", "a%4", "%zz", "%4g", "%g4", "%+4", "%-4", "% 4", "%0x41"}) {
      EXPECT_EQ(decoded(text), "refused: \"%\" is not followed by two hexadecimal digits") << text;
   }
   EXPECT_EQ(decoded("%0"s + "\0"s), "refused: \"%\" is not followed by two hexadecimal digits");
}

TEST(NameTextTest, whatMustBeEncodedIsRefusedOtherwise) {
   EXPECT_EQ(decoded("a#b"), "refused: the character 0x23 in the name must be written as %23");
   EXPECT_EQ(decoded("a@b"), "refused: the character 0x40 in the name must be written as %40");
   EXPECT_EQ(decoded("a\nb"), "refused: the character 0x0a in the name must be written as %0A");
   EXPECT_EQ(decoded("a\x7f"), "refused: the character 0x7f in the name must be written as %7F");
   EXPECT_EQ(decoded("a\0b"s), "refused: the character 0x00 in the name must be written as %00");
}

TEST(NameTextTest, aNameIsNeitherEmptyNorTooLongNorHoldsANul) {
   EXPECT_EQ(decoded(""), "refused: the name is empty");
   EXPECT_EQ(decoded("a%00b"), "refused: the name holds a NUL character");
   EXPECT_EQ(decoded("a%00"), "refused: the name holds a NUL character");
   EXPECT_EQ(decoded(std::string(1024, 'n')), std::string(1024, 'n'));
   EXPECT_EQ(decoded(std::string(1025, 'n')), "refused: the name is longer than 1024 octets");
   std::string encoded;
   for (int i = 0; i < 1024; ++i) encoded += "%25";
   EXPECT_EQ(decoded(encoded), std::string(1024, '%'));  // the name counts, not its text
}

TEST(NameTextTest, aNameIsUtf8) {
   for (std::string const good : {"\xc2\x80", "\xdf\xbf", "\xe0\xa0\x80", "\xed\x9f\xbf", "\xee\x80\x80",
                                  "\xef\xbf\xbf", "\xf0\x90\x80\x80", "\xf4\x8f\xbf\xbf"}) {
      EXPECT_EQ(decoded(good), good);
   }
   for (std::string const bad : {"\x80", "\xbf", "\xc0\x80", "\xc1\xbf", "\xc3", "\xc3(", "\xe2\x82", "\xe2(\xac",
                                 "\xe0\x9f\xbf", "\xed\xa0\x80", "\xf0\x8f\xbf\xbf", "\xf0\x9f\x9a", "\xf4\x90\x80\x80",
                                 "\xf5\x80\x80\x80", "\xff", "%FF", "%c3"}) {
      EXPECT_EQ(decoded(bad), "refused: the name is not valid UTF-8") << encodeName(bad);
   }
}

TEST(NameTextTest, namesAreStoredWithOneTerminatingNul) {
   EXPECT_EQ(Rsvp::storedName("gold"), Vel::String("gold\0"s));
   EXPECT_TRUE(Rsvp::storedName("").empty());
   EXPECT_EQ(Rsvp::nameText(Rsvp::storedName("gold")), "gold");
   EXPECT_EQ(Rsvp::nameText("gold"), "gold");  // nothing but a NUL is dropped
   EXPECT_EQ(Rsvp::nameText("gold\0\0"s), "gold\0"s);
   EXPECT_EQ(Rsvp::nameText(Vel::String()), "");
}

}  // namespace
