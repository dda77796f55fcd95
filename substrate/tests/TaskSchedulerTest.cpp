// SPDX-License-Identifier: MIT
/// Cooperative tasks on the one thread.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "substrate/orb/TaskScheduler.h"

namespace {

using namespace std::chrono_literals;
using Orb::Task;
using Orb::TaskPriority;
using Orb::TaskScheduler;
using Vel::makePtr;
using Vel::Ptr;
using Log = std::vector<std::string>;

class TaskSchedulerTest : public testing::Test {
 protected:
   /// A task that writes its name into the log.
   Ptr<Task> task(
         std::string name, TaskPriority priority = TaskPriority::normal,
         std::function<void(Task&)> then = [](Task&) {}) {
      return makePtr<Task>(scheduler_, priority, name, [this, name, then = std::move(then)](Task& self) {
         log_.push_back(name);
         then(self);
      });
   }
   Log runAll() {
      log_.clear();
      scheduler_->runAll();
      return log_;
   }
   /// Runs exactly one task: a slice without a budget.
   Log runOne() {
      log_.clear();
      scheduler_->runSlice(0us);
      return log_;
   }

   Ptr<TaskScheduler> scheduler_ = makePtr<TaskScheduler>();
   Log log_;
};

TEST_F(TaskSchedulerTest, anIdleSchedulerHasNoWork) {
   EXPECT_FALSE(scheduler_->hasWork());
   EXPECT_EQ(scheduler_->tasksQueued(), 0U);
   EXPECT_EQ(scheduler_->taskRunning(), nullptr);
   EXPECT_EQ(runAll(), Log());
   EXPECT_EQ(runOne(), Log());
}

TEST_F(TaskSchedulerTest, aTaskRunsOncePerScheduling) {
   auto const a = task("a");
   EXPECT_FALSE(a->taskScheduled());
   a->scheduleTask();
   a->scheduleTask();
   EXPECT_TRUE(a->taskScheduled());
   EXPECT_TRUE(scheduler_->hasWork());
   EXPECT_EQ(scheduler_->tasksQueued(), 1U);
   EXPECT_EQ(log_, Log());  // later, not now
   EXPECT_EQ(runAll(), (Log{"a"}));
   EXPECT_FALSE(a->taskScheduled());
   EXPECT_FALSE(scheduler_->hasWork());
   EXPECT_EQ(runAll(), Log());
   a->scheduleTask();
   EXPECT_EQ(runAll(), (Log{"a"}));
}

TEST_F(TaskSchedulerTest, runsByPriorityAndThenInOrderOfScheduling) {
   std::vector<Ptr<Task>> tasks;
   for (auto const& [name, priority] :
        {std::pair("low", TaskPriority::low), std::pair("normal 1", TaskPriority::normal),
         std::pair("urgent", TaskPriority::urgent), std::pair("normal 2", TaskPriority::normal),
         std::pair("high", TaskPriority::high), std::pair("elevated", TaskPriority::elevated)}) {
      tasks.push_back(task(name, priority));
      tasks.back()->scheduleTask();
   }
   EXPECT_EQ(runAll(), (Log{"urgent", "high", "elevated", "normal 1", "normal 2", "low"}));
}

TEST_F(TaskSchedulerTest, aTaskThatYieldsKeepsItsTurn) {
   int slices = 0;
   auto const a = task("a", TaskPriority::normal, [&](Task& self) {
      if (++slices < 3) self.scheduleTask();
   });
   auto const b = task("b");
   a->scheduleTask();
   b->scheduleTask();
   EXPECT_EQ(runOne(), (Log{"a"}));
   EXPECT_EQ(runOne(), (Log{"a"}));
   EXPECT_EQ(runAll(), (Log{"a", "b"}));
}

TEST_F(TaskSchedulerTest, aTaskThatLetsOthersHaveTheirTurnGoesOnBehindThem) {
   int slices = 0;
   auto const low = task("low", TaskPriority::low);
   auto const a = task("a", TaskPriority::normal, [&](Task& self) {
      if (++slices < 3) self.scheduleTaskLast();
   });
   auto const b = task("b");
   low->scheduleTask();
   a->scheduleTask();
   b->scheduleTask();
   EXPECT_EQ(runAll(), (Log{"a", "b", "a", "a", "low"}));
}

TEST_F(TaskSchedulerTest, moreUrgentWorkGoesBeforeATaskThatYielded) {
   auto const urgent = task("urgent", TaskPriority::urgent);
   int slices = 0;
   auto const a = task("a", TaskPriority::normal, [&](Task& self) {
      if (++slices > 1) return;
      urgent->scheduleTask();
      self.scheduleTask();
   });
   a->scheduleTask();
   EXPECT_EQ(runAll(), (Log{"a", "urgent", "a"}));
}

TEST_F(TaskSchedulerTest, aCancelledTaskDoesNotRun) {
   auto const a = task("a");
   auto const b = task("b", TaskPriority::normal, [&](Task&) { a->cancelTask(); });
   b->scheduleTask();
   a->scheduleTask();
   EXPECT_EQ(runAll(), (Log{"b"}));
   EXPECT_FALSE(a->taskScheduled());
   EXPECT_FALSE(scheduler_->hasWork());
   a->cancelTask();
   a->scheduleTask();
   EXPECT_EQ(runAll(), (Log{"a"}));
}

TEST_F(TaskSchedulerTest, aTaskMayCancelItsOwnRescheduling) {
   auto const a = task("a", TaskPriority::normal, [](Task& self) {
      self.scheduleTask();
      self.cancelTask();
   });
   a->scheduleTask();
   EXPECT_EQ(runAll(), (Log{"a"}));
}

TEST_F(TaskSchedulerTest, droppingATaskTakesItOutOfTheQueue) {
   auto a = task("a");
   a->scheduleTask();
   a = nullptr;
   EXPECT_FALSE(scheduler_->hasWork());
   EXPECT_EQ(runAll(), Log());
}

TEST_F(TaskSchedulerTest, aTaskMayBeDroppedWhileItRuns) {
   Ptr<Task> a;
   Ptr<Task> b;
   a = task("a", TaskPriority::normal, [&](Task& self) {
      self.scheduleTask();  // in vain
      a = nullptr;
      b = nullptr;
      EXPECT_EQ(self.taskName(), "a");
   });
   b = task("b");
   auto const c = task("c");
   for (auto const& each : {a, b, c}) each->scheduleTask();
   EXPECT_EQ(runAll(), (Log{"a", "c"}));
   EXPECT_FALSE(scheduler_->hasWork());
}

TEST_F(TaskSchedulerTest, theSchedulerMayLoseItsLastReferenceInATask) {
   Ptr<Task> a;
   Ptr<Task> b = task("b");
   a = task("a", TaskPriority::normal, [&](Task&) {
      scheduler_ = nullptr;
      b = nullptr;
      a = nullptr;
   });
   a->scheduleTask();
   b->scheduleTask();
   auto* const plain = scheduler_.get();
   plain->runSlice(1h);
   EXPECT_EQ(log_, (Log{"a"}));
}

TEST_F(TaskSchedulerTest, aTaskReportsOnItself) {
   auto const a = task("InputScanTask", TaskPriority::elevated, [&](Task& self) {
      EXPECT_TRUE(self.taskCurrentlyRunning());
      EXPECT_FALSE(self.taskScheduled());
      EXPECT_EQ(scheduler_->taskRunning(), &self);
      self.taskWorkCountInc(3);
      self.taskWorkCountInc(4);
   });
   a->scheduleTask();
   EXPECT_FALSE(a->taskCurrentlyRunning());
   runAll();
   EXPECT_FALSE(a->taskCurrentlyRunning());
   EXPECT_EQ(a->taskWorkCount(), 7U);
   EXPECT_EQ(a->taskName(), "InputScanTask");
   EXPECT_EQ(a->taskPriority(), TaskPriority::elevated);
   EXPECT_TRUE(a->taskScheduler() == scheduler_);
}

TEST_F(TaskSchedulerTest, aUsedUpBudgetMakesTheRunningTaskYieldAndEndsTheSlice) {
   auto const untilToldToYield = [](Task& self) {
      while (!self.taskShouldYield()) self.taskWorkCountInc(1);
   };
   auto const a = task("a", TaskPriority::normal, untilToldToYield);
   auto const b = task("b");
   a->scheduleTask();
   b->scheduleTask();
   scheduler_->runSlice(1ms);
   EXPECT_EQ(log_, (Log{"a"}));
   EXPECT_GT(a->taskWorkCount(), 0U);
   EXPECT_TRUE(b->taskScheduled());
   scheduler_->runSlice(1h);
   EXPECT_EQ(log_, (Log{"a", "b"}));
}

TEST_F(TaskSchedulerTest, onlyTheRunningTaskIsEverAskedToYield) {
   scheduler_->yieldPolicyIs([] { return true; });
   auto const a = task("a");
   EXPECT_FALSE(a->taskShouldYield());
   auto const b = task("b", TaskPriority::normal, [&](Task& self) {
      EXPECT_FALSE(a->taskShouldYield());
      EXPECT_TRUE(self.taskShouldYield());
   });
   b->scheduleTask();
   runAll();
}

TEST_F(TaskSchedulerTest, runningAllAsksNobodyToYieldButByThePolicy) {
   bool asked = true;
   auto const a = task("a", TaskPriority::normal, [&](Task& self) { asked = self.taskShouldYield(); });
   a->scheduleTask();
   runAll();
   EXPECT_FALSE(asked);
   scheduler_->yieldPolicyIs([] { return true; });
   a->scheduleTask();
   runAll();
   EXPECT_TRUE(asked);
   scheduler_->yieldPolicyIs(nullptr);
   a->scheduleTask();
   runAll();
   EXPECT_FALSE(asked);
}

TEST_F(TaskSchedulerTest, aSliceInsideATaskLeavesTheOuterBudgetAsItWas) {
   auto const inner = task("inner");
   auto const outer = task("outer", TaskPriority::normal, [&](Task& self) {
      inner->scheduleTask();
      scheduler_->runSlice(1h);
      EXPECT_EQ(scheduler_->taskRunning(), &self);
      EXPECT_TRUE(self.taskShouldYield());  // the outer budget is none
   });
   outer->scheduleTask();
   EXPECT_EQ(runOne(), (Log{"outer", "inner"}));
}

TEST_F(TaskSchedulerTest, anErrorInATaskReachesTheHostAndLeavesTheSchedulerSound) {
   auto const a = task("a", TaskPriority::normal, [](Task&) { throw std::runtime_error("refused"); });
   auto const b = task("b", TaskPriority::normal, [](Task& self) { EXPECT_FALSE(self.taskShouldYield()); });
   a->scheduleTask();
   b->scheduleTask();
   EXPECT_THROW(scheduler_->runSlice(0us), std::runtime_error);
   EXPECT_EQ(scheduler_->taskRunning(), nullptr);
   EXPECT_FALSE(a->taskCurrentlyRunning());
   EXPECT_EQ(runAll(), (Log{"b"}));
}

TEST_F(TaskSchedulerTest, aTaskNeedsASchedulerAndSomethingToDo) {
   EXPECT_DEATH(makePtr<Task>(nullptr, TaskPriority::normal, "a", [](Task&) {}), "`scheduler && work' failed");
   EXPECT_DEATH(makePtr<Task>(scheduler_, TaskPriority::normal, "a", nullptr), "`scheduler && work' failed");
}

class WakeTest : public TaskSchedulerTest {
 protected:
   WakeTest() {
      scheduler_->wakeIs([this] { ++wakes_; });
   }
   int wakes_ = 0;
};

TEST_F(WakeTest, theHostIsWokenOnceWhenWorkArrives) {
   auto const a = task("a");
   auto const b = task("b");
   EXPECT_EQ(wakes_, 0);
   a->scheduleTask();
   EXPECT_EQ(wakes_, 1);
   b->scheduleTask();
   a->scheduleTask();
   EXPECT_EQ(wakes_, 1);
   runAll();
   a->scheduleTask();
   EXPECT_EQ(wakes_, 2);
   a->cancelTask();
   b->scheduleTask();
   EXPECT_EQ(wakes_, 3);
}

TEST_F(WakeTest, aHostThatRunsTasksIsAwake) {
   auto const b = task("b");
   int slices = 0;
   auto const a = task("a", TaskPriority::normal, [&](Task& self) {
      b->scheduleTask();
      if (++slices < 2) self.scheduleTask();
   });
   a->scheduleTask();
   EXPECT_EQ(wakes_, 1);
   runOne();
   EXPECT_EQ(wakes_, 1);
   EXPECT_TRUE(scheduler_->hasWork());  // what the host looks at after each slice
   runAll();
   EXPECT_EQ(wakes_, 1);
}

TEST(TaskSchedulerRootTest, eachThreadHasOneScheduler) {
   auto const mine = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   EXPECT_TRUE(Orb::TaskSchedulerRoot::findOrCreateScheduler() == mine);
   TaskScheduler const* other = nullptr;
   std::thread([&] { other = Orb::TaskSchedulerRoot::findOrCreateScheduler().get(); }).join();
   EXPECT_NE(other, mine.get());
}

TEST(TaskSchedulerRootTest, theSchedulerOfAThreadGoesWithIt) {
   auto const before = Vel::PtrInterface::objectsLive();
   std::uint64_t during = 0;
   std::thread([&] {
      auto const own = Orb::TaskSchedulerRoot::findOrCreateScheduler();
      makePtr<Task>(own, TaskPriority::normal, "last", [](Task&) {})->scheduleTask();
      during = Vel::PtrInterface::objectsLive();
   }).join();
   EXPECT_EQ(during, before + 1);
   EXPECT_EQ(Vel::PtrInterface::objectsLive(), before);
}

TEST(TaskSchedulerRootTest, aTaskThatIsLeftKeepsTheSchedulerOfItsThread) {
   Ptr<Task> left;
   std::thread([&] {
      left = makePtr<Task>(Orb::TaskSchedulerRoot::findOrCreateScheduler(), TaskPriority::normal, "left", [](Task&) {});
      left->scheduleTask();
   }).join();
   EXPECT_TRUE(left->taskScheduled());
   EXPECT_EQ(left->taskScheduler()->tasksQueued(), 1U);
   left->taskScheduler()->runAll();
   EXPECT_FALSE(left->taskScheduled());
}

}  // namespace
