// SPDX-License-Identifier: MIT
/// What mplsTunnelHopTable answers for a row that the iterator has found.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "snmp/tests/Requests.h"
#include "snmp/tests/Rows.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {
namespace {

using testing::ElementsAre;
using TestSupport::HopRow;
using TestSupport::hopRow;
using TestSupport::octets;
using TestSupport::RequestList;
using Line = TestSupport::TraceCapture::Line;

class HopHandler : public testing::Test {
 protected:
   static std::string get(unsigned column, HopRow::Values values = {}) {
      return TestSupport::get<HopTable>(column, hopRow({12, 1, 3}, std::move(values)));
   }
   void expectFailure(unsigned column, HopRow::Values values, std::string_view text) {
      EXPECT_EQ(get(column, std::move(values)), "error 5");
      EXPECT_EQ(trace_.lines().back(), (Line{2, "handle_mplsTunnelHopTable - " + std::string(text)}));
   }
   void expectOutOfRange(unsigned column, HopRow::Values values, std::string_view what) {
      expectFailure(column, std::move(values),
                    "entity /<sysname>/snmp/mpls/mplsTeMib length out of range: " + std::string(what));
   }
   TestSupport::TraceCapture trace_{"mplsTeStdMIB"};
};

TEST_F(HopHandler, SendsTheAddressOfAnIpv4Hop) {
   EXPECT_EQ(get(4), "INTEGER 1");
   EXPECT_EQ(get(5), "OCTETS 10.0.12.2");
   EXPECT_EQ(get(6), "Unsigned32 32");
}

TEST_F(HopHandler, SendsTheAddressOfAnIpv6Hop) {
   HopRow::Values const values{.addrType = HopAddrType::ipv6, .ipAddr = std::string(16, '\x20'), .prefixLen = 128};
   EXPECT_EQ(get(4, values), "INTEGER 2");
   EXPECT_EQ(get(5, values), octets(std::string(16, '\x20')));
   EXPECT_EQ(get(6, values), "Unsigned32 128");
}

TEST_F(HopHandler, SendsAddressesOfUpTo32Octets) {
   EXPECT_EQ(get(5, {.addrType = HopAddrType::typeUnknown, .ipAddr = ""}), octets(""));
   EXPECT_EQ(get(5, {.ipAddr = std::string(32, 'x')}), octets(std::string(32, 'x')));
   expectFailure(5, {.ipAddr = std::string(33, 'x')}, "BytesToAsnOctetString failed for: hopIpAddr");
}

TEST_F(HopHandler, SendsAsNumberAndUnnumberedInterfaceOfExactlyFourOctets) {
   EXPECT_EQ(get(7, {.asNumber = "\xc0\x80\xc0\x80"}), "OCTETS 192.128.192.128");
   EXPECT_EQ(get(8, {.addrUnnum = "\xc0\x80\xc0\x80"}), "OCTETS 192.128.192.128");
   expectOutOfRange(7, {.asNumber = ""}, "hopAsNumber (0)");
   expectOutOfRange(7, {.asNumber = "abc"}, "hopAsNumber (3)");
   expectFailure(7, {.asNumber = "abcde"}, "BytesToAsnOctetString failed for: hopAsNumber");
   expectOutOfRange(8, {.addrUnnum = ""}, "hopAddrUnnum (0)");
   expectFailure(8, {.addrUnnum = "abcde"}, "BytesToAsnOctetString failed for: hopAddrUnnum");
}

TEST_F(HopHandler, SendsAnLspIdOfTwoOrSixOctets) {
   EXPECT_EQ(get(9, {.lspId = "\xc0\x80"}), "OCTETS 192.128");
   EXPECT_EQ(get(9, {.lspId = "abcdef"}), octets("abcdef"));
   for (std::size_t length : {0U, 1U, 3U, 4U, 5U}) {
      expectOutOfRange(9, {.lspId = std::string(length, 'l')}, fmt::format("hopLspId ({})", length));
   }
   expectFailure(9, {.lspId = "abcdefg"}, "BytesToAsnOctetString failed for: hopLspId");
}

TEST_F(HopHandler, SendsTypeIncludeAndPathComputation) {
   EXPECT_EQ(get(10), "INTEGER 1") << "strict";
   EXPECT_EQ(get(10, {.type = HopType::loose}), "INTEGER 2");
   EXPECT_EQ(get(11), "INTEGER 1");
   EXPECT_EQ(get(11, {.include = false}), "INTEGER 2");
   EXPECT_EQ(get(13), "INTEGER 2") << "explicit";
   EXPECT_EQ(get(13, {.pathComp = HopEntryPathComp::compDynamic}), "INTEGER 1");
   EXPECT_EQ(get(14), "INTEGER 1") << "active";
   EXPECT_EQ(get(15), "INTEGER 5") << "readOnly";
}

TEST_F(HopHandler, SendsThePathOptionNameIfItFits) {
   EXPECT_EQ(get(12), octets("gold"));
   EXPECT_EQ(get(12, {.pathOptionName = std::string(255, 'p')}), octets(std::string(255, 'p')));
   expectFailure(12, {.pathOptionName = std::string(256, 'p')}, "StringToAsnOctetString failed for: hopPathOptionName");
}

TEST_F(HopHandler, KnowsNoColumnOutside4To15) {
   for (unsigned column : {0U, 1U, 3U, 16U, 0xffffffffU}) {
      EXPECT_EQ(get(column), "noSuchObject") << column;
      EXPECT_EQ(trace_.lines().back(), (Line{0, fmt::format("mplsTunnelHopTable invalid column {}", column)}));
   }
}

TEST_F(HopHandler, SpeaksByItsOwnName) {
   RequestList<HopTable> requests;
   requests.add(4, hopRow({12, 1, 3})).processed = 1;
   requests.add(5, hopRow({12, 1, 3}));
   requests.add(5, nullptr);
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_THAT(
         trace_.lines(),
         ElementsAre(
               Line{2, "mplsTunnelHopTable_handler"}, Line{2, "mplsTunnelHopTable_handler: request mode 160"},
               Line{2, fmt::format("mplsTunnelHopTable_handler: request {} already processed", fmt::ptr(&requests[0]))},
               Line{2,
                    "mplsTunnelHopTable_handler: request GET for column mplsTunnelHopIpAddr, key "
                    "Value('MplsSnmp::MplsTunnelHopTableKey', ** {'tunnelHopListIndex': 12, "
                    "'tunnelHopPathOptionIndex': 1, 'tunnelHopIndex': 3})"},
               Line{2, "mplsTunnelHopTable_handler: null data context in request"}));
}

TEST_F(HopHandler, AFailedLengthIsSetOnTheFirstRequestOfTheList) {
   RequestList<HopTable> requests;
   requests.add(4, hopRow({12, 1, 3}));
   requests.add(9, hopRow({12, 1, 4}, {.lspId = "abcd"}));
   EXPECT_EQ(requests.handle(), SNMP_ERR_GENERR);
   EXPECT_EQ(requests[0].status, SNMP_ERR_GENERR);
   EXPECT_EQ(requests[1].status, SNMP_ERR_NOERROR);
}

/// The hop table as if no value had room, or with room beyond the sizes of the MIB.
template <std::size_t Limit>
struct LimitedHopTable : HopTable {
   static constexpr auto limited = [] {
      auto columns = kHopColumns;
      for (auto& column : columns) column.limit = Limit;
      return columns;
   }();
   static constexpr std::span<Column<Row> const> columns = limited;
};

TEST_F(HopHandler, NamesTheConversionAndTheValueThatFailed) {
   struct Failure {
      unsigned column;
      std::string_view text;
   };
   constexpr auto failures = std::to_array<Failure>({{4, "S32ToAsnInteger failed for: hopAddrType"},
                                                     {5, "BytesToAsnOctetString failed for: hopIpAddr"},
                                                     {6, "U32ToAsnUnsigned failed for: hopIpPrefixLen"},
                                                     {7, "BytesToAsnOctetString failed for: hopAsNumber"},
                                                     {8, "BytesToAsnOctetString failed for: hopAddrUnnum"},
                                                     {9, "BytesToAsnOctetString failed for: hopLspId"},
                                                     {10, "S32ToAsnInteger failed for: hopType"},
                                                     {11, "BoolToAsnInteger failed for: hopInclude"},
                                                     {12, "StringToAsnOctetString failed for: hopPathOptionName"},
                                                     {13, "S32ToAsnInteger failed for: hopEntryPathComp"},
                                                     {14, "S32ToAsnInteger failed for: rowStatus"},
                                                     {15, "S32ToAsnInteger failed for: storageType"}});
   for (auto const& [column, text] : failures) {
      EXPECT_EQ(TestSupport::get<LimitedHopTable<0>>(column, hopRow({1, 1, 1})), "error 5");
      EXPECT_EQ(trace_.lines().back(), (Line{2, "handle_mplsTunnelHopTable - " + std::string(text)}));
   }
}

TEST_F(HopHandler, RefusesToSendMoreThanTheSizesOfTheMib) {
   auto const outOfRange = [&](unsigned column, HopRow::Values values) {
      EXPECT_EQ(TestSupport::get<LimitedHopTable<kEncodeBufferSize>>(column, hopRow({1, 1, 1}, std::move(values))),
                "error 5");
      std::string const text = trace_.lines().back().text;
      return text.substr(text.find("range: ") + 7);
   };
   EXPECT_EQ(outOfRange(5, {.ipAddr = std::string(33, 'x')}), "hopIpAddr (33)");
   EXPECT_EQ(outOfRange(7, {.asNumber = "abcde"}), "hopAsNumber (5)");
   EXPECT_EQ(outOfRange(8, {.addrUnnum = "abcde"}), "hopAddrUnnum (5)");
   EXPECT_EQ(outOfRange(9, {.lspId = "abcdefg"}), "hopLspId (7)");
   EXPECT_EQ(outOfRange(12, {.pathOptionName = std::string(256, 'p')}), "hopPathOptionName (256)");
}

TEST_F(HopHandler, RefusesASetOfEachColumnByName) {
   constexpr std::array<std::string_view, 12> objects{
         "mplsTunnelHopAddrType",      "mplsTunnelHopIpAddr",    "mplsTunnelHopIpPrefixLen",
         "mplsTunnelHopAsNumber",      "mplsTunnelHopAddrUnnum", "mplsTunnelHopLspId",
         "mplsTunnelHopType",          "mplsTunnelHopInclude",   "mplsTunnelHopPathOptionName",
         "mplsTunnelHopEntryPathComp", "mplsTunnelHopRowStatus", "mplsTunnelHopStorageType"};
   for (unsigned column = 4; column <= 15; ++column) {
      RequestList<HopTable> requests(MODE_SET_RESERVE1);
      auto& request = requests.add(column, hopRow({1, 1, 1}));
      EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
      EXPECT_EQ(request.status, SNMP_ERR_NOTWRITABLE);
      EXPECT_EQ(trace_.lines().back(), (Line{2, "mplsTunnelHopTable_handler: SET is not configured for column " +
                                                      std::string(objects[column - 4])}));
   }
   for (unsigned column : {0U, 3U, 16U}) {
      RequestList<HopTable> requests(MODE_SET_RESERVE1);
      auto& request = requests.add(column, hopRow({1, 1, 1}));
      EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
      EXPECT_EQ(request.status, SNMP_ERR_NOTWRITABLE);
      EXPECT_EQ(trace_.lines().back(), (Line{0, fmt::format("mplsTunnelHopTable invalid column {}", column)}));
   }
}

}  // namespace
}  // namespace MplsSnmp
