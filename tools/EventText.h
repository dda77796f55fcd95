// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "tools/Print.h"

namespace Tools {

/// An event of mplsted on one line for people: when, what, which tunnel, and what it was and is. Whatever is missing in
/// it is a "-".
std::string eventLine(Json const& event, bool colour);

}  // namespace Tools
