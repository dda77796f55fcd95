// SPDX-License-Identifier: MIT
#include "host/tables/TableDriver.h"

#include <algorithm>
#include <array>
#include <utility>

#include "host/tables/AnswerSize.h"
#include "host/tables/RowSearch.h"
#include "host/tables/View.h"

namespace Host {

namespace {

constexpr oid kEntry = 1;  // the entry object below the table, RFC 2578, 7.1.12

// net-snmp's lists of data take names that are not const.
char tableName[] = TABLE_HANDLER_NAME;
char iteratorName[] = TABLE_ITERATOR_NAME;

Snmp::SubIds nameOf(netsnmp_variable_list const& variable) { return {variable.name, variable.name_length}; }

bool isAnswered(netsnmp_variable_list const& variable) {
   return variable.type != ASN_NULL && variable.type != ASN_PRIV_RETRY;
}

/// Goes to the next repetition of a variable in a GETBULK. False when there is none to be asked of this table.
bool advance(netsnmp_request_info& request) {
   auto const& answered = *request.requestvb;
   if (!isAnswered(answered) || request.repeat <= 0 || !answered.next_variable) return false;
   // What lies behind the registration's range is somebody else's to say.
   if (snmp_oid_compare(answered.name, answered.name_length, request.range_end, request.range_end_len) >= 0) {
      return false;
   }
   --request.repeat;
   request.requestvb = answered.next_variable;
   snmp_set_var_objid(request.requestvb, answered.name, answered.name_length);
   request.requestvb->type = ASN_NULL;
   if (request.inclusive == 2) request.inclusive = 0;  // the agent's note on the repetition before
   return true;
}

/// Ends the answer in front of `variable`, which does not fit any more, and has the agent ask for no more.
void endAnswerBefore(netsnmp_variable_list& variable, netsnmp_request_info* requests) {
   for (auto* request = requests; request; request = request->next) {
      if (request->processed) continue;
      request->repeat = 0;
      auto& next = *request->requestvb;
      if (next.type != ASN_NULL && &next != &variable) continue;
      snmp_set_var_typed_value(&next, ASN_NULL, nullptr, 0);
      next.type = ASN_PRIV_STOP;
      // The agent takes names for part of the answer, and gives up over an answer that it thinks is too long.
      if (&next != &variable) next.name_length = 0;
   }
}

}  // namespace

TableDriver::TableDriver(netsnmp_handler_registration& registration, Snmp::OrderedRows& rows,
                         netsnmp_mib_handler& iterator)
      : registration_(registration),
        rows_(rows),
        requestHandler_(*iterator.next),
        table_(*static_cast<netsnmp_iterator_info*>(iterator.myvoid)->table_reginfo),
        columns_(rows.columns()) {
   tableInfo_.reg_info = const_cast<netsnmp_table_registration_info*>(&table_);
}

bool TableDriver::drive(netsnmp_handler_registration& registration) {
   auto* const rows = Snmp::orderedRows(&registration);
   auto* const iterator = netsnmp_find_handler_by_name(&registration, TABLE_ITERATOR_NAME);
   if (!rows || !iterator || !iterator->myvoid || !iterator->next) return false;
   auto* const handler = netsnmp_create_handler("ordered_rows", &TableDriver::handle);
   if (!handler) return false;
   handler->myvoid = new TableDriver(registration, *rows, *iterator);
   handler->data_free = [](void* driver) { delete static_cast<TableDriver*>(driver); };
   if (netsnmp_inject_handler(&registration, handler) != SNMPERR_SUCCESS) {
      netsnmp_handler_free(handler);
      return false;
   }
   registration.modes |= HANDLER_CAN_GETBULK;
   return true;
}

int TableDriver::handle(netsnmp_mib_handler* handler, netsnmp_handler_registration* registration,
                        netsnmp_agent_request_info* info, netsnmp_request_info* requests) noexcept {
   switch (info->mode) {
      case MODE_GET:
      case MODE_GETNEXT:
      case MODE_GETBULK:
         return static_cast<TableDriver*>(handler->myvoid)->answer(*info, requests);
      default:
         return netsnmp_call_next_handler(handler, registration, info, requests);
   }
}

int TableDriver::answer(netsnmp_agent_request_info& info, netsnmp_request_info* requests) {
   std::array<oid, MAX_OID_LEN> entry;
   std::ranges::copy(root(), entry.begin());
   entry[root().size()] = kEntry;
   RowSearch rows(rows_);
   View view(info.mode == MODE_GET ? nullptr : info.asp, {entry.data(), root().size() + 1});
   AnswerSize size(info.asp, requests);
   Message message{info, rows, view, size};

   if (info.mode == MODE_GETBULK) return getBulk(message, requests);
   auto const one = info.mode == MODE_GET ? &TableDriver::get : &TableDriver::getNext;
   for (auto* request = requests; request; request = request->next) {
      if (request->processed) continue;
      if (int const status = (this->*one)(message, *request); status != SNMP_ERR_NOERROR) return status;
   }
   return SNMP_ERR_NOERROR;
}

int TableDriver::getBulk(Message& message, netsnmp_request_info* requests) {
   // Repetition by repetition, in the order of the answer.
   for (bool isLast = false; !std::exchange(isLast, true);) {
      for (auto* request = requests; request; request = request->next) {
         if (request->processed) continue;
         if (int const status = getNext(message, *request); status != SNMP_ERR_NOERROR) return status;
         auto& variable = *request->requestvb;
         bool const fits = !isAnswered(variable) || message.size.takes(variable);
         if (!fits && &variable != request->requestvb_start) {
            endAnswerBefore(variable, requests);
            return SNMP_ERR_NOERROR;
         }
         if (advance(*request)) {
            isLast = false;
         } else {
            request->processed = 1;
         }
      }
   }
   return SNMP_ERR_NOERROR;
}

int TableDriver::get(Message& message, netsnmp_request_info& request) {
   auto const refuse = [&](int error) {
      netsnmp_set_request_error(&message.info, &request, error);
      return SNMP_ERR_NOERROR;
   };
   std::size_t const columnAt = root().size() + 1;
   auto const wanted = nameOf(*request.requestvb);
   bool const isObject = wanted.size() > columnAt && wanted[columnAt - 1] == kEntry &&
                         wanted[columnAt] >= table_.min_column && wanted[columnAt] <= table_.max_column;
   if (!isObject) return refuse(SNMP_NOSUCHOBJECT);
   auto const column = static_cast<unsigned>(wanted[columnAt]);
   if (!message.rows.find(wanted.subspan(columnAt + 1))) return refuse(SNMP_NOSUCHINSTANCE);
   return ask(message, request, column);
}

int TableDriver::getNext(Message& message, netsnmp_request_info& request) {
   auto& variable = *request.requestvb;
   auto const start = startOf(variable);
   if (!start) return SNMP_ERR_NOERROR;  // it begins behind the table
   for (std::size_t n = start->column; n < columns_.size(); ++n) {
      auto const& column = columns_[n];
      if (!message.view.canTell(column.type)) continue;
      auto const from = n == start->column ? start->index : Snmp::SubIds();
      if (!message.rows.findBehind(from) || !message.view.findVisible(message.rows, column.number)) continue;
      name(variable, column.number, message.rows.index());
      if (int const status = ask(message, request, column.number); status != SNMP_ERR_NOERROR) return status;
      // The agent comes back with this name.
      if (variable.type == SNMP_NOSUCHINSTANCE) variable.type = ASN_PRIV_RETRY;
      if (variable.type != SNMP_NOSUCHOBJECT) return SNMP_ERR_NOERROR;
      variable.type = ASN_NULL;
   }
   // The agent goes on from here, in what is registered next.
   name(variable, table_.max_column + 1, {});
   return SNMP_ERR_NOERROR;
}

/// Nothing when no variable of the table is behind the name. A column that is not served gives way to the next one.
std::optional<TableDriver::Start> TableDriver::startOf(netsnmp_variable_list const& variable) const {
   auto const wanted = nameOf(variable);
   std::size_t const entryAt = root().size();
   bool const isBefore =
         snmp_oid_compare(root().data(), root().size(), wanted.data(), std::min(wanted.size(), root().size())) > 0;
   if (isBefore || wanted.size() <= entryAt || wanted[entryAt] < kEntry) return Start{0, {}};
   if (wanted[entryAt] > kEntry) return {};
   if (wanted.size() <= entryAt + 1) return Start{0, {}};
   oid const number = wanted[entryAt + 1];
   if (number > table_.max_column) return {};
   auto const column = std::ranges::lower_bound(columns_, number, {}, &Snmp::ServedColumn::number);
   bool const isServed = column != columns_.end() && column->number == number;
   return Start{static_cast<std::size_t>(column - columns_.begin()),
                isServed ? wanted.subspan(entryAt + 2) : Snmp::SubIds()};
}

void TableDriver::name(netsnmp_variable_list& variable, unsigned column, Snmp::SubIds index) const {
   std::array<oid, MAX_OID_LEN> built;
   auto end = std::ranges::copy(root(), built.begin()).out;
   *end++ = kEntry;
   *end++ = column;
   end = std::ranges::copy(index, end).out;
   snmp_set_var_objid(&variable, built.data(), static_cast<std::size_t>(end - built.begin()));
}

/// Has the request handler answer the variable with the row that the search has found.
int TableDriver::ask(Message& message, netsnmp_request_info& request, unsigned column) {
   tableInfo_.colnum = column;
   netsnmp_data_list row{request.parent_data, iteratorName, rows_.dataContext(), nullptr};
   netsnmp_data_list table{&row, tableName, &tableInfo_, nullptr};
   auto* const next = std::exchange(request.next, nullptr);
   auto const mode = std::exchange(message.info.mode, MODE_GET);
   request.parent_data = &table;
   int const status = netsnmp_call_handler(&requestHandler_, &registration_, &message.info, &request);
   request.parent_data = row.next;  // with what the handler has added
   message.info.mode = mode;
   request.next = next;
   return status;
}

}  // namespace Host
