// SPDX-License-Identifier: MIT
#include "host/agentx/Messages.h"

#include <algorithm>
#include <array>

namespace AgentX {

namespace {

// Of a message's header: version, type, flags, a reserved octet, and four numbers of four octets, the last of which is
// the length of what follows.
constexpr std::size_t kHeader = 20;
constexpr std::size_t kType = 1;
constexpr std::size_t kFlags = 2;
constexpr std::size_t kPayload = 16;

// Of a response's payload: sysUpTime, then error and index in two octets each.
constexpr std::size_t kResponse = kHeader + 8;
constexpr std::size_t kError = kHeader + 4;
constexpr std::size_t kIndex = kHeader + 6;

void maskSubidentifiers(oid* name, std::size_t length) {
   std::for_each_n(name, length, [](oid& subidentifier) { subidentifier &= 0xffffffffU; });
}

/// A response without variables to the message that begins with `header`.
std::array<u_char, kResponse> errorResponse(u_char const* header, u_char error) {
   std::array<u_char, kResponse> response{};
   std::copy_n(header, kPayload, response.begin());
   response[kType] = kAgentXResponse;
   response[kFlags] &= static_cast<u_char>(~kAgentXNonDefaultContext);
   // The numbers are small: only their last octet counts.
   bool const bigEndian = (header[kFlags] & kAgentXNetworkByteOrder) != 0;
   response[kPayload + (bigEndian ? 3 : 0)] = kResponse - kHeader;
   response[kError + (bigEndian ? 1 : 0)] = error;
   response[kIndex + (bigEndian ? 1 : 0)] = 1;
   return response;
}

}  // namespace

void maskSubidentifiers(netsnmp_variable_list* variables) {
   for (auto* variable = variables; variable; variable = variable->next_variable) {
      maskSubidentifiers(variable->name, variable->name_length);
      switch (variable->type) {
         case ASN_OBJECT_ID:
         case ASN_PRIV_INCL_RANGE:
         case ASN_PRIV_EXCL_RANGE:
            maskSubidentifiers(variable->val.objid, variable->val_len / sizeof(oid));
            break;
         default:
            break;
      }
   }
}

int checkAgentX(u_char* data, std::size_t length) {
   constexpr int longest = 16 << 20;
   int const size = agentx_check_packet(data, length);
   return size <= longest ? size : -1;
}

int parseAgentX(netsnmp_session* session, netsnmp_pdu* pdu, u_char* data, std::size_t length) {
   int const result = agentx_parse(session, pdu, data, length);
   if (result == SNMP_ERR_NOERROR) {
      maskSubidentifiers(pdu->variables);
   } else if (length >= kHeader && data[kType] >= kAgentXGet && data[kType] <= kAgentXUndoSet) {
      auto const response = errorResponse(data, length > kLongestAgentXMessage ? SNMP_ERR_TOOBIG : SNMP_ERR_GENERR);
      netsnmp_transport* const transport = snmp_sess_transport(snmp_sess_pointer(session));
      transport->f_send(transport, response.data(), response.size(), nullptr, nullptr);
   }
   return result;
}

int buildAgentX(netsnmp_session* session, netsnmp_pdu* pdu, u_char** buffer, std::size_t* bufferLength,
                std::size_t* length) {
   int const result = agentx_realloc_build(session, pdu, buffer, bufferLength, length);
   // What is longer than the session allows, net-snmp would drop without a word.
   std::size_t const longest = std::min<std::size_t>(pdu->msgMaxSize, kLongestAgentXMessage);
   if (result != 0 || pdu->command != kAgentXResponse || *length <= longest) return result;
   snmp_free_varbind(pdu->variables);
   pdu->variables = nullptr;
   pdu->errstat = SNMP_ERR_TOOBIG;
   pdu->errindex = 1;
   *length = 0;
   return agentx_realloc_build(session, pdu, buffer, bufferLength, length);
}

}  // namespace AgentX
