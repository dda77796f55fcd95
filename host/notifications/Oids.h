// SPDX-License-Identifier: MIT
/// Object identifiers of MPLS-TE-STD-MIB (RFC 3812): notifications are below .0, scalars below .1, tables below .2.
#pragma once

#include <initializer_list>
#include <vector>

#include "host/loop/NetSnmp.h"

namespace Notifications {

inline constexpr oid kMplsTeStdMib[] = {1, 3, 6, 1, 2, 1, 10, 166, 3};

/// What stands below the MIB.
inline std::vector<oid> belowMib(std::initializer_list<oid> subidentifiers) {
   std::vector<oid> name(std::begin(kMplsTeStdMib), std::end(kMplsTeStdMib));
   name.insert(name.end(), subidentifiers);
   return name;
}

}  // namespace Notifications
