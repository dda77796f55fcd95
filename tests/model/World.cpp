// SPDX-License-Identifier: MIT
#include "tests/model/World.h"

#include <array>
#include <string>

namespace Model {

namespace {

using Rsvp::RsvpLerLspGroupId;
using Rsvp::RsvpLerLspRequestConfigId;
using Rsvp::RsvpLerPathSpecId;
using Rsvp::RsvpLerPathSpecType;
using Rsvp::RsvpLerSubTunnelConfigId;
using Rsvp::RsvpLerTunnelSource;
using Rsvp::RsvpLerTunnelSpecId;

/// Another collection, filled from the members of this one: `set` puts each of them, another in its place, or none.
template <class Coll, class Map, class Set>
Vel::Ptr<Coll> copied(Map const& members, Set&& set) {
   auto const copy = Vel::makePtr<Coll>();
   for (auto const& entry : members) set(*copy, entry.key, entry.value);
   return copy;
}

}  // namespace

World::World(std::uint64_t seed)
      : random_(seed),
        mib_(MplsSnmp::mplsTeMibFactory("mplsTeMib")),
        hopTableHelper_(MplsSnmp::hopTableHelperFactory()),
        lerConfig_(Vel::makePtr<Rsvp::RsvpLerConfig>("lerConfig")),
        lerStatus_(Vel::makePtr<Rsvp::RsvpLerHiveStatus>("lerStatus")),
        kelpStatus_(Vel::makePtr<Rsvp::RsvpKelpStatus>("kelpStatus")),
        counterTable_(Vel::makePtr<Tallies::CounterTable>("counters")),
        root_(MplsSnmp::Root::RootIs("root")) {}

World::~World() { root_->rsvpTeSnmpAgentDel(); }

void World::start() {
   root_->rsvpTeSnmpAgentIs(mib_, hopTableHelper_, lerConfig_, lerStatus_, kelpStatus_, counterTable_);
}

std::string World::restart() {
   bulk_ = true;
   std::string what = "restart";
   // Either the old agent is taken away first, or it is replaced while it lives.
   bool const away = chance(50);
   if (away) root_->rsvpTeSnmpAgentDel();
   if (chance(30)) {
      counterTable_ = Vel::makePtr<Tallies::CounterTable>("counters");
      what += " with other counters";
   }
   if (chance(20)) {
      auto const fresh = Vel::makePtr<Rsvp::RsvpLerConfig>("lerConfig");
      fresh->pathSpecCollTableIs(lerConfig_->pathSpecCollTable());
      lerConfig_ = fresh;
      what += " with another configuration";
   }
   if (chance(20)) {
      auto const fresh = Vel::makePtr<Rsvp::RsvpKelpStatus>("kelpStatus");
      fresh->spStatusCollIs(kelpStatus_->spStatusColl());
      kelpStatus_ = fresh;
      what += " with another path status";
   }
   if (away && chance(50)) what += ", " + event();
   bulk_ = true;
   start();
   return what;
}

std::string World::event() {
   bulk_ = false;
   auto const kind = pick(100);
   if (kind < 22) return spIdEvent();
   if (kind < 34) return configEvent();
   if (kind < 56) return statusEvent();
   if (kind < 66) return requestStatusEvent();
   if (kind < 76) return spStatusEvent();
   if (kind < 90) return pathSpecEvent();
   return kind < 96 ? collectionEvent() : tableEvent();
}

// ---- What there is

RsvpLerTunnelSource World::anySource() { return static_cast<RsvpLerTunnelSource>(pick(2)); }

RsvpLerSubTunnelConfigId World::anySubTunnel() {
   static std::array const names{Rsvp::storedName("paris"), Rsvp::storedName("rome"), Rsvp::storedName("oslo")};
   RsvpLerSubTunnelConfigId id;
   id.source = anySource();
   id.tunnelName = names[pick(names.size())];
   id.subTunnel = static_cast<std::uint32_t>(chance(25) ? 1 + pick(2) : 0);
   return id;
}

RsvpLerLspRequestConfigId World::anyRequestOf(RsvpLerSubTunnelConfigId const& id) {
   return {{id, static_cast<RsvpLerPathSpecType>(pick(2))}, static_cast<std::uint32_t>(pick(2))};
}

RsvpLerLspRequestConfigId World::anyRequest() { return anyRequestOf(anySubTunnel()); }

Rsvp::RsvpSpId World::anySpId() {
   Rsvp::RsvpSpId id;
   id.session.destination = Lanu::IpGenAddr::fromHostOrder(chance(50) ? 0x0a000009 : 0xc8000009);
   id.session.tunnelId = static_cast<std::uint16_t>(1 + pick(5));
   id.sender.address = Lanu::IpGenAddr::fromHostOrder(0x0a000001);
   id.sender.lspId = static_cast<std::uint32_t>(1 + pick(2));
   return id;
}

RsvpLerPathSpecId World::anyPathSpecId(RsvpLerTunnelSource source) {
   static std::array const names{Rsvp::storedName("gold"), Rsvp::storedName("silver"), Rsvp::storedName("tin")};
   return {source, names[pick(names.size())]};
}

Rsvp::RsvpLerPath World::anyPath() {
   Rsvp::RsvpLerPath path;
   for (auto hops = pick(4); hops > 0; --hops) {
      path.hopIs(static_cast<std::uint32_t>(1 + pick(6)),
                 Lanu::IpGenAddr::fromHostOrder(static_cast<std::uint32_t>(0x0a010000 + pick(200))));
   }
   return path;
}

// ---- The objects, made where they are absent

World::Writable<Rsvp::RsvpLerSpIdMap> World::spIdMap() {
   if (!lerStatus_->spIdMap()) lerStatus_->spIdMapIs(Vel::makePtr<Rsvp::RsvpLerSpIdMap>());
   return writable(lerStatus_->spIdMap());
}
World::Writable<Rsvp::RsvpSpStatusColl> World::spStatusColl() {
   if (!kelpStatus_->spStatusColl()) kelpStatus_->spStatusCollIs(Vel::makePtr<Rsvp::RsvpSpStatusColl>());
   return writable(kelpStatus_->spStatusColl());
}
World::Writable<Rsvp::RsvpLerSubTunnelConfigCollTable> World::configTable() {
   if (!lerStatus_->subTunnelConfigCollTable()) {
      lerStatus_->subTunnelConfigCollTableIs(Vel::makePtr<Rsvp::RsvpLerSubTunnelConfigCollTable>());
   }
   return writable(lerStatus_->subTunnelConfigCollTable());
}
World::Writable<Rsvp::RsvpLerSubTunnelStatusCollTable> World::statusTable() {
   if (!lerStatus_->subTunnelStatusCollTable()) {
      lerStatus_->subTunnelStatusCollTableIs(Vel::makePtr<Rsvp::RsvpLerSubTunnelStatusCollTable>());
   }
   return writable(lerStatus_->subTunnelStatusCollTable());
}
World::Writable<Rsvp::RsvpLerLspRequestStatusCollTable> World::requestTable() {
   if (!lerStatus_->lspRequestStatusCollTable()) {
      lerStatus_->lspRequestStatusCollTableIs(Vel::makePtr<Rsvp::RsvpLerLspRequestStatusCollTable>());
   }
   return writable(lerStatus_->lspRequestStatusCollTable());
}
World::Writable<Rsvp::RsvpLerPathSpecCollTable> World::pathSpecTable() {
   if (!lerConfig_->pathSpecCollTable()) {
      lerConfig_->pathSpecCollTableIs(Vel::makePtr<Rsvp::RsvpLerPathSpecCollTable>());
   }
   return writable(lerConfig_->pathSpecCollTable());
}
World::Writable<Rsvp::RsvpLerSubTunnelConfigColl> World::configColl(RsvpLerTunnelSpecId const& id) {
   auto const table = configTable();
   if (!table->subTunnelConfigColl()[id]) {
      table->subTunnelConfigCollIs(id, Vel::makePtr<Rsvp::RsvpLerSubTunnelConfigColl>());
   }
   return writable(table->subTunnelConfigColl()[id]);
}
World::Writable<Rsvp::RsvpLerSubTunnelStatusColl> World::statusColl(RsvpLerTunnelSpecId const& id) {
   auto const table = statusTable();
   if (!table->subTunnelStatusColl()[id]) {
      table->subTunnelStatusCollIs(id, Vel::makePtr<Rsvp::RsvpLerSubTunnelStatusColl>());
   }
   return writable(table->subTunnelStatusColl()[id]);
}
World::Writable<Rsvp::RsvpLerLspRequestStatusCollForLspGroup> World::requestColl(RsvpLerLspGroupId const& id) {
   auto const table = requestTable();
   if (!table->lspRequestStatusColl()[id]) {
      table->lspRequestStatusCollIs(id, Vel::makePtr<Rsvp::RsvpLerLspRequestStatusCollForLspGroup>());
   }
   return writable(table->lspRequestStatusColl()[id]);
}
World::Writable<Rsvp::RsvpLerPathSpecCollForSource> World::pathSpecColl(RsvpLerTunnelSource source) {
   auto const table = pathSpecTable();
   if (!table->pathSpecColl()[source]) {
      table->pathSpecCollIs(source, Vel::makePtr<Rsvp::RsvpLerPathSpecCollForSource>());
   }
   return writable(table->pathSpecColl()[source]);
}

World::Writable<Rsvp::RsvpLerSubTunnelStatus> World::newStatus(RsvpLerSubTunnelConfigId const& id) {
   auto const status = Vel::makePtr<Rsvp::RsvpLerSubTunnelStatus>(id);
   status->upIs(chance(50));
   if (chance(80)) status->activeLspIs(chance(95) ? anyRequestOf(id) : anyRequest());
   status->activePathIs(anyPath());
   return status;
}

World::Writable<Rsvp::RsvpLerSubTunnelConfig> World::newConfig(RsvpLerSubTunnelConfigId const& id) {
   auto const config = Vel::makePtr<Rsvp::RsvpLerSubTunnelConfig>(id);
   if (chance(80)) config->primaryPathSpecIdIs(anyPathSpecId(id.source));
   if (chance(60)) config->secondaryPathSpecIdIs(anyPathSpecId(id.source));
   config->fastRerouteIs(chance(50));
   return config;
}

World::Writable<Rsvp::RsvpLerPathSpec> World::newPathSpec(RsvpLerPathSpecId const& id) {
   auto const spec = Vel::makePtr<Rsvp::RsvpLerPathSpec>(id);
   spec->typeIs(static_cast<Rsvp::RsvpLerPathSpec::Type>(1 + pick(2)));
   return spec;
}

// ---- What happens

std::string World::spIdEvent() {
   auto const map = spIdMap();
   auto const id = anyRequest();
   if (chance(35)) {
      map->spIdForLspRequestConfigIdDel(id);
      return fmt::format("{} has no sp id", id);
   }
   auto const spId = anySpId();
   map->spIdForLspRequestConfigIdIs(id, spId);
   return fmt::format("{} has sp id {}", id, spId);
}

std::string World::configEvent() {
   auto const id = anySubTunnel();
   auto const coll = configColl(id.tunnelSpecId());
   auto const config = writable(coll->subTunnelConfig()[id]);
   if (!config || chance(30)) {
      coll->subTunnelConfigIs(id, newConfig(id));
      return fmt::format("new configuration of {}", id);
   }
   switch (pick(4)) {
      case 0:
         coll->subTunnelConfigDel(id);
         return fmt::format("configuration of {} gone", id);
      case 1:
         config->primaryPathSpecIdIs(chance(30) ? RsvpLerPathSpecId() : anyPathSpecId(id.source));
         return fmt::format("primary path spec of {} is {}", id, config->primaryPathSpecId());
      case 2:
         config->secondaryPathSpecIdIs(chance(30) ? RsvpLerPathSpecId() : anyPathSpecId(id.source));
         return fmt::format("secondary path spec of {} is {}", id, config->secondaryPathSpecId());
      default:
         config->fastRerouteIs(!config->fastReroute());
         return fmt::format("fast reroute of {} switched", id);
   }
}

std::string World::statusEvent() {
   auto const id = anySubTunnel();
   auto const coll = statusColl(id.tunnelSpecId());
   auto const status = writable(coll->subTunnelStatus()[id]);
   if (!status || chance(20)) {
      coll->subTunnelStatusIs(id, newStatus(id));
      return fmt::format("new status of {}", id);
   }
   switch (pick(6)) {
      case 0:
         coll->subTunnelStatusDel(id);
         return fmt::format("status of {} gone", id);
      case 1:
         status->activeLspIs({});
         return fmt::format("{} has no active LSP", id);
      case 2:
         status->activePathIs(anyPath());
         return fmt::format("another active path of {}", id);
      case 3:
         status->upIs(!status->up());
         return fmt::format("{} goes up or down", id);
      default:
         status->activeLspIs(chance(95) ? anyRequestOf(id) : anyRequest());
         return fmt::format("active LSP of {} is {}", id, status->activeLsp());
   }
}

std::string World::requestStatusEvent() {
   auto const id = anyRequest();
   auto const coll = requestColl(id.lspGroupId);
   if (chance(30)) {
      coll->lspRequestStatusDel(id);
      return fmt::format("status of request {} gone", id);
   }
   coll->lspRequestStatusIs(id, Vel::makePtr<Rsvp::RsvpLerLspRequestStatus>(id));
   return fmt::format("new status of request {}", id);
}

std::string World::spStatusEvent() {
   auto const id = anySpId();
   if (chance(30)) {
      spStatusColl()->spStatusDel(id);
      return fmt::format("status of sp {} gone", id);
   }
   spStatusColl()->spStatusIs(id, Vel::makePtr<Rsvp::RsvpSpStatus>(id));
   return fmt::format("new status of sp {}", id);
}

std::string World::pathSpecEvent() {
   auto const id = anyPathSpecId(anySource());
   auto const coll = pathSpecColl(id.source);
   if (chance(35)) {
      coll->pathSpecDel(id);
      return fmt::format("path spec {} gone", id);
   }
   coll->pathSpecIs(id, newPathSpec(id));
   return fmt::format("new path spec {}", id);
}

std::string World::collectionEvent() {
   auto const id = anySubTunnel();
   auto const group = anyRequestOf(id).lspGroupId;
   bool const gone = chance(40);
   switch (pick(4)) {
      case 0: {
         auto const old = configColl(id.tunnelSpecId());
         if (gone) {
            configTable()->subTunnelConfigCollDel(id.tunnelSpecId());
            return fmt::format("configurations of {} gone", id.tunnelSpecId());
         }
         configTable()->subTunnelConfigCollIs(
               id.tunnelSpecId(), copied<Rsvp::RsvpLerSubTunnelConfigColl>(
                                        old->subTunnelConfig(), [&](auto& coll, auto const& key, auto const& value) {
                                           if (chance(20)) return;
                                           coll.subTunnelConfigIs(key, chance(50) ? value : newConfig(key));
                                        }));
         return fmt::format("configurations of {} replaced", id.tunnelSpecId());
      }
      case 1: {
         auto const old = statusColl(id.tunnelSpecId());
         if (gone) {
            statusTable()->subTunnelStatusCollDel(id.tunnelSpecId());
            return fmt::format("statuses of {} gone", id.tunnelSpecId());
         }
         statusTable()->subTunnelStatusCollIs(
               id.tunnelSpecId(), copied<Rsvp::RsvpLerSubTunnelStatusColl>(
                                        old->subTunnelStatus(), [&](auto& coll, auto const& key, auto const& value) {
                                           if (chance(20)) return;
                                           coll.subTunnelStatusIs(key, chance(50) ? value : newStatus(key));
                                        }));
         return fmt::format("statuses of {} replaced", id.tunnelSpecId());
      }
      case 2: {
         auto const old = requestColl(group);
         if (gone) {
            requestTable()->lspRequestStatusCollDel(group);
            return fmt::format("request statuses of {} gone", group);
         }
         requestTable()->lspRequestStatusCollIs(
               group, copied<Rsvp::RsvpLerLspRequestStatusCollForLspGroup>(
                            old->lspRequestStatus(), [&](auto& coll, auto const& key, auto const& value) {
                               if (chance(20)) return;
                               coll.lspRequestStatusIs(key, value);
                            }));
         return fmt::format("request statuses of {} replaced", group);
      }
      default: {
         auto const old = pathSpecColl(id.source);
         if (gone) {
            pathSpecTable()->pathSpecCollDel(id.source);
            return fmt::format("path specs of source {} gone", id.source);
         }
         pathSpecTable()->pathSpecCollIs(id.source,
                                         copied<Rsvp::RsvpLerPathSpecCollForSource>(
                                               old->pathSpec(), [&](auto& coll, auto const& key, auto const& value) {
                                                  if (chance(20)) return;
                                                  coll.pathSpecIs(key, chance(50) ? value : newPathSpec(key));
                                               }));
         return fmt::format("path specs of source {} replaced", id.source);
      }
   }
}

std::string World::tableEvent() {
   bool const gone = chance(30);
   switch (pick(6)) {
      case 0: {
         bulk_ = true;
         auto const old = spIdMap();
         if (gone) {
            lerStatus_->spIdMapIs(nullptr);
            return "sp id map gone";
         }
         lerStatus_->spIdMapIs(copied<Rsvp::RsvpLerSpIdMap>(
               old->spIdForLspRequestConfigId(), [&](auto& map, auto const& key, auto const& value) {
                  if (chance(10)) return;
                  map.spIdForLspRequestConfigIdIs(key, chance(80) ? value : anySpId());
               }));
         return "sp id map replaced";
      }
      case 1: {
         auto const old = spStatusColl();
         if (gone) {
            kelpStatus_->spStatusCollIs(nullptr);
            return "sp statuses gone";
         }
         kelpStatus_->spStatusCollIs(
               copied<Rsvp::RsvpSpStatusColl>(old->spStatus(), [&](auto& coll, auto const& key, auto const& value) {
                  if (chance(10)) return;
                  coll.spStatusIs(key, chance(70) ? value : Vel::makePtr<Rsvp::RsvpSpStatus>(key));
               }));
         return "sp statuses replaced";
      }
      case 2: {
         auto const old = configTable();
         if (gone) {
            lerStatus_->subTunnelConfigCollTableIs(nullptr);
            return "configuration table gone";
         }
         lerStatus_->subTunnelConfigCollTableIs(copied<Rsvp::RsvpLerSubTunnelConfigCollTable>(
               old->subTunnelConfigColl(),
               [&](auto& table, auto const& key, auto const& value) { table.subTunnelConfigCollIs(key, value); }));
         return "configuration table replaced";
      }
      case 3: {
         auto const old = statusTable();
         if (gone) {
            lerStatus_->subTunnelStatusCollTableIs(nullptr);
            return "status table gone";
         }
         lerStatus_->subTunnelStatusCollTableIs(copied<Rsvp::RsvpLerSubTunnelStatusCollTable>(
               old->subTunnelStatusColl(),
               [&](auto& table, auto const& key, auto const& value) { table.subTunnelStatusCollIs(key, value); }));
         return "status table replaced";
      }
      case 4: {
         auto const old = requestTable();
         if (gone) {
            lerStatus_->lspRequestStatusCollTableIs(nullptr);
            return "request status table gone";
         }
         lerStatus_->lspRequestStatusCollTableIs(copied<Rsvp::RsvpLerLspRequestStatusCollTable>(
               old->lspRequestStatusColl(),
               [&](auto& table, auto const& key, auto const& value) { table.lspRequestStatusCollIs(key, value); }));
         return "request status table replaced";
      }
      default: {
         auto const old = pathSpecTable();
         if (gone) {
            lerConfig_->pathSpecCollTableIs(nullptr);
            return "path spec table gone";
         }
         lerConfig_->pathSpecCollTableIs(copied<Rsvp::RsvpLerPathSpecCollTable>(
               old->pathSpecColl(),
               [&](auto& table, auto const& key, auto const& value) { table.pathSpecCollIs(key, value); }));
         return "path spec table replaced";
      }
   }
}

}  // namespace Model
