// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "host/store/ChangeQueue.h"
#include "host/store/DocumentWriter.h"

namespace Publish {

/// The whole answer to a question for the state, in pieces of some 100 KiB: to hold it in one piece would mean to copy
/// it again and again while it grows.
using Pieces = std::vector<std::string>;

/// Writes the state for those who ask for it: in its turn in the queue, so that it is the state between two documents,
/// and in slices. All who wait when its turn comes get the same text. There is one text at a time: the next is written
/// when nobody holds the last one any more.
class StateText {
 public:
   struct Asker {
      /// Whether somebody still waits for the answer. What nobody waits for is not written.
      std::function<bool()> wanted;
      /// Called once, from a task; with null when it is not wanted any more.
      std::function<void(std::shared_ptr<Pieces const>)> ready;
   };

   /// Both outlive it.
   StateText(Store::ChangeQueue& queue, Store::StateStore const& store) : queue_(queue), store_(store) {}
   StateText(StateText const&) = delete;
   StateText& operator=(StateText const&) = delete;

   void ask(Asker asker);
   /// To be called when a text may have been let go.
   void proceed();
   /// Whether somebody waits for the last text to be let go.
   bool held() const { return !asked_.empty() && !text_.expired(); }

 private:
   bool write(Orb::Task& task);
   void finish(std::shared_ptr<Pieces const> const& text);

   Store::ChangeQueue& queue_;
   Store::StateStore const& store_;
   std::vector<Asker> asked_;
   std::weak_ptr<Pieces const> text_;

   // Being written.
   std::vector<Asker> waiting_;
   std::unique_ptr<Store::DocumentWriter> writer_;
   std::shared_ptr<Pieces> pieces_;
   bool queued_ = false;
   std::shared_ptr<bool> const alive_ = std::make_shared<bool>(true);
};

}  // namespace Publish
