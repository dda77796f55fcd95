// SPDX-License-Identifier: MIT
/// Requests as net-snmp would hand them to a table's callbacks and handler, made by hand.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "mib/MplsTeMib.h"
#include "snmp/Tables.h"
#include "tests/support/ValueText.h"

namespace TestSupport {

struct FreeVarbinds {
   void operator()(netsnmp_variable_list* list) const { snmp_free_varbind(list); }
};
using Varbinds = std::unique_ptr<netsnmp_variable_list, FreeVarbinds>;

/// An index as a list of varbinds of one type.
inline Varbinds indexVarbinds(std::vector<unsigned long> const& values, u_char type = ASN_UNSIGNED) {
   netsnmp_variable_list* list = nullptr;
   for (unsigned long value : values) snmp_varlist_add_variable(&list, nullptr, 0, type, &value, sizeof value);
   return Varbinds(list);
}

inline std::vector<unsigned long> indexValues(netsnmp_variable_list const* list) {
   std::vector<unsigned long> values;
   for (; list; list = list->next_variable) values.push_back(static_cast<unsigned long>(*list->val.integer));
   return values;
}

/// The hint: a request's table information.
struct Hint {
   explicit Hint(std::vector<unsigned long> const& values, u_char type = ASN_UNSIGNED)
         : indexes(indexVarbinds(values, type)) {
      info.number_indexes = static_cast<unsigned>(values.size());
      info.indexes = indexes.get();
   }
   Varbinds indexes;
   netsnmp_table_request_info info{};
};

/// A walk as the table iterator does it: its slots, the index it wants filled and the iterator's description.
template <class Table>
class Walk {
 public:
   using Callbacks = MplsSnmp::RowWalk<Table>;
   using Index = std::vector<unsigned long>;

   explicit Walk(MplsSnmp::MplsTeMib& mib)
         : index_(indexVarbinds(std::vector<unsigned long>(Table::components.size()))) {
      info_.myvoid = &mib;
   }
   ~Walk() { end(); }
   Walk(Walk const&) = delete;
   Walk& operator=(Walk const&) = delete;

   /// The index of the row that the walk starts at; empty at the end.
   Index first(netsnmp_table_request_info* hint = nullptr) {
      end();
      loopContext = hint;
      return filled(Callbacks::getFirstDataPoint(&loopContext, &dataContext, index_.get(), &info_));
   }
   Index first(Hint& hint) { return first(&hint.info); }
   Index next() { return filled(Callbacks::getNextDataPoint(&loopContext, &dataContext, index_.get(), &info_)); }
   void* makeDataContext() { return dataContext = Callbacks::makeDataContext(loopContext, &info_); }

   void end() {
      if (dataContext) Callbacks::freeDataContext(std::exchange(dataContext, nullptr), &info_);
      if (loopContext) Callbacks::freeLoopContextAtEnd(std::exchange(loopContext, nullptr), &info_);
   }

   typename Callbacks::Context& loop() { return *static_cast<typename Callbacks::Context*>(loopContext); }
   typename Callbacks::Context& data() { return *static_cast<typename Callbacks::Context*>(dataContext); }

   void* loopContext = nullptr;
   void* dataContext = nullptr;

 private:
   Index filled(netsnmp_variable_list* list) { return list ? indexValues(list) : Index(); }

   Varbinds index_;
   netsnmp_iterator_info info_{};
};

/// A list of requests for a table's handler. Rows given to it are what the iterator found.
template <class Table>
class RequestList {
 public:
   using Row = typename Table::Row;
   using RowPtr = Vel::Ptr<Row const>;
   using Context = typename MplsSnmp::RowWalk<Table>::Context;

   explicit RequestList(int mode = MODE_GET) { info_.mode = mode; }
   ~RequestList() {
      for (Request& request : requests_) {
         netsnmp_free_request_data_sets(&request.info);
         snmp_free_varbind(request.info.requestvb);
      }
   }
   RequestList(RequestList const&) = delete;
   RequestList& operator=(RequestList const&) = delete;

   /// Appends a request for a column of a row; of no row when it is null.
   netsnmp_request_info& add(unsigned column, RowPtr const& row) {
      Request& request = requests_.emplace_back();
      request.table.colnum = column;
      request.info.agent_req_info = &info_;
      request.info.requestvb = newVarbind();
      netsnmp_request_add_list_data(&request.info,
                                    netsnmp_create_data_list(TABLE_HANDLER_NAME, &request.table, nullptr));
      if (row) {
         rows_.insert(row->key(), row);
         request.context = {&rows_, rows_.find(row->key()), rows_.modificationCount()};
         netsnmp_request_add_list_data(&request.info,
                                       netsnmp_create_data_list(TABLE_ITERATOR_NAME, &request.context, nullptr));
         rows_.erase(row->key());
      }
      if (requests_.size() > 1) {
         auto& before = requests_[requests_.size() - 2].info;
         before.next = &request.info;
         request.info.prev = &before;
      }
      return request.info;
   }

   /// The handler's answer for the whole list.
   int handle() {
      return MplsSnmp::RequestLoop<Table>::handle(nullptr, nullptr, &info_,
                                                  requests_.empty() ? nullptr : &requests_.front().info);
   }

   netsnmp_request_info& operator[](std::size_t n) { return requests_[n].info; }

 private:
   struct Request {
      netsnmp_request_info info{};
      netsnmp_table_request_info table{};
      Context context{};
   };
   static netsnmp_variable_list* newVarbind() {
      netsnmp_variable_list* varbind = nullptr;
      return snmp_varlist_add_variable(&varbind, nullptr, 0, ASN_NULL, nullptr, 0);
   }

   netsnmp_agent_request_info info_{};
   typename Table::Collection rows_;
   std::deque<Request> requests_;
};

/// The answer of the handler of `Table` to a GET of one column of one row.
template <class Table>
std::string get(unsigned column, Vel::Ptr<typename Table::Row const> const& row) {
   RequestList<Table> requests;
   auto& request = requests.add(column, row);
   int const status = requests.handle();
   if (status != request.status) return "status " + std::to_string(status) + "/" + std::to_string(request.status);
   return status == SNMP_ERR_NOERROR ? valueText(*request.requestvb) : "error " + std::to_string(status);
}

/// The text of octets in valueText.
inline std::string octets(std::string_view text) { return "OCTETS " + octetsText(text); }

}  // namespace TestSupport
