// SPDX-License-Identifier: MIT
/// What a monitor keeps of rows and of tunnels.
#pragma once

#include "notifications/TunnelMonitor.h"

namespace MplsSnmp {

class TunnelMonitor::VelMplsTeMib : public Vel::Reactor<VelMplsTeMib, TunnelMonitor, MplsTeMib> {
 public:
   using Reactor::Reactor;
   void handle(TunnelMonitor& owner, Vel::AttributeId attribute, void const* key) {
      if (attribute == MplsTeMib::attrMplsTunnelTable) owner.handleRow(*static_cast<MplsTunnelTableKey const*>(key));
   }
};

/// What is kept of a tunnel for as long as it has a row, or something is to be told of it.
struct TunnelMonitor::Tunnel : Vel::PtrInterface, Queued {
   explicit Tunnel(Rsvp::RsvpLerSubTunnelConfigId tunnelId) : id(std::move(tunnelId)) {}

   /// The row of its active LSP, or else the one that came last; null when there is none. There is more than one as
   /// long as that of an earlier LSP stays because its sp id has become ambiguous.
   MplsTunnelTableEntryRsvp const* row() const;

   Rsvp::RsvpLerSubTunnelConfigId id;
   Row* newest = nullptr;
   Told told{TunnelState()};
   bool touched = false;
};

/// Listens to the errors of the LSP that a row is of.
class TunnelMonitor::VelLspRequestStatus
      : public Vel::Reactor<VelLspRequestStatus, TunnelMonitor, Rsvp::RsvpLerLspRequestStatus> {
 public:
   VelLspRequestStatus(TunnelMonitor* owner, Vel::Ptr<Rsvp::RsvpLerLspRequestStatus const> const& status,
                       Tunnel& tunnel)
         : Reactor(owner, status), tunnel_(&tunnel) {}
   void handle(TunnelMonitor& owner, Vel::AttributeId, void const*) { owner.touch(*tunnel_); }

 private:
   Tunnel* tunnel_;
};

/// A row, and the reactor on the status of its sub-tunnel: one that is not RSVP's has none.
class TunnelMonitor::Row : public Vel::Reactor<Row, TunnelMonitor, Rsvp::RsvpLerSubTunnelStatus> {
 public:
   Row(TunnelMonitor* owner, Vel::Ptr<MplsTunnelTableEntry const> const& entry, MplsTunnelTableEntryRsvp const* rsvp)
         : Reactor(owner, rsvp ? rsvp->subTunnelStatus() : nullptr),
           entry(entry),
           rsvp(rsvp),
           up(entry->operStatus() == OperStatus::operUp) {}
   void handle(TunnelMonitor& owner, Vel::AttributeId, void const*) { owner.handleStatus(*this); }

   Vel::Ptr<MplsTunnelTableEntry const> const entry;
   MplsTunnelTableEntryRsvp const* const rsvp;  // the same, or null
   bool up;

   // While there is a sink:
   Vel::Ptr<Tunnel> tunnel;
   Row* older = nullptr;  // of the tunnel
   Vel::Ptr<VelLspRequestStatus> velLspRequestStatus;
};

inline MplsTunnelTableEntryRsvp const* TunnelMonitor::Tunnel::row() const {
   for (Row const* row = newest; row; row = row->older) {
      if (row->rsvp->lspRequestStatus()->id() == row->rsvp->subTunnelStatus()->activeLsp()) return row->rsvp;
   }
   return newest ? newest->rsvp : nullptr;
}

}  // namespace MplsSnmp
