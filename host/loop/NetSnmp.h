// SPDX-License-Identifier: MIT
/// net-snmp's headers in the order that they want, and what its agent offers without declaring it.
#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

extern "C" {
/// The system group (SNMPv2-MIB), by which managers know an agent and see that it has restarted.
void init_system_mib(void);
/// sysORTable of the same MIB, by which managers know what else it serves.
void init_sysORTable(void);
}
