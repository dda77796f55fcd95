// SPDX-License-Identifier: MIT
#include "substrate/orb/TaskScheduler.h"

#include <pthread.h>

#include <algorithm>
#include <system_error>
#include <utility>

#include "substrate/trel/Assert.h"

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

/// One reference for every thread, dropped when the thread ends; that of the thread which unloads this library, or
/// ends the process, goes with it. A thread_local object would keep the library from being unloaded.
class ThreadsOwn {
 public:
   ThreadsOwn() {
      if (int const error = pthread_key_create(&key_, drop)) throw std::system_error(error, std::generic_category());
   }
   ~ThreadsOwn() {
      drop(pthread_getspecific(key_));
      pthread_key_delete(key_);
   }
   ThreadsOwn(ThreadsOwn const&) = delete;
   ThreadsOwn& operator=(ThreadsOwn const&) = delete;

   Vel::Ptr<TaskScheduler> scheduler() const { return static_cast<TaskScheduler*>(pthread_getspecific(key_)); }
   /// REQUIRES: the thread has none yet.
   void schedulerIs(Vel::Ptr<TaskScheduler> const& scheduler) const {
      if (int const error = pthread_setspecific(key_, scheduler.get())) {
         throw std::system_error(error, std::generic_category());
      }
      scheduler->newRef();
   }

 private:
   static void drop(void* scheduler) {
      if (scheduler) static_cast<TaskScheduler*>(scheduler)->deleteRef();
   }
   pthread_key_t key_{};
};

}  // namespace

Vel::Ptr<TaskScheduler> TaskSchedulerRoot::findOrCreateScheduler() {
   static ThreadsOwn const own;
   auto scheduler = own.scheduler();
   if (!scheduler) {
      scheduler = Vel::makePtr<TaskScheduler>();
      own.schedulerIs(scheduler);
   }
   return scheduler;
}

void TaskScheduler::enqueue(Task& task, bool keepsTurn) {
   auto& queue = queues_[task.priority_];
   // A task that yields keeps its turn: it goes on in the next slice before those behind it begin.
   if (keepsTurn && &task == running_) {
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
      : scheduler_(std::move(scheduler)), priority_(priority), name_(std::move(name)), work_(std::move(work)) {
   Trel::fmassert(scheduler_ && work_, "scheduler && work");
}

Task::~Task() { cancelTask(); }

void Task::scheduleTask() {
   if (!queued_) scheduler_->enqueue(*this, true);
}

void Task::scheduleTaskLast() {
   if (!queued_) scheduler_->enqueue(*this, false);
}

void Task::cancelTask() {
   if (queued_) scheduler_->dequeue(*this);
}

bool Task::taskShouldYield() const { return taskCurrentlyRunning() && scheduler_->mustYield(); }

}  // namespace Orb
