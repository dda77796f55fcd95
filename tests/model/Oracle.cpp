// SPDX-License-Identifier: MIT
#include "tests/model/Oracle.h"

#include <set>

#include "derivation/Join.h"

namespace Model {

namespace {

using MplsSnmp::MplsTunnelHopTableKey;
using MplsSnmp::MplsTunnelTableEntryRsvp;
using MplsSnmp::MplsTunnelTableKey;

/// The requests of every sp id.
std::map<Rsvp::RsvpSpId, std::vector<Rsvp::RsvpLerLspRequestConfigId>> requestsBySpId(World const& world) {
   std::map<Rsvp::RsvpSpId, std::vector<Rsvp::RsvpLerLspRequestConfigId>> result;
   if (auto const& map = world.lerStatus().spIdMap()) {
      for (auto const& entry : map->spIdForLspRequestConfigId()) result[entry.value].push_back(entry.key);
   }
   return result;
}

/// The inputs of the row that a request is entitled to.
struct Inputs {
   MplsSnmp::SubTunnelStatusPtr status;
   MplsSnmp::SubTunnelConfigPtr config;
   MplsSnmp::RequestStatusPtr request;
   MplsSnmp::SpStatusPtr sp;
   bool complete() const { return status && config && request && sp; }
};

Inputs inputsOf(World const& world, Rsvp::RsvpLerLspRequestConfigId const& request, Rsvp::RsvpSpId const& spId) {
   Inputs inputs;
   auto const& subTunnel = request.subTunnelConfigId();
   auto const& status = world.lerStatus();
   if (auto const& table = status.subTunnelStatusCollTable()) {
      if (auto const coll = table->subTunnelStatusColl()[subTunnel.tunnelSpecId()]) {
         inputs.status = coll->subTunnelStatus()[subTunnel];
      }
   }
   if (inputs.status && inputs.status->activeLsp() != request) inputs.status = nullptr;
   if (auto const& table = status.subTunnelConfigCollTable()) {
      if (auto const coll = table->subTunnelConfigColl()[subTunnel.tunnelSpecId()]) {
         inputs.config = coll->subTunnelConfig()[subTunnel];
      }
   }
   if (auto const& table = status.lspRequestStatusCollTable()) {
      if (auto const coll = table->lspRequestStatusColl()[request.lspGroupId]) {
         inputs.request = coll->lspRequestStatus()[request];
      }
   }
   if (auto const& coll = world.kelpStatus().spStatusColl()) inputs.sp = coll->spStatus()[spId];
   return inputs;
}

bool isOver(MplsSnmp::MplsTunnelTableEntry const& entry, Inputs const& inputs, World const& world) {
   auto const* const row = dynamic_cast<MplsTunnelTableEntryRsvp const*>(&entry);
   return row && row->subTunnelStatus() == inputs.status && row->subTunnelConfig() == inputs.config &&
          row->lspRequestStatus() == inputs.request && row->spStatus() == inputs.sp &&
          row->counterTable().get() == &world.counterTable() && row->lerHiveStatus().get() == &world.lerStatus();
}

/// The hop rows that a tunnel row calls for: key to address, path spec.
using HopRows = std::map<MplsTunnelHopTableKey, std::pair<std::string, Rsvp::RsvpLerPathSpec const*>>;

void addHopRows(World const& world, MplsTunnelTableEntryRsvp const& row, HopRows& rows) {
   auto const& table = world.lerConfig().pathSpecCollTable();
   auto const coll = table ? table->pathSpecColl()[row.subTunnelConfig()->id().source] : nullptr;
   if (!coll) return;
   bool const primary = row.subTunnelStatus()->activeLsp().pathSpecType() == Rsvp::RsvpLerPathSpecType::primary;
   auto const& id = primary ? row.subTunnelConfig()->primaryPathSpecId() : row.subTunnelConfig()->secondaryPathSpecId();
   auto const spec = coll->pathSpec()[id];
   if (!spec) return;
   for (auto const& hop : row.subTunnelStatus()->activePath().hop()) {
      rows[{row.hopTableIndex(), 1, hop.key()}] = {std::string(hop.value().octets()), spec.get()};
   }
}

}  // namespace

std::vector<std::string> Oracle::check(World const& world, bool afterRestart) {
   wrong_.clear();
   checkTunnelRows(world, afterRestart);
   checkIndices(world);
   checkHopRows(world);
   return wrong_;
}

void Oracle::checkTunnelRows(World const& world, bool afterRestart) {
   auto const requests = requestsBySpId(world);
   std::set<MplsTunnelTableKey> expected;
   for (auto const& [spId, ids] : requests) {
      MplsTunnelTableKey const key = MplsSnmp::mibKeyFor(spId);
      auto const row = world.mib().mplsTunnelTable()[key];
      if (ids.size() == 1) {
         Inputs const inputs = inputsOf(world, ids.front(), spId);
         if (!inputs.complete()) continue;
         expected.insert(key);
         if (!row) {
            wrong_.push_back(fmt::format("no row of {} for {}", spId, ids.front()));
         } else if (!isOver(*row, inputs, world)) {
            wrong_.push_back(fmt::format("the row of {} is not over the inputs of {}", spId, ids.front()));
         }
         continue;
      }
      // Ambiguous: nothing about the row changes. When several entries changed at once it cannot be said what it was
      // when the second request arrived.
      if (row) expected.insert(key);
      if (afterRestart || world.lastEventWasBulk()) continue;
      if (rows_[key] != row) {
         wrong_.push_back(fmt::format("the row of {}, which has {} requests, has changed", spId, ids.size()));
      }
   }
   for (auto const& node : world.mib().mplsTunnelTable()) {
      if (!expected.contains(node.key())) wrong_.push_back(fmt::format("a row too many: {}", node.key()));
      if (!(node.value()->key() == node.key()))
         wrong_.push_back(fmt::format("a row under a wrong key: {}", node.key()));
   }
   rows_.clear();
   for (auto const& node : world.mib().mplsTunnelTable()) rows_[node.key()] = node.value();
   requests_.clear();
   for (auto const& [spId, ids] : requests) requests_[spId] = ids.size();
}

void Oracle::checkIndices(World const& world) {
   std::set<std::uint32_t> ofRows;
   for (auto const& node : world.mib().mplsTunnelTable()) {
      std::uint32_t const index = node.value()->hopTableIndex();
      if (!ofRows.insert(index).second) wrong_.push_back(fmt::format("two rows have hop index {}", index));
      if (!world.mib().numAllocatorStatus()->isUsed(index)) {
         wrong_.push_back(fmt::format("hop index {} of {} is free", index, node.key()));
      }
   }
   if (world.mib().numAllocatorStatus()->inUse() != ofRows.size()) {
      wrong_.push_back(fmt::format("{} hop indices are in use for {} rows", world.mib().numAllocatorStatus()->inUse(),
                                   ofRows.size()));
   }
   std::set<std::uint32_t> ofEntries;
   for (auto const& entry : world.hopTableHelper().pathSpecCollTableSm()) ofEntries.insert(entry.key);
   if (ofEntries != ofRows) {
      wrong_.push_back(fmt::format("{} hop entries for {} rows", ofEntries.size(), ofRows.size()));
   }
}

void Oracle::checkHopRows(World const& world) {
   HopRows expected;
   for (auto const& node : world.mib().mplsTunnelTable()) {
      addHopRows(world, dynamic_cast<MplsTunnelTableEntryRsvp const&>(*node.value()), expected);
   }
   for (auto const& node : world.mib().mplsTunnelHopTable()) {
      auto const found = expected.find(node.key());
      if (found == expected.end()) {
         wrong_.push_back(fmt::format("a hop row too many: {}", node.key()));
         continue;
      }
      auto const& [address, spec] = found->second;
      if (node.value()->hopIpAddr().view() != address) {
         wrong_.push_back(fmt::format("a wrong address in hop row {}", node.key()));
      }
      if (node.value()->hopPathOptionName().view() != Rsvp::nameText(spec->name())) {
         wrong_.push_back(fmt::format("a wrong path option in hop row {}", node.key()));
      }
      expected.erase(found);
   }
   for (auto const& [key, hop] : expected) wrong_.push_back(fmt::format("no hop row {}", key));
}

}  // namespace Model
