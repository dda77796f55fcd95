// SPDX-License-Identifier: MIT
/// What all setters have in common: a change is stored first, then told; setting what is there tells nobody.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "substrate/tests/Counted.h"
#include "substrate/vel/Mutators.h"
#include "substrate/vel/String.h"

namespace {

using TestSupport::Counted;
using Vel::AttributeId;
using Vel::makePtr;
using Vel::Ptr;
using Vel::String;

class Table : public Vel::PtrInterface {
 public:
   enum : AttributeId { attrValue = 1, attrMember };
   using Members = Vel::HashMap2018<String, Ptr<Counted>>;

   Table() { hasNotificationActiveIs(true); }

   bool valueIs(Ptr<Counted> const& value) { return Vel::setAttribute(*this, attrValue, value_, value); }
   Ptr<Counted> const& value() const { return value_; }

   bool memberIs(String const& key, Ptr<Counted> const& value) {
      return Vel::setMember(*this, attrMember, members_, key, value);
   }
   Ptr<Counted> memberDel(String const& key) { return Vel::delMember(*this, attrMember, members_, key); }
   void memberDelAll() { Vel::delAllMembers(*this, attrMember, members_); }
   Members const& member() const { return members_; }

 private:
   Ptr<Counted> value_;
   Members members_;
};

class Listener : public Vel::PtrInterface::NotifieeConst {
 public:
   explicit Listener(Ptr<Table> const& table) {
      bind(table.get());
      isRegisteredNotifieeIs(true);
   }
   void bindTo(Ptr<Table> const& table) { bind(table.get()); }
   void onAttribute(AttributeId attribute, void const* key) override {
      heard.push_back(attribute == Table::attrValue ? "value" : static_cast<String const*>(key)->stdString());
      if (then) then();
   }
   std::vector<std::string> heard;
   std::function<void()> then;
};

class MutatorsTest : public testing::Test {
 protected:
   using Heard = std::vector<std::string>;
   Heard heard() { return std::exchange(listener_->heard, {}); }

