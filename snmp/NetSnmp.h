// SPDX-License-Identifier: MIT
/// net-snmp's agent headers, which only work in this order.
#pragma once

#include <net-snmp/net-snmp-config.h>
// The configuration comes first.
#include <net-snmp/net-snmp-includes.h>
// The agent's part builds on the library's.
#include <net-snmp/agent/net-snmp-agent-includes.h>
