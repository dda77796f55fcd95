// SPDX-License-Identifier: MIT
#pragma once

#include <memory>

#include "host/loop/NetSnmp.h"
#include "host/snmp/TunnelEvents.h"

namespace Notifications {

struct FreeVariables {
   void operator()(netsnmp_variable_list* list) const { snmp_free_varbind(list); }
};
using Variables = std::unique_ptr<netsnmp_variable_list, FreeVariables>;

/// The variables of a notification, from snmpTrapOID.0 on: mplsTunnelAdminStatus and mplsTunnelOperStatus of the row
/// that the tunnel has now, which RFC 3812 asks for, and behind them its mplsTunnelName, cut to the 255 octets that the
/// table shows. Who sends them puts sysUpTime.0 in front.
Variables variablesOf(Snmp::TunnelEvent const& event);

}  // namespace Notifications
