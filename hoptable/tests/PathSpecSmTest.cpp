// SPDX-License-Identifier: MIT
/// The last level of a tunnel's hop chain: the hop rows follow the path spec in use and the active path.
#include "hoptable/tests/HopChain.h"
#include "mib/MplsTunnelHopTableEntryRsvp.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

class PathSpecSmTest : public HopChainTest {
 protected:
   PathSpecSmTest() {
      specIs("cli:gold");
      specIs("cli:silver");
      paris_.secondaryIs("cli:silver");
   }
   void start() { entryIs(7, paris_); }

   Tunnel const paris_ = Tunnel::make("cli:to-paris", "cli:gold", twoHops_);
   Rows const goldRows_{"7.1.1 10.0.12.2 gold", "7.1.2 10.0.23.3 gold"};
   Rows const silverRows_{"7.1.1 10.0.12.2 silver", "7.1.2 10.0.23.3 silver"};
};

TEST_F(PathSpecSmTest, threeHopsGiveThreeRowsAddedInTheirOrder) {
   paris_.pathIs({{3, "10.0.34.4"}, {1, "10.0.12.2"}, {2, "10.0.23.3"}});
   logRows();
   start();
   EXPECT_THAT(takeRowLog(), ElementsAre("+7.1.1", "+7.1.2", "+7.1.3"));
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 gold", "7.1.2 10.0.23.3 gold", "7.1.3 10.0.34.4 gold"));
}

TEST_F(PathSpecSmTest, hopIndicesWithGapsAreKept) {
   paris_.pathIs({{2, "10.0.12.2"}, {5, "10.0.23.3"}, {4294967295U, "10.0.34.4"}});
   start();
   EXPECT_THAT(rows(), ElementsAre("7.1.2 10.0.12.2 gold", "7.1.5 10.0.23.3 gold", "7.1.4294967295 10.0.34.4 gold"));
}

TEST_F(PathSpecSmTest, aPathWithoutHopsGivesNoRows) {
   paris_.pathIs({});
   start();
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_TRUE(pathSpecSm(7)->activePath().empty());
}

TEST_F(PathSpecSmTest, aPathOf255HopsGivesThemAll) {
   Hops hops;
   Rows expected;
   for (std::uint32_t hop = 1; hop <= 255; ++hop) {
      hops[hop] = fmt::format("10.0.{}.1", hop);
      expected.push_back(fmt::format("7.1.{} 10.0.{}.1 gold", hop, hop));
   }
   paris_.pathIs(hops);
   start();
   EXPECT_THAT(rows(), ElementsAreArray(expected));
   paris_.pathIs({{255, "10.0.0.1"}});
   EXPECT_THAT(rows(), ElementsAre("7.1.255 10.0.0.1 gold"));
}

TEST_F(PathSpecSmTest, hopsMayBeIpv6OrWithoutAddress) {
   paris_.pathIs({{1, "2001:db8::1"}, {2, "none"}, {3, "10.0.12.2"}});
   start();
   EXPECT_THAT(rows(), ElementsAre("7.1.1 20:01:0d:b8:00:00:00:00:00:00:00:00:00:00:00:01 gold", "7.1.2  gold",
                                   "7.1.3 10.0.12.2 gold"));
   auto const typeOf = [&](std::uint32_t hop) { return mib_->mplsTunnelHopTable()[{7, 1, hop}]->hopAddrType(); };
   EXPECT_EQ(typeOf(1), HopAddrType::ipv6);
   EXPECT_EQ(typeOf(2), HopAddrType::typeUnknown);
   EXPECT_EQ(typeOf(3), HopAddrType::ipv4);
}

TEST_F(PathSpecSmTest, rowsNotifyTheirReactors) {
   start();
   EXPECT_TRUE(mib_->mplsTunnelHopTable().smallest()->value()->hasNotificationActive());
}

TEST_F(PathSpecSmTest, aNewActivePathReplacesAllRows) {
   start();
   logRows();
   paris_.pathIs({{2, "10.0.23.3"}, {3, "10.0.34.4"}});
   EXPECT_THAT(takeRowLog(), ElementsAre("-7.1.1", "-7.1.2", "+7.1.2", "+7.1.3"));
   EXPECT_THAT(rows(), ElementsAre("7.1.2 10.0.23.3 gold", "7.1.3 10.0.34.4 gold"));
}

TEST_F(PathSpecSmTest, anEmptyActivePathDeletesTheRowsAndKeepsThePathSpec) {
   start();
   paris_.pathIs({});
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_NE(pathSpecSm(7)->pathSpec(), nullptr);
   paris_.pathIs(twoHops_);
   EXPECT_EQ(rows(), goldRows_);
}

