// SPDX-License-Identifier: MIT
#include "mib/LspRequestConfigIdSet.h"

#include <array>

#include "substrate/vel/Generic.h"
#include "substrate/vel/Mutators.h"

namespace MplsSnmp {

namespace {

using Ids = LspRequestConfigIdSet;
using Vel::Generic::method;

Vel::Ptr<Ids> newIdSet(Vel::String const& name) { return Vel::makePtr<Ids>(name); }
Vel::Ptr<Vel::Entity> newIdSetForDir(Vel::String const& name) { return newIdSet(name); }

constexpr std::array kIdSetAttributes{
      Vel::AttributeInfo{.id = Ids::attrName, .name = "name", .get = method<&Vel::Entity::name>},
      Vel::AttributeInfo{.id = Ids::attrLrciSet,
                         .name = "lrciSet",
                         .get = method<&Ids::contains>,
                         .set = method<&Ids::lrciSetIs>,
                         .del = method<&Ids::lrciSetDel>,
                         .keys = Vel::Generic::keys<Ids, &Ids::lrciSet>,
                         .size = Vel::Generic::size<Ids, &Ids::lrciSet>}};

}  // namespace

Vel::TypeInfo const& LspRequestConfigIdSet::typeInfo() {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::LspRequestConfigIdSet",
                                       .attributes = kIdSetAttributes,
                                       .construct = Vel::Generic::constructor<&newIdSet>,
                                       .newEntityForDir = newIdSetForDir};
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
