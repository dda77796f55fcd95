// SPDX-License-Identifier: MIT
#include "snmp/mplsTeStdMIB.h"

#include <cstdlib>
#include <iostream>
#include <new>
#include <string>

#include "host/snmp/HandlerRegistration.h"
#include "host/snmp/OrderedRows.h"
#include "mib/MplsTeMib.h"
#include "snmp/NetSnmp.h"
#include "snmp/Registrations.h"
#include "snmp/TableDescription.h"
#include "snmp/Trace.h"
#include "substrate/trel/Assert.h"

namespace MplsSnmp {

Vel::TraceHandle const& tableTrace() {
   static Vel::TraceHandle const handle("mplsTeStdMIB");
   return handle;
}

HandlerRegistrations& handlerRegistrations() {
   static HandlerRegistrations registrations;
   return registrations;
}

ColumnDescriptions& columnDescriptions() {
   static ColumnDescriptions descriptions;
   return descriptions;
}

namespace {

constexpr char const* kModule = "mplsTeStdMIB";
constexpr char const* kMibPath = "snmp/mpls/mplsTeMib";

std::string quoted(Vel::String const& context) { return fmt::format("\"{}\"", context); }

/// Zeroed memory from the C allocator, with which net-snmp frees.
template <class T>
T* zeroed() {
   void* const memory = std::calloc(1, sizeof(T));
   if (!memory) throw std::bad_alloc();
   return static_cast<T*>(memory);
}

std::string oidText(std::span<oid const> name) {
   char buffer[200] = "";
   snprint_objid(buffer, sizeof buffer, name.data(), name.size());
   return buffer;
}

netsnmp_handler_registration* newRegistration(TableDescription const& table, Vel::String const& context) {
   std::string const name = fmt::format("{}_{}", table.name, context);
   return netsnmp_create_handler_registration(name.c_str(), table.handler, table.root.data(), table.root.size(),
                                              table.modes);
}

/// The MIB entity that the agent keeps for the life of the process. Without it there is nothing that could be served.
MplsTeMib* mibEntity(TableDescription const& table) {
   auto const e = SnmpUtil::getEntityRelative(kMibPath);
   if (!e) {
      std::cerr << "Can not getEntityRelative( " << kMibPath << " ) for table " << table.name
                << ". Is this path correct?" << std::endl;
   }
   Trel::fmassert(static_cast<bool>(e), "e");
   auto const ptr = Vel::ptrCast<MplsTeMib>(e);
   if (!ptr) std::cerr << kMibPath << " does not appear to be of type MplsSnmp::MplsTeMib." << std::endl;
   Trel::fmassert(static_cast<bool>(ptr), "ptr");
   return ptr.get();
}

netsnmp_column_info* newColumnDescription(TableDescription const& table) {
   auto* const columns = zeroed<netsnmp_column_info>();
   columns->isRange = 0;
   columns->list_count = static_cast<char>(table.columns.size());
   columns->details.list = table.columns.data();
   return columns;
}

netsnmp_table_registration_info* newTableDescription(TableDescription const& table, netsnmp_column_info* columns,
                                                     Vel::String const& context) {
   auto* const info = zeroed<netsnmp_table_registration_info>();
   for (auto const component : table.components) {
      if (!snmp_varlist_add_variable(&info->indexes, nullptr, 0, ASN_UNSIGNED, nullptr, 0)) {
         tableTrace().trace(0, "Failed to set up ", component, " in netsnmp table_info in context ", quoted(context));
      }
   }
   info->min_column = table.columns.front();
   info->max_column = table.columns.back();
   info->valid_columns = columns;
   return info;
}

netsnmp_iterator_info* newIteratorDescription(TableDescription const& table, netsnmp_table_registration_info* info,
                                              MplsTeMib* mib) {
   auto* const iterator = zeroed<netsnmp_iterator_info>();
   iterator->get_first_data_point = table.getFirstDataPoint;
   iterator->get_next_data_point = table.getNextDataPoint;
   iterator->make_data_context = table.makeDataContext;
   iterator->free_data_context = table.freeDataContext;
   iterator->free_loop_context_at_end = table.freeLoopContextAtEnd;
   iterator->myvoid = mib;
   iterator->flags |= NETSNMP_ITERATOR_FLAG_SORTED | NETSNMP_HANDLER_OWNS_IINFO;
   iterator->table_reginfo = info;
   return iterator;
}

void initializeTable(TableDescription const& table, Vel::String const& context) {
   auto const& trace = tableTrace();
   trace.trace(1, "initialize_table_", table.name, " initializing oid ", oidText(table.root), " in context ",
               quoted(context));
   auto* const registration = newRegistration(table, context);
   if (!context.empty()) {
      netsnmp_handler_registration_free(registration);
      trace.trace(2, "initialize_table_", table.name, " in context ", quoted(context),
                  " hivePathWithContext not specified ");
      return;
   }
   handlerRegistrations()[context].push_back(registration);

   auto* const mib = mibEntity(table);
   registration->my_reg_void = mib;
   auto* const columns = newColumnDescription(table);
   auto* const info = newTableDescription(table, columns, context);
   auto* const iterator = newIteratorDescription(table, info, mib);
   columnDescriptions()[context].push_back(columns);

   int const result = netsnmp_register_table_iterator(registration, iterator);
   Trel::fmassert(result == 0, "result == 0");
   // The iterator's hint is that of the first request of a list: it is right because one request at a time gets
   // through.
   int const injected = netsnmp_inject_handler(registration, netsnmp_get_serialize_handler());
   Trel::fmassert(injected == 0, "injected == (0)");
   // A host may have a shorter way to the rows.
   Snmp::orderedRowsIs(registration, table.orderedRows(*mib));
   trace.trace(8, "Initialized table ", table.name, " in context ", quoted(context));
}

/// Takes the list of a context out of a registry.
template <class Registry>
auto taken(Registry& registry, Vel::String const& context) {
   auto list = registry[context];
   registry.erase(context);
   return list;
}

class mplsTeStdMIB_HandlerRegistration : public Snmp::HandlerRegistration {
 public:
   void initHandler(Vel::String context) override { init_mplsTeStdMIB(std::move(context)); }
};

mplsTeStdMIB_HandlerRegistration handlerRegistration;
Snmp::AutoRegistree const autoRegistree(&handlerRegistration);

}  // namespace

}  // namespace MplsSnmp

