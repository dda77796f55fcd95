// SPDX-License-Identifier: MIT
#include "mib/Enums.h"

#include <array>

namespace MplsSnmp {

namespace {

using Vel::Enumerator;
using Table = Vel::EnumType<unsigned int>;

constexpr std::array kAdminStatus{Enumerator{1, "adminUp"}, Enumerator{2, "adminDown"}, Enumerator{3, "adminTesting"}};
constexpr std::array kOperStatus{Enumerator{1, "operUp"},
                                 Enumerator{2, "operDown"},
                                 Enumerator{3, "operTesting"},
                                 Enumerator{4, "operUnknown"},
                                 Enumerator{5, "operDormant"},
                                 Enumerator{6, "operNotPresent"},
                                 Enumerator{7, "operLowerLayerDown"}};
constexpr std::array kTunnelRole{Enumerator{1, "head"}, Enumerator{2, "transit"}, Enumerator{3, "tail"},
                                 Enumerator{4, "headTail"}};
constexpr std::array kSignallingProto{Enumerator{1, "protoNone"}, Enumerator{2, "protoRsvp"},
                                      Enumerator{3, "protoCrldp"}, Enumerator{4, "protoOther"}};
constexpr std::array kMplsOwner{Enumerator{1, "unknown"},    Enumerator{2, "other"}, Enumerator{3, "snmp"},
                                Enumerator{4, "ldp"},        Enumerator{5, "crldp"}, Enumerator{6, "rsvpTe"},
                                Enumerator{7, "policyAgent"}};
constexpr std::array kHopAddrType{Enumerator{0, "typeUnknown"}, Enumerator{1, "ipv4"},  Enumerator{2, "ipv6"},
                                  Enumerator{3, "asnumber"},    Enumerator{4, "unnum"}, Enumerator{5, "lspid"}};
constexpr std::array kHopType{Enumerator{1, "strict"}, Enumerator{2, "loose"}};
constexpr std::array kHopEntryPathComp{Enumerator{1, "compDynamic"}, Enumerator{2, "compExplicit"}};

constexpr Table kAdminStatusType("MplsSnmp::AdminStatus", kAdminStatus);
constexpr Table kOperStatusType("MplsSnmp::OperStatus", kOperStatus);
constexpr Table kTunnelRoleType("MplsSnmp::TunnelRole", kTunnelRole);
constexpr Table kSignallingProtoType("MplsSnmp::SignallingProto", kSignallingProto);
constexpr Table kMplsOwnerType("MplsSnmp::MplsOwner", kMplsOwner);
constexpr Table kHopAddrTypeType("MplsSnmp::HopAddrType", kHopAddrType);
constexpr Table kHopTypeType("MplsSnmp::HopType", kHopType);
constexpr Table kHopEntryPathCompType("MplsSnmp::HopEntryPathComp", kHopEntryPathComp);

}  // namespace

Table const& velEnumType(AdminStatus) { return kAdminStatusType; }
Table const& velEnumType(OperStatus) { return kOperStatusType; }
Table const& velEnumType(TunnelRole) { return kTunnelRoleType; }
Table const& velEnumType(SignallingProto) { return kSignallingProtoType; }
Table const& velEnumType(MplsOwner) { return kMplsOwnerType; }
Table const& velEnumType(HopAddrType) { return kHopAddrTypeType; }
Table const& velEnumType(HopType) { return kHopTypeType; }
Table const& velEnumType(HopEntryPathComp) { return kHopEntryPathCompType; }

}  // namespace MplsSnmp
