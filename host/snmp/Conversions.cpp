// SPDX-License-Identifier: MIT
#include "host/snmp/Conversions.h"

#include <net-snmp/net-snmp-config.h>
#include <net-snmp/net-snmp-includes.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "substrate/vel/ValueText.h"

namespace Snmp {

namespace {

constexpr int kFailed = -1;

int write(void const* value, std::size_t size, std::uint8_t* buffer, std::size_t limit) {
   if (size > limit) return kFailed;
   if (size != 0) std::memcpy(buffer, value, size);
   return static_cast<int>(size);
}

/// net-snmp keeps every integer type but Counter64 in a long.
int writeLong(long value, std::uint8_t* buffer, std::size_t limit) {
   return write(&value, sizeof value, buffer, limit);
}

int writeUnsigned(std::uint32_t value, std::uint8_t* buffer, std::size_t limit) {
   unsigned long const number = value;
   return write(&number, sizeof number, buffer, limit);
}

template <class T>
T narrow(void const* value) {
   if (!value) throw Vel::RangeException("there is no value");
   unsigned long number = 0;
   std::memcpy(&number, value, sizeof number);
   if (number > std::numeric_limits<T>::max()) {
      throw Vel::RangeException(fmt::format("{} is out of range (at most {})", number, std::numeric_limits<T>::max()));
   }
   return static_cast<T>(number);
}

}  // namespace

int TruncatableStringToAsnOctetString::operator()(Vel::String const& value, std::uint8_t* buffer,
                                                  std::size_t limit) const {
   std::string_view const text = value.view().substr(0, limit);
   return write(text.data(), text.size(), buffer, limit);
}

int StringToAsnOctetString::operator()(Vel::String const& value, std::uint8_t* buffer, std::size_t limit) const {
   return write(value.view().data(), value.size(), buffer, limit);
}

int BytesToAsnOctetString::operator()(Vel::Bytes const& value, std::uint8_t* buffer, std::size_t limit) const {
   return write(value.view().data(), value.size(), buffer, limit);
}

int BoolToAsnInteger::operator()(bool value, std::uint8_t* buffer, std::size_t limit) const {
   return writeLong(value ? 1 : 2, buffer, limit);
}

int S32ToAsnInteger::operator()(std::int32_t value, std::uint8_t* buffer, std::size_t limit) const {
   return writeLong(value, buffer, limit);
}

int U32ToAsnUnsigned::operator()(std::uint32_t value, std::uint8_t* buffer, std::size_t limit) const {
   return writeUnsigned(value, buffer, limit);
}

int U64ToCounter32::operator()(std::uint64_t value, std::uint8_t* buffer, std::size_t limit) const {
   return writeUnsigned(static_cast<std::uint32_t>(value), buffer, limit);
}

int U64ToCounter64::operator()(std::uint64_t value, std::uint8_t* buffer, std::size_t limit) const {
   counter64 const halves{value >> 32U, value & 0xffff'ffffU};
   return write(&halves, sizeof halves, buffer, limit);
}

int NowSecondsToUptimeTimeTicks::operator()(Vel::Seconds value, std::uint8_t* buffer, std::size_t limit) const {
   // Not a number counts as no time at all; very long times are taken modulo 2^32 before they meet an integer type.
   double const ticks = value > 0 && std::isfinite(value) ? std::floor(value * 100) : 0;
   return writeUnsigned(static_cast<std::uint32_t>(std::fmod(ticks, 4294967296.0)), buffer, limit);
}

std::uint16_t AsnUnsignedToU16Clamped(void const* value) { return narrow<std::uint16_t>(value); }
std::uint32_t AsnUnsignedToU32(void const* value) { return narrow<std::uint32_t>(value); }

}  // namespace Snmp
