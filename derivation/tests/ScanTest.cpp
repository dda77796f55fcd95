// SPDX-License-Identifier: MIT
// The initial scan, its tasks, the reconciliation of what an earlier life left behind, and retraction.
#include <array>

#include "derivation/tests/Derivation.h"
#include "tests/support/Observer.h"

using testing::ElementsAre;
using testing::IsEmpty;
using TestSupport::TraceCapture;

namespace {

/// The lines that begin with one of the prefixes, in the order in which they came.
std::vector<std::string> beginning(TraceCapture const& trace, std::vector<std::string_view> const& prefixes) {
   std::vector<std::string> found;
   for (auto const& text : trace.texts()) {
      if (std::ranges::any_of(prefixes, [&](auto prefix) { return text.starts_with(prefix); })) found.push_back(text);
   }
   return found;
}

/// The names of the tasks in the order in which they run.
std::vector<std::string> taskNames(Orb::TaskScheduler& scheduler) {
   std::vector<std::string> names;
   scheduler.yieldPolicyIs([&] {
      std::string const& name = scheduler.taskRunning()->taskName();
      if (names.empty() || names.back() != name) names.push_back(name);
      return false;
   });
   scheduler.runAll();
   scheduler.yieldPolicyIs({});
   return names;
}

}  // namespace

using Scan = Derivation;

TEST_F(Scan, ASynchronousStartCreatesNoTaskAndIsIdleAtOnce) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   sm = Sm::RsvpSnmpSubTunnelStatusSmIs(head.mib, head.hopTableHelper, head.lerConfig, head.lerStatus, head.kelpStatus,
                                        head.counterTable,
                                        Flo::SmControl{.taskScheduler = scheduler, .synchronous = true});
   EXPECT_FALSE(scheduler->hasWork());
   EXPECT_TRUE(sm->initialScanDone());
   EXPECT_TRUE(sm->idle());
   EXPECT_TRUE(head.row(kSp12));
}

TEST_F(Scan, WithTasksNothingIsReadBeforeTheSchedulerRuns) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startWithTasks();
   EXPECT_EQ(scheduler->tasksQueued(), 6U);
   EXPECT_FALSE(sm->idle());
   EXPECT_FALSE(head.row(kSp12));
   scheduler->runAll();
   EXPECT_TRUE(sm->idle());
   EXPECT_TRUE(head.row(kSp12));
   expectConsistent();
}

TEST_F(Scan, TheTasksHaveTheirNamesAndRunInTheOrderOfStart) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startWithTasks();
   EXPECT_THAT(taskNames(*scheduler),
               ElementsAre("MplsSnmp::RsvpSnmpSubTunnelStatusSm-BuiltinSmAttrNinitializedSm0InputScanTask",
                           "MplsSnmp::RsvpSnmpSubTunnelStatusSm-SpIdMapSm13InputScanTask",
                           "MplsSnmp::RsvpSnmpSubTunnelStatusSm-SpStatusCollSm11InputScanTask",
                           "MplsSnmp::RsvpSnmpSubTunnelStatusSm-SubTunnelConfigCollTableSm5InputScanTask",
                           "MplsSnmp::RsvpSnmpSubTunnelStatusSm-LspRequestStatusCollTableSm8InputScanTask",
                           "MplsSnmp::RsvpSnmpSubTunnelStatusSm-SubTunnelStatusCollTableSm1InputScanTask",
                           "RsvpSnmpSubTunnelStatusSm-lspReqConfIdsForSpIdLrciSetOutputTask",
                           "RsvpSnmpSubTunnelStatusSm-mibMplsTunnelTableOutputTask",
                           "RsvpSnmpSubTunnelStatusSm-hopTableHelperPathSpecCollTableSmOutputTask"));
}

