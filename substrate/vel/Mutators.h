// SPDX-License-Identifier: MIT
/// What the setters of attributes have in common: a change is stored first and notified afterwards, and setting what
/// is there already notifies nobody.
#pragma once

#include <type_traits>
#include <utility>

#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/PtrInterface.h"

namespace Vel {

/// Sets a single attribute; true when that changed it.
template <class T>
bool setAttribute(PtrInterface const& owner, AttributeId id, T& slot, std::type_identity_t<T> value) {
   if (slot == value) return false;
   // The old value is kept until all have been told.
   [[maybe_unused]] T const old = std::exchange(slot, std::move(value));
   owner.visit(id);
   return true;
}

/// Inserts or replaces a member of a hash map attribute; true when that changed the collection.
template <class K, class V>
bool setMember(PtrInterface const& owner, AttributeId id, HashMap2018<K, V>& map, K key,
               std::type_identity_t<V> value) {
   [[maybe_unused]] V old{};
   if (V* const existing = map.find(key)) {
      if (*existing == value) return false;
      old = std::exchange(*existing, std::move(value));
   } else {
      map.insertOrAssign(key, std::move(value));
   }
   owner.visit(id, key);
   return true;
}

/// Removes a member of a hash map attribute; returns it, or a default-made one when there was none.
template <class K, class V>
V delMember(PtrInterface const& owner, AttributeId id, HashMap2018<K, V>& map, K key) {
   V const* const existing = map.find(key);
   if (!existing) return V{};
   V removed = *existing;
   map.erase(key);
   owner.visit(id, key);
   return removed;
}

/// Removes all members of a hash map attribute, one notification each. Members that come meanwhile stay.
template <class K, class V>
void delAllMembers(PtrInterface const& owner, AttributeId id, HashMap2018<K, V>& map) {
   // A reactor may drop the last reference to the owner.
   Ptr<PtrInterface const> const keep(&owner);
   auto const last = map.lastBookmark();
   for (auto at = map.begin(); at != map.end() && at.bookmark() <= last; ++at) delMember(owner, id, map, at->key);
}

}  // namespace Vel
