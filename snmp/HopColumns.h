// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "mib/MplsTunnelHopTableEntry.h"
#include "snmp/Column.h"

namespace MplsSnmp {

/// The columns of mplsTunnelHopTable (RFC 3812). Octet strings of another size than the MIB's fail the request rather
/// than being sent short.
inline constexpr auto kHopColumns = [] {
   using Row = MplsTunnelHopTableEntry;
   using C = Columns<Row>;
   return std::to_array<Column<Row>>({
         C::readCreate<&Row::hopAddrType, To::Integer>(4, "mplsTunnelHopAddrType", ASN_INTEGER, "hopAddrType"),
         C::readCreate<&Row::hopIpAddr, To::Bytes>(5, "mplsTunnelHopIpAddr", ASN_OCTET_STR, "hopIpAddr", 32,
                                                   atMost<32>),
         C::readCreate<&Row::hopIpPrefixLen, To::Unsigned>(6, "mplsTunnelHopIpPrefixLen", ASN_UNSIGNED,
                                                           "hopIpPrefixLen"),
         C::readCreate<&Row::hopAsNumber, To::Bytes>(7, "mplsTunnelHopAsNumber", ASN_OCTET_STR, "hopAsNumber", 4,
                                                     exactly<4>),
         C::readCreate<&Row::hopAddrUnnum, To::Bytes>(8, "mplsTunnelHopAddrUnnum", ASN_OCTET_STR, "hopAddrUnnum", 4,
                                                      exactly<4>),
         C::readCreate<&Row::hopLspId, To::Bytes>(9, "mplsTunnelHopLspId", ASN_OCTET_STR, "hopLspId", 6, exactly<2, 6>),
         C::readCreate<&Row::hopType, To::Integer>(10, "mplsTunnelHopType", ASN_INTEGER, "hopType"),
         C::readCreate<&Row::hopInclude, To::TruthValue>(11, "mplsTunnelHopInclude", ASN_INTEGER, "hopInclude"),
         C::readCreate<&Row::hopPathOptionName, To::String>(12, "mplsTunnelHopPathOptionName", ASN_OCTET_STR,
                                                            "hopPathOptionName", 255, atMost<255>),
         C::readCreate<&Row::hopEntryPathComp, To::Integer>(13, "mplsTunnelHopEntryPathComp", ASN_INTEGER,
                                                            "hopEntryPathComp"),
         C::readCreate<&Row::rowStatus, To::Integer>(14, "mplsTunnelHopRowStatus", ASN_INTEGER, "rowStatus"),
         C::readCreate<&Row::storageType, To::Integer>(15, "mplsTunnelHopStorageType", ASN_INTEGER, "storageType"),
   });
}();

}  // namespace MplsSnmp
