// SPDX-License-Identifier: MIT
#pragma once

namespace Daemon {

/// Decides what becomes of memory that mplsted frees in the turn of the loop that begins. While tasks have work it goes
/// back to the system at once: a state that is loaded or replaced leaves tens of megabytes behind that nothing would
/// use for long. Otherwise it is kept for some seconds: it was that of an answer to a manager, and mapping it anew for
/// the next one would take longer than the answer.
void decideAboutFreedMemory();

}  // namespace Daemon
