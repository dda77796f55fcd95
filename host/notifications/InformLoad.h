// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <map>

struct session_list;

namespace Notifications {

/// Whether a receiver is configured in this agent itself (trapsink, trap2sink, informsink, trapsess). Of those that a
/// stock snmpd keeps in its target tables nothing is known here.
bool hasSinks();

/// How many informs are on their way. net-snmp keeps each of them, and sends it again, until it is answered or has
/// timed out: a receiver that does not answer must not have more and more of them kept for it.
class InformLoad {
 public:
   explicit InformLoad(std::size_t most = kMost) : most_(most) {}

   /// Whether each receiver has fewer than the most informs on their way to it.
   bool hasRoom();

   static constexpr std::size_t kMost = 1000;

 private:
   bool hasRoom(session_list& session);

   std::size_t const most_;
   // Of each session, what had been sent and was not over when nothing was on its way: it never will be.
   std::map<session_list const*, std::size_t> settled_;
};

}  // namespace Notifications
