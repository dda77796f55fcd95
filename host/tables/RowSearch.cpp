// SPDX-License-Identifier: MIT
#include "host/tables/RowSearch.h"

#include <algorithm>

namespace Host {

bool RowSearch::isAt(Snmp::SubIds index) const { return isFound_ && std::ranges::equal(rows_.index(), index); }

bool RowSearch::remember(Snmp::SubIds index) {
   behindLength_ = index.size() <= kLongest ? index.size() : kNothing;
   if (behindLength_ != kNothing) std::ranges::copy(index, behind_.begin());
   return isFound_;
}

bool RowSearch::find(Snmp::SubIds index) {
   if (isAt(index)) return true;
   behindLength_ = kNothing;
   seek(index);
   return isAt(index);
}

bool RowSearch::findBehind(Snmp::SubIds index) {
   if (behindLength_ != kNothing && std::ranges::equal(Snmp::SubIds(behind_.data(), behindLength_), index)) {
      return isFound_;
   }
   if (!isAt(index)) seek(index);
   if (isAt(index)) isFound_ = rows_.next();
   return remember(index);
}

bool RowSearch::findFirst() { return findBehind({}); }

bool RowSearch::skip(Snmp::SubIds prefix) {
   behindLength_ = kNothing;
   std::array<unsigned long, kLongest> next;
   std::size_t const length = std::min(prefix.size(), kLongest);
   std::copy_n(prefix.begin(), length, next.begin());
   ++next[length - 1];
   return seek(Snmp::SubIds(next.data(), length));
}

}  // namespace Host
