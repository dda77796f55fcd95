// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "mib/MplsTunnelTableEntry.h"
#include "snmp/Column.h"

namespace MplsSnmp {

/// The columns of mplsTunnelTable (RFC 3812).
inline constexpr auto kTunnelColumns = [] {
   using Row = MplsTunnelTableEntry;
   using C = Columns<Row>;
   constexpr int kMost = 255;  // SnmpAdminString, DisplayString
   return std::to_array<Column<Row>>({
         C::readCreate<&Row::name, To::TruncatableString>(5, "mplsTunnelName", ASN_OCTET_STR, "name", kMost,
                                                          atMost<kMost>),
         C::readCreate<&Row::descr, To::String>(6, "mplsTunnelDescr", ASN_OCTET_STR, "descr", kMost, atMost<kMost>),
         C::readCreate<&Row::isIf, To::TruthValue>(7, "mplsTunnelIsIf", ASN_INTEGER, "isIf"),
         // An InterfaceIndexOrZero is an INTEGER, although it is encoded from an unsigned number.
         C::readOnly<&Row::ifIndex, To::Unsigned>(8, "mplsTunnelIfIndex", ASN_INTEGER, "ifIndex"),
         C::readOnly<&Row::owner, To::Integer>(9, "mplsTunnelOwner", ASN_INTEGER, "owner"),
         C::readCreate<&Row::role, To::Integer>(10, "mplsTunnelRole", ASN_INTEGER, "role"),
         C::readCreateNotServed(11, "mplsTunnelXCPointer"),
         C::readCreate<&Row::signallingProto, To::Integer>(12, "mplsTunnelSignallingProto", ASN_INTEGER,
                                                           "signallingProto"),
         C::readCreate<&Row::setupPrio, To::Integer>(13, "mplsTunnelSetupPrio", ASN_INTEGER, "setupPrio"),
         C::readCreate<&Row::holdingPrio, To::Integer>(14, "mplsTunnelHoldingPrio", ASN_INTEGER, "holdingPrio"),
         C::readCreate<&Row::sessionAttributes, To::SessionAttributes>(15, "mplsTunnelSessionAttributes", ASN_OCTET_STR,
                                                                       "sessionAttributes"),
         C::readCreate<&Row::localProtectInUse, To::TruthValue>(16, "mplsTunnelLocalProtectInUse", ASN_INTEGER,
                                                                "localProtectInUse"),
         C::readCreateNotServed(17, "mplsTunnelResourcePointer"),
         C::readOnlyNotServed(18, "mplsTunnelPrimaryInstance"),
         C::readCreateNotServed(19, "mplsTunnelInstancePriority"),
         C::readCreate<&Row::hopTableIndex, To::Unsigned>(20, "mplsTunnelHopTableIndex", ASN_UNSIGNED, "hopTableIndex"),
         C::readCreate<&Row::pathInUse, To::Unsigned>(21, "mplsTunnelPathInUse", ASN_UNSIGNED, "pathInUse"),
         C::readOnlyNotServed(22, "mplsTunnelARHopTableIndex"),
         C::readOnlyNotServed(23, "mplsTunnelCHopTableIndex"),
         C::readCreate<&Row::includeAnyAffinity, To::Unsigned>(24, "mplsTunnelIncludeAnyAffinity", ASN_UNSIGNED,
                                                               "includeAnyAffinity"),
         C::readCreate<&Row::includeAllAffinity, To::Unsigned>(25, "mplsTunnelIncludeAllAffinity", ASN_UNSIGNED,
                                                               "includeAllAffinity"),
         C::readCreate<&Row::excludeAnyAffinity, To::Unsigned>(26, "mplsTunnelExcludeAnyAffinity", ASN_UNSIGNED,
                                                               "excludeAnyAffinity"),
         C::readOnlyNotServed(27, "mplsTunnelTotalUpTime"),
         C::readOnly<&Row::instanceUpTime, To::TimeTicks>(28, "mplsTunnelInstanceUpTime", ASN_TIMETICKS,
                                                          "instanceUpTime"),
         C::readOnlyNotServed(29, "mplsTunnelPrimaryUpTime"),
         C::readOnly<&Row::pathChanges, To::Counter32>(30, "mplsTunnelPathChanges", ASN_COUNTER, "pathChanges"),
         C::readOnlyNotServed(31, "mplsTunnelLastPathChange"),
         C::readOnlyNotServed(32, "mplsTunnelCreationTime"),
         C::readOnly<&Row::stateTransitions, To::Counter32>(33, "mplsTunnelStateTransitions", ASN_COUNTER,
                                                            "stateTransitions"),
         C::readCreate<&Row::adminStatus, To::Integer>(34, "mplsTunnelAdminStatus", ASN_INTEGER, "adminStatus"),
         C::readOnly<&Row::operStatus, To::Integer>(35, "mplsTunnelOperStatus", ASN_INTEGER, "operStatus"),
         C::readCreate<&Row::rowStatus, To::Integer>(36, "mplsTunnelRowStatus", ASN_INTEGER, "rowStatus"),
         C::readCreate<&Row::storageType, To::Integer>(37, "mplsTunnelStorageType", ASN_INTEGER, "storageType"),
   });
}();

}  // namespace MplsSnmp
