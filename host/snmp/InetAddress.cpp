// SPDX-License-Identifier: MIT
#include "host/snmp/InetAddress.h"

namespace Snmp {

InetAddress InetAddress::fromIpGenAddr(Lanu::IpGenAddr const& address) {
   switch (address.family()) {
      case Lanu::IpGenAddr::Family::ipv4:
         return {kIpv4, Vel::Bytes(address.octets())};
      case Lanu::IpGenAddr::Family::ipv6:
         return {kIpv6, Vel::Bytes(address.octets())};
      case Lanu::IpGenAddr::Family::none:
         break;
   }
   return {};
}

}  // namespace Snmp
