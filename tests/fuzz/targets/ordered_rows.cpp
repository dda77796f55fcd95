// SPDX-License-Identifier: MIT
// The index of a request, of any length and with any values, by which the host goes to a row.
#include <fuzzer/FuzzedDataProvider.h>

#include <set>
#include <vector>

#include "host/tables/RowSearch.h"
#include "snmp/TableRows.h"
#include "snmp/Tables.h"
#include "snmp/tests/Rows.h"
#include "tests/fuzz/targets/Fuzz.h"

namespace {

using Fuzz::check;
using Index = std::vector<unsigned long>;

unsigned long component(FuzzedDataProvider& input) {
   constexpr unsigned long kEdges[] = {0, 1, 65'534, 65'535, 65'536, 0xffff'fffe, 0xffff'ffff, 0x1'0000'0000};
   return input.ConsumeBool() ? input.PickValueInArray(kEdges) : input.ConsumeIntegral<std::uint64_t>();
}

Index index(FuzzedDataProvider& input, std::size_t most) {
   Index found(input.ConsumeIntegralInRange<std::size_t>(0, most));
   for (auto& value : found) value = component(input);
   return found;
}

bool isAt(Snmp::SubIds here, Index const& expected) { return std::ranges::equal(here, expected); }

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   FuzzedDataProvider input(data, size);
   auto const mib = MplsSnmp::mplsTeMibFactory("mplsTeMib");
   std::set<Index> rows;
   for (auto n = input.ConsumeIntegralInRange<unsigned>(0, 12); n > 0; --n) {
      MplsSnmp::MplsTunnelTableKey const key(
            static_cast<std::uint16_t>(component(input)), static_cast<std::uint32_t>(component(input)),
            static_cast<std::uint32_t>(component(input)), static_cast<std::uint32_t>(component(input)));
      rows.insert({key.tunnelIndex, key.tunnelInstance, key.tunnelIngressLsrId, key.tunnelEgressLsrId});
      mib->mplsTunnelTableIs(TestSupport::tunnelRow(key));
   }
   MplsSnmp::TableRows<MplsSnmp::TunnelTable> table(*mib);
   Host::RowSearch search(table);
   while (input.remaining_bytes() > 0) {
      Index const wanted = index(input, 6);
      if (input.ConsumeBool()) {
         bool const found = search.find(wanted);
         check(found == rows.contains(wanted), "a row is found by its index");
         if (found) check(isAt(search.index(), wanted), "it is that row");
      } else {
         auto const expected = rows.upper_bound(wanted);
         bool const found = search.findBehind(wanted);
         check(found == (expected != rows.end()), "there is a row behind the index when there is one");
         if (found) check(isAt(search.index(), *expected), "it is the first one");
      }
   }
   return 0;
}
