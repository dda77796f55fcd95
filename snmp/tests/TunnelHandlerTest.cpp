// SPDX-License-Identifier: MIT
/// What mplsTunnelTable answers for a row that the iterator has found, and what every handler does with lists of
/// requests.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "snmp/tests/Requests.h"
#include "snmp/tests/Rows.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using TestSupport::octets;
using TestSupport::RequestList;
using TestSupport::tunnelKey;
using TestSupport::TunnelRow;
using TestSupport::tunnelRow;
using TestSupport::valueText;
using Line = TestSupport::TraceCapture::Line;

constexpr std::string_view kKey1 =
      "Value('MplsSnmp::MplsTunnelTableKey', ** {'tunnelIndex': 1, 'tunnelInstance': 1, 'tunnelIngressLsrId': "
      "167772161, 'tunnelEgressLsrId': 167772169})";

class TunnelHandler : public testing::Test {
 protected:
   static std::string get(unsigned column, TunnelRow::Values values = {}, std::uint32_t hopTableIndex = 1) {
      return TestSupport::get<TunnelTable>(column, tunnelRow(tunnelKey(1), std::move(values), hopTableIndex));
   }
   TestSupport::TraceCapture trace_{"mplsTeStdMIB"};
};

TEST_F(TunnelHandler, SendsTheName) {
   EXPECT_EQ(get(5, {.name = "to-paris"}), octets("to-paris"));
   EXPECT_EQ(get(5, {.name = ""}), octets(""));
}

TEST_F(TunnelHandler, CutsANameThatIsTooLong) {
   EXPECT_EQ(get(5, {.name = std::string(255, 'a')}), octets(std::string(255, 'a')));
   EXPECT_EQ(get(5, {.name = std::string(255, 'a') + "bc"}), octets(std::string(255, 'a')));
}

TEST_F(TunnelHandler, FailsForADescriptionThatIsTooLong) {
   EXPECT_EQ(get(6, {.descr = std::string(255, 'd')}), octets(std::string(255, 'd')));
   trace_.clear();
   EXPECT_EQ(get(6, {.descr = std::string(256, 'd')}), "error 5");
   EXPECT_EQ(trace_.lines().back(), (Line{2, "handle_mplsTunnelTable - StringToAsnOctetString failed for: descr"}));
}

TEST_F(TunnelHandler, SendsAnEmptyDescription) { EXPECT_EQ(get(6), octets("")); }

TEST_F(TunnelHandler, SendsFlagsAsTruthValues) {
   EXPECT_EQ(get(7, {.isIf = true}), "INTEGER 1");
   EXPECT_EQ(get(7, {.isIf = false}), "INTEGER 2");
   EXPECT_EQ(get(16, {.localProtectInUse = true}), "INTEGER 1");
   EXPECT_EQ(get(16, {.localProtectInUse = false}), "INTEGER 2");
}

TEST_F(TunnelHandler, SendsTheInterfaceIndexAsIntegerAndTheHopTableIndexAsUnsigned32) {
   EXPECT_EQ(get(8, {.ifIndex = 4711}), "INTEGER 4711");
   EXPECT_EQ(get(20, {}, 4711), "Unsigned32 4711");
   EXPECT_EQ(get(20, {}, 0xffffffff), "Unsigned32 4294967295");
}

TEST_F(TunnelHandler, SendsEnumerationsByTheNumbersOfTheMib) {
   EXPECT_EQ(get(9), "INTEGER 6") << "mplsTunnelOwner: rsvpTe";
   EXPECT_EQ(get(9, {.owner = MplsOwner::unknown}), "INTEGER 1");
   EXPECT_EQ(get(10), "INTEGER 1") << "mplsTunnelRole: head";
   EXPECT_EQ(get(10, {.role = TunnelRole::headTail}), "INTEGER 4");
   EXPECT_EQ(get(12), "INTEGER 2") << "mplsTunnelSignallingProto: rsvp";
   EXPECT_EQ(get(34), "INTEGER 1") << "mplsTunnelAdminStatus: up";
   EXPECT_EQ(get(35), "INTEGER 1") << "mplsTunnelOperStatus: up";
   EXPECT_EQ(get(35, {.operStatus = OperStatus::operDown}), "INTEGER 2");
   EXPECT_EQ(get(35, {.operStatus = OperStatus::operLowerLayerDown}), "INTEGER 7");
   EXPECT_EQ(get(36), "INTEGER 1") << "mplsTunnelRowStatus: active";
   EXPECT_EQ(get(37), "INTEGER 5") << "mplsTunnelStorageType: readOnly";
}

