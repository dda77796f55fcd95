// SPDX-License-Identifier: MIT
#include "notifications/TunnelMonitor.h"

#include <algorithm>
#include <array>
#include <utility>

#include "notifications/Types.h"
#include "notifications/Watched.h"
#include "substrate/trel/Assert.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/Mutators.h"

namespace MplsSnmp {

namespace {

using Vel::Generic::method;

Vel::Ptr<Vel::Entity> newEntityForDir(Vel::String const& name) { return tunnelMonitorFactory(name); }

constexpr std::array kAttributes{
      Vel::AttributeInfo{.id = TunnelMonitor::attrName, .name = "name", .get = method<&Vel::Entity::name>},
      Vel::AttributeInfo{.id = TunnelMonitor::attrMplsTeMib,
                         .name = "mplsTeMib",
                         .get = method<&TunnelMonitor::mplsTeMib>,
                         .set = method<&TunnelMonitor::mplsTeMibIs>},
      Vel::AttributeInfo{.id = TunnelMonitor::attrTunnelsConfigured,
                         .name = "tunnelsConfigured",
                         .get = method<&TunnelMonitor::tunnelsConfigured>},
      Vel::AttributeInfo{.id = TunnelMonitor::attrTunnelsActive,
                         .name = "tunnelsActive",
                         .get = method<&TunnelMonitor::tunnelsActive>},
      Vel::AttributeInfo{.id = TunnelMonitor::attrEventSink,
                         .name = "eventSink",
                         .get = method<&TunnelMonitor::eventSink>,
                         .set = method<&TunnelMonitor::eventSinkIs>},
      Vel::AttributeInfo{.id = TunnelMonitor::attrMaxRate,
                         .name = "maxRate",
                         .get = method<&TunnelMonitor::maxRate>,
                         .set = method<&TunnelMonitor::maxRateIs>},
      Vel::AttributeInfo{.id = TunnelMonitor::attrSent, .name = "sent", .get = method<&TunnelMonitor::sent>},
      Vel::AttributeInfo{
            .id = TunnelMonitor::attrCoalesced, .name = "coalesced", .get = method<&TunnelMonitor::coalesced>},
      Vel::AttributeInfo{.id = TunnelMonitor::attrWaiting, .name = "waiting", .get = method<&TunnelMonitor::waiting>},
      Vel::AttributeInfo{.name = "begin", .invoke = method<&TunnelMonitor::begin>},
      Vel::AttributeInfo{.name = "proceed", .invoke = method<&TunnelMonitor::proceed>}};

}  // namespace

Vel::TypeInfo const& TunnelMonitor::typeInfo() {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::TunnelMonitor",
                                       .attributes = kAttributes,
                                       .construct = Vel::Generic::constructor<&tunnelMonitorFactory>,
                                       .newEntityForDir = newEntityForDir};
   return type;
}

std::span<Vel::TypeInfo const* const> tunnelMonitorTypes() {
   static std::array<Vel::TypeInfo const*, 1> const types{&TunnelMonitor::typeInfo()};
   return types;
}

Vel::Ptr<TunnelMonitor> tunnelMonitorFactory(Vel::String name) { return Vel::makePtr<TunnelMonitor>(std::move(name)); }

TunnelMonitor::TunnelMonitor(Vel::String name)
      : Entity(std::move(name)),
        // Behind the document that is being applied, which keeps its turn among the tasks of the same priority.
        task_(Vel::makePtr<Orb::Task>(Orb::TaskSchedulerRoot::findOrCreateScheduler(), Orb::TaskPriority::normal,
                                      "TunnelMonitor", [this](Orb::Task& task) { run(task); })) {
   hasNotificationActiveIs(true);
}

TunnelMonitor::~TunnelMonitor() { mplsTeMibIs(nullptr); }

// ---- Rows

