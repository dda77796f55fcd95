// SPDX-License-Identifier: MIT
/// The computed MIB: its two tables in walk order, and the hop list indices that it hands out.
#include "mib/MplsTeMib.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <set>

#include "mib/MplsTunnelHopTableEntryRsvp.h"
#include "mib/MplsTunnelTableEntryRsvp.h"
#include "mib/Types.h"
#include "substrate/vel/EntityDir.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/TypeRegistry.h"
#include "tests/support/Observer.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

using TunnelRow = Vel::Ptr<MplsTunnelTableEntry const>;
using HopRow = Vel::Ptr<MplsTunnelHopTableEntry const>;

TunnelRow tunnelRow(MplsTunnelTableKey const& key) {
   Rsvp::RsvpLerSubTunnelConfigId const tunnel;
   Rsvp::RsvpLerLspRequestConfigId const request;
   return mplsTunnelTableEntryRsvpFactory(key, 1U, Vel::makePtr<Rsvp::RsvpLerSubTunnelStatus>(tunnel),
                                          Vel::makePtr<Rsvp::RsvpLerSubTunnelConfig>(tunnel),
                                          Vel::makePtr<Rsvp::RsvpSpStatus>(Rsvp::RsvpSpId()),
                                          Vel::makePtr<Rsvp::RsvpLerLspRequestStatus>(request), nullptr,
                                          Vel::makePtr<Rsvp::RsvpLerHiveStatus>("lerStatus"));
}
HopRow hopRow(MplsTunnelHopTableKey const& key) {
   return mplsTunnelHopTableEntryRsvpFactory(key, Snmp::InetAddress(), nullptr);
}

class MplsTeMibTest : public testing::Test {
 protected:
   struct Listener : Vel::PtrInterface::NotifieeConst {
      explicit Listener(MplsTeMib const& mib) {
         bind(&mib);
         isRegisteredNotifieeIs(true);
      }
      void onAttribute(Vel::AttributeId attribute, void const* key) override {
         if (attribute == MplsTeMib::attrMplsTunnelTable) {
            heard.push_back(static_cast<MplsTunnelTableKey const*>(key)->valueToStrep());
         } else if (attribute == MplsTeMib::attrMplsTunnelHopTable) {
            heard.push_back(static_cast<MplsTunnelHopTableKey const*>(key)->valueToStrep());
         } else {
            EXPECT_EQ(key, nullptr);
            heard.push_back(std::to_string(attribute));
         }
      }
      std::vector<std::string> take() { return std::exchange(heard, {}); }
      std::vector<std::string> heard;
   };

   template <class Table>
   static auto keys(Table const& table) {
      std::vector<std::remove_cvref_t<decltype(table.begin()->key())>> all;
      for (auto const& node : table) all.push_back(node.key());
      return all;
   }

   Vel::Ptr<MplsTeMib> const mib_ = mplsTeMibFactory("mplsTeMib");
   Vel::Ptr<Listener> const listener_ = Vel::makePtr<Listener>(*mib_);
   MplsTunnelTableKey const tunnel1_{1, 1, 10, 90};
   MplsTunnelTableKey const tunnel2_{1, 1, 10, 91};
   MplsTunnelTableKey const tunnel3_{65535, 0, 0, 0};
   MplsTunnelHopTableKey const hop1_{1, 1, 1};
   MplsTunnelHopTableKey const hop2_{1, 1, 2};
   MplsTunnelHopTableKey const hop3_{4294967295U, 0, 0};
};

TEST_F(MplsTeMibTest, isMadeWithItsNameEmptyAndReady) {
   EXPECT_EQ(mib_->name(), Vel::String("mplsTeMib"));
   EXPECT_EQ(mib_->fwkType().name, "MplsSnmp::MplsTeMib");
   EXPECT_TRUE(mib_->hasNotificationActive());
   EXPECT_TRUE(mib_->mplsTunnelTable().empty());
   EXPECT_TRUE(mib_->mplsTunnelHopTable().empty());
   EXPECT_NE(mib_->numAllocator(), nullptr);
   EXPECT_TRUE(mib_->numAllocator()->hasNotificationActive());
   EXPECT_EQ(mib_->numAllocatorConfig()->range(), (Orb::Range{1, 4294967295U}));
   EXPECT_EQ(mib_->numAllocatorStatus()->inUse(), 0);
}