TEST_F(TunnelHandler, SendsPrioritiesAsIntegers) {
   EXPECT_EQ(get(13, {.setupPrio = 7}), "INTEGER 7");
   EXPECT_EQ(get(13, {.setupPrio = 255}), "INTEGER 255");
   EXPECT_EQ(get(14, {.holdingPrio = 0}), "INTEGER 0");
   EXPECT_EQ(get(14, {.holdingPrio = 6}), "INTEGER 6");
}

TEST_F(TunnelHandler, SendsSessionAttributesAsOneOctetOfBits) {
   EXPECT_EQ(get(15, {.sessionAttributes = 0x04}), "OCTETS 32") << "the third flag alone is 0x20";
   EXPECT_EQ(get(15, {.sessionAttributes = 0x14}), "OCTETS 40");
   EXPECT_EQ(get(15, {.sessionAttributes = 0x00}), "OCTETS 0");
}

TEST_F(TunnelHandler, SendsAffinitiesInFull) {
   EXPECT_EQ(get(21), "Unsigned32 1") << "mplsTunnelPathInUse";
   EXPECT_EQ(get(24, {.includeAnyAffinity = 0xffffffff}), "Unsigned32 4294967295");
   EXPECT_EQ(get(25, {.includeAllAffinity = 0x80000000}), "Unsigned32 2147483648");
   EXPECT_EQ(get(26, {.excludeAnyAffinity = 3}), "Unsigned32 3");
}

TEST_F(TunnelHandler, SendsTheUpTimeInHundredths) {
   EXPECT_EQ(get(28, {.instanceUpTime = 3600.25}), "TimeTicks 360025");
   EXPECT_EQ(get(28, {.instanceUpTime = -5}), "TimeTicks 0");
   EXPECT_EQ(get(28, {.instanceUpTime = 42949673.0}), "TimeTicks 4") << "TimeTicks start again at 2^32";
}

TEST_F(TunnelHandler, SendsTheTwoCountsOfChanges) {
   EXPECT_EQ(get(30, {.pathChanges = 0xffffffff}), "Counter32 4294967295");
   EXPECT_EQ(get(33, {.stateTransitions = 5}), "Counter32 5");
}

TEST_F(TunnelHandler, KnowsNoObjectBehindTheColumnsThatItDoesNotServe) {
   for (unsigned column : {11U, 17U, 18U, 19U, 22U, 23U, 27U, 29U, 31U, 32U, 0U, 4U, 38U, 0xffffffffU}) {
      trace_.clear();
      EXPECT_EQ(get(column), "noSuchObject") << column;
      EXPECT_EQ(trace_.lines().back(), (Line{0, fmt::format("mplsTunnelTable invalid column {}", column)}));
   }
}

TEST_F(TunnelHandler, ServesEveryOtherColumnFrom5To37) {
   unsigned served = 0;
   for (unsigned column = 5; column <= 37; ++column) served += get(column) != "noSuchObject" ? 1 : 0;
   EXPECT_EQ(served, 23U);
}

TEST_F(TunnelHandler, SaysWhatItReads) {
   RequestList<TunnelTable> requests;
   requests.add(5, tunnelRow(tunnelKey(1)));
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_THAT(trace_.lines(),
               ElementsAre(Line{2, "mplsTunnelTable_handler"}, Line{2, "mplsTunnelTable_handler: request mode 160"},
                           Line{2, "mplsTunnelTable_handler: request GET for column mplsTunnelName, key " +
                                         std::string(kKey1)}));
}

TEST_F(TunnelHandler, AnswersEveryRequestOfAList) {
   RequestList<TunnelTable> requests;
   requests.add(13, tunnelRow(tunnelKey(1), {.setupPrio = 1}));
   requests.add(13, tunnelRow(tunnelKey(2), {.setupPrio = 2}));
   requests.add(5, tunnelRow(tunnelKey(2), {.name = "x"}));
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_EQ(valueText(*requests[0].requestvb), "INTEGER 1");
   EXPECT_EQ(valueText(*requests[1].requestvb), "INTEGER 2");
   EXPECT_EQ(valueText(*requests[2].requestvb), octets("x"));
}