   Ptr<Table> table_ = makePtr<Table>();
   Ptr<Listener> listener_ = makePtr<Listener>(table_);
   int alive_ = 0;
};

TEST_F(MutatorsTest, anAttributeIsStoredBeforeItsChangeIsTold) {
   auto const value = makePtr<Counted>(alive_);
   listener_->then = [&] { EXPECT_TRUE(table_->value() == value); };
   EXPECT_TRUE(table_->valueIs(value));
   EXPECT_EQ(heard(), (Heard{"value"}));
}

TEST_F(MutatorsTest, settingTheSameAttributeTellsNobody) {
   auto const value = makePtr<Counted>(alive_);
   table_->valueIs(value);
   heard();
   EXPECT_FALSE(table_->valueIs(value));
   EXPECT_EQ(heard(), Heard());
   EXPECT_FALSE(makePtr<Table>()->valueIs(nullptr));
}

TEST_F(MutatorsTest, theOldValueLivesUntilAllHaveBeenTold) {
   table_->valueIs(makePtr<Counted>(alive_));
   listener_->then = [this] { EXPECT_EQ(alive_, 1); };
   table_->valueIs(nullptr);
   EXPECT_EQ(alive_, 0);
   EXPECT_EQ(heard(), (Heard{"value", "value"}));
}

TEST_F(MutatorsTest, aMemberIsStoredBeforeItsChangeIsTold) {
   auto const value = makePtr<Counted>(alive_);
   listener_->then = [&] { EXPECT_TRUE(table_->member()["a"] == value); };
   EXPECT_TRUE(table_->memberIs("a", value));
   EXPECT_FALSE(table_->memberIs("a", value));
   EXPECT_EQ(heard(), (Heard{"a"}));
}

TEST_F(MutatorsTest, aReplacedMemberLivesUntilAllHaveBeenTold) {
   table_->memberIs("a", makePtr<Counted>(alive_));
   listener_->then = [this] { EXPECT_EQ(alive_, 2); };
   EXPECT_TRUE(table_->memberIs("a", makePtr<Counted>(alive_)));
   EXPECT_EQ(alive_, 1);
   EXPECT_EQ(heard(), (Heard{"a", "a"}));
}

TEST_F(MutatorsTest, aRemovedMemberIsOutOfTheTableAndHandedBack) {
   auto const value = makePtr<Counted>(alive_);
   table_->memberIs("a", value);
   heard();
   listener_->then = [this] { EXPECT_FALSE(table_->member().contains("a")); };
   EXPECT_TRUE(table_->memberDel("a") == value);
   EXPECT_EQ(heard(), (Heard{"a"}));
   EXPECT_TRUE(table_->memberDel("a") == nullptr);
   EXPECT_EQ(heard(), Heard());
}

TEST_F(MutatorsTest, aMemberMayBeSetToNull) {
   EXPECT_TRUE(table_->memberIs("a", nullptr));
   EXPECT_TRUE(table_->member().contains("a"));
   EXPECT_EQ(heard(), (Heard{"a"}));
   table_->memberDel("a");
   EXPECT_EQ(heard(), (Heard{"a"}));
}

TEST_F(MutatorsTest, removingAllTellsOfEveryMember) {
   Heard all;
   for (int n = 0; n < 30; ++n) {
      all.push_back(std::to_string(n));
      table_->memberIs(String(all.back()), makePtr<Counted>(alive_));
   }
   heard();
   table_->memberDelAll();
   EXPECT_EQ(heard(), all);
   EXPECT_TRUE(table_->member().empty());
   EXPECT_EQ(alive_, 0);
   table_->memberDelAll();
   EXPECT_EQ(heard(), Heard());
}

TEST_F(MutatorsTest, membersThatComeWhileAllAreRemovedStay) {
   for (std::string const key : {"a", "b"}) table_->memberIs(String(key), nullptr);
   heard();
   listener_->then = [this] { table_->memberIs("late", nullptr); };
   table_->memberDelAll();
   listener_->then = nullptr;
   EXPECT_EQ(heard(), (Heard{"a", "late", "b"}));
   EXPECT_EQ(table_->member().size(), 1U);
   EXPECT_TRUE(table_->member().contains("late"));
}

TEST_F(MutatorsTest, aHandlerMayRemoveOthersWhileAllAreRemoved) {
   for (std::string const key : {"a", "b", "c"}) table_->memberIs(String(key), nullptr);
   heard();
   listener_->then = [this] { table_->memberDel("c"); };
   table_->memberDelAll();
   EXPECT_EQ(heard(), (Heard{"a", "c", "b"}));
   EXPECT_TRUE(table_->member().empty());
}

TEST_F(MutatorsTest, theTableMayLoseItsLastReferenceWhileAllAreRemoved) {
   for (std::string const key : {"a", "b"}) table_->memberIs(String(key), nullptr);
   heard();
   auto* const plain = table_.get();
   listener_->then = [this] {
      listener_->bindTo(nullptr);
      table_ = nullptr;
   };
   plain->memberDelAll();
   EXPECT_EQ(heard(), (Heard{"a"}));
}

TEST_F(MutatorsTest, aHandlerMayChangeTheMemberThatItIsToldOf) {
   auto const second = makePtr<Counted>(alive_);
   listener_->then = [&] {
      listener_->then = nullptr;
      table_->memberDel("a");
      table_->memberIs("a", second);
   };
   table_->memberIs("a", makePtr<Counted>(alive_));
   EXPECT_EQ(heard(), (Heard{"a", "a", "a"}));
   EXPECT_TRUE(table_->member()["a"] == second);
   EXPECT_EQ(alive_, 1);
}

TEST_F(MutatorsTest, theKeyMayBeAReferenceIntoTheTable) {
   for (std::string const key : {"a", "b"}) table_->memberIs(String(key), nullptr);
   listener_->then = [this] {  // moves the members about before the key is read
      listener_->then = nullptr;
      for (int n = 0; n < 100; ++n) table_->memberIs(String(std::to_string(n)), nullptr);
      listener_->heard.clear();
   };
   auto const next = makePtr<Listener>(table_);
   table_->memberIs(table_->member().begin()->key, makePtr<Counted>(alive_));
   EXPECT_EQ(next->heard.back(), "a");
   table_->memberDel(table_->member().begin()->key);
   EXPECT_FALSE(table_->member().contains("a"));
}

}  // namespace
