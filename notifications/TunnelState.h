// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "inputs/rsvp/Ids.h"
#include "inputs/rsvp/Path.h"
#include "mib/Keys.h"
#include "mib/MplsTunnelTableEntryRsvp.h"
#include "substrate/vel/Optional.h"

namespace MplsSnmp {

/// What a tunnel is like, as far as managers are notified of its changes: a copy, which stays as it is when the inputs
/// go on.
struct TunnelState {
   bool up = false;
   /// Of its row; of the last one that it had when there is none any more.
   MplsTunnelTableKey key{};
   /// The LSP that the row is of, and the path spec that it was signalled for.
   Rsvp::RsvpLerPathSpecType pathSpecType = Rsvp::RsvpLerPathSpecType::primary;
   std::uint32_t request = 0;
   Rsvp::RsvpLerPathSpecId pathSpec{};
   Rsvp::RsvpLerPath path{};
   std::uint32_t stateTransitions = 0;
   /// Whether local protection is in use (mplsTunnelLocalProtectInUse).
   bool locallyRepaired = false;
   /// Whether an error is signalled for the LSP that is no invitation to a better path.
   bool failed = false;

   static TunnelState of(MplsTunnelTableEntryRsvp const& row);
   /// The same tunnel without a row: it is down.
   TunnelState withdrawn() const;

   bool operator==(TunnelState const&) const = default;
};

/// The notifications of MPLS-TE-STD-MIB; the numbers are the last of their object identifiers.
enum class TunnelChange : std::uint8_t { up = 1, down = 2, rerouted = 3, reoptimized = 4 };

/// Which notification takes a manager from one state of a tunnel to another; None when none is due.
///
/// A tunnel that stays up is rerouted when another row, another LSP or another path carries it, or local protection
/// comes into use or goes out of it. That is a reoptimization when it stays on the same of its two path specs, that
/// path spec is the same one, and nothing says that there was a failure: no error is signalled for its LSP, before or
/// after, local protection is not in use, before or after, and the publisher's count of state transitions has not
/// moved.
Vel::Optional<TunnelChange> changeBetween(TunnelState const& before, TunnelState const& now);

}  // namespace MplsSnmp
