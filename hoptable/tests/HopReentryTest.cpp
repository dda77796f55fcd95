// SPDX-License-Identifier: MIT
/// Changes that come while the rows are being written, out of a listener of the hop table: the last one wins, and
/// objects that lose their last reference on the way come to no harm.
#include "hoptable/tests/HopChain.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class HopReentryTest : public HopChainTest {
 protected:
   HopReentryTest() {
      specIs("cli:gold");
      specIs("cli:silver");
   }

   /// Does this once, when the row comes, goes or is replaced.
   void when(std::string row, std::function<void()> then) {
      listener_ = Vel::makePtr<HopTableListener>(
            mib_, [this, row = std::move(row), then = std::move(then)](MplsTunnelHopTableKey const& key) {
               if (done_ || keyText(key) != row) return;
               done_ = true;
               then();
            });
      done_ = false;
   }
   ~HopReentryTest() override { EXPECT_TRUE(done_) << "the listener was never called"; }

   Tunnel const paris_ =
         Tunnel::make("cli:to-paris", "cli:gold", {{1, "10.0.12.2"}, {2, "10.0.23.3"}, {3, "10.0.34.4"}});
   Rows const rowsWithGold_{"7.1.1 10.0.12.2 gold", "7.1.2 10.0.23.3 gold", "7.1.3 10.0.34.4 gold"};

 private:
   bool done_ = true;
   Vel::Ptr<HopTableListener> listener_;
};

TEST_F(HopReentryTest, thePathChangesWhileItsRowsAreWritten) {
   entryIs(7, paris_);
   when("7.1.9", [&] { paris_.pathIs({{4, "10.0.0.4"}}); });
   paris_.pathIs({{8, "10.0.0.8"}, {9, "10.0.0.9"}, {10, "10.0.0.10"}});
   EXPECT_THAT(rows(), ElementsAre("7.1.4 10.0.0.4 gold"));
}

TEST_F(HopReentryTest, thePathChangesWhileTheOldRowsAreDeleted) {
   entryIs(7, paris_);
   when("7.1.2", [&] { paris_.pathIs({{4, "10.0.0.4"}}); });
   paris_.pathIs({{8, "10.0.0.8"}});
   EXPECT_THAT(rows(), ElementsAre("7.1.4 10.0.0.4 gold"));
}

TEST_F(HopReentryTest, thePathChangesWhileTheChainIsBuilt) {
   when("7.1.2", [&] { paris_.pathIs({{4, "10.0.0.4"}}); });
   entryIs(7, paris_);
   EXPECT_THAT(rows(), ElementsAre("7.1.4 10.0.0.4 gold"));
}

