// SPDX-License-Identifier: MIT
#include "tools/simulate/Network.h"

#include <fmt/format.h>

#include <cassert>

namespace Tools::Simulation {

namespace {

// Row by row from north to south, from west to east.
constexpr std::array<std::string_view, 48> kCities{
      "dub", "edi", "osl", "cph", "sto", "hel", "rig", "vno", "ala", "uln", "sap", "anc", "yvr", "cgy", "wpg", "yul",
      "lon", "ams", "fra", "ber", "prg", "waw", "iev", "ist", "tas", "bjs", "sel", "tyo", "sea", "den", "chi", "nyc",
      "mad", "par", "mil", "vie", "bud", "buh", "ath", "tlv", "del", "hkg", "tpe", "osa", "sfo", "phx", "dal", "mia"};

std::uint32_t address(unsigned a, unsigned b, unsigned c, unsigned d) { return a << 24U | b << 16U | c << 8U | d; }

}  // namespace

Network::Network(std::uint64_t seed) {
   static_assert(kCities.size() == kPops);
   Random random(seed, 0);
   for (auto& edges : edges_) edges = 4 + random.below(kPopCapacity - kCores - 4 + 1);
   headEnd_ = routerAt(kColumns + random.below(kColumns), 0);
}

std::vector<Network::Course> Network::courses(unsigned pop, unsigned hops) const {
   std::vector<Course> found;
   if (hops == 0) return found;
   unsigned const home = popOf(headEnd_);
   unsigned const here = home / kColumns;
   unsigned const there = pop / kColumns;
   unsigned const rows = here < there ? there - here : here - there;
   unsigned const eastward = (pop + kColumns - home) % kColumns;
   auto const add = [&](unsigned columns, bool east) {
      unsigned const moves = columns + rows;
      unsigned const steps = hops - 1;  // The last hop leads to the edge router.
      if (moves > steps || steps - moves > (moves + 1) * (kCores - 1)) return;
      found.push_back({columns, east, rows, here < there, steps - moves});
   };
   add(eastward, true);
   if (eastward != 0) add(kColumns - eastward, false);
   return found;
}

std::vector<Router> Network::egresses(unsigned hops) const {
   assert(hops <= kMostHops);
   std::vector<Router> found;
   for (unsigned pop = 0; pop < kPops; ++pop) {
      if (hops > 0 && courses(pop, hops).empty()) continue;
      for (unsigned edge = 0; edge < edges_[pop]; ++edge) found.push_back(routerAt(pop, kCores + edge));
   }
   return found;
}

Path Network::path(Router egress, unsigned hops, Random& random) const {
   Path path;
   if (hops == 0) return path;
   auto const ways = courses(popOf(egress), hops);
   assert(!ways.empty());
   auto left = random.pick(ways);
   unsigned pop = popOf(headEnd_);
   unsigned core = slotOf(headEnd_);
   std::vector<unsigned> unused{1, 2, 3};  // Core routers of this POP that the path has not met.
   path.reserve(hops);
   while (path.size() + 1 < hops) {
      // There must remain as many POPs as are needed for the rest of the crossovers.
      unsigned const moves = left.columns + left.rows;
      unsigned const mayMove = left.crossovers <= moves * (kCores - 1) ? moves : 0;
      unsigned const mayCross = unused.empty() ? 0 : left.crossovers;
      unsigned const choice = random.below(mayMove + mayCross);
      if (choice < mayMove) {
         if (choice < left.columns) {
            pop = left.east ? eastOf(pop) : westOf(pop);
            --left.columns;
         } else {
            pop = left.south ? pop + kColumns : pop - kColumns;
            --left.rows;
         }
         unused.clear();
         for (unsigned other = 0; other < kCores; ++other) {
            if (other != core) unused.push_back(other);
         }
      } else {
         auto const next = unused.begin() + random.below(static_cast<std::uint32_t>(unused.size()));
         core = *next;
         unused.erase(next);
         --left.crossovers;
      }
      path.push_back(routerAt(pop, core));
   }
   path.push_back(egress);
   return path;
}

std::string_view Network::city(Router router) const { return kCities[popOf(router)]; }

std::string Network::name(Router router) const {
   return isCore(router) ? fmt::format("{}-cr{}", city(router), slotOf(router) + 1)
                         : fmt::format("{}-pe{}", city(router), slotOf(router) - kCores + 1);
}

Lanu::IpGenAddr Network::loopback(Router router) const {
   // Edge routers came in two generations, and the addresses of the second from another block.
   bool const second = !isCore(router) && slotOf(router) % 2 != 0;
   return Lanu::IpGenAddr::fromHostOrder(second ? address(172, 31, popOf(router), slotOf(router) + 1)
                                                : address(10, 255, popOf(router), slotOf(router) + 1));
}

std::uint32_t Network::linkOwnedBy(Router owner, Router other) {
   unsigned const pop = popOf(owner);
   unsigned const slot = slotOf(owner);
   auto const link = [&](unsigned kind, unsigned number) { return address(10, pop + 1, kind, 2 * number); };
   if (!isCore(owner)) return 0;
   if (popOf(other) == pop) return slot < slotOf(other) ? link(16 + slotOf(other), slot) : 0;
   if (slotOf(other) != slot) return 0;
   if (popOf(other) == eastOf(pop)) return link(0, slot);
   return popOf(other) == pop + kColumns ? link(1, slot) : 0;
}

bool Network::linked(Router one, Router other) const { return linkOwnedBy(one, other) || linkOwnedBy(other, one); }

Lanu::IpGenAddr Network::hopAddress(Router from, Router to) const {
   assert(linked(from, to));
   auto const link = linkOwnedBy(from, to);
   return Lanu::IpGenAddr::fromHostOrder(link ? link + 1 : linkOwnedBy(to, from));
}

}  // namespace Tools::Simulation
