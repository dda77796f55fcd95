// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>
#include <string_view>

namespace Store {

/// A document or patch was refused, and the state is as it was. The text is one line that names the place:
/// "/subTunnelStatus/cli:to-paris/up: ..." for what is wrong with the content, "line 3, column 14: ..." for what is not
/// JSON.
class StateError : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

/// UTF-8 `text` for use in a message: control characters become \xNN, and what exceeds `limit` octets becomes "...".
std::string printable(std::string_view text, std::size_t limit = 120);

}  // namespace Store