TEST_F(Scan, EachReportedScanTellsWhichIsAwaitedUntilAllAreDone) {
   TraceCapture const trace("RsvpSnmpSm");
   startSynchronous();
   EXPECT_THAT(
         beginning(trace, {"create ", " stsStream scan", " stcStream scan", " initStream scan", " lrsStream scan",
                           " spsStream scan", " spidStream scan", "Initial scan done", "Input scans for",
                           "Reconciling ", "Deletion scan"}),
         ElementsAre("create local SMs", " stsStream scan is false", "create non-public arg SMs",
                     " stsStream scan is false", " stsStream scan is false", " stsStream scan is false",
                     " stsStream scan is false", "Initial scan done for child SMs. Now scanning with events triggered.",
                     "Initial scan done for child SM RsvpSnmpSubTunnelStatusSm.",
                     "Input scans for lspReqConfIdsForSpIdLrciSetOutput complete",
                     "Reconciling lspReqConfIdsForSpIdLrciSetOutput: 0",
                     "Deletion scan for reconciliation is done, last task run processed 0 items, deleting 0 items.",
                     "Input scans for mibMplsTunnelTableOutput complete", "Reconciling mibMplsTunnelTableOutput: 0",
                     "Deletion scan for reconciliation is done, last task run processed 0 items, deleting 0 items.",
                     "Input scans for hopTableHelperPathSpecCollTableSmOutput complete",
                     "Reconciling hopTableHelperPathSpecCollTableSmOutput: 0",
                     "Deletion scan for reconciliation is done, last task run processed 0 items, deleting 0 "
                     "items."));
}

TEST_F(Scan, TheAwaitedScansAreLookedAtInAFixedOrder) {
   startWithTasks();
   using State = MplsSnmp::InputSmScanState;
   auto const expectAwaited = [&](bool State::*done, std::string_view text) {
      TraceCapture const trace("RsvpSnmpSm");
      sm->inputScanComplete(done);
      EXPECT_TRUE(trace.has(text)) << text;
   };
   expectAwaited(&State::stsStreamScan, " stcStream scan is false");
   expectAwaited(&State::stcStreamScan, " initStream scan is false");
   expectAwaited(&State::initStreamScan, " lrsStream scan is false");
   expectAwaited(&State::lrsStreamScan, " spsStream scan is false");
   expectAwaited(&State::spsStreamScan, " spidStream scan is false");
   expectAwaited(&State::spidStreamScan, "Initial scan done for child SMs. Now scanning with events triggered.");
   // Reports that come after that do nothing.
   TraceCapture const trace("RsvpSnmpSm");
   sm->inputScanComplete(&State::stsStreamScan);
   EXPECT_THAT(trace.texts(), IsEmpty());
}

TEST_F(Scan, AScanThatMustYieldKeepsItsPlaceAndMissesNothingThatChangesMeanwhile) {
   for (int n = 1; n <= 20; ++n) {
      auto const tunnel = fmt::format("cli:t{}", n);
      head.tunnelIs(tunnel, tunnel + "@primary.1", fmt::format("10.0.0.9/{}/10.0.0.1/1", n));
   }
   startWithTasks();
   scheduler->yieldPolicyIs([] { return true; });  // one entry a run
   TraceCapture const trace("RsvpSnmpSm");
   int slices = 0;
   while (scheduler->hasWork()) {
      scheduler->runSlice(std::chrono::microseconds(0));
      ++slices;
      if (slices == 7) {
         head.configDel("cli:t1");
         head.configDel("cli:t20");
         head.tunnelIs("cli:new", "cli:new@primary.1", "10.0.0.9/99/10.0.0.1/1");
      }
   }
   EXPECT_GT(slices, 60);
   EXPECT_TRUE(sm->idle());
   EXPECT_EQ(rows(), 19U);
   EXPECT_TRUE(head.row("10.0.0.9/99/10.0.0.1/1"));
   EXPECT_FALSE(head.row("10.0.0.9/20/10.0.0.1/1"));
   EXPECT_TRUE(trace.has("SpStatusSm12 spStatus yielding after 1 iterations (20 remaining)"));
   EXPECT_TRUE(trace.has("init stream about to yield"));
   EXPECT_TRUE(trace.has("SpStatusSm12 scan complete."));
   EXPECT_TRUE(trace.has("SubTunnelConfigCollSm6 scan complete. Processed 21 children."));
   EXPECT_TRUE(trace.has("SubTunnelStatusCollTableSm1 scan, and parent scan, complete."));
   EXPECT_TRUE(trace.has("Yielding in reconciliation processing after processing 1 items, including 0 deletions ."));
   expectConsistent();
}

