// SPDX-License-Identifier: MIT
#pragma once

#include <boost/intrusive/list.hpp>

#include <cstdint>
#include <deque>
#include <functional>

#include "host/snmp/TunnelEvents.h"
#include "mib/MplsTeMib.h"
#include "notifications/RateLimit.h"
#include "notifications/Told.h"
#include "substrate/orb/TaskScheduler.h"
#include "substrate/vel/Entity.h"
#include "substrate/vel/HashMap2018.h"
#include "substrate/vel/Reactor.h"

namespace MplsSnmp {

/// Watches the rows of mplsTunnelTable: counts them, and tells a sink what managers are to be notified of.
///
/// The counts (mplsTunnelConfigured, mplsTunnelActive) follow each row as it comes, changes and goes. Notifications are
/// decided about by tunnel, not by row: a tunnel is a sub-tunnel of the published state, whose row is another one when
/// another LSP carries it. What has changed of a tunnel is looked at in a task, behind the change that is under way: a
/// document that takes a row away and brings another is one change. See changeBetween for what is told when, and Told
/// for what becomes of it while it waits.
///
/// Observes, and changes nothing. Without a sink only the counts are kept.
class TunnelMonitor : public Vel::Entity {
 public:
   enum : Vel::AttributeId {
      attrName = 1,
      attrMplsTeMib,
      attrTunnelsConfigured,
      attrTunnelsActive,
      attrEventSink,
      attrMaxRate,
      attrSent,
      attrCoalesced,
      attrWaiting
   };
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   /// Watches nothing yet.
   explicit TunnelMonitor(Vel::String name);
   ~TunnelMonitor() override;

   Vel::Ptr<MplsTeMib> const& mplsTeMib() const { return mplsTeMib_; }
   /// Watches the rows of this MIB from now on, and of no other; null: none. What is there is counted at once.
   void mplsTeMibIs(Vel::Ptr<MplsTeMib> const& mib);

   /// mplsTunnelConfigured: rows, each of which is active. mplsTunnelActive: rows that are up.
   std::uint32_t tunnelsConfigured() const { return static_cast<std::uint32_t>(rows_.size()); }
   std::uint32_t tunnelsActive() const { return active_; }

   Vel::Ptr<Snmp::TunnelEventSink> const& eventSink() const { return sink_; }
   /// Who is told; null: nobody, and what waited is forgotten. Nothing is told before `begin`.
   void eventSinkIs(Vel::Ptr<Snmp::TunnelEventSink> const& sink);
   /// From now on the sink is told of changes: what is so now is known.
   void begin();

   /// mplsTunnelNotificationMaxRate: events in a second at most; 0: no limit.
   std::uint32_t maxRate() const { return limit_.perSecond(); }
   void maxRateIs(std::uint32_t perSecond);
   /// Events that the sink has been told; changes that other events stood for, or that were undone before they could be
   /// told; tunnels of which something is still to be told.
   std::uint64_t sent() const { return sent_; }
   std::uint64_t coalesced() const { return coalesced_; }
   std::uint64_t waiting() const { return queue_.size(); }

   /// Goes on with what waits for the rate, or for the sink to have room. Returns at once: it is done in a task.
   void proceed();

   /// Replaces the source of the time that the rate is kept by.
   void clockIs(std::function<RateLimit::Time()> now) { clock_ = std::move(now); }

 private:
   class VelMplsTeMib;
   class VelLspRequestStatus;
   class Row;
   struct Tunnel;
   struct Queued : boost::intrusive::list_base_hook<> {};
   using Queue = boost::intrusive::list<Queued>;

   void handleRow(MplsTunnelTableKey const& key);
   void handleStatus(Row& row);
   void rowAdded(MplsTunnelTableKey const& key, Vel::Ptr<MplsTunnelTableEntry const> const& entry);
   void rowRemoved(Row& row);
   void follow(Row& row);
   void unfollow(Row& row);
   void touch(Tunnel& tunnel);

   void run(Orb::Task& task);
   void consider(Tunnel& tunnel);
   bool send();
   void forgetTunnels();
   Snmp::TunnelEvent eventOf(Tunnel const& tunnel, Told::Notice const& notice) const;

   Vel::Ptr<MplsTeMib> mplsTeMib_;
   Vel::Ptr<VelMplsTeMib> velMplsTeMib_;
   Vel::HashMap2018<MplsTunnelTableKey, Vel::Ptr<Row>> rows_;
   std::uint32_t active_ = 0;

   Vel::Ptr<Snmp::TunnelEventSink> sink_;
   bool begun_ = false;
   Vel::HashMap2018<Rsvp::RsvpLerSubTunnelConfigId, Vel::Ptr<Tunnel>> tunnels_;
   std::deque<Vel::Ptr<Tunnel>> touched_;  // changed since they were last looked at
   Queue queue_;                           // those of which something is to be told, in the order in which it came
   RateLimit limit_;
   std::function<RateLimit::Time()> clock_ = RateLimit::Clock::now;
   std::uint64_t sent_ = 0;
   std::uint64_t coalesced_ = 0;
   Vel::Ptr<Orb::Task> task_;
};

/// A new monitor, as its constructor makes it.
Vel::Ptr<TunnelMonitor> tunnelMonitorFactory(Vel::String name);

}  // namespace MplsSnmp
