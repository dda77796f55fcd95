// SPDX-License-Identifier: MIT
#pragma once

namespace Vel {

/// Has the processor fetch the beginning of an object, of which the first 128 octets are enough, while it does other
/// work. Never faults, whatever the pointer.
inline void fetchAhead(void const* object) {
   auto const* const first = static_cast<char const*>(object);
   __builtin_prefetch(first);
   __builtin_prefetch(first + 64);
}

}  // namespace Vel
