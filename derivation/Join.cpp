// SPDX-License-Identifier: MIT
#include "derivation/Join.h"

#include <arpa/inet.h>

namespace MplsSnmp {

MplsTunnelTableKey mibKeyFor(Rsvp::RsvpSpId const& spId) {
   return {spId.session.tunnelId, spId.sender.lspId, ntohl(spId.sender.address.ip4NetworkOrder()),
           ntohl(spId.session.destination.ip4NetworkOrder())};
}

Rsvp::RsvpSpId spIdFor(MplsTunnelTableKey const& key) {
   Rsvp::RsvpSpId spId;
   spId.session.destination = Lanu::IpGenAddr::fromHostOrder(key.tunnelEgressLsrId);
   spId.session.tunnelId = key.tunnelIndex;
   spId.sender.address = Lanu::IpGenAddr::fromHostOrder(key.tunnelIngressLsrId);
   spId.sender.lspId = key.tunnelInstance;
   return spId;
}

SubTunnelStatusPtr JoinInputs::subTunnelStatus(Rsvp::RsvpLerTunnelSpecId const& tunnel,
                                               Rsvp::RsvpLerSubTunnelConfigId const& id) const {
   auto const& table = lerStatus->subTunnelStatusCollTable();
   auto const coll = table ? table->subTunnelStatusColl()[tunnel] : nullptr;
   return coll ? coll->subTunnelStatus()[id] : nullptr;
}

SubTunnelConfigPtr JoinInputs::subTunnelConfig(Rsvp::RsvpLerTunnelSpecId const& tunnel,
                                               Rsvp::RsvpLerSubTunnelConfigId const& id) const {
   auto const& table = lerStatus->subTunnelConfigCollTable();
   auto const coll = table ? table->subTunnelConfigColl()[tunnel] : nullptr;
   return coll ? coll->subTunnelConfig()[id] : nullptr;
}

RequestStatusPtr JoinInputs::lspRequestStatus(Rsvp::RsvpLerLspGroupId const& group,
                                              Rsvp::RsvpLerLspRequestConfigId const& id) const {
   auto const& table = lerStatus->lspRequestStatusCollTable();
   auto const coll = table ? table->lspRequestStatusColl()[group] : nullptr;
   return coll ? coll->lspRequestStatus()[id] : nullptr;
}

SpStatusPtr JoinInputs::spStatus(Rsvp::RsvpSpId const& spId) const {
   auto const& coll = kelpStatus->spStatusColl();
   return coll ? coll->spStatus()[spId] : nullptr;
}

Vel::Optional<Rsvp::RsvpSpId> JoinInputs::spId(Rsvp::RsvpLerLspRequestConfigId const& id) const {
   auto const& map = lerStatus->spIdMap();
   auto const* const found = map ? map->spIdForLspRequestConfigId().find(id) : nullptr;
   if (!found) return Vel::None;
   return *found;
}

Vel::Optional<Join> joinInputs(JoinInputs const& inputs, Rsvp::RsvpLerLspRequestConfigId const& request,
                               Rsvp::RsvpSpId const& spId, StandIn const& standIn, bool isAdd,
                               std::string_view& failed) {
   Join join;
   join.subTunnelStatus = inputs.subTunnelStatus(request.subTunnelConfigId());
   // The delete of an active LSP must reach the row also when its sub-tunnel status has gone altogether.
   bool const statusMayBeGone = standIn.activeLsp && !isAdd;
   if (!join.subTunnelStatus && !statusMayBeGone) {
      failed = "subTunnelStatus";
      return Vel::None;
   }
   if (!statusMayBeGone && !(join.subTunnelStatus->activeLsp() == request)) {
      failed = "( ( *subTunnelStatus ).activeLsp == lspRequestConfigId )";
      return Vel::None;
   }
   join.subTunnelConfig =
         standIn.subTunnelConfig ? standIn.subTunnelConfig : inputs.subTunnelConfig(request.subTunnelConfigId());
   if (!join.subTunnelConfig) {
      failed = "subTunnelConfig";
      return Vel::None;
   }
   join.lspRequestStatus = standIn.lspRequestStatus ? standIn.lspRequestStatus : inputs.lspRequestStatus(request);
   if (!join.lspRequestStatus) {
      failed = "lspRequestStatus";
      return Vel::None;
   }
   join.spStatus = standIn.spStatus ? standIn.spStatus : inputs.spStatus(spId);
   if (!join.spStatus) {
      failed = "spStatus";
      return Vel::None;
   }
   return join;
}

}  // namespace MplsSnmp
