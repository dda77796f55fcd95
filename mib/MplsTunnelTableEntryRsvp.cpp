// SPDX-License-Identifier: MIT
#include "mib/MplsTunnelTableEntryRsvp.h"

#include <algorithm>
#include <limits>

#include "inputs/tunnel/TunnelId.h"
#include "substrate/trel/Assert.h"
#include "substrate/trel/Exceptions.h"
#include "substrate/vel/FetchAhead.h"
#include "substrate/vel/WorkCounter.h"

namespace MplsSnmp {

namespace {

/// RSVP Notify with the value for a locally repaired tunnel (RFC 3209, RFC 4090).
constexpr Rsvp::RsvpLerLspRequestStatus::Error kTunnelLocallyRepaired{25, 3};

Vel::WorkCounter tunnelRowsBuilt("tunnel rows built");

}  // namespace

MplsTunnelTableEntryRsvp::MplsTunnelTableEntryRsvp(MplsTunnelTableKey const& key, std::uint32_t hopTableIndex,
                                                   Vel::Ptr<Rsvp::RsvpLerSubTunnelStatus const> subTunnelStatus,
                                                   Vel::Ptr<Rsvp::RsvpLerSubTunnelConfig const> subTunnelConfig,
                                                   Vel::Ptr<Rsvp::RsvpSpStatus const> spStatus,
                                                   Vel::Ptr<Rsvp::RsvpLerLspRequestStatus const> lspRequestStatus,
                                                   Vel::Ptr<Tallies::CounterTable const> counterTable,
                                                   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> lerHiveStatus)
      : MplsTunnelTableEntry(key, hopTableIndex),
        subTunnelStatus_(std::move(subTunnelStatus)),
        subTunnelConfig_(std::move(subTunnelConfig)),
        spStatus_(std::move(spStatus)),
        lspRequestStatus_(std::move(lspRequestStatus)),
        counterTable_(std::move(counterTable)),
        lerHiveStatus_(std::move(lerHiveStatus)) {
   Trel::fmassert(subTunnelStatus_ && subTunnelConfig_ && spStatus_ && lspRequestStatus_ && lerHiveStatus_,
                  "subTunnelStatus && subTunnelConfig && spStatus && lspRequestStatus && lerHiveStatus");
   ++tunnelRowsBuilt;
}

void MplsTunnelTableEntryRsvp::fetchAhead() const {
   Vel::fetchAhead(subTunnelStatus_.get());
   Vel::fetchAhead(spStatus_.get());
}

Vel::String MplsTunnelTableEntryRsvp::name() const { return Rsvp::nameText(subTunnelStatus_->id().tunnelName); }

std::uint8_t MplsTunnelTableEntryRsvp::setupPrio() const {
   std::uint16_t const priority = spStatus_->sessionAttribute().setupPriority;
   return priority > std::numeric_limits<std::uint8_t>::max() ? 0 : static_cast<std::uint8_t>(priority);
}

std::uint8_t MplsTunnelTableEntryRsvp::holdingPrio() const { return spStatus_->sessionAttribute().holdingPriority; }

SessionAttributesBits MplsTunnelTableEntryRsvp::sessionAttributes() const {
   SessionAttributesBits bits;
   bits.isPersistentIs(true);
   bits.recordRouteIs(true);
   bits.fastRerouteIs(subTunnelConfig_->fastReroute());
   return bits;
}

bool MplsTunnelTableEntryRsvp::localProtectInUse() const {
   return std::ranges::find(lspRequestStatus_->errors(), kTunnelLocallyRepaired) != lspRequestStatus_->errors().end();
}

std::uint32_t MplsTunnelTableEntryRsvp::includeAnyAffinity() const { return spStatus_->sessionAttribute().includeAny; }
std::uint32_t MplsTunnelTableEntryRsvp::includeAllAffinity() const { return spStatus_->sessionAttribute().includeAll; }
std::uint32_t MplsTunnelTableEntryRsvp::excludeAnyAffinity() const { return spStatus_->sessionAttribute().excludeAny; }

Vel::Seconds MplsTunnelTableEntryRsvp::instanceUpTime() const {
   return Vel::System::currentTime() - spStatus_->upSince();
}

std::uint32_t MplsTunnelTableEntryRsvp::pathChanges() const { return subTunnelStatus_->pathChanges(); }
std::uint32_t MplsTunnelTableEntryRsvp::stateTransitions() const { return subTunnelStatus_->stateTransitions(); }

OperStatus MplsTunnelTableEntryRsvp::operStatus() const {
   return subTunnelStatus_->up() ? OperStatus::operUp : OperStatus::operDown;
}

std::uint64_t MplsTunnelTableEntryRsvp::perfPackets() const { return counter().packets; }
std::uint64_t MplsTunnelTableEntryRsvp::perfBytes() const { return counter().bytes; }

std::uint64_t MplsTunnelTableEntryRsvp::getTunnelId() const {
   using Tunnel::TunnelTable::TunnelId;
   auto const& id = subTunnelConfig_->id();
   if (id.isSplit()) {
      auto const& map = lerHiveStatus_->subTunnelIndexMap();
      std::uint32_t const index = map ? map->tunnelIndexForSubTunnelConfigId()[id] : 0;
      return TunnelId::convertToTunnelValue(TunnelId::Type::rsvpSubTunnel, index);
   }
   auto const& map = lerHiveStatus_->tunnelIndexMap();
   std::uint32_t const index = map ? map->tunnelIndexForTunnelSpecId()[id.tunnelSpecId()] : 0;
   return TunnelId::convertToTunnelValue(TunnelId::Type::rsvpTunnel, index);
}

Tallies::Counter MplsTunnelTableEntryRsvp::counter() const {
   Tallies::CounterMap const* const map = counterTable_ ? counterTable_->counterMap() : nullptr;
   if (!map) return {};
   try {
      auto const* const entry = map->find(getTunnelId());
      if (!entry) return {};
      // The writer may be at work on the entry: only two equal copies in a row are a whole one.
      Tallies::Counter copy = entry->copy();
      for (Tallies::Counter again = entry->copy(); !(again == copy); again = entry->copy()) {
         copy = again;
      }
      return copy;
   } catch (Trel::CorruptionDetectedException const& corruption) {
      map->corruptionHandler(corruption.what());
      return {};
   }
}

}  // namespace MplsSnmp
