// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "inputs/rsvp/Ids.h"

namespace Tools {

/// A tunnel value (the key of a counter) as people write it: TYPE:INDEX, such as "16:12"; in
/// hexadecimal where it has more to it than these two.
std::string tunnelText(std::uint64_t tunnelValue);

/// A decimal number. Throws std::invalid_argument that quotes `text`.
std::uint64_t toNumber64(std::string_view text);

/// The tunnels by the names they have in the published state.
class TunnelNames {
 public:
   /// Knows no tunnel.
   TunnelNames() = default;
   /// The tunnels that the state document in `file` gives an index to. Throws std::runtime_error that names the place.
   explicit TunnelNames(std::string const& file);

   /// The sub-tunnel id of a tunnel value, or empty.
   std::string_view nameOf(std::uint64_t tunnelValue) const;

   /// All tunnel values, in order.
   std::vector<std::uint64_t> all() const;

   /// Takes one tunnel off the front of `words`: "16:INDEX", "20:INDEX", "tunnel INDEX", "subtunnel INDEX" (two words),
   /// or a sub-tunnel id that has an index. Returns its tunnel value. Throws std::invalid_argument.
   std::uint64_t take(std::span<std::string const>& words) const;

 private:
   std::uint64_t valueOf(std::string const& id) const;

   std::string file_;
   std::map<Rsvp::RsvpLerSubTunnelConfigId, std::uint64_t> values_;
   std::map<std::uint64_t, std::string> names_;
};

}  // namespace Tools
