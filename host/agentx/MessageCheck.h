// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace AgentX {

/// What a message of AgentX may hold, here and in net-snmp's library, which reads more than it can hold.
struct MessageLimits {
   /// Of an object identifier (RFC 2578, 3.5): what everything behind the reading of messages has room for.
   static constexpr std::size_t kSubidentifiers = 128;
   /// Octets of a context's name (RFC 3411, 3.3.1).
   static constexpr std::size_t kContext = 255;
   /// Octets of a message with its header: the longest that net-snmp reads.
   static constexpr std::size_t kOctets = 65536;
};

/// What is wrong with a message, as far as its receiver can answer.
enum class Fault : std::uint8_t {
   none,
   malformed,  ///< not what RFC 2741 says that such a message is
   tooLong     ///< well-formed as far as was looked, and more than can be taken
};

/// Looks through the message of `length` octets at `data`, header and all, before anything else reads it: that it is of
/// a type that a master sends, all of its parts within it and within the limits of RFC 2741 and of the library, each
/// value of a type that there is, no name of a context with a NUL inside. Does not allocate.
Fault faultOf(unsigned char const* data, std::size_t length);

}  // namespace AgentX
