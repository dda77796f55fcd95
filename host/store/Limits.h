// SPDX-License-Identifier: MIT
/// What one entry of the document may hold. An entry is checked and applied in one go, and requests wait meanwhile:
/// with these limits it takes a millisecond at most.
#pragma once

#include <cstddef>

namespace Store {

/// Hops of a path. RSVP's own objects have room for less.
constexpr std::size_t kMostHops = 256;
/// Hops that one change of a path may name: all that there were, to remove them, and as many new ones.
constexpr std::size_t kMostHopsNamed = 2 * kMostHops;
/// Errors of an LSP request.
constexpr std::size_t kMostErrors = 64;

/// Octets of a text in the document, as it stands there. The longest id takes 18 KiB when all of it is escaped twice.
constexpr std::size_t kLongestText = std::size_t{32} << 10U;
/// Characters of a number in the document.
constexpr std::size_t kLongestNumber = 128;

/// Entries of a collection: four LSP requests for each tunnel that the MIB has room for.
constexpr std::size_t kMostEntries = 4 * 65536;
/// Entries of a collection that one document may name: all that there may be, to remove them, and as many new ones.
constexpr std::size_t kMostNamed = 2 * kMostEntries;

}  // namespace Store