TEST_F(MplsTeMibTest, constructionAloneMakesTheAllocatorAndNotifies) {
   auto const bare = Vel::makePtr<MplsTeMib>("bare");
   EXPECT_NE(bare->getHopTableIndex(), 0);
   EXPECT_TRUE(bare->hasNotificationActive());
   auto const listener = Vel::makePtr<Listener>(*bare);
   bare->mplsTunnelTableIs(tunnelRow(tunnel1_));
   EXPECT_THAT(listener->take(), ElementsAre(tunnel1_.valueToStrep()));
}

TEST_F(MplsTeMibTest, rowsStandInWalkOrder) {
   for (auto const& key : {tunnel3_, tunnel1_, tunnel2_}) mib_->mplsTunnelTableIs(tunnelRow(key));
   EXPECT_THAT(keys(mib_->mplsTunnelTable()), ElementsAre(tunnel1_, tunnel2_, tunnel3_));
   for (auto const& key : {hop3_, hop1_, hop2_}) mib_->mplsTunnelHopTableIs(hopRow(key));
   EXPECT_THAT(keys(mib_->mplsTunnelHopTable()), ElementsAre(hop1_, hop2_, hop3_));
}

TEST_F(MplsTeMibTest, aRowIsFoundUnderItsOwnKey) {
   auto const tunnel = tunnelRow(tunnel1_);
   mib_->mplsTunnelTableIs(tunnel);
   EXPECT_EQ(mib_->mplsTunnelTable()[tunnel1_], tunnel);
   EXPECT_EQ(mib_->mplsTunnelTable()[tunnel2_], nullptr);
   auto const hop = hopRow(hop1_);
   mib_->mplsTunnelHopTableIs(hop);
   EXPECT_EQ(mib_->mplsTunnelHopTable()[hop1_], hop);
   EXPECT_EQ(mib_->mplsTunnelHopTable()[hop2_], nullptr);
}

TEST_F(MplsTeMibTest, theNextRowIsFoundWhenThereIsNoneUnderAKey) {
   mib_->mplsTunnelTableIs(tunnelRow(tunnel2_));
   EXPECT_EQ(mib_->mplsTunnelTable().findElementOrNext({})->key(), tunnel2_);
   EXPECT_EQ(mib_->mplsTunnelTable().findElementOrNext(tunnel1_)->key(), tunnel2_);
   EXPECT_EQ(mib_->mplsTunnelTable().findElementOrNext(tunnel2_)->key(), tunnel2_);
   EXPECT_EQ(mib_->mplsTunnelTable().findElementOrNext(tunnel3_), nullptr);
   mib_->mplsTunnelHopTableIs(hopRow(hop2_));
   EXPECT_EQ(mib_->mplsTunnelHopTable().findElementOrNext(hop1_)->key(), hop2_);
   EXPECT_EQ(mib_->mplsTunnelHopTable().findElementOrNext(hop3_), nullptr);
}

TEST_F(MplsTeMibTest, aRowUnderAKeyThatIsTakenReplacesTheOther) {
   mib_->mplsTunnelTableIs(tunnelRow(tunnel1_));
   auto const tunnel = tunnelRow(tunnel1_);
   mib_->mplsTunnelTableIs(tunnel);
   EXPECT_EQ(mib_->mplsTunnelTable()[tunnel1_], tunnel);
   EXPECT_EQ(mib_->mplsTunnelTable().size(), 1);
   mib_->mplsTunnelHopTableIs(hopRow(hop1_));
   auto const hop = hopRow(hop1_);
   mib_->mplsTunnelHopTableIs(hop);
   EXPECT_EQ(mib_->mplsTunnelHopTable()[hop1_], hop);
   EXPECT_EQ(mib_->mplsTunnelHopTable().size(), 1);
}

TEST_F(MplsTeMibTest, aNullRowIsRefused) {
   EXPECT_THAT([&] { mib_->mplsTunnelTableIs(nullptr); },
               ThrowsMessage<Vel::MutatorArgNullPointerException>(
                     "MplsSnmp::MplsTeMib::mplsTunnelTableIs: argument 'row' must not be null"));
   EXPECT_THAT([&] { mib_->mplsTunnelHopTableIs(nullptr); },
               ThrowsMessage<Vel::MutatorArgNullPointerException>(
                     "MplsSnmp::MplsTeMib::mplsTunnelHopTableIs: argument 'row' must not be null"));
   EXPECT_THAT(listener_->take(), IsEmpty());
}

