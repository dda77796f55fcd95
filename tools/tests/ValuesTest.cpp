// SPDX-License-Identifier: MIT
#include <gmock/gmock.h>

#include "tools/MibTables.h"

namespace Tools {
namespace {

using namespace std::string_literals;
using testing::ElementsAre;

std::string tunnelText(std::uint32_t column, Value const& value) { return toText(tunnelTable.column(column), value); }
std::string tunnelJson(std::uint32_t column, Value const& value) {
   return toJson(tunnelTable.column(column), value).dump();
}
std::string hopText(std::uint32_t column, Value const& value) { return toText(hopTable.column(column), value); }

TEST(Tables, askForNoColumnThatAgentsDoNotServe) {
   for (std::uint32_t const column : {11U, 17U, 18U, 19U, 22U, 23U, 27U, 29U, 31U, 32U}) {
      EXPECT_THAT(tunnelTable.columnNumbers(), testing::Not(testing::Contains(column)));
   }
   EXPECT_EQ(tunnelTable.columns.size(), 23U);
   EXPECT_EQ(hopTable.columns.size(), 12U);
   EXPECT_THAT(perfTable.columnNumbers(), ElementsAre(1, 2, 4, 5));
}

TEST(Tables, knowTheirOids) {
   EXPECT_EQ(dotted(tunnelTable.columnOid(TunnelColumn::name)), "1.3.6.1.2.1.10.166.3.2.2.1.5");
   EXPECT_EQ(dotted(hopTable.columnOid(HopColumn::ipAddr)), "1.3.6.1.2.1.10.166.3.2.4.1.5");
   EXPECT_EQ(dotted(perfTable.columnOid(PerfColumn::hcBytes)), "1.3.6.1.2.1.10.166.3.2.9.1.5");
}

TEST(Values, areADashWhenAbsent) {
   for (auto const absent : {Absent::noSuchObject, Absent::noSuchInstance, Absent::endOfMibView}) {
      EXPECT_EQ(tunnelText(TunnelColumn::name, absent), "-");
      EXPECT_EQ(tunnelJson(TunnelColumn::name, absent), "null");
   }
}

TEST(Values, nameEnumerationsAsTheMibDoes) {
   EXPECT_EQ(tunnelText(TunnelColumn::operStatus, std::int64_t{7}), "lowerLayerDown");
   EXPECT_EQ(tunnelJson(TunnelColumn::operStatus, std::int64_t{2}), R"("down")");
   EXPECT_EQ(tunnelText(TunnelColumn::operStatus, std::int64_t{99}), "99");
   EXPECT_EQ(tunnelJson(TunnelColumn::operStatus, std::int64_t{-1}), "-1");
}

TEST(Values, readTruthValues) {
   EXPECT_EQ(tunnelText(TunnelColumn::localProtectInUse, std::int64_t{1}), "yes");
   EXPECT_EQ(tunnelText(TunnelColumn::localProtectInUse, std::int64_t{2}), "no");
   EXPECT_EQ(tunnelJson(TunnelColumn::localProtectInUse, std::int64_t{1}), "true");
   EXPECT_EQ(tunnelText(TunnelColumn::localProtectInUse, std::int64_t{0}), "0") << "no TruthValue";
}

TEST(Values, nameTheSessionAttributesMostSignificantBitFirst) {
   auto const column = TunnelColumn::sessionAttributes;
   EXPECT_EQ(tunnelText(column, "\x28"), "isPersistent recordRoute");
   EXPECT_EQ(tunnelText(column, "\xf8"), "fastReroute mergingPermitted isPersistent isPinned recordRoute");
   EXPECT_EQ(tunnelJson(column, "\xa8"), R"(["fastReroute","isPersistent","recordRoute"])");
   EXPECT_EQ(tunnelText(column, "\0"s), "none");
   EXPECT_EQ(tunnelText(column, ""), "none");
}

TEST(Values, showTimeTicksAsATimeSpan) {
   EXPECT_EQ(tunnelText(TunnelColumn::instanceUpTime, std::uint64_t{27390699}), "3d 04:05:06");
   EXPECT_EQ(tunnelJson(TunnelColumn::instanceUpTime, std::uint64_t{27390699}), "27390699");
}

TEST(Values, showLsrIdsAsDottedQuads) {
   EXPECT_EQ(toText(tunnelTable.index[3], std::uint64_t{0xffffffff}), "255.255.255.255");
   EXPECT_EQ(dottedQuad(0xc0000201), "192.0.2.1");
}

TEST(Values, showHopAddressesOfBothFamilies) {
   EXPECT_EQ(hopText(HopColumn::ipAddr, "\x0a\x00\x0c\x02"s), "10.0.12.2");
   EXPECT_EQ(hopText(HopColumn::ipAddr, "\x20\x01\x0d\xb8"s + std::string(11, '\0') + "\x01"), "2001:db8::1");
   EXPECT_EQ(hopText(HopColumn::ipAddr, "\x0a\x00\x0c"s), "0a:00:0c") << "no address of either family";
   EXPECT_EQ(hopText(7, "\xc0\x80\xc0\x80"), "c0:80:c0:80");
}

TEST(Values, keepNamesFromTheTerminalButNotFromPrograms) {
   EXPECT_EQ(tunnelText(TunnelColumn::name, "\x1b[2J"), "\\x1b[2J");
   EXPECT_EQ(tunnelJson(TunnelColumn::name, "\x1b[2J"), R"("\u001b[2J")");
   EXPECT_EQ(tunnelText(TunnelColumn::name, ""), "\"\"") << "an empty name is not an absent one";
}

TEST(Values, areShownAsTheyCameWhenTheirTypeIsWrong) {
   EXPECT_EQ(tunnelText(TunnelColumn::name, std::uint64_t{5}), "5");
   EXPECT_EQ(tunnelText(TunnelColumn::operStatus, "up"), "75:70");
   EXPECT_EQ(tunnelText(TunnelColumn::sessionAttributes, std::int64_t{3}), "3");
   EXPECT_EQ(tunnelText(TunnelColumn::instanceUpTime, "x"), "78");
}

TEST(Values, areNumbersWhenTheyAreNotNegative) {
   EXPECT_EQ(toNumber(std::int64_t{5}), 5U);
   EXPECT_EQ(toNumber(~std::uint64_t{0}), ~std::uint64_t{0});
   EXPECT_EQ(toNumber(std::int64_t{-5}), std::nullopt);
   EXPECT_EQ(toNumber("5"), std::nullopt);
   EXPECT_EQ(toNumber(Absent::noSuchInstance), std::nullopt);
}

}  // namespace
}  // namespace Tools
