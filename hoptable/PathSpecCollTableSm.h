// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "hoptable/InTurn.h"
#include "hoptable/Inputs.h"
#include "hoptable/PathSpecCollSm.h"
#include "substrate/vel/Reactor.h"

namespace MplsSnmp {

/// The first level of a tunnel's hop chain: follows the table of path-spec collections of the LER configuration, and
/// has a child while there is such a table.
class PathSpecCollTableSm : public Vel::PtrInterface {
 public:
   class VelLerConfig;

   Vel::TypeInfo const& fwkType() const override;

   /// A new chain with notifications on; its hop rows are written.
   /// REQUIRES: `lerConfig`, `subTunnelStatus`, `subTunnelConfig` and `mplsTeMib` are not null.
   static Vel::Ptr<PathSpecCollTableSm> PathSpecCollTableSmIs(std::uint32_t hopTableIndex,
                                                              LerConfigPtr const& lerConfig,
                                                              SubTunnelStatusPtr const& subTunnelStatus,
                                                              SubTunnelConfigPtr const& subTunnelConfig,
                                                              MplsTeMibPtr const& mplsTeMib);
   ~PathSpecCollTableSm() override;

   std::uint32_t hopTableIndex() const { return hopTableIndex_; }
   LerConfigPtr lerConfig() const;
   SubTunnelStatusPtr const& subTunnelStatus() const { return subTunnelStatus_; }
   SubTunnelConfigPtr const& subTunnelConfig() const { return subTunnelConfig_; }
   MplsTeMibPtr const& mplsTeMib() const { return mplsTeMib_; }
   Vel::Ptr<PathSpecCollSm> const& pathSpecCollSm() const { return pathSpecCollSm_; }
   Vel::Ptr<VelLerConfig> const& velLerConfig() const { return velLerConfig_; }

   /// Silences or wakes the whole chain.
   void hasNotificationActiveIs(bool active) override;
   /// Ends the chain for good and deletes its hop rows; whoever still holds it holds a dead object.
   void retire();

   void handleInitialized();
   void handlePathSpecCollTable();

   Vel::Ptr<PathSpecCollSm> pathSpecCollSmIs(std::uint32_t hopTableIndex, PathSpecCollTablePtr const& pathSpecCollTable,
                                             SubTunnelStatusPtr const& subTunnelStatus,
                                             SubTunnelConfigPtr const& subTunnelConfig, MplsTeMibPtr const& mplsTeMib);
   void pathSpecCollSmDel();

 private:
   PathSpecCollTableSm(std::uint32_t hopTableIndex, LerConfigPtr const& lerConfig, SubTunnelStatusPtr subTunnelStatus,
                       SubTunnelConfigPtr subTunnelConfig, MplsTeMibPtr mplsTeMib);

   std::uint32_t hopTableIndex_;
   Vel::Ptr<VelLerConfig> velLerConfig_;
   SubTunnelStatusPtr subTunnelStatus_;
   SubTunnelConfigPtr subTunnelConfig_;
   MplsTeMibPtr mplsTeMib_;
   Vel::Ptr<PathSpecCollSm> pathSpecCollSm_;
};

class PathSpecCollTableSm::VelLerConfig : public Vel::Reactor<VelLerConfig, PathSpecCollTableSm, Rsvp::RsvpLerConfig> {
 public:
   using Reactor::Reactor;
   void handle(PathSpecCollTableSm& owner, Vel::AttributeId attribute, void const*) {
      if (attribute == Rsvp::RsvpLerConfig::attrPathSpecCollTable) handleNotifier(owner);
   }
   void handleNotifier(PathSpecCollTableSm& owner) {
      inTurn(owner, [](PathSpecCollTableSm& level) { level.handlePathSpecCollTable(); });
   }
};

/// The same as PathSpecCollTableSm::PathSpecCollTableSmIs.
Vel::Ptr<PathSpecCollTableSm> pathSpecCollTableSmFactory(std::uint32_t hopTableIndex, LerConfigPtr const& lerConfig,
                                                         SubTunnelStatusPtr const& subTunnelStatus,
                                                         SubTunnelConfigPtr const& subTunnelConfig,
                                                         MplsTeMibPtr const& mplsTeMib);

}  // namespace MplsSnmp
