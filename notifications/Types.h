// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include "substrate/vel/TypeInfo.h"

namespace MplsSnmp {

/// The types of the type module "TunnelMonitor".
std::span<Vel::TypeInfo const* const> tunnelMonitorTypes();

}  // namespace MplsSnmp
