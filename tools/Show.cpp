// SPDX-License-Identifier: MIT
#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <array>
#include <memory>
#include <utility>

#include "tools/Commands.h"
#include "tools/Print.h"
#include "tools/TableReader.h"
#include "tools/Terminal.h"
#include "tools/Views.h"

namespace Tools {

namespace {

struct ShowOptions {
   AgentOptions agent;
   bool json = false;
   std::string tunnel;
};

bool colour() { return colourWanted(STDOUT_FILENO); }

void showTunnels(ShowOptions const& options) {
   SnmpSession session(options.agent);
   auto const tunnels = walk(session, tunnelTable, options.json ? tunnelTable.columnNumbers() : tunnelsViewColumns());
   if (!options.json) return printLines(tunnelsView(tunnels, colour()));
   JsonList json("tunnels");
   for (auto const& [index, tunnel] : tunnels) json.add(toJson(tunnelTable, index, tunnel));
   json.print();
}

// A row of another table with the name of its tunnel (if it is known), so that programs need not join the tables.
Json withTunnelName(Json row, Row const* tunnel) {
   auto const& column = tunnelTable.column(TunnelColumn::name);
   row[std::string(column.object)] = tunnel ? toJson(column, (*tunnel)[column.number]) : Json();
   return row;
}

void showHops(ShowOptions const& options) {
   SnmpSession session(options.agent);
   auto const hops = walk(session, hopTable, hopTable.columnNumbers());
   auto const tunnels = walk(session, tunnelTable, std::array{TunnelColumn::name, TunnelColumn::hopTableIndex});
   if (!options.json) return printLines(hopsView(tunnels, hops, colour()));
   auto const tunnelOfList = tunnelsByHopList(tunnels);
   JsonList json("hops");
   for (auto const& [index, hop] : hops) {
      auto const tunnel = tunnelOfList.find(index.front());
      json.add(withTunnelName(toJson(hopTable, index, hop), tunnel == tunnelOfList.end() ? nullptr : tunnel->second));
   }
   json.print();
}

void showPerf(ShowOptions const& options) {
   SnmpSession session(options.agent);
   auto const counters = walk(session, perfTable, perfTable.columnNumbers());
   auto const tunnels = walk(session, tunnelTable, std::array{TunnelColumn::name});
   if (!options.json) return printLines(perfView(tunnels, counters, colour()));
   JsonList json("perf");
   for (auto const& [index, row] : counters) {
      auto const tunnel = tunnels.find(index);
      json.add(withTunnelName(toJson(perfTable, index, row), tunnel == tunnels.end() ? nullptr : &tunnel->second));
   }
   json.print();
}

void showTunnel(ShowOptions const& options) {
   SnmpSession session(options.agent);
   JsonList json("tunnels");
   Lines lines;
   // More than one tunnel may bear the name: while a new instance is set up, or when they come from different sources.
   for (auto const& [index, named] : walk(session, tunnelTable, std::array{TunnelColumn::name})) {
      if (named[TunnelColumn::name] != Value{options.tunnel}) continue;
      auto const tunnel = readRow(session, tunnelTable, index);
      if (tunnel.empty()) continue;  // Gone since.
      Rows hops;
      if (auto const list = toNumber(tunnel[TunnelColumn::hopTableIndex]); list && *list != 0) {
         hops = walk(session, hopTable, hopTable.columnNumbers(), {static_cast<std::uint32_t>(*list)});
      }
      auto const counters = readRow(session, perfTable, index);
      if (options.json) {
         auto row = toJson(tunnelTable, index, tunnel);
         row["hops"] = Json::array();
         for (auto const& [hopIndex, hop] : hops) row["hops"].push_back(toJson(hopTable, hopIndex, hop));
         row["perf"] = toJson(perfTable, index, counters);
         json.add(row);
      } else {
         if (!lines.empty()) lines.emplace_back();
         auto const view = tunnelView(index, tunnel, hops, counters, colour());
         lines.insert(lines.end(), view.begin(), view.end());
      }
   }
   if (json.empty() && lines.empty()) {
      throw NotFound(fmt::format("no tunnel named \"{}\" at {}: 'mplste show tunnels' lists those there are",
                                 escaped(options.tunnel), session.agent()));
   }
   options.json ? json.print() : printLines(lines);
}

// Returns the new view's options, which belong to it alone: the parser fills those of the other views too, from the
// environment.
std::pair<CLI::App*, std::shared_ptr<ShowOptions>> addView(CLI::App& show, std::string const& name,
                                                           std::string const& description,
                                                           void (*run)(ShowOptions const&)) {
   auto const options = std::make_shared<ShowOptions>();
   auto* const view = show.add_subcommand(name, description);
   addAgentOptions(*view, options->agent);
   view->add_flag("--json", options->json, "Write JSON for programs");
   view->callback([options, run] { run(*options); });
   return {view, options};
}

}  // namespace

void addShow(CLI::App& app) {
   auto* const show = app.add_subcommand("show", "Read the tunnels from the agent and print them");
   show->require_subcommand(1);
   addView(*show, "tunnels", "All tunnels, one line each", showTunnels);
   addView(*show, "hops", "The hops of all paths, one line each", showHops);
   addView(*show, "perf", "The counters of all tunnels, one line each", showPerf);
   auto const [tunnel, options] = addView(*show, "tunnel", "Everything about one tunnel", showTunnel);
   tunnel->add_option("NAME", options->tunnel, "The tunnel's name")->required();
}

}  // namespace Tools
