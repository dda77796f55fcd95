// SPDX-License-Identifier: MIT
#include "mib/Types.h"

#include <array>

#include "mib/MplsSnmp.h"
#include "mib/Trace.h"
#include "substrate/vel/ValueInfo.h"

namespace MplsSnmp {

Vel::TraceHandle const& traceHandle() {
   static Vel::TraceHandle const handle("MplsSnmp");
   return handle;
}

std::span<Vel::TypeInfo const* const> mplsSnmpTypes() {
   using Vel::valueTypeInfo;
   static std::array const types{
         // Entities and rows.
         &MplsTeMib::typeInfo(), &LspRequestConfigIdSet::typeInfo(), &MplsTunnelTableEntry::typeInfo(),
         &MplsTunnelTableEntryRsvp::typeInfo(), &MplsTunnelHopTableEntry::typeInfo(),
         &MplsTunnelHopTableEntryRsvp::typeInfo(),
         // Values.
         &valueTypeInfo<MplsTunnelTableKey>(), &valueTypeInfo<MplsTunnelHopTableKey>(),
         &valueTypeInfo<SessionAttributesBits>(), &valueTypeInfo<AdminStatus>(), &valueTypeInfo<OperStatus>(),
         &valueTypeInfo<TunnelRole>(), &valueTypeInfo<SignallingProto>(), &valueTypeInfo<MplsOwner>(),
         &valueTypeInfo<HopAddrType>(), &valueTypeInfo<HopType>(), &valueTypeInfo<HopEntryPathComp>()};
   return types;
}

}  // namespace MplsSnmp