TEST_F(HopReentryTest, thePathSpecGoesWhileTheRowsAreWritten) {
   entryIs(7, paris_);
   when("7.1.8", [&] { specDel("cli:gold"); });
   paris_.pathIs({{8, "10.0.0.8"}, {9, "10.0.0.9"}});
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(HopReentryTest, thePrimaryIsUnconfiguredWhileItsRowsAreDeleted) {
   entryIs(7, paris_);
   when("7.1.2", [&] { paris_.primaryIs(""); });
   specIs("cli:gold");
   EXPECT_THAT(rows(), IsEmpty());
   paris_.primaryIs("cli:silver");
   EXPECT_EQ(rows().size(), 3);
}

TEST_F(HopReentryTest, theEntryIsDeletedInItsOwnHandler) {
   entryIs(7, paris_);
   when("7.1.8", [&] { helper_->pathSpecCollTableSmDel(7); });
   paris_.pathIs({{8, "10.0.0.8"}, {9, "10.0.0.9"}});
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_EQ(paris_.status->references(), 1);
}

TEST_F(HopReentryTest, theEntryIsDeletedAndMadeAnewInItsOwnHandler) {
   entryIs(7, paris_);
   when("7.1.1", [&] {
      helper_->pathSpecCollTableSmDel(7);
      entryIs(7, paris_);
   });
   specIs("cli:gold");
   EXPECT_EQ(rows(), rowsWithGold_);
   specDel("cli:gold");
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(HopReentryTest, theTableGoesWhileTheRowsAreWritten) {
   entryIs(7, paris_);
   when("7.1.8", [&] { lerConfig_->pathSpecCollTableIs(nullptr); });
   paris_.pathIs({{8, "10.0.0.8"}, {9, "10.0.0.9"}});
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(HopReentryTest, theCollectionIsReplacedInAHandlerOfTheOldOne) {
   entryIs(7, paris_);
   auto const other = Vel::makePtr<Coll>();
   specIs(other, "cli:gold")->nameIs(Rsvp::storedName("other gold"));
   when("7.1.2", [&] { table_->pathSpecCollIs(Source::cli, other); });
   specIs("cli:gold");
   EXPECT_THAT(rows(),
               ElementsAre("7.1.1 10.0.12.2 other gold", "7.1.2 10.0.23.3 other gold", "7.1.3 10.0.34.4 other gold"));
   EXPECT_EQ(cli_->references(), 1);
}

TEST_F(HopReentryTest, theEntryIsMadeAnewWhileTheChildForAnotherCollectionIsBuilt) {
   entryIs(7, paris_);
   auto const other = Vel::makePtr<Coll>();
   specIs(other, "cli:gold")->nameIs(Rsvp::storedName("other gold"));
   when("7.1.1", [&] {
      helper_->pathSpecCollTableSmDel(7);
      entryIs(7, paris_);
   });
   table_->pathSpecCollIs(Source::cli, other);
   EXPECT_THAT(rows(),
               ElementsAre("7.1.1 10.0.12.2 other gold", "7.1.2 10.0.23.3 other gold", "7.1.3 10.0.34.4 other gold"));
}

TEST_F(HopReentryTest, aLaterCollectionComesWhileTheChildForAnEarlierOneIsBuilt) {
   entryIs(7, paris_);
   auto const second = Vel::makePtr<Coll>();
   specIs(second, "cli:gold")->nameIs(Rsvp::storedName("second"));
   auto const third = Vel::makePtr<Coll>();
   specIs(third, "cli:gold")->nameIs(Rsvp::storedName("third"));
   when("7.1.3", [&] { table_->pathSpecCollIs(Source::cli, third); });
   table_->pathSpecCollIs(Source::cli, second);
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 third", "7.1.2 10.0.23.3 third", "7.1.3 10.0.34.4 third"));
   EXPECT_EQ(pathSpecSm(7)->pathSpecColl(), third);
   specDel("cli:gold");
   second->pathSpecDel(Tunnel::pathSpecId("cli:gold"));
   EXPECT_EQ(rows().size(), 3);
}

TEST_F(HopReentryTest, theCollectionGoesWhileTheFirstChildIsBuilt) {
   when("7.1.2", [&] { table_->pathSpecCollDel(Source::cli); });
   entryIs(7, paris_);
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_EQ(pathSpecSm(7), nullptr);
}

TEST_F(HopReentryTest, theTableIsReplacedWhileItsFirstChainIsBuilt) {
   auto const other = Vel::makePtr<CollTable>();
   auto const coll = Vel::makePtr<Coll>();
   specIs(coll, "cli:gold")->nameIs(Rsvp::storedName("other gold"));
   other->pathSpecCollIs(Source::cli, coll);
   when("7.1.2", [&] { lerConfig_->pathSpecCollTableIs(other); });
   entryIs(7, paris_);
   EXPECT_THAT(rows(),
               ElementsAre("7.1.1 10.0.12.2 other gold", "7.1.2 10.0.23.3 other gold", "7.1.3 10.0.34.4 other gold"));
   table_->pathSpecCollDel(Source::cli);
   EXPECT_EQ(rows().size(), 3);
}

}  // namespace

}  // namespace MplsSnmp
