// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <string>
#include <string_view>

#include "substrate/vel/Hasher.h"
#include "substrate/vel/ValueText.h"

namespace Lanu {

using Vel::operator<<;  // addresses print their text form

/// An IPv4 or IPv6 address, or none.
class IpGenAddr {
 public:
   enum class Family : std::uint8_t { none = 0, ipv4 = 1, ipv6 = 2 };

   IpGenAddr() = default;
   static IpGenAddr ipv4(std::array<std::uint8_t, 4> const& octets);
   static IpGenAddr ipv6(std::array<std::uint8_t, 16> const& octets);
   /// From an IPv4 address as a number in host byte order: 10.0.0.1 is 167772161.
   static IpGenAddr fromHostOrder(std::uint32_t address);

   /// Reads "10.0.0.1" or "2001:db8::1". Throws Vel::ParseException.
   static IpGenAddr fromText(std::string_view text);

   Family family() const { return family_; }
   /// The address octets in network order: 4, 16 or none.
   std::string_view octets() const;
   /// The IPv4 address in network byte order, as it lies in memory; 0 for other families.
   std::uint32_t ip4NetworkOrder() const;

   bool operator==(IpGenAddr const&) const = default;
   auto operator<=>(IpGenAddr const&) const = default;
   std::uint32_t hash(std::uint32_t seed = Vel::hashSeed32) const;
   /// The usual notation; "none" for no address.
   std::string valueToStrep() const;

 private:
   Family family_ = Family::none;
   std::array<std::uint8_t, 16> octets_{};
};

}  // namespace Lanu
