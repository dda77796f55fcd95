// SPDX-License-Identifier: MIT
// When a tunnel row is there, and over which inputs.
#include "derivation/tests/Derivation.h"
#include "substrate/vel/Reactor.h"
#include "tests/support/Observer.h"

using testing::ElementsAre;
using TestSupport::TraceCapture;

using Rows = Derivation;

TEST_F(Rows, ATunnelWithAllItsStateHasARow) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const row = head.row(kSp12);
   ASSERT_TRUE(row);
   EXPECT_EQ(row->name(), Vel::String("to-paris"));
   expectConsistent();
}

TEST_F(Rows, TheKeyHoldsTheAddressesInHostOrder) {
   head.tunnelIs(kParis, kParisPrimary, "10.0.0.1/12/200.1.2.3/77");
   startSynchronous();
   auto const key = head.mib->mplsTunnelTable().smallest()->key();
   EXPECT_EQ(key.tunnelIndex, 12);
   EXPECT_EQ(key.tunnelInstance, 77U);
   EXPECT_EQ(key.tunnelEgressLsrId, 167772161U);  // 10.0.0.1
   EXPECT_EQ(key.tunnelIngressLsrId, 0xc8010203U);
   EXPECT_EQ(MplsSnmp::spIdFor(key), head.spIdOf("10.0.0.1/12/200.1.2.3/77"));
}

TEST_F(Rows, EachInputThatIsMissingKeepsTheRowAwayAndBringsItWhenItComes) {
   startSynchronous();
   head.configIs(kParis);
   EXPECT_EQ(rows(), 0U);
   head.statusIs(kParis, kParisPrimary);
   EXPECT_EQ(rows(), 0U);
   head.requestStatusIs(kParisPrimary);
   EXPECT_EQ(rows(), 0U);
   head.spStatusIs(kSp12);
   EXPECT_EQ(rows(), 0U);
   head.spIdIs(kParisPrimary, kSp12);
   EXPECT_TRUE(head.row(kSp12));
   expectConsistent();
}

TEST_F(Rows, EachInputThatGoesTakesTheRowAlong) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const expectGoneAndBack = [&](auto&& take, auto&& giveBack) {
      take();
      EXPECT_FALSE(head.row(kSp12));
      expectConsistent();
      giveBack();
      EXPECT_TRUE(head.row(kSp12));
      expectConsistent();
   };
   expectGoneAndBack([&] { head.configDel(kParis); }, [&] { head.configIs(kParis); });
   expectGoneAndBack([&] { head.statusDel(kParis); }, [&] { head.statusIs(kParis, kParisPrimary); });
   expectGoneAndBack([&] { head.requestStatusDel(kParisPrimary); }, [&] { head.requestStatusIs(kParisPrimary); });
   expectGoneAndBack([&] { head.spStatusDel(kSp12); }, [&] { head.spStatusIs(kSp12); });
   expectGoneAndBack([&] { head.spIdDel(kParisPrimary); }, [&] { head.spIdIs(kParisPrimary, kSp12); });
}

TEST_F(Rows, TheRowGoesAlthoughItsSubTunnelStatusCannotBeFoundAnyMore) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   head.statuses->subTunnelStatusCollDel(head.subTunnelId(kParis).tunnelSpecId());
   EXPECT_EQ(rows(), 0U);
   expectConsistent();
}

TEST_F(Rows, OnlyTheActiveLspHasARowAndASwitchOverMovesIt) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.requestStatusIs(kParisSecondary);
   head.spStatusIs(kSp12Second);
   head.spIdIs(kParisSecondary, kSp12Second);
   auto const status = head.statusIs(kParis, kParisPrimary);
   startSynchronous();
   EXPECT_TRUE(head.row(kSp12));
   EXPECT_FALSE(head.row(kSp12Second));
   status->activeLspIs(head.requestId(kParisSecondary));
   EXPECT_FALSE(head.row(kSp12));
   EXPECT_TRUE(head.row(kSp12Second));
   status->activeLspIs({});
   EXPECT_EQ(rows(), 0U);
   expectConsistent();
}

