// SPDX-License-Identifier: MIT
#include "tools/TableReader.h"

#include <fmt/format.h>

#include <algorithm>

namespace Tools {

namespace {

// As many variables as a response of a net-snmp agent holds by default (its maxGetbulkResponses).
constexpr std::size_t variablesPerResponse = 100;

// The error-status values of RFC 3416.
constexpr long tooBig = 1;
constexpr long genErr = 5;

std::string errorName(long status) {
   static constexpr std::string_view names[] = {"noError",
                                                "tooBig",
                                                "noSuchName",
                                                "badValue",
                                                "readOnly",
                                                "genErr",
                                                "noAccess",
                                                "wrongType",
                                                "wrongLength",
                                                "wrongEncoding",
                                                "wrongValue",
                                                "noCreation",
                                                "inconsistentValue",
                                                "resourceUnavailable",
                                                "commitFailed",
                                                "undoFailed",
                                                "authorizationError",
                                                "notWritable",
                                                "inconsistentName"};
   if (status >= 0 && static_cast<std::size_t>(status) < std::size(names)) {
      return std::string(names[static_cast<std::size_t>(status)]);
   }
   return fmt::format("error {}", status);
}

bool startsWith(Oid const& name, Oid const& root) {
   return name.size() >= root.size() && std::equal(root.begin(), root.end(), name.begin());
}

// One column's way through the table.
struct Cursor {
   Column const* column;
   Oid root;  // The column, and the prefix of the index.
   Oid last;  // Where the last answer was.
   bool done = false;
};

[[noreturn]] void refused(SnmpClient const& client, Table const& table, std::string const& what) {
   throw AgentError(fmt::format("{} answers {} in {}: see the agent's log", client.agent(), what, table.object));
}

// Tells an empty table from one that the agent does not serve, or does not show to this community.
void requireServed(SnmpClient& client, Table const& table, std::uint32_t column) {
   Oid name = table.columnOid(column);
   name.resize(name.size() + table.index.size());
   auto const response = client.get({name});
   if (response.errorStatus || response.varBinds.empty() || response.varBinds[0].value == Value{Absent::noSuchObject}) {
      throw AgentError(
            fmt::format("{} does not serve {}: is the module loaded there, and does the community's view "
                        "include 1.3.6.1.2.1.10.166?",
                        client.agent(), table.object));
   }
}

}  // namespace

Value const& Row::operator[](std::uint32_t column) const {
   static Value const none = Absent::noSuchInstance;
   auto const at =
         std::find_if(cells_.begin(), cells_.end(), [column](Cell const& cell) { return cell.column == column; });
   return at == cells_.end() ? none : at->value;
}

Rows walk(SnmpClient& client, Table const& table, std::span<std::uint32_t const> columns, Oid const& prefix) {
   std::vector<Cursor> open;
   for (auto const number : columns) {
      auto const column = table.columnOid(number);
      auto root = column;
      root.insert(root.end(), prefix.begin(), prefix.end());
      open.push_back({&table.column(number), root, root});
   }

   Rows rows;
   auto budget = variablesPerResponse;
   auto const indexAt = table.columnOid(0).size();
   while (!open.empty()) {
      // All columns side by side, so that the cells of a row come in the same response.
      auto const asked = std::min(open.size(), budget);
      auto const repetitions = budget / asked;
      std::vector<Oid> names;
      for (std::size_t i = 0; i < asked; ++i) names.push_back(open[i].last);
      auto const response = client.getBulk(names, static_cast<int>(repetitions));

      if (response.errorStatus) {
         // Ask for less: it may fit then, or else shows which object it is that fails.
         bool const smallerMayDo = response.errorStatus == tooBig || response.errorStatus == genErr;
         if (!smallerMayDo || budget == 1) {
            refused(client, table,
                    fmt::format("{} to {} after {}", errorName(response.errorStatus), open[0].column->object,
                                dotted(open[0].last)));
         }
         budget /= 2;
         continue;
      }
      if (response.varBinds.empty()) refused(client, table, "an empty response");

      for (std::size_t i = 0; i < response.varBinds.size(); ++i) {
         auto const& [name, value] = response.varBinds[i];
         auto& cursor = open[i % asked];
         if (cursor.done) continue;
         if (value == Value{Absent::endOfMibView}) {
            cursor.done = true;
            continue;
         }
         if (name <= cursor.last) {
            refused(client, table,
                    fmt::format("an OID that does not increase ({} after {})", dotted(name), dotted(cursor.last)));
         }
         if (!startsWith(name, cursor.root)) {
            cursor.done = true;
            continue;
         }
         cursor.last = name;
         Oid index(name.begin() + static_cast<std::ptrdiff_t>(indexAt), name.end());
         if (index.size() != table.index.size()) {
            refused(client, table, fmt::format("an instance with a malformed index ({})", dotted(name)));
         }
         if (present(value)) rows[std::move(index)].set(cursor.column->number, value);
      }
      std::erase_if(open, [](Cursor const& cursor) { return cursor.done; });
   }
   if (rows.empty() && prefix.empty() && !columns.empty()) requireServed(client, table, columns.front());
   return rows;
}

Row readRow(SnmpClient& client, Table const& table, Oid const& index) {
   std::vector<Oid> names;
   for (auto const& column : table.columns) {
      names.push_back(table.columnOid(column.number));
      names.back().insert(names.back().end(), index.begin(), index.end());
   }
   auto const response = client.get(names);
   if (response.errorStatus) {
      refused(client, table, fmt::format("{} to instance {}", errorName(response.errorStatus), dotted(index)));
   }
   Row row;
   auto const count = std::min(response.varBinds.size(), names.size());
   for (std::size_t i = 0; i < count; ++i) {
      auto const& [name, value] = response.varBinds[i];
      if (name == names[i] && present(value)) row.set(table.columns[i].number, value);
   }
   return row;
}

nlohmann::ordered_json toJson(Table const& table, Oid const& index, Row const& row) {
   nlohmann::ordered_json json;
   for (std::size_t i = 0; i < table.index.size() && i < index.size(); ++i) {
      json[std::string(table.index[i].object)] = toJson(table.index[i], std::uint64_t{index[i]});
   }
   for (auto const& column : table.columns) json[std::string(column.object)] = toJson(column, row[column.number]);
   return json;
}

}  // namespace Tools