TEST_F(Scan, WhatRemainsFallsFromSliceToSlice) {
   constexpr int kTunnels = 20;
   for (int n = 1; n <= kTunnels; ++n) {
      auto const tunnel = fmt::format("cli:t{}", n);
      head.tunnelIs(tunnel, tunnel + "@primary.1", fmt::format("10.0.0.9/{}/10.0.0.1/1", n));
   }
   startWithTasks();
   scheduler->yieldPolicyIs([] { return true; });  // one entry a run
   TraceCapture const trace("RsvpSnmpSm");
   while (scheduler->hasWork()) scheduler->runSlice(std::chrono::microseconds(0));
   std::vector<std::string> yields;
   std::vector<std::string> expected;
   for (auto const& text : trace.texts()) {
      if (text.starts_with("SpStatusSm12 spStatus yielding")) yields.push_back(text);
   }
   for (int remaining = kTunnels - 1; remaining >= 0; --remaining) {
      expected.push_back(fmt::format("SpStatusSm12 spStatus yielding after 1 iterations ({} remaining)", remaining));
   }
   EXPECT_EQ(yields, expected);
}

TEST_F(Scan, ANotificationDuringAScanIsHandledToItsEnd) {
   startWithTasks();
   scheduler->yieldPolicyIs([] { return true; });
   scheduler->runAll();
   // Idle; a whole table arrives in one notification, with a scheduler that would have everything yield.
   TestSupport::HeadEnd other;
   for (int n = 1; n <= 5; ++n) other.spStatusIs(fmt::format("10.0.0.9/{}/10.0.0.1/1", n));
   TraceCapture const trace("RsvpSnmpSm");
   head.kelpStatus->spStatusCollIs(other.spStatuses);
   EXPECT_EQ(trace.count("spsStream add case"), 5);
   EXPECT_FALSE(scheduler->hasWork());
}

TEST_F(Scan, AnEmptyInputEndsAtOnceAndTheReconciliationDeletesWhatWasThere) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp40);
   startSynchronous();
   ASSERT_EQ(rows(), 2U);
   sm = nullptr;
   EXPECT_EQ(rows(), 2U) << "rows outlive the derivation that made them";
   head.lerStatus = Vel::makePtr<Rsvp::RsvpLerHiveStatus>("empty");
   TraceCapture const trace("RsvpSnmpSm");
   startWithTasks();
   scheduler->runAll();
   EXPECT_EQ(rows(), 0U);
   EXPECT_EQ(
         trace.count("Deletion scan for reconciliation is done, last task run processed 2 items, deleting 2 items."),
         2);
   expectConsistent();
}

TEST_F(Scan, ARowThatIsStillTrueSurvivesARestartWithItsIndexAndAStaleOneGoes) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp40);
   startSynchronous();
   auto const paris = head.row(kSp12);
   auto const entry = head.hopTableHelper->pathSpecCollTableSm(paris->hopTableIndex());
   sm = nullptr;
   head.configDel(kRome);
   startSynchronous();
   EXPECT_EQ(head.row(kSp12), paris);
   EXPECT_EQ(head.hopTableHelper->pathSpecCollTableSm(paris->hopTableIndex()), entry);
   EXPECT_FALSE(head.row(kSp40));
   expectConsistent();
}

// An index drawn anew would meet the stale hop entry and be refused.
TEST_F(Scan, AStaleHopIndexIsFreedOnlyWhenItsHopEntryGoes) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const stale = head.row(kSp12)->hopTableIndex();
   sm = nullptr;
   head.spIdDel(kParisPrimary);
   startWithTasks();
   bool wasFreeWithEntry = false;
   scheduler->yieldPolicyIs([&] {
      bool const hasEntry = head.hopTableHelper->pathSpecCollTableSm().contains(stale);
      wasFreeWithEntry = wasFreeWithEntry || (hasEntry && !head.mib->numAllocatorStatus()->isUsed(stale));
      return true;
   });
   while (scheduler->hasWork()) scheduler->runSlice(std::chrono::microseconds(0));
   EXPECT_FALSE(wasFreeWithEntry);
   EXPECT_FALSE(head.mib->numAllocatorStatus()->isUsed(stale));
   expectConsistent();
}

TEST_F(Scan, ARestartOverAnotherHopTableHelperKeepsTheRowsAndMovesTheirHopEntries) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const row = head.row(kSp12);
   sm = nullptr;
   head.hopTableHelper = MplsSnmp::hopTableHelperFactory();
   startSynchronous();
   EXPECT_EQ(head.row(kSp12), row);
   expectConsistent();
}

