// SPDX-License-Identifier: MIT
/// The upper two levels of a tunnel's hop chain: from the LER configuration to the path specs of the tunnel's source.
#include "hoptable/tests/HopChain.h"
#include "tests/support/TraceCapture.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class PathSpecCollTest : public HopChainTest {
 protected:
   PathSpecCollTest() {
      specIs("cli:gold");
      entryIs(7, paris_);
   }

   Vel::Ptr<Coll> collWith(std::string_view id) const {
      auto const coll = Vel::makePtr<Coll>();
      specIs(coll, id);
      return coll;
   }

   Tunnel const paris_ = Tunnel::make("cli:to-paris", "cli:gold", twoHops_);
   Rows const parisRows_{"7.1.1 10.0.12.2 gold", "7.1.2 10.0.23.3 gold"};
};

TEST_F(PathSpecCollTest, theChainEndsAtTheCollectionOfTheTunnelsSource) {
   auto const coll = helper_->pathSpecCollTableSm(7)->pathSpecCollSm();
   EXPECT_EQ(coll->fwkType().name, "MplsSnmp::PathSpecCollSm");
   EXPECT_EQ(coll->hopTableIndex(), 7);
   EXPECT_EQ(coll->pathSpecCollTable(), table_);
   EXPECT_TRUE(coll->hasNotificationActive());
   auto const last = coll->pathSpecSm();
   EXPECT_EQ(last->fwkType().name, "MplsSnmp::PathSpecSm");
   EXPECT_EQ(last->pathSpecColl(), cli_);
   EXPECT_TRUE(last->hasNotificationActive());
   EXPECT_EQ(rows(), parisRows_);
}

TEST_F(PathSpecCollTest, losingTheTableDeletesTheChainAndItsRowsAndGettingItBackRebuildsThem) {
   lerConfig_->pathSpecCollTableIs(nullptr);
   EXPECT_EQ(helper_->pathSpecCollTableSm(7)->pathSpecCollSm(), nullptr);
   EXPECT_THAT(rows(), IsEmpty());
   paris_.pathIs({{4, "10.0.0.4"}});
   EXPECT_THAT(rows(), IsEmpty());
   lerConfig_->pathSpecCollTableIs(table_);
   EXPECT_THAT(rows(), ElementsAre("7.1.4 10.0.0.4 gold"));
}

TEST_F(PathSpecCollTest, losingTheSourcesCollectionDeletesTheRowsAndGettingItBackRewritesThem) {
   table_->pathSpecCollDel(Source::cli);
   EXPECT_EQ(pathSpecSm(7), nullptr);
   EXPECT_THAT(rows(), IsEmpty());
   table_->pathSpecCollIs(Source::cli, cli_);
   EXPECT_EQ(rows(), parisRows_);
   table_->pathSpecCollIs(Source::cli, nullptr);
   EXPECT_EQ(pathSpecSm(7), nullptr);
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecCollTest, aTunnelCreatedBeforeItsSourcesCollectionWaitsForIt) {
   Tunnel const rome = Tunnel::make("controller:to-rome", "controller:blue", twoHops_);
   entryIs(8, rome);
   EXPECT_EQ(rows(), parisRows_);
   table_->pathSpecCollIs(Source::controller, collWith("controller:blue"));
   EXPECT_THAT(rows(), ElementsAre(parisRows_[0], parisRows_[1], "8.1.1 10.0.12.2 blue", "8.1.2 10.0.23.3 blue"));
}

TEST_F(PathSpecCollTest, theRowsStandAfterTheSourcesCollectionWasReplaced) {
   auto const old = pathSpecSm(7);
   auto const silver = collWith("cli:gold");
   specIs(silver, "cli:gold")->nameIs(Rsvp::storedName("gold of the new collection"));
   table_->pathSpecCollIs(Source::cli, silver);
   EXPECT_NE(pathSpecSm(7), old);
   EXPECT_THAT(rows(),
               ElementsAre("7.1.1 10.0.12.2 gold of the new collection", "7.1.2 10.0.23.3 gold of the new collection"));
   // The old collection is nobody's business any more.
   specDel("cli:gold");
   EXPECT_EQ(rows().size(), 2);
   silver->pathSpecDel(Tunnel::pathSpecId("cli:gold"));
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecCollTest, theRowsStandAfterTheWholeTableWasReplaced) {
   auto const old = helper_->pathSpecCollTableSm(7)->pathSpecCollSm();
   auto const table = Vel::makePtr<CollTable>();
   table->pathSpecCollIs(Source::cli, cli_);
   lerConfig_->pathSpecCollTableIs(table);
   EXPECT_NE(helper_->pathSpecCollTableSm(7)->pathSpecCollSm(), old);
   EXPECT_EQ(rows(), parisRows_);
   // The old level is held by this test alone: it neither reacts nor takes rows away when it dies.
   table_->pathSpecCollDel(Source::cli);
   EXPECT_EQ(rows(), parisRows_);
}