TEST_F(MplsTeMibTest, deletingReturnsTheRow) {
   auto const tunnel = tunnelRow(tunnel1_);
   auto const hop = hopRow(hop1_);
   mib_->mplsTunnelTableIs(tunnel);
   mib_->mplsTunnelHopTableIs(hop);
   EXPECT_EQ(mib_->mplsTunnelTableDel(tunnel1_), tunnel);
   EXPECT_EQ(mib_->mplsTunnelHopTableDel(hop1_), hop);
   EXPECT_TRUE(mib_->mplsTunnelTable().empty());
   EXPECT_TRUE(mib_->mplsTunnelHopTable().empty());
   EXPECT_EQ(tunnel->references(), 1);
   EXPECT_EQ(hop->references(), 1);
}

TEST_F(MplsTeMibTest, deletingAKeyThatIsNotThereChangesNothing) {
   mib_->mplsTunnelTableIs(tunnelRow(tunnel1_));
   mib_->mplsTunnelHopTableIs(hopRow(hop1_));
   auto const tunnelModifications = mib_->mplsTunnelTable().modificationCount();
   auto const hopModifications = mib_->mplsTunnelHopTable().modificationCount();
   listener_->take();
   EXPECT_EQ(mib_->mplsTunnelTableDel(tunnel2_), nullptr);
   EXPECT_EQ(mib_->mplsTunnelHopTableDel(hop2_), nullptr);
   EXPECT_THAT(keys(mib_->mplsTunnelTable()), ElementsAre(tunnel1_));
   EXPECT_THAT(keys(mib_->mplsTunnelHopTable()), ElementsAre(hop1_));
   EXPECT_EQ(mib_->mplsTunnelTable().modificationCount(), tunnelModifications);
   EXPECT_EQ(mib_->mplsTunnelHopTable().modificationCount(), hopModifications);
   EXPECT_THAT(listener_->take(), IsEmpty());
}

TEST_F(MplsTeMibTest, rowsCanBeDeletedOnAWalk) {
   for (auto const& key : {tunnel1_, tunnel2_, tunnel3_}) mib_->mplsTunnelTableIs(tunnelRow(key));
   for (auto at = mib_->mplsTunnelTable().begin(); at != mib_->mplsTunnelTable().end(); ++at) {
      if (at->key() != tunnel2_) mib_->mplsTunnelTableDel(at);
   }
   EXPECT_THAT(keys(mib_->mplsTunnelTable()), ElementsAre(tunnel2_));
   for (auto const& key : {hop1_, hop2_, hop3_}) mib_->mplsTunnelHopTableIs(hopRow(key));
   for (auto at = mib_->mplsTunnelHopTable().begin(); at != mib_->mplsTunnelHopTable().end(); ++at) {
      mib_->mplsTunnelHopTableDel(at);
   }
   EXPECT_TRUE(mib_->mplsTunnelHopTable().empty());
}

TEST_F(MplsTeMibTest, emptyingATableEndsAlsoWhenAnObserverPutsTheRowsBack) {
   for (auto const& key : {tunnel1_, tunnel2_}) mib_->mplsTunnelTableIs(tunnelRow(key));
   for (auto const& key : {hop1_, hop2_}) mib_->mplsTunnelHopTableIs(hopRow(key));
   auto const again = Vel::makePtr<TestSupport::Observer>(*mib_, [&](Vel::AttributeId attribute, void const* key) {
      if (attribute == MplsTeMib::attrMplsTunnelTable) {
         auto const& gone = *static_cast<MplsTunnelTableKey const*>(key);
         if (!mib_->mplsTunnelTable().contains(gone)) mib_->mplsTunnelTableIs(tunnelRow(gone));
      } else {
         auto const& gone = *static_cast<MplsTunnelHopTableKey const*>(key);
         if (!mib_->mplsTunnelHopTable().contains(gone)) mib_->mplsTunnelHopTableIs(hopRow(gone));
      }
   });
   mib_->mplsTunnelTableDelAll();
   EXPECT_THAT(keys(mib_->mplsTunnelTable()), ElementsAre(tunnel1_, tunnel2_));
   mib_->mplsTunnelHopTableDelAll();
   EXPECT_THAT(keys(mib_->mplsTunnelHopTable()), ElementsAre(hop1_, hop2_));
}

