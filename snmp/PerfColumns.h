// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "mib/MplsTunnelTableEntry.h"
#include "snmp/Column.h"

namespace MplsSnmp {

/// The columns of mplsTunnelPerfTable (RFC 3812). The 32 and the 64 bit column of a pair read the same count.
inline constexpr auto kPerfColumns = [] {
   using Row = MplsTunnelTableEntry;
   using C = Columns<Row>;
   return std::to_array<Column<Row>>({
         C::readOnly<&Row::perfPackets, To::Counter32>(1, "mplsTunnelPerfPackets", ASN_COUNTER, "perfPackets"),
         C::readOnly<&Row::perfPackets, To::Counter64>(2, "mplsTunnelPerfHCPackets", ASN_COUNTER64, "perfPackets"),
         C::readOnlyNotServed(3, "mplsTunnelPerfErrors"),
         C::readOnly<&Row::perfBytes, To::Counter32>(4, "mplsTunnelPerfBytes", ASN_COUNTER, "perfBytes"),
         C::readOnly<&Row::perfBytes, To::Counter64>(5, "mplsTunnelPerfHCBytes", ASN_COUNTER64, "perfBytes"),
   });
}();

}  // namespace MplsSnmp
