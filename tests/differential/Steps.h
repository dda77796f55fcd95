// SPDX-License-Identifier: MIT
#pragma once

#include <string>

#include "tests/differential/Ber.h"
#include "tests/differential/TwoWays.h"

namespace Differential {

/// What is wrong with the answer to a GETBULK, or nothing: RFC 3416, 4.2.3 defines it as steps of GETNEXT, and these
/// are asked of net-snmp's handlers one by one. The answer may end where it is full. What net-snmp names a variable
/// that is at its end, and where it ends an answer in which all are, is its own affair.
std::string wrongSteps(TwoWays& agent, Request const& getBulk, Octets const& answer);

}  // namespace Differential
