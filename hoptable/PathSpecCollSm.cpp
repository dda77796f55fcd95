// SPDX-License-Identifier: MIT
#include "hoptable/PathSpecCollSm.h"

#include "hoptable/Building.h"
#include "hoptable/Child.h"
#include "hoptable/Trace.h"

namespace MplsSnmp {

Vel::TypeInfo const& PathSpecCollSm::fwkType() const {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::PathSpecCollSm"};
   return type;
}

Vel::Ptr<PathSpecCollSm> PathSpecCollSm::PathSpecCollSmIs(std::uint32_t hopTableIndex,
                                                          PathSpecCollTablePtr const& pathSpecCollTable,
                                                          SubTunnelStatusPtr const& subTunnelStatus,
                                                          SubTunnelConfigPtr const& subTunnelConfig,
                                                          MplsTeMibPtr const& mplsTeMib) {
   Vel::Ptr<PathSpecCollSm> const sm(
         new PathSpecCollSm(hopTableIndex, pathSpecCollTable, subTunnelStatus, subTunnelConfig, mplsTeMib));
   Building::run(*sm, [&] {
      sm->handlePathSpecColl();
      if (!sm->isMarkedForDeletion()) sm->hasNotificationActiveIs(true);
   });
   return sm;
}

PathSpecCollSm::PathSpecCollSm(std::uint32_t hopTableIndex, PathSpecCollTablePtr const& pathSpecCollTable,
                               SubTunnelStatusPtr subTunnelStatus, SubTunnelConfigPtr subTunnelConfig,
                               MplsTeMibPtr mplsTeMib)
      : hopTableIndex_(hopTableIndex),
        subTunnelStatus_(std::move(subTunnelStatus)),
        subTunnelConfig_(std::move(subTunnelConfig)),
        mplsTeMib_(std::move(mplsTeMib)),
        velPathSpecCollTable_(pathSpecCollTable ? Vel::makePtr<VelPathSpecCollTable>(this, pathSpecCollTable)
                                                : nullptr) {
   if (velPathSpecCollTable_ && subTunnelConfig_) {
      velPathSpecCollTable_->interestsAre(Rsvp::RsvpLerPathSpecCollTable::attrPathSpecColl,
                                          subTunnelConfig_->id().source);
   }
}

PathSpecCollSm::~PathSpecCollSm() { retire(); }

void PathSpecCollSm::retire() {
   if (isMarkedForDeletion()) return;
   markedForDeletionIs(true);
   if (velPathSpecCollTable_) velPathSpecCollTable_->retire();
   Building::retire(*this);
   pathSpecSmDel();
}

PathSpecCollTablePtr PathSpecCollSm::pathSpecCollTable() const {
   return velPathSpecCollTable_ ? velPathSpecCollTable_->notifier() : nullptr;
}

bool PathSpecCollSm::isBuiltFrom(std::uint32_t hopTableIndex, PathSpecCollTablePtr const& pathSpecCollTable,
                                 SubTunnelStatusPtr const& subTunnelStatus, SubTunnelConfigPtr const& subTunnelConfig,
                                 MplsTeMibPtr const& mplsTeMib) const {
   return hopTableIndex_ == hopTableIndex && this->pathSpecCollTable() == pathSpecCollTable &&
          subTunnelStatus_ == subTunnelStatus && subTunnelConfig_ == subTunnelConfig && mplsTeMib_ == mplsTeMib;
}

void PathSpecCollSm::hasNotificationActiveIs(bool active) {
   if (active == hasNotificationActive()) return;
   PtrInterface::hasNotificationActiveIs(active);
   if (velPathSpecCollTable_) velPathSpecCollTable_->hasNotificationActiveIs(active);
   if (pathSpecSm_) pathSpecSm_->hasNotificationActiveIs(active);
}

void PathSpecCollSm::handlePathSpecColl() {
   HopTrace::entry("void MplsSnmp::PathSpecCollSm::handlePathSpecColl()", hopTableIndex_);
   PathSpecCollTablePtr const table = pathSpecCollTable();
   if (!table) return;
   for (auto const& entry : table->pathSpecColl()) {
      handlePathSpecColl(Rsvp::RsvpLerTunnelSource(entry.key));
   }
}

void PathSpecCollSm::handlePathSpecColl(Rsvp::RsvpLerTunnelSource source) {
   HopTrace::entry("void MplsSnmp::PathSpecCollSm::handlePathSpecColl(Rsvp::RsvpLerTunnelSource)", hopTableIndex_,
                   ", source: ", source);
   Rsvp::RsvpLerTunnelSource const entrySource = subTunnelConfig_->id().source;
   if (source != entrySource) {
      HopTrace::detail(__func__, "source doesn't match entry source: ", entrySource);
      return;
   }
   PathSpecCollPtr const coll = pathSpecCollTable()->pathSpecColl()[source];
   if (coll) {
      HopTrace::detail(__func__, "Instantiate PathSpecSm");
      pathSpecSmIs(hopTableIndex_, coll, subTunnelStatus_, subTunnelConfig_, mplsTeMib_);
   } else {
      HopTrace::detail(__func__, "Delete pathSpecSm");
      pathSpecSmDel();
   }
}

void PathSpecCollSm::maybeAddMibEntries() {
   if (Vel::Ptr<PathSpecSm> const child = pathSpecSm_) child->maybeAddMibEntries();
}

Vel::Ptr<PathSpecSm> PathSpecCollSm::pathSpecSmIs(std::uint32_t hopTableIndex, PathSpecCollPtr const& pathSpecColl,
                                                  SubTunnelStatusPtr const& subTunnelStatus,
                                                  SubTunnelConfigPtr const& subTunnelConfig,
                                                  MplsTeMibPtr const& mplsTeMib) {
   return childIs(*this, pathSpecSm_, &PathSpecSm::PathSpecSmIs, hopTableIndex, pathSpecColl, subTunnelStatus,
                  subTunnelConfig, mplsTeMib);
}

void PathSpecCollSm::pathSpecSmDel() { childDel(pathSpecSm_); }

}  // namespace MplsSnmp
