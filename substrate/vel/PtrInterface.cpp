// SPDX-License-Identifier: MIT
#include "substrate/vel/PtrInterface.h"

#include "substrate/vel/NotifieeList.h"
#include "substrate/vel/WorkCounter.h"

namespace Vel {

namespace {

std::uint64_t objectsGone = 0;

}  // namespace

TypeInfo const& PtrInterface::fwkType() const {
   static constexpr TypeInfo type{.name = "Vel::PtrInterface"};
   return type;
}

PtrInterface::PtrInterface() { ++objectsMade; }
PtrInterface::~PtrInterface() { ++objectsGone; }

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

void PtrInterface::visitKey(AttributeId attribute, void const* key, MemberHasher hasher) const {
   if (!notificationActive_ || !notifiees_) return;
   // A reactor may drop the last reference to its notifier.
   Ptr<PtrInterface const> const keep(this);
   notifiees_->visit(*this, attribute, key, hasher);
}

std::vector<void const*> PtrInterface::keysBeingTold(AttributeId attribute) const {
   return notifiees_ ? notifiees_->keysBeingTold(attribute) : std::vector<void const*>();
}

std::uint64_t PtrInterface::objectsLive() { return objectsMade.value() - objectsGone; }

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

void PtrInterface::NotifieeConst::interestHashesAre(std::span<std::uint32_t const> hashes) {
   std::span<KeyInterest> const interests = keyed().interests;
   bool const registered = isRegisteredNotifiee();
   if (registered) notifier_->notifiees().unlink(interests);
   for (std::size_t n = 0; n < interests.size(); ++n) {
      bool const used = n < hashes.size();
      interests[n].reactor_ = used ? this : nullptr;
      interests[n].hash_ = used ? hashes[n] : 0;
   }
   if (registered) notifier_->notifiees().link(interests);
}

}  // namespace Vel