TEST_F(PathSpecCollTest, aReplacedLevelThatDiesLateTakesNoRowsAway) {
   auto held = helper_->pathSpecCollTableSm(7)->pathSpecCollSm();
   auto heldLast = pathSpecSm(7);
   auto const table = Vel::makePtr<CollTable>();
   table->pathSpecCollIs(Source::cli, cli_);
   lerConfig_->pathSpecCollTableIs(table);
   held = nullptr;
   heldLast = nullptr;
   EXPECT_EQ(rows(), parisRows_);
}

TEST_F(PathSpecCollTest, aReplacementWithoutTheTunnelsSourceLeavesNoRows) {
   auto const table = Vel::makePtr<CollTable>();
   table->pathSpecCollIs(Source::controller, collWith("controller:blue"));
   lerConfig_->pathSpecCollTableIs(table);
   EXPECT_EQ(pathSpecSm(7), nullptr);
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecCollTest, collectionsOfOtherSourcesLeaveTheRowsUntouchedAndTraceTheMismatch) {
   logRows();
   TestSupport::TraceCapture const trace("MplsSnmp");
   table_->pathSpecCollIs(Source::controller, collWith("controller:gold"));
   EXPECT_THAT(trace.texts(),
               ElementsAre("void MplsSnmp::PathSpecCollSm::handlePathSpecColl(Rsvp::RsvpLerTunnelSource): "
                           "hopTableIndex: 7, source: controller",
                           "source doesn't match entry source: cli"));
   table_->pathSpecCollDel(Source::controller);
   EXPECT_THAT(takeRowLog(), IsEmpty());
   EXPECT_EQ(rows(), parisRows_);
}

TEST_F(PathSpecCollTest, theSameCollectionAgainKeepsTheLastLevelAsItIs) {
   auto const last = pathSpecSm(7);
   auto const coll = helper_->pathSpecCollTableSm(7)->pathSpecCollSm();
   logRows();
   coll->handlePathSpecColl();
   coll->handlePathSpecColl(Source::cli);
   EXPECT_EQ(coll->pathSpecSmIs(7, cli_, paris_.status, paris_.config, mib_), last);
   helper_->pathSpecCollTableSm(7)->handlePathSpecCollTable();
   EXPECT_EQ(helper_->pathSpecCollTableSm(7)->pathSpecCollSmIs(7, table_, paris_.status, paris_.config, mib_), coll);
   EXPECT_EQ(pathSpecSm(7), last);
   EXPECT_THAT(takeRowLog(), IsEmpty());
}

TEST_F(PathSpecCollTest, aChildIsReplacedWhenAnyInputIsAnotherObject) {
   auto const coll = helper_->pathSpecCollTableSm(7)->pathSpecCollSm();
   Tunnel const rome = Tunnel::make("cli:to-rome", "cli:gold", twoHops_);
   auto isNew = [&, last = coll->pathSpecSm()](Vel::Ptr<PathSpecSm> const& child) mutable {
      bool const replaced = child != last && child == coll->pathSpecSm();
      last = child;
      return replaced;
   };
   EXPECT_TRUE(isNew(coll->pathSpecSmIs(7, collWith("cli:gold"), paris_.status, paris_.config, mib_)));
   EXPECT_TRUE(isNew(coll->pathSpecSmIs(7, cli_, paris_.status, paris_.config, mib_)));
   EXPECT_TRUE(isNew(coll->pathSpecSmIs(7, cli_, rome.status, paris_.config, mib_)));
   EXPECT_TRUE(isNew(coll->pathSpecSmIs(7, cli_, rome.status, rome.config, mib_)));
   EXPECT_TRUE(isNew(coll->pathSpecSmIs(7, cli_, rome.status, rome.config, mplsTeMibFactory("other"))));
   EXPECT_TRUE(isNew(coll->pathSpecSmIs(8, cli_, rome.status, rome.config, mib_)));
   EXPECT_FALSE(isNew(coll->pathSpecSmIs(8, cli_, rome.status, rome.config, mib_)));
   EXPECT_THAT(rows(), ElementsAre("8.1.1 10.0.12.2 gold", "8.1.2 10.0.23.3 gold"));
}

