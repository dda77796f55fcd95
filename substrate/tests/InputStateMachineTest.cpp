// SPDX-License-Identifier: MIT
/// The base of the machines that watch a derivation's inputs: a small tree of them that scans a table of links.
#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "substrate/flo/InputStateMachine.h"
#include "substrate/vel/HashMap2018.h"

namespace {

using Flo::SmControl;
using Flo::Gen::InputStateMachine;
using Flo::Gen::ReactorScope;
using Orb::TaskPriority;
using Vel::makePtr;
using Vel::Ptr;
using Log = std::vector<std::string>;
using Links = Vel::HashMap2018<std::uint32_t, std::string>;

/// One link: its scan is one event.
class LinkSm : public InputStateMachine {
 public:
   LinkSm(InputStateMachine* parent, std::function<void()> event)
         : InputStateMachine(parent), event_(std::move(event)) {}

   bool doInputScan() override {
      event_();
      scanDoneIs(true);
      return !shouldYield();
   }
   void velDoZombieReactors(bool zombie) override { markedForDeletionIs(zombie); }
   std::string_view className() const override { return "LinkSm"; }

 private:
   std::function<void()> event_;
};

/// The table of links, with a child per link.
class LinkTableSm : public InputStateMachine {
 public:
   LinkTableSm(SmControl control, Links const& links, Log& log)
         : InputStateMachine(nullptr), control_(std::move(control)), links_(links), log_(log) {}

   bool doInputScan() override {
      for (auto at = links_.after(bookmark_); at != links_.end(); ++at) {
         bookmark_ = at.bookmark();
         auto const event = [this, name = at->value] {
            log_.push_back(name);
            if (onEvent) onEvent(name);
         };
         auto const child = makePtr<LinkSm>(this, event);
         children_[at->key] = child;
         if (!child->doInputScan()) {
            log_.push_back("yield");
            return false;
         }
      }
      scanDoneIs(true);
      return true;
   }
   void velDoZombieReactors(bool zombie) override {
      markedForDeletionIs(zombie);
      for (auto const& [key, child] : children_) child->velDoZombieReactors(zombie);
   }
   std::string_view className() const override { return "LinkTableSm"; }

   Ptr<LinkSm> const& child(std::uint32_t key) { return children_[key]; }
   std::function<void(std::string const&)> onEvent;

 private:
   SmControl const& control() const override { return control_; }
   void inputScanComplete() override { log_.push_back("scan complete"); }

   SmControl control_;
   Links const& links_;
   Log& log_;
   Links::Bookmark bookmark_ = 0;
   std::map<std::uint32_t, Ptr<LinkSm>> children_;
};

class InputStateMachineTest : public testing::Test {
 protected:
   InputStateMachineTest() {
      for (std::uint32_t n = 1; n <= 3; ++n) links_.insertOrAssign(n, "link" + std::to_string(n));
      control_.taskScheduler = scheduler_;
   }
   Ptr<LinkTableSm> start() {
      auto machine = makePtr<LinkTableSm>(control_, links_, log_);
      machine->handleInitialized();
      return machine;
   }