TEST_F(Scan, ARestartWithAnotherConfigurationRebindsTheHopEntries) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const row = head.row(kSp12);
   sm = nullptr;
   head.lerConfig = Vel::makePtr<Rsvp::RsvpLerConfig>("other");
   startSynchronous();
   EXPECT_EQ(head.row(kSp12), row);
   EXPECT_EQ(head.hopTableHelper->pathSpecCollTableSm(row->hopTableIndex())->lerConfig(), head.lerConfig);
   expectConsistent();
}

TEST_F(Scan, InputsThatGoBeforeTheirWatcherCameToThemLeaveNoRow) {
   using Gone = void (*)(TestSupport::HeadEnd&);
   std::array<Gone, 5> const inputs{[](TestSupport::HeadEnd& of) { of.statusDel(kParis); },
                                    [](TestSupport::HeadEnd& of) { of.configDel(kParis); },
                                    [](TestSupport::HeadEnd& of) { of.requestStatusDel(kParisPrimary); },
                                    [](TestSupport::HeadEnd& of) { of.spStatusDel(kSp12); },
                                    [](TestSupport::HeadEnd& of) { of.spIdDel(kParisPrimary); }};
   scheduler->yieldPolicyIs([] { return true; });
   for (Gone const gone : inputs) {
      // Whichever scans have come to what is theirs by then.
      for (int slices = 0; slices < 20; ++slices) {
         SCOPED_TRACE(slices);
         sm = nullptr;
         head = TestSupport::HeadEnd();
         head.tunnelIs(kParis, kParisPrimary, kSp12);
         startWithTasks();
         for (int n = 0; n < slices; ++n) scheduler->runSlice(std::chrono::microseconds(0));
         gone(head);
         scheduler->runAll();
         EXPECT_EQ(rows(), 0U);
         expectConsistent();
      }
   }
}

// The first that is heard of an sp id may come before it is known whose it is.
TEST_F(Scan, AnEventBeforeTheReverseIndexIsFilledCostsNoRowItsIndex) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const row = head.row(kSp12);
   sm = nullptr;
   startWithTasks();
   auto const same = Vel::makePtr<Rsvp::RsvpSpStatusColl>();
   same->spStatusIs(head.spIdOf(kSp12), head.spStatuses->spStatus()[head.spIdOf(kSp12)]);
   head.kelpStatus->spStatusCollIs(same);
   scheduler->runAll();
   EXPECT_EQ(head.row(kSp12), row);
   expectConsistent();
}

TEST_F(Scan, ARetractionMakesNoRowWhateverItsScansHaveNotComeTo) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startWithTasks();
   scheduler->yieldPolicyIs([] { return true; });
   scheduler->runSlice(std::chrono::microseconds(0));
   ASSERT_EQ(sm->localAttrStore().requestCount(head.spIdOf(kSp12)), 1U) << "known to the reverse index alone";
   auto const same = Vel::makePtr<Rsvp::RsvpSpStatusColl>();
   same->spStatusIs(head.spIdOf(kSp12), head.spStatuses->spStatus()[head.spIdOf(kSp12)]);
   head.kelpStatus->spStatusCollIs(same);
   ASSERT_TRUE(head.row(kSp12));
   int made = 0;
   auto const observer = Vel::makePtr<TestSupport::Observer>(*head.mib, [&](Vel::AttributeId attribute, void const*) {
      if (attribute == MplsSnmp::MplsTeMib::attrMplsTunnelTable && head.row(kSp12)) ++made;
   });
   sm->doDeleteAll();
   scheduler->runAll();
   EXPECT_EQ(made, 0);
   EXPECT_EQ(rows(), 0U);
   expectConsistent();
}

