// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>

#include "tools/SnmpClient.h"

namespace Tools {

/// A tunnel's 64-bit counters (mplsTunnelPerfHCPackets, mplsTunnelPerfHCBytes) as far as they came.
struct Counters {
   std::optional<std::uint64_t> packets;
   std::optional<std::uint64_t> bytes;
};

/// How fast a tunnel's counters have grown between two readings.
struct Rates {
   std::optional<double> packets;  ///< Per second; nothing when either reading lacks it.
   std::optional<double> bytes;    ///< Per second; nothing when either reading lacks it.
   bool restarted = false;         ///< A counter went back, so there are no rates: it began anew between the readings.
};

/// Turns successive readings of all tunnels' counters into rates.
class RateMeter {
 public:
   using Clock = std::chrono::steady_clock;
   using Reading = std::map<Oid, Counters>;

   /// The rates since the reading before, for each tunnel of `reading`; a tunnel that was not in the reading before has
   /// none yet.
   std::map<Oid, Rates> next(Reading reading, Clock::time_point at);

 private:
   Reading before_;
   Clock::time_point beforeAt_;
};

}  // namespace Tools