TEST_F(MplsTeMibTest, aTableIsEmptiedAndTheOtherStays) {
   for (auto const& key : {tunnel1_, tunnel2_}) mib_->mplsTunnelTableIs(tunnelRow(key));
   for (auto const& key : {hop1_, hop2_}) mib_->mplsTunnelHopTableIs(hopRow(key));
   listener_->take();
   mib_->mplsTunnelTableDelAll();
   EXPECT_TRUE(mib_->mplsTunnelTable().empty());
   EXPECT_EQ(mib_->mplsTunnelHopTable().size(), 2);
   EXPECT_THAT(listener_->take(), ElementsAre(tunnel1_.valueToStrep(), tunnel2_.valueToStrep()));
   mib_->mplsTunnelHopTableDelAll();
   EXPECT_TRUE(mib_->mplsTunnelHopTable().empty());
   EXPECT_THAT(listener_->take(), ElementsAre(hop1_.valueToStrep(), hop2_.valueToStrep()));
}

TEST_F(MplsTeMibTest, everyRowChangeIsToldWithItsKey) {
   auto const tunnel = tunnelRow(tunnel1_);
   mib_->mplsTunnelTableIs(tunnel);
   mib_->mplsTunnelTableIs(tunnel);
   mib_->mplsTunnelTableIs(tunnelRow(tunnel1_));
   mib_->mplsTunnelTableDel(tunnel1_);
   EXPECT_EQ(listener_->take(), std::vector<std::string>(3, tunnel1_.valueToStrep()));
   auto const hop = hopRow(hop1_);
   mib_->mplsTunnelHopTableIs(hop);
   mib_->mplsTunnelHopTableIs(hop);
   mib_->mplsTunnelHopTableIs(hopRow(hop1_));
   mib_->mplsTunnelHopTableDel(hop1_);
   EXPECT_EQ(listener_->take(), std::vector<std::string>(3, hop1_.valueToStrep()));
}

TEST_F(MplsTeMibTest, insertsAndDeletesCountAsModifications) {
   auto const count = [&] { return mib_->mplsTunnelHopTable().modificationCount(); };
   auto const first = count();
   mib_->mplsTunnelHopTableIs(hopRow(hop1_));
   auto const second = count();
   EXPECT_NE(second, first);
   mib_->mplsTunnelHopTableDel(hop1_);
   EXPECT_NE(count(), second);
}

TEST_F(MplsTeMibTest, theRowsGoWithTheEntity) {
   auto const tunnel = tunnelRow(tunnel1_);
   auto const hop = hopRow(hop1_);
   auto mib = mplsTeMibFactory("other");
   mib->mplsTunnelTableIs(tunnel);
   mib->mplsTunnelHopTableIs(hop);
   mib = nullptr;
   EXPECT_EQ(tunnel->references(), 1);
   EXPECT_EQ(hop->references(), 1);
}

TEST_F(MplsTeMibTest, indicesAreHandedOutOnceAndNeverZero) {
   std::set<std::uint32_t> given;
   for (unsigned n = 0; n < 1000; ++n) {
      std::uint32_t const index = mib_->getHopTableIndex();
      EXPECT_NE(index, 0);
      EXPECT_TRUE(given.insert(index).second) << index;
   }
   EXPECT_EQ(*given.begin(), 1);
   EXPECT_EQ(mib_->numAllocatorStatus()->inUse(), 1000);
}

TEST_F(MplsTeMibTest, aReleasedIndexIsFreeAndItsHopRowsStay) {
   std::uint32_t const index = mib_->getHopTableIndex();
   mib_->mplsTunnelHopTableIs(hopRow({index, 1, 1}));
   mib_->releaseHopTableIndex(index);
   EXPECT_FALSE(mib_->numAllocatorStatus()->isUsed(index));
   EXPECT_EQ(mib_->mplsTunnelHopTable().size(), 1);
   mib_->releaseHopTableIndex(index);
   mib_->releaseHopTableIndex(0);
   EXPECT_EQ(mib_->numAllocatorStatus()->inUse(), 0);
}

