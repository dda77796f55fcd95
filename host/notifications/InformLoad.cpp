// SPDX-License-Identifier: MIT
#include "host/notifications/InformLoad.h"

#include "host/loop/NetSnmp.h"
// Behind the library's headers, which it needs.
#include <net-snmp/library/large_fd_set.h>

// What net-snmp's libraries have, without declaring it.
extern "C" {
/// All sessions of the process.
extern struct session_list* Sessions;
/// The receivers of notifications that were configured.
struct trap_sink;
extern struct trap_sink* sinks;
}

namespace Notifications {

namespace {

/// Whether a request of the session is to be sent again at some time.
bool awaitsAnswers(session_list& session) {
   netsnmp_large_fd_set descriptors;
   netsnmp_large_fd_set_init(&descriptors, FD_SETSIZE);
   int count = 0;
   int block = 1;
   timeval timeout{};
   snmp_sess_select_info2_flags(&session, &count, &descriptors, &timeout, &block, NETSNMP_SELECT_NOALARMS);
   netsnmp_large_fd_set_cleanup(&descriptors);
   return block == 0;
}

/// Notifications that were sent to the receiver and of which nothing has been heard; also of those that nothing will be
/// heard of.
std::size_t unheard(session_list const& session) {
   auto const* const counts = session.session ? session.session->trap_stats : nullptr;
   if (!counts) return 0;
   auto const heard = counts->ack_count + counts->timeouts + counts->sec_err_count;
   return counts->sent_count > heard ? counts->sent_count - heard : 0;
}

}  // namespace

bool hasSinks() { return sinks != nullptr; }

bool InformLoad::hasRoom() {
   for (auto* session = Sessions; session; session = session->next) {
      if (!hasRoom(*session)) return false;
   }
   return true;
}

bool InformLoad::hasRoom(session_list& session) {
   std::size_t const now = unheard(session);
   auto const known = settled_.find(&session);
   std::size_t const settled = known == settled_.end() ? 0 : known->second;
   // The session may be another one at the same place.
   if (now >= settled && now - settled < most_) return true;
   if (awaitsAnswers(session)) return false;
   settled_[&session] = now;
   return true;
}

}  // namespace Notifications
