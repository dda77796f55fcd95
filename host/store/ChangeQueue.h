// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "host/store/ChangeSet.h"
#include "substrate/orb/TaskScheduler.h"

namespace Store {

/// Documents on their way into the store, each checked and applied in the slices of a task, so that requests are
/// answered meanwhile.
///
/// Two rows of them take turns. A patch of at most `kShort` octets that removes no whole collection is a short one; it
/// waits for the short ones before it, and for no more than a few entries of the long one that is under way. That one
/// is applied before or after it in effect (ChangeSet::goesBetween). All others wait for each other, in the order in
/// which they came.
class ChangeQueue {
 public:
   /// What has become of a document.
   struct Outcome {
      /// Entries added, removed or changed.
      std::size_t changed = 0;
      /// Why the document was refused, naming the place in it; then nothing of it is applied.
      std::optional<std::string> refusal{};
   };
   /// Octets of a short patch.
   static constexpr std::size_t kShort = std::size_t{16} << 10U;

   /// Called from the task, once. It may add documents, and must not destroy the queue.
   using Done = std::function<void(Outcome const&)>;

   /// `store` outlives the queue, and whoever still waits in it is never told. The task runs in this thread's
   /// scheduler.
   explicit ChangeQueue(StateStore& store);
   ChangeQueue(ChangeQueue const&) = delete;
   ChangeQueue& operator=(ChangeQueue const&) = delete;

   void add(ChangeKind kind, std::string document, Done done);

   /// Work that the state must not change under, in its turn among the long ones: called until it returns true, each
   /// time for as long as the task need not yield. It must not destroy the queue.
   using Reading = std::function<bool(Orb::Task&)>;
   void add(Reading reading);

   /// Documents and readings that are not done, the one under way included.
   std::size_t waiting() const { return short_.waiting.size() + long_.waiting.size(); }

 private:
   struct Waiting {
      ChangeKind kind;
      std::string document;
      Done done;
      Reading reading{};
   };

   struct Row {
      std::deque<Waiting> waiting;  // the first is under way once there are changes
      std::unique_ptr<ChangeSet> changes{};
   };

   void schedule();
   void run(Orb::Task& task);
   void step(Orb::Task& task);
   bool shortHasTurn() const;
   void stepShort();
   void stepLong(Orb::Task& task);
   void end(Row& row, Outcome const& outcome);

   StateStore& store_;
   Row short_;
   Row long_;
   bool reading_ = false;             // the first of the long ones, which has begun
   bool hasEnded_ = false;            // a document, with the step that was last
   std::size_t owed_ = 0;             // steps of a long one before the next short one
   std::unique_ptr<ChangeSet> over_;  // a long one on its way out
   Vel::Ptr<Orb::Task> const task_;
};

}  // namespace Store
