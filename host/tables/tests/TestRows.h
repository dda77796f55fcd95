// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "host/loop/NetSnmp.h"
#include "host/snmp/OrderedRows.h"

namespace TestSupport {

using Index = std::vector<unsigned long>;

/// Rows of text with an index of two components. Counts how often it is asked for a place.
class TestRows : public Snmp::OrderedRows {
 public:
   using Rows = std::map<Index, std::string>;

   TestRows(std::initializer_list<Rows::value_type> rows) : rows(rows) {}
   explicit TestRows(Rows rows) : rows(std::move(rows)) {}

   std::span<Snmp::ServedColumn const> columns() const override { return served; }
   bool seek(Snmp::SubIds index) override {
      ++seeks;
      return come(rows.lower_bound(Index(index.begin(), index.end())));
   }
   bool next() override {
      ++steps;
      return come(std::next(at_));
   }
   Snmp::SubIds index() const override { return at_->first; }
   void* dataContext() override { return const_cast<std::string*>(&at_->second); }
   void release() override { isAt_ = false; }
   bool isAtRow() const { return isAt_; }

   Rows rows;
   std::vector<Snmp::ServedColumn> served{{1, ASN_OCTET_STR}, {3, ASN_OCTET_STR}, {4, ASN_COUNTER64}};
   unsigned seeks = 0;
   unsigned steps = 0;

 private:
   bool come(Rows::const_iterator place) {
      at_ = place;
      return isAt_ = at_ != rows.end();
   }

   Rows::const_iterator at_;
   bool isAt_ = false;
};

}  // namespace TestSupport
