// SPDX-License-Identifier: MIT
#pragma once

#include <span>

#include "substrate/vel/TypeInfo.h"

namespace MplsSnmp {

/// The types of the type module "RsvpSnmpSubTunnelStatusSm".
std::span<Vel::TypeInfo const* const> rsvpSnmpSubTunnelStatusSmTypes();

}  // namespace MplsSnmp
