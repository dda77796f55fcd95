// SPDX-License-Identifier: MIT
/// Names inside ids: percent-encoding of the characters that the ids' own punctuation needs.
#pragma once

#include <string>
#include <string_view>

namespace Rsvp {

/// Longest name, in octets of UTF-8.
inline constexpr std::size_t kMaxNameLength = 1024;

/// Encodes "%", "#", "@" and control characters as "%XX".
std::string encodeName(std::string_view name);

/// Decodes an encoded name into `name`. Returns why that cannot be done, or an empty text: a name is 1 to
/// kMaxNameLength octets of valid UTF-8 without NUL, and what must be encoded is.
std::string decodeName(std::string_view encoded, std::string& name);

}  // namespace Rsvp
