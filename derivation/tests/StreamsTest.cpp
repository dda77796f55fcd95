// SPDX-License-Identifier: MIT
// The events of the streams and their texts.
#include "derivation/tests/Derivation.h"

using testing::ElementsAre;
using testing::ElementsAreArray;
using TestSupport::TraceCapture;

namespace {

/// The lines that are among `wanted`, in the order in which they came.
std::vector<std::string> only(TraceCapture const& trace, std::vector<std::string> const& wanted) {
   std::vector<std::string> found;
   for (auto const& text : trace.texts()) {
      if (std::ranges::find(wanted, text) != wanted.end()) found.push_back(text);
   }
   return found;
}

}  // namespace

using Streams = Derivation;

TEST_F(Streams, AReplacedConfigurationIsADeleteOfTheOldAndThenAnAddOfTheNew) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   TraceCapture const trace("RsvpSnmpSm");
   auto const config = head.configIs(kParis);
   EXPECT_THAT(only(trace, {"stcStream add case", "stcStream delete case"}),
               ElementsAre("stcStream delete case", "stcStream add case"));
   EXPECT_TRUE(
         trace.has(fmt::format("stcStream = from( rsvpLerStatus.subTunnelConfigCollTable.subTunnelConfigColl[]"
                               ".subTunnelConfig[] ): tunnelSpecId=cli:to-paris subTunnelConfigId=cli:to-paris "
                               "subTunnelConfigOpt=Optional(Ptr({}))",
                               fmt::ptr(config.get()))));
   EXPECT_TRUE(
         trace.has(" flatten( [ ( if ( _oldValueOpt33 != _newValueOpt34 ) then _oldValueOpt33 else None, false ),"
                   " ( _newValueOpt34, true ) ] ) flattening 2 elements"));
}

TEST_F(Streams, TheSameValueAgainIsOnlyAnAdd) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   auto const config = head.configIs(kParis);
   startSynchronous();
   TraceCapture const trace("RsvpSnmpSm");
   auto const id = head.subTunnelId(kParis);
   sm->eventToStcStream(id.tunnelSpecId(), id, Vel::Optional<MplsSnmp::SubTunnelConfigPtr>(config));
   EXPECT_THAT(only(trace, {"stcStream add case", "stcStream delete case",
                            "filter( _valueOpt35 ) failed, terminating pipeline"}),
               ElementsAre("filter( _valueOpt35 ) failed, terminating pipeline", "stcStream add case"));
   EXPECT_TRUE(trace.has(fmt::format("Got value Ptr({}) with key Tuple(cli:to-paris, cli:to-paris) from cache",
                                     fmt::ptr(config.get()))));
}

TEST_F(Streams, ARemovedEntryIsOnlyADeleteOfTheCachedValueAndLeavesTheCache) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   TraceCapture trace("RsvpSnmpSm");
   head.configDel(kParis);
   EXPECT_THAT(only(trace, {"stcStream add case", "stcStream delete case",
                            "Deleting key Tuple(cli:to-paris, cli:to-paris) from cache",
                            "filter( _valueOpt35 ) failed, terminating pipeline"}),
               ElementsAre("Deleting key Tuple(cli:to-paris, cli:to-paris) from cache", "stcStream delete case",
                           "filter( _valueOpt35 ) failed, terminating pipeline"));
   // The cache does not know the key any more: another removal finds nothing to delete.
   trace.clear();
   auto const id = head.subTunnelId(kParis);
   sm->eventToStcStream(id.tunnelSpecId(), id, Vel::None);
   EXPECT_EQ(trace.count("filter( _valueOpt35 ) failed, terminating pipeline"), 2);
   EXPECT_FALSE(trace.has("stcStream delete case"));
}

TEST_F(Streams, TheCacheTellsWhatItIsGiven) {
   startSynchronous();
   TraceCapture const trace("RsvpSnmpSm");
   head.spIdIs(kParisPrimary, kSp12);
   EXPECT_TRUE(
         trace.has("spidStream = from( rsvpLerStatus.spIdMap.spIdForLspRequestConfigId[] ): "
                   "lspRequestConfigId=cli:to-paris@primary.1 spIdOpt=Optional(10.0.0.9/12/10.0.0.1/1)"));
   EXPECT_TRUE(trace.has("Inserting value 10.0.0.9/12/10.0.0.1/1 with key cli:to-paris@primary.1 into cache"));
   EXPECT_TRUE(trace.has("Flattening element: Tuple(None, False)"));
   EXPECT_TRUE(trace.has("Flattening element: Tuple(Optional(10.0.0.9/12/10.0.0.1/1), True)"));
   EXPECT_TRUE(trace.has("filter( _valueOpt116 ) failed, terminating pipeline"));
}

