// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string_view>

#include "tools/simulate/Tunnels.h"

// Tunnels in the form of the published state (docs/state.md).

namespace Tools::Simulation {

using Json = nlohmann::json;

/// Takes a piece of text.
using Sink = std::function<void(std::string_view)>;

/// Writes the whole document: ids in order, no attribute that has its default, no empty collection, one entry to a
/// line.
void writeDocument(HeadEnd const& headEnd, Sink const& sink);

/// The entries of one tunnel, as they stand in the document; all collections are there, some empty.
Json entriesOf(Network const& network, Tunnel const& tunnel);

/// The least merge patch (RFC 7396) that makes `after` of `before`. REQUIRES: neither holds a null, and both are
/// objects.
Json mergePatch(Json const& before, Json const& after);

}  // namespace Tools::Simulation
