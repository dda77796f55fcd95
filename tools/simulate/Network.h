// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "inputs/lanu/IpGenAddr.h"
#include "tools/simulate/Random.h"

namespace Tools::Simulation {

/// Longest path that there is from every head end.
inline constexpr unsigned kMostHops = 64;

/// A router: its number in the network.
using Router = std::uint16_t;

/// The routers behind the head end, in order; the last is the egress. Without hops, a path that is not known.
using Path = std::vector<Router>;

/// A made-up backbone around the globe, the same for the same seed.
///
/// Points of presence (POPs) in cities stand in a grid of three rows, closed to a ring from west to east. Each has four
/// core routers, linked to each other and, each in its own plane, to those of the neighbouring POPs; and some edge
/// routers, linked to all four. All links are /31s out of 10.0.0.0/8. The head end is a core router of the middle row.
class Network {
 public:
   explicit Network(std::uint64_t seed);

   Router headEnd() const { return headEnd_; }

   /// The edge routers that can be reached in exactly so many hops, at least one; with 0 hops, all edge routers.
   /// REQUIRES: hops <= kMostHops.
   std::vector<Router> egresses(unsigned hops) const;

   /// A path without loops from the head end, of exactly so many hops. REQUIRES: egress is one of egresses(hops).
   Path path(Router egress, unsigned hops, Random& random) const;

   /// Of the POP: three letters.
   std::string_view city(Router router) const;
   /// Of city and role, such as "par-pe3" (edge) and "lon-cr1" (core).
   std::string name(Router router) const;
   /// The LSR id. Those of edge routers lie on both sides of 128.0.0.0.
   Lanu::IpGenAddr loopback(Router router) const;

   bool linked(Router one, Router other) const;
   /// The address of `to` on its link from `from`: the hop's address. REQUIRES: linked(from, to).
   Lanu::IpGenAddr hopAddress(Router from, Router to) const;

 private:
   static constexpr unsigned kRows = 3;
   static constexpr unsigned kColumns = 16;
   static constexpr unsigned kPops = kRows * kColumns;
   static constexpr unsigned kCores = 4;         // Of each POP: numbers 0 to 3, edge routers follow.
   static constexpr unsigned kPopCapacity = 16;  // Routers' numbers per POP.

   // What a path from the head end does: go from POP to POP along rows and columns, never back, and cross over to
   // other core routers on the way. So it meets no router twice.
   struct Course {
      unsigned columns;     // To go
      bool east;            // in this direction,
      unsigned rows;        // and rows to go
      bool south;           // in this one.
      unsigned crossovers;  // From core to core in one POP, altogether.
   };

   static unsigned popOf(Router router) { return router / kPopCapacity; }
   static unsigned slotOf(Router router) { return router % kPopCapacity; }
   static bool isCore(Router router) { return slotOf(router) < kCores; }
   static Router routerAt(unsigned pop, unsigned slot) { return static_cast<Router>(pop * kPopCapacity + slot); }
   static unsigned eastOf(unsigned pop) { return pop / kColumns * kColumns + (pop + 1) % kColumns; }
   static unsigned westOf(unsigned pop) { return pop / kColumns * kColumns + (pop + kColumns - 1) % kColumns; }

   std::vector<Course> courses(unsigned pop, unsigned hops) const;

   // The lower address of the link, which belongs to `owner`; 0 when there is none with that owner.
   static std::uint32_t linkOwnedBy(Router owner, Router other);

   std::array<unsigned, kPops> edges_{};  // Edge routers of each POP.
   Router headEnd_;
};

}  // namespace Tools::Simulation
