// SPDX-License-Identifier: MIT
#pragma once

#include "mib/LspRequestConfigIdSet.h"
#include "substrate/vel/Mutators.h"

namespace MplsSnmp {

/// The derivation's own state: the reverse of the published map from LSP requests to sp ids.
class LocalAttrStore : public Vel::PtrInterface {
 public:
   using SetMap = Vel::HashMap2018<Rsvp::RsvpSpId, Vel::Ptr<LspRequestConfigIdSet>>;
   enum : Vel::AttributeId { attrLspReqConfIdsForSpId = 1 };

   SetMap const& lspReqConfIdsForSpId() const { return lspReqConfIdsForSpId_; }

   /// The set of an sp id; made empty when there is none yet.
   Vel::Ptr<LspRequestConfigIdSet> lspReqConfIdsForSpIdIs(Rsvp::RsvpSpId const& spId) {
      if (auto const existing = lspReqConfIdsForSpId_[spId]) return existing;
      auto const made = Vel::makePtr<LspRequestConfigIdSet>();
      Vel::setMember(*this, attrLspReqConfIdsForSpId, lspReqConfIdsForSpId_, spId, made);
      return made;
   }
   void lspReqConfIdsForSpIdDel(Rsvp::RsvpSpId const& spId) {
      Vel::delMember(*this, attrLspReqConfIdsForSpId, lspReqConfIdsForSpId_, spId);
   }

   /// How many LSP requests map to the sp id.
   std::size_t requestCount(Rsvp::RsvpSpId const& spId) const {
      auto const set = lspReqConfIdsForSpId_[spId];
      return set ? set->lrciSet().size() : 0;
   }

   /// Takes a request out of the set of an sp id; an empty set goes with its last member.
   void requestDel(Rsvp::RsvpSpId const& spId, Rsvp::RsvpLerLspRequestConfigId const& id) {
      auto const set = lspReqConfIdsForSpId_[spId];
      if (!set) return;
      set->lrciSetDel(id);
      if (set->lrciSet().empty()) lspReqConfIdsForSpIdDel(spId);
   }

 private:
   SetMap lspReqConfIdsForSpId_;
};

}  // namespace MplsSnmp
