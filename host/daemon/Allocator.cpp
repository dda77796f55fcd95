// SPDX-License-Identifier: MIT
// How mplsted's allocator is set. The process is ours, and so is the choice of its allocator: rows and inputs are
// millions of small objects, and net-snmp makes a variable of more than a kilobyte for each repetition of a GETBULK.
#include "host/daemon/Allocator.h"

#include "host/loop/Watch.h"

#ifdef MPLSTE_MIMALLOC
#include <mimalloc.h>
#endif

namespace Daemon {

namespace {

/// For what is freed from now on. The allocators of the sanitizers do as they think right.
void returnAfter([[maybe_unused]] long milliseconds) {
#ifdef MPLSTE_MIMALLOC
   mi_option_set(mi_option_decommit_delay, milliseconds);
#endif
}

void setFor(bool ownCallback) { returnAfter(ownCallback ? 0 : 10'000); }

}  // namespace

FreedMemory::FreedMemory() {
   setFor(false);
   Loop::Watch::observerIs(&setFor);
}

FreedMemory::~FreedMemory() {
   Loop::Watch::observerIs(nullptr);
   setFor(true);
}

}  // namespace Daemon
