// SPDX-License-Identifier: MIT
#include "host/module/AbsentRows.h"

#include <cstring>
#include <memory>

namespace Host {

namespace {

struct FreeVarbinds {
   void operator()(netsnmp_variable_list* varbinds) const { snmp_free_varbind(varbinds); }
};

bool equalIndexes(netsnmp_variable_list const* one, netsnmp_variable_list const* other) {
   for (; one && other; one = one->next_variable, other = other->next_variable) {
      if (one->type != other->type || one->val_len != other->val_len) return false;
      if (std::memcmp(one->val.string, other->val.string, one->val_len) != 0) return false;
   }
   return one == other;
}

bool hasRow(netsnmp_iterator_info& iterator, netsnmp_table_request_info& wanted) {
   std::unique_ptr<netsnmp_variable_list, FreeVarbinds> const index(snmp_clone_varbind(wanted.indexes));
   if (!index) return true;  // no memory: the iterator has its own way of saying so
   void* loopContext = &wanted;
   void* dataContext = nullptr;
   auto const* const found = iterator.get_first_data_point(&loopContext, &dataContext, index.get(), &iterator);
   bool const isThere = found && equalIndexes(found, wanted.indexes);
   if (loopContext && iterator.free_loop_context_at_end) iterator.free_loop_context_at_end(loopContext, &iterator);
   return isThere;
}

int handle(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration, netsnmp_agent_request_info* info,
           netsnmp_request_info* requests) {
   bool isDone = false;
   if (info->mode == MODE_GET) {
      auto& iterator = *static_cast<netsnmp_iterator_info*>(handler->myvoid);
      isDone = true;
      for (auto* request = requests; request; request = request->next) {
         auto* const wanted = request->processed ? nullptr : netsnmp_extract_table_info(request);
         if (wanted && !hasRow(iterator, *wanted)) {
            netsnmp_set_request_error(info, request, SNMP_NOSUCHINSTANCE);
            request->processed = 1;
         }
         isDone = isDone && request->processed;
      }
   }
   return isDone ? SNMP_ERR_NOERROR : netsnmp_call_next_handler(handler, registration, info, requests);
}

}  // namespace

void answerAbsentRowsAtOnce(netsnmp_handler_registration& registration) {
   auto* const iteration = netsnmp_find_handler_by_name(&registration, TABLE_ITERATOR_NAME);
   auto* const iterator = iteration ? static_cast<netsnmp_iterator_info*>(iteration->myvoid) : nullptr;
   if (!iterator || !(iterator->flags & NETSNMP_ITERATOR_FLAG_SORTED)) return;
   auto* const handler = netsnmp_create_handler("absent_rows", &handle);
   if (!handler) return;
   handler->myvoid = iterator;
   if (netsnmp_inject_handler_before(&registration, handler, TABLE_ITERATOR_NAME) != SNMPERR_SUCCESS) {
      netsnmp_handler_free(handler);
   }
}

}  // namespace Host
