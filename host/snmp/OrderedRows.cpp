// SPDX-License-Identifier: MIT
#include "host/snmp/OrderedRows.h"

#include <map>
#include <utility>

namespace Snmp {

namespace {

using Offers = std::map<netsnmp_handler_registration_s const*, std::unique_ptr<OrderedRows>>;

// Never destroyed: modules may take their offers back in static destructors.
Offers& offers() {
   static auto* const map = new Offers;
   return *map;
}

}  // namespace

void orderedRowsIs(netsnmp_handler_registration_s const* registration, std::unique_ptr<OrderedRows> rows) {
   if (rows) {
      offers()[registration] = std::move(rows);
   } else {
      offers().erase(registration);
   }
}

OrderedRows* orderedRows(netsnmp_handler_registration_s const* registration) {
   auto const found = offers().find(registration);
   return found == offers().end() ? nullptr : found->second.get();
}

}  // namespace Snmp
