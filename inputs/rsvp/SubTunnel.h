// SPDX-License-Identifier: MIT
/// Configuration and status of one sub-tunnel, and the status of one LSP request.
#pragma once

#include <cstdint>
#include <vector>

#include "inputs/rsvp/Ids.h"
#include "inputs/rsvp/Path.h"
#include "substrate/vel/Mutators.h"
#include "substrate/vel/PtrInterface.h"

namespace Rsvp {

class RsvpLerSubTunnelConfig : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId { attrPrimaryPathSpecId = 1, attrSecondaryPathSpecId, attrFastReroute };

   explicit RsvpLerSubTunnelConfig(RsvpLerSubTunnelConfigId id) : id_(std::move(id)) { hasNotificationActiveIs(true); }

   RsvpLerSubTunnelConfigId const& id() const { return id_; }
   /// A default-made id: not configured.
   RsvpLerPathSpecId const& primaryPathSpecId() const { return primaryPathSpecId_; }
   void primaryPathSpecIdIs(RsvpLerPathSpecId const& id) {
      Vel::setAttribute(*this, attrPrimaryPathSpecId, primaryPathSpecId_, id);
   }
   RsvpLerPathSpecId const& secondaryPathSpecId() const { return secondaryPathSpecId_; }
   void secondaryPathSpecIdIs(RsvpLerPathSpecId const& id) {
      Vel::setAttribute(*this, attrSecondaryPathSpecId, secondaryPathSpecId_, id);
   }
   bool fastReroute() const { return fastReroute_; }
   void fastRerouteIs(bool requested) { Vel::setAttribute(*this, attrFastReroute, fastReroute_, requested); }

 private:
   RsvpLerSubTunnelConfigId id_;
   RsvpLerPathSpecId primaryPathSpecId_;
   RsvpLerPathSpecId secondaryPathSpecId_;
   bool fastReroute_ = false;
};

class RsvpLerSubTunnelStatus : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId { attrUp = 1, attrPathChanges, attrStateTransitions, attrActiveLsp, attrActivePath };

   explicit RsvpLerSubTunnelStatus(RsvpLerSubTunnelConfigId id) : id_(std::move(id)) { hasNotificationActiveIs(true); }

   RsvpLerSubTunnelConfigId const& id() const { return id_; }
   bool up() const { return up_; }
   void upIs(bool up) { Vel::setAttribute(*this, attrUp, up_, up); }
   std::uint32_t pathChanges() const { return pathChanges_; }
   void pathChangesIs(std::uint32_t count) { Vel::setAttribute(*this, attrPathChanges, pathChanges_, count); }
   std::uint32_t stateTransitions() const { return stateTransitions_; }
   void stateTransitionsIs(std::uint32_t count) {
      Vel::setAttribute(*this, attrStateTransitions, stateTransitions_, count);
   }
   /// The LSP that carries the traffic; a default-made id when there is none.
   RsvpLerLspRequestConfigId const& activeLsp() const { return activeLsp_; }
   void activeLspIs(RsvpLerLspRequestConfigId const& id) { Vel::setAttribute(*this, attrActiveLsp, activeLsp_, id); }
   RsvpLerPath const& activePath() const { return activePath_; }
   void activePathIs(RsvpLerPath const& path) { Vel::setAttribute(*this, attrActivePath, activePath_, path); }

 private:
   RsvpLerSubTunnelConfigId id_;
   RsvpLerLspRequestConfigId activeLsp_;
   RsvpLerPath activePath_;
   std::uint32_t pathChanges_ = 0;
   std::uint32_t stateTransitions_ = 0;
   bool up_ = false;
};

class RsvpLerLspRequestStatus : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId { attrErrors = 1 };

   /// An RSVP error as signalled (RFC 2205 ERROR_SPEC): code 25 is Notify, value 3 of it "tunnel locally repaired".
   struct Error {
      std::uint8_t code = 0;
      std::uint16_t value = 0;
      bool operator==(Error const&) const = default;
   };

   explicit RsvpLerLspRequestStatus(RsvpLerLspRequestConfigId id) : id_(std::move(id)) {
      hasNotificationActiveIs(true);
   }

   RsvpLerLspRequestConfigId const& id() const { return id_; }
   /// In the order in which they were signalled.
   std::vector<Error> const& errors() const { return errors_; }
   void errorsIs(std::vector<Error> const& errors) { Vel::setAttribute(*this, attrErrors, errors_, errors); }

 private:
   RsvpLerLspRequestConfigId id_;
   std::vector<Error> errors_;
};

}  // namespace Rsvp
