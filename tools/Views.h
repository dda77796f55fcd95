// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <unordered_map>
#include <vector>

#include "tools/TableReader.h"
#include "tools/Text.h"

// What an operator sees of rows that have been read: lines for a terminal, without line ends.

namespace Tools {

using Lines = std::vector<std::string>;

/// One line a tunnel, and the totals. `tunnels` are rows of mplsTunnelTable.
Lines tunnelsView(Rows const& tunnels, bool colour);
/// The columns of mplsTunnelTable that `tunnelsView()` shows.
std::vector<std::uint32_t> tunnelsViewColumns();

/// The tunnels by their mplsTunnelHopTableIndex; those without a hop list (index 0) are left out. Points into
/// `tunnels`.
std::unordered_map<std::uint64_t, Row const*> tunnelsByHopList(Rows const& tunnels);

/// One line a hop with the name of the tunnel that it is a hop of.
Lines hopsView(Rows const& tunnels, Rows const& hops, bool colour);

/// One line a tunnel with its counters: those of 64 bits, or of 32 bits from an agent that has no others.
Lines perfView(Rows const& tunnels, Rows const& counters, bool colour);

/// Everything about one tunnel.
Lines tunnelView(Oid const& index, Row const& tunnel, Rows const& hops, Row const& counters, bool colour);

/// "11 tunnels, 10 up, 1 down", and how many are protected when some are.
std::string tunnelTotals(Rows const& tunnels);

/// The tunnel's operational state, or its administrative one when that is not up.
Cell stateCell(Row const& tunnel);

/// "12/1": mplsTunnelIndex and mplsTunnelInstance.
std::string tunnelId(Oid const& tunnelIndex);

/// mplsTunnelIngressLSRId and mplsTunnelEgressLSRId as dotted quads.
std::string ingress(Oid const& tunnelIndex);
std::string egress(Oid const& tunnelIndex);

}  // namespace Tools
