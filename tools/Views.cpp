// SPDX-License-Identifier: MIT
#include "tools/Views.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <set>
#include <utility>

namespace Tools {

namespace {

using Align = TextTable::Align;

constexpr std::uint64_t up = 1;    // Of both mplsTunnelAdminStatus and mplsTunnelOperStatus.
constexpr std::uint64_t down = 2;  // Of mplsTunnelOperStatus.

// The flags worth a word in a list. A persistent tunnel that records its route is the ordinary case.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> flagWords{
      {{"fastReroute", "FRR"}, {"mergingPermitted", "merging"}, {"isPinned", "pinned"}}};

Cell flagsCell(Row const& tunnel) {
   std::vector<std::string_view> words;
   auto const bits =
         toBits(tunnelTable.column(TunnelColumn::sessionAttributes), tunnel[TunnelColumn::sessionAttributes]);
   for (auto const& [bit, word] : flagWords) {
      if (std::find(bits.begin(), bits.end(), bit) != bits.end()) words.push_back(word);
   }
   bool const isProtected = isTrue(tunnel[TunnelColumn::localProtectInUse]);
   if (isProtected) words.push_back("protected");
   if (words.empty()) return {"-"};
   return {fmt::format("{}", fmt::join(words, " ")), isProtected ? Style::warning : Style::plain};
}

std::string tunnelCell(Row const& tunnel, std::uint32_t column) { return cellText(tunnelTable, tunnel, column); }

std::string hopAddress(Row const& hop) {
   auto const address = cellText(hopTable, hop, HopColumn::ipAddr);
   bool const hasLength = present(hop[HopColumn::ipAddr]) && present(hop[HopColumn::ipPrefixLen]);
   return hasLength ? fmt::format("{}/{}", address, cellText(hopTable, hop, HopColumn::ipPrefixLen)) : address;
}

// The counter of 64 bits, or else that of 32.
Value const& packetsOf(Row const& counters) {
   auto const& packets = counters[PerfColumn::hcPackets];
   return present(packets) ? packets : counters[PerfColumn::packets];
}

Value const& bytesOf(Row const& counters) {
   auto const& bytes = counters[PerfColumn::hcBytes];
   return present(bytes) ? bytes : counters[PerfColumn::bytes];
}

std::string packetsText(Row const& counters) {
   return toText(perfTable.column(PerfColumn::hcPackets), packetsOf(counters));
}

std::string bytesText(Row const& counters) { return toText(perfTable.column(PerfColumn::hcBytes), bytesOf(counters)); }

std::uint32_t part(Oid const& index, std::size_t at) { return at < index.size() ? index[at] : 0; }

void append(Lines& lines, Lines more) {
   lines.insert(lines.end(), std::make_move_iterator(more.begin()), std::make_move_iterator(more.end()));
}

// The table and, below it, its totals; the totals alone when it is empty.
Lines withTotals(TextTable const& table, std::string totals, bool colour) {
   Lines lines;
   if (!table.empty()) {
      lines = table.lines(colour);
      lines.emplace_back();
   }
   lines.push_back(std::move(totals));
   return lines;
}

std::vector<Cell> hopCells(Oid const& index, Row const& hop) {
   return {{cellText(hopTable, hop, HopColumn::pathOptionName)},
           {std::to_string(part(index, 2))},
           {hopAddress(hop)},
           {cellText(hopTable, hop, HopColumn::type)},
           {cellText(hopTable, hop, HopColumn::include)},
           {cellText(hopTable, hop, HopColumn::entryPathComp)}};
}

std::vector<TextTable::Heading> const& hopHeadings() {
   static std::vector<TextTable::Heading> const headings{{"PATH"}, {"HOP", Align::right}, {"ADDRESS"},
                                                         {"TYPE"}, {"INCLUDE"},           {"COMPUTED"}};
   return headings;
}

}  // namespace

std::string tunnelId(Oid const& index) { return fmt::format("{}/{}", part(index, 0), part(index, 1)); }

std::string ingress(Oid const& index) { return dottedQuad(part(index, 2)); }

std::string egress(Oid const& index) { return dottedQuad(part(index, 3)); }

Cell stateCell(Row const& tunnel) {
   auto const oper = toNumber(tunnel[TunnelColumn::operStatus]);
   auto const admin = toNumber(tunnel[TunnelColumn::adminStatus]);
   if (admin && *admin != up) return {"admin " + tunnelCell(tunnel, TunnelColumn::adminStatus), Style::bad};
   return {tunnelCell(tunnel, TunnelColumn::operStatus), oper && *oper != up ? Style::bad : Style::plain};
}

std::string tunnelTotals(Rows const& tunnels) {
   std::size_t upCount = 0;
   std::size_t downCount = 0;
   std::size_t protectedCount = 0;
   for (auto const& [index, tunnel] : tunnels) {
      auto const oper = toNumber(tunnel[TunnelColumn::operStatus]);
      upCount += oper == up;
      downCount += oper == down;
      protectedCount += isTrue(tunnel[TunnelColumn::localProtectInUse]);
   }
   auto const otherCount = tunnels.size() - upCount - downCount;
   auto totals = fmt::format("{}, {} up, {} down", counted(tunnels.size(), "tunnel"), upCount, downCount);
   if (otherCount) totals += fmt::format(", {} other", otherCount);
   if (protectedCount) totals += fmt::format(", {} protected", protectedCount);
   return totals;
}

