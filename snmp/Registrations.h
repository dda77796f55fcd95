// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <vector>

#include "snmp/NetSnmp.h"
#include "substrate/vel/String.h"

namespace MplsSnmp {

/// What the module has registered with net-snmp, by context and in order of registration.
using HandlerRegistrations = std::map<Vel::String, std::vector<netsnmp_handler_registration*>>;
HandlerRegistrations& handlerRegistrations();

/// The column descriptions of those registrations: net-snmp reads them and, other than the rest of a table's
/// description, never frees them.
using ColumnDescriptions = std::map<Vel::String, std::vector<netsnmp_column_info*>>;
ColumnDescriptions& columnDescriptions();

}  // namespace MplsSnmp
