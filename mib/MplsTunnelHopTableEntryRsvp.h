// SPDX-License-Identifier: MIT
#pragma once

#include "host/snmp/InetAddress.h"
#include "inputs/rsvp/LerConfig.h"
#include "mib/MplsTunnelHopTableEntry.h"

namespace MplsSnmp {

/// A hop row over a hop's address and the path spec that the hop belongs to: nothing is cached, a path spec that is
/// renamed shows its new name at once.
class MplsTunnelHopTableEntryRsvp : public MplsTunnelHopTableEntry {
 public:
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   /// REQUIRES: `pathSpec` is not null when `hopPathOptionName` or `hopEntryPathComp` is read.
   MplsTunnelHopTableEntryRsvp(MplsTunnelHopTableKey const& key, Snmp::InetAddress ipAddr,
                               Vel::Ptr<Rsvp::RsvpLerPathSpec const> pathSpec);

   Snmp::InetAddress const& ipAddr() const { return ipAddr_; }
   Vel::Ptr<Rsvp::RsvpLerPathSpec const> const& pathSpec() const { return pathSpec_; }

   HopAddrType hopAddrType() const override;
   Vel::Bytes hopIpAddr() const override { return ipAddr_.octets(); }
   /// In bits: the whole address, since every hop is a single node.
   std::uint32_t hopIpPrefixLen() const override;
   /// Hops have neither an AS number nor an interface index nor an LSP id: fixed octets stand in for them.
   Vel::Bytes hopAsNumber() const override;
   Vel::Bytes hopAddrUnnum() const override;
   Vel::Bytes hopLspId() const override;
   HopType hopType() const override { return HopType::strict; }
   bool hopInclude() const override { return true; }
   Vel::String hopPathOptionName() const override;
   HopEntryPathComp hopEntryPathComp() const override;

 private:
   Snmp::InetAddress ipAddr_;
   Vel::Ptr<Rsvp::RsvpLerPathSpec const> pathSpec_;
};

/// A new row; arguments as for the constructor.
template <class... Args>
Vel::Ptr<MplsTunnelHopTableEntryRsvp> mplsTunnelHopTableEntryRsvpFactory(Args&&... args) {
   return Vel::makePtr<MplsTunnelHopTableEntryRsvp>(std::forward<Args>(args)...);
}

}  // namespace MplsSnmp
