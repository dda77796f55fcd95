// SPDX-License-Identifier: MIT
#pragma once

#include "inputs/lanu/IpGenAddr.h"
#include "substrate/vel/String.h"

namespace Snmp {

/// An address as the INET-ADDRESS-MIB textual conventions have it (RFC 4001): InetAddressType and InetAddress.
class InetAddress {
 public:
   static constexpr unsigned kUnknown = 0;
   static constexpr unsigned kIpv4 = 1;
   static constexpr unsigned kIpv6 = 2;

   InetAddress() = default;
   InetAddress(unsigned family, Vel::Bytes octets) : family_(family), octets_(std::move(octets)) {}
   static InetAddress fromIpGenAddr(Lanu::IpGenAddr const& address);

   unsigned family() const { return family_; }
   Vel::Bytes const& octets() const { return octets_; }
   bool operator==(InetAddress const&) const = default;

 private:
   unsigned family_ = kUnknown;
   Vel::Bytes octets_;
};

}  // namespace Snmp
