// SPDX-License-Identifier: MIT
#include "tools/Views.h"

#include <gmock/gmock.h>

namespace Tools {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;

Oid index(std::uint32_t tunnel, std::uint32_t egressId = 0x0a000009) { return {tunnel, 1, 0xc0000201, egressId}; }

Row tunnel(std::string name, std::int64_t operStatus, std::string attributes = "\x28") {
   Row row;
   row.set(TunnelColumn::name, std::move(name));
   row.set(TunnelColumn::setupPrio, std::int64_t{7});
   row.set(TunnelColumn::holdingPrio, std::int64_t{0});
   row.set(TunnelColumn::sessionAttributes, std::move(attributes));
   row.set(TunnelColumn::instanceUpTime, std::uint64_t{27390600});
   row.set(TunnelColumn::adminStatus, std::int64_t{1});
   row.set(TunnelColumn::operStatus, operStatus);
   return row;
}

Row protectedTunnel() {
   auto row = tunnel("to-rome", 1, "\xa8");
   row.set(TunnelColumn::localProtectInUse, std::int64_t{1});
   return row;
}

Row hop(std::string path, std::string address) {
   Row row;
   row.set(HopColumn::ipAddr, std::move(address));
   row.set(HopColumn::ipPrefixLen, std::uint64_t{32});
   row.set(HopColumn::type, std::int64_t{1});
   row.set(HopColumn::include, std::int64_t{1});
   row.set(HopColumn::pathOptionName, std::move(path));
   row.set(HopColumn::entryPathComp, std::int64_t{2});
   return row;
}

TEST(TunnelsView, showsOneLineATunnelAndTheTotals) {
   EXPECT_THAT(tunnelsView({{index(12), tunnel("to-paris", 1)}, {index(13), tunnel("a", 2, "\xd8")}}, false),
               ElementsAre("NAME      ID    INGRESS    EGRESS    STATE  PRIO  FLAGS                   UP TIME",
                           "to-paris  12/1  192.0.2.1  10.0.0.9  up     7/0   -                   3d 04:05:06",
                           "a         13/1  192.0.2.1  10.0.0.9  down   7/0   FRR merging pinned  3d 04:05:06",
                           "",  //
                           "2 tunnels, 1 up, 1 down"));
}

TEST(TunnelsView, coloursWhatIsDownOrProtected) {
   auto const lines = tunnelsView({{index(12), tunnel("to-paris", 2)}, {index(13), protectedTunnel()}}, true);
   EXPECT_THAT(lines[1], HasSubstr("\x1b[31mdown\x1b[0m"));
   EXPECT_THAT(lines[2], HasSubstr("\x1b[33mFRR protected\x1b[0m"));
   EXPECT_EQ(lines.back(), "2 tunnels, 1 up, 1 down, 1 protected");
}

TEST(TunnelsView, showsDashesForWhatDidNotCome) {
   EXPECT_THAT(tunnelsView({{index(12), Row()}}, false),
               ElementsAre("NAME  ID    INGRESS    EGRESS    STATE  PRIO  FLAGS  UP TIME",
                           "-     12/1  192.0.2.1  10.0.0.9  -      -/-   -            -",
                           "",  //
                           "1 tunnel, 0 up, 0 down, 1 other"));
}

TEST(TunnelsView, isOneLineWithoutTunnels) {
   EXPECT_THAT(tunnelsView({}, false), ElementsAre("0 tunnels, 0 up, 0 down"));
}

TEST(StateCell, saysWhenATunnelIsShutDownByItsOperator) {
   Row row;
   row.set(TunnelColumn::adminStatus, std::int64_t{2});
   row.set(TunnelColumn::operStatus, std::int64_t{2});
   EXPECT_EQ(stateCell(row).text, "admin down");
}

TEST(HopsView, namesTheTunnelOfEachHop) {
   auto owner = tunnel("to-paris", 1);
   owner.set(TunnelColumn::hopTableIndex, std::uint64_t{3});
   auto without = tunnel("no-list", 1);
   without.set(TunnelColumn::hopTableIndex, std::uint64_t{0});
   Rows const hops{{{3, 1, 1}, hop("gold", "\x0a\x01\x0c\x02")},
                   {{3, 1, 2}, hop("gold", "\x0a\x01\x17\x03")},
                   {{4, 1, 1}, Row()}};
   EXPECT_THAT(hopsView({{index(12), owner}, {index(13), without}}, hops, false),
               ElementsAre("TUNNEL    LIST  PATH  HOP  ADDRESS       TYPE    INCLUDE  COMPUTED",
                           "to-paris     3  gold    1  10.1.12.2/32  strict  yes      explicit",
                           "to-paris     3  gold    2  10.1.23.3/32  strict  yes      explicit",
                           "-            4  -       1  -             -       -        -",
                           "",  //
                           "3 hops in 2 paths"));
}

TEST(PerfView, prefersThe64BitCounters) {
   Row both;
   both.set(PerfColumn::packets, std::uint64_t{1});
   both.set(PerfColumn::hcPackets, (std::uint64_t{1} << 32) + 1);
   both.set(PerfColumn::bytes, std::uint64_t{2});
   both.set(PerfColumn::hcBytes, (std::uint64_t{1} << 32) + 2);
   Row narrow;
   narrow.set(PerfColumn::packets, std::uint64_t{10});
   narrow.set(PerfColumn::bytes, std::uint64_t{20});
   EXPECT_THAT(perfView({{index(12), tunnel("to-paris", 1)}}, {{index(12), both}, {index(13), narrow}}, false),
               ElementsAre("NAME      ID    INGRESS    EGRESS       PACKETS       BYTES",
                           "to-paris  12/1  192.0.2.1  10.0.0.9  4294967297  4294967298",
                           "-         13/1  192.0.2.1  10.0.0.9          10          20",
                           "",  //
                           "2 tunnels, 4294967307 packets, 4294967318 bytes"));
}

TEST(TunnelView, showsColumnsPathAndCountersOnOneScreen) {
   Row counters;
   counters.set(PerfColumn::hcPackets, std::uint64_t{5});
   auto const lines =
         tunnelView(index(12), protectedTunnel(), {{{3, 1, 1}, hop("gold", "\x0a\x01\x0c\x02")}}, counters, false);
   EXPECT_EQ(lines.front(), "to-rome  12/1  192.0.2.1 -> 10.0.0.9  up");
   EXPECT_THAT(lines,
               testing::Contains("protection in use   yes                                   row status          -"));
   EXPECT_THAT(lines, testing::Contains("gold    1  10.1.12.2/32  strict  yes      explicit"));
   EXPECT_EQ(lines.back(), "5 packets, - bytes");
   EXPECT_LE(lines.size(), 24U) << "a screen";
}

TEST(TunnelView, saysWhenThereIsNoPath) {
   EXPECT_THAT(tunnelView(index(12), tunnel("a", 1), {}, Row(), false), testing::Contains("no hops"));
}

}  // namespace
}  // namespace Tools
