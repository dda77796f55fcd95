// SPDX-License-Identifier: MIT
#pragma once

#include "host/loop/NetSnmp.h"

namespace Host {

/// Answers a GET of a row that a table does not have (noSuchInstance) with one look-up. net-snmp's table iterator would
/// visit every row before it gives up, and managers go on asking for an LSP for a while after it has been replaced.
///
/// Puts a handler in front of the table iterator of `registration`, which owns it from then on. The iterator must take
/// hints: its first data point is the row that is asked for when there is one. Does nothing where there is no such
/// iterator.
void answerAbsentRowsAtOnce(netsnmp_handler_registration& registration);

}  // namespace Host
