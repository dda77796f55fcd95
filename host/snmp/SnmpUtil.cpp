// SPDX-License-Identifier: MIT
#include "host/snmp/SnmpUtil.h"

namespace SnmpUtil {

namespace {

Vel::Ptr<Vel::EntityDir>& agentRoot() {
   static Vel::Ptr<Vel::EntityDir> root;
   return root;
}

}  // namespace

Vel::Ptr<Snmp::Config const> getSnmpConfig() {
   static auto const config = Vel::makePtr<Snmp::Config>();
   return config;
}

Vel::Ptr<Vel::Entity> getEntityRelative(char const* path) { return agentRoot() ? agentRoot()->find(path) : nullptr; }

void agentRootIs(Vel::Ptr<Vel::EntityDir> const& root) { agentRoot() = root; }

}  // namespace SnmpUtil
