// SPDX-License-Identifier: MIT
#include "host/agentx/Requests.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "host/agentx/Messages.h"

namespace AgentX {

namespace {

/// The request that the agent has been asked for, and what became of it.
struct UnderWay {
   netsnmp_pdu const* request;
   int type;
   bool wanted = true;  ///< the master waits for an answer
};
UnderWay const* underWay = nullptr;

using Pdu = std::unique_ptr<netsnmp_pdu, decltype(&snmp_free_pdu)>;

std::vector<netsnmp_variable_list const*> listOf(netsnmp_variable_list const* first) {
   std::vector<netsnmp_variable_list const*> list;
   for (; first; first = first->next_variable) list.push_back(first);
   return list;
}

/// Whether the name of a variable lies behind the search range that was asked for. One that has no end ends in 0.0.
bool isBehind(netsnmp_variable_list const& variable, netsnmp_variable_list const& range) {
   oid const* const end = range.val.objid;
   std::size_t const length = range.val_len / sizeof(oid);
   bool const endless = length == 0 || (length == 2 && end[0] == 0 && end[1] == 0);
   return !endless && snmp_oid_compare(variable.name, variable.name_length, end, length) >= 0;
}

}  // namespace

bool Requests::is(netsnmp_pdu const& request) {
   return request.command >= kAgentXGet && request.command <= kAgentXCleanupSet;
}

void Requests::carryOut(netsnmp_session& session, netsnmp_pdu& request) {
   UnderWay const now{&request, request.command};
   underWay = &now;
   switch (request.command) {
      case kAgentXGet:
         // That a range includes its first name says nothing here.
         for (auto* variable = request.variables; variable; variable = variable->next_variable) {
            variable->type = ASN_PRIV_EXCL_RANGE;
         }
         ask(session, request, SNMP_MSG_GET);
         break;
      case kAgentXGetNext:
         ask(session, request, SNMP_MSG_GETNEXT);
         break;
      case kAgentXGetBulk:
         ask(session, request, SNMP_MSG_GETBULK);
         break;
      case kAgentXTestSet:
         trySet(session, request);
         break;
      // Nothing that would have to be done was promised.
      case kAgentXCommitSet:
         refuse(session, request, SNMP_ERR_COMMITFAILED);
         break;
      case kAgentXUndoSet:
         refuse(session, request, SNMP_ERR_UNDOFAILED);
         break;
      default:  // kAgentXCleanupSet, which is not answered: nothing was kept
         break;
   }
   underWay = nullptr;
}

void Requests::ask(netsnmp_session& session, netsnmp_pdu& request, int command) {
   request.command = command;
   request.version = kAgentXVersion;
   // Who may see what is the master's affair.
   request.flags |= UCD_MSG_FLAG_ALWAYS_IN_VIEW;
   handle_snmp_packet(NETSNMP_CALLBACK_OP_RECEIVED_MESSAGE, &session, static_cast<int>(request.reqid), &request,
                      nullptr);
}

/// Has the objects say what they think of the new values, and forget them at once: what the agent keeps of a test, a
/// master that never comes back would have kept for ever.
void Requests::trySet(netsnmp_session& session, netsnmp_pdu& request) {
   if (!request.variables) return refuse(session, request, SNMP_ERR_NOERROR);
   ask(session, request, SNMP_MSG_INTERNAL_SET_RESERVE1);
   Pdu const end(snmp_pdu_create(SNMP_MSG_INTERNAL_SET_FREE), &snmp_free_pdu);
   if (!end) return;
   end->transid = request.transid;
   UnderWay const unwanted{end.get(), kAgentXTestSet, false};
   underWay = &unwanted;
   ask(session, *end, SNMP_MSG_INTERNAL_SET_FREE);
   underWay = nullptr;
}

void Requests::refuse(netsnmp_session& session, netsnmp_pdu const& request, long error) {
   netsnmp_pdu* const response = snmp_pdu_create(kAgentXResponse);
   if (!response) return;
   response->version = kAgentXVersion;
   response->flags = request.flags & kAgentXNetworkByteOrder;
   response->sessid = request.sessid;
   response->transid = request.transid;
   response->reqid = request.reqid;
   response->errstat = error;
   response->errindex = 0;
   if (snmp_send(&session, response) == 0) snmp_free_pdu(response);
}

bool Requests::answer(netsnmp_pdu& response) {
   if (!underWay || !underWay->wanted) return false;
   response.command = kAgentXResponse;
   response.flags &= ~static_cast<u_long>(kAgentXNonDefaultContext);
   if (underWay->type == kAgentXTestSet && response.errstat == SNMP_ERR_NOERROR) {
      response.errstat = SNMP_ERR_NOTWRITABLE;
      response.errindex = 1;
   }
   if (underWay->type == kAgentXTestSet || response.errstat != SNMP_ERR_NOERROR) {
      snmp_free_varbind(std::exchange(response.variables, nullptr));
   } else if (underWay->type != kAgentXGet) {
      keepWithinRanges(response);
   }
   return true;
}

/// What lies behind the range that it was looked for in is not there (RFC 2741, 7.2.3.2).
void Requests::keepWithinRanges(netsnmp_pdu& response) {
   auto const ranges = listOf(underWay->request->variables);
   bool const bulk = underWay->type == kAgentXGetBulk;
   // Of a GetBulk each of the last ranges is repeated, all of them in turn.
   std::size_t const once =
         bulk ? std::min<std::size_t>(static_cast<std::size_t>(underWay->request->non_repeaters), ranges.size())
              : ranges.size();
   std::size_t const repeated = ranges.size() - once;
   std::size_t at = 0;
   for (auto* variable = response.variables; variable; variable = variable->next_variable, ++at) {
      if (at >= once && repeated == 0) return;
      auto const& range = *ranges[at < once ? at : once + (at - once) % repeated];
      if (!isBehind(*variable, range)) continue;
      snmp_set_var_objid(variable, range.name, range.name_length);
      snmp_set_var_typed_value(variable, SNMP_ENDOFMIBVIEW, nullptr, 0);
   }
}

}  // namespace AgentX
