// SPDX-License-Identifier: MIT
#include "host/store/ChangeQueue.h"

#include <utility>

#include "host/store/StateError.h"
#include "host/store/StateStore.h"

namespace Store {

namespace {

// Of a long document between two short ones: some time of its own, and less than a short one takes from others.
constexpr std::size_t kStepsBetween = 4;

}  // namespace

ChangeQueue::ChangeQueue(StateStore& store)
      : store_(store),
        task_(Vel::makePtr<Orb::Task>(Orb::TaskSchedulerRoot::findOrCreateScheduler(), Orb::TaskPriority::normal,
                                      "StateChanges", [this](Orb::Task& task) { run(task); })) {}

void ChangeQueue::add(ChangeKind kind, std::string document, Done done) {
   bool const isShort = kind == ChangeKind::patch && document.size() <= kShort;
   (isShort ? short_ : long_).waiting.push_back({kind, std::move(document), std::move(done)});
   schedule();
}

void ChangeQueue::add(Reading reading) {
   long_.waiting.push_back({ChangeKind::patch, {}, {}, std::move(reading)});
   schedule();
}

/// The task that is running sees for itself what has come, when it is done with what it is at.
void ChangeQueue::schedule() {
   if (!task_->taskCurrentlyRunning()) task_->scheduleTask();
}

void ChangeQueue::run(Orb::Task& task) {
   while (over_ || waiting() != 0) {
      hasEnded_ = false;
      step(task);
      if (!over_ && waiting() == 0) return;
      // Whoever is told may add the next at once, and so for ever. Where no document is half applied others have their
      // turn, such as those who look at what a whole document has changed.
      bool const isApplying = long_.changes && long_.changes->checked();
      if (hasEnded_ && !isApplying) return task.scheduleTaskLast();
      // A look at the clock takes a hundredth of what the smallest entry does, and of the largest one is enough.
      if (task.taskShouldYield()) return task.scheduleTask();
   }
}

void ChangeQueue::step(Orb::Task& task) {
   if (shortHasTurn()) return stepShort();
   if (owed_ != 0) --owed_;
   if (over_) {
      if (over_->destroySome()) over_ = nullptr;
   } else if (!long_.waiting.empty()) {
      stepLong(task);
   }
}

bool ChangeQueue::shortHasTurn() const {
   if (short_.waiting.empty() || reading_) return false;
   return short_.changes || owed_ == 0 || (!over_ && long_.waiting.empty());
}

/// Goes on with the first of the short ones by an entry.
void ChangeQueue::stepShort() {
   Waiting& first = short_.waiting.front();
   auto& changes = short_.changes;
   try {
      if (!changes) {
         changes = std::make_unique<ChangeSet>(store_, first.kind, std::move(first.document));
         if (long_.changes) changes->goesBetween(*long_.changes);
      }
      if (!changes->checked()) {
         if (!changes->checkSome(1) || !changes->removesWhole()) return;
         // It is a long one, for all that it says in a few words.
         first.document = std::move(*changes).document();
         long_.waiting.push_back(std::move(first));
         short_.waiting.pop_front();
         changes = nullptr;
         return;
      }
      if (changes->applySome(1)) end(short_, {.changed = changes->changed()});
   } catch (StateError const& error) {
      end(short_, {.refusal = error.what()});
   }
}

/// Goes on with the first of the long ones: by an entry, or with a reading for as long as the slice lasts.
void ChangeQueue::stepLong(Orb::Task& task) {
   Waiting& first = long_.waiting.front();
   auto& changes = long_.changes;
   if (first.reading) {
      reading_ = !first.reading(task);
      if (!reading_) end(long_, {});
      return;
   }
   try {
      if (!changes) changes = std::make_unique<ChangeSet>(store_, first.kind, std::move(first.document));
      if (!changes->checked()) {
         changes->checkSome(1);
      } else if (changes->applySome(1)) {
         end(long_, {.changed = changes->changed()});
      }
   } catch (StateError const& error) {
      end(long_, {.refusal = error.what()});
   }
}

/// The first of the row has come to its end: whoever waits for it is told.
void ChangeQueue::end(Row& row, Outcome const& outcome) {
   hasEnded_ = true;
   Done const done = std::move(row.waiting.front().done);
   row.waiting.pop_front();
   if (&row == &long_) {
      over_ = std::move(row.changes);
   } else {
      row.changes = nullptr;
      owed_ = kStepsBetween;
   }
   if (done) done(outcome);
}

}  // namespace Store
