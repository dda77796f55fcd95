// SPDX-License-Identifier: MIT
#include "tools/Text.h"

#include <gmock/gmock.h>

namespace Tools {
namespace {

using testing::ElementsAre;

TEST(Escaped, leavesPrintableTextAlone) {
   EXPECT_EQ(escaped("to-paris (gold) 100%"), "to-paris (gold) 100%");
   EXPECT_EQ(escaped("nach-Köln-東京-🚄"), "nach-Köln-東京-🚄");
}

TEST(Escaped, letsNothingSteerTheTerminal) {
   EXPECT_EQ(escaped("\x1b[31mred\n\x7f"), "\\x1b[31mred\\x0a\\x7f");
   EXPECT_EQ(escaped(std::string_view("a\0b", 3)), "a\\x00b");
   EXPECT_EQ(escaped("\u009b2J"), "\\u{9b}2J") << "a control sequence introducer of one character";
   EXPECT_EQ(escaped("a\u202eb\u200bc"), "a\\u{202e}b\\u{200b}c") << "reversed and invisible text deceives";
}

TEST(Escaped, showsBytesThatAreNoUtf8) {
   EXPECT_EQ(escaped("caf\xe9"), "caf\\xe9");
   EXPECT_EQ(escaped("\xe6\x9d"), "\\xe6\\x9d") << "cut off within a character, as a long name may be";
   EXPECT_EQ(escaped("\xc0\x80"), "\\xc0\\x80");
}

TEST(Escaped, canBeReadBack) { EXPECT_EQ(escaped("a\\x1b"), "a\\\\x1b"); }

TEST(DisplayWidth, countsTerminalCells) {
   EXPECT_EQ(displayWidth("Köln"), 4U);
   EXPECT_EQ(displayWidth("東京"), 4U);
   EXPECT_EQ(displayWidth("e\u0301"), 1U) << "a combining accent";
}

TEST(Duration, isReadAsDaysAndAClock) {
   EXPECT_EQ(duration(0), "00:00:00");
   EXPECT_EQ(duration(86399), "23:59:59");
   EXPECT_EQ(duration(86400), "1d 00:00:00");
   EXPECT_EQ(duration(3 * 86400 + 4 * 3600 + 5 * 60 + 6), "3d 04:05:06");
   EXPECT_EQ(duration(0xffffffff / 100), "497d 02:27:52");
}

TEST(Scaled, keepsThreeDigits) {
   EXPECT_EQ(scaled(0), "0");
   EXPECT_EQ(scaled(0.5), "0.5");
   EXPECT_EQ(scaled(7), "7");
   EXPECT_EQ(scaled(9.96), "10");
   EXPECT_EQ(scaled(999.4), "999");
   EXPECT_EQ(scaled(999.6), "1.00k");
   EXPECT_EQ(scaled(1254), "1.25k");
   EXPECT_EQ(scaled(12345678), "12.3M");
   EXPECT_EQ(scaled(999.7e6), "1.00G");
   EXPECT_EQ(scaled(1.8e19), "18.0E");
}

TEST(Counted, mindsTheSingular) {
   EXPECT_EQ(counted(0, "tunnel"), "0 tunnels");
   EXPECT_EQ(counted(1, "tunnel"), "1 tunnel");
   EXPECT_EQ(counted(2, "tunnel"), "2 tunnels");
}

TEST(TextTable, alignsByDisplayWidthAndEndsNoLineInBlanks) {
   TextTable table({{"NAME"}, {"PACKETS", TextTable::Align::right}, {"FLAGS"}});
   table.add({{"東京"}, {"5"}, {""}});
   table.add({{"to-paris"}, {"1234567890"}, {"FRR"}});
   EXPECT_THAT(table.lines(false), ElementsAre("NAME         PACKETS  FLAGS",  //
                                               "東京               5",         //
                                               "to-paris  1234567890  FRR"));
}

TEST(TextTable, coloursOnlyTheTextAndOnlyWhenAsked) {
   TextTable table({{"A"}, {"B"}});
   table.add({{"down", Style::bad}, {"x"}});
   EXPECT_THAT(table.lines(false), ElementsAre("A     B", "down  x"));
   EXPECT_THAT(table.lines(true), ElementsAre("A     B", "\x1b[31mdown\x1b[0m  x"));
}

TEST(TextTable, needsNoHeadings) {
   TextTable table({{""}, {""}});
   table.add({{"owner"}, {"rsvpTe"}});
   EXPECT_THAT(table.lines(false), ElementsAre("owner  rsvpTe"));
}

}  // namespace
}  // namespace Tools
