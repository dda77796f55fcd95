// SPDX-License-Identifier: MIT
#pragma once

#include <map>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "agent/MplsSnmpAgent.h"
#include "inputs/rsvp/LerConfig.h"

namespace Model {

/// A small head end with everything that can happen to it: a few sub-tunnels, LSP requests, sp ids and path specs,
/// few enough that they meet in every combination.
class World {
 public:
   using Random = std::mt19937_64;

   explicit World(std::uint64_t seed);
   ~World();

   /// Starts (or starts again) the agent over the inputs.
   void start();
   /// One random event; its description is for the log of a failure.
   std::string event();
   /// An agent restart, over the same inputs or with some of the roots replaced.
   std::string restart();

   MplsSnmp::MplsTeMib const& mib() const { return *mib_; }
   MplsSnmp::HopTableHelper const& hopTableHelper() const { return *hopTableHelper_; }
   MplsSnmp::RsvpSnmpSubTunnelStatusSm const& derivation() const {
      return *root_->rsvpTeSnmpAgent()->subTunnelStatusSm();
   }
   Rsvp::RsvpLerConfig const& lerConfig() const { return *lerConfig_; }
   Rsvp::RsvpLerHiveStatus const& lerStatus() const { return *lerStatus_; }
   Rsvp::RsvpKelpStatus const& kelpStatus() const { return *kelpStatus_; }
   Tallies::CounterTable const& counterTable() const { return *counterTable_; }
   /// Whether the last event changed several entries of the sp id map at once, or restarted the agent.
   bool lastEventWasBulk() const { return bulk_; }

 private:
   // Events, one for each kind of input.
   std::string spIdEvent();
   std::string configEvent();
   std::string statusEvent();
   std::string requestStatusEvent();
   std::string spStatusEvent();
   std::string pathSpecEvent();
   std::string collectionEvent();
   std::string tableEvent();

   std::uint64_t pick(std::uint64_t n) { return random_() % n; }
   bool chance(unsigned percent) { return pick(100) < percent; }
   Rsvp::RsvpLerTunnelSource anySource();
   Rsvp::RsvpLerSubTunnelConfigId anySubTunnel();
   Rsvp::RsvpLerLspRequestConfigId anyRequest();
   Rsvp::RsvpLerLspRequestConfigId anyRequestOf(Rsvp::RsvpLerSubTunnelConfigId const& id);
   Rsvp::RsvpSpId anySpId();
   Rsvp::RsvpLerPathSpecId anyPathSpecId(Rsvp::RsvpLerTunnelSource source);
   Rsvp::RsvpLerPath anyPath();

   // The inputs in their writable form; the entities hand out read-only pointers to the same objects.
   template <class T>
   using Writable = Vel::Ptr<T>;
   template <class T>
   static Writable<T> writable(Vel::Ptr<T const> const& object) {
      return Writable<T>(const_cast<T*>(object.get()));
   }
   Writable<Rsvp::RsvpLerSpIdMap> spIdMap();
   Writable<Rsvp::RsvpSpStatusColl> spStatusColl();
   Writable<Rsvp::RsvpLerSubTunnelConfigCollTable> configTable();
   Writable<Rsvp::RsvpLerSubTunnelStatusCollTable> statusTable();
   Writable<Rsvp::RsvpLerLspRequestStatusCollTable> requestTable();
   Writable<Rsvp::RsvpLerPathSpecCollTable> pathSpecTable();
   Writable<Rsvp::RsvpLerSubTunnelConfigColl> configColl(Rsvp::RsvpLerTunnelSpecId const& id);
   Writable<Rsvp::RsvpLerSubTunnelStatusColl> statusColl(Rsvp::RsvpLerTunnelSpecId const& id);
   Writable<Rsvp::RsvpLerLspRequestStatusCollForLspGroup> requestColl(Rsvp::RsvpLerLspGroupId const& id);
   Writable<Rsvp::RsvpLerPathSpecCollForSource> pathSpecColl(Rsvp::RsvpLerTunnelSource source);
   Writable<Rsvp::RsvpLerSubTunnelStatus> newStatus(Rsvp::RsvpLerSubTunnelConfigId const& id);
   Writable<Rsvp::RsvpLerSubTunnelConfig> newConfig(Rsvp::RsvpLerSubTunnelConfigId const& id);
   Writable<Rsvp::RsvpLerPathSpec> newPathSpec(Rsvp::RsvpLerPathSpecId const& id);

   Random random_;
   bool bulk_ = false;
   Vel::Ptr<MplsSnmp::MplsTeMib> mib_;
   Vel::Ptr<MplsSnmp::HopTableHelper> hopTableHelper_;
   Vel::Ptr<Rsvp::RsvpLerConfig> lerConfig_;
   Vel::Ptr<Rsvp::RsvpLerHiveStatus> lerStatus_;
   Vel::Ptr<Rsvp::RsvpKelpStatus> kelpStatus_;
   Vel::Ptr<Tallies::CounterTable> counterTable_;
   Vel::Ptr<MplsSnmp::Root> root_;
};

}  // namespace Model
