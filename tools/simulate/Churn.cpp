// SPDX-License-Identifier: MIT
#include "tools/simulate/Churn.h"

#include <array>
#include <cstdint>
#include <utility>

namespace Tools::Simulation {

namespace {

// The tunnels have drawn from the streams of their numbers.
constexpr std::uint64_t kStream = std::uint64_t{kMostTunnels} + 1;

enum class Event { setUp, switchOver, reroute, edit, goDown, remove };

// How many of a hundred.
constexpr std::array<std::pair<Event, std::uint32_t>, 6> kEvents{{{Event::setUp, 35},
                                                                  {Event::switchOver, 15},
                                                                  {Event::reroute, 15},
                                                                  {Event::edit, 10},
                                                                  {Event::goDown, 17},
                                                                  {Event::remove, 8}}};
// How often, in a hundred events, what has begun is finished before it has to be.
constexpr std::uint32_t kFinish = 30;

Event drawnEvent(Random& random) {
   auto left = random.below(100);
   for (auto const& [event, share] : kEvents) {
      if (left < share) return event;
      left -= share;
   }
   return kEvents.back().first;
}

}  // namespace

Churn::Churn(HeadEnd headEnd)
      : headEnd_(std::move(headEnd)), random_(headEnd_.options.seed, kStream), pending_(headEnd_.tunnels.size()) {}

Json Churn::next() {
   now_ += 0.25 * (1 + random_.below(16));
   auto const tunnels = static_cast<std::uint32_t>(pending_.size());
   bool const full = waiting_.size() >= (tunnels + 19) / 20;
   bool const finishes = full || (!waiting_.empty() && random_.percent(kFinish));
   std::size_t tunnel = 0;
   if (finishes) {
      tunnel = waiting_.front();
   } else {
      // Not all of them wait for something.
      tunnel = random_.below(tunnels);
      while (pending_[tunnel] != Pending::nothing) tunnel = (tunnel + 1) % tunnels;
   }
   auto const before = entriesOf(headEnd_.network, headEnd_.tunnels[tunnel]);
   finishes ? finish(tunnel) : begin(tunnel);
   return mergePatch(before, entriesOf(headEnd_.network, headEnd_.tunnels[tunnel]));
}

void Churn::begin(std::size_t number) {
   auto& tunnel = headEnd_.tunnels[number];
   if (!tunnel.up) return comeUp(tunnel);
   auto const wait = [&](Pending what) {
      pending_[number] = what;
      waiting_.push_back(number);
   };
   auto event = drawnEvent(random_);
   if (event == Event::switchOver && tunnel.lsps.size() == 1) event = Event::setUp;
   if (event == Event::reroute && !reroute(tunnel)) event = Event::edit;
   switch (event) {
      case Event::setUp:
         setUpLsp(tunnel);
         wait(Pending::takeover);
         break;
      case Event::switchOver:
         switchOver(tunnel);
         if (tunnel.active().group == Group::secondary) wait(Pending::reversion);
         break;
      case Event::reroute:
         break;  // Has been done.
      case Event::edit:
         edit(tunnel.pathSpecs[random_.below(static_cast<std::uint32_t>(tunnel.pathSpecs.size()))]);
         break;
      case Event::goDown:
         goDown(tunnel);
         wait(Pending::recovery);
         break;
      case Event::remove:
         tunnel.present = false;
         wait(Pending::configuration);
         break;
   }
}

void Churn::finish(std::size_t number) {
   waiting_.pop_front();
   auto& tunnel = headEnd_.tunnels[number];
   switch (std::exchange(pending_[number], Pending::nothing)) {
      case Pending::nothing:
         break;
      case Pending::takeover:
         // What was set up stands at the end, and takes the place of the active one.
         tunnel.active() = std::move(tunnel.lsps.back());
         tunnel.lsps.pop_back();
         ++tunnel.pathChanges;
         break;
      case Pending::reversion:
         switchOver(tunnel);
         break;
      case Pending::recovery:
         comeUp(tunnel);
         break;
      case Pending::configuration:
         configure(tunnel);
         break;
   }
}

Lsp Churn::newLsp(Tunnel& tunnel, Group group, std::uint32_t request) {
   Lsp lsp;
   lsp.group = group;
   lsp.request = request;
   lsp.lspId = ++tunnel.lastLspId;
   lsp.upSince = now_;
   lsp.path = headEnd_.network.path(tunnel.egress, headEnd_.options.hops, random_);
   return lsp;
}

void Churn::setUpLsp(Tunnel& tunnel) {
   auto const& active = tunnel.active();
   tunnel.lsps.push_back(newLsp(tunnel, active.group, active.request + 1));
}

void Churn::switchOver(Tunnel& tunnel) {
   std::swap(tunnel.lsps[0], tunnel.lsps[1]);
   tunnel.lsps[0].error.reset();
   if (tunnel.lsps[1].group == Group::primary) tunnel.lsps[1].error = kNoRoute;
   ++tunnel.pathChanges;
}

// False when there is no other path of that length.
bool Churn::reroute(Tunnel& tunnel) {
   auto& active = tunnel.active();
   auto path = headEnd_.network.path(tunnel.egress, headEnd_.options.hops, random_);
   if (path == active.path) return false;
   active.path = std::move(path);
   if (active.error) {
      active.error.reset();
   } else if (tunnel.fastReroute) {
      active.error = kLocallyRepaired;
   }
   ++tunnel.pathChanges;
   return true;
}

void Churn::edit(PathSpec& spec) {
   if (random_.percent(50)) {
      spec.isExplicit = !spec.isExplicit;
   } else {
      ++spec.revision;
   }
}

void Churn::goDown(Tunnel& tunnel) {
   tunnel.up = false;
   ++tunnel.stateTransitions;
   tunnel.active().error = random_.percent(50) ? kNoRoute : kNoBandwidth;
}

void Churn::comeUp(Tunnel& tunnel) {
   tunnel.up = true;
   ++tunnel.stateTransitions;
   tunnel.active().error.reset();
   tunnel.active().upSince = now_;
}

// As it was configured before, with nothing of what happened to it.
void Churn::configure(Tunnel& tunnel) {
   tunnel.present = true;
   tunnel.pathChanges = 0;
   tunnel.stateTransitions = 1;
   tunnel.lsps.assign(1, newLsp(tunnel, Group::primary, 1));
}

}  // namespace Tools::Simulation
