// SPDX-License-Identifier: MIT
/// The entries of the tunnels whose hop rows are kept, by hop table index.
#include "hoptable/HopTableHelper.h"

#include "hoptable/Types.h"
#include "hoptable/tests/HopChain.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/TypeRegistry.h"
#include "tests/support/Observer.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::ThrowsMessage;

class HopTableHelperTest : public HopChainTest {
 protected:
   HopTableHelperTest() { specIs("cli:gold"); }
   Tunnel const paris_ = Tunnel::make("cli:to-paris", "cli:gold", {{1, "10.0.12.2"}});
};

TEST_F(HopTableHelperTest, isMadeEmptyWithNotificationsOn) {
   EXPECT_TRUE(helper_->pathSpecCollTableSm().empty());
   EXPECT_TRUE(helper_->hasNotificationActive());
   EXPECT_TRUE(HopTableHelper::HopTableHelperIs()->hasNotificationActive());
}

TEST_F(HopTableHelperTest, anEntryWritesTheHopRowsOfItsTunnel) {
   auto const entry = entryIs(7, paris_);
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 gold"));
   EXPECT_EQ(helper_->pathSpecCollTableSm(7), entry);
   EXPECT_EQ(entry->hopTableIndex(), 7);
   EXPECT_EQ(entry->lerConfig(), lerConfig_);
   EXPECT_EQ(entry->subTunnelStatus(), paris_.status);
   EXPECT_EQ(entry->subTunnelConfig(), paris_.config);
   EXPECT_EQ(entry->mplsTeMib(), mib_);
   EXPECT_TRUE(entry->hasNotificationActive());
}

TEST_F(HopTableHelperTest, theSameObjectsAgainGiveTheSameEntryAndWriteNothing) {
   auto const entry = entryIs(7, paris_);
   auto const last = pathSpecSm(7);
   logRows();
   EXPECT_EQ(entryIs(7, paris_), entry);
   EXPECT_EQ(pathSpecSm(7), last);
   EXPECT_THAT(takeRowLog(), IsEmpty());
   EXPECT_EQ(helper_->pathSpecCollTableSm().size(), 1);
}

TEST_F(HopTableHelperTest, anIndexIsBoundToItsObjectsUntilItsEntryIsDeleted) {
   auto const entry = entryIs(7, paris_);
   Tunnel const rome = Tunnel::make("cli:to-rome", "cli:gold", twoHops_);
   auto const otherMib = mplsTeMibFactory("other");
   auto const otherConfig = Vel::makePtr<Rsvp::RsvpLerConfig>("other");
   auto const refusal = [](std::string_view argument) {
      return ThrowsMessage<Vel::MutatorReinstantiatingException>(
            fmt::format("MplsSnmp::HopTableHelper::pathSpecCollTableSmIs: the existing member was made with another "
                        "'{}'; delete it first",
                        argument));
   };
   auto const is = [&](auto const& config, auto const& status, auto const& subConfig, auto const& mib) {
      return [&] { helper_->pathSpecCollTableSmIs(7, config, status, subConfig, mib); };
   };
   EXPECT_THAT(is(otherConfig, paris_.status, paris_.config, mib_), refusal("lerConfig"));
   EXPECT_THAT(is(lerConfig_, rome.status, paris_.config, mib_), refusal("subTunnelStatus"));
   EXPECT_THAT(is(lerConfig_, paris_.status, rome.config, mib_), refusal("subTunnelConfig"));
   EXPECT_THAT(is(lerConfig_, paris_.status, paris_.config, otherMib), refusal("mplsTeMib"));

   // The first entry keeps working.
   EXPECT_EQ(helper_->pathSpecCollTableSm(7), entry);
   paris_.pathIs(twoHops_);
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 gold", "7.1.2 10.0.23.3 gold"));

   helper_->pathSpecCollTableSmDel(7);
   EXPECT_NE(entryIs(7, rome), entry);
   EXPECT_EQ(helper_->pathSpecCollTableSm(7)->subTunnelConfig(), rome.config);
}

