// SPDX-License-Identifier: MIT
// Messages of an AgentX master, octet by octet: how long they are, what they say, and how they are answered.
#include <algorithm>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "host/agentx/MessageCheck.h"
#include "host/agentx/Messages.h"
#include "tests/fuzz/targets/Fuzz.h"

namespace {

using Fuzz::check;
using namespace AgentX;

constexpr std::uint64_t k32 = 0xffffffff;

/// What was sent to the master, of the last message.
std::string& sent() {
   static std::string octets;
   return octets;
}

int send(netsnmp_transport*, void const* octets, int size, void**, int*) {
   sent().assign(static_cast<char const*>(octets), static_cast<std::size_t>(size));
   return size;
}

/// A session as the subagent has it, with a transport that remembers what is sent.
netsnmp_session* makeSession() {
   auto* const transport = static_cast<netsnmp_transport*>(calloc(1, sizeof(netsnmp_transport)));
   transport->sock = -1;
   transport->flags = NETSNMP_TRANSPORT_FLAG_STREAM;
   transport->msgMaxSize = MessageLimits::kOctets;
   transport->f_send = send;
   netsnmp_session session;
   snmp_sess_init(&session);
   session.version = kAgentXVersion;
   session.flags |= SNMP_FLAGS_STREAM_SOCKET;
   netsnmp_session* const added = snmp_add(&session, transport, nullptr, nullptr);
   check(added != nullptr, "there is a session");
   return added;
}

struct FreePdu {
   void operator()(netsnmp_pdu* pdu) const { snmp_free_pdu(pdu); }
};
using Pdu = std::unique_ptr<netsnmp_pdu, FreePdu>;

void checkName(oid const* name, std::size_t length) {
   check(length <= MessageLimits::kSubidentifiers, "names are no longer than what has room for them");
   check(std::all_of(name, name + length, [](oid subidentifier) { return subidentifier <= k32; }),
         "sub-identifiers have 32 bits");
}

void checkRead(netsnmp_pdu const& pdu) {
   check(!pdu.community || std::memchr(pdu.community, 0, pdu.community_len) == nullptr, "a context holds no NUL");
   for (auto const* variable = pdu.variables; variable; variable = variable->next_variable) {
      checkName(variable->name, variable->name_length);
      bool const isName = variable->type == ASN_OBJECT_ID || variable->type == ASN_PRIV_INCL_RANGE ||
                          variable->type == ASN_PRIV_EXCL_RANGE;
      if (isName) checkName(variable->val.objid, variable->val_len / sizeof(oid));
   }
}

/// Answers a request with its own variables, as the agent would, and looks whether the answer is a message.
void answer(netsnmp_session* session, netsnmp_pdu& pdu) {
   pdu.command = kAgentXResponse;
   pdu.errstat = SNMP_ERR_NOERROR;
   pdu.errindex = 0;
   pdu.msgMaxSize = MessageLimits::kOctets;
   // What a manager is told where there is nothing.
   for (auto* variable = pdu.variables; variable; variable = variable->next_variable) {
      bool const isRange = variable->type == ASN_PRIV_INCL_RANGE || variable->type == ASN_PRIV_EXCL_RANGE;
      if (isRange) snmp_set_var_typed_value(variable, SNMP_ENDOFMIBVIEW, nullptr, 0);
   }
   std::size_t capacity = 64;
   std::size_t length = 0;
   auto* buffer = static_cast<u_char*>(malloc(capacity));
   if (buildAgentX(session, &pdu, &buffer, &capacity, &length) == 0 && length > 0) {
      check(length <= MessageLimits::kOctets, "an answer is no longer than a message may be");
      check(checkAgentX(buffer, length) == static_cast<int>(length), "an answer is one message");
      Pdu const again(snmp_pdu_create(0));
      check(parseAgentX(session, again.get(), buffer, length) == SNMP_ERR_NOERROR, "an answer can be read");
      check(again->command == kAgentXResponse && again->errstat == pdu.errstat, "it says what it was told to say");
   }
   free(buffer);
}

bool isRequest(std::uint8_t type) { return type >= kAgentXGet && type <= kAgentXUndoSet; }

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   static netsnmp_session* const session = makeSession();
   static bool const quiet = (netsnmp_register_loghandler(NETSNMP_LOGHANDLER_NONE, 0), true);
   (void)quiet;
   // Copies of the very size, so that reading behind the end is noticed.
   std::vector<u_char> octets(data, data + size);
   int const length = checkAgentX(octets.data(), octets.size());
   if (size >= kHeader) check(length < 0 || length >= static_cast<int>(kHeader), "a message has a header at least");
   if (length < static_cast<int>(kHeader) || static_cast<std::size_t>(length) > size) return 0;
   octets.resize(static_cast<std::size_t>(length));
   octets.shrink_to_fit();

   sent().clear();
   Pdu const pdu(snmp_pdu_create(0));
   if (parseAgentX(session, pdu.get(), octets.data(), octets.size()) == SNMP_ERR_NOERROR) {
      check(sent().empty(), "what can be read is not answered at once");
      checkRead(*pdu);
      answer(session, *pdu);
   } else if (!sent().empty()) {
      check(isRequest(octets[1]), "a request is answered");
      auto* const answered = reinterpret_cast<u_char*>(sent().data());
      check(checkAgentX(answered, sent().size()) == static_cast<int>(sent().size()), "an answer is one message");
   }
   return 0;
}
