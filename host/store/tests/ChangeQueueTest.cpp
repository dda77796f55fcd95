// SPDX-License-Identifier: MIT
/// Documents that are loaded in the slices of a task.
#include "host/store/ChangeQueue.h"

#include "host/store/tests/StoreFixture.h"

namespace Store {
namespace {

using ::testing::ElementsAre;

class ChangeQueueTest : public StoreTest {
 protected:
   // A slice is over whenever a task asks.
   ChangeQueueTest() {
      tasks->yieldPolicyIs([] { return true; });
   }
   ~ChangeQueueTest() override { tasks->yieldPolicyIs(nullptr); }

   void add(ChangeKind kind, std::string document) {
      queue.add(kind, std::move(document), [this](ChangeQueue::Outcome const& outcome) {
         told.push_back(outcome.refusal.value_or(std::to_string(outcome.changed) + " changed"));
      });
   }
   /// With entries of its own, the same for each `n`.
   static std::string longPatch(int n) {
      Json entries = Json::object();
      for (std::size_t i = 0; i < kEntries; ++i) entries["cli:" + std::to_string(i)] = {{"pathChanges", n}};
      return Json{{"subTunnelStatus", entries}}.dump();
   }
   static constexpr std::size_t kEntries = 1000;

   void runSlice() { tasks->runSlice(std::chrono::microseconds(0)); }

