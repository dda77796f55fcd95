// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <type_traits>
#include <utility>

#include "host/snmp/OrderedRows.h"
#include "mib/MplsTeMib.h"
#include "snmp/Column.h"
#include "snmp/NetSnmp.h"
#include "snmp/RowWalk.h"
#include "snmp/RowsAhead.h"

namespace MplsSnmp {

static_assert(std::is_same_v<oid, std::remove_const_t<Snmp::SubIds::element_type>>);

/// The rows of `Table` in order, for a host that reaches them without net-snmp's table iterator.
template <class Table>
class TableRows : public Snmp::OrderedRows {
 public:
   /// `mib` must outlive this, as it does the registration.
   explicit TableRows(MplsTeMib const& mib) : place_{&Table::rows(mib), nullptr, 0} {}

   std::span<Snmp::ServedColumn const> columns() const override { return kServed; }

   bool seek(Snmp::SubIds index) override {
      auto const [key, isBehind] = bound(index);
      auto const& table = *place_.table;
      place_.current = isBehind ? table.findNext(key) : table.findElementOrNext(key);
      place_.version = table.modificationCount();
      return arrive();
   }

   bool next() override {
      place_.current = place_.table->next(*place_.current, place_.version);
      if (place_.current) ahead_.follow(*place_.table, *place_.current);
      return arrive();
   }

   Snmp::SubIds index() const override { return index_; }
   /// As the iterator's data contexts are, by which the request handler knows its row.
   void* dataContext() override { return &place_; }
   void release() override { place_.current = nullptr; }

 private:
   using Key = typename Table::Key;
   static constexpr std::size_t kComponents = Table::components.size();

   static constexpr auto isServed = [](auto const& column) { return !column.conversion.empty(); };
   static constexpr auto kServed = [] {
      constexpr auto kCount = std::ranges::count_if(Table::columns, isServed);
      std::array<Snmp::ServedColumn, kCount> served{};
      auto next = served.begin();
      for (auto const& column : Table::columns) {
         if (isServed(column)) *next++ = {column.number, column.type};
      }
      return served;
   }();

   /// The rows that are not before `index` are those from a key on, or those behind it.
   static std::pair<Key, bool> bound(Snmp::SubIds index) {
      std::array<std::uint32_t, kComponents> values{};
      bool isBehind = index.size() > kComponents;
      for (std::size_t n = 0; n < std::min(index.size(), kComponents); ++n) {
         if (index[n] > Table::components[n].largest) {
            // No row has this component: they all come before it that are equal in the components so far.
            for (; n < kComponents; ++n) values[n] = Table::components[n].largest;
            isBehind = true;
            break;
         }
         values[n] = static_cast<std::uint32_t>(index[n]);
      }
      auto const key = [&]<std::size_t... N>(std::index_sequence<N...>) { return Key(values[N]...); };
      return {key(std::make_index_sequence<kComponents>()), isBehind};
   }

   bool arrive() {
      if (!place_.current) return false;
      for (std::size_t n = 0; n < kComponents; ++n) {
         index_[n] = Table::components[n].fromKey(place_.current->key());
      }
      return true;
   }

   typename RowWalk<Table>::Context place_;
   std::array<oid, kComponents> index_{};
   RowsAhead<typename RowWalk<Table>::Collection> ahead_;
};

}  // namespace MplsSnmp
