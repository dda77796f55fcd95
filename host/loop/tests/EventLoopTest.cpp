// SPDX-License-Identifier: MIT
// Descriptors and tasks of ours in net-snmp's event loop.
#include <gmock/gmock.h>
#include <sys/eventfd.h>

#include <chrono>
#include <memory>
#include <stdexcept>

#include "host/loop/Descriptor.h"
#include "host/loop/NetSnmp.h"
#include "host/loop/TaskRunner.h"
#include "host/loop/Timer.h"
#include "host/loop/Watch.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class EventLoopTest : public testing::Test {
 protected:
   /// One turn of the loop, which does not wait.
   static void turn() { agent_check_and_process(0); }

   Loop::ErrorHandler failed() {
      return [this](std::string_view error) { errors_.emplace_back(error); };
   }
   std::vector<std::string> errors_;
};

class WatchTest : public EventLoopTest {
 protected:
   void readableIs() { eventfd_write(event_, 1); }
   void unreadableIs() {
      eventfd_t ignored = 0;
      eventfd_read(event_, &ignored);
   }

   Loop::Descriptor const event_{eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd"};
   int calls_ = 0;
};

TEST_F(WatchTest, aDescriptorIsHeardWhenThereIsSomethingToRead) {
   Loop::Watch const watch(
         event_, [this] { ++calls_; }, failed());
   turn();
   EXPECT_EQ(calls_, 0);
   readableIs();
   turn();
   turn();
   EXPECT_EQ(calls_, 2) << "for as long as it is not read";
   unreadableIs();
   turn();
   EXPECT_EQ(calls_, 2);
}

TEST_F(WatchTest, aDescriptorIsHeardWhenThereIsRoomToWrite) {
   eventfd_write(event_, 0xfffffffffffffffeU);  // as much as it holds
   Loop::Watch const watch(
         event_, [this] { ++calls_; }, failed(), Loop::Watch::For::writing);
   turn();
   EXPECT_EQ(calls_, 0);
   unreadableIs();
   turn();
   EXPECT_EQ(calls_, 1);
}

TEST_F(WatchTest, afterItsTimeNothingIsHeard) {
   {
      Loop::Watch const watch(
            event_, [this] { ++calls_; }, failed());
   }
   readableIs();
   turn();
   EXPECT_EQ(calls_, 0);
}

TEST_F(WatchTest, anErrorStopsAtTheDoorToNetSnmp) {
   Loop::Watch const watch(
         event_, [] { throw std::runtime_error("the publisher has gone"); }, failed());
   readableIs();
   turn();
   EXPECT_THAT(errors_, ElementsAre("the publisher has gone"));
}

TEST_F(WatchTest, anErrorThatNobodyTakesIsWrittenToNetSnmpsLog) {
   Loop::Watch const watch(event_, [] { throw std::runtime_error("the publisher has gone"); });
   readableIs();
   testing::internal::CaptureStderr();
   turn();
   EXPECT_EQ(testing::internal::GetCapturedStderr(), "the publisher has gone\n");
}

TEST_F(WatchTest, aWatchMayEndInItsOwnCall) {
   std::unique_ptr<Loop::Watch> watch;
   watch = std::make_unique<Loop::Watch>(
         event_,
         [this, &watch, held = std::make_shared<int>(1)] {
            watch.reset();
            calls_ += *held;
         },
         failed());
   readableIs();
   turn();
   turn();
   EXPECT_EQ(calls_, 1);
}

TEST_F(WatchTest, moreDescriptorsThanNetSnmpTakesAreRefused) {
   std::vector<std::unique_ptr<Loop::Watch>> watches;
   auto const add = [&] {
      watches.push_back(std::make_unique<Loop::Watch>(
            event_, [] {}, failed()));
   };
   EXPECT_THROW(
         {
            for (int i = 0; i <= NUM_EXTERNAL_FDS; ++i) add();
         },
         std::runtime_error);
}

class TimerTest : public EventLoopTest {
 protected:
   void awaitCalls(int calls) {
      auto const deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
      while (calls_ < calls && std::chrono::steady_clock::now() < deadline) turn();
      EXPECT_GE(calls_, calls);
   }
   int calls_ = 0;
   Loop::Timer timer_{[this] { ++calls_; }, failed()};
};

TEST_F(TimerTest, itIsHeardOnceOrAgainAndAgain) {
   for (int i = 0; i < 5; ++i) turn();
   EXPECT_EQ(calls_, 0) << "it is not running";
   timer_.start(std::chrono::milliseconds(0));
   awaitCalls(1);
   for (int i = 0; i < 5; ++i) turn();
   EXPECT_EQ(calls_, 1);
   timer_.repeat(std::chrono::milliseconds(1));
   awaitCalls(4);
   EXPECT_THAT(errors_, IsEmpty());
}

TEST_F(TimerTest, itIsHeardBetweenTheTurnsOfAnotherThatNeverRests) {
   Loop::Descriptor const busy(eventfd(1, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd");
   Loop::Watch const watch(
         busy, [] {}, failed());
   timer_.start(std::chrono::milliseconds(1));
   awaitCalls(1);
}

class TaskRunnerTest : public EventLoopTest {
 protected:
   Vel::Ptr<Orb::Task> task(Orb::Task::Work work) {
      return Vel::makePtr<Orb::Task>(scheduler_, Orb::TaskPriority::normal, "test", std::move(work));
   }

   Vel::Ptr<Orb::TaskScheduler> const scheduler_ = Orb::TaskSchedulerRoot::findOrCreateScheduler();
   int idle_ = 0;
};

TEST_F(TaskRunnerTest, withoutTasksItIsIdleOnceAndThenSilent) {
   Loop::TaskRunner const runner([this] { ++idle_; }, failed());
   for (int i = 0; i < 5; ++i) turn();
   EXPECT_EQ(idle_, 1);
}

TEST_F(TaskRunnerTest, aTaskThatNeedsManySlicesComesToItsEndTurnByTurn) {
   int slices = 0;
   auto const longTask = task([&slices](Orb::Task& self) {
      ++slices;
      while (!self.taskShouldYield()) {
      }
      if (slices < 3) self.scheduleTask();
   });
   longTask->scheduleTask();
   Loop::TaskRunner const runner([this] { ++idle_; }, failed());
   turn();
   EXPECT_EQ(slices, 1) << "requests are looked at before it goes on";
   EXPECT_EQ(idle_, 0);
   turn();
   turn();
   EXPECT_EQ(slices, 3);
   EXPECT_EQ(idle_, 1);
}

TEST_F(TaskRunnerTest, aTaskOfLaterWakesItUp) {
   Loop::TaskRunner const runner([this] { ++idle_; }, failed());
   turn();
   bool ran = false;
   auto const late = task([&ran](Orb::Task&) { ran = true; });
   late->scheduleTask();
   turn();
   EXPECT_TRUE(ran);
   EXPECT_EQ(idle_, 2);
   turn();
   EXPECT_EQ(idle_, 2);
}

TEST_F(TaskRunnerTest, itStaysInTheLoopUntilAllIsDone) {
   Loop::TaskRunner const runner;
   runner.settle();
   int slices = 0;
   auto const next = task([&slices](Orb::Task&) { slices += 10; });
   auto const longTask = task([&](Orb::Task& self) {
      while (!self.taskShouldYield()) {
      }
      ++slices < 3 ? self.scheduleTask() : next->scheduleTask();
   });
   longTask->scheduleTask();
   runner.settle();
   EXPECT_EQ(slices, 13);
}

TEST_F(TaskRunnerTest, aTaskThatWasWithdrawnIsNoMatter) {
   Loop::TaskRunner const runner([this] { ++idle_; }, failed());
   turn();
   auto const late = task([](Orb::Task&) { FAIL() << "withdrawn"; });
   late->scheduleTask();
   late->cancelTask();
   turn();
   turn();
   EXPECT_EQ(idle_, 2);
}

TEST_F(TaskRunnerTest, whoeverFollowsItRunsWhatItLeft) {
   bool ran = false;
   auto const late = task([&ran](Orb::Task&) { ran = true; });
   {
      Loop::TaskRunner const runner([this] { ++idle_; }, failed());
   }
   late->scheduleTask();
   turn();
   EXPECT_FALSE(ran);
   Loop::TaskRunner const runner([this] { ++idle_; }, failed());
   turn();
   EXPECT_TRUE(ran);
   EXPECT_THAT(errors_, IsEmpty());
}

}  // namespace
