// SPDX-License-Identifier: MIT
#pragma once

#include <exception>

#include "snmp/Column.h"
#include "snmp/EncodeBuffer.h"
#include "snmp/NetSnmp.h"
#include "snmp/RowWalk.h"
#include "snmp/Trace.h"

namespace MplsSnmp {

/// Answers the requests that net-snmp routes to `Table` once the table iterator has found the row: GET reads one column
/// of the row and encodes it, SET is refused. GETNEXT and GETBULK arrive here as GET. Never throws and never writes to
/// the MIB.
template <class Table>
class RequestLoop {
 public:
   /// A net-snmp handler. Returns the SNMP error status.
   static int handle(netsnmp_mib_handler* /*handler*/, netsnmp_handler_registration* /*registration*/,
                     netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept {
      trace(2, Table::name, "_handler");
      trace(2, Table::name, "_handler: request mode ", info->mode);
      return info->mode == MODE_GET ? get(requests) : refuseSet(requests);
   }

 private:
   using Row = typename Table::Row;

   static int get(netsnmp_request_info* requests) {
      for (auto* request = requests; request; request = request->next) {
         if (alreadyProcessed(*request)) continue;
         Row const* const row = rowOf(*request);
         if (!row) {
            // The iterator found no row: the agent answers noSuchInstance.
            trace(2, Table::name, "_handler: null data context in request");
            return SNMP_ERR_NOERROR;
         }
         unsigned const number = columnNumber(*request);
         auto const* const column = findColumn<Row>(Table::columns, number);
         if (!column || !column->encode) {
            trace(0, Table::name, " invalid column ", number);
            netsnmp_request_set_error(request, SNMP_NOSUCHOBJECT);
            return SNMP_ERR_NOERROR;
         }
         if (!answer(*request, *column, *row)) {
            netsnmp_request_set_error(requests, SNMP_ERR_GENERR);
            return SNMP_ERR_GENERR;
         }
      }
      return SNMP_ERR_NOERROR;
   }

   /// One error fails the whole SET, so that only the first request is looked at.
   static int refuseSet(netsnmp_request_info* requests) {
      auto* request = requests;
      while (request && alreadyProcessed(*request)) request = request->next;
      if (!request) return SNMP_ERR_NOERROR;
      unsigned const number = columnNumber(*request);
      auto const* const column = findColumn<Row>(Table::columns, number);
      if (column && column->settable) {
         trace(2, Table::name, "_handler: SET is not configured for column ", column->object);
      } else {
         trace(0, Table::name, " invalid column ", number);
      }
      netsnmp_request_set_error(request, SNMP_ERR_NOTWRITABLE);
      return SNMP_ERR_NOERROR;
   }

   /// Stores the column's value in the request's varbind. False when it cannot be sent.
   static bool answer(netsnmp_request_info& request, Column<Row> const& column, Row const& row) {
      trace(2, Table::name, "_handler: request GET for column ", column.object, ", key ", row.key());
      EncodeBuffer buffer;
      int length = 0;
      try {
         length = column.encode(row, buffer.data(), column.limit);
      } catch (std::exception const& error) {
         trace(0, "handle_", Table::name, " - reading ", column.value, " failed: ", error.what());
         return false;
      } catch (...) {
         trace(0, "handle_", Table::name, " - reading ", column.value, " failed");
         return false;
      }
      if (length < 0) {
         trace(2, "handle_", Table::name, " - ", column.conversion, " failed for: ", column.value);
         return false;
      }
      if (column.lengthIsRight && !column.lengthIsRight(length)) {
         trace(2, "handle_", Table::name,
               " - entity /<sysname>/snmp/mpls/mplsTeMib length out of range: ", column.value, " (", length, ")");
         return false;
      }
      snmp_set_var_typed_value(request.requestvb, column.type, buffer.data(), length);
      return true;
   }

   static bool alreadyProcessed(netsnmp_request_info const& request) {
      if (!request.processed) return false;
      trace(2, Table::name, "_handler: request ", fmt::ptr(&request), " already processed");
      return true;
   }

   static Row const* rowOf(netsnmp_request_info& request) {
      using Context = typename RowWalk<Table>::Context;
      auto const* const context = static_cast<Context const*>(netsnmp_extract_iterator_context(&request));
      return context && context->current ? context->current->value().get() : nullptr;
   }

   static unsigned columnNumber(netsnmp_request_info& request) {
      auto const* const info = netsnmp_extract_table_info(&request);
      return info ? info->colnum : 0;
   }

   template <class... Values>
   static void trace(int level, Values const&... values) {
      tableTrace().trace(level, values...);
   }
};

}  // namespace MplsSnmp
