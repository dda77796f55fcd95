// SPDX-License-Identifier: MIT
#pragma once

#include <functional>
#include <utility>

#include "substrate/vel/PtrInterface.h"

namespace TestSupport {

/// Calls a function whenever its notifier tells of a change. Does not hold the notifier.
class Observer : public Vel::PtrInterface::NotifieeConst {
 public:
   using Handler = std::function<void(Vel::AttributeId attribute, void const* key)>;

   Observer(Vel::PtrInterface const& notifier, Handler handler) : handler_(std::move(handler)) {
      bind(&notifier, Hold::weak);
      isRegisteredNotifieeIs(true);
      hasNotificationActiveIs(true);
   }
   void onAttribute(Vel::AttributeId attribute, void const* key) override {
      // The handler may let the observer go.
      Vel::Ptr<Observer> const keep(this);
      handler_(attribute, key);
   }

 private:
   Handler handler_;
};

/// Does something at the n-th notification of `notifier`, and nothing at the others.
inline Vel::Ptr<Observer> atNotification(Vel::PtrInterface const& notifier, int n, std::function<void()> act) {
   return Vel::makePtr<Observer>(notifier, [n, act = std::move(act)](Vel::AttributeId, void const*) mutable {
      if (--n == 0) act();
   });
}

}  // namespace TestSupport
