// SPDX-License-Identifier: MIT
/// The three tables: rows, index and columns of each, and the functions that net-snmp calls for it, by their names.
#pragma once

#include <array>
#include <span>
#include <string_view>

#include "mib/MplsTeMib.h"
#include "snmp/HopColumns.h"
#include "snmp/IndexHint.h"
#include "snmp/PerfColumns.h"
#include "snmp/RequestLoop.h"
#include "snmp/RowWalk.h"
#include "snmp/TunnelColumns.h"

namespace MplsSnmp {

/// mplsTunnelTable, 1.3.6.1.2.1.10.166.3.2.2.
struct TunnelTable {
   using Row = MplsTunnelTableEntry;
   using Key = MplsTunnelTableKey;
   using Collection = MplsTeMib::TunnelTable;
   static constexpr std::string_view name = "mplsTunnelTable";
   static constexpr std::array components{
         IndexField<&Key::tunnelIndex>::named("mplsTunnelIndex", "index"),
         IndexField<&Key::tunnelInstance>::named("mplsTunnelInstance", "instance"),
         IndexField<&Key::tunnelIngressLsrId>::named("mplsTunnelIngressLSRId", "ingressLsrId"),
         IndexField<&Key::tunnelEgressLsrId>::named("mplsTunnelEgressLSRId", "egressLsrId")};
   static constexpr std::span<Column<Row> const> columns = kTunnelColumns;
   static Collection const& rows(MplsTeMib const& mib) { return mib.mplsTunnelTable(); }
};

/// mplsTunnelPerfTable, 1.3.6.1.2.1.10.166.3.2.9: the counts of the same rows.
struct PerfTable : TunnelTable {
   static constexpr std::string_view name = "mplsTunnelPerfTable";
   static constexpr std::span<Column<Row> const> columns = kPerfColumns;
};

/// mplsTunnelHopTable, 1.3.6.1.2.1.10.166.3.2.4.
struct HopTable {
   using Row = MplsTunnelHopTableEntry;
   using Key = MplsTunnelHopTableKey;
   using Collection = MplsTeMib::HopTable;
   static constexpr std::string_view name = "mplsTunnelHopTable";
   static constexpr std::array components{
         IndexField<&Key::tunnelHopListIndex>::named("mplsTunnelHopListIndex", "hopListIndex"),
         IndexField<&Key::tunnelHopPathOptionIndex>::named("mplsTunnelHopPathOptionIndex", "hopPathOptionIndex"),
         IndexField<&Key::tunnelHopIndex>::named("mplsTunnelHopIndex", "hopIndex")};
   static constexpr std::span<Column<Row> const> columns = kHopColumns;
   static Collection const& rows(MplsTeMib const& mib) { return mib.mplsTunnelHopTable(); }
};

static_assert(areContiguous(TunnelTable::columns) && areContiguous(PerfTable::columns) &&
              areContiguous(HopTable::columns));

inline constexpr auto mplsTunnelTable_get_first_data_point = &RowWalk<TunnelTable>::getFirstDataPoint;
inline constexpr auto mplsTunnelTable_get_next_data_point = &RowWalk<TunnelTable>::getNextDataPoint;
inline constexpr auto mplsTunnelTableIterationHelper = &RowWalk<TunnelTable>::iterationHelper;
inline constexpr auto mplsTunnelTable_make_data_context = &RowWalk<TunnelTable>::makeDataContext;
inline constexpr auto mplsTunnelTable_free_data_context = &RowWalk<TunnelTable>::freeDataContext;
inline constexpr auto mplsTunnelTable_free_loop_context_at_end = &RowWalk<TunnelTable>::freeLoopContextAtEnd;
inline constexpr auto mplsTunnelTable_handler = &RequestLoop<TunnelTable>::handle;

inline constexpr auto mplsTunnelPerfTable_get_first_data_point = &RowWalk<PerfTable>::getFirstDataPoint;
inline constexpr auto mplsTunnelPerfTable_get_next_data_point = &RowWalk<PerfTable>::getNextDataPoint;
inline constexpr auto mplsTunnelPerfTableIterationHelper = &RowWalk<PerfTable>::iterationHelper;
inline constexpr auto mplsTunnelPerfTable_make_data_context = &RowWalk<PerfTable>::makeDataContext;
inline constexpr auto mplsTunnelPerfTable_free_data_context = &RowWalk<PerfTable>::freeDataContext;
inline constexpr auto mplsTunnelPerfTable_free_loop_context_at_end = &RowWalk<PerfTable>::freeLoopContextAtEnd;
inline constexpr auto mplsTunnelPerfTable_handler = &RequestLoop<PerfTable>::handle;

inline constexpr auto mplsTunnelHopTable_get_first_data_point = &RowWalk<HopTable>::getFirstDataPoint;
inline constexpr auto mplsTunnelHopTable_get_next_data_point = &RowWalk<HopTable>::getNextDataPoint;
inline constexpr auto mplsTunnelHopTableIterationHelper = &RowWalk<HopTable>::iterationHelper;
inline constexpr auto mplsTunnelHopTable_make_data_context = &RowWalk<HopTable>::makeDataContext;
inline constexpr auto mplsTunnelHopTable_free_data_context = &RowWalk<HopTable>::freeDataContext;
inline constexpr auto mplsTunnelHopTable_free_loop_context_at_end = &RowWalk<HopTable>::freeLoopContextAtEnd;
inline constexpr auto mplsTunnelHopTable_handler = &RequestLoop<HopTable>::handle;

}  // namespace MplsSnmp
