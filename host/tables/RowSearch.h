// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>

#include "host/snmp/OrderedRows.h"

namespace Host {

/// Finds the rows that the variables of one message ask for. Neighbours in a message mostly ask for the same row or
/// for the next one: what was found last is remembered, and the next row is a step away.
class RowSearch {
 public:
   explicit RowSearch(Snmp::OrderedRows& rows) : rows_(rows) {}
   ~RowSearch() { rows_.release(); }
   RowSearch(RowSearch const&) = delete;
   RowSearch& operator=(RowSearch const&) = delete;

   /// Goes to the row of exactly this index. False when there is none.
   bool find(Snmp::SubIds index);
   /// Goes to the first row behind this index. False when there is none.
   bool findBehind(Snmp::SubIds index);
   /// Goes to the first row. False when there is none.
   bool findFirst();
   /// Goes to the first row behind all whose index begins with `prefix`. False when there is none.
   /// REQUIRES: `prefix` is not empty.
   bool skip(Snmp::SubIds prefix);

   /// REQUIRES: a row was found.
   Snmp::SubIds index() const { return rows_.index(); }

 private:
   static constexpr std::size_t kLongest = 128;  // sub-identifiers of a name, RFC 2578

   bool isAt(Snmp::SubIds index) const;
   bool seek(Snmp::SubIds index) { return isFound_ = rows_.seek(index); }
   bool remember(Snmp::SubIds index);

   Snmp::OrderedRows& rows_;
   bool isFound_ = false;
   /// The index behind which the current place, or the end, was found; of length kNothing when it was not found so.
   static constexpr std::size_t kNothing = kLongest + 1;
   std::size_t behindLength_ = kNothing;
   std::array<unsigned long, kLongest> behind_;
};

}  // namespace Host
