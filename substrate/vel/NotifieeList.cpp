// SPDX-License-Identifier: MIT
#include "substrate/vel/NotifieeList.h"

#include <algorithm>

#include "substrate/vel/WorkCounter.h"

namespace Vel {

namespace {

// Counts registrations of the whole process, so that a visit can tell the reactors that came after it began.
std::uint64_t lastSerial = 0;

}  // namespace

/// A visit under way: merges the plain reactors with the keyed ones that are concerned, in order of registration.
class NotifieeList::Visit {
 public:
   Visit(NotifieeList& list, AttributeId attribute, void const* key, PtrInterface::MemberHasher hasher)
         : list_(list), attribute_(attribute), key_(key), nextPlain_(list.plain_.begin()), outer_(innermost) {
      if (KeyedReactors* const keyed = list.keyed_.get(); keyed && !keyed->inOrder.empty()) {
         if (key && !keyed->wantAllKeys()) {
            keyedOnes_ = KeyedOnes::ofMember;
            hash_ = hasher(attribute, key);
         } else {
            keyedOnes_ = KeyedOnes::all;
            nextKeyed_ = keyed->inOrder.begin();
         }
      }
      innermost = this;
   }
   ~Visit() { innermost = outer_; }
   Visit(Visit const&) = delete;
   Visit& operator=(Visit const&) = delete;

   /// The next reactor to call, or null.
   NotifieeConst* next() {
      NotifieeConst* const plain = nextPlain_ == list_.plain_.end() ? nullptr : &*nextPlain_;
      NotifieeConst* const keyed = nextKeyed();
      NotifieeConst* const first = !plain || (keyed && keyed->serial_ < plain->serial_) ? keyed : plain;
      if (!first || first->serial_ > began_) return nullptr;
      step(*first);
      lastCalled_ = first->serial_;
      return first;
   }

   /// A reactor is about to leave its list.
   static void leaving(NotifieeConst& reactor) {
      for (Visit* visit = innermost; visit; visit = visit->outer_) visit->step(reactor);
   }
   static std::vector<void const*> keys(NotifieeList const& list, AttributeId attribute) {
      std::vector<void const*> found;
      for (Visit* visit = innermost; visit; visit = visit->outer_) {
         if (&visit->list_ == &list && visit->attribute_ == attribute && visit->key_) found.push_back(visit->key_);
      }
      std::ranges::reverse(found);
      return found;
   }
   static void ended(NotifieeList const& list) {
      for (Visit* visit = innermost; visit; visit = visit->outer_) {
         if (&visit->list_ != &list) continue;
         visit->nextPlain_ = visit->list_.plain_.end();
         visit->keyedOnes_ = KeyedOnes::none;
      }
   }

 private:
   enum class KeyedOnes { none, ofMember, all };

   NotifieeConst* nextKeyed() const {
      switch (keyedOnes_) {
         case KeyedOnes::none:
            return nullptr;
         case KeyedOnes::all:
            return nextKeyed_ == list_.keyed_->inOrder.end() ? nullptr : &*nextKeyed_;
         case KeyedOnes::ofMember:
            break;
      }
      // Found afresh each time: the calls may change who listens to what.
      auto const& index = list_.keyed_->byMember;
      auto const found = index.upper_bound(KeyInterest::Place{hash_, lastCalled_}, KeyInterest::ByPlace());
      return found != index.end() && found->hash_ == hash_ ? found->reactor_ : nullptr;
   }

   void step(NotifieeConst& reactor) {
      auto const position = List::s_iterator_to(reactor);
      if (nextPlain_ == position) ++nextPlain_;
      if (nextKeyed_ == position) ++nextKeyed_;
   }

   static inline Visit* innermost = nullptr;  // of the whole process, so that a list need not have a place for it

   NotifieeList& list_;
   AttributeId attribute_;
   void const* key_;
   List::iterator nextPlain_;
   List::iterator nextKeyed_;
   KeyedOnes keyedOnes_ = KeyedOnes::none;
   std::uint32_t hash_ = 0;
   std::uint64_t began_ = lastSerial;
   std::uint64_t lastCalled_ = 0;
   Visit* outer_;
};

bool NotifieeList::KeyedReactors::wantAllKeys() const {
   return std::ranges::any_of(classes, [](Class const& each) { return each.wantsAllKeys(); });
}

void NotifieeList::link(std::span<KeyInterest> interests) {
   for (KeyInterest& interest : interests) {
      // Of two interests in the same member the second stays out.
      if (interest.reactor_) keyed_->byMember.insert(interest);
   }
}

void NotifieeList::unlink(std::span<KeyInterest> interests) {
   for (KeyInterest& interest : interests) {
      if (interest.hook_.is_linked()) keyed_->byMember.erase(keyed_->byMember.iterator_to(interest));
   }
}

NotifieeList::~NotifieeList() { clear(); }

std::vector<void const*> NotifieeList::keysBeingTold(AttributeId attribute) const {
   return Visit::keys(*this, attribute);
}

void NotifieeList::letGo(List& list) {
   list.clear_and_dispose([](NotifieeConst* reactor) {
      if (!reactor->holdsNotifier_) reactor->notifier_ = nullptr;
   });
}

void NotifieeList::clear() {
   Visit::ended(*this);
   letGo(plain_);
   if (!keyed_) return;
   keyed_->byMember.clear();
   keyed_->classes.clear();
   letGo(keyed_->inOrder);
}

void NotifieeList::insert(NotifieeConst& reactor) {
   reactor.serial_ = ++lastSerial;
   auto const [interests, wantsAllKeys] = reactor.keyed();
   if (interests.empty()) {
      plain_.push_back(reactor);
      return;
   }
   if (!keyed_) keyed_ = std::make_unique<KeyedReactors>();
   auto const known = std::ranges::find(keyed_->classes, wantsAllKeys, &Class::wantsAllKeys);
   if (known == keyed_->classes.end()) {
      keyed_->classes.push_back({wantsAllKeys, 1});
   } else {
      ++known->reactors;
   }
   keyed_->inOrder.push_back(reactor);
   link(interests);
}

void NotifieeList::remove(NotifieeConst& reactor) {
   Visit::leaving(reactor);
   auto const [interests, wantsAllKeys] = reactor.keyed();
   if (interests.empty()) {
      plain_.erase(plain_.iterator_to(reactor));
      return;
   }
   unlink(interests);
   keyed_->inOrder.erase(keyed_->inOrder.iterator_to(reactor));
   auto const known = std::ranges::find(keyed_->classes, wantsAllKeys, &Class::wantsAllKeys);
   if (--known->reactors == 0) keyed_->classes.erase(known);
}

void NotifieeList::visit(PtrInterface const& notifier, AttributeId attribute, void const* key,
                         PtrInterface::MemberHasher hasher) {
   Visit visit(*this, attribute, key, hasher);
   while (NotifieeConst* const next = notifier.hasNotificationActive() ? visit.next() : nullptr) {
      Ptr<NotifieeConst> const reactor(next);
      ++reactorsRun;
      reactor->onAttribute(attribute, key);
   }
}

}  // namespace Vel
