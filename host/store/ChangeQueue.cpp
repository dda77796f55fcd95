// SPDX-License-Identifier: MIT
#include "host/store/ChangeQueue.h"

#include <utility>

#include "host/store/StateError.h"
#include "host/store/StateStore.h"

namespace Store {

ChangeQueue::ChangeQueue(StateStore& store)
      : store_(store),
        task_(Vel::makePtr<Orb::Task>(Orb::TaskSchedulerRoot::findOrCreateScheduler(), Orb::TaskPriority::normal,
                                      "StateChanges", [this](Orb::Task& task) { run(task); })) {}

void ChangeQueue::add(ChangeKind kind, std::string document, Done done) {
   waiting_.push_back({kind, std::move(document), std::move(done)});
   task_->scheduleTask();
}

void ChangeQueue::add(Reading reading) {
   waiting_.push_back({ChangeKind::patch, {}, {}, std::move(reading)});
   task_->scheduleTask();
}

void ChangeQueue::run(Orb::Task& task) {
   while (over_ || !waiting_.empty()) {
      if (!destroyLast(task)) return task.scheduleTask();
      if (waiting_.empty()) return;
      Outcome outcome;
      try {
         if (!advance(task)) return task.scheduleTask();
         if (changes_) outcome.changed = changes_->changed();
      } catch (StateError const& error) {
         outcome.refusal = error.what();
      }
      over_ = std::move(changes_);
      Done const done = std::move(waiting_.front().done);
      waiting_.pop_front();
      if (done) done(outcome);
      // Whoever is told may add the next at once, and so for ever.
      if ((over_ || !waiting_.empty()) && task.taskShouldYield()) return task.scheduleTask();
   }
}

/// Lets go of the document before; false when the slice is over before that is done.
bool ChangeQueue::destroyLast(Orb::Task& task) {
   while (over_ && !over_->destroySome()) {
      if (task.taskShouldYield()) return false;
   }
   over_ = nullptr;
   return true;
}

/// Goes on with the first document; false when the slice is over before it is done. Throws StateError.
bool ChangeQueue::advance(Orb::Task& task) {
   Waiting& first = waiting_.front();
   if (first.reading) return first.reading(task);
   if (!changes_) {
      changes_ = std::make_unique<ChangeSet>(store_, first.kind, std::move(first.document));
   }
   // A look at the clock takes a hundredth of what the smallest entry does, and of the largest one is enough.
   while (!changes_->checkSome(1)) {
      if (task.taskShouldYield()) return false;
   }
   while (!changes_->applySome(1)) {
      if (task.taskShouldYield()) return false;
   }
   return true;
}

}  // namespace Store