TEST_F(Scan, RetractionTakesEverythingBackInItsOrder) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp40);
   startSynchronous();
   TraceCapture const trace("RsvpSnmpSm");
   sm->doDeleteAll();
   EXPECT_EQ(rows(), 0U);
   EXPECT_TRUE(sm->localAttrStore().lspReqConfIdsForSpId().empty());
   expectConsistent();
   EXPECT_THAT(beginning(trace, {"doDeleteAll"}),
               ElementsAre("doDeleteAll RsvpSnmpSubTunnelStatusSm", "doDeleteAll SpIdMapSm13",
                           "doDeleteAll SpIdForLspRequestConfigIdSm14", "doDeleteAll SpStatusCollSm11",
                           "doDeleteAll SpStatusSm12", "doDeleteAll SubTunnelConfigCollTableSm5",
                           "doDeleteAll SubTunnelConfigCollSm6", "doDeleteAll SubTunnelConfigSm7",
                           "doDeleteAll SubTunnelConfigSm7", "doDeleteAll BuiltinSmAttrNinitializedSm0",
                           "doDeleteAll LspRequestStatusCollTableSm8", "doDeleteAll LspRequestStatusCollSm9",
                           "doDeleteAll LspRequestStatusSm10", "doDeleteAll LspRequestStatusSm10",
                           "doDeleteAll SubTunnelStatusCollTableSm1", "doDeleteAll SubTunnelStatusCollSm2",
                           "doDeleteAll SubTunnelStatusSm3", "doDeleteAll ActiveLspSm4",
                           "doDeleteAll SubTunnelStatusSm3", "doDeleteAll ActiveLspSm4"));
   head.tunnelIs("cli:new", "cli:new@primary.1", "10.0.0.9/99/10.0.0.1/1");
   EXPECT_EQ(rows(), 0U) << "a retracted derivation follows nothing any more";
}

TEST_F(Scan, RetractionDuringTheScanLeavesNothingEither) {
   for (int slices = 0; slices < 40; ++slices) {
      SCOPED_TRACE(slices);
      head.tunnelIs(kParis, kParisPrimary, kSp12);
      head.tunnelIs(kRome, kRomePrimary, kSp40);
      startSynchronous();
      sm = nullptr;  // its rows stay behind
      startWithTasks();
      scheduler->yieldPolicyIs([] { return true; });
      for (int n = 0; n < slices; ++n) scheduler->runSlice(std::chrono::microseconds(0));
      sm->doDeleteAll();
      EXPECT_TRUE(sm->localAttrStore().lspReqConfIdsForSpId().empty());
      scheduler->runAll();
      EXPECT_TRUE(sm->idle());
      EXPECT_EQ(rows(), 0U);
      EXPECT_TRUE(head.mib->mplsTunnelHopTable().empty());
      expectConsistent();
   }
}

TEST_F(Scan, RetractionInsideANotificationOfTheOutputs) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp40);
   startSynchronous();
   auto const observer = TestSupport::atNotification(*head.mib, 1, [&] { sm->doDeleteAll(); });
   head.configIs(kParis);
   EXPECT_EQ(rows(), 0U);
   EXPECT_TRUE(sm->idle());
   expectConsistent();
}

TEST_F(Scan, ATableThatIsDroppedAndBroughtBackTakesItsRowsAlongAndBringsThemBack) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp40);
   startSynchronous();
   auto const expectGoneAndBack = [&](auto&& drop, auto&& bringBack) {
      drop();
      EXPECT_EQ(rows(), 0U);
      expectConsistent();
      bringBack();
      EXPECT_EQ(rows(), 2U);
      expectConsistent();
   };
   expectGoneAndBack([&] { head.lerStatus->subTunnelConfigCollTableIs(nullptr); },
                     [&] { head.lerStatus->subTunnelConfigCollTableIs(head.configs); });
   expectGoneAndBack([&] { head.lerStatus->subTunnelStatusCollTableIs(nullptr); },
                     [&] { head.lerStatus->subTunnelStatusCollTableIs(head.statuses); });
   expectGoneAndBack([&] { head.lerStatus->lspRequestStatusCollTableIs(nullptr); },
                     [&] { head.lerStatus->lspRequestStatusCollTableIs(head.requests); });
   expectGoneAndBack([&] { head.kelpStatus->spStatusCollIs(nullptr); },
                     [&] { head.kelpStatus->spStatusCollIs(head.spStatuses); });
   expectGoneAndBack([&] { head.lerStatus->spIdMapIs(nullptr); }, [&] { head.lerStatus->spIdMapIs(head.spIds); });
}

TEST_F(Scan, SwitchedOffItFollowsNothingAndKeepsItsRows) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   sm->hasNotificationActiveIs(false);
   head.spStatusDel(kSp12);
   EXPECT_TRUE(head.row(kSp12));
}

