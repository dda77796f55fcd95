// SPDX-License-Identifier: MIT
#pragma once

namespace Vel {

/// A time or a span of time in seconds.
using Seconds = double;

struct System {
   /// Seconds since the epoch.
   static Seconds currentTime();

   /// Replaces the source of the current time; null restores the system clock. Returns the source that was in place.
   using TimeSource = Seconds (*)();
   static TimeSource timeSourceIs(TimeSource source);
};

}  // namespace Vel
