// SPDX-License-Identifier: MIT
#include "tools/simulate/Tunnels.h"

#include <fmt/format.h>

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <tuple>
#include <utility>

namespace Tools::Simulation {

namespace {

using Source = Rsvp::RsvpLerTunnelSource;

constexpr std::array<std::string_view, 6> kServices{"bulk", "low-latency", "peering", "transit", "video", "voice"};
// Setup and holding: a tunnel holds what it has at least as firmly as it asks for it.
constexpr std::array<std::pair<unsigned, unsigned>, 8> kPriorities{
      {{7, 7}, {7, 7}, {7, 7}, {7, 0}, {5, 3}, {4, 4}, {2, 1}, {0, 0}}};

Source drawnSource(Random& random) {
   auto const share = random.below(100);
   if (share < 70) return Source::cli;
   return share < 90 ? Source::controller : Source::autoTunnel;
}

// The tunnel's number makes it unique.
std::string drawnName(Network const& network, Source source, Router egress, unsigned number, Random& random) {
   auto const to = network.name(egress);
   switch (source) {
      case Source::cli:
         return fmt::format("to-{}-{}", to, number);
      case Source::autoTunnel:
         return fmt::format("{}@{}-{}", random.percent(50) ? "mesh" : "bypass", to, number);
      case Source::controller:
         break;
   }
   return fmt::format("{}-{}-{}-{}", network.city(network.headEnd()), network.city(egress), random.pick(kServices),
                      number);
}

// Named after where the path leads through.
PathSpec pathSpec(Network const& network, Tunnel const& tunnel, Group group, Path const& path, bool isExplicit) {
   auto const way = isExplicit && !path.empty()
                          ? fmt::format("via-{}", network.city(path[path.size() / 2]))
                          : std::string(tunnel.id.source == Source::cli ? "shortest" : "computed");
   auto const name = fmt::format("{}-{}{}", way, tunnel.tunnelId, group == Group::primary ? "" : "-backup");
   return {{tunnel.id.source, Rsvp::storedName(name)}, isExplicit};
}

double drawnUpSince(Random& random) {
   // Seconds to half a year, and each doubling as likely as the other.
   auto const quarters = 1 + random.below(1U << (6 + random.below(21)));
   return kNow - 0.25 * quarters;
}

void drawSession(Tunnel& tunnel, Random& random) {
   std::tie(tunnel.setupPriority, tunnel.holdingPriority) = random.pick(kPriorities);
   if (!random.percent(25)) return;
   // Bits are link colours, of which the network uses the first eight.
   tunnel.excludeAny = 1U << random.below(4);
   if (random.percent(50)) tunnel.includeAny = 0x30U << random.below(2);
   if (random.percent(30)) tunnel.includeAll = 0x80;
}

Lsp drawnLsp(Tunnel& tunnel, Group group, Path path, Random& random) {
   Lsp lsp;
   lsp.group = group;
   lsp.request = 1 + random.below(random.percent(60) ? 1 : 12);
   lsp.path = std::move(path);
   tunnel.lastLspId += lsp.request;  // Each request of the group had one.
   lsp.lspId = tunnel.lastLspId;
   lsp.upSince = drawnUpSince(random);
   return lsp;
}

void drawCondition(Tunnel& tunnel, Random& random) {
   if (tunnel.lsps.size() > 1 && random.percent(10)) {
      // The primary path has failed, and the standby has taken over.
      tunnel.active().error = kNoRoute;
      std::swap(tunnel.lsps.front(), tunnel.lsps.back());
   }
   tunnel.pathChanges = tunnel.lastLspId - 1 + random.below(4);
   tunnel.stateTransitions = 1 + 2 * random.below(random.percent(50) ? 1 : 10);
   if (random.percent(3)) {
      tunnel.up = false;
      ++tunnel.stateTransitions;
      tunnel.active().error = random.percent(50) ? kNoRoute : kNoBandwidth;
   } else if (tunnel.fastReroute && random.percent(5)) {
      tunnel.active().error = kLocallyRepaired;
   }
}

Tunnel drawnTunnel(HeadEnd const& headEnd, Rsvp::RsvpLerSubTunnelConfigId const& id, std::uint16_t tunnelId,
                   Router egress, Random& random) {
   Tunnel tunnel;
   tunnel.id = id;
   tunnel.tunnelId = tunnelId;
   tunnel.egress = egress;
   tunnel.fastReroute = random.percent(60);
   drawSession(tunnel, random);
   auto const add = [&](Group group, bool isExplicit, bool isSignalled) {
      auto path = headEnd.network.path(egress, headEnd.options.hops, random);
      tunnel.pathSpecs.push_back(pathSpec(headEnd.network, tunnel, group, path, isExplicit));
      if (isSignalled) tunnel.lsps.push_back(drawnLsp(tunnel, group, std::move(path), random));
   };
   add(Group::primary, id.source != Source::autoTunnel && random.percent(75), true);
   if (id.source != Source::autoTunnel && random.percent(35)) {
      bool const isExplicit = random.percent(50);
      add(Group::secondary, isExplicit, random.percent(60));
   }
   drawCondition(tunnel, random);
   return tunnel;
}

Options const& checked(Options const& options) {
   if (options.tunnels < 1 || options.tunnels > kMostTunnels) {
      throw std::invalid_argument(fmt::format("a head end has 1 to {} tunnels", kMostTunnels));
   }
   if (options.hops > kMostHops) throw std::invalid_argument(fmt::format("a path has 0 to {} hops", kMostHops));
   return options;
}

}  // namespace

HeadEnd::HeadEnd(Options const& given) : options(checked(given)), network(given.seed) {
   auto const egresses = network.egresses(options.hops);
   tunnels.reserve(options.tunnels);
   while (tunnels.size() < options.tunnels) {
      // A stream for each makes the first tunnels the same, however many follow.
      auto const number = static_cast<unsigned>(tunnels.size()) + 1;
      Random random(options.seed, number);
      auto const left = options.tunnels - number + 1;
      auto const parts = std::min(random.percent(5) ? 2 + random.below(3) : 1, left);
      auto const source = drawnSource(random);
      auto const egress = random.pick(egresses);
      Rsvp::RsvpLerSubTunnelConfigId id{source, 0,
                                        Rsvp::storedName(drawnName(network, source, egress, number, random))};
      for (unsigned part = 0; part < parts; ++part) {
         id.subTunnel = parts > 1 ? part + 1 : 0;
         tunnels.push_back(drawnTunnel(*this, id, static_cast<std::uint16_t>(number + part), egress, random));
      }
   }
}

}  // namespace Tools::Simulation
