// SPDX-License-Identifier: MIT
#include "hoptable/PathSpecSm.h"

#include <vector>

#include "hoptable/Building.h"
#include "hoptable/Trace.h"
#include "mib/MplsTunnelHopTableEntryRsvp.h"

namespace MplsSnmp {

namespace {

/// mplsTunnelHopPathOptionIndex of every row: which of the two path specs is in use is not told by the index.
constexpr std::uint32_t kPathOption = 1;

}  // namespace

Vel::TypeInfo const& PathSpecSm::fwkType() const {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::PathSpecSm"};
   return type;
}

Vel::Ptr<PathSpecSm> PathSpecSm::PathSpecSmIs(std::uint32_t hopTableIndex, PathSpecCollPtr const& pathSpecColl,
                                              SubTunnelStatusPtr const& subTunnelStatus,
                                              SubTunnelConfigPtr const& subTunnelConfig,
                                              MplsTeMibPtr const& mplsTeMib) {
   Vel::Ptr<PathSpecSm> const sm(
         new PathSpecSm(hopTableIndex, pathSpecColl, subTunnelStatus, subTunnelConfig, mplsTeMib));
   Building::run(*sm, [&] {
      sm->handleInitialized();
      if (!sm->isMarkedForDeletion()) sm->hasNotificationActiveIs(true);
   });
   return sm;
}

PathSpecSm::PathSpecSm(std::uint32_t hopTableIndex, PathSpecCollPtr const& pathSpecColl,
                       SubTunnelStatusPtr const& subTunnelStatus, SubTunnelConfigPtr const& subTunnelConfig,
                       MplsTeMibPtr mplsTeMib)
      : hopTableIndex_(hopTableIndex),
        velPathSpecColl_(pathSpecColl ? Vel::makePtr<VelPathSpecColl>(this, pathSpecColl) : nullptr),
        velSubTunnelStatus_(subTunnelStatus ? Vel::makePtr<VelSubTunnelStatus>(this, subTunnelStatus) : nullptr),
        velSubTunnelConfig_(subTunnelConfig ? Vel::makePtr<VelSubTunnelConfig>(this, subTunnelConfig) : nullptr),
        mplsTeMib_(std::move(mplsTeMib)) {
   interestsChanged();
}

PathSpecSm::~PathSpecSm() { retire(); }

void PathSpecSm::retire() {
   if (isMarkedForDeletion()) return;
   markedForDeletionIs(true);
   handleDel();
   ended_ = true;
   if (velPathSpecColl_) velPathSpecColl_->retire();
   if (velSubTunnelStatus_) velSubTunnelStatus_->retire();
   if (velSubTunnelConfig_) velSubTunnelConfig_->retire();
}

PathSpecCollPtr PathSpecSm::pathSpecColl() const { return velPathSpecColl_ ? velPathSpecColl_->notifier() : nullptr; }
SubTunnelStatusPtr PathSpecSm::subTunnelStatus() const {
   return velSubTunnelStatus_ ? velSubTunnelStatus_->notifier() : nullptr;
}
SubTunnelConfigPtr PathSpecSm::subTunnelConfig() const {
   return velSubTunnelConfig_ ? velSubTunnelConfig_->notifier() : nullptr;
}

bool PathSpecSm::isBuiltFrom(std::uint32_t hopTableIndex, PathSpecCollPtr const& pathSpecColl,
                             SubTunnelStatusPtr const& subTunnelStatus, SubTunnelConfigPtr const& subTunnelConfig,
                             MplsTeMibPtr const& mplsTeMib) const {
   return hopTableIndex_ == hopTableIndex && this->pathSpecColl() == pathSpecColl &&
          this->subTunnelStatus() == subTunnelStatus && this->subTunnelConfig() == subTunnelConfig &&
          mplsTeMib_ == mplsTeMib;
}

void PathSpecSm::hasNotificationActiveIs(bool active) {
   if (active == hasNotificationActive()) return;
   PtrInterface::hasNotificationActiveIs(active);
   if (active) interestsChanged();
   if (velPathSpecColl_) velPathSpecColl_->hasNotificationActiveIs(active);
   if (velSubTunnelStatus_) velSubTunnelStatus_->hasNotificationActiveIs(active);
   if (velSubTunnelConfig_) velSubTunnelConfig_->hasNotificationActiveIs(active);
}

void PathSpecSm::interestsChanged() {
   if (!velPathSpecColl_ || !velSubTunnelConfig_) return;
   auto const& config = *velSubTunnelConfig_->notifier();
   velPathSpecColl_->interestsAre(Rsvp::RsvpLerPathSpecCollForSource::attrPathSpec, config.primaryPathSpecId(),
                                  config.secondaryPathSpecId());
}

bool PathSpecSm::usingPrimary() const {
   return velSubTunnelStatus_->notifier()->activeLsp().pathSpecType() == Rsvp::RsvpLerPathSpecType::primary;
}

Rsvp::RsvpLerPathSpecId const& PathSpecSm::pathSpecIdInUse() const {
   auto const& config = *velSubTunnelConfig_->notifier();
   return usingPrimary() ? config.primaryPathSpecId() : config.secondaryPathSpecId();
}

void PathSpecSm::handleInitialized() {
   HopTrace::entry("void MplsSnmp::PathSpecSm::handleInitialized()", hopTableIndex_);
   handleActivePath();
   handlePathSpec();
}

void PathSpecSm::handlePathSpec() {
   HopTrace::entry("void MplsSnmp::PathSpecSm::handlePathSpec()", hopTableIndex_);
   PathSpecCollPtr const coll = pathSpecColl();
   if (!coll) return;
   if (HopTrace::listened()) {
      for (auto const& entry : coll->pathSpec()) handlePathSpec(Rsvp::RsvpLerPathSpecId(entry.key));
   } else if (coll->pathSpec().contains(pathSpecIdInUse())) {
      handlePathSpec(Rsvp::RsvpLerPathSpecId(pathSpecIdInUse()));
   }
   // No path spec with the id in use: the one that the rows were written for is in use no more.
   if (pathSpec_ && !coll->pathSpec()[pathSpecIdInUse()]) pathSpecForget();
}

void PathSpecSm::handlePathSpec(Rsvp::RsvpLerPathSpecId const& pathSpecId) {
   HopTrace::entry("void MplsSnmp::PathSpecSm::handlePathSpec(const Rsvp::RsvpLerPathSpecId&)", hopTableIndex_,
                   ", pathSpecId: ", pathSpecId);
   auto const& inUse = pathSpecIdInUse();
   if (pathSpecId != inUse) {
      HopTrace::detail(__func__, "pathSpecId doesn't match entry pathSpecId: ", inUse);
      return;
   }
   PathSpecPtr const pathSpec = pathSpecColl()->pathSpec()[pathSpecId];
   HopTrace::detail(__func__, "Setting local pathSpec: ", pathSpec);
   if (pathSpec_ != pathSpec) pathSpec_ = pathSpec;
   cleanupMibEntries();
   if (pathSpec) maybeAddMibEntries();
}

void PathSpecSm::handlePrimaryPathSpecId() {
   auto const& primary = velSubTunnelConfig_->notifier()->primaryPathSpecId();
   HopTrace::entry("void MplsSnmp::PathSpecSm::handlePrimaryPathSpecId()", hopTableIndex_,
                   ", primaryPathSpecId: ", primary);
   if (primary.isConfigured()) {
      handlePathSpec();
   } else if (usingPrimary()) {
      pathSpecForget();
   }
}

void PathSpecSm::handleSecondaryPathSpecId() {
   auto const& secondary = velSubTunnelConfig_->notifier()->secondaryPathSpecId();
   HopTrace::entry("void MplsSnmp::PathSpecSm::handleSecondaryPathSpecId()", hopTableIndex_,
                   ", secondaryPathSpecId: ", secondary);
   if (secondary.isConfigured()) {
      handlePathSpec();
   } else if (!usingPrimary()) {
      pathSpecForget();
   }
}

void PathSpecSm::pathSpecForget() {
   PathSpecPtr const old = std::exchange(pathSpec_, nullptr);
   if (old && !activePath_.empty()) cleanupMibEntries();
}

void PathSpecSm::handleActivePath() {
   HopTrace::entry("void MplsSnmp::PathSpecSm::handleActivePath()", hopTableIndex_);
   Rsvp::RsvpLerPath const path = velSubTunnelStatus_->notifier()->activePath();
   HopTrace::detail(__func__, "subTunnelStatus::activePath::hop length: ", path.hop().size());
   HopTrace::detail(__func__, "Setting local activePath");
   activePath_ = path;
   cleanupMibEntries();
   if (!path.empty()) maybeAddMibEntries();
}

void PathSpecSm::handleActiveLsp() {
   PathSpecCollPtr const coll = pathSpecColl();
   if (coll && coll->pathSpec()[pathSpecIdInUse()] != pathSpec_) handlePathSpec();
}

void PathSpecSm::handleDel() {
   HopTrace::entry("void MplsSnmp::PathSpecSm::handleDel()", hopTableIndex_);
   cleanupMibEntries();
}

void PathSpecSm::maybeAddMibEntries() {
   if (isMarkedForDeletion()) return;
   HopTrace::entry("void MplsSnmp::PathSpecSm::maybeAddMibEntries()", hopTableIndex_);
   if (!pathSpec_) {
      HopTrace::detail(__func__, "no pathSpec yet... returning");
      return;
   }
   Rsvp::RsvpLerPath const path = activePath_;
   HopTrace::detail(__func__, "activePath.hop length: ", path.hop().size());
   for (auto const& hop : path.hop()) {
      HopTrace::detail(__func__, "adding entry for hop: ", hop.key(), ", ", hop.value());
      auto const row = mplsTunnelHopTableEntryRsvpFactory(MplsTunnelHopTableKey(hopTableIndex_, kPathOption, hop.key()),
                                                          Snmp::InetAddress::fromIpGenAddr(hop.value()), pathSpec_);
      row->hasNotificationActiveIs(true);
      mplsTeMib_->mplsTunnelHopTableIs(row);
      // An observer of the rows may have ended the chain.
      if (isMarkedForDeletion()) return;
   }
}

void PathSpecSm::cleanupMibEntries() {
   HopTrace::entry("void MplsSnmp::PathSpecSm::cleanupMibEntries()", hopTableIndex_);
   if (ended_) return;
   auto const& table = mplsTeMib_->mplsTunnelHopTable();
   // The rows of one index stand next to each other. Those that there are now go, and not what an observer, told of the
   // first of them, may put in their place.
   std::vector<Vel::Ptr<MplsTunnelHopTableEntry const>> rows;
   for (auto position = table.from({hopTableIndex_, 0, 0});
        position != table.end() && position->key().tunnelHopListIndex == hopTableIndex_; ++position) {
      rows.push_back(position->value());
   }
   for (auto const& row : rows) {
      if (table[row->key()] != row) continue;
      HopTrace::detail(__func__, "deleting entry for hop: ", row->key().tunnelHopIndex, ", ", row->hopIpAddr().hex());
      mplsTeMib_->mplsTunnelHopTableDel(row->key());
   }
}

}  // namespace MplsSnmp
