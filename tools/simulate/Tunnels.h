// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "inputs/rsvp/Ids.h"
#include "tools/simulate/Network.h"
#include "tools/simulate/Random.h"

namespace Tools::Simulation {

using Group = Rsvp::RsvpLerPathSpecType;

/// Most tunnels that a head end can have: tunnel ids have 16 bits, and 0 is not used.
inline constexpr std::uint32_t kMostTunnels = 65535;

/// "Now" in the documents, in seconds since 1970-01-01 00:00 UTC: nothing came up later.
inline constexpr double kNow = 1'760'000'000;

/// RSVP's ERROR_SPEC (RFC 2205, RFC 3209).
struct Error {
   unsigned code;
   unsigned value;
   bool operator==(Error const&) const = default;
};
inline constexpr Error kNoBandwidth{1, 2};
inline constexpr Error kNoRoute{24, 5};
inline constexpr Error kLocallyRepaired{25, 3};

struct PathSpec {
   Rsvp::RsvpLerPathSpecId id;
   bool isExplicit = false;  // Else dynamic.
   unsigned revision = 1;    // How often it was edited: from 2 on it stands in the name.
};

/// A signalled LSP.
struct Lsp {
   Group group = Group::primary;
   std::uint32_t request = 1;
   std::uint32_t lspId = 1;
   Path path;
   std::optional<Error> error;
   double upSince = kNow;  ///< Seconds since 1970-01-01 00:00 UTC, a multiple of 1/4.
};

/// A tunnel, or a part of a split one: what has a row. It always has an LSP, also while it is down.
struct Tunnel {
   Rsvp::RsvpLerSubTunnelConfigId id;
   std::uint16_t tunnelId = 0;
   Router egress = 0;

   std::vector<PathSpec> pathSpecs;  ///< The primary one; perhaps the secondary one.
   bool fastReroute = false;
   unsigned setupPriority = 7;
   unsigned holdingPriority = 7;
   std::uint32_t excludeAny = 0;
   std::uint32_t includeAny = 0;
   std::uint32_t includeAll = 0;

   bool present = true;  ///< Whether it is there at all.
   bool up = true;
   std::uint32_t pathChanges = 0;
   std::uint32_t stateTransitions = 1;  ///< Odd while it is up.
   std::vector<Lsp> lsps;               ///< The active one first.
   std::uint32_t lastLspId = 0;

   Lsp& active() { return lsps.front(); }
   Lsp const& active() const { return lsps.front(); }
};

struct Options {
   std::uint32_t tunnels = 100;  ///< 1 to kMostTunnels.
   std::uint32_t hops = 5;       ///< 0 to kMostHops, the same for every tunnel.
   std::uint64_t seed = 1;
};

/// A head end with its tunnels: a function of the options. Tunnel ids count from 1.
struct HeadEnd {
   Options options;
   Network network;
   std::vector<Tunnel> tunnels;

   /// Throws std::invalid_argument when the options are out of range.
   explicit HeadEnd(Options const& given);
};

}  // namespace Tools::Simulation
