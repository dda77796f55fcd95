// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "notifications/TunnelState.h"

namespace MplsSnmp {

/// What managers have been told of one tunnel, and what they are still to be told.
///
/// A change that is due waits until it may be sent. What comes meanwhile is coalesced with it: what is sent in the end
/// takes a manager from what it was told to what is so then, in one notification or in none. So whoever has heard all
/// notifications knows the state of the tunnel, at whatever pace they were sent.
class Told {
 public:
   /// Managers know of a tunnel that is like this, from what they have read.
   explicit Told(TunnelState state) : told_(std::move(state)) {}

   /// The tunnel is like this now. Returns how many changes need not be told any more: all that waited, when managers
   /// know the state anyway, and else those that another one stands for now.
   unsigned nowIs(TunnelState now);

   /// The tunnel is like this, and managers need not be told.
   void isKnown(TunnelState now) {
      told_ = std::move(now);
      waiting_ = nullptr;
   }

   /// Whether there is something to be told.
   bool waits() const { return waiting_ != nullptr; }
   /// What is so now.
   TunnelState const& now() const { return waiting_ ? waiting_->now : told_; }

   struct Notice {
      TunnelChange change;
      TunnelState from;
      TunnelState to;
   };
   /// Takes what is to be told: it is told from now on. REQUIRES: `waits`.
   Notice take();

 private:
   /// What is so now, when managers have still to be told of it, and whether there was a failure on the way to it.
   struct Waiting {
      TunnelState now;
      bool failure = false;
      TunnelState inDoubt() const;
   };

   void isUnchanged(TunnelState now);

   TunnelState told_;
   std::unique_ptr<Waiting> waiting_;
};

}  // namespace MplsSnmp
