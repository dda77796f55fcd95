// SPDX-License-Identifier: MIT
/// What mplsTunnelPerfTable answers for a row that the iterator has found.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "snmp/tests/Requests.h"
#include "snmp/tests/Rows.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {
namespace {

using testing::ElementsAre;
using TestSupport::RequestList;
using TestSupport::tunnelKey;
using TestSupport::TunnelRow;
using TestSupport::tunnelRow;
using Line = TestSupport::TraceCapture::Line;

class PerfHandler : public testing::Test {
 protected:
   static std::string get(unsigned column, TunnelRow::Values values = {}) {
      return TestSupport::get<PerfTable>(column, tunnelRow(tunnelKey(1), std::move(values)));
   }
   TestSupport::TraceCapture trace_{"mplsTeStdMIB"};
};

TEST_F(PerfHandler, SendsPacketsAndBytes) {
   TunnelRow::Values const values{.perfPackets = 17, .perfBytes = 4711};
   EXPECT_EQ(get(1, values), "Counter32 17");
   EXPECT_EQ(get(2, values), "Counter64 17");
   EXPECT_EQ(get(4, values), "Counter32 4711");
   EXPECT_EQ(get(5, values), "Counter64 4711");
}

TEST_F(PerfHandler, ACountBeyond32BitsWrapsInTheOldColumnsAndIsFullInTheNewOnes) {
   constexpr std::uint64_t kFull = std::numeric_limits<std::uint64_t>::max();
   TunnelRow::Values const values{.perfPackets = (1ULL << 32U) + 5, .perfBytes = kFull};
   EXPECT_EQ(get(1, values), "Counter32 5");
   EXPECT_EQ(get(2, values), "Counter64 4294967301");
   EXPECT_EQ(get(4, values), "Counter32 4294967295");
   EXPECT_EQ(get(5, values), "Counter64 18446744073709551615");
}

TEST_F(PerfHandler, CountsNoErrors) {
   EXPECT_EQ(get(3), "noSuchObject");
   EXPECT_EQ(trace_.lines().back(), (Line{0, "mplsTunnelPerfTable invalid column 3"}));
   for (unsigned column : {0U, 6U}) EXPECT_EQ(get(column), "noSuchObject");
   EXPECT_EQ(trace_.lines().back(), (Line{0, "mplsTunnelPerfTable invalid column 6"}));
}

TEST_F(PerfHandler, SpeaksByItsOwnName) {
   RequestList<PerfTable> requests;
   requests.add(1, tunnelRow(tunnelKey(1))).processed = 1;
   requests.add(2, tunnelRow(tunnelKey(1)));
   requests.add(2, nullptr);
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_THAT(
         trace_.lines(),
         ElementsAre(Line{2, "mplsTunnelPerfTable_handler"}, Line{2, "mplsTunnelPerfTable_handler: request mode 160"},
                     Line{2, fmt::format("mplsTunnelPerfTable_handler: request {} already processed",
                                         fmt::ptr(&requests[0]))},
                     Line{2,
                          "mplsTunnelPerfTable_handler: request GET for column mplsTunnelPerfHCPackets, key "
                          "Value('MplsSnmp::MplsTunnelTableKey', ** {'tunnelIndex': 1, 'tunnelInstance': 1, "
                          "'tunnelIngressLsrId': 167772161, 'tunnelEgressLsrId': 167772169})"},
                     Line{2, "mplsTunnelPerfTable_handler: null data context in request"}));
}

/// The perf table as if no value had room.
struct NoRoomPerfTable : PerfTable {
   static constexpr auto noRoom = [] {
      auto columns = kPerfColumns;
      for (auto& column : columns) column.limit = 0;
      return columns;
   }();
   static constexpr std::span<Column<Row> const> columns = noRoom;
};

TEST_F(PerfHandler, NamesTheConversionAndTheCountThatFailed) {
   auto const failure = [&](unsigned column) {
      EXPECT_EQ(TestSupport::get<NoRoomPerfTable>(column, tunnelRow(tunnelKey(1))), "error 5");
      return trace_.lines().back();
   };
   EXPECT_EQ(failure(1), (Line{2, "handle_mplsTunnelPerfTable - U64ToCounter32 failed for: perfPackets"}));
   EXPECT_EQ(failure(2), (Line{2, "handle_mplsTunnelPerfTable - U64ToCounter64 failed for: perfPackets"}));
   EXPECT_EQ(failure(4), (Line{2, "handle_mplsTunnelPerfTable - U64ToCounter32 failed for: perfBytes"}));
   EXPECT_EQ(failure(5), (Line{2, "handle_mplsTunnelPerfTable - U64ToCounter64 failed for: perfBytes"}));
}

TEST_F(PerfHandler, RefusesASetOfAnyColumnAsInvalid) {
   for (unsigned column : {1U, 2U, 3U, 4U, 5U, 9U}) {
      RequestList<PerfTable> requests(MODE_SET_RESERVE1);
      auto& request = requests.add(column, tunnelRow(tunnelKey(1)));
      EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
      EXPECT_EQ(request.status, SNMP_ERR_NOTWRITABLE);
      EXPECT_EQ(trace_.lines().back(), (Line{0, fmt::format("mplsTunnelPerfTable invalid column {}", column)}));
   }
}

}  // namespace
}  // namespace MplsSnmp
