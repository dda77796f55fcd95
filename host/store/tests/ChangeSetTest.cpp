// SPDX-License-Identifier: MIT
/// A document that is checked and applied in steps.
#include <random>

#include "host/store/Limits.h"
#include "host/store/tests/StoreFixture.h"

namespace Store {
namespace {

/// How many entries differ between two documents.
std::size_t difference(Json const& before, Json const& after) {
   std::size_t changed = 0;
   auto const count = [&](Json const& one, Json const& other, bool both) {
      for (auto const& [name, entries] : one.items()) {
         for (auto const& [id, entry] : entries.items()) {
            bool const known = other.contains(name) && other[name].contains(id);
            changed += !known || (both && other[name][id] != entry);
         }
      }
   };
   count(before, after, true);
   count(after, before, false);
   return changed;
}

TEST_F(StoreTest, NothingIsAppliedBeforeAllIsChecked) {
   ChangeSet changes(store, ChangeKind::snapshot, example("headend.json"));
   std::size_t steps = 1;
   while (!changes.checkSome(1)) ++steps;
   EXPECT_GT(steps, Json::parse(example("headend.json")).flatten().size() / 10);
   EXPECT_EQ(store.document(), "{\n}\n");
   EXPECT_TRUE(changes.checkSome(1)) << "it stays checked";
}

TEST_F(StoreTest, AStepAppliesOneEntry) {
   store.replace(example("headend.json"));
   store.applyPatch(R"({"pathSpec": {"cli:extra": {}, "cli:gold": {"type": "dynamic"}}, "tunnelIndexForTunnelSpecId":
      {"cli:to-paris": null, "cli:extra": 1}, "subTunnelStatus": {"cli:to-rome#1": null, "cli:extra": {}}})");
   Json const start = state();

   ChangeSet changes(store, ChangeKind::snapshot, example("headend.json"));
   changes.checkSome();
   std::size_t changed = 0;
   bool applied = false;
   for (Json before = start; !applied; before = state()) {
      applied = changes.applySome(1);
      std::size_t const stepped = changes.changed() - changed;
      changed = changes.changed();
      EXPECT_LE(stepped, 1U);
      EXPECT_EQ(difference(before, state()), stepped);
   }
   EXPECT_EQ(changed, 6U);
   EXPECT_EQ(store.replace(example("headend.json")), 0U);
   EXPECT_TRUE(changes.applySome(1)) << "it stays applied";
   EXPECT_EQ(changes.changed(), 6U);
}

TEST_F(StoreTest, EveryStepSizeLeadsToTheSameState) {
   store.replace(example("headend.json"));
   std::string const headend = store.document();
   std::string const other = R"({"pathSpec": {"cli:gold": {"type": "dynamic"}, "auto:x": {}}, "subTunnelStatus":
      {"cli:to-rome#2": {"up": true}, "cli:to-rome#3": {}}, "spStatus": {"10.0.0.9/1/10.0.0.1/1": {}}})";
   store.replace(other);
   std::string const expected = store.document();
   for (std::size_t const size : {1, 2, 3, 7, 50, 1000}) {
      store.replace(headend);
      ChangeSet changes(store, ChangeKind::snapshot, other);
      while (!changes.checkSome(size)) continue;
      while (!changes.applySome(size)) continue;
      EXPECT_EQ(store.document(), expected) << size;
      ChangeSet back(store, ChangeKind::snapshot, headend);
      back.checkSome();
      while (!back.applySome(size)) continue;
      EXPECT_EQ(back.changed(), changes.changed());
      EXPECT_EQ(store.document(), headend) << size;
   }
}

TEST_F(StoreTest, AnErrorAtTheEndIsFoundByItsStepAndLeavesTheStateAlone) {
   std::string const text = R"({"pathSpec": {"cli:a": {}, "cli:b": {}, "cli:c": {"type": 3}}})";
   ChangeSet changes(store, ChangeKind::patch, text);
   EXPECT_FALSE(changes.checkSome(3));
   EXPECT_THROW(changes.checkSome(1), StateError);
   EXPECT_EQ(store.document(), "{\n}\n");
}

using ChangeSetDeathTest = StoreTest;

TEST_F(ChangeSetDeathTest, ApplyingWhatIsNotCheckedIsAProgrammingError) {
   GTEST_FLAG_SET(death_test_style, "threadsafe");
   EXPECT_DEATH(ChangeSet(store, ChangeKind::patch, "{}").applySome(), "a change set is applied before it is checked");
}

// A short document between the steps of a long one.

/// What becomes of a document: the entries that it changed, or why it was refused.
std::string outcome(ChangeSet& changes) {
   try {
      changes.checkSome();
      changes.applySome();
      return std::to_string(changes.changed());
   } catch (StateError const& error) {
      return error.what();
   }
}

class BetweenTest : public StoreTest, public ::testing::WithParamInterface<unsigned> {
 protected:
   /// A few of few entries, so that documents meet.
   Json someEntries(int most) {
      Json document = Json::object();
      for (int i = random(most) + 1; i > 0; --i) {
         std::string const id = "cli:" + std::to_string(random(8));
         switch (random(5)) {
            case 0:
               document["pathSpec"][id] = nullptr;
               break;
            case 1:
               document["pathSpec"][id] = {{"type", random(2) ? "dynamic" : "explicit"}};
               break;
            case 2:
               document["subTunnelStatus"][id] = random(3) == 0 ? Json() : Json{{"pathChanges", random(4)}};
               break;
            case 3:
               document["subTunnelStatus"][id]["activePath"][std::to_string(1 + random(3))] =
                     random(2) ? Json() : Json("10.0.0." + std::to_string(random(3)));
               break;
            default:
               document["tunnelIndexForTunnelSpecId"][id] = random(6) == 0 ? Json() : Json(random(5));
         }
      }
      return document;
   }
   int random(int limit) { return static_cast<int>(random_() % static_cast<unsigned>(limit)); }

