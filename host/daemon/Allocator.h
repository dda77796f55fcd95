// SPDX-License-Identifier: MIT
#pragma once

namespace Daemon {

/// What becomes of memory that is not used any more: it goes back to the system at once, or waits to be used again.
enum class FreeMemory { returned, kept };

/// Sets it for what is freed from now on. A state that is loaded or replaced leaves tens of megabytes behind that
/// nothing would use before the next one; that of an answer is used again for the next answer, and mapping it anew
/// would take longer than the answer.
void freeMemoryIs(FreeMemory what);

}  // namespace Daemon
