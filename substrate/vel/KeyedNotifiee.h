// SPDX-License-Identifier: MIT
#pragma once

#include <array>

#include "substrate/vel/NotifieeList.h"

namespace Vel {

/// Base of reactors that listen to at most `N` members of their notifier's collections: `Base` of a Reactor. A visit
/// of any other member passes them by without touching them, however many they are.
///
/// Members are told apart by hash: now and then such a reactor is called for a member that it does not listen to, and
/// compares the key itself. It is called for all members when the visit begins while `WantsAllKeys()` is true, and for
/// changes of attributes that have no members. Calls keep the order of registration among all reactors.
template <std::size_t N, bool (*WantsAllKeys)()>
class KeyedNotifiee : public PtrInterface::NotifieeConst {
 public:
   ~KeyedNotifiee() override { isRegisteredNotifieeIs(false); }

   /// Listens to these members from now on, and to no other. Who changes them evaluates their state itself: a visit
   /// that is under way may or may not call.
   template <class... Keys>
   void interestsAre([[maybe_unused]] AttributeId attribute, Keys const&... keys) {
      static_assert(sizeof...(Keys) <= N);
      std::array<std::uint32_t, sizeof...(Keys)> const hashes{memberHash(attribute, keys)...};
      interestHashesAre(hashes);
   }

 protected:
   Keyed keyed() final { return {interests_, WantsAllKeys}; }

 private:
   std::array<KeyInterest, N> interests_;
};

}  // namespace Vel
