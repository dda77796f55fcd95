// SPDX-License-Identifier: MIT
#include "host/tables/View.h"

#include <algorithm>

namespace Host {

View::View(netsnmp_agent_session* session, Snmp::SubIds entry)
      : pdu_(session ? session->pdu : nullptr), entryLength_(entry.size()) {
   std::ranges::copy(entry, name_);
   isWhole_ = !pdu_ || netsnmp_acm_check_subtree(pdu_, name_, entryLength_) == VACM_SUCCESS;
}

std::optional<std::size_t> View::hidingPrefix(Snmp::SubIds index) {
   std::size_t length = entryLength_ + 1;
   for (std::size_t known = 0;; ++known) {
      // The last look is at the variable itself: what is said of subtrees need not be said of it.
      bool const isVariable = known == index.size();
      int const answer =
            isVariable ? in_a_view(name_, &length, pdu_, ASN_NULL) : netsnmp_acm_check_subtree(pdu_, name_, length);
      if (answer == VACM_SUCCESS) return {};
      if (answer == VACM_NOTINVIEW || isVariable) return known;
      name_[length++] = index[known];
   }
}

bool View::findVisible(RowSearch& rows, unsigned column) {
   if (isWhole_) return true;
   name_[entryLength_] = column;
   for (;;) {
      auto const hidden = hidingPrefix(rows.index());
      if (!hidden) return true;
      if (*hidden == 0) return false;
      if (!rows.skip(rows.index().first(*hidden))) return false;
   }
}

}  // namespace Host
