// SPDX-License-Identifier: MIT
#include "host/store/StateStore.h"

#include "host/store/ChangeSet.h"
#include "host/store/Collections.h"
#include "host/store/DocumentWriter.h"

namespace Store {

StateStore::StateStore(Vel::Ptr<Vel::EntityDir> const& root)
      : dir_(root->dirIs("state/rsvp")),
        lerConfig_(Vel::makePtr<Rsvp::RsvpLerConfig>("lerConfig")),
        lerHiveStatus_(Vel::makePtr<Rsvp::RsvpLerHiveStatus>("lerHiveStatus")),
        kelpStatus_(Vel::makePtr<Rsvp::RsvpKelpStatus>("kelpStatus")),
        collections_(collectionsOf(*lerConfig_, *lerHiveStatus_, *kelpStatus_)) {
   dir_->entityIs(lerConfig_);
   dir_->entityIs(lerHiveStatus_);
   dir_->entityIs(kelpStatus_);
}

StateStore::~StateStore() {
   for (Vel::Ptr<Vel::Entity> const& mounted :
        {Vel::Ptr<Vel::Entity>(lerConfig_), Vel::Ptr<Vel::Entity>(lerHiveStatus_),
         Vel::Ptr<Vel::Entity>(kelpStatus_)}) {
      dir_->entityDel(mounted->name());
   }
}

std::size_t StateStore::applyPatch(std::string patch) { return apply(ChangeKind::patch, std::move(patch)); }

std::size_t StateStore::replace(std::string document) { return apply(ChangeKind::snapshot, std::move(document)); }

std::size_t StateStore::apply(ChangeKind kind, std::string document) {
   ChangeSet changes(*this, kind, std::move(document));
   changes.checkSome();
   changes.applySome();
   return changes.changed();
}

std::string StateStore::document() const {
   std::string text;
   DocumentWriter(*this, kLines).writeSome(text);
   return text;
}

}  // namespace Store
