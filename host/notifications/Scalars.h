// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "host/loop/NetSnmp.h"

namespace Notifications {

/// How information for traffic engineering is distributed: the bits of mplsTunnelTEDistProto.
enum class TeDistProto : std::uint8_t { other = 0, ospf = 1, isis = 2 };

/// The scalars of MPLS-TE-STD-MIB, registered with net-snmp for as long as this lives: mplsTunnelConfigured,
/// mplsTunnelActive, mplsTunnelTEDistProto, mplsTunnelMaxHops, mplsTunnelNotificationMaxRate and
/// mplsTunnelNotificationEnable. All are read-only; the two last, which the MIB lets managers write, are set in the
/// configuration. An entry of sysORTable names the MIB.
class Scalars {
 public:
   /// Where the values come from, whenever one is asked for.
   struct Values {
      std::function<std::uint32_t()> configured;
      std::function<std::uint32_t()> active;
      std::function<std::vector<TeDistProto>()> teDistProto;
      std::function<std::uint32_t()> maxRate;
      std::function<bool()> enabled;
   };

   /// mplsTunnelMaxHops: as many as the published state may have.
   static constexpr std::uint32_t kMaxHops = 256;

   /// Throws std::runtime_error when somebody else serves one of them.
   explicit Scalars(Values values);
   ~Scalars();
   Scalars(Scalars const&) = delete;
   Scalars& operator=(Scalars const&) = delete;

 private:
   struct Scalar;
   static Scalar const kScalars[];
   static int handle(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                     netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept;
   void unregister();

   Values const values_;
   std::vector<netsnmp_handler_registration*> registrations_;
};

}  // namespace Notifications
