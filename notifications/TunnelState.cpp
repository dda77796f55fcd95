// SPDX-License-Identifier: MIT
#include "notifications/TunnelState.h"

#include <algorithm>

namespace MplsSnmp {

namespace {

/// RSVP Notify with the value for a path that is preferable to that in use (RFC 4736): nothing has failed.
constexpr Rsvp::RsvpLerLspRequestStatus::Error kPreferablePathExists{25, 6};

/// Whether traffic takes the same way.
bool isCarriedAlike(TunnelState const& a, TunnelState const& b) {
   return a.key == b.key && a.pathSpecType == b.pathSpecType && a.request == b.request &&
          a.locallyRepaired == b.locallyRepaired && a.path == b.path;
}

bool isInOrder(TunnelState const& state) { return !state.failed && !state.locallyRepaired; }

}  // namespace

TunnelState TunnelState::of(MplsTunnelTableEntryRsvp const& row) {
   auto const& status = *row.subTunnelStatus();
   auto const& request = *row.lspRequestStatus();
   TunnelState state;
   state.up = row.operStatus() == OperStatus::operUp;
   state.key = row.key();
   state.pathSpecType = request.id().pathSpecType();
   state.request = request.id().request;
   state.pathSpec = state.pathSpecType == Rsvp::RsvpLerPathSpecType::primary
                          ? row.subTunnelConfig()->primaryPathSpecId()
                          : row.subTunnelConfig()->secondaryPathSpecId();
   state.path = status.activePath();
   state.stateTransitions = status.stateTransitions();
   state.locallyRepaired = row.localProtectInUse();
   state.failed =
         std::ranges::any_of(request.errors(), [](auto const& error) { return !(error == kPreferablePathExists); });
   return state;
}

TunnelState TunnelState::withdrawn() const {
   TunnelState state = *this;
   state.up = false;
   return state;
}

Vel::Optional<TunnelChange> changeBetween(TunnelState const& before, TunnelState const& now) {
   if (before.up != now.up) return now.up ? TunnelChange::up : TunnelChange::down;
   if (!now.up || isCarriedAlike(before, now)) return Vel::None;
   bool const sameSpec = before.pathSpecType == now.pathSpecType && before.pathSpec == now.pathSpec;
   bool const withoutFailure = isInOrder(before) && isInOrder(now) && before.stateTransitions == now.stateTransitions;
   return sameSpec && withoutFailure ? TunnelChange::reoptimized : TunnelChange::rerouted;
}

}  // namespace MplsSnmp