TEST_F(PathSpecCollTest, pointingTheFirstLevelAtAnotherConfigurationFollowsIt) {
   auto const other = Vel::makePtr<Rsvp::RsvpLerConfig>("other");
   auto const entry = helper_->pathSpecCollTableSm(7);
   entry->velLerConfig()->notifierIs(other);
   EXPECT_EQ(entry->lerConfig(), other);
   EXPECT_THAT(rows(), IsEmpty());
   other->pathSpecCollTableIs(table_);
   EXPECT_EQ(rows(), parisRows_);
   lerConfig_->pathSpecCollTableIs(nullptr);
   EXPECT_EQ(rows(), parisRows_);
}

TEST_F(PathSpecCollTest, pointingTheSecondLevelAtAnotherTableRunsNothing) {
   auto const coll = helper_->pathSpecCollTableSm(7)->pathSpecCollSm();
   auto const other = Vel::makePtr<CollTable>();
   coll->velPathSpecCollTable()->notifierIs(other);
   EXPECT_EQ(coll->pathSpecCollTable(), other);
   EXPECT_EQ(rows(), parisRows_);
   table_->pathSpecCollDel(Source::cli);
   EXPECT_EQ(rows(), parisRows_);
   other->pathSpecCollIs(Source::cli, nullptr);
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(PathSpecCollTest, aChainIsSilencedAndWokenAtOnce) {
   auto const entry = helper_->pathSpecCollTableSm(7);
   auto const coll = entry->pathSpecCollSm();
   auto const last = coll->pathSpecSm();
   auto const active = [&] {
      return std::vector<bool>{entry->hasNotificationActive(),
                               entry->velLerConfig()->hasNotificationActive(),
                               coll->hasNotificationActive(),
                               coll->velPathSpecCollTable()->hasNotificationActive(),
                               last->hasNotificationActive(),
                               last->velPathSpecColl()->hasNotificationActive(),
                               last->velSubTunnelStatus()->hasNotificationActive(),
                               last->velSubTunnelConfig()->hasNotificationActive()};
   };
   EXPECT_EQ(active(), std::vector<bool>(8, true));
   entry->hasNotificationActiveIs(false);
   EXPECT_EQ(active(), std::vector<bool>(8, false));
   paris_.pathIs({});
   paris_.secondaryIs("cli:gold");
   specDel("cli:gold");
   table_->pathSpecCollDel(Source::cli);
   lerConfig_->pathSpecCollTableIs(nullptr);
   EXPECT_EQ(rows(), parisRows_);
   entry->hasNotificationActiveIs(true);
   EXPECT_EQ(active(), std::vector<bool>(8, true));
}

TEST_F(PathSpecCollTest, switchingNotificationsToWhatTheyAreDoesNotReachTheReactors) {
   auto const entry = helper_->pathSpecCollTableSm(7);
   entry->velLerConfig()->hasNotificationActiveIs(false);
   entry->pathSpecCollSm()->velPathSpecCollTable()->hasNotificationActiveIs(false);
   pathSpecSm(7)->velSubTunnelStatus()->hasNotificationActiveIs(false);
   entry->hasNotificationActiveIs(true);
   entry->pathSpecCollSm()->hasNotificationActiveIs(true);
   pathSpecSm(7)->hasNotificationActiveIs(true);
   EXPECT_FALSE(entry->velLerConfig()->hasNotificationActive());
   EXPECT_FALSE(entry->pathSpecCollSm()->velPathSpecCollTable()->hasNotificationActive());
   EXPECT_FALSE(pathSpecSm(7)->velSubTunnelStatus()->hasNotificationActive());
}

TEST_F(PathSpecCollTest, aTunnelThatWakesKnowsWhichPathSpecsItListensTo) {
   auto const entry = helper_->pathSpecCollTableSm(7);
   entry->hasNotificationActiveIs(false);
   paris_.primaryIs("cli:silver");
   entry->hasNotificationActiveIs(true);
   specIs("cli:silver");
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 silver", "7.1.2 10.0.23.3 silver"));
}

TEST_F(PathSpecCollTest, deletingTheChildOfALevelDeletesTheRows) {
   auto const coll = helper_->pathSpecCollTableSm(7)->pathSpecCollSm();
   coll->pathSpecSmDel();
   EXPECT_EQ(coll->pathSpecSm(), nullptr);
   EXPECT_THAT(rows(), IsEmpty());
   coll->pathSpecSmDel();
   helper_->pathSpecCollTableSm(7)->pathSpecCollSmDel();
   helper_->pathSpecCollTableSm(7)->pathSpecCollSmDel();
   EXPECT_EQ(helper_->pathSpecCollTableSm(7)->pathSpecCollSm(), nullptr);
}

}  // namespace

}  // namespace MplsSnmp