TEST_F(Streams, ASpIdUpdatesTheReverseIndexBeforeTheRows) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.spIdDel(kParisPrimary);
   startSynchronous();
   TraceCapture const trace("RsvpSnmpSm");
   head.spIdIs(kParisPrimary, kSp12);
   std::vector<std::string> const order{
         "spidReverseStream = merge( initStream, spidStream ): lspReqConfId=cli:to-paris@primary.1 "
         "spId=10.0.0.9/12/10.0.0.1/1 isAdd=True",
         "into( lspReqConfIdsForSpId[ spId ].lrciSet[ lspReqConfId ] ): inserting k1=10.0.0.9/12/10.0.0.1/1, "
         "k2=cli:to-paris@primary.1",
         "spidUpdateStream = spidStream => lrciFromStream=cli:to-paris@primary.1 "
         "spIdFromStream=10.0.0.9/12/10.0.0.1/1 isAddFromStream=True",
         "Verifying lspReqConfIdSet",
         "num inputsToFlatten: 1",
         " flatten( inputsToFlatten ) flattening 1 elements",
         "spidUpdateStream add case",
         "Creating MIB key from spId 10.0.0.9/12/10.0.0.1/1"};
   EXPECT_THAT(only(trace, order), ElementsAreArray(order));
}

TEST_F(Streams, RemovingOneOfTwoRequestsDeletesByTheRemovedOneAndAddsTheOther) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp12);
   startSynchronous();
   TraceCapture const trace("RsvpSnmpSm");
   head.spIdDel(kParisPrimary);
   std::vector<std::string> const order{
         "into( lspReqConfIdsForSpId[ spId ].lrciSet[ lspReqConfId ] ): deleting k1=10.0.0.9/12/10.0.0.1/1, "
         "k2=cli:to-paris@primary.1",
         "num inputsToFlatten: 2", " flatten( inputsToFlatten ) flattening 2 elements", "spidUpdateStream delete case",
         "spidUpdateStream add case"};
   EXPECT_THAT(only(trace, order), ElementsAreArray(order));
   EXPECT_TRUE(head.row(kSp12));
}

// Every stream's own numbers and spellings.
TEST_F(Streams, EachStreamStopsAtTheAmbiguityGateWithItsOwnText) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp12);
   startSynchronous();
   auto const gate = [](int n) {
      return fmt::format(
            "filter( ( ( !_lspReqConfIdSet{0} ) || ( len( ( *_lspReqConfIdSet{0} ).lrciSet ) < 2 ) ) ) "
            "failed, terminating pipeline",
            n);
   };
   auto const expectGate = [&](int n, std::string_view addCase, auto&& change) {
      TraceCapture const trace("RsvpSnmpSm");
      change();
      EXPECT_TRUE(trace.has(gate(n))) << n;
      EXPECT_TRUE(addCase.empty() || trace.has(addCase)) << addCase;
   };
   expectGate(43, "stcStream add case", [&] { head.configIs(kParis); });
   expectGate(70, "lrsStream add case", [&] { head.requestStatusIs(kParisPrimary); });
   expectGate(97, "spsStream add case", [&] { head.spStatusIs(kSp12); });
   expectGate(16, "stsStream add case", [&] { head.statusIs(kParis, kParisPrimary); });
   expectGate(121, "", [&] { head.spIdIs("cli:third@primary.1", kSp12); });
}

TEST_F(Streams, TheDeleteCasesHaveTheirTexts) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const expectCase = [&](std::string_view text, auto&& change) {
      TraceCapture const trace("RsvpSnmpSm");
      change();
      EXPECT_EQ(trace.count(text), 1) << text;
   };
   expectCase("lrsStrea delete case", [&] { head.requestStatusDel(kParisPrimary); });
   expectCase("spsStream delete case", [&] { head.spStatusDel(kSp12); });
   expectCase("stcStream delete case", [&] { head.configDel(kParis); });
   expectCase("stsStream delete case", [&] { head.statusDel(kParis); });
   expectCase("spidUpdateStream delete case", [&] { head.spIdDel(kParisPrimary); });
}

TEST_F(Streams, EachStreamQuotesItsOwnTemporaries) {
   startSynchronous();
   auto const expectNumbers = [&](int oldValue, int newValue, int value, auto&& change) {
      TraceCapture const trace("RsvpSnmpSm");
      change();
      EXPECT_TRUE(
            trace.has(fmt::format(" flatten( [ ( if ( _oldValueOpt{0} != _newValueOpt{1} ) then _oldValueOpt{0} "
                                  "else None, false ), ( _newValueOpt{1}, true ) ] ) flattening 2 elements",
                                  oldValue, newValue)));
      EXPECT_TRUE(trace.has(fmt::format("filter( _valueOpt{} ) failed, terminating pipeline", value)));
   };
   expectNumbers(6, 7, 8, [&] { head.statusIs(kParis, kParisPrimary); });
   expectNumbers(33, 34, 35, [&] { head.configIs(kParis); });
   expectNumbers(60, 61, 62, [&] { head.requestStatusIs(kParisPrimary); });
   expectNumbers(87, 88, 89, [&] { head.spStatusIs(kSp12); });
   expectNumbers(114, 115, 116, [&] { head.spIdIs(kParisPrimary, kSp12); });
}

