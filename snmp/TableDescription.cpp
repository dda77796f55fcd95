// SPDX-License-Identifier: MIT
#include "snmp/TableDescription.h"

#include <array>

#include "snmp/TableRows.h"
#include "snmp/Tables.h"

namespace MplsSnmp {

namespace {

/// A table of mplsTeObjects, 1.3.6.1.2.1.10.166.3.2.
constexpr std::array<oid, 11> mplsTeObject(oid table) { return {1, 3, 6, 1, 2, 1, 10, 166, 3, 2, table}; }

constexpr auto kTunnelRoot = mplsTeObject(2);
constexpr auto kHopRoot = mplsTeObject(4);
constexpr auto kPerfRoot = mplsTeObject(9);

template <class Table>
constexpr auto componentNames() {
   std::array<std::string_view, Table::components.size()> names;
   for (std::size_t n = 0; n < names.size(); ++n) names[n] = Table::components[n].object;
   return names;
}

template <class Table>
constexpr auto columnNumbers() {
   std::array<unsigned, Table::columns.size()> numbers{};
   for (std::size_t n = 0; n < numbers.size(); ++n) numbers[n] = Table::columns[n].number;
   return numbers;
}

template <class Table>
std::unique_ptr<Snmp::OrderedRows> rows(MplsTeMib const& mib) {
   return std::make_unique<TableRows<Table>>(mib);
}

constexpr auto kTunnelComponents = componentNames<TunnelTable>();
constexpr auto kHopComponents = componentNames<HopTable>();
constexpr auto kPerfComponents = componentNames<PerfTable>();

// net-snmp's type for the list is not const.
constinit auto tunnelColumns = columnNumbers<TunnelTable>();
constinit auto hopColumns = columnNumbers<HopTable>();
constinit auto perfColumns = columnNumbers<PerfTable>();

}  // namespace

// The tunnel and hop tables take SET requests so that their handlers can refuse them column by column.
TableDescription const mplsTunnelTableDescription{.name = TunnelTable::name,
                                                  .root = kTunnelRoot,
                                                  .modes = HANDLER_CAN_RWRITE,
                                                  .components = kTunnelComponents,
                                                  .columns = tunnelColumns,
                                                  .getFirstDataPoint = mplsTunnelTable_get_first_data_point,
                                                  .getNextDataPoint = mplsTunnelTable_get_next_data_point,
                                                  .makeDataContext = mplsTunnelTable_make_data_context,
                                                  .freeDataContext = mplsTunnelTable_free_data_context,
                                                  .freeLoopContextAtEnd = mplsTunnelTable_free_loop_context_at_end,
                                                  .handler = mplsTunnelTable_handler,
                                                  .orderedRows = &rows<TunnelTable>};

TableDescription const mplsTunnelHopTableDescription{
      .name = HopTable::name,
      .root = kHopRoot,
      .modes = HANDLER_CAN_RWRITE,
      .components = kHopComponents,
      .columns = hopColumns,
      .getFirstDataPoint = mplsTunnelHopTable_get_first_data_point,
      .getNextDataPoint = mplsTunnelHopTable_get_next_data_point,
      .makeDataContext = mplsTunnelHopTable_make_data_context,
      .freeDataContext = mplsTunnelHopTable_free_data_context,
      .freeLoopContextAtEnd = mplsTunnelHopTable_free_loop_context_at_end,
      .handler = mplsTunnelHopTable_handler,
      .orderedRows = &rows<HopTable>};

TableDescription const mplsTunnelPerfTableDescription{
      .name = PerfTable::name,
      .root = kPerfRoot,
      .modes = HANDLER_CAN_RONLY,
      .components = kPerfComponents,
      .columns = perfColumns,
      .getFirstDataPoint = mplsTunnelPerfTable_get_first_data_point,
      .getNextDataPoint = mplsTunnelPerfTable_get_next_data_point,
      .makeDataContext = mplsTunnelPerfTable_make_data_context,
      .freeDataContext = mplsTunnelPerfTable_free_data_context,
      .freeLoopContextAtEnd = mplsTunnelPerfTable_free_loop_context_at_end,
      .handler = mplsTunnelPerfTable_handler,
      .orderedRows = &rows<PerfTable>};

}  // namespace MplsSnmp
