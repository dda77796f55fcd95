// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>

#include "host/loop/NetSnmp.h"
#include "host/tables/RowSearch.h"

namespace Host {

/// What of a table the sender of a message may see (VACM, RFC 3415), and what its version of SNMP can tell it. A walk
/// steps over the rest. The agent would look at each variable of it in a pass of its own; here, what a view leaves out
/// as a whole is not looked at, be it a column or all rows whose index begins in the same way.
class View {
 public:
   /// `entry`: the name of the table's entry object. `session`: null where nobody asks; then all is visible.
   View(netsnmp_agent_session* session, Snmp::SubIds entry);

   /// Whether values of this type can be sent: to SNMPv1 a Counter64 is not there (RFC 3584, 4.2.2.1).
   bool canTell(unsigned char type) const { return !pdu_ || pdu_->version != SNMP_VERSION_1 || type != ASN_COUNTER64; }

   /// From the row that the search has found, goes on to the first that is visible in `column`. False when there is
   /// none.
   bool findVisible(RowSearch& rows, unsigned column);

 private:
   /// Of how many sub-identifiers a prefix of `index` hides its row in the column in name_: 0 hides the whole column.
   /// Nothing when the row is visible.
   std::optional<std::size_t> hidingPrefix(Snmp::SubIds index);

   netsnmp_pdu* const pdu_;
   std::size_t entryLength_;
   oid name_[MAX_OID_LEN];
   bool isWhole_;
};

}  // namespace Host
