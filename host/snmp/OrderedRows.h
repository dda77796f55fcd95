// SPDX-License-Identifier: MIT
/// How a MIB module offers the rows of a table in the order of a walk, so that its host reaches any of them without
/// net-snmp's table iterator.
#pragma once

#include <memory>
#include <span>

struct netsnmp_handler_registration_s;

namespace Snmp {

/// Sub-identifiers of an object identifier, in net-snmp's type oid. Those of an index have 0 to 128 of them and may
/// hold any value.
using SubIds = std::span<unsigned long const>;

/// A column that the request handler of a table answers.
struct ServedColumn {
   unsigned number;
   unsigned char type;  ///< the ASN type of its values
};

/// A place among the rows of one table, which a host moves about. Rows may come and go between the calls; the row at
/// the place stays readable until the place is another or `release` is called.
class OrderedRows {
 public:
   virtual ~OrderedRows() = default;

   /// The columns that are served, in ascending order: a walk steps over all others.
   virtual std::span<ServedColumn const> columns() const = 0;

   /// Goes to the first row whose index is not before `index`, in the order of object identifiers: `index` may be
   /// shorter or longer than that of a row, and out of any component's range. Costs a look-up, whatever it is. False
   /// when there is no such row; then there is no place.
   virtual bool seek(SubIds index) = 0;
   /// Goes to the next row. False when there is none. REQUIRES: a place.
   virtual bool next() = 0;
   /// The index of the row. Valid until the place is another. REQUIRES: a place.
   virtual SubIds index() const = 0;
   /// What the table's request handler finds with netsnmp_extract_iterator_context. Owned by this. REQUIRES: a place.
   virtual void* dataContext() = 0;
   /// Lets the row go; then there is no place.
   virtual void release() = 0;
};

/// Offers the rows of the table that `registration` stands for, which the module's request handler answers when it
/// is given netsnmp_table_request_info::colnum and the data context of a row. Null takes the offer back, which is due
/// once the registration has been unregistered.
void orderedRowsIs(netsnmp_handler_registration_s const* registration, std::unique_ptr<OrderedRows> rows);
/// What is offered for a registration, or null.
OrderedRows* orderedRows(netsnmp_handler_registration_s const* registration);

}  // namespace Snmp