TEST_F(Rows, ASubTunnelThatNamesTheLspOfAnotherGetsNoRowAndTakesNoneAway) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   auto const rome = head.statusIs(kRome, kParisPrimary);
   head.configIs(kRome);
   startSynchronous();
   auto const row = head.row(kSp12);
   ASSERT_TRUE(row);
   rome->activeLspIs({});
   EXPECT_EQ(head.row(kSp12), row);
   rome->activeLspIs(head.requestId(kParisPrimary));
   head.configDel(kRome);
   EXPECT_EQ(head.row(kSp12), row);
   head.statusDel(kParis);
   EXPECT_FALSE(head.row(kSp12));
   expectConsistent();
}

TEST_F(Rows, AChangeOfAJoinedInputMakesANewRowWithAFreshHopIndex) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const before = head.row(kSp12);
   head.configIs(kParis);
   auto const after = head.row(kSp12);
   ASSERT_TRUE(after);
   EXPECT_NE(before, after);
   EXPECT_NE(before->hopTableIndex(), after->hopTableIndex());
   expectConsistent();
}

// An add for a key that has a row: over the same inputs everything stays, and no index is drawn.
TEST_F(Rows, TheSameInputsAgainKeepRowIndexAndHopEntry) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const row = head.row(kSp12);
   auto const entry = head.hopTableHelper->pathSpecCollTableSm(row->hopTableIndex());
   sm->eventToSpsStream(head.spIdOf(kSp12),
                        Vel::Optional<MplsSnmp::SpStatusPtr>(head.spStatuses->spStatus()[head.spIdOf(kSp12)]));
   EXPECT_EQ(head.row(kSp12), row);
   EXPECT_EQ(head.hopTableHelper->pathSpecCollTableSm(row->hopTableIndex()), entry);
   // The next index drawn is the one after the row's: none was drawn in between.
   EXPECT_EQ(head.mib->getHopTableIndex(), row->hopTableIndex() + 1);
}

TEST_F(Rows, WhileTwoRequestsShareAnSpIdItsRowStaysAsItIs) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const row = head.row(kSp12);
   head.spIdIs(kRomePrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp12);
   EXPECT_EQ(head.row(kSp12), row);
   head.configIs(kParis);
   head.spStatusIs(kSp12);
   head.statusDel(kParis);
   EXPECT_EQ(head.row(kSp12), row);
   expectConsistent();
}

TEST_F(Rows, NoRowIsMadeForAnSpIdWithTwoRequests) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp12);
   startSynchronous();
   EXPECT_EQ(rows(), 0U);
   head.configIs(kParis);
   EXPECT_EQ(rows(), 0U);
   expectConsistent();
}

TEST_F(Rows, WhenOneOfTwoRequestsGoesTheOtherGetsTheRow) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   head.tunnelIs(kRome, kRomePrimary, kSp12);
   head.spIdDel(kParisPrimary);
   auto const row = head.row(kSp12);
   ASSERT_TRUE(row);
   EXPECT_EQ(row->name(), Vel::String("to-rome"));
   expectConsistent();
}

// The filters of the pipelines stopped at the ambiguity, so they could not take the row away when its inputs went.
TEST_F(Rows, ARowThatLostItsInputsWhileAmbiguousGoesWhenTheAmbiguityEnds) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   head.spIdIs(kRomePrimary, kSp12);
   head.requestStatusDel(kParisPrimary);
   EXPECT_TRUE(head.row(kSp12));
   head.spIdDel(kRomePrimary);
   EXPECT_FALSE(head.row(kSp12));
   expectConsistent();
}

TEST_F(Rows, ARowThatLostItsInputsWhileAmbiguousGoesWithItsOwnRequestToo) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   head.spIdIs(kRomePrimary, kSp12);
   head.statusDel(kParis);
   head.spIdDel(kParisPrimary);
   EXPECT_FALSE(head.row(kSp12));
   expectConsistent();
}

// The old watcher's retraction must not arrive after the new watcher's event.
TEST_F(Rows, ACollectionReplacedByAnotherWithTheSameEntriesKeepsItsRows) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const row = head.row(kSp12);
   auto const tunnel = head.subTunnelId(kParis).tunnelSpecId();
   auto const other = Vel::makePtr<Rsvp::RsvpLerSubTunnelConfigColl>();
   other->subTunnelConfigIs(head.subTunnelId(kParis),
                            head.configs->subTunnelConfigColl()[tunnel]->subTunnelConfig()[head.subTunnelId(kParis)]);
   head.configs->subTunnelConfigCollIs(tunnel, other);
   EXPECT_EQ(head.row(kSp12), row);
   // And it is the new collection that is followed from now on.
   other->subTunnelConfigDel(head.subTunnelId(kParis));
   EXPECT_FALSE(head.row(kSp12));
   expectConsistent();
}