TEST_F(PathSpecSmTest, anotherPathSpecObjectUnderTheIdInUseRewritesTheRows) {
   start();
   logRows();
   auto const gold = specIs("cli:gold");
   EXPECT_THAT(takeRowLog(), ElementsAre("-7.1.1", "-7.1.2", "+7.1.1", "+7.1.2"));
   EXPECT_EQ(pathSpecSm(7)->pathSpec(), gold);
}

TEST_F(PathSpecSmTest, aPathSpecThatIsNotInUseChangesNothingAndTracesTheOneThatIs) {
   start();
   logRows();
   TestSupport::TraceCapture const trace("MplsSnmp");
   specIs("cli:bronze");
   EXPECT_THAT(trace.texts(), ElementsAre("void MplsSnmp::PathSpecSm::handlePathSpec(const Rsvp::RsvpLerPathSpecId&): "
                                          "hopTableIndex: 7, pathSpecId: cli:bronze",
                                          "pathSpecId doesn't match entry pathSpecId: cli:gold"));
   EXPECT_THAT(takeRowLog(), IsEmpty());
}

TEST_F(PathSpecSmTest, theOtherConfiguredPathSpecChangesNothingEither) {
   start();
   logRows();
   specIs("cli:silver");
   specDel("cli:silver");
   EXPECT_THAT(takeRowLog(), IsEmpty());
   EXPECT_EQ(rows(), goldRows_);
}

TEST_F(PathSpecSmTest, removingThePathSpecInUseDeletesTheRowsUntilItIsPublishedAgain) {
   start();
   specDel("cli:gold");
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_EQ(pathSpecSm(7)->pathSpec(), nullptr);
   paris_.pathIs({{1, "10.0.0.1"}});
   EXPECT_THAT(rows(), IsEmpty());
   specIs("cli:silver");
   EXPECT_THAT(rows(), IsEmpty());
   specIs("cli:gold");
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.0.1 gold"));
}

TEST_F(PathSpecSmTest, aNullPathSpecIsNone) {
   start();
   cli_->pathSpecIs(Tunnel::pathSpecId("cli:gold"), nullptr);
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_EQ(pathSpecSm(7)->pathSpec(), nullptr);
}

TEST_F(PathSpecSmTest, theSecondaryPathSpecIsInUseWhileTheActiveLspIsASecondaryOne) {
   paris_.activeLspIs(kSecondary);
   start();
   EXPECT_FALSE(pathSpecSm(7)->usingPrimary());
   // The path option is 1 whichever is in use.
   EXPECT_EQ(rows(), silverRows_);
   specDel("cli:silver");
   EXPECT_THAT(rows(), IsEmpty());
   specIs("cli:silver");
   EXPECT_EQ(rows(), silverRows_);
}

TEST_F(PathSpecSmTest, thePrimaryPathSpecIsInUseWhileThereIsNoActiveLsp) {
   paris_.status->activeLspIs({});
   start();
   EXPECT_TRUE(pathSpecSm(7)->usingPrimary());
   EXPECT_EQ(rows(), goldRows_);
}

TEST_F(PathSpecSmTest, theRowsFollowTheActiveLsp) {
   start();
   paris_.activeLspIs(kSecondary);
   EXPECT_EQ(rows(), silverRows_);
   specDel("cli:gold");
   EXPECT_EQ(rows(), silverRows_);
   paris_.activeLspIs(kPrimary);
   EXPECT_THAT(rows(), IsEmpty());
   specIs("cli:gold");
   EXPECT_EQ(rows(), goldRows_);
   paris_.secondaryIs("");
   paris_.activeLspIs(kSecondary);
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecSmTest, anotherLspForThePathSpecInUseChangesNothing) {
   start();
   logRows();
   paris_.status->activeLspIs({{paris_.config->id(), kPrimary}, 2});
   EXPECT_THAT(takeRowLog(), IsEmpty());
}

TEST_F(PathSpecSmTest, anotherPrimaryIdRewritesTheRows) {
   start();
   paris_.primaryIs("cli:silver");
   EXPECT_EQ(rows(), silverRows_);
   // The tunnel listens to the new one and no more to the old one.
   specDel("cli:gold");
   EXPECT_EQ(rows(), silverRows_);
   specDel("cli:silver");
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecSmTest, aPrimaryIdWithoutItsPathSpecLeavesNoRows) {
   start();
   paris_.primaryIs("cli:bronze");
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_EQ(pathSpecSm(7)->pathSpec(), nullptr);
   specIs("cli:bronze");
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 bronze", "7.1.2 10.0.23.3 bronze"));
   paris_.primaryIs("cli:gold");
   EXPECT_EQ(rows(), goldRows_);
}

