// SPDX-License-Identifier: MIT
#pragma once

#include "substrate/vel/TraceHandle.h"

namespace MplsSnmp {

/// The trace handle "MplsSnmp", shared by the MIB container and the maintenance of hop rows.
Vel::TraceHandle const& traceHandle();

}  // namespace MplsSnmp