void init_mplsTeStdMIB(Vel::String context) {
   auto const config = SnmpUtil::getSnmpConfig();
   DEBUGMSGTL((MplsSnmp::kModule, "Initializing in context \"%s\"\n", context.stdString().c_str()));
   initialize_table_mplsTunnelTable(config, context);
   initialize_table_mplsTunnelHopTable(config, context);
   initialize_table_mplsTunnelPerfTable(config, context);
   Snmp::registerMibContext(context, MplsSnmp::kModule);
}

void initialize_table_mplsTunnelTable(Vel::Ptr<Snmp::Config const> /*config*/, Vel::String context) {
   MplsSnmp::initializeTable(MplsSnmp::mplsTunnelTableDescription, context);
}

void initialize_table_mplsTunnelHopTable(Vel::Ptr<Snmp::Config const> /*config*/, Vel::String context) {
   MplsSnmp::initializeTable(MplsSnmp::mplsTunnelHopTableDescription, context);
}

void initialize_table_mplsTunnelPerfTable(Vel::Ptr<Snmp::Config const> /*config*/, Vel::String context) {
   MplsSnmp::initializeTable(MplsSnmp::mplsTunnelPerfTableDescription, context);
}

void unregister_mplsTeStdMIB(Vel::String context) {
   using namespace MplsSnmp;
   tableTrace().trace(2, "Unregistering mplsTeStdMIB in context ", quoted(context));
   for (auto* const registration : taken(handlerRegistrations(), context)) {
      netsnmp_unregister_handler(registration);
      Snmp::orderedRowsIs(registration, nullptr);
   }
   for (auto* columns : taken(columnDescriptions(), context)) {
      while (columns) std::free(std::exchange(columns, columns->next));
   }
   Snmp::unregisterMibContext(context, kModule);
}
