// SPDX-License-Identifier: MIT
#include "host/daemon/Counters.h"

#include "inputs/tallies/ShmCounterTable.h"

namespace Daemon {

Vel::Ptr<Tallies::CounterTable> counterTable(Options const& options) {
   constexpr char entity[] = "mplsTunnelCounterTable";
   if (options.counters.empty()) return Vel::makePtr<Tallies::CounterTable>(entity);
   return Vel::makePtr<Tallies::ShmCounterTable>(
         entity, Tallies::ShmCounterTable::Options{.name = options.counters, .owner = options.countersOwner});
}

}  // namespace Daemon
