// SPDX-License-Identifier: MIT
/// The columns of a tunnel row over the RSVP-TE state that it was made with, and its counters.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include <deque>
#include <map>

#include "mib/MplsTunnelTableEntryRsvp.h"
#include "substrate/trel/Exceptions.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// Counters as they lie in memory that another process writes: each copy that a reader takes may be different.
class FakeCounterMap : public Tallies::CounterMap {
 public:
   class FakeEntry : public Entry {
    public:
      /// What successive copies give; the last one is given for ever.
      std::deque<Tallies::Counter> copies;
      bool corrupt = false;
      mutable unsigned taken = 0;

      Tallies::Counter copy() const override {
         if (corrupt) throw Trel::CorruptionDetectedException("an entry is torn for good");
         return copies[std::min<std::size_t>(taken++, copies.size() - 1)];
      }
   };

   std::map<std::uint64_t, FakeEntry> entries;
   bool corrupt = false;
   mutable std::vector<std::string> reported;

   Entry const* find(std::uint64_t tunnelValue) const override {
      if (corrupt) throw Trel::CorruptionDetectedException("a bucket points outside the map");
      auto const found = entries.find(tunnelValue);
      return found == entries.end() ? nullptr : &found->second;
   }
   void corruptionHandler(std::string_view message) const override { reported.emplace_back(message); }
};

struct FakeCounterTable : Tallies::CounterTable {
   FakeCounterTable() : CounterTable("counters") {}
   Tallies::CounterMap const* counterMap() const override { return attached ? &map : nullptr; }
   FakeCounterMap map;
   bool attached = true;
};

class TunnelRowTest : public testing::Test {
 protected:
   TunnelRowTest() {
      lerStatus_->tunnelIndexMapIs(tunnelIndices_);
      lerStatus_->subTunnelIndexMapIs(subTunnelIndices_);
   }
   ~TunnelRowTest() override { Vel::System::timeSourceIs(nullptr); }

   static Rsvp::RsvpLerSubTunnelConfigId id(std::string_view text) {
      return Rsvp::RsvpLerSubTunnelConfigId::fromText(text);
   }
   /// A row of the sub-tunnel `config` over the other inputs as they are.
   Vel::Ptr<MplsTunnelTableEntryRsvp const> rowOf(Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig const> const& config,
                                                  Vel::Ptr<Tallies::CounterTable const> const& counters) const {
      return mplsTunnelTableEntryRsvpFactory(key_, 7U, status_, config, spStatus_, request_, counters, lerStatus_);
   }
   Vel::Ptr<MplsTunnelTableEntryRsvp const> row() const { return rowOf(config_, counters_); }

   static constexpr std::uint64_t tunnelValue(std::uint64_t type, std::uint32_t index) { return type << 56U | index; }

   MplsTunnelTableKey const key_{12, 1, 167772161, 167772169};
   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus> const status_ =
         Vel::makePtr<Rsvp::RsvpLerSubTunnelStatus>(id("cli:to-paris"));
   Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig> const config_ =
         Vel::makePtr<Rsvp::RsvpLerSubTunnelConfig>(id("cli:to-paris"));
   Vel::Ptr<Rsvp::RsvpSpStatus> const spStatus_ =
         Vel::makePtr<Rsvp::RsvpSpStatus>(Rsvp::RsvpSpId::fromText("10.0.0.9/12/10.0.0.1/1"));
   Vel::Ptr<Rsvp::RsvpLerLspRequestStatus> const request_ = Vel::makePtr<Rsvp::RsvpLerLspRequestStatus>(
         Rsvp::RsvpLerLspRequestConfigId::fromText("cli:to-paris@primary.1"));
   Vel::Ptr<FakeCounterTable> const counters_ = Vel::makePtr<FakeCounterTable>();
   Vel::Ptr<Rsvp::RsvpLerHiveStatus> const lerStatus_ = Vel::makePtr<Rsvp::RsvpLerHiveStatus>("lerStatus");
   Vel::Ptr<Rsvp::RsvpLerTunnelIndexMap> const tunnelIndices_ = Vel::makePtr<Rsvp::RsvpLerTunnelIndexMap>();
   Vel::Ptr<Rsvp::RsvpLerSubTunnelIndexMap> const subTunnelIndices_ = Vel::makePtr<Rsvp::RsvpLerSubTunnelIndexMap>();
};

TEST_F(TunnelRowTest, storesWhatItWasMadeWith) {
   auto const made = row();
   EXPECT_EQ(made->fwkType().name, "MplsSnmp::MplsTunnelTableEntryRsvp");
   EXPECT_EQ(made->key(), key_);
   EXPECT_EQ(made->hopTableIndex(), 7);
   EXPECT_EQ(made->subTunnelStatus(), status_);
   EXPECT_EQ(made->subTunnelConfig(), config_);
   EXPECT_EQ(made->spStatus(), spStatus_);
   EXPECT_EQ(made->lspRequestStatus(), request_);
   EXPECT_EQ(made->counterTable(), counters_);
   EXPECT_EQ(made->lerHiveStatus(), lerStatus_);
}

