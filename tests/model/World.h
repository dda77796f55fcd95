// SPDX-License-Identifier: MIT
#pragma once

#include <deque>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "agent/MplsSnmpAgent.h"
#include "host/store/ChangeQueue.h"
#include "host/store/StateError.h"
#include "host/store/StateStore.h"
#include "inputs/rsvp/LerConfig.h"
#include "tests/support/Observer.h"

namespace Model {

/// A small head end with everything that can happen to it: a few sub-tunnels, LSP requests, sp ids and path specs, few
/// enough that they meet in every combination, and most of them with a row. Its inputs are now objects that a publisher
/// makes and replaces as it likes, now those of a state store that documents come into.
///
/// Observers sit at every object of it, most of them since before the derivation came to it, and at the outputs. Inside
/// a notification they do what can happen at any other time.
class World {
 public:
   using Random = std::mt19937_64;
   using Row = Vel::Ptr<MplsSnmp::MplsTunnelTableEntry const>;
   struct Settings {
      std::uint64_t seed = 1;
      bool tasks = false;
      /// Percentage of the notifications inside which something happens.
      unsigned nesting = 4;
   };

   explicit World(Settings const& settings);
   ~World();

   /// Starts (or starts again) the agent over the inputs.
   void start();
   /// One random event, with what happens inside its notifications; its description is for the log of a failure.
   std::string event();
   /// Goes on with the documents that are on their way into the store, for as long as a slice lasts.
   void slice();
   /// Whether documents are on their way.
   bool hasDocuments() const { return published_.queue.waiting() != 0; }

   MplsSnmp::MplsTeMib const& mib() const { return *mib_; }
   MplsSnmp::HopTableHelper const& hopTableHelper() const { return *hopTableHelper_; }
   MplsSnmp::RsvpSnmpSubTunnelStatusSm const& derivation() const {
      return *root_->rsvpTeSnmpAgent()->subTunnelStatusSm();
   }
   Rsvp::RsvpLerConfig const& lerConfig() const { return *lerConfig_; }
   Rsvp::RsvpLerHiveStatus const& lerStatus() const { return *lerStatus_; }
   Rsvp::RsvpKelpStatus const& kelpStatus() const { return *kelpStatus_; }
   Tallies::CounterTable const& counterTable() const { return *counterTable_; }

   /// What has been so since `settled` was called last: the agent was started, or switched on; what the rows under each
   /// key were; sp ids whose requests changed.
   bool restarted() const { return restarted_; }
   /// What is so now: the derivation was retracted, or switched off, maybe in the middle of its work.
   bool retracted() const { return retracted_; }
   bool silenced() const { return silenced_; }
   bool cutShort() const { return silenced_ && cutShort_; }
   bool wasRow(MplsSnmp::MplsTunnelTableKey const& key, Row const& row) const;
   /// Whether one entry of one input has changed since, and nothing else.
   bool quiet() const { return events_ <= 1 && single_ && insideSince_ == 0 && !restarted_; }
   /// Whether the requests of sp ids may have come and gone since.
   bool changedInside() const { return events_ > 1 || insideSince_ != 0 || !single_; }
   void settled();
   /// Events inside notifications, so far.
   std::uint64_t nested() const { return nested_; }

 private:
   // Life.cpp: the agent, what is held of it, and what happens inside notifications.
   std::string life();
   std::string restart();
   std::string switchOff();
   std::string switchOn();
   std::string otherInputs();
   std::string otherOutputs();
   void told();
   void letGo();
   void watch(Vel::Ptr<Vel::PtrInterface const> const& object);
   void watchMib();
   void watchAgent();
   template <class T, class... Args>
   Vel::Ptr<T> made(Args&&... args) {
      auto const object = Vel::makePtr<T>(std::forward<Args>(args)...);
      watch(object);
      return object;
   }
   /// Another collection, filled from the members of this one: `set` puts each of them, another in its place, or none.
   template <class Coll, class Map, class Set>
   Vel::Ptr<Coll> copied(Map const& members, Set&& set) {
      auto const copy = made<Coll>();
      for (auto const& entry : members) {
         // Copies: somebody who is told may change the members.
         auto const key = entry.key;
         auto const value = entry.value;
         set(*copy, key, value);
      }
      return copy;
   }

   // Events.cpp: one for each kind of input.
   std::string change();
   std::string wholeEvent();
   std::string spIdEvent();
   std::string configEvent();
   std::string statusEvent();
   std::string requestStatusEvent();
   std::string spStatusEvent();
   std::string pathSpecEvent();
   std::string collectionEvent();
   std::string tableEvent();

