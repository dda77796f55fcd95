// SPDX-License-Identifier: MIT
/// The look-ups that join the inputs of one LSP.
#pragma once

#include "hoptable/Inputs.h"
#include "inputs/rsvp/KelpStatus.h"
#include "inputs/rsvp/LerHiveStatus.h"
#include "mib/Keys.h"
#include "substrate/vel/Optional.h"

namespace MplsSnmp {

using RequestStatusPtr = Vel::Ptr<Rsvp::RsvpLerLspRequestStatus const>;
using SpStatusPtr = Vel::Ptr<Rsvp::RsvpSpStatus const>;

/// The index of the row of an sp id: a one-to-one mapping, since the addresses of sp ids are IPv4.
MplsTunnelTableKey mibKeyFor(Rsvp::RsvpSpId const& spId);
Rsvp::RsvpSpId spIdFor(MplsTunnelTableKey const& key);

/// The inputs that the look-ups read. Absent collections and entries read as null or None.
struct JoinInputs {
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> lerStatus;
   Vel::Ptr<Rsvp::RsvpKelpStatus const> kelpStatus;

   SubTunnelStatusPtr subTunnelStatus(Rsvp::RsvpLerTunnelSpecId const& tunnel,
                                      Rsvp::RsvpLerSubTunnelConfigId const& id) const;
   SubTunnelStatusPtr subTunnelStatus(Rsvp::RsvpLerSubTunnelConfigId const& id) const {
      return subTunnelStatus(id.tunnelSpecId(), id);
   }
   SubTunnelConfigPtr subTunnelConfig(Rsvp::RsvpLerTunnelSpecId const& tunnel,
                                      Rsvp::RsvpLerSubTunnelConfigId const& id) const;
   SubTunnelConfigPtr subTunnelConfig(Rsvp::RsvpLerSubTunnelConfigId const& id) const {
      return subTunnelConfig(id.tunnelSpecId(), id);
   }
   RequestStatusPtr lspRequestStatus(Rsvp::RsvpLerLspGroupId const& group,
                                     Rsvp::RsvpLerLspRequestConfigId const& id) const;
   RequestStatusPtr lspRequestStatus(Rsvp::RsvpLerLspRequestConfigId const& id) const {
      return lspRequestStatus(id.lspGroupId, id);
   }
   SpStatusPtr spStatus(Rsvp::RsvpSpId const& spId) const;
   Vel::Optional<Rsvp::RsvpSpId> spId(Rsvp::RsvpLerLspRequestConfigId const& id) const;
};

/// What takes the place of a look-up: the value that the event itself carries. For a delete it is the old value, which
/// the look-up would not find any more.
struct StandIn {
   bool activeLsp = false;  ///< the event says which LSP was the active one
   SubTunnelConfigPtr subTunnelConfig{};
   RequestStatusPtr lspRequestStatus{};
   SpStatusPtr spStatus{};
};

/// The joined inputs of an LSP request on an sp id.
struct Join {
   SubTunnelStatusPtr subTunnelStatus;
   SubTunnelConfigPtr subTunnelConfig{};
   RequestStatusPtr lspRequestStatus{};
   SpStatusPtr spStatus{};
};

/// Joins the inputs of `request` on `spId`. On failure `failed` is the condition that did not hold and the result is
/// empty. `isAdd` false: the sub-tunnel status may be gone already when the event itself is about it.
Vel::Optional<Join> joinInputs(JoinInputs const& inputs, Rsvp::RsvpLerLspRequestConfigId const& request,
                               Rsvp::RsvpSpId const& spId, StandIn const& standIn, bool isAdd,
                               std::string_view& failed);

}  // namespace MplsSnmp
