// SPDX-License-Identifier: MIT
#pragma once

#include "substrate/vel/TraceHandle.h"

namespace MplsSnmp {

/// The trace handle "mplsTeStdMIB" of everything that net-snmp calls. Level 0: what is wrong; 1 and 2: each call and
/// each row; 8: registration.
Vel::TraceHandle const& tableTrace();

}  // namespace MplsSnmp
