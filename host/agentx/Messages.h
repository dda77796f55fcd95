// SPDX-License-Identifier: MIT
/// The messages of AgentX (RFC 2741) as net-snmp's sessions read and write them, with what its own code gets wrong in a
/// subagent put right.
#pragma once

#include <cstddef>
#include <cstdint>

#include "host/loop/NetSnmp.h"

// What net-snmp's library has of AgentX, without declaring it.
extern "C" {
/// The messages of AgentX (RFC 2741): from octets, to octets, and how long the one that begins here is.
int agentx_parse(netsnmp_session* session, netsnmp_pdu* pdu, u_char* data, size_t length);
int agentx_realloc_build(netsnmp_session* session, netsnmp_pdu* pdu, u_char** buffer, size_t* bufferLength,
                         size_t* length);
int agentx_check_packet(u_char* data, size_t length);
}

namespace AgentX {

/// What net-snmp's sessions and messages have for a version when they are AgentX.
constexpr long kAgentXVersion = 0xc1;

/// Types of messages, net-snmp's commands.
enum AgentXType : u_char {
   kAgentXOpen = 1,
   kAgentXClose = 2,
   kAgentXRegister = 3,
   kAgentXUnregister = 4,
   kAgentXGet = 5,
   kAgentXGetNext = 6,
   kAgentXGetBulk = 7,
   kAgentXTestSet = 8,
   kAgentXCommitSet = 9,
   kAgentXUndoSet = 10,
   kAgentXCleanupSet = 11,
   kAgentXNotify = 12,
   kAgentXPing = 13,
   kAgentXAddAgentCaps = 16,
   kAgentXRemoveAgentCaps = 17,
   kAgentXResponse = 18
};

/// Flags of messages.
enum AgentXFlag : u_char { kAgentXInstance = 0x01, kAgentXNonDefaultContext = 0x08, kAgentXNetworkByteOrder = 0x10 };

/// Errors of responses that SNMP does not have (RFC 2741, 6.2.16).
enum AgentXError : std::uint16_t {
   kAgentXOpenFailed = 256,
   kAgentXNotOpen = 257,
   kAgentXUnsupportedContext = 262,
   kAgentXDuplicateRegistration = 263,
   kAgentXParseError = 266,
   kAgentXRequestDenied = 267
};

/// Where things are in a message, in octets from its beginning: type, flags, the length of what follows the header, and
/// what follows it.
constexpr std::size_t kType = 1;
constexpr std::size_t kFlags = 2;
constexpr std::size_t kPayload = 16;
constexpr std::size_t kHeader = 20;

/// Cuts every sub-identifier of the names, ends of ranges and object identifiers of a list of variables down to its 32
/// bits: net-snmp reads them from AgentX through a signed int, so those from 2^31 on arrive sign-extended.
void maskSubidentifiers(netsnmp_variable_list* variables);

/// How long the message that begins at `data` is, with its header; 0 when that cannot be told yet, and more than
/// net-snmp takes, which ends the connection, when it is longer than any master would write.
int checkAgentX(u_char* data, std::size_t length);

/// Reads a message that `faultOf` finds no fault with, and drops all others. A request among these is answered at once,
/// with tooBig when it is too long and else with parseError: a master that waits in vain closes the session. Returns
/// SNMP_ERR_NOERROR or what is wrong.
int parseAgentX(netsnmp_session* session, netsnmp_pdu* pdu, u_char* data, std::size_t length);

/// Writes a message at the start of `*buffer`, which it may allocate anew. The agent's answer to a request becomes the
/// master's (see Requests); a response that is too long becomes the error tooBig. Returns 0, or -1 when the message
/// cannot be written. Of no octets where nothing is to be sent.
int buildAgentX(netsnmp_session* session, netsnmp_pdu* pdu, u_char** buffer, std::size_t* bufferLength,
                std::size_t* length);

}  // namespace AgentX