// Also where the entries stand two levels below what is replaced.
TEST_F(Rows, ATableReplacedByAnotherWithTheSameCollectionsKeepsItsRows) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const row = head.row(kSp12);
   auto const tunnel = head.subTunnelId(kParis).tunnelSpecId();
   auto const other = Vel::makePtr<Rsvp::RsvpLerSubTunnelConfigCollTable>();
   other->subTunnelConfigCollIs(tunnel, head.configs->subTunnelConfigColl()[tunnel]);
   head.lerStatus->subTunnelConfigCollTableIs(other);
   EXPECT_EQ(head.row(kSp12), row);
   other->subTunnelConfigCollDel(tunnel);
   EXPECT_FALSE(head.row(kSp12));
   expectConsistent();
}

TEST_F(Rows, AStatusReplacedByAnotherObjectGivesTheRowOfTheNewOne) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const status = head.statusIs(kParis, kParisPrimary);
   status->pathChangesIs(17);
   ASSERT_TRUE(head.row(kSp12));
   EXPECT_EQ(head.row(kSp12)->pathChanges(), 17U);
   expectConsistent();
}

TEST_F(Rows, TheSpIdMapReplacedByAnotherMovesTheRows) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.spStatusIs(kSp40);
   startSynchronous();
   auto const other = Vel::makePtr<Rsvp::RsvpLerSpIdMap>();
   other->spIdForLspRequestConfigIdIs(head.requestId(kParisPrimary), head.spIdOf(kSp40));
   head.lerStatus->spIdMapIs(other);
   EXPECT_FALSE(head.row(kSp12));
   EXPECT_TRUE(head.row(kSp40));
   head.lerStatus->spIdMapIs(nullptr);
   EXPECT_EQ(rows(), 0U);
   expectConsistent();
}

TEST_F(Rows, WithoutAFreeHopIndexThereIsNoRow) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   head.tunnelIs(kRome, kRomePrimary, kSp40);
   head.mib->numAllocatorConfigIs({1, 1});
   head.mib->numAllocatorIs(head.mib->numAllocatorConfig(), head.mib->numAllocatorStatus(),
                            Orb::activityManager().clock());
   TraceCapture const trace("RsvpSnmpSm");
   startSynchronous();
   EXPECT_EQ(rows(), 1U);
   EXPECT_EQ(trace.count("filter( ( _hopTableIndex20 > 0 ) ) failed, terminating pipeline") +
                   trace.count("filter( ( _hopTableIndex128 > 0 ) ) failed, terminating pipeline") +
                   trace.count("filter( ( _hopTableIndex101 > 0 ) ) failed, terminating pipeline") +
                   trace.count("filter( ( _hopTableIndex47 > 0 ) ) failed, terminating pipeline") +
                   trace.count("filter( ( _hopTableIndex74 > 0 ) ) failed, terminating pipeline"),
             5);  // each stream tried once for the second tunnel
   expectConsistent();
}

TEST_F(Rows, ADeletedRowReleasesItsIndexThenItsHopEntryThenLeavesTheTable) {
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   startSynchronous();
   auto const index = head.row(kSp12)->hopTableIndex();
   auto const key = head.row(kSp12)->key();

   struct Watch : Vel::PtrInterface {
      std::vector<std::string> seen;
      TestSupport::HeadEnd* head = nullptr;
   };
   struct VelMib : Vel::Reactor<VelMib, Watch, MplsSnmp::MplsTeMib> {
      using Reactor::Reactor;
      void handle(Watch& watch, Vel::AttributeId attribute, void const*) {
         if (attribute != MplsSnmp::MplsTeMib::attrMplsTunnelTable) return;
         auto const& head = *watch.head;
         watch.seen.push_back(fmt::format("row gone with {} indices in use and {} hop entries",
                                          head.mib->numAllocatorStatus()->inUse(),
                                          head.hopTableHelper->pathSpecCollTableSm().size()));
      }
   };
   auto const watch = Vel::makePtr<Watch>();
   watch->head = &head;
   auto const reactor = Vel::makePtr<VelMib>(watch.get(), Vel::Ptr<MplsSnmp::MplsTeMib const>(head.mib));

   TraceCapture const trace("RsvpSnmpSm");
   head.spStatusDel(kSp12);
   EXPECT_THAT(watch->seen, ElementsAre("row gone with 0 indices in use and 0 hop entries"));
   auto const texts = trace.texts();
   auto const hop = std::ranges::find(
         texts, fmt::format("into( hopTableHelper.pathSpecCollTableSm[ ( *hopIndex ) ] ): deleting k1={}", index));
   auto const row = std::ranges::find(texts, fmt::format("into( mib.mplsTunnelTable[ mibKey ] ): deleting k1={}", key));
   ASSERT_NE(hop, texts.end());
   ASSERT_NE(row, texts.end());
   EXPECT_LT(hop, row);
   reactor->retire();
}

