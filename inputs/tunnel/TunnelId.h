// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace Tunnel::TunnelTable {

/// Identifies a tunnel in the forwarding plane, across all kinds of tunnels.
struct TunnelId {
   /// The kinds of tunnel that the head end of an RSVP-TE tunnel knows.
   enum class Type : std::uint8_t { rsvpTunnel = 16, rsvpSubTunnel = 20 };

   /// The 64-bit tunnel value: the type in the highest octet, the index in the low 32 bits.
   static constexpr std::uint64_t convertToTunnelValue(Type type, std::uint32_t index) {
      return (static_cast<std::uint64_t>(type) << 56U) | index;
   }
};

}  // namespace Tunnel::TunnelTable
