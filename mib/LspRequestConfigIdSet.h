// SPDX-License-Identifier: MIT
#pragma once

#include "inputs/rsvp/Ids.h"
#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/PtrInterface.h"

namespace MplsSnmp {

/// The LSP requests that map to one sp id.
class LspRequestConfigIdSet : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId { attrLrciSet = 1 };
   using Set = Vel::HashSet2018<Rsvp::RsvpLerLspRequestConfigId>;

   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   Set const& lrciSet() const { return lrciSet_; }
   /// Inserting an id that is present changes nothing.
   void lrciSetIs(Rsvp::RsvpLerLspRequestConfigId const& id);
   /// Removing an id that is not present changes nothing.
   void lrciSetDel(Rsvp::RsvpLerLspRequestConfigId const& id);
   void lrciSetDelAll();

 private:
   Set lrciSet_;
};

}  // namespace MplsSnmp