TEST_F(MplsTeMibTest, initialisingAgainForgetsTheIndicesAndIsTraced) {
   std::uint32_t const first = mib_->getHopTableIndex();
   auto const allocator = mib_->numAllocator();
   listener_->take();
   TestSupport::TraceCapture const trace("MplsSnmp");
   EXPECT_TRUE(Vel::operationInvoke(*mib_, "initNumAllocator").known());
   EXPECT_THAT(trace.lines(),
               ElementsAre(TestSupport::TraceCapture::Line{8, "Enter void MplsSnmp::MplsTeMib::initNumAllocator()"}));
   EXPECT_NE(mib_->numAllocator(), allocator);
   EXPECT_EQ(mib_->numAllocatorStatus()->inUse(), 0);
   EXPECT_EQ(mib_->getHopTableIndex(), first);
   auto const told = [](Vel::AttributeId attribute) { return std::to_string(attribute); };
   EXPECT_THAT(listener_->take(),
               ElementsAre(told(MplsTeMib::attrNumAllocatorConfig), told(MplsTeMib::attrNumAllocatorStatus),
                           told(MplsTeMib::attrNumAllocator)));
}

TEST_F(MplsTeMibTest, theTraceLineIsWrittenWhenItsLevelIsEnabledOnly) {
   TestSupport::TraceCapture const trace("MplsSnmp", 0xffff & ~(1U << 8U));
   mib_->initNumAllocator();
   EXPECT_THAT(trace.lines(), IsEmpty());
}

TEST_F(MplsTeMibTest, theAllocatorCanHaveAnotherRange) {
   mib_->numAllocatorConfigIs({5, 6});
   mib_->numAllocatorStatusIs();
   mib_->numAllocatorIs(mib_->numAllocatorConfig(), mib_->numAllocatorStatus(), Orb::activityManager().clock());
   EXPECT_EQ(mib_->getHopTableIndex(), 5);
   EXPECT_EQ(mib_->getHopTableIndex(), 6);
   EXPECT_EQ(mib_->getHopTableIndex(), 0);
   mib_->releaseHopTableIndex(5);
   EXPECT_EQ(mib_->getHopTableIndex(), 5);
}

TEST_F(MplsTeMibTest, aRangeThatGivesNoHopListIndicesIsRefused) {
   auto const config = mib_->numAllocatorConfig();
   listener_->take();
   for (Orb::Range const range : {Orb::Range{0, 5}, Orb::Range{6, 5}, Orb::Range{1, 4294967296U}}) {
      EXPECT_THAT(
            [&] { mib_->numAllocatorConfigIs(range); },
            ThrowsMessage<Vel::RangeException>(fmt::format(
                  "{} to {} is no range of hop list indices (1 to 4294967295 at most)", range.first, range.last)));
   }
   EXPECT_THROW(mib_->numAllocatorIs(Vel::makePtr<Orb::NumAllocatorConfig>(Orb::Range{1, 4294967296U}),
                                     mib_->numAllocatorStatus(), Orb::activityManager().clock()),
                Vel::RangeException);
   EXPECT_EQ(mib_->numAllocatorConfig(), config);
   EXPECT_THAT(listener_->take(), IsEmpty());
   mib_->numAllocatorConfigIs({4294967295U, 4294967295U});
   EXPECT_EQ(mib_->numAllocatorConfig()->range().first, 4294967295U);
}

TEST_F(MplsTeMibTest, anAllocatorOfNothingIsRefused) {
   auto const allocator = mib_->numAllocator();
   auto const config = mib_->numAllocatorConfig();
   auto const status = mib_->numAllocatorStatus();
   auto const clock = Orb::activityManager().clock();
   auto const refusal = [](std::string_view argument) {
      return ThrowsMessage<Vel::MutatorArgNullPointerException>(
            fmt::format("MplsSnmp::MplsTeMib::numAllocatorIs: argument '{}' must not be null", argument));
   };
   EXPECT_THAT([&] { mib_->numAllocatorIs(nullptr, status, clock); }, refusal("config"));
   EXPECT_THAT([&] { mib_->numAllocatorIs(config, nullptr, clock); }, refusal("status"));
   EXPECT_THAT([&] { mib_->numAllocatorIs(config, status, nullptr); }, refusal("clock"));
   EXPECT_EQ(mib_->numAllocator(), allocator);
}

