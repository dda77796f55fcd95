// SPDX-License-Identifier: MIT
/// Cooperative tasks: deferred work that runs in slices on the one thread, between the events of the host's loop.
#pragma once

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>

#include "substrate/vel/PtrInterface.h"

namespace Orb {

/// Lower numbers run first.
enum class TaskPriority : std::uint8_t { urgent = 0, high = 1, elevated = 2, normal = 3, low = 4 };

class Task;

/// The queue of scheduled tasks of one thread. The host calls `runSlice` whenever `hasWork`, with a budget of time
/// that keeps its requests answered.
class TaskScheduler : public Vel::PtrInterface {
 public:
   bool hasWork() const { return queued_ != 0; }
   /// Scheduled tasks, the running one not counted.
   std::size_t tasksQueued() const { return queued_; }

   /// Runs tasks, by priority and then in order of scheduling, until there is none or the budget is used up. A task
   /// that yields and is scheduled again goes on before others of its priority.
   void runSlice(std::chrono::microseconds budget);
   /// Runs until no task is left, without asking any to yield but by `yieldPolicyIs`.
   void runAll();

   /// Called whenever the queue stops being empty, so that a sleeping host wakes up.
   void wakeIs(std::function<void()> wake) { wake_ = std::move(wake); }
   /// Decides instead of the clock whether the running task must yield; an empty one restores the clock.
   void yieldPolicyIs(std::function<bool()> policy) { yieldPolicy_ = std::move(policy); }

   /// The task that is running now, or null.
   Task* taskRunning() const { return running_; }

 private:
   friend class Task;
   void enqueue(Task& task, bool keepsTurn);
   void dequeue(Task& task);
   bool runNext();
   bool mustYield() const;

   std::map<TaskPriority, std::deque<Task*>> queues_;
   std::size_t queued_ = 0;
   Task* running_ = nullptr;
   std::chrono::steady_clock::time_point sliceEnd_ = std::chrono::steady_clock::time_point::max();
   std::function<void()> wake_;
   std::function<bool()> yieldPolicy_;
};

struct TaskSchedulerRoot {
   /// The scheduler of this thread. The thread keeps it until it ends; tasks that are left hold it longer.
   static Vel::Ptr<TaskScheduler> findOrCreateScheduler();
};

/// A named unit of deferred work. Dropping the last reference takes it out of the queue.
class Task : public Vel::PtrInterface {
 public:
   using Work = std::function<void(Task&)>;

   /// `work` runs once per `scheduleTask`. REQUIRES: there are a scheduler and something to do.
   Task(Vel::Ptr<TaskScheduler> scheduler, TaskPriority priority, std::string name, Work work);
   ~Task() override;

   /// Queues the task to run later; a task that is queued already stays where it is.
   void scheduleTask();
   /// The same, behind all others of its priority: a running task that is done with one thing lets them have their
   /// turn.
   void scheduleTaskLast();
   /// Takes the task out of the queue.
   void cancelTask();

   /// Inside the run: whether the task must stop now and schedule itself again.
   bool taskShouldYield() const;
   /// Records n items of work done.
   void taskWorkCountInc(std::uint64_t n) { workCount_ += n; }
   std::uint64_t taskWorkCount() const { return workCount_; }

   bool taskCurrentlyRunning() const { return scheduler_->taskRunning() == this; }
   bool taskScheduled() const { return queued_; }
   std::string const& taskName() const { return name_; }
   TaskPriority taskPriority() const { return priority_; }
   Vel::Ptr<TaskScheduler> const& taskScheduler() const { return scheduler_; }

 private:
   friend class TaskScheduler;
   Vel::Ptr<TaskScheduler> scheduler_;
   TaskPriority priority_;
   bool queued_ = false;
   std::uint64_t workCount_ = 0;
   std::string name_;
   Work work_;
};

}  // namespace Orb
