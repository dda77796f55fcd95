// SPDX-License-Identifier: MIT
/// Conversions between the framework's values and the form in which net-snmp's snmp_set_var_typed_value takes them.
///
/// Towards SNMP they are called as `Conversion()(value, buffer, limit)`: they write at most `limit` octets, at the
/// buffer's start, and return how many they wrote, or a negative number when the value does not fit. Integers are
/// written in host order with the size that net-snmp has for their type.
#pragma once

#include <cstddef>
#include <cstdint>

#include "substrate/vel/String.h"
#include "substrate/vel/System.h"

namespace Snmp {

/// The string's octets, cut to the limit.
struct TruncatableStringToAsnOctetString {
   int operator()(Vel::String const& value, std::uint8_t* buffer, std::size_t limit) const;
};
/// The string's octets; a longer string fails.
struct StringToAsnOctetString {
   int operator()(Vel::String const& value, std::uint8_t* buffer, std::size_t limit) const;
};
/// The octets; more than the limit fail.
struct BytesToAsnOctetString {
   int operator()(Vel::Bytes const& value, std::uint8_t* buffer, std::size_t limit) const;
};
/// A TruthValue (SNMPv2-TC): true is 1, false is 2.
struct BoolToAsnInteger {
   int operator()(bool value, std::uint8_t* buffer, std::size_t limit) const;
};
struct S32ToAsnInteger {
   int operator()(std::int32_t value, std::uint8_t* buffer, std::size_t limit) const;
};
struct U32ToAsnUnsigned {
   int operator()(std::uint32_t value, std::uint8_t* buffer, std::size_t limit) const;
};
/// The low 32 bits: a Counter32 wraps (RFC 2578), it does not stay at its end.
struct U64ToCounter32 {
   int operator()(std::uint64_t value, std::uint8_t* buffer, std::size_t limit) const;
};
/// net-snmp's struct counter64.
struct U64ToCounter64 {
   int operator()(std::uint64_t value, std::uint8_t* buffer, std::size_t limit) const;
};
/// Elapsed seconds as TimeTicks: hundredths of a second, never negative, modulo 2^32 (about 497 days).
struct NowSecondsToUptimeTimeTicks {
   int operator()(Vel::Seconds value, std::uint8_t* buffer, std::size_t limit) const;
};

/// From an ASN_UNSIGNED varbind value (net-snmp's long). Throws Vel::RangeException when it does not fit 16 bits, or
/// when there is no value.
std::uint16_t AsnUnsignedToU16Clamped(void const* value);
/// The same for 32 bits.
std::uint32_t AsnUnsignedToU32(void const* value);

}  // namespace Snmp
