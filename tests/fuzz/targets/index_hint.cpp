// SPDX-License-Identifier: MIT
// The hint that net-snmp passes for a request: an index of any length, types and values.
#include <fuzzer/FuzzedDataProvider.h>

#include <memory>
#include <optional>
#include <vector>

#include "snmp/Tables.h"
#include "substrate/trel/Trace.h"
#include "tests/fuzz/targets/Fuzz.h"

namespace {

using Fuzz::check;

struct Component {
   std::uint8_t type;
   std::uint64_t value;
   bool absent;  // without a value
};

struct FreeVarbinds {
   void operator()(netsnmp_variable_list* list) const { snmp_free_varbind(list); }
};

/// The key of an index, found in the plainest way.
std::optional<std::vector<std::uint64_t>> expectedKey(std::size_t number, std::vector<Component> const& index,
                                                      std::vector<std::uint64_t> const& limits) {
   if (number != limits.size() || index.size() < number) return {};
   std::vector<std::uint64_t> key;
   for (std::size_t n = 0; n < number; ++n) {
      if (index[n].type != ASN_UNSIGNED || index[n].absent || index[n].value > limits[n]) return {};
      key.push_back(index[n].value);
   }
   return key;
}

template <class Table>
std::vector<std::uint64_t> valuesOf(typename Table::Key const& key) {
   std::vector<std::uint64_t> values;
   for (auto const& component : Table::components) values.push_back(component.fromKey(key));
   return values;
}

template <class Table>
void read(netsnmp_table_request_info const& info, std::vector<Component> const& index,
          std::vector<std::uint64_t> const& limits) {
   auto const found = MplsSnmp::IndexHint<Table>::key(&info);
   auto const expected = expectedKey(info.number_indexes, index, limits);
   check(found.has_value() == expected.has_value(), "an index gives a key when a row can have it");
   if (found) check(valuesOf<Table>(*found) == *expected, "the key is the index");
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   static bool const quiet = (Trel::traceSinkIs([](Trel::TraceRecord const&) {}), true);
   (void)quiet;
   constexpr std::uint64_t k16 = 0xffff;
   constexpr std::uint64_t k32 = 0xffffffff;
   FuzzedDataProvider input(data, size);
   Trel::traceLevelsIs("mplsTeStdMIB", input.ConsumeBool() ? 0xffff : 0);

   netsnmp_table_request_info info{};
   info.number_indexes = input.ConsumeIntegralInRange<unsigned>(0, 6);
   std::vector<Component> index;
   netsnmp_variable_list* list = nullptr;
   while (input.remaining_bytes() > 0 && index.size() < 8) {
      bool const ordinary = input.ConsumeBool();
      Component const component{
            ordinary ? static_cast<std::uint8_t>(ASN_UNSIGNED) : input.ConsumeIntegral<std::uint8_t>(),
            ordinary ? input.ConsumeIntegral<std::uint32_t>() : input.ConsumeIntegral<std::uint64_t>(),
            input.ConsumeProbability<float>() > 0.9F};
      index.push_back(component);
      u_long const zero = 0;
      auto* const varbind = snmp_varlist_add_variable(&list, nullptr, 0, ASN_UNSIGNED, &zero, sizeof zero);
      check(varbind != nullptr, "there is memory for an index");
      *varbind->val.integer = static_cast<long>(component.value);
      varbind->type = component.type;
      if (component.absent) {
         snmp_set_var_value(varbind, nullptr, 0);
         varbind->val.integer = nullptr;
      }
   }
   std::unique_ptr<netsnmp_variable_list, FreeVarbinds> const indexes(list);
   info.indexes = list;

   read<MplsSnmp::TunnelTable>(info, index, {k16, k32, k32, k32});
   read<MplsSnmp::PerfTable>(info, index, {k16, k32, k32, k32});
   read<MplsSnmp::HopTable>(info, index, {k32, k32, k32});
   check(!MplsSnmp::IndexHint<MplsSnmp::TunnelTable>::key(nullptr), "no hint gives no key");
   return 0;
}
