// SPDX-License-Identifier: MIT
/// Where the entries of a collection live among the published objects: in one keyed collection, or in one of many that
/// are themselves members of a table. Both forms find, put, remove and walk the entries in the same way.
#pragma once

#include <functional>
#include <optional>
#include <type_traits>
#include <utility>

#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/Ptr.h"

namespace Store {

/// Write access to an object that everybody else is given to read. The store made it.
template <class T>
T& writable(Vel::Ptr<T const> const& object) {
   return const_cast<T&>(*object);
}

/// A keyed collection `C` with the names of its attribute: the map, its setter and its remover.
template <class C, auto Map, auto Is, auto Del>
struct Level {
   using Coll = C;
   using HashMap = std::remove_cvref_t<decltype((std::declval<C const&>().*Map)())>;
   using Bookmark = typename HashMap::Bookmark;
   using Key = std::remove_cvref_t<decltype(HashMap::Entry::key)>;
   using Member = std::remove_cvref_t<decltype(HashMap::Entry::value)>;

   static HashMap const& map(C const& coll) { return (coll.*Map)(); }
   static void put(C& coll, Key const& key, Member const& member) { (coll.*Is)(key, member); }
   // The key may be the map's own: it is copied before its entry goes.
   static void del(C& coll, Key const key) { (coll.*Del)(key); }
};

template <class L>
class FlatHome {
 public:
   using Id = typename L::Key;
   using Member = typename L::Member;
   /// Where a walk is. The entries may come and go on the way.
   struct Cursor {
      typename L::Bookmark entry = 0;
   };

   explicit FlatHome(Vel::Ptr<typename L::Coll> coll) : coll_(std::move(coll)) {}

   std::size_t size() const { return L::map(*coll_).size(); }
   Member const* find(Id const& id) const { return L::map(*coll_).find(id); }
   void put(Id const& id, Member const& member) { L::put(*coll_, id, member); }
   /// True when there was such an entry.
   bool del(Id const& id) {
      if (!find(id)) return false;
      L::del(*coll_, id);
      return true;
   }
   std::optional<Id> next(Cursor& cursor) const {
      auto const entry = L::map(*coll_).after(cursor.entry);
      if (entry == L::map(*coll_).end()) return {};
      cursor.entry = entry.bookmark();
      return entry->key;
   }

 private:
   Vel::Ptr<typename L::Coll> coll_;
};

/// `OuterKey` gives the key of the collection in the table that an id belongs to. A collection comes with its first
/// entry and goes with its last.
template <class Outer, class Inner, auto OuterKey>
class NestedHome {
 public:
   using Id = typename Inner::Key;
   using Member = typename Inner::Member;
   struct Cursor {
      typename Outer::Bookmark finished = 0;  // the last collection that is done
      typename Outer::Bookmark coll = 0;      // the one that `entry` belongs to
      typename Inner::Bookmark entry = 0;
   };

   explicit NestedHome(Vel::Ptr<typename Outer::Coll> table) : table_(std::move(table)) {}

   std::size_t size() const { return size_; }

   Member const* find(Id const& id) const {
      auto const* const coll = collOf(id);
      return coll ? Inner::map(**coll).find(id) : nullptr;
   }

   void put(Id const& id, Member const& member) {
      if (!find(id)) ++size_;
      if (auto const* const found = collOf(id)) {
         // Held: whoever is told may take the collection out.
         auto const coll = *found;
         Inner::put(writable(coll), id, member);
         return;
      }
      // Whoever is told of the new collection finds its entry in it.
      auto const coll = Vel::makePtr<typename Inner::Coll>();
      Inner::put(*coll, id, member);
      Outer::put(*table_, std::invoke(OuterKey, id), coll);
   }

   bool del(Id const& id) {
      if (!find(id)) return false;
      --size_;
      auto const coll = *collOf(id);
      Inner::del(writable(coll), id);
      // Whoever was told may have put another in its place.
      auto const* const now = collOf(id);
      if (now && *now == coll && Inner::map(*coll).empty()) Outer::del(*table_, std::invoke(OuterKey, id));
      return true;
   }

   std::optional<Id> next(Cursor& cursor) const {
      auto const& table = Outer::map(*table_);
      for (auto coll = table.after(cursor.finished); coll != table.end(); ++coll) {
         if (cursor.coll != coll.bookmark()) cursor = {cursor.finished, coll.bookmark(), 0};
         auto const& entries = Inner::map(*coll->value);
         auto const entry = entries.after(cursor.entry);
         if (entry != entries.end()) {
            cursor.entry = entry.bookmark();
            return entry->key;
         }
         cursor.finished = coll.bookmark();
      }
      return {};
   }

 private:
   typename Outer::Member const* collOf(Id const& id) const {
      return Outer::map(*table_).find(std::invoke(OuterKey, id));
   }

   Vel::Ptr<typename Outer::Coll> table_;
   std::size_t size_ = 0;
};

}  // namespace Store
