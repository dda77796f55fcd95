// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "tools/Print.h"

namespace Tools {

/// The trace handles that mplsted lists ({"$trace": null}): each with the levels in force and what its levels show.
std::vector<std::string> traceLines(Json const& traces);

}  // namespace Tools