void TunnelMonitor::mplsTeMibIs(Vel::Ptr<MplsTeMib> const& mib) {
   if (mib == mplsTeMib_) return;
   if (velMplsTeMib_) velMplsTeMib_->retire();
   velMplsTeMib_ = nullptr;
   while (!rows_.empty()) rowRemoved(*Vel::Ptr(rows_.begin()->value));
   mplsTeMib_ = mib;
   if (!mib) return;
   velMplsTeMib_ = Vel::makePtr<VelMplsTeMib>(this, mib);
   for (auto const& node : mib->mplsTunnelTable()) rowAdded(node.key(), node.value());
}

void TunnelMonitor::handleRow(MplsTunnelTableKey const& key) {
   auto const entry = mplsTeMib_->mplsTunnelTable()[key];
   Vel::Ptr<Row> const known = rows_[key];
   if (known && known->entry == entry) return;
   if (known) rowRemoved(*known);
   if (entry) rowAdded(key, entry);
}

void TunnelMonitor::rowAdded(MplsTunnelTableKey const& key, Vel::Ptr<MplsTunnelTableEntry const> const& entry) {
   auto const row = Vel::makePtr<Row>(this, entry, dynamic_cast<MplsTunnelTableEntryRsvp const*>(entry.get()));
   rows_.insertOrAssign(key, row);
   active_ += row->up ? 1 : 0;
   if (sink_) follow(*row);
}

void TunnelMonitor::rowRemoved(Row& row) {
   Vel::Ptr<Row> const keep(&row);
   row.retire();
   unfollow(row);
   active_ -= row.up ? 1 : 0;
   rows_.erase(row.entry->key());
}

void TunnelMonitor::handleStatus(Row& row) {
   bool const up = row.entry->operStatus() == OperStatus::operUp;
   if (std::exchange(row.up, up) != up) active_ += up ? 1 : -1;
   if (row.tunnel) touch(*row.tunnel);
}

// ---- Tunnels

void TunnelMonitor::follow(Row& row) {
   if (!row.rsvp) return;
   auto const& id = row.rsvp->subTunnelStatus()->id();
   row.tunnel = tunnels_[id];
   if (!row.tunnel) {
      row.tunnel = Vel::makePtr<Tunnel>(id);
      tunnels_.insertOrAssign(id, row.tunnel);
   }
   row.older = std::exchange(row.tunnel->newest, &row);
   row.velLspRequestStatus = Vel::makePtr<VelLspRequestStatus>(this, row.rsvp->lspRequestStatus(), *row.tunnel);
   touch(*row.tunnel);
}

void TunnelMonitor::unfollow(Row& row) {
   if (!row.tunnel) return;
   row.velLspRequestStatus->retire();
   row.velLspRequestStatus = nullptr;
   Row** link = &row.tunnel->newest;
   while (*link != &row) link = &(*link)->older;
   *link = std::exchange(row.older, nullptr);
   touch(*row.tunnel);
   row.tunnel = nullptr;
}

void TunnelMonitor::touch(Tunnel& tunnel) {
   if (std::exchange(tunnel.touched, true)) return;
   touched_.emplace_back(&tunnel);
   task_->scheduleTask();
}

void TunnelMonitor::eventSinkIs(Vel::Ptr<Snmp::TunnelEventSink> const& sink) {
   if (sink == sink_) return;
   if (sink_ && sink) {
      sink_ = sink;
      return;
   }
   forgetTunnels();
   sink_ = sink;
   if (!sink) return;
   for (auto it = rows_.begin(); it != rows_.end(); ++it) follow(*it->value);
}

void TunnelMonitor::forgetTunnels() {
   begun_ = false;
   for (auto it = rows_.begin(); it != rows_.end(); ++it) unfollow(*it->value);
   queue_.clear();
   touched_.clear();
   tunnels_.clear();
}

void TunnelMonitor::begin() {
   // What has not been looked at is as known as the rest.
   for (auto const& tunnel : std::exchange(touched_, {})) consider(*tunnel);
   begun_ = sink_ != nullptr;
}

