// SPDX-License-Identifier: MIT
/// Counted strings and octet buffers.
#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "substrate/vel/String.h"
#include "substrate/vel/ValueText.h"

namespace {

using namespace std::string_literals;
using Vel::Bytes;
using Vel::String;

TEST(StringTest, copiesShareTheirText) {
   String const name("to-paris");
   String const copy = name;  // NOLINT: the copy is the point
   EXPECT_EQ(copy.view().data(), name.view().data());
   EXPECT_EQ(copy, name);
}

TEST(StringTest, stringsAreEqualByText) {
   EXPECT_EQ(String("to-paris"), String("to-"s + "paris"));
   EXPECT_NE(String("to-paris"), String("to-rome"));
   EXPECT_NE(String("to-paris"), String("to-pari"));
   EXPECT_EQ(String("to-paris"), "to-paris");
}

TEST(StringTest, nulsAreOctetsLikeOthers) {
   String const stored("gold\0"s);
   EXPECT_EQ(stored.size(), 5U);
   EXPECT_EQ(stored.stdString(), "gold\0"s);
   EXPECT_NE(stored, String("gold"));
   EXPECT_LT(String("gold"), stored);
   EXPECT_NE(String("a\0b"s), String("a\0c"s));
   EXPECT_EQ((stored + "en").stdString(), "gold\0en"s);
}

TEST(StringTest, theOrderIsThatOfTheOctets) {
   EXPECT_LT(String(""), String("a"));
   EXPECT_LT(String("Z"), String("a"));
   EXPECT_LT(String("a"), String("ab"));
   EXPECT_LT(String("z"), String("\xc3\xa9"));  // octets above 0x7f are the greater ones
   EXPECT_FALSE(String("a") < String("a"));
}

TEST(StringTest, theEmptyStringOwnsNothing) {
   EXPECT_TRUE(String().empty());
   EXPECT_TRUE(String("").empty());
   EXPECT_EQ(String(""), String());
   EXPECT_EQ(String().view(), "");
   EXPECT_FALSE(String("\0"s).empty());
}

TEST(StringTest, joinsWithPlainText) {
   EXPECT_EQ(String("to-paris") + "_2", String("to-paris_2"));
   EXPECT_EQ("to-" + String("paris"), String("to-paris"));
   EXPECT_EQ(String() + "", String());
}

TEST(StringTest, printsItsText) {
   std::ostringstream out;
   out << String("to-paris");
   EXPECT_EQ(out.str(), "to-paris");
   EXPECT_EQ(fmt::format("{}", String("to-paris")), "to-paris");
   EXPECT_EQ(Vel::toStrep(String("to-paris")), "to-paris");
}

TEST(BytesTest, holdOctetsAndPrintThemInHexadecimal) {
   Bytes const address("\x0a\x00\x0c\xff", 4);
   EXPECT_EQ(address.size(), 4U);
   EXPECT_EQ(address.hex(), "0a:00:0c:ff");
   EXPECT_EQ(address, Bytes("\x0a\x00\x0c\xff"s.substr(0, 4).c_str(), 4));
   EXPECT_EQ(Bytes().hex(), "");
   EXPECT_EQ(Bytes(), Bytes("", 0));
   EXPECT_FALSE(Bytes("a") == Bytes("b"));
}

}  // namespace
