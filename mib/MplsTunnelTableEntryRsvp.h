// SPDX-License-Identifier: MIT
#pragma once

#include "inputs/rsvp/KelpStatus.h"
#include "inputs/rsvp/LerHiveStatus.h"
#include "inputs/tallies/CounterTable.h"
#include "mib/MplsTunnelTableEntry.h"
#include "substrate/vel/Pool.h"

namespace MplsSnmp {

/// A tunnel row over the RSVP-TE state: each accessor reads the input objects that the row was made with, nothing is
/// cached. Missing state reads as 0; no accessor throws.
class MplsTunnelTableEntryRsvp : public MplsTunnelTableEntry, public Vel::Pooled<MplsTunnelTableEntryRsvp> {
 public:
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   /// REQUIRES: the inputs are not null, except for `counterTable`.
   MplsTunnelTableEntryRsvp(MplsTunnelTableKey const& key, std::uint32_t hopTableIndex,
                            Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus const> subTunnelStatus,
                            Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig const> subTunnelConfig,
                            Vel::Ptr<Rsvp::RsvpSpStatus const> spStatus,
                            Vel::Ptr<Rsvp::RsvpLerLspRequestStatus const> lspRequestStatus,
                            Vel::Ptr<Tallies::CounterTable const> counterTable,
                            Vel::Ptr<Rsvp::RsvpLerHiveStatus const> lerHiveStatus);

   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus const> const& subTunnelStatus() const { return subTunnelStatus_; }
   Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig const> const& subTunnelConfig() const { return subTunnelConfig_; }
   Vel::Ptr<Rsvp::RsvpSpStatus const> const& spStatus() const { return spStatus_; }
   Vel::Ptr<Rsvp::RsvpLerLspRequestStatus const> const& lspRequestStatus() const { return lspRequestStatus_; }
   Vel::Ptr<Tallies::CounterTable const> const& counterTable() const { return counterTable_; }
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& lerHiveStatus() const { return lerHiveStatus_; }

   void fetchAhead() const override;

   Vel::String name() const override;
   Vel::String descr() const override { return {}; }
   bool isIf() const override { return false; }
   std::uint32_t ifIndex() const override { return 0; }
   MplsOwner owner() const override { return MplsOwner::rsvpTe; }
   /// Every row is a tunnel that this router originates.
   TunnelRole role() const override { return TunnelRole::head; }
   SignallingProto signallingProto() const override { return SignallingProto::protoRsvp; }
   /// A priority that does not fit the MIB's octet reads as 0.
   std::uint8_t setupPrio() const override;
   std::uint8_t holdingPrio() const override;
   SessionAttributesBits sessionAttributes() const override;
   bool localProtectInUse() const override;
   std::uint32_t pathInUse() const override { return 1; }
   std::uint32_t includeAnyAffinity() const override;
   std::uint32_t includeAllAffinity() const override;
   std::uint32_t excludeAnyAffinity() const override;
   Vel::Seconds instanceUpTime() const override;
   std::uint32_t pathChanges() const override;
   std::uint32_t stateTransitions() const override;
   OperStatus operStatus() const override;
   std::uint64_t perfPackets() const override;
   std::uint64_t perfBytes() const override;

   /// The tunnel value under which the forwarding plane keeps this tunnel's counters.
   std::uint64_t getTunnelId() const;

 private:
   Tallies::Counter counter() const;

   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus const> subTunnelStatus_;
   Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig const> subTunnelConfig_;
   Vel::Ptr<Rsvp::RsvpSpStatus const> spStatus_;
   Vel::Ptr<Rsvp::RsvpLerLspRequestStatus const> lspRequestStatus_;
   Vel::Ptr<Tallies::CounterTable const> counterTable_;
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> lerHiveStatus_;
};

/// A new row; arguments as for the constructor.
template <class... Args>
Vel::Ptr<MplsTunnelTableEntryRsvp const> mplsTunnelTableEntryRsvpFactory(Args&&... args) {
   return Vel::makePtr<MplsTunnelTableEntryRsvp>(std::forward<Args>(args)...);
}

}  // namespace MplsSnmp
