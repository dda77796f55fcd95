// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>

#include "host/loop/NetSnmp.h"

namespace Host {

/// How much of the answer to a message one table may still fill: of the longest answer (RFC 3416, 4.2.3) as large a
/// part as of the variables with all their repetitions is the table's to answer. So the tables and objects of a message
/// together never make more than can be sent, over which net-snmp's agent would give up halfway.
class AnswerSize {
 public:
   /// `session`: null where no message is known; then the answer never is full. Nor is it towards an AgentX master,
   /// whose answer it is. `requests`: those that the table answers.
   AnswerSize(netsnmp_agent_session const* session, netsnmp_request_info const* requests);

   /// Counts a variable with its value, as many octets as it has at least in BER. False when it does not fit any more.
   bool takes(netsnmp_variable_list const& variable);

 private:
   std::size_t limit_;
   std::size_t octets_ = 0;
};

}  // namespace Host
