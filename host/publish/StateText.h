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
   using Ready = std::function<void(std::shared_ptr<Pieces const>)>;

   /// Both outlive it.
   StateText(Store::ChangeQueue& queue, Store::StateStore const& store) : queue_(queue), store_(store) {}
   StateText(StateText const&) = delete;
   StateText& operator=(StateText const&) = delete;

   /// `ready` is called once, from a task.
   void ask(Ready ready);
   /// To be called when a text may have been let go.
   void proceed();
   /// Whether somebody waits for the last text to be let go.
   bool held() const { return !asked_.empty() && !text_.expired(); }

 private:
   bool write(Orb::Task& task);

   Store::ChangeQueue& queue_;
   Store::StateStore const& store_;
   std::vector<Ready> asked_;
   std::weak_ptr<Pieces const> text_;

   // Being written.
   std::vector<Ready> waiting_;
   std::unique_ptr<Store::DocumentWriter> writer_;
   std::shared_ptr<Pieces> pieces_;
   bool queued_ = false;
   std::shared_ptr<bool> const alive_ = std::make_shared<bool>(true);
};

}  // namespace Publish
