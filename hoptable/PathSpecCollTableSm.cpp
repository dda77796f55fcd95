// SPDX-License-Identifier: MIT
#include "hoptable/PathSpecCollTableSm.h"

#include "hoptable/Building.h"
#include "hoptable/Child.h"
#include "hoptable/Trace.h"

namespace MplsSnmp {

Vel::TypeInfo const& PathSpecCollTableSm::fwkType() const {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::PathSpecCollTableSm"};
   return type;
}

Vel::Ptr<PathSpecCollTableSm> PathSpecCollTableSm::PathSpecCollTableSmIs(std::uint32_t hopTableIndex,
                                                                         LerConfigPtr const& lerConfig,
                                                                         SubTunnelStatusPtr const& subTunnelStatus,
                                                                         SubTunnelConfigPtr const& subTunnelConfig,
                                                                         MplsTeMibPtr const& mplsTeMib) {
   Vel::Ptr<PathSpecCollTableSm> const sm(
         new PathSpecCollTableSm(hopTableIndex, lerConfig, subTunnelStatus, subTunnelConfig, mplsTeMib));
   Building::run(*sm, [&] {
      sm->handleInitialized();
      if (!sm->isMarkedForDeletion()) sm->hasNotificationActiveIs(true);
   });
   return sm;
}

Vel::Ptr<PathSpecCollTableSm> pathSpecCollTableSmFactory(std::uint32_t hopTableIndex, LerConfigPtr const& lerConfig,
                                                         SubTunnelStatusPtr const& subTunnelStatus,
                                                         SubTunnelConfigPtr const& subTunnelConfig,
                                                         MplsTeMibPtr const& mplsTeMib) {
   return PathSpecCollTableSm::PathSpecCollTableSmIs(hopTableIndex, lerConfig, subTunnelStatus, subTunnelConfig,
                                                     mplsTeMib);
}

PathSpecCollTableSm::PathSpecCollTableSm(std::uint32_t hopTableIndex, LerConfigPtr const& lerConfig,
                                         SubTunnelStatusPtr subTunnelStatus, SubTunnelConfigPtr subTunnelConfig,
                                         MplsTeMibPtr mplsTeMib)
      : hopTableIndex_(hopTableIndex),
        velLerConfig_(lerConfig ? Vel::makePtr<VelLerConfig>(this, lerConfig) : nullptr),
        subTunnelStatus_(std::move(subTunnelStatus)),
        subTunnelConfig_(std::move(subTunnelConfig)),
        mplsTeMib_(std::move(mplsTeMib)) {}

PathSpecCollTableSm::~PathSpecCollTableSm() { retire(); }

void PathSpecCollTableSm::retire() {
   if (isMarkedForDeletion()) return;
   markedForDeletionIs(true);
   if (velLerConfig_) velLerConfig_->retire();
   Building::retire(*this);
   pathSpecCollSmDel();
}

LerConfigPtr PathSpecCollTableSm::lerConfig() const { return velLerConfig_ ? velLerConfig_->notifier() : nullptr; }

void PathSpecCollTableSm::hasNotificationActiveIs(bool active) {
   if (active == hasNotificationActive()) return;
   PtrInterface::hasNotificationActiveIs(active);
   if (velLerConfig_) velLerConfig_->hasNotificationActiveIs(active);
   if (pathSpecCollSm_) pathSpecCollSm_->hasNotificationActiveIs(active);
}

void PathSpecCollTableSm::handleInitialized() {
   HopTrace::entry("void MplsSnmp::PathSpecCollTableSm::handleInitialized()", hopTableIndex_);
   handlePathSpecCollTable();
}

void PathSpecCollTableSm::handlePathSpecCollTable() {
   HopTrace::entry("void MplsSnmp::PathSpecCollTableSm::handlePathSpecCollTable()", hopTableIndex_);
   PathSpecCollTablePtr const table = lerConfig()->pathSpecCollTable();
   if (table) {
      HopTrace::detail(__func__, "Instantiate PathSpecCollSm");
      pathSpecCollSmIs(hopTableIndex_, table, subTunnelStatus_, subTunnelConfig_, mplsTeMib_);
   } else {
      HopTrace::detail(__func__, "Delete PathSpecCollSm");
      pathSpecCollSmDel();
   }
}

Vel::Ptr<PathSpecCollSm> PathSpecCollTableSm::pathSpecCollSmIs(std::uint32_t hopTableIndex,
                                                               PathSpecCollTablePtr const& pathSpecCollTable,
                                                               SubTunnelStatusPtr const& subTunnelStatus,
                                                               SubTunnelConfigPtr const& subTunnelConfig,
                                                               MplsTeMibPtr const& mplsTeMib) {
   return childIs(*this, pathSpecCollSm_, &PathSpecCollSm::PathSpecCollSmIs, hopTableIndex, pathSpecCollTable,
                  subTunnelStatus, subTunnelConfig, mplsTeMib);
}

void PathSpecCollTableSm::pathSpecCollSmDel() { childDel(pathSpecCollSm_); }

}  // namespace MplsSnmp
