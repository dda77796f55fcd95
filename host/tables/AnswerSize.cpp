// SPDX-License-Identifier: MIT
#include "host/tables/AnswerSize.h"

#include <algorithm>
#include <limits>

namespace Host {

namespace {

constexpr std::size_t kHeader = 2;  // a type and a length, at least

std::size_t sizeOf(oid subIdentifier) {
   std::size_t octets = 1;
   while (subIdentifier >>= 7U) ++octets;
   return octets;
}

std::size_t sizeOfName(netsnmp_variable_list const& variable) {
   // The first two sub-identifiers share an octet.
   std::size_t octets = 1;
   for (std::size_t n = 2; n < variable.name_length; ++n) octets += sizeOf(variable.name[n]);
   return octets;
}

std::size_t sizeOfValue(netsnmp_variable_list const& variable) {
   return variable.type == ASN_OCTET_STR ? variable.val_len : 1;
}

/// AgentX messages have a version of their own, and no such limit.
bool isSnmp(netsnmp_pdu const& pdu) {
   return pdu.version == SNMP_VERSION_1 || pdu.version == SNMP_VERSION_2c || pdu.version == SNMP_VERSION_3;
}

std::size_t variablesOf(netsnmp_request_info const& request) {
   return 1 + static_cast<std::size_t>(std::max(request.repeat, 0));
}

std::size_t limitOf(netsnmp_agent_session const* session, netsnmp_request_info const* requests) {
   auto const* const pdu = session ? session->pdu : nullptr;
   if (!pdu || !isSnmp(*pdu) || pdu->msgMaxSize <= 0) return std::numeric_limits<std::size_t>::max();
   std::size_t own = 0;
   for (auto const* request = requests; request; request = request->next) own += variablesOf(*request);
   std::size_t all = 0;
   for (int n = 0; n < session->vbcount; ++n) all += variablesOf(session->requests[n]);
   return static_cast<std::size_t>(pdu->msgMaxSize) * own / std::max(all, own);
}

}  // namespace

AnswerSize::AnswerSize(netsnmp_agent_session const* session, netsnmp_request_info const* requests)
      : limit_(limitOf(session, requests)) {}

bool AnswerSize::takes(netsnmp_variable_list const& variable) {
   octets_ += kHeader + kHeader + sizeOfName(variable) + kHeader + sizeOfValue(variable);
   return octets_ <= limit_;
}

}  // namespace Host
