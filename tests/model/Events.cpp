// SPDX-License-Identifier: MIT
// What happens to inputs that their publisher has made with its own hands: in place, and by other objects at every
// level.
#include "tests/model/World.h"

namespace Model {

namespace {

using Rsvp::RsvpLerLspRequestConfigId;
using Rsvp::RsvpLerPathSpecId;
using Rsvp::RsvpLerPathSpecType;
using Rsvp::RsvpLerSubTunnelConfigId;

}  // namespace

std::string World::change() {
   if (isPublished()) return documentEvent();
   auto const kind = pick(100);
   single_ = kind >= 38 && kind < 98;
   if (kind < 38) return wholeEvent();
   if (kind < 47) return spIdEvent();
   if (kind < 56) return configEvent();
   if (kind < 74) return statusEvent();
   if (kind < 80) return requestStatusEvent();
   if (kind < 85) return spStatusEvent();
   if (kind < 92) return pathSpecEvent();
   return kind < 98 ? collectionEvent() : tableEvent();
}

/// Whatever a tunnel lacks comes.
std::string World::wholeEvent() {
   auto const id = anySubTunnel();
   auto const config = configColl(id.tunnelSpecId());
   if (!config->subTunnelConfig()[id]) config->subTunnelConfigIs(id, newConfig(id));
   auto const statuses = statusColl(id.tunnelSpecId());
   if (!statuses->subTunnelStatus()[id]) statuses->subTunnelStatusIs(id, newStatus(id));
   auto const status = writable(statuses->subTunnelStatus()[id]);
   if (status && !(status->activeLsp().isSet() && status->activeLsp().subTunnelConfigId() == id)) {
      status->activeLspIs(anyRequestOf(id));
   }
   auto const request = status ? status->activeLsp() : anyRequestOf(id);
   auto const requests = requestColl(request.lspGroupId);
   if (!requests->lspRequestStatus()[request]) {
      requests->lspRequestStatusIs(request, made<Rsvp::RsvpLerLspRequestStatus>(request));
   }
   auto const spId = chance(88) ? spIdOf(request) : anySpId();
   for (auto const type : {RsvpLerPathSpecType::primary, RsvpLerPathSpecType::secondary}) {
      for (std::uint32_t n : {0U, 1U}) {
         RsvpLerLspRequestConfigId const other{{id, type}, n};
         if (other != request) spIdMap()->spIdForLspRequestConfigIdDel(other);
      }
   }
   spIdMap()->spIdForLspRequestConfigIdIs(request, spId);
   if (!spStatusColl()->spStatus()[spId]) spStatusColl()->spStatusIs(spId, made<Rsvp::RsvpSpStatus>(spId));
   for (auto const& spec : {anyPathSpecId(id.source), anyPathSpecId(id.source)}) {
      auto const specs = pathSpecColl(id.source);
      if (!specs->pathSpec()[spec]) specs->pathSpecIs(spec, newPathSpec(spec));
   }
   return fmt::format("{} has all it needs", id);
}

std::string World::spIdEvent() {
   auto const map = spIdMap();
   auto const id = anyRequest();
   auto const status =
         writable(statusColl(id.subTunnelConfigId().tunnelSpecId())->subTunnelStatus()[id.subTunnelConfigId()]);
   // What is not active any more loses its sp id soon.
   if (chance(status && status->activeLsp() == id ? 6 : 85)) {
      map->spIdForLspRequestConfigIdDel(id);
      return fmt::format("{} has no sp id", id);
   }
   auto const spId = chance(75) ? spIdOf(id) : anySpId();
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
   if (chance(4)) {
      coll->subTunnelConfigIs(id, nullptr);
      return fmt::format("null in place of the configuration of {}", id);
   }
   switch (pick(8)) {
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
   if (chance(2)) {
      coll->subTunnelStatusIs(id, nullptr);
      return fmt::format("null in place of the status of {}", id);
   }
   switch (pick(12)) {
      case 0:
         coll->subTunnelStatusDel(id);
         return fmt::format("status of {} gone", id);
      case 1:
         status->activeLspIs({});
         return fmt::format("{} has no active LSP", id);
      case 2:
      case 4:
      case 5:
      case 6:
         status->activePathIs(anyPath());
         return fmt::format("another active path of {}", id);
      case 3:
         status->upIs(!status->up());
         return fmt::format("{} goes up or down", id);
      default:
         status->activeLspIs(chance(98) ? anyRequestOf(id) : anyRequest());
         return fmt::format("active LSP of {} is {}", id, status->activeLsp());
   }
}

std::string World::requestStatusEvent() {
   auto const id = anyRequest();
   auto const coll = requestColl(id.lspGroupId);
   if (chance(3)) {
      coll->lspRequestStatusIs(id, nullptr);
      return fmt::format("null in place of the status of request {}", id);
   }
   if (chance(12)) {
      coll->lspRequestStatusDel(id);
      return fmt::format("status of request {} gone", id);
   }
   coll->lspRequestStatusIs(id, made<Rsvp::RsvpLerLspRequestStatus>(id));
   return fmt::format("new status of request {}", id);
}

std::string World::spStatusEvent() {
   auto const id = anySpId();
   if (chance(3)) {
      spStatusColl()->spStatusIs(id, nullptr);
      return fmt::format("null in place of the status of sp {}", id);
   }
   if (chance(12)) {
      spStatusColl()->spStatusDel(id);
      return fmt::format("status of sp {} gone", id);
   }
   spStatusColl()->spStatusIs(id, made<Rsvp::RsvpSpStatus>(id));
   return fmt::format("new status of sp {}", id);
}

std::string World::pathSpecEvent() {
   auto const id = anyPathSpecId(anySource());
   auto const coll = pathSpecColl(id.source);
   if (chance(15)) {
      coll->pathSpecDel(id);
      return fmt::format("path spec {} gone", id);
   }
   if (chance(4)) {
      coll->pathSpecIs(id, nullptr);
      return fmt::format("null in place of path spec {}", id);
   }
   coll->pathSpecIs(id, newPathSpec(id));
   return fmt::format("new path spec {}", id);
}

std::string World::collectionEvent() {
   auto const id = anySubTunnel();
   auto const group = anyRequestOf(id).lspGroupId;
   bool const gone = chance(15);
   bool const isNull = gone && chance(30);
   switch (pick(4)) {
      case 0: {
         auto const old = configColl(id.tunnelSpecId());
         if (gone) {
            if (isNull) {
               configTable()->subTunnelConfigCollIs(id.tunnelSpecId(), nullptr);
            } else {
               configTable()->subTunnelConfigCollDel(id.tunnelSpecId());
            }
            return fmt::format("configurations of {} gone", id.tunnelSpecId());
         }
         configTable()->subTunnelConfigCollIs(
               id.tunnelSpecId(), copied<Rsvp::RsvpLerSubTunnelConfigColl>(
                                        old->subTunnelConfig(), [&](auto& coll, auto const& key, auto const& value) {
                                           if (chance(10)) return;
                                           coll.subTunnelConfigIs(key, chance(50) ? value : newConfig(key));
                                        }));
         return fmt::format("configurations of {} replaced", id.tunnelSpecId());
      }
      case 1: {
         auto const old = statusColl(id.tunnelSpecId());
         if (gone) {
            if (isNull) {
               statusTable()->subTunnelStatusCollIs(id.tunnelSpecId(), nullptr);
            } else {
               statusTable()->subTunnelStatusCollDel(id.tunnelSpecId());
            }
            return fmt::format("statuses of {} gone", id.tunnelSpecId());
         }
         statusTable()->subTunnelStatusCollIs(
               id.tunnelSpecId(), copied<Rsvp::RsvpLerSubTunnelStatusColl>(
                                        old->subTunnelStatus(), [&](auto& coll, auto const& key, auto const& value) {
                                           if (chance(10)) return;
                                           coll.subTunnelStatusIs(key, chance(50) ? value : newStatus(key));
                                        }));
         return fmt::format("statuses of {} replaced", id.tunnelSpecId());
      }
      case 2: {
         auto const old = requestColl(group);
         if (gone) {
            if (isNull) {
               requestTable()->lspRequestStatusCollIs(group, nullptr);
            } else {
               requestTable()->lspRequestStatusCollDel(group);
            }
            return fmt::format("request statuses of {} gone", group);
         }
         requestTable()->lspRequestStatusCollIs(
               group, copied<Rsvp::RsvpLerLspRequestStatusCollForLspGroup>(
                            old->lspRequestStatus(), [&](auto& coll, auto const& key, auto const& value) {
                               if (chance(10)) return;
                               coll.lspRequestStatusIs(key,
                                                       chance(70) ? value : made<Rsvp::RsvpLerLspRequestStatus>(key));
                            }));
         return fmt::format("request statuses of {} replaced", group);
      }
      default: {
         auto const old = pathSpecColl(id.source);
         if (gone) {
            if (isNull) {
               pathSpecTable()->pathSpecCollIs(id.source, nullptr);
            } else {
               pathSpecTable()->pathSpecCollDel(id.source);
            }
            return fmt::format("path specs of source {} gone", id.source);
         }
         pathSpecTable()->pathSpecCollIs(id.source,
                                         copied<Rsvp::RsvpLerPathSpecCollForSource>(
                                               old->pathSpec(), [&](auto& coll, auto const& key, auto const& value) {
                                                  if (chance(10)) return;
                                                  coll.pathSpecIs(key, chance(50) ? value : newPathSpec(key));
                                               }));
         return fmt::format("path specs of source {} replaced", id.source);
      }
   }
}

std::string World::tableEvent() {
   bool const gone = chance(10);
   switch (pick(6)) {
      case 0: {
         auto const old = spIdMap();
         if (gone) {
            Vel::Ptr(lerStatus_)->spIdMapIs(nullptr);
            return "sp id map gone";
         }
         Vel::Ptr(lerStatus_)
               ->spIdMapIs(copied<Rsvp::RsvpLerSpIdMap>(
                     old->spIdForLspRequestConfigId(), [&](auto& map, auto const& key, auto const& value) {
                        if (chance(10)) return;
                        map.spIdForLspRequestConfigIdIs(key, chance(92) ? value : anySpId());
                     }));
         return "sp id map replaced";
      }
      case 1: {
         auto const old = spStatusColl();
         if (gone) {
            Vel::Ptr(kelpStatus_)->spStatusCollIs(nullptr);
            return "sp statuses gone";
         }
         Vel::Ptr(kelpStatus_)
               ->spStatusCollIs(copied<Rsvp::RsvpSpStatusColl>(
                     old->spStatus(), [&](auto& coll, auto const& key, auto const& value) {
                        if (chance(10)) return;
                        coll.spStatusIs(key, chance(70) ? value : made<Rsvp::RsvpSpStatus>(key));
                     }));
         return "sp statuses replaced";
      }
      case 2: {
         auto const old = configTable();
         if (gone) {
            Vel::Ptr(lerStatus_)->subTunnelConfigCollTableIs(nullptr);
            return "configuration table gone";
         }
         Vel::Ptr(lerStatus_)
               ->subTunnelConfigCollTableIs(copied<Rsvp::RsvpLerSubTunnelConfigCollTable>(
                     old->subTunnelConfigColl(), [&](auto& table, auto const& key, auto const& value) {
                        if (chance(8)) return;
                        table.subTunnelConfigCollIs(key, chance(70) ? value : newConfigColl(key));
                     }));
         return "configuration table replaced";
      }
      case 3: {
         auto const old = statusTable();
         if (gone) {
            Vel::Ptr(lerStatus_)->subTunnelStatusCollTableIs(nullptr);
            return "status table gone";
         }
         Vel::Ptr(lerStatus_)
               ->subTunnelStatusCollTableIs(copied<Rsvp::RsvpLerSubTunnelStatusCollTable>(
                     old->subTunnelStatusColl(), [&](auto& table, auto const& key, auto const& value) {
                        if (chance(8)) return;
                        table.subTunnelStatusCollIs(key, chance(70) ? value : newStatusColl(key));
                     }));
         return "status table replaced";
      }
      case 4: {
         auto const old = requestTable();
         if (gone) {
            Vel::Ptr(lerStatus_)->lspRequestStatusCollTableIs(nullptr);
            return "request status table gone";
         }
         Vel::Ptr(lerStatus_)
               ->lspRequestStatusCollTableIs(copied<Rsvp::RsvpLerLspRequestStatusCollTable>(
                     old->lspRequestStatusColl(), [&](auto& table, auto const& key, auto const& value) {
                        if (chance(8)) return;
                        table.lspRequestStatusCollIs(key, chance(70) ? value : newRequestColl(key));
                     }));
         return "request status table replaced";
      }
      default: {
         auto const old = pathSpecTable();
         if (gone) {
            Vel::Ptr(lerConfig_)->pathSpecCollTableIs(nullptr);
            return "path spec table gone";
         }
         Vel::Ptr(lerConfig_)
               ->pathSpecCollTableIs(copied<Rsvp::RsvpLerPathSpecCollTable>(
                     old->pathSpecColl(), [&](auto& table, auto const& key, auto const& value) {
                        table.pathSpecCollIs(key, chance(70) ? value : newPathSpecColl(key));
                     }));
         return "path spec table replaced";
      }
   }
}

}  // namespace Model
