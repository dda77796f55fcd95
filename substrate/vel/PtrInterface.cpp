// SPDX-License-Identifier: MIT
#include "substrate/vel/PtrInterface.h"

#include "substrate/vel/NotifieeList.h"

namespace Vel {

namespace {
// Counts registrations of the whole process, so that a visit can tell the reactors that came after it began.
std::uint64_t lastSerial = 0;
}  // namespace

TypeInfo const& PtrInterface::fwkType() const {
   static constexpr TypeInfo type{.name = "Vel::PtrInterface"};
   return type;
}

PtrInterface::PtrInterface() = default;
PtrInterface::~PtrInterface() = default;

void PtrInterface::handleZeroRef() {
   refs_.dyingIs();
   delete this;
}

NotifieeList& PtrInterface::notifiees() const {
   if (!notifiees_) notifiees_ = std::make_unique<NotifieeList>();
   return *notifiees_;
}

void PtrInterface::notifieesDelAll() {
   if (notifiees_) notifiees_->clear();
}

void PtrInterface::visitKey(AttributeId attribute, void const* key) const {
   if (!notificationActive_ || !notifiees_) return;
   // A reactor may drop the last reference to its notifier.
   Ptr<PtrInterface const> const keep(this);
   notifiees_->visit(attribute, key);
}

NotifieeList::~NotifieeList() { clear(); }

void NotifieeList::clear() {
   for (Visit* visit = visits_; visit; visit = visit->outer) visit->next = list_.end();
   list_.clear_and_dispose([](NotifieeConst* reactor) { reactor->notifier_ = nullptr; });
}

void NotifieeList::insert(NotifieeConst& reactor) {
   reactor.serial_ = ++lastSerial;
   list_.push_back(reactor);
}

void NotifieeList::remove(NotifieeConst& reactor) {
   auto const position = list_.iterator_to(reactor);
   for (Visit* visit = visits_; visit; visit = visit->outer) {
      if (visit->next == position) ++visit->next;
   }
   list_.erase(position);
}

void NotifieeList::visit(AttributeId attribute, void const* key) {
   std::uint64_t const began = lastSerial;
   Visit visit{list_.begin(), visits_};
   visits_ = &visit;
   while (visit.next != list_.end() && visit.next->serial_ <= began) {
      Ptr<NotifieeConst> const reactor(&*visit.next);
      ++visit.next;
      reactor->onAttribute(attribute, key);
   }
   visits_ = visit.outer;
}

PtrInterface::NotifieeConst::~NotifieeConst() { bind(nullptr); }

void PtrInterface::NotifieeConst::isRegisteredNotifieeIs(bool registered) {
   if (registered == isRegisteredNotifiee() || !notifier_) return;
   if (registered) {
      notifier_->notifiees().insert(*this);
   } else {
      notifier_->notifiees().remove(*this);
   }
}

void PtrInterface::NotifieeConst::velDoZombieReactors(bool zombie) {
   markedForDeletionIs(zombie);
   if (zombie) {
      hasNotificationActiveIs(false);
      isRegisteredNotifieeIs(false);
   }
}

void PtrInterface::NotifieeConst::bind(PtrInterface const* notifier, Hold hold) {
   bool const registered = isRegisteredNotifiee();
   isRegisteredNotifieeIs(false);
   Ptr<PtrInterface const> const old(holdsNotifier_ ? notifier_ : nullptr);
   if (holdsNotifier_) notifier_->deleteRef();
   notifier_ = notifier;
   holdsNotifier_ = notifier != nullptr && hold == Hold::strong;
   if (holdsNotifier_) notifier_->newRef();
   isRegisteredNotifieeIs(registered);
}

}  // namespace Vel