TEST_F(MplsTeMibTest, aHostSetsTheAllocatorAttributesByName) {
   std::vector<Vel::Any> const range{Orb::Range{5, 6}};
   EXPECT_TRUE(Vel::attributeSet(*mib_, "numAllocatorConfig", range).known());
   EXPECT_EQ(mib_->numAllocatorConfig()->range(), (Orb::Range{5, 6}));
   EXPECT_TRUE(Vel::attributeSet(*mib_, "numAllocatorStatus", {}).known());
   std::vector<Vel::Any> const parts{Vel::attributeGet(*mib_, "numAllocatorConfig").value,
                                     Vel::attributeGet(*mib_, "numAllocatorStatus").value,
                                     Vel::Ptr<Vel::PtrInterface>(Orb::activityManager().clock())};
   EXPECT_TRUE(Vel::attributeSet(*mib_, "numAllocator", parts).known());
   EXPECT_EQ(mib_->getHopTableIndex(), 5);
   std::vector<Vel::Any> const mixedUp{parts[1], parts[0], parts[2]};
   EXPECT_THROW(Vel::attributeSet(*mib_, "numAllocator", mixedUp), Vel::ArgumentException);
   EXPECT_EQ(mib_->getHopTableIndex(), 6);
   for (auto const* attribute : {"numAllocator", "numAllocatorStatus", "numAllocatorConfig"}) {
      EXPECT_TRUE(Vel::attributeDel(*mib_, attribute).known());
      EXPECT_FALSE(std::any_cast<Vel::Ptr<Vel::PtrInterface>>(Vel::attributeGet(*mib_, attribute).value)) << attribute;
   }
}

TEST_F(MplsTeMibTest, aHostBuildsAndPrintsAKeyByTheNameOfItsType) {
   Vel::TypeModule const module("MplsSnmp", mplsSnmpTypes());
   auto const& registry = Vel::TypeRegistry::instance();
   auto const row = tunnelRow(tunnel1_);
   mib_->mplsTunnelTableIs(row);
   std::vector<Vel::Any> const key{registry.strepToValue("MplsSnmp::MplsTunnelTableKey", tunnel1_.valueToStrep())};
   auto const found = Vel::attributeGet(*mib_, "mplsTunnelTable", key).value;
   EXPECT_EQ(std::any_cast<Vel::Ptr<Vel::PtrInterface const>>(found), row);
   auto const keys = std::any_cast<std::vector<Vel::Any>>(Vel::attributeKeys(*mib_, "mplsTunnelTable").value);
   EXPECT_EQ(registry.valueToStrep(keys.at(0)), tunnel1_.valueToStrep());

   mib_->mplsTunnelHopTableIs(hopRow(hop1_));
   std::vector<Vel::Any> const hopKey{registry.strepToValue("MplsSnmp::MplsTunnelHopTableKey", hop1_.valueToStrep())};
   EXPECT_TRUE(Vel::attributeDel(*mib_, "mplsTunnelHopTable", hopKey).known());
   EXPECT_TRUE(mib_->mplsTunnelHopTable().empty());
}

TEST_F(MplsTeMibTest, theAllocatorAttributesCanBeCleared) {
   mib_->numAllocatorDel();
   mib_->numAllocatorStatusDel();
   mib_->numAllocatorConfigDel();
   EXPECT_EQ(mib_->numAllocator(), nullptr);
   EXPECT_EQ(mib_->numAllocatorStatus(), nullptr);
   EXPECT_EQ(mib_->numAllocatorConfig(), nullptr);
   mib_->initNumAllocator();
   EXPECT_EQ(mib_->getHopTableIndex(), 1);
}

using MplsTeMibDeathTest = MplsTeMibTest;

TEST_F(MplsTeMibDeathTest, indicesNeedTheAllocator) {
   mib_->numAllocatorDel();
   EXPECT_DEATH(mib_->getHopTableIndex(), "Assertion `numAllocator\\(\\)' failed");
   EXPECT_DEATH(mib_->releaseHopTableIndex(1), "Assertion `numAllocator\\(\\)' failed");
}