TEST_F(TunnelRowTest, columnsThatAreTheSameForEveryTunnel) {
   auto const made = row();
   EXPECT_EQ(made->adminStatus(), AdminStatus::adminUp);
   EXPECT_EQ(made->rowStatus(), 1);
   EXPECT_EQ(made->storageType(), 5);
   EXPECT_TRUE(made->descr().empty());
   EXPECT_FALSE(made->isIf());
   EXPECT_EQ(made->ifIndex(), 0);
   EXPECT_EQ(made->owner(), MplsOwner::rsvpTe);
   EXPECT_EQ(made->role(), TunnelRole::head);
   EXPECT_EQ(made->signallingProto(), SignallingProto::protoRsvp);
   EXPECT_EQ(made->pathInUse(), 1);
}

TEST_F(TunnelRowTest, theNameIsTheTunnelsWithoutItsStoredEnd) {
   EXPECT_EQ(status_->id().tunnelName.size(), 9);
   EXPECT_EQ(row()->name(), Vel::String("to-paris"));
}

TEST_F(TunnelRowTest, thePrioritiesAndAffinitiesAreThoseThatTheLspWasSignalledWith) {
   auto const made = row();
   spStatus_->sessionAttributeIs({5, 3, 0xffffffffU, 0x80000000U, 1});
   EXPECT_EQ(made->setupPrio(), 5);
   EXPECT_EQ(made->holdingPrio(), 3);
   EXPECT_EQ(made->excludeAnyAffinity(), 0xffffffffU);
   EXPECT_EQ(made->includeAnyAffinity(), 0x80000000U);
   EXPECT_EQ(made->includeAllAffinity(), 1);
}

TEST_F(TunnelRowTest, aSetupPriorityThatDoesNotFitAnOctetReadsAsZero) {
   auto const made = row();
   auto const setupPrio = [&](std::uint16_t stored) {
      spStatus_->sessionAttributeIs({stored, 0, 0, 0, 0});
      return made->setupPrio();
   };
   EXPECT_EQ(setupPrio(0), 0);
   EXPECT_EQ(setupPrio(7), 7);
   EXPECT_EQ(setupPrio(255), 255);
   EXPECT_EQ(setupPrio(256), 0);
   EXPECT_EQ(setupPrio(257), 0);
   EXPECT_EQ(setupPrio(65535), 0);
}

TEST_F(TunnelRowTest, everyTunnelIsPersistentAndRecordsItsRoute) {
   EXPECT_EQ(row()->sessionAttributes(), SessionAttributesBits(0x14));
   config_->fastRerouteIs(true);
   EXPECT_EQ(row()->sessionAttributes(), SessionAttributesBits(0x15));
}

TEST_F(TunnelRowTest, localProtectionIsInUseWhenANotifySaysThatTheTunnelWasRepaired) {
   auto const made = row();
   auto const inUse = [&](std::vector<Rsvp::RsvpLerLspRequestStatus::Error> const& errors) {
      request_->errorsIs(errors);
      return made->localProtectInUse();
   };
   EXPECT_FALSE(inUse({}));
   EXPECT_TRUE(inUse({{25, 3}}));
   EXPECT_TRUE(inUse({{24, 5}, {25, 2}, {25, 3}, {1, 1}}));
   EXPECT_FALSE(inUse({{25, 2}, {24, 3}, {3, 25}, {25, 259}}));
}

