// SPDX-License-Identifier: MIT
#pragma once

#include "inputs/rsvp/Ids.h"
#include "substrate/vel/Entity.h"
#include "substrate/vel/HashMap2018.h"

namespace MplsSnmp {

/// The LSP requests that map to one sp id.
class LspRequestConfigIdSet : public Vel::Entity {
 public:
   enum : Vel::AttributeId { attrName = 1, attrLrciSet };
   using Set = Vel::HashSet2018<Rsvp::RsvpLerLspRequestConfigId>;

   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   /// Empty, notifications on. One that stands in no directory needs no name.
   explicit LspRequestConfigIdSet(Vel::String name = {}) : Entity(std::move(name)) { hasNotificationActiveIs(true); }

   Set const& lrciSet() const { return lrciSet_; }
   bool contains(Rsvp::RsvpLerLspRequestConfigId const& id) const { return lrciSet_.contains(id); }
   /// Inserting an id that is present changes nothing.
   void lrciSetIs(Rsvp::RsvpLerLspRequestConfigId const& id);
   /// Removing an id that is not present changes nothing.
   void lrciSetDel(Rsvp::RsvpLerLspRequestConfigId const& id);
   void lrciSetDelAll();

 private:
   Set lrciSet_;
};

}  // namespace MplsSnmp
