// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <string_view>

namespace Tools {

/// Lays out a state document that stands on one line as the store prints it, one entry to a line. Calls `write` with
/// one piece after the other. REQUIRES: `document` is such a document; it is not checked.
void layOutState(std::string_view document, std::function<void(std::string_view)> const& write);

}  // namespace Tools
