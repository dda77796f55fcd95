// SPDX-License-Identifier: MIT
#pragma once

#include <boost/intrusive/list.hpp>

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "substrate/vel/Hasher.h"
#include "substrate/vel/Ptr.h"
#include "substrate/vel/RefCount.h"
#include "substrate/vel/TypeInfo.h"
#include "substrate/vel/ValueText.h"

namespace Vel {

/// A small number, unique within one type, that names an attribute in notifications.
using AttributeId = std::uint16_t;

/// Stands for one member of one collection attribute where reactors are found by what they listen to.
template <class K>
std::uint32_t memberHash(AttributeId attribute, K const& key) {
   return hashOf(key, hashSeed32 + attribute);
}

class KeyInterest;
class NotifieeList;

/// Base of every counted object: entities, state machines, reactors, rows.
///
/// An object notifies the reactors in its notifiee list of changes of its attributes, while its notification flag is
/// on. The list costs nothing until somebody listens. Everything happens on one thread.
class PtrInterface {
 public:
   class NotifieeConst;

   virtual TypeInfo const& fwkType() const;
   virtual ~PtrInterface();

   PtrInterface(PtrInterface const&) = delete;
   PtrInterface& operator=(PtrInterface const&) = delete;

   void newRef() const { refs_.increment(); }
   void deleteRef() const {
      if (refs_.decrement()) const_cast<PtrInterface*>(this)->handleZeroRef();
   }
   std::uint32_t references() const { return refs_.value(); }

   bool hasNotificationActive() const { return notificationActive_; }
   /// State machines override this to pass the value on to their reactors and children; the flag that is already set
   /// so does nothing there.
   virtual void hasNotificationActiveIs(bool active) { notificationActive_ = active; }

   bool isMarkedForDeletion() const { return markedForDeletion_; }

   /// Tells the reactors that the attribute changed.
   void visit(AttributeId attribute) const { visitKey(attribute, nullptr, nullptr); }
   /// Tells the reactors that the member `key` of a collection attribute came, went or was replaced.
   template <class K>
   void visit(AttributeId attribute, K const& key) const {
      visitKey(attribute, &key,
               [](AttributeId id, void const* member) { return memberHash(id, *static_cast<K const*>(member)); });
   }

   /// The members of a collection attribute that reactors are being told of right now, innermost last: a reactor that
   /// is let go inside a notification may not have heard of them yet, and will not. Their keys are copied.
   template <class K>
   std::vector<K> membersBeingTold(AttributeId attribute) const {
      std::vector<K> keys;
      for (void const* const key : keysBeingTold(attribute)) keys.push_back(*static_cast<K const*>(key));
      return keys;
   }

   /// Counted objects that there are in the process: what has come back to its old number has leaked nothing.
   static std::uint64_t objectsLive();

 protected:
   PtrInterface();
   /// The last reference has gone.
   virtual void handleZeroRef();
   void markedForDeletionIs(bool marked) { markedForDeletion_ = marked; }
   /// Lets every reactor go; for objects that stop being observable before their parts are destroyed.
   void notifieesDelAll();

 private:
   /// Works out the hash of the member that a visit is about; only called when somebody listens by key.
   using MemberHasher = std::uint32_t (*)(AttributeId attribute, void const* key);
   friend class NotifieeList;

   void visitKey(AttributeId attribute, void const* key, MemberHasher hasher) const;
   NotifieeList& notifiees() const;
   std::vector<void const*> keysBeingTold(AttributeId attribute) const;

   mutable RefCount refs_;
   bool notificationActive_ = false;
   bool markedForDeletion_ = false;
   mutable std::unique_ptr<NotifieeList> notifiees_;
};

/// A reactor: listens to one notifier. It holds a counted reference to the notifier unless it was bound weakly.
///
/// Reactors may register, retire or die while their notifier is visiting its list. One that registers meanwhile is
/// not called by the visit that is under way: who registers a reactor evaluates the current state itself.
class PtrInterface::NotifieeConst : public PtrInterface {
 public:
   ~NotifieeConst() override;

   /// Null once the notifier has let the reactor go.
   PtrInterface const* notifierObject() const { return notifier_; }

   bool isRegisteredNotifiee() const { return hook_.is_linked(); }
   /// Enters the notifier's list, or leaves it.
   void isRegisteredNotifieeIs(bool registered);

   /// Marks the reactor for deletion, switches its notification off and takes it out of the notifier's list: it stays
   /// allocated until its last reference goes but never calls its owner again.
   void velDoZombieReactors(bool zombie);

   /// Called by the notifier. `key` points to the member's key for a collection attribute, else it is null.
   virtual void onAttribute(AttributeId attribute, void const* key) = 0;

 protected:
   enum class Hold { strong, weak };
   NotifieeConst() = default;
   /// Leaves the old notifier, if any, and stays registered if it was.
   void bind(PtrInterface const* notifier, Hold hold = Hold::strong);

   /// What makes a reactor one that is found by key (KeyedNotifiee.h); a plain reactor has no interests.
   struct Keyed {
      std::span<KeyInterest> interests;
      bool (*wantsAllKeys)() = nullptr;
   };
   virtual Keyed keyed() { return {}; }
   /// Replaces the members that a keyed reactor listens to by those with these hashes.
   void interestHashesAre(std::span<std::uint32_t const> hashes);

 private:
   friend class KeyInterest;
   friend class NotifieeList;
   friend class PtrInterface;

   boost::intrusive::list_member_hook<> hook_;
   std::uint64_t serial_ : 63 = 0;  // order of registration
   std::uint64_t holdsNotifier_ : 1 = 0;
   PtrInterface const* notifier_ = nullptr;
};

}  // namespace Vel
