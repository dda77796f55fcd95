// SPDX-License-Identifier: MIT
/// The enumerations of MPLS-TE-STD-MIB (RFC 3812) as the rows return them: the numeric values are the MIB's own.
///
/// Every type has: the instance by number (throws Vel::RangeException), by name or from a character range (throw
/// Vel::ParseException), and what all enumerations have, see EnumType.h.
#pragma once

#include "substrate/vel/EnumType.h"

namespace MplsSnmp {

using Vel::hash;
using Vel::operator<<;
using Vel::sequenceToValue;
using Vel::stringValue;
using Vel::valueToStrep;

enum class AdminStatus : unsigned { adminUp = 1, adminDown, adminTesting };
enum class OperStatus : unsigned {
   operUp = 1,
   operDown,
   operTesting,
   operUnknown,
   operDormant,
   operNotPresent,
   operLowerLayerDown
};
enum class TunnelRole : unsigned { head = 1, transit, tail, headTail };
enum class SignallingProto : unsigned { protoNone = 1, protoRsvp, protoCrldp, protoOther };
enum class MplsOwner : unsigned { unknown = 1, other, snmp, ldp, crldp, rsvpTe, policyAgent };
enum class HopAddrType : unsigned { typeUnknown = 0, ipv4, ipv6, asnumber, unnum, lspid };
enum class HopType : unsigned { strict = 1, loose };
enum class HopEntryPathComp : unsigned { compDynamic = 1, compExplicit };

Vel::EnumType<unsigned int> const& velEnumType(AdminStatus);
Vel::EnumType<unsigned int> const& velEnumType(OperStatus);
Vel::EnumType<unsigned int> const& velEnumType(TunnelRole);
Vel::EnumType<unsigned int> const& velEnumType(SignallingProto);
Vel::EnumType<unsigned int> const& velEnumType(MplsOwner);
Vel::EnumType<unsigned int> const& velEnumType(HopAddrType);
Vel::EnumType<unsigned int> const& velEnumType(HopType);
Vel::EnumType<unsigned int> const& velEnumType(HopEntryPathComp);

/// An enumerator from its number, from its name, or from a character range that is its name.
template <Vel::RegisteredEnum E>
struct EnumInstance {
   E operator()(unsigned number) const { return Vel::enumInstance<E>(number); }
   E operator()(Vel::String const& name) const { return Vel::enumInstance<E>(name); }
   E operator()(Vel::TextIterator begin, Vel::TextIterator end) const {
      return Vel::strepToValue<E>(std::string_view(begin, end - begin));
   }
};
inline constexpr EnumInstance<AdminStatus> AdminStatusInstance{};
inline constexpr EnumInstance<OperStatus> OperStatusInstance{};
inline constexpr EnumInstance<TunnelRole> TunnelRoleInstance{};
inline constexpr EnumInstance<SignallingProto> SignallingProtoInstance{};
inline constexpr EnumInstance<MplsOwner> MplsOwnerInstance{};
inline constexpr EnumInstance<HopAddrType> HopAddrTypeInstance{};
inline constexpr EnumInstance<HopType> HopTypeInstance{};
inline constexpr EnumInstance<HopEntryPathComp> HopEntryPathCompInstance{};

}  // namespace MplsSnmp