TEST_F(TunnelHandler, DoesNothingWithAnEmptyList) {
   EXPECT_EQ(RequestList<TunnelTable>().handle(), SNMP_ERR_NOERROR);
   EXPECT_EQ(RequestList<TunnelTable>(MODE_SET_RESERVE1).handle(), SNMP_ERR_NOERROR);
}

TEST_F(TunnelHandler, PassesOverWhatIsProcessedAlready) {
   RequestList<TunnelTable> requests;
   requests.add(13, tunnelRow(tunnelKey(1))).processed = 1;
   requests.add(13, tunnelRow(tunnelKey(1)));
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_EQ(trace_.lines()[2],
             (Line{2, fmt::format("mplsTunnelTable_handler: request {} already processed", fmt::ptr(&requests[0]))}));
   EXPECT_EQ(valueText(*requests[0].requestvb), "NULL");
   EXPECT_EQ(valueText(*requests[1].requestvb), "INTEGER 7");
}

TEST_F(TunnelHandler, StopsAtARequestWithoutARow) {
   RequestList<TunnelTable> requests;
   requests.add(13, nullptr);
   requests.add(13, tunnelRow(tunnelKey(1)));
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_EQ(trace_.lines().back(), (Line{2, "mplsTunnelTable_handler: null data context in request"}));
   EXPECT_EQ(valueText(*requests[0].requestvb), "NULL") << "the agent makes it noSuchInstance";
   EXPECT_EQ(valueText(*requests[1].requestvb), "NULL") << "the rest of the list is left as it stands";
}

TEST_F(TunnelHandler, StopsAtAColumnThatItDoesNotServe) {
   RequestList<TunnelTable> requests;
   requests.add(11, tunnelRow(tunnelKey(1)));
   requests.add(13, tunnelRow(tunnelKey(1)));
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_EQ(valueText(*requests[0].requestvb), "noSuchObject");
   EXPECT_EQ(valueText(*requests[1].requestvb), "NULL") << "the rest of the list is not looked at";
}

TEST_F(TunnelHandler, SetsAFailureOnTheFirstRequestOfTheList) {
   RequestList<TunnelTable> requests;
   requests.add(13, tunnelRow(tunnelKey(1)));
   requests.add(6, tunnelRow(tunnelKey(1), {.descr = std::string(256, 'd')}));
   requests.add(13, tunnelRow(tunnelKey(1)));
   EXPECT_EQ(requests.handle(), SNMP_ERR_GENERR);
   EXPECT_EQ(requests[0].status, SNMP_ERR_GENERR);
   EXPECT_EQ(requests[1].status, SNMP_ERR_NOERROR);
   EXPECT_EQ(valueText(*requests[2].requestvb), "NULL");
}

/// A row that cannot be read.
struct BrokenRow : TunnelRow {
   BrokenRow() : TunnelRow(tunnelKey(1), 1, {}) {}
   Vel::String name() const override { throw std::runtime_error("the state is gone"); }
   std::uint32_t ifIndex() const override { throw 1; }
};

TEST_F(TunnelHandler, ARowThatCannotBeReadFailsItsRequestAndNothingElse) {
   EXPECT_EQ(TestSupport::get<TunnelTable>(5, Vel::makePtr<BrokenRow>()), "error 5");
   EXPECT_EQ(trace_.lines().back(), (Line{0, "handle_mplsTunnelTable - reading name failed: the state is gone"}));
   EXPECT_EQ(TestSupport::get<TunnelTable>(8, Vel::makePtr<BrokenRow>()), "error 5");
   EXPECT_EQ(trace_.lines().back(), (Line{0, "handle_mplsTunnelTable - reading ifIndex failed"}));
   EXPECT_EQ(TestSupport::get<TunnelTable>(13, Vel::makePtr<BrokenRow>()), "INTEGER 7");
}

/// The tunnel table as if no value had room.
struct NoRoomTable : TunnelTable {
   static constexpr auto noRoom = [] {
      auto columns = kTunnelColumns;
      for (auto& column : columns) column.limit = 0;
      return columns;
   }();
   static constexpr std::span<Column<Row> const> columns = noRoom;
};

