// SPDX-License-Identifier: MIT
#include "mib/MplsTunnelHopTableEntryRsvp.h"

#include "mib/Trace.h"
#include "substrate/trel/Assert.h"
#include "substrate/vel/WorkCounter.h"

namespace MplsSnmp {

namespace {

constexpr std::uint32_t kIpv4Bits = 32;
constexpr std::uint32_t kIpv6Bits = 128;

// Managers tell an identifier that a hop does not have by these octets, which are deliberately not zero.
Vel::Bytes const& fourPlaceholderOctets() {
   static Vel::Bytes const octets(std::string_view("\xc0\x80\xc0\x80"));
   return octets;
}
Vel::Bytes const& twoPlaceholderOctets() {
   static Vel::Bytes const octets(std::string_view("\xc0\x80"));
   return octets;
}

Vel::WorkCounter hopRowsBuilt("hop rows built");

}  // namespace

MplsTunnelHopTableEntryRsvp::MplsTunnelHopTableEntryRsvp(MplsTunnelHopTableKey const& key, Snmp::InetAddress ipAddr,
                                                         Vel::Ptr<Rsvp::RsvpLerPathSpec const> pathSpec)
      : MplsTunnelHopTableEntry(key), ipAddr_(std::move(ipAddr)), pathSpec_(std::move(pathSpec)) {
   ++hopRowsBuilt;
}

HopAddrType MplsTunnelHopTableEntryRsvp::hopAddrType() const {
   switch (ipAddr_.family()) {
      case Snmp::InetAddress::kIpv4:
         return HopAddrType::ipv4;
      case Snmp::InetAddress::kIpv6:
         return HopAddrType::ipv6;
      default:
         return HopAddrType::typeUnknown;
   }
}

std::uint32_t MplsTunnelHopTableEntryRsvp::hopIpPrefixLen() const {
   switch (ipAddr_.family()) {
      case Snmp::InetAddress::kIpv4:
         return kIpv4Bits;
      case Snmp::InetAddress::kIpv6:
         return kIpv6Bits;
      default:
         return 0;
   }
}

Vel::Bytes MplsTunnelHopTableEntryRsvp::hopAsNumber() const { return fourPlaceholderOctets(); }
Vel::Bytes MplsTunnelHopTableEntryRsvp::hopAddrUnnum() const { return fourPlaceholderOctets(); }
Vel::Bytes MplsTunnelHopTableEntryRsvp::hopLspId() const { return twoPlaceholderOctets(); }

Vel::String MplsTunnelHopTableEntryRsvp::hopPathOptionName() const {
   Trel::fmassert(static_cast<bool>(pathSpec()), "pathSpec()");
   return Rsvp::nameText(pathSpec_->name());
}

HopEntryPathComp MplsTunnelHopTableEntryRsvp::hopEntryPathComp() const {
   Trel::fmassert(static_cast<bool>(pathSpec()), "pathSpec()");
   switch (pathSpec_->type()) {
      case Rsvp::RsvpLerPathSpec::Type::dynamic:
         return HopEntryPathComp::compDynamic;
      case Rsvp::RsvpLerPathSpec::Type::unknown:
         traceHandle().traceFrom(5, "MplsSnmp", "hopEntryPathComp", "Unknown pathSpecType");
         break;
      default:
         break;
   }
   return HopEntryPathComp::compExplicit;
}

}  // namespace MplsSnmp