void TunnelMonitor::maxRateIs(std::uint32_t perSecond) {
   limit_.perSecondIs(perSecond);
   proceed();
}

void TunnelMonitor::proceed() {
   if (!queue_.empty()) task_->scheduleTask();
}

// ---- What is told

void TunnelMonitor::run(Orb::Task& task) {
   // A sink may do whatever it likes.
   Vel::Ptr<TunnelMonitor> const keep(this);
   do {
      // Also what the sink has changed: nothing is told that is not so any more.
      while (!touched_.empty()) {
         Vel::Ptr<Tunnel> const tunnel = touched_.front();
         touched_.pop_front();
         consider(*tunnel);
         // The task keeps its turn: no other document is begun in between.
         if (!touched_.empty() && task.taskShouldYield()) return task.scheduleTask();
      }
      if (!send()) return;
   } while (!task.taskShouldYield());
   task.scheduleTaskLast();
}

void TunnelMonitor::consider(Tunnel& tunnel) {
   tunnel.touched = false;
   auto const* const row = tunnel.row();
   auto const now = row ? TunnelState::of(*row) : tunnel.told.now().withdrawn();
   if (begun_) {
      bool const waited = tunnel.told.waits();
      coalesced_ += tunnel.told.nowIs(now);
      if (tunnel.told.waits() && !waited) queue_.push_back(tunnel);
      if (!tunnel.told.waits() && waited) queue_.erase(queue_.iterator_to(tunnel));
   } else {
      tunnel.told.isKnown(now);
   }
   if (!row && !tunnel.told.waits()) tunnels_.erase(Rsvp::RsvpLerSubTunnelConfigId(tunnel.id));
}

/// Tells the first of those that wait; false when none may be told now.
bool TunnelMonitor::send() {
   if (queue_.empty() || !sink_->hasRoom()) return false;
   auto const now = clock_();
   if (!limit_.take(now)) {
      sink_->proceedAfter(limit_.wait(now));
      return false;
   }
   Vel::Ptr<Tunnel> const tunnel(static_cast<Tunnel*>(&queue_.front()));
   queue_.pop_front();
   auto const event = eventOf(*tunnel, tunnel->told.take());
   if (!tunnel->newest && !tunnel->touched) tunnels_.erase(tunnel->id);
   ++sent_;
   Vel::Ptr<Snmp::TunnelEventSink> const sink = sink_;
   sink->take(event);
   return true;
}

namespace {

Snmp::TunnelEvent::State eventState(Rsvp::RsvpLerSubTunnelConfigId const& tunnel, TunnelState const& state) {
   Snmp::TunnelEvent::State made;
   auto const& key = state.key;
   made.index = {key.tunnelIndex, key.tunnelInstance, key.tunnelIngressLsrId, key.tunnelEgressLsrId};
   made.adminStatus = static_cast<int>(AdminStatus::adminUp);
   made.operStatus = static_cast<int>(state.up ? OperStatus::operUp : OperStatus::operDown);
   made.lsp = Rsvp::RsvpLerLspRequestConfigId{{tunnel, state.pathSpecType}, state.request}.valueToStrep();
   for (auto const& hop : state.path.hop()) made.path.push_back(hop.value().valueToStrep());
   return made;
}

}  // namespace

Snmp::TunnelEvent TunnelMonitor::eventOf(Tunnel const& tunnel, Told::Notice const& notice) const {
   Snmp::TunnelEvent event;
   event.kind = static_cast<Snmp::TunnelEvent::Kind>(notice.change);
   event.tunnel = tunnel.id.valueToStrep();
   event.name = Rsvp::nameText(tunnel.id.tunnelName);
   event.from = eventState(tunnel.id, notice.from);
   event.to = eventState(tunnel.id, notice.to);
   return event;
}

}  // namespace MplsSnmp