TEST_F(TunnelHandler, NamesTheConversionAndTheValueThatFailed) {
   struct Failure {
      unsigned column;
      std::string_view text;
   };
   constexpr auto failures = std::to_array<Failure>({
         {6, "StringToAsnOctetString failed for: descr"},
         {7, "BoolToAsnInteger failed for: isIf"},
         {8, "U32ToAsnUnsigned failed for: ifIndex"},
         {9, "S32ToAsnInteger failed for: owner"},
         {10, "S32ToAsnInteger failed for: role"},
         {12, "S32ToAsnInteger failed for: signallingProto"},
         {13, "S32ToAsnInteger failed for: setupPrio"},
         {14, "S32ToAsnInteger failed for: holdingPrio"},
         {16, "BoolToAsnInteger failed for: localProtectInUse"},
         {20, "U32ToAsnUnsigned failed for: hopTableIndex"},
         {21, "U32ToAsnUnsigned failed for: pathInUse"},
         {24, "U32ToAsnUnsigned failed for: includeAnyAffinity"},
         {25, "U32ToAsnUnsigned failed for: includeAllAffinity"},
         {26, "U32ToAsnUnsigned failed for: excludeAnyAffinity"},
         {28, "NowSecondsToUptimeTimeTicks failed for: instanceUpTime"},
         {30, "U64ToCounter32 failed for: pathChanges"},
         {33, "U64ToCounter32 failed for: stateTransitions"},
         {34, "S32ToAsnInteger failed for: adminStatus"},
         {35, "S32ToAsnInteger failed for: operStatus"},
         {36, "S32ToAsnInteger failed for: rowStatus"},
         {37, "S32ToAsnInteger failed for: storageType"},
   });
   for (auto const& [column, text] : failures) {
      EXPECT_EQ(TestSupport::get<NoRoomTable>(column, tunnelRow(tunnelKey(1), {.descr = "d"})), "error 5");
      EXPECT_EQ(trace_.lines().back(), (Line{2, "handle_mplsTunnelTable - " + std::string(text)}));
   }
   // These two never fail by themselves: one is cut, the other asserts that there is room.
   EXPECT_EQ(findColumn(TunnelTable::columns, 5)->conversion, "TruncatableStringToAsnOctetString");
   EXPECT_EQ(findColumn(TunnelTable::columns, 5)->value, "name");
   EXPECT_EQ(findColumn(TunnelTable::columns, 15)->conversion, "SessionAttributesToAsnBits");
   EXPECT_EQ(findColumn(TunnelTable::columns, 15)->value, "sessionAttributes");
}

/// The tunnel table as if its strings were not limited on the way.
struct WideTable : TunnelTable {
   static constexpr auto wide = [] {
      auto columns = kTunnelColumns;
      for (auto& column : columns) column.limit = kEncodeBufferSize;
      return columns;
   }();
   static constexpr std::span<Column<Row> const> columns = wide;
};

TEST_F(TunnelHandler, RefusesToSendStringsBeyond255Octets) {
   EXPECT_EQ(TestSupport::get<WideTable>(5, tunnelRow(tunnelKey(1), {.name = std::string(300, 'n')})), "error 5");
   EXPECT_EQ(trace_.lines().back(), (Line{2,
                                          "handle_mplsTunnelTable - entity /<sysname>/snmp/mpls/mplsTeMib length "
                                          "out of range: name (300)"}));
   EXPECT_EQ(TestSupport::get<WideTable>(6, tunnelRow(tunnelKey(1), {.descr = std::string(256, 'd')})), "error 5");
   EXPECT_EQ(trace_.lines().back(), (Line{2,
                                          "handle_mplsTunnelTable - entity /<sysname>/snmp/mpls/mplsTeMib length "
                                          "out of range: descr (256)"}));
   EXPECT_EQ(TestSupport::get<WideTable>(6, tunnelRow(tunnelKey(1), {.descr = std::string(255, 'd')})),
             octets(std::string(255, 'd')));
}

class TunnelHandlerSet : public TunnelHandler, public testing::WithParamInterface<int> {
 protected:
   /// The answer to a SET of one column of a row that need not be there.
   static int set(unsigned column) {
      RequestList<TunnelTable> requests(GetParam());
      auto& request = requests.add(column, nullptr);
      EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
      return request.status;
   }
};