   Vel::Ptr<Orb::TaskScheduler> const tasks = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   ChangeQueue queue{store};
   std::vector<std::string> told;
};

TEST_F(ChangeQueueTest, ADocumentIsCheckedAndAppliedInSlices) {
   add(ChangeKind::snapshot, example("headend.json"));
   EXPECT_TRUE(tasks->hasWork());
   std::vector<std::size_t> sizes{0};  // of the state, each time that it has grown
   std::size_t slices = 0;
   for (; tasks->hasWork(); ++slices) {
      runSlice();
      if (auto const size = state().flatten().size(); size != sizes.back()) sizes.push_back(size);
   }
   StateStore other(Vel::makePtr<Vel::EntityDir>("other"));
   other.replace(example("headend.json"));
   EXPECT_EQ(store.document(), other.document());
   EXPECT_GT(sizes.size(), 5U);
   EXPECT_GT(slices, 2 * (sizes.size() - 1) - 2) << "half of them check";
   std::size_t entries = 0;
   for (auto const& collection : store.collections()) entries += collection->size();
   EXPECT_THAT(told, ElementsAre(std::to_string(entries) + " changed"));
}

TEST_F(ChangeQueueTest, ADocumentThatIsRefusedChangesNothing) {
   add(ChangeKind::snapshot, example("headend.json"));
   tasks->runAll();
   std::string const before = store.document();
   Json document = Json::parse(example("headend.json"));
   document["pathSpec"]["cli:aaa"]["name"] = "new";
   document["tunnelIndexForTunnelSpecId"]["cli:zzz"] = -1;  // near the end
   add(ChangeKind::snapshot, document.dump());
   while (tasks->hasWork()) {
      runSlice();
      ASSERT_TRUE(store.document() == before);
   }
   EXPECT_EQ(told.size(), 2U);
   EXPECT_THAT(told.back(), ::testing::StartsWith("/tunnelIndexForTunnelSpecId/cli:zzz: "));
   EXPECT_EQ(queue.waiting(), 0U);
}

TEST_F(ChangeQueueTest, ShortPatchesAreAppliedInTheOrderInWhichTheyCame) {
   add(ChangeKind::snapshot, example("headend.json"));
   tasks->runAll();
   add(ChangeKind::patch, R"({"pathSpec": {"cli:gold": null, "cli:new": {}}})");
   runSlice();
   add(ChangeKind::patch, "{");
   add(ChangeKind::patch, R"({"pathSpec": {"cli:new": {"name": "later"}, "cli:gold": {"name": "again"}}})");
   EXPECT_EQ(queue.waiting(), 3U);
   tasks->runAll();
   EXPECT_EQ(queue.waiting(), 0U);
   EXPECT_EQ(told.size(), 4U);
   EXPECT_EQ(told[1], "2 changed");
   EXPECT_EQ(told[2], "line 1, column 2: the text ends too early");
   EXPECT_EQ(told[3], "2 changed");
   EXPECT_EQ(state()["pathSpec"]["cli:new"]["name"], "later");
   EXPECT_EQ(state()["pathSpec"]["cli:gold"]["name"], "again");
}

TEST_F(ChangeQueueTest, LongDocumentsAreAppliedInTheOrderInWhichTheyCame) {
   add(ChangeKind::patch, longPatch(1));
   add(ChangeKind::snapshot, "{}");
   add(ChangeKind::patch, longPatch(2));
   add(ChangeKind::snapshot, R"({"pathSpec": {"cli:a": {}}})");
   add(ChangeKind::patch, R"({"pathSpec": null})");
   tasks->runAll();
   std::string const all = std::to_string(kEntries) + " changed";
   EXPECT_THAT(told, ElementsAre(all, all, all, std::to_string(kEntries + 1) + " changed", "1 changed"));
   EXPECT_EQ(store.document(), "{\n}\n");
}

TEST_F(ChangeQueueTest, AShortPatchWaitsForNoMoreThanAFewEntriesOfALongOne) {
   add(ChangeKind::patch, longPatch(1));
   int slices = 0;
   for (int patch = 0; tasks->hasWork(); ++patch) {
      for (int entries = 0; entries < 50 && tasks->hasWork(); ++entries) runSlice();
      if (!tasks->hasWork()) break;
      auto const before = told.size();
      add(ChangeKind::patch, R"({"pathSpec": {"cli:short": {"name": "n)" + std::to_string(patch) + R"("}}})");
      for (slices = 0; told.size() == before; ++slices) runSlice();
      ASSERT_LT(slices, 12);
      ASSERT_EQ(told.back(), "1 changed");
   }
   EXPECT_GT(told.size(), 20U) << "while it is checked, and while it is applied";
   EXPECT_EQ(told.back(), std::to_string(kEntries) + " changed");
   EXPECT_EQ(state()["pathSpec"].size(), 1U);
   EXPECT_EQ(state()["subTunnelStatus"].size(), kEntries);
}

TEST_F(ChangeQueueTest, ShortPatchesWithoutEndLetALongOneComeToItsEnd) {
   bool done = false;
   std::function<void()> const addNext = [&] {
      queue.add(ChangeKind::patch, R"({"pathSpec": {"cli:a": {}}})", [&](auto const&) {
         if (!done) addNext();
      });
   };
   for (int i = 0; i < 10; ++i) addNext();
   queue.add(ChangeKind::patch, longPatch(1), [&](auto const&) { done = true; });
   for (int slices = 0; tasks->hasWork(); ++slices) {
      ASSERT_LT(slices, 10'000);
      runSlice();
   }
   EXPECT_TRUE(done);
}

TEST_F(ChangeQueueTest, AReadingSeesTheStateBetweenTwoDocuments) {
   std::string before;
   int steps = 0;
   queue.add([&](Orb::Task&) {
      if (steps == 0) before = store.document();
      EXPECT_EQ(store.document(), before);
      return ++steps == 20;
   });
   runSlice();
   add(ChangeKind::patch, R"({"pathSpec": {"cli:a": {}}})");
   tasks->runAll();
   EXPECT_EQ(steps, 20);
   EXPECT_THAT(told, ElementsAre("1 changed"));
}

TEST_F(ChangeQueueTest, WhoIsToldMayAddTheNext) {
   queue.add(ChangeKind::patch, R"({"pathSpec": {"cli:a": {}}})",
             [this](auto const&) { add(ChangeKind::patch, R"({"pathSpec": {"cli:b": {}}})"); });
   tasks->runAll();
   EXPECT_THAT(told, ElementsAre("1 changed"));
   EXPECT_EQ(state()["pathSpec"].size(), 2U);
}

TEST_F(ChangeQueueTest, WhoAlwaysAddsTheNextLetsOthersHaveTheirTurn) {
   std::function<void()> const addNext = [&] {
      queue.add(ChangeKind::patch, R"({"pathSpec": {"cli:a": {}}})", [&](auto const&) {
         told.emplace_back("told");
         if (told.size() < 10) addNext();
      });
   };
   addNext();
   runSlice();
   EXPECT_LT(told.size(), 3U) << "the slice is over between two documents";
   tasks->runAll();
   EXPECT_EQ(told.size(), 10U);
}

TEST_F(ChangeQueueTest, OthersHaveTheirTurnBetweenDocumentsAndNotInTheMiddleOfOne) {
   std::vector<std::size_t> seen;  // path specs, whenever another task runs
   auto const other = Vel::makePtr<Orb::Task>(tasks, Orb::TaskPriority::normal, "other", [&](Orb::Task& self) {
      seen.push_back(state()["pathSpec"].size());
      if (seen.size() < 3) self.scheduleTaskLast();
   });
   add(ChangeKind::patch, R"({"pathSpec": {"cli:a": {}, "cli:b": {}, "cli:c": {}}})");
   add(ChangeKind::patch, R"({"pathSpec": {"cli:d": {}, "cli:e": {}}})");
   other->scheduleTask();
   while (tasks->hasWork()) runSlice();
   EXPECT_THAT(seen, ElementsAre(3, 5, 5));
}

TEST_F(ChangeQueueTest, NothingIsLeftToDoWhenTheQueueHasGone) {
   {
      ChangeQueue shortLived(store);
      shortLived.add(ChangeKind::snapshot, example("headend.json"),
                     [](auto const&) { FAIL() << "there is nobody to tell"; });
      runSlice();
      EXPECT_TRUE(tasks->hasWork());
   }
   EXPECT_FALSE(tasks->hasWork());
   EXPECT_EQ(store.document(), "{\n}\n");
}

}  // namespace
}  // namespace Store
