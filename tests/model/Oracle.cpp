// SPDX-License-Identifier: MIT
#include "tests/model/Oracle.h"

namespace Model {

namespace {

using MplsSnmp::MplsTunnelHopTableKey;
using MplsSnmp::MplsTunnelTableEntryRsvp;
using MplsSnmp::MplsTunnelTableKey;

/// The number of an IPv4 address, from its text.
std::uint32_t numberOf(Lanu::IpGenAddr const& address) {
   std::uint32_t number = 0;
   std::uint32_t octet = 0;
   for (char const c : address.valueToStrep() + '.') {
      if (c != '.') {
         octet = octet * 10 + static_cast<std::uint32_t>(c - '0');
      } else {
         number = number * 256 + std::exchange(octet, 0);
      }
   }
   return number;
}

/// RFC 3812: mplsTunnelEntry is indexed by tunnel, instance, ingress and egress.
MplsTunnelTableKey keyOf(Rsvp::RsvpSpId const& spId) {
   MplsTunnelTableKey key;
   key.tunnelIndex = spId.session.tunnelId;
   key.tunnelInstance = spId.sender.lspId;
   key.tunnelIngressLsrId = numberOf(spId.sender.address);
   key.tunnelEgressLsrId = numberOf(spId.session.destination);
   return key;
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
   auto const& subTunnel = request.lspGroupId.subTunnelConfigId;
   auto const tunnel = subTunnel.tunnelSpecId();
   auto const& tree = world.lerStatus();
   if (auto const& table = tree.subTunnelStatusCollTable()) {
      if (auto const coll = table->subTunnelStatusColl()[tunnel]) inputs.status = coll->subTunnelStatus()[subTunnel];
   }
   if (inputs.status && inputs.status->activeLsp() != request) inputs.status = nullptr;
   if (auto const& table = tree.subTunnelConfigCollTable()) {
      if (auto const coll = table->subTunnelConfigColl()[tunnel]) inputs.config = coll->subTunnelConfig()[subTunnel];
   }
   if (auto const& table = tree.lspRequestStatusCollTable()) {
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
   // Of a tunnel without active LSP the primary path spec is in use.
   auto const& active = row.subTunnelStatus()->activeLsp();
   bool const secondary = active.lspGroupId.pathSpecType == Rsvp::RsvpLerPathSpecType::secondary;
   auto const spec = coll->pathSpec()[secondary ? row.subTunnelConfig()->secondaryPathSpecId()
                                                : row.subTunnelConfig()->primaryPathSpecId()];
   if (!spec) return;
   for (auto const& hop : row.subTunnelStatus()->activePath().hop()) {
      rows[{row.hopTableIndex(), 1, hop.key()}] = {std::string(hop.value().octets()), spec.get()};
   }
}

}  // namespace

std::vector<std::string> Oracle::check(World const& world) {
   wrong_.clear();
   requests_.clear();
   wasSilenced_ = world.silenced() && wasSilenced_;
   if (auto const& map = world.lerStatus().spIdMap()) {
      for (auto const& entry : map->spIdForLspRequestConfigId()) requests_[entry.value].insert(entry.key);
   }
   if (world.retracted()) {
      checkRetracted(world);
   } else if (world.silenced()) {
      checkSilenced(world);
   } else {
      checkTunnelRows(world);
      checkReverseIndex(world);
   }
   if (!world.cutShort()) {
      checkIndices(world);
      checkHopRows(world);
   }
   rows_.clear();
   for (auto const& node : world.mib().mplsTunnelTable()) rows_[node.key()] = node.value();
   before_ = requests_;
   return wrong_;
}

void Oracle::checkRetracted(World const& world) {
   if (!world.mib().mplsTunnelTable().empty()) wrong("rows after a retraction");
   if (!world.derivation().localAttrStore().lspReqConfIdsForSpId().empty()) wrong("requests after a retraction");
}

void Oracle::checkSilenced(World const& world) {
   if (!std::exchange(wasSilenced_, true) || world.restarted()) return;
   std::size_t same = 0;
   for (auto const& node : world.mib().mplsTunnelTable()) same += rows_[node.key()] == node.value();
   if (same != rows_.size()) wrong("the rows of a derivation that is switched off have changed");
}

void Oracle::checkTunnelRows(World const& world) {
   auto const& table = world.mib().mplsTunnelTable();
   std::set<Key> expected;
   std::vector<std::string> missing;
   for (auto const& [spId, requests] : requests_) {
      Key const key = keyOf(spId);
      World::Row const row = table[key];
      ++held_.spIds;
      held_.rows += row ? 1 : 0;
      if (requests.size() > 1) {
         ++held_.ambiguous;
         if (row) expected.insert(key);
         checkAmbiguous(world, spId, requests);
         continue;
      }
      Inputs const inputs = inputsOf(world, *requests.begin(), spId);
      if (!inputs.complete()) continue;
      expected.insert(key);
      if (!row) {
         missing.push_back(fmt::format("no row of {} for {}", spId, *requests.begin()));
      } else if (!isOver(*row, inputs, world)) {
         wrong("the row of {} is not over the inputs of {}", spId, *requests.begin());
      }
   }
   ++held_.checks;
   held_.hopRows += world.mib().mplsTunnelHopTable().size();
   // A row may only be missing when no hop index is left.
   auto const& range = world.mib().numAllocatorConfig()->range();
   if (world.mib().numAllocator()->status().inUse() != range.last - range.first + 1) {
      wrong_.insert(wrong_.end(), missing.begin(), missing.end());
   }
   for (auto const& node : table) {
      if (!expected.contains(node.key())) wrong("a row too many: {}", node.key());
      if (!(node.value()->key() == node.key())) wrong("a row under a wrong key: {}", node.key());
   }
}

/// While two or more requests map to an sp id, its row is what it was when the second one came.
void Oracle::checkAmbiguous(World const& world, Rsvp::RsvpSpId const& spId, Requests const& requests) {
   Key const key = keyOf(spId);
   World::Row const row = world.mib().mplsTunnelTable()[key];
   auto const old = rows_.find(key);
   World::Row const was = old == rows_.end() ? World::Row() : old->second;
   if (row == was) return;
   auto const before = before_.find(spId);
   bool const wasSo = before != before_.end() && before->second == requests;
   // Where hop indices are short, the index of a row that goes may be another row's before the second request comes.
   bool const scarce = world.mib().numAllocatorConfig()->range().last < 100;
   if (world.quiet() && !scarce) {
      wrong("the row of {}, which has {} requests, has changed", spId, requests.size());
   } else if (wasSo && !world.restarted() && !world.changedInside()) {
      wrong("the row of {}, which has {} requests, has changed meanwhile", spId, requests.size());
   } else if (row && !world.wasRow(key, row)) {
      wrong("the row of {}, which has {} requests, has never been there", spId, requests.size());
   }
}

void Oracle::checkReverseIndex(World const& world) {
   auto const& sets = world.derivation().localAttrStore().lspReqConfIdsForSpId();
   if (sets.size() != requests_.size()) wrong("{} sets of requests for {} sp ids", sets.size(), requests_.size());
   for (auto const& entry : sets) {
      auto const& expected = requests_[entry.key];
      bool same = entry.value->lrciSet().size() == expected.size();
      for (auto const& member : entry.value->lrciSet()) same = same && expected.contains(member.key);
      if (!same) wrong("the requests of {} are others", entry.key);
   }
}

void Oracle::checkIndices(World const& world) {
   std::set<std::uint32_t> ofRows;
   for (auto const& node : world.mib().mplsTunnelTable()) {
      std::uint32_t const index = node.value()->hopTableIndex();
      auto const& row = dynamic_cast<MplsTunnelTableEntryRsvp const&>(*node.value());
      if (!ofRows.insert(index).second) wrong("two rows have hop index {}", index);
      if (!world.mib().numAllocator()->status().isUsed(index)) wrong("hop index {} of {} is free", index, node.key());
      auto const entry = world.hopTableHelper().pathSpecCollTableSm(index);
      if (!entry) {
         wrong("no hop entry {} for {}", index, node.key());
      } else if (entry->isMarkedForDeletion() || entry->mplsTeMib().get() != &world.mib() ||
                 entry->lerConfig().get() != &world.lerConfig() || entry->subTunnelStatus() != row.subTunnelStatus() ||
                 entry->subTunnelConfig() != row.subTunnelConfig()) {
         wrong("hop entry {} is not the one of {}", index, node.key());
      }
   }
   auto const inUse = world.mib().numAllocator()->status().inUse();
   if (inUse != ofRows.size()) wrong("{} hop indices are in use for {} rows", inUse, ofRows.size());
   std::set<std::uint32_t> ofEntries;
   for (auto const& entry : world.hopTableHelper().pathSpecCollTableSm()) ofEntries.insert(entry.key);
   if (ofEntries != ofRows) wrong("{} hop entries for {} rows", ofEntries.size(), ofRows.size());
}

void Oracle::checkHopRows(World const& world) {
   HopRows expected;
   for (auto const& node : world.mib().mplsTunnelTable()) {
      addHopRows(world, dynamic_cast<MplsTunnelTableEntryRsvp const&>(*node.value()), expected);
   }
   for (auto const& node : world.mib().mplsTunnelHopTable()) {
      auto const found = expected.find(node.key());
      if (found == expected.end()) {
         wrong("a hop row too many: {}", node.key());
         continue;
      }
      auto const& [address, spec] = found->second;
      if (node.value()->hopIpAddr().view() != address) wrong("a wrong address in hop row {}", node.key());
      if (node.value()->hopPathOptionName().view() != Rsvp::nameText(spec->name())) {
         wrong("a wrong path option in hop row {}", node.key());
      }
      expected.erase(found);
   }
   for (auto const& [key, hop] : expected) wrong("no hop row {}", key);
}

}  // namespace Model