   // Documents.cpp: the state store's inputs.
   bool isPublished() const;
   void swapInputs();
   std::string documentEvent();
   std::string publish(Store::ChangeKind kind, std::string const& document);
   void addEntry(nlohmann::json& patch);
   void watchPublished();

   // World.cpp: what there is.
   std::uint64_t pick(std::uint64_t n) { return random_() % n; }
   bool chance(unsigned percent) { return pick(100) < percent; }
   Rsvp::RsvpLerTunnelSource anySource();
   Rsvp::RsvpLerSubTunnelConfigId anySubTunnel();
   static Rsvp::RsvpLerSubTunnelConfigId subTunnelOf(Rsvp::RsvpLerTunnelSpecId const& tunnel, std::uint32_t n);
   Rsvp::RsvpLerLspRequestConfigId anyRequest();
   Rsvp::RsvpLerLspRequestConfigId anyRequestOf(Rsvp::RsvpLerSubTunnelConfigId const& id);
   Rsvp::RsvpSpId spIdOf(Rsvp::RsvpLerLspRequestConfigId const& request);
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
   Writable<Rsvp::RsvpLerSubTunnelConfigColl> newConfigColl(Rsvp::RsvpLerTunnelSpecId const& id);
   Writable<Rsvp::RsvpLerSubTunnelStatusColl> newStatusColl(Rsvp::RsvpLerTunnelSpecId const& id);
   Writable<Rsvp::RsvpLerLspRequestStatusCollForLspGroup> newRequestColl(Rsvp::RsvpLerLspGroupId const& id);
   Writable<Rsvp::RsvpLerPathSpecCollForSource> newPathSpecColl(Rsvp::RsvpLerTunnelSource source);
   Writable<Rsvp::RsvpLerSubTunnelStatus> newStatus(Rsvp::RsvpLerSubTunnelConfigId const& id);
   Writable<Rsvp::RsvpLerSubTunnelConfig> newConfig(Rsvp::RsvpLerSubTunnelConfigId const& id);
   Writable<Rsvp::RsvpLerPathSpec> newPathSpec(Rsvp::RsvpLerPathSpecId const& id);

   /// The store, and what has been published to it.
   struct Published {
      Published();
      Vel::Ptr<Vel::EntityDir> root;
      Store::StateStore store;
      Store::ChangeQueue queue;
      std::string earlier;
   };

   Settings const settings_;
   Random random_;
   Published published_;
   std::map<std::string, std::size_t> homes_;  // which sp id is a request's own
   Vel::Ptr<MplsSnmp::MplsTeMib> mib_;
   Vel::Ptr<MplsSnmp::HopTableHelper> hopTableHelper_;
   Vel::Ptr<Rsvp::RsvpLerConfig> lerConfig_;
   Vel::Ptr<Rsvp::RsvpLerHiveStatus> lerStatus_;
   Vel::Ptr<Rsvp::RsvpKelpStatus> kelpStatus_;
   Vel::Ptr<Tallies::CounterTable> counterTable_;
   struct {
      Vel::Ptr<Rsvp::RsvpLerConfig> lerConfig;
      Vel::Ptr<Rsvp::RsvpLerHiveStatus> lerStatus;
      Vel::Ptr<Rsvp::RsvpKelpStatus> kelpStatus;
   } others_;  // those that the agent does not have: of the store, or of the publisher
   Vel::Ptr<MplsSnmp::Root> root_;

   std::deque<Vel::Ptr<Vel::PtrInterface const>> held_;  // agents, derivations and outputs that have been taken out
   std::vector<Vel::Ptr<MplsSnmp::MplsTeMib>> mibs_;
   std::vector<Vel::Ptr<MplsSnmp::HopTableHelper>> helpers_;
   std::vector<Vel::Ptr<TestSupport::Observer>> observers_;
   std::multimap<MplsSnmp::MplsTunnelTableKey, Row> rowsSeen_;
   std::string happened_;  // inside the notifications of the event under way
   unsigned insideSince_ = 0;
   unsigned depth_ = 0;
   unsigned insideLeft_ = 0;
   std::uint64_t nested_ = 0;
   unsigned events_ = 0;
   bool single_ = false;
   bool restarted_ = false;
   bool retracted_ = false;
   bool silenced_ = false;
   bool cutShort_ = false;
};

}  // namespace Model