 private:
   std::mt19937 random_{GetParam()};
};
INSTANTIATE_TEST_SUITE_P(seeds, BetweenTest, ::testing::Range(1U, 9U));

TEST_P(BetweenTest, TheStateIsThatOfOneDocumentBehindTheOther) {
   for (int round = 0; round < 200; ++round) {
      StateStore other(Vel::makePtr<Vel::EntityDir>("other"));
      Json const start = someEntries(20);
      auto const kind = random(3) == 0 ? ChangeKind::snapshot : ChangeKind::patch;
      Json text = someEntries(20);
      if (kind == ChangeKind::patch && random(4) == 0) text["pathSpec"] = nullptr;
      store.replace(start.dump());
      other.replace(start.dump());
      ASSERT_EQ(store.document(), other.document());

      ChangeSet changes(store, kind, text.dump());
      ChangeSet expected(other, kind, text.dump());
      bool applied = false;
      while (!applied) {
         if (random(3) == 0) {
            std::string const between = someEntries(4).dump();
            ChangeSet small(store, ChangeKind::patch, between);
            small.goesBetween(changes);
            if (changes.checked()) outcome(expected);
            ChangeSet behind(other, ChangeKind::patch, between);
            ASSERT_EQ(outcome(small), outcome(behind)) << text << "\n" << between;
         }
         if (!changes.checked()) {
            changes.checkSome(1);
         } else {
            applied = changes.applySome(1);
         }
      }
      ASSERT_EQ(std::to_string(changes.changed()), outcome(expected)) << start << "\n" << text;
      ASSERT_EQ(store.document(), other.document()) << start << "\n" << text;
   }
}

/// A patch of the path of an entry that has `count` hops, from index `first` on.
std::string hops(std::string const& id, int first, int count) {
   Json path = Json::object();
   for (int hop = first; hop < first + count; ++hop) path[std::to_string(hop)] = "10.0.0.1";
   return Json{{"subTunnelStatus", {{id, {{"activePath", path}}}}}}.dump();
}

TEST_F(StoreTest, WhatHasBeenCheckedIsCheckedAgainWhenItHasChangedSince) {
   ChangeSet changes(store, ChangeKind::patch, hops("cli:a", 1, 200));
   EXPECT_FALSE(changes.checkSome(2));
   ChangeSet small(store, ChangeKind::patch, hops("cli:a", 201, 100));
   small.goesBetween(changes);
   EXPECT_EQ(outcome(small), "1");
   std::string const before = store.document();
   EXPECT_THAT(outcome(changes), ::testing::StartsWith("/subTunnelStatus/cli:a/activePath: the path has 300 hops"));
   EXPECT_EQ(store.document(), before);
}

TEST_F(StoreTest, WhatComesBehindIsCheckedAgainstWhatIsStillToBeApplied) {
   ChangeSet changes(store, ChangeKind::patch, hops("cli:a", 1, 200));
   changes.checkSome();
   ChangeSet small(store, ChangeKind::patch, hops("cli:a", 201, 100));
   small.goesBetween(changes);
   EXPECT_THAT(outcome(small), ::testing::StartsWith("/subTunnelStatus/cli:a/activePath: the path has 300 hops"));
   EXPECT_EQ(outcome(changes), "1");
   EXPECT_EQ(subTunnelStatus("cli:a")->activePath().hop().size(), 200U);
}

TEST_F(StoreTest, ACollectionHasItsBoundAlsoWithADocumentThatIsUnderWay) {
   Json entries = Json::object();
   for (std::size_t i = 0; i + 1 < kMostEntries; ++i) entries["cli:" + std::to_string(i)] = Json::object();
   ChangeSet changes(store, ChangeKind::patch, Json{{"pathSpec", entries}}.dump());
   changes.checkSome();
   EXPECT_FALSE(changes.applySome(1000));
   auto const between = [&](std::string const& text) {
      ChangeSet small(store, ChangeKind::patch, text);
      small.goesBetween(changes);
      return outcome(small);
   };
   EXPECT_EQ(between(R"({"pathSpec": {"cli:last": {}}})"), "1");
   EXPECT_THAT(between(R"({"pathSpec": {"cli:more": {}}})"), ::testing::HasSubstr("has more than"));
   EXPECT_EQ(between(R"({"pathSpec": {"cli:5000": null}})"), "1");
   EXPECT_EQ(between(R"({"pathSpec": {"cli:more": {}}})"), "1");
   EXPECT_EQ(outcome(changes), std::to_string(kMostEntries - 1));
   EXPECT_EQ(count("pathSpec"), kMostEntries);
}

TEST_F(StoreTest, ALargeChangeSetIsLetGoInSteps) {
   Json entries = Json::object();
   for (int i = 0; i < 5000; ++i) entries["cli:" + std::to_string(i)] = Json::object();
   auto changes = std::make_unique<ChangeSet>(store, ChangeKind::patch, Json{{"pathSpec", entries}}.dump());
   changes->checkSome();
   changes->applySome();
   int steps = 1;
   while (!changes->destroySome()) ++steps;
   EXPECT_GT(steps, 5) << "names and entries";
   EXPECT_LT(steps, 30);
   EXPECT_EQ(store.collections().front()->size(), 5000U) << "what was applied stays";
}

}  // namespace
}  // namespace Store
