// SPDX-License-Identifier: MIT
/// The LSP requests that map to one sp id.
#include "mib/LspRequestConfigIdSet.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "mib/Types.h"
#include "substrate/vel/EntityDir.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/TypeRegistry.h"

namespace MplsSnmp {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LspRequestConfigIdSetTest : public testing::Test {
 protected:
   using Id = Rsvp::RsvpLerLspRequestConfigId;

   struct Listener : Vel::PtrInterface::NotifieeConst {
      explicit Listener(LspRequestConfigIdSet const& set) {
         bind(&set);
         isRegisteredNotifieeIs(true);
      }
      void onAttribute(Vel::AttributeId attribute, void const* key) override {
         EXPECT_EQ(attribute, LspRequestConfigIdSet::attrLrciSet);
         heard.push_back(static_cast<Id const*>(key)->valueToStrep());
      }
      std::vector<std::string> heard;
   };

   static Id id(std::string_view text) { return Id::fromText(text); }
   std::vector<std::string> members() const {
      std::vector<std::string> all;
      for (auto const& entry : set_->lrciSet()) all.push_back(entry.key.valueToStrep());
      std::ranges::sort(all);
      return all;
   }

   Vel::Ptr<LspRequestConfigIdSet> const set_ = Vel::makePtr<LspRequestConfigIdSet>();
   Vel::Ptr<Listener> const listener_ = Vel::makePtr<Listener>(*set_);
};

TEST_F(LspRequestConfigIdSetTest, isEmptyAtFirst) {
   EXPECT_TRUE(set_->lrciSet().empty());
   EXPECT_EQ(set_->fwkType().name, "MplsSnmp::LspRequestConfigIdSet");
}

TEST_F(LspRequestConfigIdSetTest, theSameIdTwiceIsOneMember) {
   set_->lrciSetIs(id("cli:to-paris@primary.1"));
   set_->lrciSetIs(id("cli:to-paris@primary.1"));
   EXPECT_THAT(members(), ElementsAre("cli:to-paris@primary.1"));
   EXPECT_EQ(set_->lrciSet().size(), 1);
   EXPECT_EQ(listener_->heard.size(), 1);
}

TEST_F(LspRequestConfigIdSetTest, membersDifferInAnyPartOfTheirId) {
   std::vector<std::string> const ids{"cli:to-paris#2@primary.1", "cli:to-paris@primary.1", "cli:to-paris@primary.2",
                                      "cli:to-paris@secondary.1", "controller:to-paris@primary.1"};
   for (auto const& each : ids) set_->lrciSetIs(id(each));
   EXPECT_EQ(members(), ids);
   EXPECT_TRUE(set_->lrciSet().contains(id("cli:to-paris@primary.2")));
   EXPECT_FALSE(set_->lrciSet().contains(id("cli:to-paris@primary.3")));
}

TEST_F(LspRequestConfigIdSetTest, anIdIsRemovedIfItIsThere) {
   set_->lrciSetIs(id("cli:to-paris@primary.1"));
   set_->lrciSetIs(id("cli:to-rome@primary.1"));
   set_->lrciSetDel(id("cli:to-paris@primary.1"));
   set_->lrciSetDel(id("cli:to-paris@primary.1"));
   EXPECT_THAT(members(), ElementsAre("cli:to-rome@primary.1"));
   EXPECT_THAT(listener_->heard,
               ElementsAre("cli:to-paris@primary.1", "cli:to-rome@primary.1", "cli:to-paris@primary.1"));
}

TEST_F(LspRequestConfigIdSetTest, allAreRemovedAndEachIsTold) {
   for (unsigned n = 1; n <= 20; ++n) set_->lrciSetIs(id(fmt::format("cli:to-paris@primary.{}", n)));
   listener_->heard.clear();
   set_->lrciSetDelAll();
   EXPECT_THAT(members(), IsEmpty());
   EXPECT_EQ(listener_->heard.size(), 20);
   set_->lrciSetDelAll();
   EXPECT_EQ(listener_->heard.size(), 20);
}

TEST_F(LspRequestConfigIdSetTest, everyIdIsVisitedOnceThoughOthersAreRemovedMeanwhile) {
   for (unsigned n = 1; n <= 20; ++n) set_->lrciSetIs(id(fmt::format("cli:to-paris@primary.{}", n)));
   std::vector<std::uint32_t> visited;
   for (auto const& entry : set_->lrciSet()) {
      Id const one = entry.key;
      visited.push_back(one.request);
      set_->lrciSetDel(one);
   }
   std::ranges::sort(visited);
   EXPECT_EQ(visited.size(), 20);
   EXPECT_EQ(std::ranges::adjacent_find(visited), visited.end());
   EXPECT_TRUE(set_->lrciSet().empty());
}

TEST_F(LspRequestConfigIdSetTest, aHostCreatesItByItsTypesName) {
   Vel::TypeModule const module("MplsSnmp", mplsSnmpTypes());
   auto const dir = Vel::makePtr<Vel::EntityDir>("");
   auto const inDir = Vel::ptrCast<LspRequestConfigIdSet>(dir->newEntity("MplsSnmp::LspRequestConfigIdSet", "ids"));
   ASSERT_NE(inDir, nullptr);
   EXPECT_EQ(inDir->name(), Vel::String("ids"));
   EXPECT_EQ(inDir->parent(), dir.get());
   EXPECT_TRUE(inDir->hasNotificationActive());
   std::vector<Vel::Any> const name{Vel::String("alone")};
   auto const made = Vel::TypeRegistry::instance().construct("MplsSnmp::LspRequestConfigIdSet", name);
   auto const alone = std::any_cast<Vel::Ptr<Vel::PtrInterface>>(made);
   EXPECT_EQ(std::any_cast<Vel::String>(Vel::attributeGet(*alone, "name").value), Vel::String("alone"));
}

TEST_F(LspRequestConfigIdSetTest, aHostReadsAndChangesItByName) {
   std::vector<Vel::Any> const paris{id("cli:to-paris@primary.1")};
   EXPECT_TRUE(Vel::attributeSet(*set_, "lrciSet", paris).known());
   EXPECT_THAT(members(), ElementsAre("cli:to-paris@primary.1"));
   std::vector<Vel::Any> const rome{id("cli:to-rome@primary.1")};
   EXPECT_TRUE(std::any_cast<bool>(Vel::attributeGet(*set_, "lrciSet", paris).value));
   EXPECT_FALSE(std::any_cast<bool>(Vel::attributeGet(*set_, "lrciSet", rome).value));
   EXPECT_EQ(std::any_cast<std::uint64_t>(Vel::attributeSize(*set_, "lrciSet").value), 1U);
   auto const keys = std::any_cast<std::vector<Vel::Any>>(Vel::attributeKeys(*set_, "lrciSet").value);
   ASSERT_EQ(keys.size(), 1);
   EXPECT_EQ(std::any_cast<Id>(keys.front()), id("cli:to-paris@primary.1"));
   EXPECT_EQ(Vel::TypeRegistry::instance().valueToStrep(keys.front()), "cli:to-paris@primary.1");
   EXPECT_TRUE(Vel::attributeDel(*set_, "lrciSet", paris).known());
   EXPECT_THAT(members(), IsEmpty());
   std::vector<Vel::Any> const text{Vel::String("cli:to-paris@primary.1")};
   EXPECT_THROW(Vel::attributeSet(*set_, "lrciSet", text), Vel::ArgumentException);
}

}  // namespace

}  // namespace MplsSnmp