   Log const whole_{"link1", "link2", "link3", "scan complete"};
   Links links_;
   Log log_;
   Ptr<Orb::TaskScheduler> scheduler_ = makePtr<Orb::TaskScheduler>();
   SmControl control_;
};

TEST_F(InputStateMachineTest, scansInATaskOfItsOwn) {
   auto const machine = start();
   EXPECT_EQ(log_, Log());
   EXPECT_EQ(scheduler_->tasksQueued(), 1U);
   EXPECT_FALSE(machine->scanDone());
   scheduler_->runAll();
   EXPECT_EQ(log_, whole_);
   EXPECT_TRUE(machine->scanDone());
   EXPECT_FALSE(scheduler_->hasWork());
}

TEST_F(InputStateMachineTest, theTaskBearsTheMachinesNameAndTheControlsPriority) {
   control_.taskPriority = TaskPriority::elevated;
   auto const machine = start();
   std::string name;
   TaskPriority priority{};
   machine->onEvent = [&](std::string const&) {
      name = scheduler_->taskRunning()->taskName();
      priority = scheduler_->taskRunning()->taskPriority();
   };
   scheduler_->runAll();
   EXPECT_EQ(name, "LinkTableSmInputScanTask");
   EXPECT_EQ(priority, TaskPriority::elevated);
}

TEST_F(InputStateMachineTest, aScanThatYieldsGoesOnWhereItStopped) {
   auto const machine = start();
   scheduler_->yieldPolicyIs([] { return true; });
   scheduler_->runSlice(std::chrono::microseconds(0));
   EXPECT_EQ(log_, (Log{"link1", "yield"}));
   EXPECT_FALSE(machine->scanDone());
   EXPECT_TRUE(scheduler_->hasWork());
   links_.erase(2);
   links_.insertOrAssign(4, "link4");
   scheduler_->runAll();
   EXPECT_EQ(log_, (Log{"link1", "yield", "link3", "yield", "link4", "yield", "scan complete"}));
}

TEST_F(InputStateMachineTest, aSynchronousMachineScansInlineWithoutATask) {
   control_.synchronous = true;
   scheduler_->yieldPolicyIs([] { return true; });
   auto const machine = start();
   EXPECT_EQ(log_, whole_);
   EXPECT_TRUE(machine->scanDone());
   EXPECT_FALSE(scheduler_->hasWork());
}

TEST_F(InputStateMachineTest, theProcessMayMakeEveryMachineSynchronous) {
   SmControl::defaultSynchronousIs(true);
   start();
   SmControl::defaultSynchronousIs(false);
   EXPECT_EQ(log_, whole_);
   EXPECT_FALSE(scheduler_->hasWork());
}

TEST_F(InputStateMachineTest, noScanYieldsWhileANotificationIsHandled) {
   auto const machine = start();
   scheduler_->yieldPolicyIs([] { return true; });
   machine->onEvent = [&](std::string const& name) {
      auto const& child = machine->child(static_cast<std::uint32_t>(name.back() - '0'));
      EXPECT_TRUE(child->shouldYield());
      {
         ReactorScope const outer(*child);
         EXPECT_TRUE(machine->inReactor());  // it holds for the whole tree
         EXPECT_FALSE(child->shouldYield());
         {
            ReactorScope const inner(*machine);
            EXPECT_TRUE(child->inReactor());
         }
         EXPECT_TRUE(child->inReactor());
      }
      EXPECT_FALSE(machine->inReactor());
      EXPECT_TRUE(child->shouldYield());
   };
   scheduler_->runAll();
   EXPECT_EQ(log_.size(), 7U);
}

TEST_F(InputStateMachineTest, nobodyYieldsOutsideTheScanTask) {
   auto const machine = start();
   scheduler_->yieldPolicyIs([] { return true; });
   EXPECT_FALSE(machine->shouldYield());
   scheduler_->runAll();
   EXPECT_FALSE(machine->shouldYield());
   EXPECT_FALSE(machine->child(1)->shouldYield());
}

TEST_F(InputStateMachineTest, aMachineThatGoesTakesItsTaskWithIt) {
   auto machine = start();
   machine = nullptr;
   EXPECT_FALSE(scheduler_->hasWork());
   scheduler_->runAll();
   EXPECT_EQ(log_, Log());
}

TEST_F(InputStateMachineTest, aMachineOutlivesTheScanThatDropsItsLastReference) {
   auto machine = start();
   machine->onEvent = [&](std::string const&) { machine = nullptr; };
   scheduler_->runAll();
   EXPECT_EQ(log_, whole_);
   EXPECT_FALSE(scheduler_->hasWork());
}

TEST_F(InputStateMachineTest, aMachineDroppedBeforeAYieldDoesNotGoOn) {
   auto machine = start();
   scheduler_->yieldPolicyIs([] { return true; });
   machine->onEvent = [&](std::string const&) { machine = nullptr; };
   scheduler_->runAll();
   EXPECT_EQ(log_, (Log{"link1", "yield"}));
   EXPECT_FALSE(scheduler_->hasWork());
}

TEST_F(InputStateMachineTest, aMachineRetiredByItsOwnEventsDoesNotGoOn) {
   auto const machine = start();
   scheduler_->yieldPolicyIs([] { return true; });
   machine->onEvent = [&](std::string const&) { machine->velDoZombieReactors(true); };
   scheduler_->runAll();
   EXPECT_EQ(log_, (Log{"link1", "yield"}));
   EXPECT_FALSE(scheduler_->hasWork());
}

TEST_F(InputStateMachineTest, aMachineRetiredBeforeItsTurnDoesNotScan) {
   auto const machine = start();
   machine->velDoZombieReactors(true);
   scheduler_->runAll();
   EXPECT_EQ(log_, Log());
   EXPECT_FALSE(scheduler_->hasWork());
}

TEST_F(InputStateMachineTest, aNotificationMayEndTheWholeTree) {
   control_.synchronous = true;
   auto machine = start();
   Ptr<LinkSm> const child = machine->child(1);
   {
      ReactorScope const scope(*child);
      machine = nullptr;
   }
   EXPECT_EQ(child->references(), 1U);
}

TEST(SmControlTest, aControlIsAPlainValue) {
   SmControl const control;
   EXPECT_TRUE(control.taskScheduler == nullptr);
   EXPECT_EQ(control.taskPriority, TaskPriority::normal);
   EXPECT_EQ(static_cast<int>(control.taskPriority), 3);
   EXPECT_TRUE(control.hostLabel.empty());
   EXPECT_EQ(control.hostData, 0U);
   EXPECT_FALSE(control.synchronous);
   EXPECT_FALSE(control.isSynchronous());
   EXPECT_TRUE(control.scheduler() == Orb::TaskSchedulerRoot::findOrCreateScheduler());

   SmControl other{makePtr<Orb::TaskScheduler>(), TaskPriority::low, "host", 7, true};
   EXPECT_FALSE(other == control);
   EXPECT_TRUE(other.scheduler() == other.taskScheduler);
   EXPECT_TRUE(other.isSynchronous());
   SmControl const copy = other;
   EXPECT_TRUE(copy == other);
   other.hostData = 8;
   EXPECT_FALSE(copy == other);
}

TEST(SmControlTest, theDefaultOfTheProcessIsOff) { EXPECT_FALSE(SmControl::defaultSynchronous()); }

}  // namespace