TEST_F(Streams, EachLookUpThatFailsEndsThePipelineWithItsText) {
   startSynchronous();
   auto const expectFilter = [&](std::string_view condition, auto&& change) {
      TraceCapture const trace("RsvpSnmpSm");
      change();
      EXPECT_TRUE(trace.has(fmt::format("filter( {} ) failed, terminating pipeline", condition))) << condition;
   };
   expectFilter("spIdOp", [&] { head.requestStatusIs(kParisPrimary); });
   expectFilter("activeLsp", [&] { head.configIs(kParis); });
   head.requestStatusDel(kParisPrimary);
   head.configDel(kParis);
   expectFilter("subTunnelStatus", [&] { head.spIdIs(kParisPrimary, kSp12); });
   expectFilter("( ( *subTunnelStatus ).activeLsp == lspRequestConfigId )", [&] {
      head.statusIs(kParis, kParisSecondary);
      head.requestStatusIs(kParisPrimary);
   });
   head.requestStatusDel(kParisPrimary);
   expectFilter("subTunnelConfig", [&] { head.statusIs(kParis, kParisPrimary); });
   expectFilter("lspRequestStatus", [&] { head.configIs(kParis); });
   expectFilter("spStatus", [&] { head.requestStatusIs(kParisPrimary); });
   EXPECT_EQ(rows(), 0U);
   expectFilter("hopIndex", [&] {
      // A delete for a key that has no row.
      head.spStatusIs(kSp12);
      head.mib->mplsTunnelTableDelAll();
      head.spStatusDel(kSp12);
   });
}

TEST_F(Streams, AnSpStatusOfARequestThatHasMovedOnIsPassedOver) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   // The reverse index still knows the request under the old sp id, the map does not.
   sm->eventToSpidReverseStream(head.requestId(kParisPrimary), head.spIdOf(kSp40), true);
   TraceCapture const trace("RsvpSnmpSm");
   head.spStatusIs(kSp40);
   EXPECT_TRUE(trace.has("filter( ( spId == spIdFromMap ) ) failed, terminating pipeline"));
   EXPECT_FALSE(head.row(kSp40));
}

TEST_F(Streams, TheInitStreamFillsTheReverseIndexFromTheWholeMap) {
   head.spIdIs(kParisPrimary, kSp12);
   head.spIdIs(kRomePrimary, kSp12);
   TraceCapture const trace("RsvpSnmpSm");
   startSynchronous();
   EXPECT_TRUE(trace.has("initStream = from( this.initialized ):"));
   EXPECT_TRUE(trace.has(" flatten( ( *rsvpLerStatus.spIdMap ).spIdForLspRequestConfigId ) flattening 2 elements"));
   EXPECT_EQ(sm->localAttrStore().requestCount(head.spIdOf(kSp12)), 2U);
}

TEST_F(Streams, WithoutASpIdMapTheInitStreamEnds) {
   head.lerStatus->spIdMapIs(nullptr);
   TraceCapture const trace("RsvpSnmpSm");
   startSynchronous();
   EXPECT_TRUE(trace.has("filter( rsvpLerStatus.spIdMap ) failed, terminating pipeline"));
   EXPECT_TRUE(sm->idle());
}

TEST_F(Streams, BeforeTheInitialScanOnlyEventsReachTheReverseIndex) {
   head.spIdIs(kParisPrimary, kSp12);
   startWithTasks();  // scheduled, but nothing has run
   EXPECT_EQ(sm->localAttrStore().requestCount(head.spIdOf(kSp12)), 0U);
   sm->eventToSpidStream(head.requestId(kRomePrimary), Vel::Optional<Rsvp::RsvpSpId>(head.spIdOf(kSp40)));
   EXPECT_EQ(sm->localAttrStore().requestCount(head.spIdOf(kSp12)), 0U);
   EXPECT_EQ(sm->localAttrStore().requestCount(head.spIdOf(kSp40)), 1U);
   scheduler->runAll();
   EXPECT_EQ(sm->localAttrStore().requestCount(head.spIdOf(kSp12)), 1U);
}

TEST_F(Streams, TheLastRequestOfAnSpIdTakesItsSetAlong) {
   head.spIdIs(kParisPrimary, kSp12);
   startSynchronous();
   EXPECT_TRUE(sm->localAttrStore().lspReqConfIdsForSpId().contains(head.spIdOf(kSp12)));
   head.spIdDel(kParisPrimary);
   EXPECT_FALSE(sm->localAttrStore().lspReqConfIdsForSpId().contains(head.spIdOf(kSp12)));
}