TEST_F(TunnelRowTest, theUpTimeIsCountedFromWhenThePathCameUp) {
   Vel::System::timeSourceIs([] { return 1'760'000'100.75; });
   spStatus_->upSinceIs(1'760'000'000.25);
   EXPECT_DOUBLE_EQ(row()->instanceUpTime(), 100.5);
   Vel::System::timeSourceIs([] { return 1'759'999'999.25; });
   EXPECT_DOUBLE_EQ(row()->instanceUpTime(), -1);
}

TEST_F(TunnelRowTest, columnsFollowTheStatusOfTheSubTunnel) {
   auto const made = row();
   EXPECT_EQ(made->operStatus(), OperStatus::operDown);
   status_->upIs(true);
   EXPECT_EQ(made->operStatus(), OperStatus::operUp);
   status_->pathChangesIs(4294967295U);
   status_->stateTransitionsIs(17);
   EXPECT_EQ(made->pathChanges(), 4294967295U);
   EXPECT_EQ(made->stateTransitions(), 17);
}

TEST_F(TunnelRowTest, aTunnelsCountersAreFoundByItsIndex) {
   EXPECT_EQ(row()->getTunnelId(), tunnelValue(16, 0));
   tunnelIndices_->tunnelIndexForTunnelSpecIdIs(id("cli:to-rome").tunnelSpecId(), 11);
   subTunnelIndices_->tunnelIndexForSubTunnelConfigIdIs(id("cli:to-paris"), 40);
   EXPECT_EQ(row()->getTunnelId(), tunnelValue(16, 0));
   tunnelIndices_->tunnelIndexForTunnelSpecIdIs(id("cli:to-paris").tunnelSpecId(), 12);
   EXPECT_EQ(row()->getTunnelId(), tunnelValue(16, 12));
   tunnelIndices_->tunnelIndexForTunnelSpecIdIs(id("cli:to-paris").tunnelSpecId(), 4294967295U);
   EXPECT_EQ(row()->getTunnelId(), tunnelValue(16, 4294967295U));
}

TEST_F(TunnelRowTest, theCountersOfAPartOfASplitTunnelAreFoundByItsOwnIndex) {
   auto const part = rowOf(Vel::makePtr<Rsvp::RsvpLerSubTunnelConfig>(id("cli:to-paris#2")), counters_);
   tunnelIndices_->tunnelIndexForTunnelSpecIdIs(id("cli:to-paris").tunnelSpecId(), 12);
   EXPECT_EQ(part->getTunnelId(), tunnelValue(20, 0));
   subTunnelIndices_->tunnelIndexForSubTunnelConfigIdIs(id("cli:to-paris#1"), 39);
   subTunnelIndices_->tunnelIndexForSubTunnelConfigIdIs(id("cli:to-paris#2"), 40);
   EXPECT_EQ(part->getTunnelId(), tunnelValue(20, 40));
}

TEST_F(TunnelRowTest, withoutItsIndexMapATunnelHasIndexZero) {
   auto const part = rowOf(Vel::makePtr<Rsvp::RsvpLerSubTunnelConfig>(id("cli:to-paris#2")), counters_);
   lerStatus_->tunnelIndexMapIs(nullptr);
   lerStatus_->subTunnelIndexMapIs(nullptr);
   EXPECT_EQ(row()->getTunnelId(), tunnelValue(16, 0));
   EXPECT_EQ(part->getTunnelId(), tunnelValue(20, 0));
}

TEST_F(TunnelRowTest, readsTheCountersOfItsTunnel) {
   tunnelIndices_->tunnelIndexForTunnelSpecIdIs(id("cli:to-paris").tunnelSpecId(), 12);
   counters_->map.entries[tunnelValue(16, 12)].copies = {{18446744073709551615U, 4294967296U}};
   counters_->map.entries[tunnelValue(16, 0)].copies = {{1, 2}};
   EXPECT_EQ(row()->perfPackets(), 18446744073709551615U);
   EXPECT_EQ(row()->perfBytes(), 4294967296U);
   // Nothing is kept: the next read sees the next value.
   counters_->map.entries[tunnelValue(16, 12)].copies = {{5, 6}};
   EXPECT_EQ(row()->perfPackets(), 5);
   EXPECT_EQ(row()->perfBytes(), 6);
}

TEST_F(TunnelRowTest, withoutCountersATunnelHasCountedNothing) {
   auto const without = rowOf(config_, nullptr);
   EXPECT_EQ(without->perfPackets(), 0);
   EXPECT_EQ(without->perfBytes(), 0);
   // No entry of this tunnel.
   EXPECT_EQ(row()->perfPackets(), 0);
   EXPECT_EQ(row()->perfBytes(), 0);
   // No map in the table.
   counters_->map.entries[tunnelValue(16, 0)].copies = {{1, 2}};
   counters_->attached = false;
   EXPECT_EQ(row()->perfPackets(), 0);
   EXPECT_EQ(row()->perfBytes(), 0);
   EXPECT_THAT(counters_->map.reported, IsEmpty());
}

TEST_F(TunnelRowTest, aCounterThatIsBeingWrittenIsReadUntilTwoCopiesAgree) {
   auto& entry = counters_->map.entries[tunnelValue(16, 0)];
   entry.copies = {{1, 100}, {2, 100}, {2, 200}, {3, 200}, {3, 300}, {3, 300}, {99, 99}};
   EXPECT_EQ(row()->perfPackets(), 3);
   EXPECT_EQ(entry.taken, 6);
   entry.taken = 0;
   EXPECT_EQ(row()->perfBytes(), 300);
   EXPECT_EQ(entry.taken, 6);
}

TEST_F(TunnelRowTest, twoCopiesThatAgreeAtOnceAreEnough) {
   auto& entry = counters_->map.entries[tunnelValue(16, 0)];
   entry.copies = {{1, 100}, {1, 100}, {2, 200}};
   EXPECT_EQ(row()->perfPackets(), 1);
   EXPECT_EQ(entry.taken, 2);
}

TEST_F(TunnelRowTest, damageFoundOnTheWayToTheCounterIsReportedToTheMapAndReadsAsZero) {
   counters_->map.entries[tunnelValue(16, 0)].copies = {{1, 2}};
   counters_->map.corrupt = true;
   EXPECT_EQ(row()->perfPackets(), 0);
   EXPECT_EQ(row()->perfBytes(), 0);
   EXPECT_THAT(counters_->map.reported,
               ElementsAre("a bucket points outside the map", "a bucket points outside the map"));
}

TEST_F(TunnelRowTest, damageFoundInTheCounterIsReportedToTheMapAndReadsAsZero) {
   counters_->map.entries[tunnelValue(16, 0)].corrupt = true;
   EXPECT_EQ(row()->perfBytes(), 0);
   EXPECT_THAT(counters_->map.reported, ElementsAre("an entry is torn for good"));
}

}  // namespace

}  // namespace MplsSnmp
