// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "tools/MibTables.h"
#include "tools/SnmpClient.h"

namespace Tools {

/// What came of one row. Columns that did not come are absent, not an error: a row may appear or go while its table is
/// being walked.
class Row {
 public:
   void set(std::uint32_t column, Value value) { cells_.push_back({column, std::move(value)}); }
   bool empty() const { return cells_.empty(); }

   /// `Absent::noSuchInstance` when the column did not come.
   Value const& operator[](std::uint32_t column) const;

 private:
   struct Cell {
      std::uint32_t column;
      Value value;
   };
   std::vector<Cell> cells_;
};

/// Rows by the sub-identifiers of their index, in the agent's order.
using Rows = std::map<Oid, Row>;

/// Reads `columns` of all rows of `table` whose index starts with `prefix`, with GETBULK.
/// Throws `AgentError` when the agent does not answer, answers an error or an OID that does not increase, or (with an
/// empty prefix) does not serve the table at all.
Rows walk(SnmpClient& client, Table const& table, std::span<std::uint32_t const> columns, Oid const& prefix = {});

/// Reads all columns of the row with that index, with GET; an empty row when there is none. Throws as `walk()` does.
Row readRow(SnmpClient& client, Table const& table, Oid const& index);

/// The row with its index for programs: every object of the table under its name in the MIB.
nlohmann::ordered_json toJson(Table const& table, Oid const& index, Row const& row);

/// The text of a row's cell.
inline std::string cellText(Table const& table, Row const& row, std::uint32_t column) {
   return toText(table.column(column), row[column]);
}

}  // namespace Tools
