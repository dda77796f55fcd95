// SPDX-License-Identifier: MIT
#include "agent/MplsSnmpAgent.h"

#include <array>

#include "substrate/flo/Turn.h"
#include "substrate/vel/Generic.h"
#include "substrate/vel/TraceHandle.h"

namespace MplsSnmp {

namespace {

using Vel::Generic::constructor;
using Vel::Generic::method;

Vel::TraceHandle const& agentTrace() {
   static Vel::TraceHandle const handle("MplsSnmpAgent");
   return handle;
}

using Agent = RsvpTeSnmpAgent;

constexpr std::array kAgentAttributes{
      Vel::AttributeInfo{.id = Agent::attrMplsTeMib, .name = "mplsTeMib", .get = method<&Agent::mplsTeMib>},
      Vel::AttributeInfo{
            .id = Agent::attrHopTableHelper, .name = "hopTableHelper", .get = method<&Agent::hopTableHelper>},
      Vel::AttributeInfo{.id = Agent::attrRsvpLerConfig, .name = "rsvpLerConfig", .get = method<&Agent::rsvpLerConfig>},
      Vel::AttributeInfo{.id = Agent::attrRsvpLerStatus, .name = "rsvpLerStatus", .get = method<&Agent::rsvpLerStatus>},
      Vel::AttributeInfo{
            .id = Agent::attrRsvpKelpStatus, .name = "rsvpKelpStatus", .get = method<&Agent::rsvpKelpStatus>},
      Vel::AttributeInfo{.id = Agent::attrMplsTunnelCounterTable,
                         .name = "mplsTunnelCounterTable",
                         .get = method<&Agent::mplsTunnelCounterTable>},
      Vel::AttributeInfo{.id = Agent::attrSmControl,
                         .name = "smControl",
                         .get = method<&Agent::smControl>,
                         .set = method<&Agent::smControlIs>},
      Vel::AttributeInfo{.id = Agent::attrSubTunnelStatusSm,
                         .name = "subTunnelStatusSm",
                         .get = method<&Agent::subTunnelStatusSm>,
                         .set = method<&Agent::subTunnelStatusSmIs>,
                         .del = method<&Agent::subTunnelStatusSmDel>},
      Vel::AttributeInfo{.name = "handleInitialized", .invoke = method<&Agent::handleInitialized>}};

constexpr std::array kRootAttributes{Vel::AttributeInfo{.id = Root::attrRsvpTeSnmpAgent,
                                                        .name = "rsvpTeSnmpAgent",
                                                        .get = method<&Root::rsvpTeSnmpAgent>,
                                                        .set = method<&Root::rsvpTeSnmpAgentIs>,
                                                        .del = method<&Root::rsvpTeSnmpAgentDel>}};

Vel::Ptr<Vel::Entity> newRootForDir(Vel::String const& name) { return Root::RootIs(name); }

}  // namespace

Vel::TypeInfo const& RsvpTeSnmpAgent::typeInfo() {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::RsvpTeSnmpAgent",
                                       .attributes = kAgentAttributes,
                                       .construct = constructor<&RsvpTeSnmpAgent::RsvpTeSnmpAgentIs>};
   return type;
}

Vel::TypeInfo const& Root::typeInfo() {
   static constexpr Vel::TypeInfo type{.name = "MplsSnmp::Root",
                                       .attributes = kRootAttributes,
                                       .construct = constructor<&Root::RootIs>,
                                       .newEntityForDir = newRootForDir};
   return type;
}

std::span<Vel::TypeInfo const* const> mplsSnmpAgentTypes() {
   static std::array<Vel::TypeInfo const*, 2> const types{&Root::typeInfo(), &RsvpTeSnmpAgent::typeInfo()};
   return types;
}

RsvpTeSnmpAgent::RsvpTeSnmpAgent(Vel::Ptr<MplsTeMib> const& mplsTeMib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
                                 Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
                                 Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
                                 Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
                                 Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable)
      : mplsTeMib_(mplsTeMib),
        hopTableHelper_(hopTableHelper),
        rsvpLerConfig_(rsvpLerConfig),
        rsvpLerStatus_(rsvpLerStatus),
        rsvpKelpStatus_(rsvpKelpStatus),
        mplsTunnelCounterTable_(mplsTunnelCounterTable) {
   handleInitialized();
}

RsvpTeSnmpAgent::~RsvpTeSnmpAgent() { subTunnelStatusSmDel(); }

Vel::Ptr<RsvpTeSnmpAgent> RsvpTeSnmpAgent::RsvpTeSnmpAgentIs(
      Vel::Ptr<MplsTeMib> const& mplsTeMib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
      Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
      Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
      Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
      Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable) {
   Vel::Ptr<RsvpTeSnmpAgent> const agent(new RsvpTeSnmpAgent(mplsTeMib, hopTableHelper, rsvpLerConfig, rsvpLerStatus,
                                                             rsvpKelpStatus, mplsTunnelCounterTable));
   agent->hasNotificationActiveIs(true);
   return agent;
}

