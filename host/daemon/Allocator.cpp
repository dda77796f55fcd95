// SPDX-License-Identifier: MIT
// How mplsted's allocator is set. The process is ours, and so is the choice of its allocator: rows and inputs are
// millions of small objects, and net-snmp clones every variable of a GETBULK several times.
#include <mimalloc.h>

namespace {

/// What is freed goes back to the system at once. A state that has been loaded or replaced leaves tens of megabytes
/// behind that nothing would use before the next one.
[[maybe_unused]] bool const returnsMemory = [] {
   mi_option_set(mi_option_decommit_delay, 0);
   return true;
}();

}  // namespace
