// SPDX-License-Identifier: MIT
// How mplsted's allocator is set. The process is ours, and so is the choice of its allocator: rows and inputs are
// millions of small objects, and net-snmp makes a variable of more than a kilobyte for each repetition of a GETBULK.
#include "host/daemon/Allocator.h"

#ifdef MPLSTE_MIMALLOC
#include <mimalloc.h>
#endif

namespace Daemon {

void freeMemoryIs([[maybe_unused]] FreeMemory what) {
#ifdef MPLSTE_MIMALLOC
   // Milliseconds. The allocators of the sanitizers do as they think right.
   mi_option_set(mi_option_decommit_delay, what == FreeMemory::returned ? 0 : 10'000);
#endif
}

}  // namespace Daemon
