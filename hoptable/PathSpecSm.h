// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "hoptable/InTurn.h"
#include "hoptable/Inputs.h"
#include "hoptable/Trace.h"
#include "substrate/vel/KeyedNotifiee.h"
#include "substrate/vel/Reactor.h"

namespace MplsSnmp {

/// The last level of a tunnel's hop chain: keeps the rows of mplsTunnelHopTable of one hop list equal to the hops of
/// the tunnel's active path, while the path spec in use (primary or secondary) exists. Rows are never edited: every
/// relevant change deletes all rows of the index and writes them anew.
class PathSpecSm : public Vel::PtrInterface {
 public:
   class VelPathSpecColl;
   class VelSubTunnelStatus;
   class VelSubTunnelConfig;

   Vel::TypeInfo const& fwkType() const override;

   /// A new level with notifications on, its rows written.
   /// REQUIRES: `subTunnelStatus`, `subTunnelConfig` and `mplsTeMib` are not null.
   static Vel::Ptr<PathSpecSm> PathSpecSmIs(std::uint32_t hopTableIndex, PathSpecCollPtr const& pathSpecColl,
                                            SubTunnelStatusPtr const& subTunnelStatus,
                                            SubTunnelConfigPtr const& subTunnelConfig, MplsTeMibPtr const& mplsTeMib);
   /// Deletes every row of the index, unless that was done when the object was retired.
   ~PathSpecSm() override;

   std::uint32_t hopTableIndex() const { return hopTableIndex_; }
   PathSpecCollPtr pathSpecColl() const;
   SubTunnelStatusPtr subTunnelStatus() const;
   SubTunnelConfigPtr subTunnelConfig() const;
   MplsTeMibPtr const& mplsTeMib() const { return mplsTeMib_; }
   /// The path spec in use; null until one matches.
   PathSpecPtr const& pathSpec() const { return pathSpec_; }
   Rsvp::RsvpLerPath const& activePath() const { return activePath_; }
   Vel::Ptr<VelPathSpecColl> const& velPathSpecColl() const { return velPathSpecColl_; }
   Vel::Ptr<VelSubTunnelStatus> const& velSubTunnelStatus() const { return velSubTunnelStatus_; }
   Vel::Ptr<VelSubTunnelConfig> const& velSubTunnelConfig() const { return velSubTunnelConfig_; }
   bool isBuiltFrom(std::uint32_t hopTableIndex, PathSpecCollPtr const& pathSpecColl,
                    SubTunnelStatusPtr const& subTunnelStatus, SubTunnelConfigPtr const& subTunnelConfig,
                    MplsTeMibPtr const& mplsTeMib) const;

   /// Whether the active LSP was signalled for the primary path spec; also when there is none.
   bool usingPrimary() const;

   void hasNotificationActiveIs(bool active) override;
   /// Deletes the rows and ends the object for good: it writes no row any more, whoever still holds it.
   void retire();

   void handleInitialized();
   void handlePathSpec();
   void handlePathSpec(Rsvp::RsvpLerPathSpecId const& pathSpecId);
   void handlePrimaryPathSpecId();
   void handleSecondaryPathSpecId();
   void handleActivePath();
   /// The active LSP decides which path spec is in use. As a rule its change ends this object, with its tunnel row; a
   /// row that stays although its sub-tunnel has moved on gets the hops of the path spec that is in use now.
   void handleActiveLsp();
   void handleDel();

   /// Writes one row per hop of the active path when the path spec in use is known. Deletes nothing.
   void maybeAddMibEntries();
   /// Deletes every row of the index, whoever wrote it.
   void cleanupMibEntries();

 private:
   PathSpecSm(std::uint32_t hopTableIndex, PathSpecCollPtr const& pathSpecColl,
              SubTunnelStatusPtr const& subTunnelStatus, SubTunnelConfigPtr const& subTunnelConfig,
              MplsTeMibPtr mplsTeMib);

   Rsvp::RsvpLerPathSpecId const& pathSpecIdInUse() const;
   void pathSpecForget();
   /// Listens to the path specs that are configured now. Both of them, whichever is in use: which one that is may
   /// change without a word.
   void interestsChanged();

   std::uint32_t hopTableIndex_;
   bool ended_ = false;  // its rows are deleted for good; those under its index are a successor's
   Vel::Ptr<VelPathSpecColl> velPathSpecColl_;
   Vel::Ptr<VelSubTunnelStatus> velSubTunnelStatus_;
   Vel::Ptr<VelSubTunnelConfig> velSubTunnelConfig_;
   MplsTeMibPtr mplsTeMib_;
   PathSpecPtr pathSpec_;
   Rsvp::RsvpLerPath activePath_;
};

/// Listens to the path specs that the tunnel is configured with.
class PathSpecSm::VelPathSpecColl : public Vel::Reactor<VelPathSpecColl, PathSpecSm, Rsvp::RsvpLerPathSpecCollForSource,
                                                        Vel::KeyedNotifiee<2, HopTrace::listened>> {
 public:
   using Reactor::Reactor;
   void handle(PathSpecSm& owner, Vel::AttributeId attribute, void const* key) {
      if (attribute == Rsvp::RsvpLerPathSpecCollForSource::attrPathSpec) {
         inTurn(owner, [id = *static_cast<Rsvp::RsvpLerPathSpecId const*>(key)](PathSpecSm& level) {
            level.handlePathSpec(id);
         });
      }
   }
};

class PathSpecSm::VelSubTunnelStatus
      : public Vel::Reactor<VelSubTunnelStatus, PathSpecSm, Rsvp::RsvpLerSubTunnelStatus> {
 public:
   using Reactor::Reactor;
   void handle(PathSpecSm& owner, Vel::AttributeId attribute, void const*) {
      switch (attribute) {
         case Rsvp::RsvpLerSubTunnelStatus::attrActivePath:
            handleNotifier(owner);
            break;
         case Rsvp::RsvpLerSubTunnelStatus::attrActiveLsp:
            inTurn(owner, [](PathSpecSm& level) { level.handleActiveLsp(); });
            break;
         default:
            break;
      }
   }
   void handleNotifier(PathSpecSm& owner) {
      inTurn(owner, [](PathSpecSm& level) { level.handleActivePath(); });
   }
};

class PathSpecSm::VelSubTunnelConfig
      : public Vel::Reactor<VelSubTunnelConfig, PathSpecSm, Rsvp::RsvpLerSubTunnelConfig> {
 public:
   using Reactor::Reactor;
   void handle(PathSpecSm& owner, Vel::AttributeId attribute, void const*) {
      switch (attribute) {
         case Rsvp::RsvpLerSubTunnelConfig::attrPrimaryPathSpecId:
            inTurn(owner, [](PathSpecSm& level) {
               level.interestsChanged();
               level.handlePrimaryPathSpecId();
            });
            break;
         case Rsvp::RsvpLerSubTunnelConfig::attrSecondaryPathSpecId:
            inTurn(owner, [](PathSpecSm& level) {
               level.interestsChanged();
               level.handleSecondaryPathSpecId();
            });
            break;
         default:
            break;
      }
   }
   void handleNotifier(PathSpecSm& owner) {
      inTurn(owner, [](PathSpecSm& level) {
         level.interestsChanged();
         level.handlePrimaryPathSpecId();
         level.handleSecondaryPathSpecId();
      });
   }
};

}  // namespace MplsSnmp
