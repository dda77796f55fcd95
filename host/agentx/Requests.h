// SPDX-License-Identifier: MIT
#pragma once

#include "host/loop/NetSnmp.h"

namespace AgentX {

/// Carries out what a master asks for, in the agent of this process.
///
/// The agent answers at once, through the session that the request came by: nothing is queued in between, and nothing
/// is kept from one request to the next. What a master sets is tried and never done: nothing here can be written.
class Requests {
 public:
   /// Whether `request` is of a type that asks for something. Others are none of the agent's business.
   static bool is(netsnmp_pdu const& request);

   /// Carries out one that has come by `session`, which is open. Its command changes on the way.
   static void carryOut(netsnmp_session& session, netsnmp_pdu& request);

   /// Answers one with an error (RFC 2741, 6.2.16) that concerns none of its variables.
   static void refuse(netsnmp_session& session, netsnmp_pdu const& request, long error);

   /// Makes the agent's response one to the master's request under way. False when the master expects none.
   static bool answer(netsnmp_pdu& response);

 private:
   static void ask(netsnmp_session& session, netsnmp_pdu& request, int command);
   static void trySet(netsnmp_session& session, netsnmp_pdu& request);
   static void keepWithinRanges(netsnmp_pdu& response);
};

}  // namespace AgentX
