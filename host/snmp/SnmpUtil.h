// SPDX-License-Identifier: MIT
#pragma once

#include "substrate/vel/EntityDir.h"
#include "substrate/vel/PtrInterface.h"

namespace Snmp {

/// The agent's own SNMP configuration, as far as modules may ask for it.
class Config : public Vel::PtrInterface {};

}  // namespace Snmp

namespace SnmpUtil {

/// The agent's configuration; never null.
Vel::Ptr<Snmp::Config const> getSnmpConfig();

/// The entity at `path` (such as "snmp/mpls/mplsTeMib") below the agent's root, or null.
Vel::Ptr<Vel::Entity> getEntityRelative(char const* path);

/// The host sets the directory that the modules' paths start from. Null takes it away. Not to be called by modules.
void agentRootIs(Vel::Ptr<Vel::EntityDir> const& root);

}  // namespace SnmpUtil
