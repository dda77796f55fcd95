// SPDX-License-Identifier: MIT
#include "notifications/Told.h"

#include <utility>

namespace MplsSnmp {

TunnelState Told::Waiting::inDoubt() const {
   TunnelState state = now;
   state.failed = state.failed || failure;
   return state;
}

/// What a manager is not told of. The path spec stays that which the path was found for: one that is configured later
/// has had no effect yet.
void Told::isUnchanged(TunnelState now) {
   if (told_.up && now.up) now.pathSpec = told_.pathSpec;
   isKnown(std::move(now));
}

unsigned Told::nowIs(TunnelState now) {
   if (!waiting_) {
      if (changeBetween(told_, now)) {
         waiting_ = std::make_unique<Waiting>(Waiting{.now = std::move(now)});
      } else {
         isUnchanged(std::move(now));
      }
      return 0;
   }
   bool const isChange = changeBetween(waiting_->now, now).hasValue();
   TunnelState const before = std::exchange(waiting_->now, std::move(now));
   waiting_->failure = waiting_->failure || before.failed || before.locallyRepaired || !before.up;
   if (changeBetween(told_, waiting_->now)) return isChange ? 1 : 0;
   isUnchanged(TunnelState(waiting_->now));
   return isChange ? 2 : 1;
}

Told::Notice Told::take() {
   auto const change = changeBetween(told_, waiting_->inDoubt());
   auto from = std::exchange(told_, std::move(waiting_->now));
   waiting_ = nullptr;
   return {*change, std::move(from), told_};
}

}  // namespace MplsSnmp
