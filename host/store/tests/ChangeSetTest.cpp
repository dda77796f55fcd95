// SPDX-License-Identifier: MIT
/// A document that is checked and applied in steps.
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