TEST_F(Streams, ANotificationForAnObjectThatIsGoneCountsAsNoValueAndIsReported) {
   using namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm;
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const expectMissed = [&]<class Leaf>(std::string_view attribute, Leaf& leaf, auto const& key) {
      leaf.doDeleteAll();
      TraceCapture const trace("RsvpSnmpSm");
      leaf.handleChange(key);
      EXPECT_TRUE(trace.has(fmt::format(
            "We missed notifications that happened to {} before the enclosing entity got deleted", attribute)));
   };
   auto const top = Vel::makePtr<SpIdMapSm13>(sm.get(), NoKey(), Vel::Ptr<LerStatus const>(head.lerStatus));
   top->doInputScan();
   expectMissed("spIdForLspRequestConfigId", const_cast<SpIdForLspRequestConfigIdSm14&>(*top->child(NoKey())),
                head.requestId(kParisPrimary));
   auto const sps =
         Vel::makePtr<SpStatusCollSm11>(sm.get(), NoKey(), Vel::Ptr<Rsvp::RsvpKelpStatus const>(head.kelpStatus));
   sps->doInputScan();
   expectMissed("spStatus", const_cast<SpStatusSm12&>(*sps->child(NoKey())), head.spIdOf(kSp12));
   auto const stc =
         Vel::makePtr<SubTunnelConfigCollTableSm5>(sm.get(), NoKey(), Vel::Ptr<LerStatus const>(head.lerStatus));
   stc->doInputScan();
   auto const tunnel = head.subTunnelId(kParis);
   expectMissed("subTunnelConfig", const_cast<SubTunnelConfigSm7&>(*stc->child(NoKey())->child(tunnel.tunnelSpecId())),
                tunnel);
   auto const lrs =
         Vel::makePtr<LspRequestStatusCollTableSm8>(sm.get(), NoKey(), Vel::Ptr<LerStatus const>(head.lerStatus));
   lrs->doInputScan();
   auto const request = head.requestId(kParisPrimary);
   expectMissed("lspRequestStatus", const_cast<LspRequestStatusSm10&>(*lrs->child(NoKey())->child(request.lspGroupId)),
                request);
}

TEST_F(Streams, AWatcherOfNothingIsAProgrammingError) {
   using namespace MplsSnmp::FloCode::RsvpSnmpSubTunnelStatusSm;
   startSynchronous();
   EXPECT_DEATH(Vel::makePtr<SpIdMapSm13>(sm.get(), NoKey(), Vel::Ptr<LerStatus const>()),
                "en\\(\\) && \"Sm args can only be null if marked as Optional in the SM type declaration\"");
}

TEST_F(Streams, TheKeysOfTheOutputsHaveTheirTextForms) {
   MplsSnmp::LspReqConfIdsForSpIdLrciSetOutputKeyType const local(head.spIdOf(kSp12), head.requestId(kParisPrimary));
   EXPECT_EQ(local.valueToStrep(),
             "Value('MplsSnmp::RsvpSnmpSubTunnelStatusSm::LspReqConfIdsForSpIdLrciSetOutputKeyType', ** {'k0': "
             "10.0.0.9/12/10.0.0.1/1, 'k1': cli:to-paris@primary.1, 'k0Valid': True, 'k1Valid': True})");
   MplsSnmp::MibMplsTunnelTableOutputKeyType const row{MplsSnmp::MplsTunnelTableKey(1, 2, 3, 4)};
   EXPECT_EQ(
         row.valueToStrep(),
         "Value('MplsSnmp::RsvpSnmpSubTunnelStatusSm::MibMplsTunnelTableOutputKeyType', ** {'k0': "
         "Value('MplsSnmp::MplsTunnelTableKey', ** {'tunnelIndex': 1, 'tunnelInstance': 2, 'tunnelIngressLsrId': 3, "
         "'tunnelEgressLsrId': 4}), 'k0Valid': True})");
   MplsSnmp::HopTableHelperPathSpecCollTableSmOutputKeyType const hop(7);
   EXPECT_EQ(
         hop.valueToStrep(),
         "Value('MplsSnmp::RsvpSnmpSubTunnelStatusSm::HopTableHelperPathSpecCollTableSmOutputKeyType', ** {'k0': 7, "
         "'k0Valid': True})");
   EXPECT_EQ(Vel::hashOf(hop), Vel::hashOf(MplsSnmp::HopTableHelperPathSpecCollTableSmOutputKeyType(7)));
   EXPECT_LT(hop, MplsSnmp::HopTableHelperPathSpecCollTableSmOutputKeyType(8));
}