TEST_F(PathSpecSmTest, aSecondaryIdWithoutItsPathSpecLeavesNoRowsWhileItIsInUse) {
   paris_.activeLspIs(kSecondary);
   start();
   paris_.secondaryIs("cli:bronze");
   EXPECT_THAT(rows(), IsEmpty());
   paris_.secondaryIs("cli:silver");
   EXPECT_EQ(rows(), silverRows_);
}

TEST_F(PathSpecSmTest, unconfiguringThePrimaryInUseDeletesTheRowsAndForgetsThePathSpec) {
   start();
   logRows();
   paris_.primaryIs("");
   EXPECT_THAT(takeRowLog(), ElementsAre("-7.1.1", "-7.1.2"));
   EXPECT_EQ(pathSpecSm(7)->pathSpec(), nullptr);
   // Nothing comes back before it is configured again.
   specIs("cli:gold");
   paris_.pathIs({{1, "10.0.0.1"}});
   EXPECT_THAT(rows(), IsEmpty());
   paris_.primaryIs("cli:gold");
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.0.1 gold"));
}

TEST_F(PathSpecSmTest, unconfiguringTheSecondaryInUseDeletesTheRowsAndForgetsThePathSpec) {
   paris_.activeLspIs(kSecondary);
   start();
   paris_.secondaryIs("");
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_EQ(pathSpecSm(7)->pathSpec(), nullptr);
   paris_.secondaryIs("cli:silver");
   EXPECT_EQ(rows(), silverRows_);
}

TEST_F(PathSpecSmTest, unconfiguringThePathSpecThatIsNotInUseChangesNothing) {
   start();
   logRows();
   paris_.secondaryIs("");
   EXPECT_THAT(takeRowLog(), IsEmpty());
   paris_.secondaryIs("cli:silver");
   paris_.activeLspIs(kSecondary);
   specIs("cli:silver");
   takeRowLog();
   paris_.primaryIs("");
   EXPECT_THAT(takeRowLog(), IsEmpty());
   EXPECT_EQ(rows(), silverRows_);
}

TEST_F(PathSpecSmTest, unconfiguringWithAnEmptyPathForgetsThePathSpec) {
   start();
   paris_.pathIs({});
   paris_.primaryIs("");
   EXPECT_EQ(pathSpecSm(7)->pathSpec(), nullptr);
   paris_.pathIs(twoHops_);
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecSmTest, theSameIdForBothServesBoth) {
   paris_.secondaryIs("cli:gold");
   start();
   logRows();
   specIs("cli:gold");
   EXPECT_THAT(takeRowLog(), ElementsAre("-7.1.1", "-7.1.2", "+7.1.1", "+7.1.2"));
   paris_.secondaryIs("cli:silver");
   specDel("cli:gold");
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecSmTest, tunnelsWithTheSameHopsAndPathSpecDoNotMeet) {
   Tunnel const rome = Tunnel::make("cli:to-rome", "cli:gold", twoHops_);
   start();
   entryIs(6, rome);
   entryIs(8, rome);
   EXPECT_EQ(rows().size(), 6);
   helper_->pathSpecCollTableSmDel(6);
   rome.pathIs({});
   EXPECT_EQ(rows(), goldRows_);
}

TEST_F(PathSpecSmTest, cleaningUpDeletesEveryRowOfTheIndexWhoeverWroteItAndNoOther) {
   start();
   auto const foreign = [&](std::uint32_t list, std::uint32_t option, std::uint32_t hop) {
      mib_->mplsTunnelHopTableIs(Vel::makePtr<MplsTunnelHopTableEntryRsvp>(
            MplsTunnelHopTableKey(list, option, hop), Snmp::InetAddress(), cli_->pathSpec().begin()->value));
   };
   foreign(6, 4294967295U, 4294967295U);
   foreign(7, 0, 0);
   foreign(7, 1, 200);
   foreign(7, 4294967295U, 4294967295U);
   foreign(8, 0, 0);
   logRows();
   pathSpecSm(7)->cleanupMibEntries();
   EXPECT_THAT(takeRowLog(), ElementsAre("-7.0.0", "-7.1.1", "-7.1.2", "-7.1.200", "-7.4294967295.4294967295"));
   EXPECT_THAT(rows(), ElementsAre("6.4294967295.4294967295  gold", "8.0.0  gold"));
}

TEST_F(PathSpecSmTest, theHighestAndTheLowestIndexAreIndicesLikeOthers) {
   entryIs(4294967295U, paris_);
   entryIs(0, paris_);
   EXPECT_EQ(rows().size(), 4);
   paris_.pathIs({{9, "10.0.0.9"}});
   EXPECT_THAT(rows(), ElementsAre("0.1.9 10.0.0.9 gold", "4294967295.1.9 10.0.0.9 gold"));
   helper_->pathSpecCollTableSmDel(4294967295U);
   EXPECT_THAT(rows(), ElementsAre("0.1.9 10.0.0.9 gold"));
}