TEST_P(TunnelHandlerSet, RefusesTheReadCreateColumnsByName) {
   struct ReadCreate {
      unsigned column;
      std::string_view object;
   };
   constexpr auto columns = std::to_array<ReadCreate>({{5, "mplsTunnelName"},
                                                       {6, "mplsTunnelDescr"},
                                                       {7, "mplsTunnelIsIf"},
                                                       {10, "mplsTunnelRole"},
                                                       {11, "mplsTunnelXCPointer"},
                                                       {12, "mplsTunnelSignallingProto"},
                                                       {13, "mplsTunnelSetupPrio"},
                                                       {14, "mplsTunnelHoldingPrio"},
                                                       {15, "mplsTunnelSessionAttributes"},
                                                       {16, "mplsTunnelLocalProtectInUse"},
                                                       {17, "mplsTunnelResourcePointer"},
                                                       {19, "mplsTunnelInstancePriority"},
                                                       {20, "mplsTunnelHopTableIndex"},
                                                       {21, "mplsTunnelPathInUse"},
                                                       {24, "mplsTunnelIncludeAnyAffinity"},
                                                       {25, "mplsTunnelIncludeAllAffinity"},
                                                       {26, "mplsTunnelExcludeAnyAffinity"},
                                                       {34, "mplsTunnelAdminStatus"},
                                                       {36, "mplsTunnelRowStatus"},
                                                       {37, "mplsTunnelStorageType"}});
   for (auto const& [column, object] : columns) {
      trace_.clear();
      EXPECT_EQ(set(column), SNMP_ERR_NOTWRITABLE) << column;
      EXPECT_THAT(
            trace_.lines(),
            ElementsAre(Line{2, "mplsTunnelTable_handler"},
                        Line{2, fmt::format("mplsTunnelTable_handler: request mode {}", GetParam())},
                        Line{2, "mplsTunnelTable_handler: SET is not configured for column " + std::string(object)}));
   }
}

TEST_P(TunnelHandlerSet, RefusesTheReadOnlyColumnsAsInvalid) {
   for (unsigned column : {8U, 9U, 18U, 22U, 23U, 27U, 28U, 29U, 30U, 31U, 32U, 33U, 35U, 0U, 4U, 38U}) {
      EXPECT_EQ(set(column), SNMP_ERR_NOTWRITABLE) << column;
      EXPECT_EQ(trace_.lines().back(), (Line{0, fmt::format("mplsTunnelTable invalid column {}", column)}));
   }
}

TEST_P(TunnelHandlerSet, LooksAtTheFirstUnprocessedRequestOnly) {
   RequestList<TunnelTable> requests(GetParam());
   requests.add(5, nullptr).processed = 1;
   requests.add(34, nullptr);
   requests.add(35, nullptr);
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_EQ(requests[0].status, SNMP_ERR_NOERROR);
   EXPECT_EQ(requests[1].status, SNMP_ERR_NOTWRITABLE);
   EXPECT_EQ(requests[2].status, SNMP_ERR_NOERROR);
   EXPECT_EQ(trace_.lines()[2],
             (Line{2, fmt::format("mplsTunnelTable_handler: request {} already processed", fmt::ptr(&requests[0]))}));
}

TEST_P(TunnelHandlerSet, HasNothingToSayWhenAllIsProcessed) {
   RequestList<TunnelTable> requests(GetParam());
   requests.add(5, nullptr).processed = 1;
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_EQ(requests[0].status, SNMP_ERR_NOERROR);
}

TEST_P(TunnelHandlerSet, RefusesARequestThatNamesNoColumn) {
   RequestList<TunnelTable> requests(GetParam());
   auto& request = requests.add(5, nullptr);
   netsnmp_free_request_data_sets(&request);
   EXPECT_EQ(requests.handle(), SNMP_ERR_NOERROR);
   EXPECT_EQ(request.status, SNMP_ERR_NOTWRITABLE);
   EXPECT_EQ(trace_.lines().back(), (Line{0, "mplsTunnelTable invalid column 0"}));
}

INSTANTIATE_TEST_SUITE_P(EveryPhase, TunnelHandlerSet,
                         testing::Values(MODE_SET_RESERVE1, MODE_SET_RESERVE2, MODE_SET_ACTION, MODE_SET_COMMIT,
                                         MODE_SET_FREE, MODE_SET_UNDO));

}  // namespace
}  // namespace MplsSnmp
