// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

#include "tools/Print.h"

namespace Tools {

/// mplsted's status (docs/state.md) for people. What the status does not hold is left out.
std::vector<std::string> statusLines(Json const& status);

}  // namespace Tools
