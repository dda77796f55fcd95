// SPDX-License-Identifier: MIT
#pragma once

#include <chrono>
#include <cstddef>

namespace Publish {

/// What bounds the memory that publishers can take, and for how long one can keep others waiting. All connections
/// together hold at most
///
///   connections x (2 x smallLine + 2 x unread)  +  largeLines x (longestLine + 64 KiB)
///
/// octets of lines and answers, and one copy of the document for those who ask for it.
struct Limits {
   /// Octets of a line, its end not counted.
   std::size_t longestLine = std::size_t{16} << 20U;
   /// A line beyond this is a large one. Only so many of these are held at a time, from this size on until they are
   /// applied; who else begins one waits for his turn.
   std::size_t smallLine = std::size_t{16} << 10U;
   std::size_t largeLines = 4;
   /// A connection is not read while its publisher leaves this many octets of answers unread.
   std::size_t unread = std::size_t{16} << 10U;
   std::size_t connections = 1024;
   /// Who keeps others waiting, with a large line that does not come on or a document that is not read, is cut off when
   /// this has passed without anything moving, or `longestTurn` in all.
   std::chrono::milliseconds stall{10'000};
   std::chrono::milliseconds longestTurn{60'000};
};

}  // namespace Publish
