// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "host/loop/NetSnmp.h"
#include "host/snmp/OrderedRows.h"

namespace Host {

class AnswerSize;
class RowSearch;
class View;

/// Answers GET, GETNEXT and GETBULK for a table whose module offers its rows in order (host/snmp/OrderedRows.h), in
/// place of net-snmp's table iterator, which walks from the first row to whatever is not an exact index, once per
/// variable and repetition.
///
/// Here a row is a look-up away from any index, a GETBULK is taken whole and ends when the answer is full, and a walk
/// steps over what is not served and what the manager may not see. The value of each variable comes from the module's
/// own request handler, which gets one variable at a time, as it does behind net-snmp's serialize handler. SET goes
/// down the chain of handlers that the module has registered.
class TableDriver {
 public:
   /// Puts a driver on top of the handlers of `registration`, which owns it from then on, and declares that it takes
   /// GETBULK. False, and nothing is changed, when no rows are offered for the registration, or when it is not that of
   /// a table iterator.
   static bool drive(netsnmp_handler_registration& registration);

   TableDriver(TableDriver const&) = delete;
   TableDriver& operator=(TableDriver const&) = delete;

 private:
   /// The message that is being answered.
   struct Message {
      netsnmp_agent_request_info& info;
      RowSearch& rows;
      View& view;
      AnswerSize& size;
   };
   /// Where a walk begins: behind `index` in a column, at the first row of it when that is empty.
   struct Start {
      std::size_t column;  ///< its place in columns_
      Snmp::SubIds index;
   };

   TableDriver(netsnmp_handler_registration& registration, Snmp::OrderedRows& rows, netsnmp_mib_handler& iterator);

   static int handle(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                     netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept;

   // All return an SNMP error status.
   int answer(netsnmp_agent_request_info& info, netsnmp_request_info* requests);
   int getBulk(Message& message, netsnmp_request_info* requests);
   int get(Message& message, netsnmp_request_info& request);
   int getNext(Message& message, netsnmp_request_info& request);
   int ask(Message& message, netsnmp_request_info& request, unsigned column);

   Snmp::SubIds root() const { return {registration_.rootoid, registration_.rootoid_len}; }
   std::optional<Start> startOf(netsnmp_variable_list const& variable) const;
   void name(netsnmp_variable_list& variable, unsigned column, Snmp::SubIds index) const;

   netsnmp_handler_registration& registration_;
   Snmp::OrderedRows& rows_;
   netsnmp_mib_handler& requestHandler_;
   netsnmp_table_registration_info const& table_;
   std::span<Snmp::ServedColumn const> const columns_;
   netsnmp_table_request_info tableInfo_{};  // what the request handler is told
};

}  // namespace Host
