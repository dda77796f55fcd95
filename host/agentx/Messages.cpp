// SPDX-License-Identifier: MIT
#include "host/agentx/Messages.h"

#include <algorithm>
#include <array>

#include "host/agentx/MessageCheck.h"
#include "host/agentx/Requests.h"

namespace AgentX {

namespace {

// Of a response's payload: sysUpTime, then error and index in two octets each.
constexpr std::size_t kResponse = kHeader + 8;
constexpr std::size_t kError = kHeader + 4;
constexpr std::size_t kIndex = kHeader + 6;

void maskSubidentifiers(oid* name, std::size_t length) {
   std::for_each_n(name, length, [](oid& subidentifier) { subidentifier &= 0xffffffffU; });
}

/// A response without variables to the message that begins with `header`.
std::array<u_char, kResponse> errorResponse(u_char const* header, std::uint16_t error) {
   std::array<u_char, kResponse> response{};
   std::copy_n(header, kPayload, response.begin());
   response[0] = 1;
   response[kType] = kAgentXResponse;
   response[kFlags] &= kAgentXNetworkByteOrder;
   bool const bigEndian = (header[kFlags] & kAgentXNetworkByteOrder) != 0;
   response[kPayload + (bigEndian ? 3 : 0)] = kResponse - kHeader;
   response[kError + (bigEndian ? 1 : 0)] = static_cast<u_char>(error);
   response[kError + (bigEndian ? 0 : 1)] = static_cast<u_char>(error >> 8U);
   // A master takes an error that concerns no variable for genErr.
   response[kIndex + (bigEndian ? 1 : 0)] = 1;
   return response;
}

/// Whether the message that begins with `header` is one that its sender waits for an answer to.
bool isAnswered(u_char const* header) { return header[kType] >= kAgentXGet && header[kType] <= kAgentXUndoSet; }

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
   constexpr int longest = 1 << 20;
   int const size = agentx_check_packet(data, length);
   // net-snmp adds the header to the length of the payload in 32 bits.
   bool const hasWrapped = length >= kHeader && size < static_cast<int>(kHeader);
   return size <= longest && !hasWrapped ? size : -1;
}

int parseAgentX(netsnmp_session* session, netsnmp_pdu* pdu, u_char* data, std::size_t length) {
   Fault const fault = faultOf(data, length);
   int const result = fault == Fault::none ? agentx_parse(session, pdu, data, length) : SNMPERR_ASN_PARSE_ERR;
   if (result == SNMP_ERR_NOERROR) {
      maskSubidentifiers(pdu->variables);
   } else if (length >= kHeader && isAnswered(data)) {
      auto const response = errorResponse(
            data, fault == Fault::tooLong ? std::uint16_t{SNMP_ERR_TOOBIG} : std::uint16_t{kAgentXParseError});
      netsnmp_transport* const transport = snmp_sess_transport(snmp_sess_pointer(session));
      transport->f_send(transport, response.data(), response.size(), nullptr, nullptr);
   }
   return result;
}

int buildAgentX(netsnmp_session* session, netsnmp_pdu* pdu, u_char** buffer, std::size_t* bufferLength,
                std::size_t* length) {
   *length = 0;
   if (pdu->command == SNMP_MSG_RESPONSE && !Requests::answer(*pdu)) return 0;
   int const result = agentx_realloc_build(session, pdu, buffer, bufferLength, length);
   // What is longer than the session allows, net-snmp would drop without a word.
   std::size_t const longest = std::min<std::size_t>(pdu->msgMaxSize, MessageLimits::kOctets);
   if (result != 0 || pdu->command != kAgentXResponse || *length <= longest) return result;
   snmp_free_varbind(pdu->variables);
   pdu->variables = nullptr;
   pdu->errstat = SNMP_ERR_TOOBIG;
   pdu->errindex = 1;
   *length = 0;
   return agentx_realloc_build(session, pdu, buffer, bufferLength, length);
}

}  // namespace AgentX
