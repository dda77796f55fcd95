// SPDX-License-Identifier: MIT
/// Status of the signalled paths:
///
///   RsvpKelpStatus.spStatusColl -> .spStatus[sp id]
#pragma once

#include "inputs/rsvp/LerHiveStatus.h"
#include "substrate/vel/System.h"

namespace Rsvp {

/// What an LSP asked for when it was signalled (RFC 3209 SESSION_ATTRIBUTE).
struct RsvpSessionAttribute {
   std::uint16_t setupPriority = 0;
   std::uint8_t holdingPriority = 0;
   std::uint32_t excludeAny = 0;  ///< affinity masks
   std::uint32_t includeAny = 0;
   std::uint32_t includeAll = 0;
   bool operator==(RsvpSessionAttribute const&) const = default;
};

/// The state of one signalled path.
class RsvpSpStatus : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId { attrSessionAttribute = 1, attrUpSince };

   explicit RsvpSpStatus(RsvpSpId id) : id_(std::move(id)) { hasNotificationActiveIs(true); }

   RsvpSpId const& id() const { return id_; }
   RsvpSessionAttribute const& sessionAttribute() const { return sessionAttribute_; }
   void sessionAttributeIs(RsvpSessionAttribute const& attribute) {
      Vel::setAttribute(*this, attrSessionAttribute, sessionAttribute_, attribute);
   }
   /// When the path came up, in seconds since the epoch.
   Vel::Seconds upSince() const { return upSince_; }
   void upSinceIs(Vel::Seconds time) { Vel::setAttribute(*this, attrUpSince, upSince_, time); }

 private:
   RsvpSpId id_;
   RsvpSessionAttribute sessionAttribute_;
   Vel::Seconds upSince_ = 0;
};

class RsvpSpStatusColl : public KeyedCollection<RsvpSpId, Vel::Ptr<RsvpSpStatus const>> {
 public:
   Map const& spStatus() const { return members(); }
   void spStatusIs(Key const& id, Vel::Ptr<RsvpSpStatus const> const& status) { memberIs(id, status); }
   void spStatusDel(Key const& id) { memberDel(id); }
};

class RsvpKelpStatus : public Vel::Entity {
 public:
   enum : Vel::AttributeId { attrSpStatusColl = 1 };

   explicit RsvpKelpStatus(Vel::String name) : Entity(std::move(name)) { hasNotificationActiveIs(true); }

   Vel::Ptr<RsvpSpStatusColl const> const& spStatusColl() const { return spStatusColl_; }
   /// May be null.
   void spStatusCollIs(Vel::Ptr<RsvpSpStatusColl const> const& coll) {
      Vel::setAttribute(*this, attrSpStatusColl, spStatusColl_, coll);
   }

 private:
   Vel::Ptr<RsvpSpStatusColl const> spStatusColl_;
};

}  // namespace Rsvp