std::vector<std::uint32_t> tunnelsViewColumns() {
   return {TunnelColumn::name,
           TunnelColumn::setupPrio,
           TunnelColumn::holdingPrio,
           TunnelColumn::sessionAttributes,
           TunnelColumn::localProtectInUse,
           TunnelColumn::instanceUpTime,
           TunnelColumn::adminStatus,
           TunnelColumn::operStatus};
}

Lines tunnelsView(Rows const& tunnels, bool colour) {
   TextTable table(
         {{"NAME"}, {"ID"}, {"INGRESS"}, {"EGRESS"}, {"STATE"}, {"PRIO"}, {"FLAGS"}, {"UP TIME", Align::right}});
   for (auto const& [index, tunnel] : tunnels) {
      table.add({{tunnelCell(tunnel, TunnelColumn::name)},
                 {tunnelId(index)},
                 {ingress(index)},
                 {egress(index)},
                 stateCell(tunnel),
                 {fmt::format("{}/{}", tunnelCell(tunnel, TunnelColumn::setupPrio),
                              tunnelCell(tunnel, TunnelColumn::holdingPrio))},
                 flagsCell(tunnel),
                 {tunnelCell(tunnel, TunnelColumn::instanceUpTime)}});
   }
   return withTotals(table, tunnelTotals(tunnels), colour);
}

std::unordered_map<std::uint64_t, Row const*> tunnelsByHopList(Rows const& tunnels) {
   std::unordered_map<std::uint64_t, Row const*> result;
   for (auto const& [index, tunnel] : tunnels) {
      if (auto const list = toNumber(tunnel[TunnelColumn::hopTableIndex]); list && *list != 0) {
         result.emplace(*list, &tunnel);
      }
   }
   return result;
}

Lines hopsView(Rows const& tunnels, Rows const& hops, bool colour) {
   auto const tunnelOfList = tunnelsByHopList(tunnels);
   auto headings = hopHeadings();
   headings.insert(headings.begin(), {{"TUNNEL"}, {"LIST", Align::right}});
   TextTable table(headings);
   std::set<std::pair<std::uint32_t, std::uint32_t>> paths;
   for (auto const& [index, hop] : hops) {
      paths.emplace(part(index, 0), part(index, 1));
      auto const tunnel = tunnelOfList.find(part(index, 0));
      auto cells = hopCells(index, hop);
      cells.insert(cells.begin(),
                   {{tunnel == tunnelOfList.end() ? "-" : tunnelCell(*tunnel->second, TunnelColumn::name)},
                    {std::to_string(part(index, 0))}});
      table.add(std::move(cells));
   }
   return withTotals(table, fmt::format("{} in {}", counted(hops.size(), "hop"), counted(paths.size(), "path")),
                     colour);
}

Lines perfView(Rows const& tunnels, Rows const& counters, bool colour) {
   TextTable table({{"NAME"}, {"ID"}, {"INGRESS"}, {"EGRESS"}, {"PACKETS", Align::right}, {"BYTES", Align::right}});
   std::uint64_t packets = 0;
   std::uint64_t bytes = 0;
   for (auto const& [index, row] : counters) {
      auto const tunnel = tunnels.find(index);
      packets += toNumber(packetsOf(row)).value_or(0);
      bytes += toNumber(bytesOf(row)).value_or(0);
      table.add({{tunnel == tunnels.end() ? "-" : tunnelCell(tunnel->second, TunnelColumn::name)},
                 {tunnelId(index)},
                 {ingress(index)},
                 {egress(index)},
                 {packetsText(row)},
                 {bytesText(row)}});
   }
   return withTotals(table,
                     fmt::format("{}, {}, {}", counted(counters.size(), "tunnel"), counted(packets, "packet"),
                                 counted(bytes, "byte")),
                     colour);
}

Lines tunnelView(Oid const& index, Row const& tunnel, Rows const& hops, Row const& counters, bool colour) {
   auto const state = stateCell(tunnel);
   Lines lines{fmt::format("{}  {}  {} -> {}  {}", tunnelCell(tunnel, TunnelColumn::name), tunnelId(index),
                           ingress(index), egress(index), styled(state.text, state.style, colour)),
               ""};

   // Two columns side by side, read downwards, so that it all fits on one screen.
   TextTable grid({{""}, {""}, {""}, {""}});
   auto const columns = tunnelTable.columns.subspan(1);  // The name is in the first line.
   auto const height = (columns.size() + 1) / 2;
   auto const label = [&](std::size_t i) { return i < columns.size() ? std::string(columns[i].heading) : ""; };
   auto const value = [&](std::size_t i) -> Cell {
      if (i >= columns.size()) return {};
      auto const column = columns[i].number;
      if (column == TunnelColumn::operStatus) return {tunnelCell(tunnel, column), state.style};
      bool const isProtected = column == TunnelColumn::localProtectInUse && isTrue(tunnel[column]);
      return {tunnelCell(tunnel, column), isProtected ? Style::warning : Style::plain};
   };
   for (std::size_t i = 0; i < height; ++i) {
      grid.add({{label(i)}, value(i), {label(i + height)}, value(i + height)});
   }
   append(lines, grid.lines(colour));

   lines.emplace_back();
   TextTable path(hopHeadings());
   for (auto const& [hopIndex, hop] : hops) path.add(hopCells(hopIndex, hop));
   append(lines, path.empty() ? Lines{"no hops"} : path.lines(colour));

   lines.emplace_back();
   lines.push_back(fmt::format("{} packets, {} bytes", packetsText(counters), bytesText(counters)));
   return lines;
}

}  // namespace Tools