// A hop list is its tunnel's; whoever else insists on the index keeps the row away, and throws nothing into an event.
TEST_F(Rows, AnObserverThatPutsHopEntriesOfItsOwnKeepsTheRowAwayForAsLongAsItInsists) {
   startSynchronous();
   auto const stranger = head.statusIs(kRome, "");
   auto const config = head.configIs(kRome);
   auto const insist = [&](std::uint32_t index) {
      if (head.hopTableHelper->pathSpecCollTableSm(index)) return;
      head.hopTableHelper->pathSpecCollTableSmIs(index, head.lerConfig, stranger, config, head.mib);
   };
   auto onRow = Vel::makePtr<TestSupport::Observer>(*head.mib, [&](Vel::AttributeId attribute, void const*) {
      if (attribute != MplsSnmp::MplsTeMib::attrMplsTunnelTable) return;
      if (auto const row = head.row(kSp12)) insist(row->hopTableIndex());
   });
   auto onEntry = Vel::makePtr<TestSupport::Observer>(*head.hopTableHelper, [&](Vel::AttributeId, void const* key) {
      insist(*static_cast<std::uint32_t const*>(key));
   });
   TraceCapture const trace("RsvpSnmpSm");
   EXPECT_NO_THROW(head.tunnelIs(kParis, kParisPrimary, kSp12));
   EXPECT_FALSE(head.row(kSp12));
   EXPECT_EQ(indicesInUse(), 0U);
   EXPECT_TRUE(std::ranges::any_of(trace.texts(), [](auto const& text) { return text.starts_with("hop index "); }));
   onRow = nullptr;
   onEntry = nullptr;
   head.spStatusIs(kSp12);
   ASSERT_TRUE(head.row(kSp12));
   auto const entry = head.hopTableHelper->pathSpecCollTableSm(head.row(kSp12)->hopTableIndex());
   ASSERT_TRUE(entry);
   EXPECT_NE(entry->subTunnelStatus(), stranger);
}

// An object can lose its last reference inside its own handler.
TEST_F(Rows, AnObserverThatDropsTheDerivationInTheMiddleOfAnEventIsSafe) {
   startSynchronous();
   struct Watch : Vel::PtrInterface {
      Vel::Ptr<Sm>* sm = nullptr;
   };
   struct VelMib : Vel::Reactor<VelMib, Watch, MplsSnmp::MplsTeMib> {
      using Reactor::Reactor;
      void handle(Watch& watch, Vel::AttributeId, void const*) { *watch.sm = nullptr; }
   };
   auto const watch = Vel::makePtr<Watch>();
   watch->sm = &sm;
   auto const reactor = Vel::makePtr<VelMib>(watch.get(), Vel::Ptr<MplsSnmp::MplsTeMib const>(head.mib));
   head.tunnelIs(kParis, kParisPrimary, kSp12);
   EXPECT_FALSE(sm);
   head.spStatusDel(kSp12);  // nobody follows any more
   EXPECT_TRUE(head.row(kSp12));
   reactor->retire();
}

TEST(RowView, AnObjectThatIsNoRowIsAProgrammingError) {
   EXPECT_DEATH(MplsSnmp::asTunnelTableEntry(nullptr, 913),
                "_tmpCache913_ && \"dynamic cast to MplsSnmp::MplsTunnelTableEntry::PtrConst from "
                "MplsSnmp::MplsTunnelTableEntryRsvp::PtrConst failed\"");
}
