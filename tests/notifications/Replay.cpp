// SPDX-License-Identifier: MIT
#include "tests/notifications/Replay.h"

#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "mib/MplsTunnelTableEntryRsvp.h"

namespace Notified {

namespace {

using Kind = Snmp::TunnelEvent::Kind;

Known knownFrom(Snmp::TunnelEvent::State const& state) {
   return {.up = state.operStatus == 1, .index = state.index, .lsp = state.lsp, .path = state.path};
}

}  // namespace

Table tableOf(MplsSnmp::MplsTeMib const& mib) {
   struct Row {
      bool active;
      Known known;
   };
   std::map<std::string, std::vector<Row>> rows;
   for (auto const& node : mib.mplsTunnelTable()) {
      auto const& row = dynamic_cast<MplsSnmp::MplsTunnelTableEntryRsvp const&>(*node.value());
      auto const& status = *row.subTunnelStatus();
      auto const& key = row.key();
      Known known{.up = status.up(),
                  .index = {key.tunnelIndex, key.tunnelInstance, key.tunnelIngressLsrId, key.tunnelEgressLsrId},
                  .lsp = row.lspRequestStatus()->id().valueToStrep(),
                  .locallyRepaired = row.localProtectInUse()};
      for (auto const& hop : status.activePath().hop()) known.path.push_back(hop.value().valueToStrep());
      rows[status.id().valueToStrep()].push_back({row.lspRequestStatus()->id() == status.activeLsp(), known});
   }
   Table table;
   for (auto const& [tunnel, all] : rows) {
      auto const actives = std::ranges::count(all, true, &Row::active);
      for (Row const& row : all) {
         if (actives != 1 || row.active) table[tunnel].push_back(row.known);
      }
   }
   return table;
}

void Replay::begins(Table const& table) {
   for (auto const& [tunnel, candidates] : table) known_[tunnel] = candidates.front();
}

void Replay::take(Snmp::TunnelEvent const& event) {
   auto const refuse = [&](std::string_view why) {
      wrong_.push_back(fmt::format("event {} of {}: {}", static_cast<int>(event.kind), event.tunnel, why));
   };
   Known& known = known_[event.tunnel];
   Known const from = knownFrom(event.from);
   Known const to = knownFrom(event.to);
   if (from.up != known.up) refuse("it begins with another status than that which was told");
   if (known.up && !from.isAsTold(known)) refuse("it begins with another row, LSP or path than was told");
   bool const stays = event.kind == Kind::rerouted || event.kind == Kind::reoptimized;
   if (from.up != (stays || event.kind == Kind::down)) refuse("the tunnel was not so before");
   if (to.up != (event.kind != Kind::down)) refuse("the tunnel is not so behind it");
   if (event.to.operStatus != (to.up ? 1 : 2) || event.to.adminStatus != 1) refuse("the objects say something else");
   known = to;
   taken_[event.tunnel].push_back(event.kind);
   ++told_;

   lately_.push_back(now);
   while (lately_.front() <= now - std::chrono::seconds(1)) lately_.pop_front();
   if (rate_ != 0 && lately_.size() > rate_) refuse("more than may be sent in a second");
   if (!room) refuse("there was no room for it");
}

std::vector<std::string> differences(std::map<std::string, Known> const& known, Table const& table) {
   std::vector<std::string> found;
   std::set<std::string> tunnels;
   for (auto const& [tunnel, ignored] : known) tunnels.insert(tunnel);
   for (auto const& [tunnel, ignored] : table) tunnels.insert(tunnel);
   for (auto const& tunnel : tunnels) {
      auto const told = known.find(tunnel);
      Known const mine = told == known.end() ? Known() : told->second;
      auto const rows = table.find(tunnel);
      bool const right = rows == table.end() ? !mine.up : std::ranges::any_of(rows->second, [&](Known const& theirs) {
         return theirs.isAsTold(mine);
      });
      if (right) continue;
      auto const text = [](Known const& state) {
         return state.up ? fmt::format("up {} {}.{}", state.lsp, state.index[0], state.index[1]) : std::string("down");
      };
      std::string candidates = rows == table.end() ? "no row" : "";
      if (rows != table.end()) {
         for (auto const& candidate : rows->second) candidates += (candidates.empty() ? "" : " or ") + text(candidate);
      }
      found.push_back(fmt::format("{} is told to be {}, and is {}", tunnel, text(mine), candidates));
   }
   return found;
}

}  // namespace Notified
