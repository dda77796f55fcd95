// SPDX-License-Identifier: MIT
#pragma once

#include <boost/intrusive/list.hpp>
#include <boost/intrusive/set.hpp>

#include <memory>
#include <vector>

#include "substrate/vel/PtrInterface.h"

namespace Vel {

/// One member that a keyed reactor listens to, in its notifier's index.
class KeyInterest {
 private:
   friend class NotifieeList;
   friend class PtrInterface::NotifieeConst;

   boost::intrusive::set_member_hook<boost::intrusive::optimize_size<true>> hook_;
   PtrInterface::NotifieeConst* reactor_ = nullptr;  // null: listens to nothing
   std::uint32_t hash_ = 0;

   struct Place {
      std::uint32_t hash;
      std::uint64_t serial;
      auto operator<=>(Place const&) const = default;
   };
   Place place() const { return {hash_, reactor_->serial_}; }
   struct ByPlace {
      bool operator()(KeyInterest const& a, KeyInterest const& b) const { return a.place() < b.place(); }
      bool operator()(Place const& a, KeyInterest const& b) const { return a < b.place(); }
      bool operator()(KeyInterest const& a, Place const& b) const { return a.place() < b; }
   };
};

/// The reactors registered with one notifier, in order of registration.
///
/// Reactors that listen by key stand in a list of their own, with an index from the hash of a member to those that
/// listen to it: what a visit costs follows the reactors that it calls.
class NotifieeList {
 public:
   using NotifieeConst = PtrInterface::NotifieeConst;

   ~NotifieeList();

   void insert(NotifieeConst& reactor);
   void remove(NotifieeConst& reactor);
   /// Puts the interests of a registered keyed reactor into the index, or takes them out.
   void link(std::span<KeyInterest> interests);
   void unlink(std::span<KeyInterest> interests);
   /// Lets every reactor go.
   void clear();
   /// Calls every reactor concerned that was registered before and still is when its turn comes, for as long as the
   /// notifier's notification is on.
   void visit(PtrInterface const& notifier, AttributeId attribute, void const* key, PtrInterface::MemberHasher hasher);
   /// The keys of the visits under way for members of an attribute, innermost last.
   std::vector<void const*> keysBeingTold(AttributeId attribute) const;

 private:
   using List = boost::intrusive::list<
         NotifieeConst,
         boost::intrusive::member_hook<NotifieeConst, boost::intrusive::list_member_hook<>, &NotifieeConst::hook_>,
         boost::intrusive::constant_time_size<false>>;
   using Index = boost::intrusive::set<
         KeyInterest, boost::intrusive::compare<KeyInterest::ByPlace>,
         boost::intrusive::member_hook<KeyInterest,
                                       boost::intrusive::set_member_hook<boost::intrusive::optimize_size<true>>,
                                       &KeyInterest::hook_>,
         boost::intrusive::constant_time_size<false>>;
   /// A class of keyed reactors that is told of all members while `wantsAllKeys()` is true.
   struct Class {
      bool (*wantsAllKeys)();
      std::size_t reactors;
   };
   struct KeyedReactors {
      List inOrder;
      Index byMember;
      std::vector<Class> classes;

      bool wantAllKeys() const;
   };
   class Visit;

   void letGo(List& list);

   List plain_;
   std::unique_ptr<KeyedReactors> keyed_;  // null until somebody listens by key
};

}  // namespace Vel
