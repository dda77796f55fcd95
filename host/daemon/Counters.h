// SPDX-License-Identifier: MIT
#pragma once

#include "host/daemon/Options.h"
#include "inputs/tallies/CounterTable.h"

namespace Daemon {

/// The counters that the forwarding plane writes (`--counters`); without a name for them all read as zero. Throws
/// std::invalid_argument for a name that shared memory cannot have.
Vel::Ptr<Tallies::CounterTable> counterTable(Options const& options);

}  // namespace Daemon
