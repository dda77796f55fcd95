// SPDX-License-Identifier: MIT
#include "mib/LspRequestConfigIdSet.h"

#include "substrate/vel/Mutators.h"

namespace MplsSnmp {

Vel::TypeInfo const& LspRequestConfigIdSet::typeInfo() {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::LspRequestConfigIdSet"};
   return type;
}

void LspRequestConfigIdSet::lrciSetIs(Rsvp::RsvpLerLspRequestConfigId const& id) {
   Vel::setMember(*this, attrLrciSet, lrciSet_, id, Vel::Unit());
}

void LspRequestConfigIdSet::lrciSetDel(Rsvp::RsvpLerLspRequestConfigId const& id) {
   Vel::delMember(*this, attrLrciSet, lrciSet_, id);
}

void LspRequestConfigIdSet::lrciSetDelAll() { Vel::delAllMembers(*this, attrLrciSet, lrciSet_); }

}  // namespace MplsSnmp
