// SPDX-License-Identifier: MIT
/// Rows whose columns the tests set.
#pragma once

#include <string>
#include <string_view>

#include "mib/MplsTunnelHopTableEntry.h"
#include "mib/MplsTunnelTableEntry.h"

namespace TestSupport {

struct TunnelRow : MplsSnmp::MplsTunnelTableEntry {
   struct Values {
      std::string name = "to-paris";
      std::string descr = {};
      bool isIf = false;
      std::uint32_t ifIndex = 0;
      MplsSnmp::MplsOwner owner = MplsSnmp::MplsOwner::rsvpTe;
      MplsSnmp::TunnelRole role = MplsSnmp::TunnelRole::head;
      MplsSnmp::SignallingProto signallingProto = MplsSnmp::SignallingProto::protoRsvp;
      std::uint8_t setupPrio = 7;
      std::uint8_t holdingPrio = 0;
      std::uint8_t sessionAttributes = 0x14;
      bool localProtectInUse = false;
      std::uint32_t pathInUse = 1;
      std::uint32_t includeAnyAffinity = 0;
      std::uint32_t includeAllAffinity = 0;
      std::uint32_t excludeAnyAffinity = 0;
      double instanceUpTime = 0;
      std::uint32_t pathChanges = 0;
      std::uint32_t stateTransitions = 0;
      MplsSnmp::OperStatus operStatus = MplsSnmp::OperStatus::operUp;
      std::uint64_t perfPackets = 0;
      std::uint64_t perfBytes = 0;
   } values;

   TunnelRow(MplsSnmp::MplsTunnelTableKey const& key, std::uint32_t hopTableIndex, Values v)
         : MplsTunnelTableEntry(key, hopTableIndex), values(std::move(v)) {}

   Vel::String name() const override { return values.name; }
   Vel::String descr() const override { return values.descr; }
   bool isIf() const override { return values.isIf; }
   std::uint32_t ifIndex() const override { return values.ifIndex; }
   MplsSnmp::MplsOwner owner() const override { return values.owner; }
   MplsSnmp::TunnelRole role() const override { return values.role; }
   MplsSnmp::SignallingProto signallingProto() const override { return values.signallingProto; }
   std::uint8_t setupPrio() const override { return values.setupPrio; }
   std::uint8_t holdingPrio() const override { return values.holdingPrio; }
   MplsSnmp::SessionAttributesBits sessionAttributes() const override {
      return MplsSnmp::SessionAttributesBits(values.sessionAttributes);
   }
   bool localProtectInUse() const override { return values.localProtectInUse; }
   std::uint32_t pathInUse() const override { return values.pathInUse; }
   std::uint32_t includeAnyAffinity() const override { return values.includeAnyAffinity; }
   std::uint32_t includeAllAffinity() const override { return values.includeAllAffinity; }
   std::uint32_t excludeAnyAffinity() const override { return values.excludeAnyAffinity; }
   Vel::Seconds instanceUpTime() const override { return values.instanceUpTime; }
   std::uint32_t pathChanges() const override { return values.pathChanges; }
   std::uint32_t stateTransitions() const override { return values.stateTransitions; }
   MplsSnmp::OperStatus operStatus() const override { return values.operStatus; }
   std::uint64_t perfPackets() const override { return values.perfPackets; }
   std::uint64_t perfBytes() const override { return values.perfBytes; }
};

inline Vel::Ptr<TunnelRow const> tunnelRow(MplsSnmp::MplsTunnelTableKey const& key, TunnelRow::Values values = {},
                                           std::uint32_t hopTableIndex = 1) {
   return Vel::makePtr<TunnelRow>(key, hopTableIndex, std::move(values));
}

/// A key of which only the tunnel index matters.
inline MplsSnmp::MplsTunnelTableKey tunnelKey(std::uint16_t index) { return {index, 1, 0x0a000001, 0x0a000009}; }

struct HopRow : MplsSnmp::MplsTunnelHopTableEntry {
   struct Values {
      MplsSnmp::HopAddrType addrType = MplsSnmp::HopAddrType::ipv4;
      std::string ipAddr = {10, 0, 12, 2};
      std::uint32_t prefixLen = 32;
      std::string asNumber = std::string(4, '\0');
      std::string addrUnnum = std::string(4, '\0');
      std::string lspId = std::string(2, '\0');
      MplsSnmp::HopType type = MplsSnmp::HopType::strict;
      bool include = true;
      std::string pathOptionName = "gold";
      MplsSnmp::HopEntryPathComp pathComp = MplsSnmp::HopEntryPathComp::compExplicit;
   } values;

   HopRow(MplsSnmp::MplsTunnelHopTableKey const& key, Values v) : MplsTunnelHopTableEntry(key), values(std::move(v)) {}

   MplsSnmp::HopAddrType hopAddrType() const override { return values.addrType; }
   Vel::Bytes hopIpAddr() const override { return Vel::Bytes(values.ipAddr); }
   std::uint32_t hopIpPrefixLen() const override { return values.prefixLen; }
   Vel::Bytes hopAsNumber() const override { return Vel::Bytes(values.asNumber); }
   Vel::Bytes hopAddrUnnum() const override { return Vel::Bytes(values.addrUnnum); }
   Vel::Bytes hopLspId() const override { return Vel::Bytes(values.lspId); }
   MplsSnmp::HopType hopType() const override { return values.type; }
   bool hopInclude() const override { return values.include; }
   Vel::String hopPathOptionName() const override { return values.pathOptionName; }
   MplsSnmp::HopEntryPathComp hopEntryPathComp() const override { return values.pathComp; }
};

inline Vel::Ptr<HopRow const> hopRow(MplsSnmp::MplsTunnelHopTableKey const& key, HopRow::Values values = {}) {
   return Vel::makePtr<HopRow>(key, std::move(values));
}

}  // namespace TestSupport
