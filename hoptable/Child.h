// SPDX-License-Identifier: MIT
/// How a level of the hop chain sets and removes the level below it.
#pragma once

#include "hoptable/Building.h"
#include "substrate/flo/InputStateMachine.h"
#include "substrate/vel/Ptr.h"

namespace MplsSnmp {

/// Takes the child out and retires it: its hop rows are gone when this returns, whoever still holds it.
template <class Child>
void childDel(Vel::Ptr<Child>& slot) {
   Vel::Ptr<Child> const old = std::exchange(slot, nullptr);
   if (!old) return;
   old->hasNotificationActiveIs(false);
   old->retire();
}

/// Keeps the child that was built from the very same inputs. Otherwise a new one is complete before the old one goes.
/// `build` is the child's static constructor.
template <class Parent, class Child, class... Inputs>
Vel::Ptr<Child> childIs(Parent& parent, Vel::Ptr<Child>& slot, Vel::Ptr<Child> (*build)(Inputs...),
                        std::type_identity_t<Inputs>... inputs) {
   if (slot && slot->isBuiltFrom(inputs...)) return slot;
   if (parent.isMarkedForDeletion()) return nullptr;
   ++Flo::Gen::childMachinesMade;
   Vel::Ptr<Child> const child = [&] {
      Building::Under const under(parent);
      return build(inputs...);
   }();
   // An observer of the hop rows has ended the chain: the child went with it.
   if (child->isMarkedForDeletion()) return nullptr;
   if (Vel::Ptr<Child> const old = std::exchange(slot, child)) {
      // The rows of both have the same index: the one that goes takes away what the one that stays has written.
      old->hasNotificationActiveIs(false);
      old->retire();
      child->maybeAddMibEntries();
   }
   return child;
}

}  // namespace MplsSnmp
