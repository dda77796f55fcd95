// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "host/snmp/Conversions.h"
#include "mib/MplsTeMib.h"
#include "snmp/EncodeBuffer.h"
#include "snmp/IndexHint.h"
#include "snmp/NetSnmp.h"
#include "snmp/Trace.h"

namespace MplsSnmp {

/// How net-snmp's table iterator walks the rows of `Table`: the five callbacks of its netsnmp_iterator_info, whose
/// `myvoid` is the MplsTeMib.
///
/// The rows are walked where they are, in key order and without copies. A context holds counted references, so a row
/// that leaves the table during a walk stays readable, and the walk goes on at the next greater key. No callback fails
/// a request or throws.
template <class Table>
class RowWalk {
 public:
   using Collection = typename Table::Collection;

   /// Where a walk stands (loop context) or stood when it met a row that was asked for (data context). Made here and
   /// freed only by the two free functions.
   struct Context {
      Collection const* table;
      typename Collection::NodePtr current;  ///< null at the end
      std::uint32_t version;                 ///< the table's modification count when `current` was set
   };

   /// Starts at the row that the hint in the slot names, if there is such a row, and at the first row otherwise. The
   /// slot then holds the loop context, also for an empty table.
   static netsnmp_variable_list* getFirstDataPoint(void** loopContext, void** /*dataContext*/,
                                                   netsnmp_variable_list* index, netsnmp_iterator_info* info) noexcept {
      auto const* const hint = static_cast<netsnmp_table_request_info const*>(*loopContext);
      if (hint) {
         trace("_get_first_data_point - *hint = ", fmt::ptr(hint), ", number_indexes = ", hint->number_indexes);
      } else {
         trace("_get_first_data_point - *hint = ", fmt::ptr(hint));
      }
      Collection const& table = Table::rows(*static_cast<MplsTeMib const*>(info->myvoid));
      auto const match = find(table, hint);
      auto* const context = new Context{&table, match ? match : table.smallest(), table.modificationCount()};
      trace("_get_first_data_point - allocated new loop context ", fmt::ptr(context),
            ", hintMatched=", static_cast<bool>(match));
      *loopContext = context;
      return iterationHelper(*context, index);
   }

   static netsnmp_variable_list* getNextDataPoint(void** loopContext, void** dataContext, netsnmp_variable_list* index,
                                                  netsnmp_iterator_info* /*info*/) noexcept {
      auto* const context = static_cast<Context*>(*loopContext);
      if (!context || !context->current) {
         trace("_get_next_data_point - at end of loop context ", fmt::ptr(context));
         return nullptr;
      }
      trace("_get_next_data_point - advancing loop context ", fmt::ptr(context), " ; data context ",
            fmt::ptr(*dataContext));
      context->current = context->table->next(*context->current, context->version);
      if (*dataContext) *static_cast<Context*>(*dataContext) = *context;
      return iterationHelper(*context, index);
   }

   /// Writes the index of the current row into the varbinds. Returns them, as net-snmp wants its data point to be, or
   /// null at the end.
   static netsnmp_variable_list* iterationHelper(Context const& context, netsnmp_variable_list* index) noexcept {
      if (!context.current) {
         trace("IterationHelper - iterator is at end");
         return nullptr;
      }
      EncodeBuffer buffer;
      netsnmp_variable_list* varbind = index;
      for (auto const& component : Table::components) {
         std::uint32_t const value = component.fromKey(context.current->key());
         trace("IterationHelper - iterator has another value: ", component.label, "=", value);
         int const length = Snmp::U32ToAsnUnsigned()(value, buffer.data(), buffer.size());
         if (!varbind) continue;
         snmp_set_var_typed_value(varbind, ASN_UNSIGNED, buffer.data(), length);
         varbind = varbind->next_variable;
      }
      return index;
   }

   static void* makeDataContext(void* loopContext, netsnmp_iterator_info* /*info*/) noexcept {
      auto* const context = new Context(*static_cast<Context const*>(loopContext));
      trace("_make_data_context - allocated data context ", fmt::ptr(context));
      return context;
   }

   static void freeDataContext(void* dataContext, netsnmp_iterator_info* /*info*/) noexcept {
      trace("_free_data_context ", fmt::ptr(dataContext));
      delete static_cast<Context*>(dataContext);
   }

   static void freeLoopContextAtEnd(void* loopContext, netsnmp_iterator_info* /*info*/) noexcept {
      trace("_free_loop_context_at_end ", fmt::ptr(loopContext));
      delete static_cast<Context*>(loopContext);
   }

 private:
   /// A hint never stands for a lower or upper bound: only the very row that it names skips the rows before it.
   static typename Collection::NodePtr find(Collection const& table, netsnmp_table_request_info const* hint) {
      auto const key = IndexHint<Table>::key(hint);
      if (!key) return nullptr;
      auto const node = table.find(*key);
      if (!node) trace("_get_first_data_point - key '", *key, "' not found in table");
      return node;
   }

   template <class... Values>
   static void trace(Values const&... values) {
      tableTrace().trace(2, Table::name, values...);
   }
};

}  // namespace MplsSnmp