TEST_F(Scan, SwitchedOnAgainItMakesGoodWhatItHasMissed) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp40);
   head.tunnelIs("cli:to-oslo", "cli:to-oslo@primary.1", "10.0.0.9/50/10.0.0.1/1");
   startSynchronous();
   auto const kept = head.row(kSp12);
   auto const replaced = head.row(kSp40);
   sm->hasNotificationActiveIs(false);
   auto const config = head.configIs(kRome);
   head.statusDel("cli:to-oslo");
   head.tunnelIs("cli:new", "cli:new@primary.1", "10.0.0.9/99/10.0.0.1/1");
   EXPECT_EQ(rows(), 3U);
   sm->hasNotificationActiveIs(true);
   EXPECT_EQ(head.row(kSp12), kept);
   EXPECT_TRUE(head.row(kSp40));
   EXPECT_NE(head.row(kSp40), replaced);
   EXPECT_FALSE(head.row("10.0.0.9/50/10.0.0.1/1"));
   EXPECT_TRUE(head.row("10.0.0.9/99/10.0.0.1/1"));
   expectConsistent();
   // And it follows again.
   head.spStatusDel(kSp12);
   EXPECT_FALSE(head.row(kSp12));
   expectConsistent();
}

TEST_F(Scan, SwitchedOffInTheMiddleOfAScanItHasNoTaskAndBeginsAnewWhenItIsOn) {
   for (int slices = 0; slices < 40; ++slices) {
      SCOPED_TRACE(slices);
      head.tunnelIs(kParis, kParisPrimary, kSp12);
      head.tunnelIs(kRome, kRomePrimary, kSp40);
      startWithTasks();
      scheduler->yieldPolicyIs([] { return true; });
      for (int n = 0; n < slices; ++n) scheduler->runSlice(std::chrono::microseconds(0));
      sm->hasNotificationActiveIs(false);
      EXPECT_FALSE(scheduler->hasWork());
      head.spStatusDel(kSp12);
      sm->hasNotificationActiveIs(true);
      scheduler->runAll();
      EXPECT_TRUE(sm->idle());
      EXPECT_FALSE(head.row(kSp12));
      EXPECT_TRUE(head.row(kSp40));
      expectConsistent();
   }
}

TEST_F(Scan, SwitchedOffAndOnInsideANotificationOfTheOutputs) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp40);
   startSynchronous();
   auto const observer = TestSupport::atNotification(*head.mib, 1, [&] {
      sm->hasNotificationActiveIs(false);
      head.spStatusDel(kSp40);
      sm->hasNotificationActiveIs(true);
   });
   head.configIs(kParis);
   EXPECT_TRUE(head.row(kSp12));
   EXPECT_FALSE(head.row(kSp40));
   EXPECT_TRUE(sm->idle());
   expectConsistent();
}

TEST_F(Scan, RetractionReachesTheRowsOfADerivationThatIsSwitchedOff) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp40);
   startSynchronous();
   sm->hasNotificationActiveIs(false);
   head.spIdDel(kRomePrimary);
   sm->doDeleteAll();
   EXPECT_EQ(rows(), 0U);
   EXPECT_TRUE(sm->localAttrStore().lspReqConfIdsForSpId().empty());
   expectConsistent();
   sm->hasNotificationActiveIs(true);
   EXPECT_EQ(rows(), 0U) << "a retracted derivation follows nothing any more";
   EXPECT_TRUE(sm->localAttrStore().lspReqConfIdsForSpId().empty());
   EXPECT_TRUE(sm->idle());
}

TEST_F(Scan, ADerivationThatGoesTakesItsTasksAlong) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startWithTasks();
   EXPECT_TRUE(scheduler->hasWork());
   sm = nullptr;
   EXPECT_FALSE(scheduler->hasWork());
   EXPECT_EQ(rows(), 0U);
}

TEST_F(Scan, AMissingInputIsAProgrammingErrorThatNamesIt) {
   auto const expectNamed = [&](std::string const& name, auto&& clear) {
      EXPECT_DEATH(
            {
               clear();
               startSynchronous();
            },
            name + "\\(\\) && \"Pointer SM args cannot be null unless they are marked Optional\"");
   };
   expectNamed("mib", [&] { head.mib = nullptr; });
   expectNamed("hopTableHelper", [&] { head.hopTableHelper = nullptr; });
   expectNamed("rsvpLerConfig", [&] { head.lerConfig = nullptr; });
   expectNamed("rsvpLerStatus", [&] { head.lerStatus = nullptr; });
   expectNamed("mplsTunnelCounterTable", [&] { head.counterTable = nullptr; });
   expectNamed("rsvpKelpStatus", [&] { head.kelpStatus = nullptr; });
}
