// SPDX-License-Identifier: MIT
// What happens when a host loads the module: the types of its units are announced, in this order, before any other
// static object of the library is made (among them the table registration, which a host finds on its list).
#include "agent/MplsSnmpAgent.h"
#include "derivation/Types.h"
#include "hoptable/Types.h"
#include "mib/Types.h"
#include "notifications/Types.h"
#include "substrate/vel/TraceHandle.h"
#include "substrate/vel/TypeRegistry.h"

namespace MplsSnmp {

namespace {

// Earlier than the default priority, at which the library's other static objects are made.
constexpr int kEarly = 1000;

[[gnu::init_priority(kEarly)]] Vel::TraceHandle const derivationTrace("RsvpSnmpSm");
[[gnu::init_priority(kEarly)]] Vel::TypeModule const hopTableHelperModule("HopTableHelper", hopTableHelperTypes());
[[gnu::init_priority(kEarly)]] Vel::TypeModule const mplsSnmpModule("MplsSnmp", mplsSnmpTypes());
[[gnu::init_priority(kEarly)]] Vel::TypeModule const mplsSnmpAgentModule("MplsSnmpAgent", mplsSnmpAgentTypes());
[[gnu::init_priority(kEarly)]] Vel::TypeModule const derivationModule("RsvpSnmpSubTunnelStatusSm",
                                                                      rsvpSnmpSubTunnelStatusSmTypes());
[[gnu::init_priority(kEarly)]] Vel::TypeModule const tunnelMonitorModule("TunnelMonitor", tunnelMonitorTypes());

}  // namespace

}  // namespace MplsSnmp
