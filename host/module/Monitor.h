// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string_view>

#include "host/snmp/TunnelEvents.h"
#include "substrate/vel/Entity.h"

namespace Host {

/// What a module knows of its tunnels beside their rows: counts, and the events that managers are to be notified of.
/// Reached by names alone, as all of the module.
class Monitor {
 public:
   /// `entity`: of the type MplsSnmp::TunnelMonitor.
   explicit Monitor(Vel::Ptr<Vel::Entity> const& entity) : entity_(entity) {}

   /// Rows of mplsTunnelTable, and those of them that are up. Not counted when they are asked for.
   std::uint64_t configured() const { return number("tunnelsConfigured"); }
   std::uint64_t active() const { return number("tunnelsActive"); }

   /// Who is told of events; null: nobody, which costs nothing. To be set before there are many rows, or else all of
   /// them are looked at once.
   void eventSinkIs(Vel::Ptr<Snmp::TunnelEventSink> const& sink) const;
   /// What is so now is known: the sink is told of what changes from now on.
   void begin() const;
   /// Events in a second at most; 0: no limit.
   void maxRateIs(std::uint32_t perSecond) const;
   /// Goes on with what waits for the rate or for room.
   void proceed() const;

   /// Events that the sink was told; changes that were told with others or not at all, since they had been undone by
   /// then; tunnels of which something is still to be told.
   std::uint64_t sent() const { return number("sent"); }
   std::uint64_t coalesced() const { return number("coalesced"); }
   std::uint64_t waiting() const { return number("waiting"); }

 private:
   std::uint64_t number(std::string_view attribute) const;

   Vel::Ptr<Vel::Entity> entity_;
};

}  // namespace Host