TEST_F(PathSpecSmTest, dyingDeletesTheRowsOfAnEarlierInstanceToo) {
   start();
   auto second = PathSpecSm::PathSpecSmIs(7, Vel::makePtr<Coll>(), paris_.status, paris_.config, mib_);
   // The new one has cleaned up and has no path spec; the old one writes again when something happens.
   EXPECT_THAT(rows(), IsEmpty());
   specIs("cli:gold");
   EXPECT_EQ(rows(), goldRows_);
   second = nullptr;
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecSmTest, aNewInstanceFirstDeletesTheRowsOfItsIndex) {
   start();
   logRows();
   auto const second = PathSpecSm::PathSpecSmIs(7, cli_, paris_.status, paris_.config, mib_);
   // Once when it learns the active path, and again with the path spec, which finds nothing left.
   EXPECT_THAT(takeRowLog(), ElementsAre("-7.1.1", "-7.1.2", "+7.1.1", "+7.1.2"));
   EXPECT_EQ(rows(), goldRows_);
}

TEST_F(PathSpecSmTest, isMadeWithNotificationsOnFromTheObjectsGiven) {
   auto const sm = PathSpecSm::PathSpecSmIs(7, cli_, paris_.status, paris_.config, mib_);
   EXPECT_TRUE(sm->hasNotificationActive());
   EXPECT_EQ(sm->hopTableIndex(), 7);
   EXPECT_EQ(sm->pathSpecColl(), cli_);
   EXPECT_EQ(sm->subTunnelStatus(), paris_.status);
   EXPECT_EQ(sm->subTunnelConfig(), paris_.config);
   EXPECT_EQ(sm->mplsTeMib(), mib_);
   EXPECT_EQ(sm->pathSpec(), cli_->pathSpec()[Tunnel::pathSpecId("cli:gold")]);
   EXPECT_EQ(sm->activePath(), paris_.status->activePath());
}

TEST_F(PathSpecSmTest, aMissingCollectionIsAnEmptyOne) {
   auto const sm = PathSpecSm::PathSpecSmIs(7, nullptr, paris_.status, paris_.config, mib_);
   EXPECT_EQ(sm->velPathSpecColl(), nullptr);
   paris_.primaryIs("cli:silver");
   paris_.pathIs({});
   EXPECT_THAT(rows(), IsEmpty());
   sm->hasNotificationActiveIs(false);
   sm->hasNotificationActiveIs(true);
}

TEST_F(PathSpecSmTest, pointedAtAnotherStatusItFollowsThatPath) {
   start();
   Tunnel const rome = Tunnel::make("cli:to-rome", "cli:silver", {{5, "10.0.0.5"}});
   pathSpecSm(7)->velSubTunnelStatus()->notifierIs(rome.status);
   EXPECT_THAT(rows(), ElementsAre("7.1.5 10.0.0.5 gold"));
   paris_.pathIs({});
   EXPECT_THAT(rows(), ElementsAre("7.1.5 10.0.0.5 gold"));
}

TEST_F(PathSpecSmTest, pointedAtAnotherConfigurationItFollowsThosePathSpecs) {
   start();
   Tunnel const rome = Tunnel::make("cli:to-rome", "cli:silver", {});
   pathSpecSm(7)->velSubTunnelConfig()->notifierIs(rome.config);
   EXPECT_EQ(rows(), silverRows_);
   specDel("cli:silver");
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecSmTest, pointedAtAnotherCollectionItWaitsForAChange) {
   start();
   auto const other = Vel::makePtr<Coll>();
   pathSpecSm(7)->velPathSpecColl()->notifierIs(other);
   EXPECT_EQ(rows(), goldRows_);
   specDel("cli:gold");
   EXPECT_EQ(rows(), goldRows_);
   specIs(other, "cli:gold")->nameIs(Rsvp::storedName("other gold"));
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 other gold", "7.1.2 10.0.23.3 other gold"));
}

TEST_F(PathSpecSmTest, aRetiredOneReactsToNothing) {
   start();
   auto const last = pathSpecSm(7);
   helper_->pathSpecCollTableSmDel(7);
   EXPECT_TRUE(last->isMarkedForDeletion());
   EXPECT_FALSE(last->hasNotificationActive());
   logRows();
   specIs("cli:gold");
   paris_.pathIs({{1, "10.0.0.1"}});
   paris_.primaryIs("cli:silver");
   last->hasNotificationActiveIs(true);
   paris_.pathIs(twoHops_);
   last->maybeAddMibEntries();
   EXPECT_THAT(takeRowLog(), IsEmpty());
}

}  // namespace

}  // namespace MplsSnmp
