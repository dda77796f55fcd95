// SPDX-License-Identifier: MIT
#include "substrate/orb/TaskScheduler.h"

#include <algorithm>
#include <mutex>
#include <thread>
#include <utility>

namespace Orb {

namespace {

/// Gives a variable another value for as long as it lives, also when a task throws.
template <class T>
class Scoped {
 public:
   Scoped(T& variable, T value) : variable_(variable), outer_(std::exchange(variable, value)) {}
   ~Scoped() { variable_ = outer_; }
   Scoped(Scoped const&) = delete;
   Scoped& operator=(Scoped const&) = delete;

 private:
   T& variable_;
   T outer_;
};

using TimePoint = std::chrono::steady_clock::time_point;

}  // namespace

Vel::Ptr<TaskScheduler> TaskSchedulerRoot::findOrCreateScheduler() {
   // Not in the thread's own storage: what a thread has to destroy at its end keeps a library from being unloaded.
   static std::mutex mutex;
   static std::map<std::thread::id, Vel::Ptr<TaskScheduler>> schedulers;
   std::lock_guard const lock(mutex);
   auto& scheduler = schedulers[std::this_thread::get_id()];
   if (!scheduler) scheduler = Vel::makePtr<TaskScheduler>();
   return scheduler;
}

void TaskScheduler::enqueue(Task& task) {
   auto& queue = queues_[task.priority_];
   // A task that yields keeps its turn: it goes on in the next slice before those behind it begin.
   if (&task == running_) {
      queue.push_front(&task);
   } else {
      queue.push_back(&task);
   }
   task.queued_ = true;
   if (++queued_ == 1 && !running_ && wake_) wake_();
}

void TaskScheduler::dequeue(Task& task) {
   std::erase(queues_[task.priority_], &task);
   task.queued_ = false;
   --queued_;
}

bool TaskScheduler::runNext() {
   auto const found = std::ranges::find_if(queues_, [](auto const& entry) { return !entry.second.empty(); });
   if (found == queues_.end()) return false;
   // The task may drop the last reference to itself.
   Vel::Ptr<Task> const task(found->second.front());
   dequeue(*task);
   Scoped<Task*> const running(running_, task.get());
   task->work_(*task);
   return true;
}

void TaskScheduler::runSlice(std::chrono::microseconds budget) {
   // A task may drop the last reference to this scheduler.
   Vel::Ptr<TaskScheduler> const keep(this);
   TimePoint const end = std::chrono::steady_clock::now() + budget;
   Scoped<TimePoint> const slice(sliceEnd_, end);
   while (runNext() && std::chrono::steady_clock::now() < end) {
   }
}

void TaskScheduler::runAll() {
   Vel::Ptr<TaskScheduler> const keep(this);
   Scoped<TimePoint> const slice(sliceEnd_, TimePoint::max());
   while (runNext()) {
   }
}

bool TaskScheduler::mustYield() const {
   if (yieldPolicy_) return yieldPolicy_();
   return sliceEnd_ != TimePoint::max() && std::chrono::steady_clock::now() >= sliceEnd_;
}

Task::Task(Vel::Ptr<TaskScheduler> scheduler, TaskPriority priority, std::string name, Work work)
      : scheduler_(std::move(scheduler)), priority_(priority), name_(std::move(name)), work_(std::move(work)) {}

Task::~Task() { cancelTask(); }

void Task::scheduleTask() {
   if (!queued_) scheduler_->enqueue(*this);
}

void Task::cancelTask() {
   if (queued_) scheduler_->dequeue(*this);
}

bool Task::taskShouldYield() const { return taskCurrentlyRunning() && scheduler_->mustYield(); }

}  // namespace Orb
