// SPDX-License-Identifier: MIT
#include "host/notifications/Variables.h"

#include <algorithm>
#include <new>

#include "host/notifications/Oids.h"

namespace Notifications {

namespace {

constexpr oid kSnmpTrapOid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};
constexpr std::size_t kLongestName = 255;

// Columns of mplsTunnelTable.
constexpr oid kName = 5;
constexpr oid kAdminStatus = 34;
constexpr oid kOperStatus = 35;

class List {
 public:
   void add(std::vector<oid> const& name, u_char type, void const* value, std::size_t size) {
      auto* head = list_.release();
      auto* const added =
            snmp_varlist_add_variable(&head, name.data(), name.size(), type, static_cast<u_char const*>(value), size);
      list_.reset(head);
      if (!added) throw std::bad_alloc();
   }
   void add(std::vector<oid> const& name, long number) { add(name, ASN_INTEGER, &number, sizeof number); }
   Variables take() { return std::move(list_); }

 private:
   Variables list_;
};

}  // namespace

Variables variablesOf(Snmp::TunnelEvent const& event) {
   auto const column = [&](oid number) {
      auto name = belowMib({2, 2, 1, number});
      name.insert(name.end(), event.to.index.begin(), event.to.index.end());
      return name;
   };
   auto const notification = belowMib({0, static_cast<oid>(event.kind)});
   List list;
   list.add({std::begin(kSnmpTrapOid), std::end(kSnmpTrapOid)}, ASN_OBJECT_ID, notification.data(),
            notification.size() * sizeof(oid));
   list.add(column(kAdminStatus), event.to.adminStatus);
   list.add(column(kOperStatus), event.to.operStatus);
   list.add(column(kName), ASN_OCTET_STR, event.name.data(), std::min(event.name.size(), kLongestName));
   return list.take();
}

}  // namespace Notifications
