// SPDX-License-Identifier: MIT
/// net-snmp's headers in the order that they want, and what its agent offers without declaring it.
#pragma once

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#include <net-snmp/agent/agent_callbacks.h>
#include <net-snmp/library/large_fd_set.h>

extern "C" {
/// VACM (RFC 3415): who may see what.
void init_vacm_vars(void);
/// The user table of SNMPv3 (RFC 3414).
void init_usmUser(void);
/// The system group (SNMPv2-MIB), by which managers know an agent and see that it has restarted.
void init_system_mib(void);

/// The messages of AgentX (RFC 2741): from octets, to octets, and how long the one that begins here is.
int agentx_parse(netsnmp_session* session, netsnmp_pdu* pdu, u_char* data, size_t length);
int agentx_realloc_build(netsnmp_session* session, netsnmp_pdu* pdu, u_char** buffer, size_t* bufferLength,
                         size_t* length);
int agentx_check_packet(u_char* data, size_t length);
/// Hands a master's request to the agent of this process, through the session below, and its answer to the master.
int handle_agentx_packet(int operation, netsnmp_session* session, int requestId, netsnmp_pdu* pdu, void* magic);
int handle_subagent_response(int operation, netsnmp_session* session, int requestId, netsnmp_pdu* pdu, void* magic);
extern netsnmp_session* agentx_callback_sess;
/// The agent's own end of such sessions, and its number.
extern netsnmp_session* callback_master_sess;
extern int callback_master_num;
}
