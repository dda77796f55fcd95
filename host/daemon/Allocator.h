// SPDX-License-Identifier: MIT
#pragma once

namespace Daemon {

/// What becomes of memory that mplsted has freed. What it frees in its own callbacks goes back to the system at once: a
/// state that is loaded or replaced and the lines of publishers leave tens of megabytes behind that nothing would use
/// for long. What net-snmp frees is kept for some seconds: it was that of an answer to a manager, and mapping it anew
/// for the next one would take longer than the answer. Holds for as long as this lives; exists once.
class FreedMemory {
 public:
   FreedMemory();
   ~FreedMemory();
   FreedMemory(FreedMemory const&) = delete;
   FreedMemory& operator=(FreedMemory const&) = delete;
};

}  // namespace Daemon
