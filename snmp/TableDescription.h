// SPDX-License-Identifier: MIT
#pragma once

#include <memory>
#include <span>
#include <string_view>

#include "host/snmp/OrderedRows.h"
#include "mib/MplsTeMib.h"
#include "snmp/NetSnmp.h"

namespace MplsSnmp {

/// All that registration has to know of a table.
struct TableDescription {
   std::string_view name;
   std::span<oid const> root;
   int modes;                                     ///< HANDLER_CAN_RWRITE where SET requests are to reach the handler
   std::span<std::string_view const> components;  ///< the objects of its index, Unsigned32 each, in order
   std::span<unsigned> columns;                   ///< the valid column numbers, in order; net-snmp keeps the pointer
   Netsnmp_First_Data_Point* getFirstDataPoint;
   Netsnmp_Next_Data_Point* getNextDataPoint;
   Netsnmp_Make_Data_Context* makeDataContext;
   Netsnmp_Free_Data_Context* freeDataContext;
   Netsnmp_Free_Loop_Context* freeLoopContextAtEnd;
   Netsnmp_Node_Handler* handler;
   /// Its rows, for a host that reaches them by itself.
   std::unique_ptr<Snmp::OrderedRows> (*orderedRows)(MplsTeMib const& mib);
};

extern TableDescription const mplsTunnelTableDescription;
extern TableDescription const mplsTunnelHopTableDescription;
extern TableDescription const mplsTunnelPerfTableDescription;

}  // namespace MplsSnmp