TEST_F(MplsTeMibTest, aHostCreatesItInADirectoryByItsTypesName) {
   Vel::TypeModule const module("MplsSnmp", mplsSnmpTypes());
   auto const root = Vel::makePtr<Vel::EntityDir>("snmp");
   auto const made = Vel::ptrCast<MplsTeMib>(root->newEntity("MplsSnmp::MplsTeMib", "mplsTeMib"));
   ASSERT_NE(made, nullptr);
   EXPECT_EQ(made->name(), Vel::String("mplsTeMib"));
   EXPECT_TRUE(made->hasNotificationActive());
   EXPECT_EQ(made->getHopTableIndex(), 1);
   std::vector<Vel::Any> const tooMany{std::uint64_t{1}};
   EXPECT_THROW(root->newEntity("MplsSnmp::MplsTeMib", "another", tooMany), Vel::NewEntityArgsException);
}

TEST_F(MplsTeMibTest, aHostReadsAndDrivesItByName) {
   EXPECT_EQ(std::any_cast<Vel::String>(Vel::attributeGet(*mib_, "name").value), Vel::String("mplsTeMib"));
   EXPECT_EQ(std::any_cast<std::uint64_t>(Vel::operationInvoke(*mib_, "getHopTableIndex").value), 1);
   std::vector<Vel::Any> const one{std::uint64_t{1}};
   EXPECT_TRUE(Vel::operationInvoke(*mib_, "releaseHopTableIndex", one).known());
   EXPECT_EQ(mib_->numAllocatorStatus()->inUse(), 0);

   auto const row = tunnelRow(tunnel1_);
   std::vector<Vel::Any> const rowArg{Vel::Ptr<Vel::PtrInterface const>(row)};
   std::vector<Vel::Any> const keyArg{tunnel1_};
   Vel::attributeSet(*mib_, "mplsTunnelTable", rowArg);
   EXPECT_EQ(mib_->mplsTunnelTable()[tunnel1_], row);
   auto const pointer = [](Vel::GenericResult const& result) {
      return std::any_cast<Vel::Ptr<Vel::PtrInterface const>>(result.value);
   };
   EXPECT_EQ(pointer(Vel::attributeGet(*mib_, "mplsTunnelTable", keyArg)), row);
   auto const all = std::any_cast<std::vector<Vel::Any>>(Vel::attributeKeys(*mib_, "mplsTunnelTable").value);
   ASSERT_EQ(all.size(), 1);
   EXPECT_EQ(std::any_cast<MplsTunnelTableKey>(all.front()), tunnel1_);
   EXPECT_EQ(std::any_cast<std::uint64_t>(Vel::attributeSize(*mib_, "mplsTunnelTable").value), 1U);
   EXPECT_EQ(std::any_cast<std::uint64_t>(Vel::attributeSize(*mib_, "mplsTunnelHopTable").value), 0U);
   EXPECT_EQ(pointer(Vel::attributeDel(*mib_, "mplsTunnelTable", keyArg)), row);
   EXPECT_TRUE(mib_->mplsTunnelTable().empty());

   auto const hop = hopRow(hop1_);
   std::vector<Vel::Any> const hopArg{Vel::Ptr<Vel::PtrInterface const>(hop)};
   std::vector<Vel::Any> const hopKeyArg{hop1_};
   Vel::attributeSet(*mib_, "mplsTunnelHopTable", hopArg);
   EXPECT_EQ(pointer(Vel::attributeGet(*mib_, "mplsTunnelHopTable", hopKeyArg)), hop);
   EXPECT_EQ(pointer(Vel::attributeDel(*mib_, "mplsTunnelHopTable", hopKeyArg)), hop);
   EXPECT_EQ(pointer(Vel::attributeDel(*mib_, "mplsTunnelHopTable", hopKeyArg)), nullptr);

   EXPECT_THROW(Vel::attributeSet(*mib_, "mplsTunnelTable", hopArg), Vel::ArgumentException);
   EXPECT_FALSE(Vel::attributeGet(*mib_, "mplsTunnelPerfTable").known());
}

}  // namespace

}  // namespace MplsSnmp
