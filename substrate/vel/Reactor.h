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
/// which runs when the reactor is pointed at another notifier after it was made.
template <class Concrete, class Owner, class Notifier>
class Reactor : public PtrInterface::NotifieeConst {
 public:
   /// Bound to `notifier`, registered, notifications on. `owner` outlives the reactor's active life: it retires it
   /// (velDoZombieReactors) at the latest in its destructor.
   Reactor(Owner* owner, Ptr<Notifier const> const& notifier) : owner_(owner), input_(notifier.get()) {
      bind(notifier.get());
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }

   Notifier const* notifier() const { return input_; }

   /// Points the reactor at another notifier. The same one again does nothing; one of another type is refused.
   void notifierIs(Ptr<PtrInterface const> const& notifier) {
      if (notifier.get() == notifierObject()) return;
      auto const* const input = dynamic_cast<Notifier const*>(notifier.get());
      if (notifier && !input) throw ArgumentException("a reactor was pointed at a notifier of another type");
      bool const wasRegistered = isRegisteredNotifiee() || !notifierObject();
      bind(input);
      input_ = input;
      isRegisteredNotifieeIs(wasRegistered && input != nullptr);
      if constexpr (requires(Concrete & self, Owner & owner) { self.handleNotifier(owner); }) {
         if (input_ && acts()) static_cast<Concrete*>(this)->handleNotifier(*owner_);
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
      velDoZombieReactors(true);
      owner_ = nullptr;
   }

 private:
   bool acts() const { return owner_ && hasNotificationActive() && !isMarkedForDeletion(); }

   Owner* owner_;
   Notifier const* input_;
};

}  // namespace Vel