TEST_F(HopTableHelperTest, aMissingObjectIsRefusedAndChangesNothing) {
   auto const refusal = [](std::string_view argument) {
      return ThrowsMessage<Vel::MutatorArgNullPointerException>(
            fmt::format("MplsSnmp::HopTableHelper::pathSpecCollTableSmIs: argument '{}' must not be null", argument));
   };
   auto const is = [&](LerConfigPtr const& config, SubTunnelStatusPtr const& status,
                       SubTunnelConfigPtr const& subConfig, MplsTeMibPtr const& mib) {
      return [=, this] { helper_->pathSpecCollTableSmIs(7, config, status, subConfig, mib); };
   };
   EXPECT_THAT(is(nullptr, paris_.status, paris_.config, mib_), refusal("lerConfig"));
   EXPECT_THAT(is(lerConfig_, nullptr, paris_.config, mib_), refusal("subTunnelStatus"));
   EXPECT_THAT(is(lerConfig_, paris_.status, nullptr, mib_), refusal("subTunnelConfig"));
   EXPECT_THAT(is(lerConfig_, paris_.status, paris_.config, nullptr), refusal("mplsTeMib"));
   EXPECT_TRUE(helper_->pathSpecCollTableSm().empty());
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(HopTableHelperTest, deletingAnEntryReturnsItAndDeletesItsHopRows) {
   auto const entry = entryIs(7, paris_);
   EXPECT_EQ(helper_->pathSpecCollTableSmDel(7), entry);
   // Although the caller still holds the entry.
   EXPECT_THAT(rows(), IsEmpty());
   EXPECT_EQ(helper_->pathSpecCollTableSm(7), nullptr);
   EXPECT_FALSE(entry->hasNotificationActive());
   paris_.pathIs(twoHops_);
   specIs("cli:gold");
   lerConfig_->pathSpecCollTableIs(nullptr);
   lerConfig_->pathSpecCollTableIs(table_);
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(HopTableHelperTest, aDeletedEntryThatIsStillHeldLeavesTheRowsOfItsSuccessorAlone) {
   auto entry = entryIs(7, paris_);
   helper_->pathSpecCollTableSmDel(7);
   entryIs(7, paris_);
   entry = nullptr;
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 gold"));
}

TEST_F(HopTableHelperTest, anEntryThatIsMadeAnewWhenItsRemovalIsHeardOfKeepsItsRows) {
   entryIs(7, paris_);
   auto const listener = TestSupport::atNotification(*helper_, 1, [&] { entryIs(7, paris_); });
   helper_->pathSpecCollTableSmDel(7);
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 gold"));
}

TEST_F(HopTableHelperTest, anotherHelperThatTakesTheIndexOverWhenOneDiesKeepsItsRows) {
   entryIs(7, paris_);
   auto const other = hopTableHelperFactory();
   auto const listener = TestSupport::atNotification(
         *helper_, 1, [&] { other->pathSpecCollTableSmIs(7, lerConfig_, paris_.status, paris_.config, mib_); });
   helper_ = nullptr;
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 gold"));
}

TEST_F(HopTableHelperTest, anotherHelperThatTakesTheIndexOverWhileTheRowsGoKeepsItsRows) {
   paris_.pathIs(twoHops_);
   entryIs(7, paris_);
   auto const other = hopTableHelperFactory();
   auto const listener = TestSupport::atNotification(
         *mib_, 1, [&] { other->pathSpecCollTableSmIs(7, lerConfig_, paris_.status, paris_.config, mib_); });
   helper_ = nullptr;
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 gold", "7.1.2 10.0.23.3 gold"));
}

TEST_F(HopTableHelperTest, anotherHelperThatTakesOverWhatIsLeftOfADyingOneKeepsItsRows) {
   entryIs(7, paris_);
   entryIs(8, paris_);
   auto const other = hopTableHelperFactory();
   auto const listener = TestSupport::atNotification(*mib_, 1, [&] {
      EXPECT_TRUE(other->otherKeepersDel(8, mib_));
      other->pathSpecCollTableSmIs(8, lerConfig_, paris_.status, paris_.config, mib_);
   });
   helper_ = nullptr;
   EXPECT_THAT(rows(), ElementsAre("8.1.1 10.0.12.2 gold"));
}

TEST_F(HopTableHelperTest, deletingAnIndexWithoutEntryReturnsNothingAndChangesNothing) {
   entryIs(7, paris_);
   EXPECT_EQ(helper_->pathSpecCollTableSmDel(8), nullptr);
   EXPECT_EQ(helper_->pathSpecCollTableSm().size(), 1);
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 gold"));
}

TEST_F(HopTableHelperTest, deletingAllEntriesDeletesAllHopRows) {
   for (std::uint32_t index : {1U, 7U, 4294967295U}) entryIs(index, paris_);
   EXPECT_EQ(rows().size(), 3);
   helper_->pathSpecCollTableSmDelAll();
   EXPECT_TRUE(helper_->pathSpecCollTableSm().empty());
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(HopTableHelperTest, aHelperThatIsDroppedWhileItsEntriesGoDeletesAllHopRows) {
   for (std::uint32_t index : {1U, 7U, 9U}) entryIs(index, paris_);
   auto const listener = TestSupport::atNotification(*mib_, 1, [&] { helper_ = nullptr; });
   helper_->pathSpecCollTableSmDelAll();
   EXPECT_EQ(helper_, nullptr);
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(HopTableHelperTest, theHopRowsGoWithTheHelper) {
   entryIs(7, paris_);
   helper_ = nullptr;
   EXPECT_THAT(rows(), IsEmpty());
   paris_.pathIs(twoHops_);
   EXPECT_THAT(rows(), IsEmpty());
}

TEST_F(HopTableHelperTest, holdsItsInputsNoLongerThanItsEntry) {
   entryIs(7, paris_);
   helper_->pathSpecCollTableSmDel(7);
   EXPECT_EQ(paris_.status->references(), 1);
   EXPECT_EQ(paris_.config->references(), 1);
   EXPECT_EQ(lerConfig_->references(), 1);
   EXPECT_EQ(mib_->references(), 1);
}

TEST_F(HopTableHelperTest, listenersHearOfEntriesThatComeAndGo) {
   struct Listener : Vel::PtrInterface::NotifieeConst {
      explicit Listener(HopTableHelper const& helper) {
         bind(&helper, Hold::weak);
         isRegisteredNotifieeIs(true);
      }
      void onAttribute(Vel::AttributeId attribute, void const* key) override {
         EXPECT_EQ(attribute, HopTableHelper::attrPathSpecCollTableSm);
         heard.push_back(*static_cast<std::uint32_t const*>(key));
      }
      std::vector<std::uint32_t> heard;
   };
   auto const listener = Vel::makePtr<Listener>(*helper_);
   entryIs(7, paris_);
   entryIs(7, paris_);
   helper_->pathSpecCollTableSmDel(7);
   helper_->pathSpecCollTableSmDel(7);
   EXPECT_THAT(listener->heard, ElementsAre(7, 7));
}

TEST_F(HopTableHelperTest, aHostCreatesAndDrivesItByName) {
   Vel::TypeModule const module("HopTableHelper", hopTableHelperTypes());
   auto const made = Vel::TypeRegistry::instance().construct("MplsSnmp::HopTableHelper", {});
   auto const object = std::any_cast<Vel::Ptr<Vel::PtrInterface>>(made);
   EXPECT_EQ(object->fwkType().name, "MplsSnmp::HopTableHelper");
   EXPECT_TRUE(object->hasNotificationActive());

   std::vector<Vel::Any> const args{std::uint64_t{7}, Vel::Ptr<Vel::PtrInterface const>(lerConfig_),
                                    Vel::Ptr<Vel::PtrInterface const>(paris_.status),
                                    Vel::Ptr<Vel::PtrInterface const>(paris_.config),
                                    Vel::Ptr<Vel::PtrInterface>(mib_)};
   std::vector<Vel::Any> const seven{std::uint64_t{7}};
   std::vector<Vel::Any> const eight{std::uint64_t{8}};
   auto const entryOf = [](Vel::GenericResult const& result) {
      return std::any_cast<Vel::Ptr<Vel::PtrInterface>>(result.value);
   };
   auto const entry = entryOf(Vel::attributeSet(*object, "pathSpecCollTableSm", args));
   EXPECT_EQ(entry->fwkType().name, "MplsSnmp::PathSpecCollTableSm");
   EXPECT_THAT(rows(), ElementsAre("7.1.1 10.0.12.2 gold"));
   EXPECT_EQ(entryOf(Vel::attributeGet(*object, "pathSpecCollTableSm", seven)), entry);
   EXPECT_EQ(entryOf(Vel::attributeGet(*object, "pathSpecCollTableSm", eight)), nullptr);
   auto const keys = std::any_cast<std::vector<Vel::Any>>(Vel::attributeKeys(*object, "pathSpecCollTableSm").value);
   ASSERT_EQ(keys.size(), 1);
   EXPECT_EQ(std::any_cast<std::uint64_t>(keys.front()), 7);
   EXPECT_EQ(entryOf(Vel::attributeDel(*object, "pathSpecCollTableSm", seven)), entry);
   EXPECT_THAT(rows(), IsEmpty());

   EXPECT_THROW(Vel::TypeRegistry::instance().construct("MplsSnmp::HopTableHelper", seven), Vel::ArgumentException);
   EXPECT_THROW(Vel::attributeSet(*object, "pathSpecCollTableSm", seven), Vel::ArgumentException);
}

}  // namespace

}  // namespace MplsSnmp
