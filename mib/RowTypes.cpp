// SPDX-License-Identifier: MIT
/// What the generic interface knows of the rows: each column is an attribute. What is read is computed by the read.
#include "mib/MplsTunnelHopTableEntryRsvp.h"
#include "mib/MplsTunnelTableEntryRsvp.h"
#include "substrate/vel/Generic.h"

namespace MplsSnmp {

namespace {

using Vel::Generic::method;
using Vel::Generic::readOnly;
using TunnelRow = MplsTunnelTableEntry;
using RsvpTunnelRow = MplsTunnelTableEntryRsvp;
using HopRow = MplsTunnelHopTableEntry;
using RsvpHopRow = MplsTunnelHopTableEntryRsvp;

constexpr auto kTunnelColumns = readOnly({{"key", method<&TunnelRow::key>},
                                          {"hopTableIndex", method<&TunnelRow::hopTableIndex>},
                                          {"adminStatus", method<&TunnelRow::adminStatus>},
                                          {"rowStatus", method<&TunnelRow::rowStatus>},
                                          {"storageType", method<&TunnelRow::storageType>},
                                          {"name", method<&TunnelRow::name>},
                                          {"descr", method<&TunnelRow::descr>},
                                          {"isIf", method<&TunnelRow::isIf>},
                                          {"ifIndex", method<&TunnelRow::ifIndex>},
                                          {"owner", method<&TunnelRow::owner>},
                                          {"role", method<&TunnelRow::role>},
                                          {"signallingProto", method<&TunnelRow::signallingProto>},
                                          {"setupPrio", method<&TunnelRow::setupPrio>},
                                          {"holdingPrio", method<&TunnelRow::holdingPrio>},
                                          {"sessionAttributes", method<&TunnelRow::sessionAttributes>},
                                          {"localProtectInUse", method<&TunnelRow::localProtectInUse>},
                                          {"pathInUse", method<&TunnelRow::pathInUse>},
                                          {"includeAnyAffinity", method<&TunnelRow::includeAnyAffinity>},
                                          {"includeAllAffinity", method<&TunnelRow::includeAllAffinity>},
                                          {"excludeAnyAffinity", method<&TunnelRow::excludeAnyAffinity>},
                                          {"instanceUpTime", method<&TunnelRow::instanceUpTime>},
                                          {"pathChanges", method<&TunnelRow::pathChanges>},
                                          {"stateTransitions", method<&TunnelRow::stateTransitions>},
                                          {"operStatus", method<&TunnelRow::operStatus>},
                                          {"perfPackets", method<&TunnelRow::perfPackets>},
                                          {"perfBytes", method<&TunnelRow::perfBytes>}});

constexpr auto kTunnelInputs = readOnly({{"subTunnelStatus", method<&RsvpTunnelRow::subTunnelStatus>},
                                         {"subTunnelConfig", method<&RsvpTunnelRow::subTunnelConfig>},
                                         {"spStatus", method<&RsvpTunnelRow::spStatus>},
                                         {"lspRequestStatus", method<&RsvpTunnelRow::lspRequestStatus>},
                                         {"counterTable", method<&RsvpTunnelRow::counterTable>},
                                         {"lerHiveStatus", method<&RsvpTunnelRow::lerHiveStatus>}},
                                        kTunnelColumns.size() + 1);

constexpr auto kHopColumns = readOnly({{"key", method<&HopRow::key>},
                                       {"rowStatus", method<&HopRow::rowStatus>},
                                       {"storageType", method<&HopRow::storageType>},
                                       {"hopAddrType", method<&HopRow::hopAddrType>},
                                       {"hopIpAddr", method<&HopRow::hopIpAddr>},
                                       {"hopIpPrefixLen", method<&HopRow::hopIpPrefixLen>},
                                       {"hopAsNumber", method<&HopRow::hopAsNumber>},
                                       {"hopAddrUnnum", method<&HopRow::hopAddrUnnum>},
                                       {"hopLspId", method<&HopRow::hopLspId>},
                                       {"hopType", method<&HopRow::hopType>},
                                       {"hopInclude", method<&HopRow::hopInclude>},
                                       {"hopPathOptionName", method<&HopRow::hopPathOptionName>},
                                       {"hopEntryPathComp", method<&HopRow::hopEntryPathComp>}});

constexpr auto kHopInputs = readOnly(
      {{"ipAddr", method<&RsvpHopRow::ipAddr>}, {"pathSpec", method<&RsvpHopRow::pathSpec>}}, kHopColumns.size() + 1);

}  // namespace

Vel::TypeInfo const& MplsTunnelTableEntry::typeInfo() {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::MplsTunnelTableEntry", .attributes = kTunnelColumns};
   return type;
}

Vel::TypeInfo const& MplsTunnelTableEntryRsvp::typeInfo() {
   static Vel::TypeInfo const type{.name = "MplsSnmp::MplsTunnelTableEntryRsvp",
                                   .attributes = kTunnelInputs,
                                   .base = &MplsTunnelTableEntry::typeInfo()};
   return type;
}

Vel::TypeInfo const& MplsTunnelHopTableEntry::typeInfo() {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::MplsTunnelHopTableEntry", .attributes = kHopColumns};
   return type;
}

Vel::TypeInfo const& MplsTunnelHopTableEntryRsvp::typeInfo() {
   static Vel::TypeInfo const type{.name = "MplsSnmp::MplsTunnelHopTableEntryRsvp",
                                   .attributes = kHopInputs,
                                   .base = &MplsTunnelHopTableEntry::typeInfo()};
   return type;
}

}  // namespace MplsSnmp
