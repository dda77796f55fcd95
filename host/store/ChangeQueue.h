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

/// Documents on their way into the store, one after another in the order in which they came: each is checked and
/// applied in the slices of a task, so that requests are answered meanwhile.
class ChangeQueue {
 public:
   /// What has become of a document.
   struct Outcome {
      /// Entries added, removed or changed.
      std::size_t changed = 0;
      /// Why the document was refused, naming the place in it; then nothing of it is applied.
      std::optional<std::string> refusal{};
   };
   /// Called from the task, once. It may add documents, and must not destroy the queue.
   using Done = std::function<void(Outcome const&)>;

   /// `store` outlives the queue, and whoever still waits in it is never told. The task runs in this thread's
   /// scheduler.
   explicit ChangeQueue(StateStore& store);
   ChangeQueue(ChangeQueue const&) = delete;
   ChangeQueue& operator=(ChangeQueue const&) = delete;

   void add(ChangeKind kind, std::string document, Done done);

   /// Work that the state must not change under, in its turn among the documents: called until it returns true, each
   /// time for as long as the task need not yield. It must not destroy the queue.
   using Reading = std::function<bool(Orb::Task&)>;
   void add(Reading reading);

   /// Documents and readings that are not done, the one under way included.
   std::size_t waiting() const { return waiting_.size(); }

 private:
   struct Waiting {
      ChangeKind kind;
      std::string document;
      Done done;
      Reading reading{};
   };

   void run(Orb::Task& task);
   bool destroyLast(Orb::Task& task);
   bool advance(Orb::Task& task);

   StateStore& store_;
   std::deque<Waiting> waiting_;  // the first is under way once there are changes
   std::unique_ptr<ChangeSet> changes_;
   std::unique_ptr<ChangeSet> over_;  // the one before, on its way out
   Vel::Ptr<Orb::Task> const task_;
};

}  // namespace Store
