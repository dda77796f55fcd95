// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "hoptable/InTurn.h"
#include "hoptable/Inputs.h"
#include "hoptable/PathSpecSm.h"
#include "hoptable/Trace.h"
#include "substrate/vel/KeyedNotifiee.h"
#include "substrate/vel/Reactor.h"

namespace MplsSnmp {

/// The second level of a tunnel's hop chain: picks the collection of the tunnel's own source out of the table of
/// path-spec collections, and has a child while there is one.
class PathSpecCollSm : public Vel::PtrInterface {
 public:
   class VelPathSpecCollTable;

   Vel::TypeInfo const& fwkType() const override;

   /// A new level with notifications on, its child, if any, complete.
   /// REQUIRES: `subTunnelStatus`, `subTunnelConfig` and `mplsTeMib` are not null.
   static Vel::Ptr<PathSpecCollSm> PathSpecCollSmIs(std::uint32_t hopTableIndex,
                                                    PathSpecCollTablePtr const& pathSpecCollTable,
                                                    SubTunnelStatusPtr const& subTunnelStatus,
                                                    SubTunnelConfigPtr const& subTunnelConfig,
                                                    MplsTeMibPtr const& mplsTeMib);
   ~PathSpecCollSm() override;

   std::uint32_t hopTableIndex() const { return hopTableIndex_; }
   PathSpecCollTablePtr pathSpecCollTable() const;
   SubTunnelStatusPtr const& subTunnelStatus() const { return subTunnelStatus_; }
   SubTunnelConfigPtr const& subTunnelConfig() const { return subTunnelConfig_; }
   MplsTeMibPtr const& mplsTeMib() const { return mplsTeMib_; }
   Vel::Ptr<PathSpecSm> const& pathSpecSm() const { return pathSpecSm_; }
   Vel::Ptr<VelPathSpecCollTable> const& velPathSpecCollTable() const { return velPathSpecCollTable_; }
   bool isBuiltFrom(std::uint32_t hopTableIndex, PathSpecCollTablePtr const& pathSpecCollTable,
                    SubTunnelStatusPtr const& subTunnelStatus, SubTunnelConfigPtr const& subTunnelConfig,
                    MplsTeMibPtr const& mplsTeMib) const;

   void hasNotificationActiveIs(bool active) override;
   /// Ends this level and those below for good and deletes the hop rows.
   void retire();

   /// Every source of the table.
   void handlePathSpecColl();
   /// One source; those of other tunnels change nothing.
   void handlePathSpecColl(Rsvp::RsvpLerTunnelSource source);
   /// Writes the hop rows of the active path, if the path spec in use is known.
   void maybeAddMibEntries();

   Vel::Ptr<PathSpecSm> pathSpecSmIs(std::uint32_t hopTableIndex, PathSpecCollPtr const& pathSpecColl,
                                     SubTunnelStatusPtr const& subTunnelStatus,
                                     SubTunnelConfigPtr const& subTunnelConfig, MplsTeMibPtr const& mplsTeMib);
   void pathSpecSmDel();

 private:
   PathSpecCollSm(std::uint32_t hopTableIndex, PathSpecCollTablePtr const& pathSpecCollTable,
                  SubTunnelStatusPtr subTunnelStatus, SubTunnelConfigPtr subTunnelConfig, MplsTeMibPtr mplsTeMib);

   std::uint32_t hopTableIndex_;
   SubTunnelStatusPtr subTunnelStatus_;
   SubTunnelConfigPtr subTunnelConfig_;
   MplsTeMibPtr mplsTeMib_;
   Vel::Ptr<VelPathSpecCollTable> velPathSpecCollTable_;
   Vel::Ptr<PathSpecSm> pathSpecSm_;
};

/// Listens to the tunnel's own source.
class PathSpecCollSm::VelPathSpecCollTable
      : public Vel::Reactor<VelPathSpecCollTable, PathSpecCollSm, Rsvp::RsvpLerPathSpecCollTable,
                            Vel::KeyedNotifiee<1, HopTrace::listened>> {
 public:
   using Reactor::Reactor;
   void handle(PathSpecCollSm& owner, Vel::AttributeId attribute, void const* key) {
      if (attribute == Rsvp::RsvpLerPathSpecCollTable::attrPathSpecColl) {
         inTurn(owner, [source = *static_cast<Rsvp::RsvpLerTunnelSource const*>(key)](PathSpecCollSm& level) {
            level.handlePathSpecColl(source);
         });
      }
   }
};

}  // namespace MplsSnmp
