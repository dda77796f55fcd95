// SPDX-License-Identifier: MIT
/// The index of a table, component by component, and the hint in which net-snmp says which row a request names.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <optional>
#include <string_view>
#include <utility>

#include "host/snmp/Conversions.h"
#include "snmp/NetSnmp.h"
#include "snmp/Trace.h"
#include "substrate/vel/Exceptions.h"

namespace MplsSnmp {

/// One component of a table's index, an Unsigned32 towards SNMP.
template <class Key>
struct IndexComponent {
   std::string_view object;                      ///< its name in the MIB
   std::string_view label;                       ///< its name in the trace lines of a walk
   std::uint32_t largest;                        ///< the largest value that a key can hold
   std::uint32_t (*fromAsn)(void const* value);  ///< throws Vel::RangeException
   std::uint32_t (*fromKey)(Key const& key);
};

/// The component that the key holds in `Field`.
template <auto Field>
struct IndexField;
template <class Key, class Number, Number Key::*Field>
struct IndexField<Field> {
   static std::uint32_t fromAsn(void const* value) {
      if constexpr (sizeof(Number) == sizeof(std::uint16_t)) {
         return Snmp::AsnUnsignedToU16Clamped(value);
      } else {
         return Snmp::AsnUnsignedToU32(value);
      }
   }
   static std::uint32_t fromKey(Key const& key) { return key.*Field; }

   static constexpr IndexComponent<Key> named(std::string_view object, std::string_view label) {
      return {object, label, std::numeric_limits<Number>::max(), fromAsn, fromKey};
   }
};

/// Reads hints for `Table`, which has its `name`, its `Key` and its index as the array `components`.
template <class Table>
class IndexHint {
 public:
   using Key = typename Table::Key;

   /// The key that the hint names, or nothing: without a hint, with an index of another length, or when a component
   /// cannot be used, which is traced. A walk then starts at the first row, so a bad hint costs time and no answer.
   static std::optional<Key> key(netsnmp_table_request_info const* hint) {
      if (!hint || hint->number_indexes != kComponents) return std::nullopt;
      auto const values = decode(hint->indexes);
      return values ? build(*values, std::make_index_sequence<kComponents>()) : std::nullopt;
   }

 private:
   static constexpr std::size_t kComponents = Table::components.size();
   using Values = std::array<std::uint32_t, kComponents>;
   enum class Outcome { converted, wrongType, outOfRange };

   static std::optional<Values> decode(netsnmp_variable_list const* varbind) {
      Values values{};
      std::size_t converted = 0;
      for (std::size_t n = 0; n < kComponents; ++n, varbind = varbind->next_variable) {
         bool const allBefore = converted == n;
         Outcome const outcome = varbind ? convert(n, *varbind, values[n]) : Outcome::wrongType;
         if (outcome == Outcome::converted) ++converted;
         bool const isLast = !varbind || n + 1 == kComponents;
         if (isLast && allBefore && outcome == Outcome::wrongType) {
            tableTrace().trace(2, Table::name, "_get_first_data_point - needed ", kComponents,
                               " components, found only ", converted);
         }
         if (!varbind) break;
      }
      if (converted != kComponents) return std::nullopt;
      return values;
   }

   static Outcome convert(std::size_t n, netsnmp_variable_list const& varbind, std::uint32_t& value) {
      auto const& component = Table::components[n];
      if (varbind.type != ASN_UNSIGNED) {
         tableTrace().trace(0, "hint for ", component.object, " has incorrect type! Expecting ", unsigned{ASN_UNSIGNED},
                            " but got ", unsigned{varbind.type});
         return Outcome::wrongType;
      }
      try {
         value = component.fromAsn(varbind.val.integer);
      } catch (Vel::RangeException const& error) {
         tableTrace().trace(0, "hint for index ", component.object, " of ", Table::name, " is out of range!",
                            error.what());
         return Outcome::outOfRange;
      }
      tableTrace().trace(2, "hint component ", component.object, " is '", value, "'");
      return Outcome::converted;
   }

   template <std::size_t... N>
   static std::optional<Key> build(Values const& values, std::index_sequence<N...>) {
      try {
         return Key(values[N]...);
      } catch (std::exception const& error) {
         tableTrace().trace(0, "Bad hint for ", Table::name, ": ", Key::velTypeName,
                            " ctor threw exception: ", error.what());
         return std::nullopt;
      }
   }
};

}  // namespace MplsSnmp
