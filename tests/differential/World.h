// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "mib/MplsTeMib.h"
#include "tests/differential/Ber.h"

namespace Differential {

/// Rows that come and go, and requests that are likely to meet them: their indices are made of few values, among them
/// the least and the greatest that there are.
class World {
 public:
   using Random = std::mt19937_64;

   /// `communities`: who asks. `isAllSendable`: there are no rows of which a column cannot be sent.
   World(std::uint64_t seed, MplsSnmp::MplsTeMib& mib, std::vector<std::string> communities, bool isAllSendable)
         : random_(seed), mib_(mib), communities_(std::move(communities)), isAllSendable_(isAllSendable) {}

   /// Puts or removes a few rows; now and then all of a table.
   void change();
   Request request();
   /// The message of a request, now and then with octets that are not right.
   Octets message(Request const& request);

   std::size_t roll(std::size_t sides) { return random_() % sides; }

 private:
   template <class T>
   T const& oneOf(std::vector<T> const& choices) {
      return choices[roll(choices.size())];
   }

   MplsSnmp::MplsTunnelTableKey tunnelKey();
   MplsSnmp::MplsTunnelHopTableKey hopKey();
   void putTunnel();
   void putHop();
   Name name();
   Name index(bool ofHop);

   Random random_;
   MplsSnmp::MplsTeMib& mib_;
   std::vector<std::string> const communities_;
   bool const isAllSendable_;
   std::uint32_t id_ = 0;
};

}  // namespace Differential