void RsvpTeSnmpAgent::handleInitialized() {
   constexpr std::string_view file = "MplsSnmpAgent";
   constexpr std::string_view function = "handleInitialized";
   agentTrace().traceFrom(8, file, function, "Enter void MplsSnmp::RsvpTeSnmpAgent::handleInitialized()");
   agentTrace().traceFrom(9, file, function, "Creating RsvpSnmpSubTunnelStatusSm");
   subTunnelStatusSmIs(mplsTeMib_, hopTableHelper_, rsvpLerConfig_, rsvpLerStatus_, rsvpKelpStatus_,
                       mplsTunnelCounterTable_, Flo::SmControl(smControl_));
}

Vel::Ptr<RsvpSnmpSubTunnelStatusSm> RsvpTeSnmpAgent::subTunnelStatusSmIs(
      Vel::Ptr<MplsTeMib> const& mplsTeMib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
      Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
      Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
      Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
      Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable, Flo::SmControl const& floControl) {
   if (subTunnelStatusSm_) {
      auto const& machine = *subTunnelStatusSm_;
      subTunnelStatusSm_->floControlIs(floControl);
      if (machine.mib() == mplsTeMib && machine.hopTableHelper() == hopTableHelper &&
          machine.rsvpLerConfig() == rsvpLerConfig && machine.rsvpLerStatus() == rsvpLerStatus &&
          machine.rsvpKelpStatus() == rsvpKelpStatus && machine.mplsTunnelCounterTable() == mplsTunnelCounterTable) {
         return subTunnelStatusSm_;
      }
   }
   // One turn, so that the new machine begins to write when the old one has ended.
   return Flo::Turn::hold([&] {
      auto const made = RsvpSnmpSubTunnelStatusSm::RsvpSnmpSubTunnelStatusSmIs(mplsTeMib, hopTableHelper, rsvpLerConfig,
                                                                               rsvpLerStatus, rsvpKelpStatus,
                                                                               mplsTunnelCounterTable, floControl);
      if (auto const old = std::exchange(subTunnelStatusSm_, made)) old->retire();
      made->hasNotificationActiveIs(true);
      return made;
   });
}

Vel::Ptr<RsvpSnmpSubTunnelStatusSm> RsvpTeSnmpAgent::subTunnelStatusSmDel() {
   auto const taken = std::exchange(subTunnelStatusSm_, nullptr);
   if (taken) {
      taken->hasNotificationActiveIs(false);
      taken->retire();
   }
   return taken;
}

Vel::Ptr<Root> Root::RootIs(Vel::String name) {
   Vel::Ptr<Root> const root(new Root(std::move(name)));
   root->hasNotificationActiveIs(true);
   return root;
}

Root::~Root() {
   rsvpTeSnmpAgentDel();
   notifieesDelAll();
}

Vel::Ptr<RsvpTeSnmpAgent> Root::rsvpTeSnmpAgentIs(Vel::Ptr<MplsTeMib> const& mplsTeMib,
                                                  Vel::Ptr<HopTableHelper> const& hopTableHelper,
                                                  Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
                                                  Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
                                                  Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
                                                  Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable) {
   if (auto const& agent = rsvpTeSnmpAgent_;
       agent && agent->mplsTeMib() == mplsTeMib && agent->hopTableHelper() == hopTableHelper &&
       agent->rsvpLerConfig() == rsvpLerConfig && agent->rsvpLerStatus() == rsvpLerStatus &&
       agent->rsvpKelpStatus() == rsvpKelpStatus && agent->mplsTunnelCounterTable() == mplsTunnelCounterTable) {
      return agent;
   }
   // The new agent is complete before the old one is let go, and an error on the way leaves the old one in place. Its
   // derivation begins when that of the old one has ended, whoever still holds it: the turn sees to that.
   auto const made = Flo::Turn::hold([&] {
      auto const agent = RsvpTeSnmpAgent::RsvpTeSnmpAgentIs(mplsTeMib, hopTableHelper, rsvpLerConfig, rsvpLerStatus,
                                                            rsvpKelpStatus, mplsTunnelCounterTable);
      if (auto const old = std::exchange(rsvpTeSnmpAgent_, agent)) old->subTunnelStatusSmDel();
      return agent;
   });
   visit(attrRsvpTeSnmpAgent);
   return made;
}

Vel::Ptr<RsvpTeSnmpAgent> Root::rsvpTeSnmpAgentDel() {
   auto const taken = std::exchange(rsvpTeSnmpAgent_, nullptr);
   if (taken) {
      taken->subTunnelStatusSmDel();
      visit(attrRsvpTeSnmpAgent);
   }
   return taken;
}

}  // namespace MplsSnmp
