// SPDX-License-Identifier: MIT
#pragma once

#include <concepts>

#include "substrate/vel/Exceptions.h"
#include "substrate/vel/PtrInterface.h"

namespace Vel {

/// A reactor of `Owner` on a notifier of type `Notifier`. The concrete reactor (named `Vel` plus the input) supplies
///   void handle(Owner& owner, AttributeId attribute, void const* key)
/// which compares the id with the ids that it serves, and may supply
///   void handleNotifier(Owner& owner)
/// which runs when the reactor is pointed at another notifier after it was made. `Base` is KeyedNotifiee for one that
/// listens to some members of a collection only.
template <class Concrete, class Owner, class Notifier, class Base = PtrInterface::NotifieeConst>
class Reactor : public Base {
 public:
   /// Bound to `notifier`, registered, notifications on. `owner` outlives the reactor's active life: it retires it
   /// (velDoZombieReactors) at the latest in its destructor.
   Reactor(Owner* owner, Ptr<Notifier const> const& notifier) : owner_(owner) {
      this->bind(notifier.get());
      this->isRegisteredNotifieeIs(true);
      this->hasNotificationActiveIs(true);
   }

   Notifier const* notifier() const { return static_cast<Notifier const*>(this->notifierObject()); }

   /// Points the reactor at another notifier. The same one again does nothing; one of another type is refused.
   void notifierIs(Ptr<PtrInterface const> const& notifier) {
      if (notifier.get() == this->notifierObject()) return;
      auto const* const input = dynamic_cast<Notifier const*>(notifier.get());
      if (notifier && !input) throw ArgumentException("a reactor was pointed at a notifier of another type");
      bool const wasRegistered = this->isRegisteredNotifiee() || !this->notifierObject();
      this->bind(input);
      this->isRegisteredNotifieeIs(wasRegistered && input != nullptr);
      if constexpr (requires(Concrete & self, Owner & owner) { self.handleNotifier(owner); }) {
         if (!input || !acts()) return;
         Ptr<Owner> const keep(owner_);
         static_cast<Concrete*>(this)->handleNotifier(*owner_);
      }
   }

   void onAttribute(AttributeId attribute, void const* key) final {
      if (!acts()) return;
      // The owner may drop its own last reference on the way.
      Ptr<Owner> const keep(owner_);
      static_cast<Concrete*>(this)->handle(*owner_, attribute, key);
   }

   /// Retires the reactor for good and forgets the owner.
   void retire() {
      this->velDoZombieReactors(true);
      owner_ = nullptr;
   }

 private:
   bool acts() const { return owner_ && this->hasNotificationActive() && !this->isMarkedForDeletion(); }

   Owner* owner_;
};

}  // namespace Vel
