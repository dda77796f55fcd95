// SPDX-License-Identifier: MIT
/// The module's top: what a host creates and sets.
#pragma once

#include "derivation/RsvpSnmpSubTunnelStatusSm.h"
#include "hoptable/HopTableHelper.h"
#include "mib/MplsSnmp.h"
#include "substrate/vel/Entity.h"

namespace MplsSnmp {

/// Holds the inputs of the derivation for its whole life and owns the derivation. Other inputs mean another agent.
class RsvpTeSnmpAgent : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId {
      attrMplsTeMib = 1,
      attrHopTableHelper,
      attrRsvpLerConfig,
      attrRsvpLerStatus,
      attrRsvpKelpStatus,
      attrMplsTunnelCounterTable,
      attrSmControl,
      attrSubTunnelStatusSm
   };
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   /// A new agent, its derivation built and active, notifications on.
   static Vel::Ptr<RsvpTeSnmpAgent> RsvpTeSnmpAgentIs(
         Vel::Ptr<MplsTeMib> const& mplsTeMib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
         Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
         Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
         Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
         Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable);
   ~RsvpTeSnmpAgent() override;

   Vel::Ptr<MplsTeMib> const& mplsTeMib() const { return mplsTeMib_; }
   Vel::Ptr<HopTableHelper> const& hopTableHelper() const { return hopTableHelper_; }
   Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig() const { return rsvpLerConfig_; }
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus() const { return rsvpLerStatus_; }
   Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus() const { return rsvpKelpStatus_; }
   Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable() const { return mplsTunnelCounterTable_; }

   /// What the next derivation is started with; one that exists is not touched.
   Flo::SmControl const& smControl() const { return smControl_; }
   void smControlIs(Flo::SmControl const& control) { smControl_ = control; }

   Vel::Ptr<RsvpSnmpSubTunnelStatusSm> const& subTunnelStatusSm() const { return subTunnelStatusSm_; }
   /// Keeps a derivation over the very same inputs, giving it the control value; else builds a new one.
   Vel::Ptr<RsvpSnmpSubTunnelStatusSm> subTunnelStatusSmIs(
         Vel::Ptr<MplsTeMib> const& mplsTeMib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
         Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
         Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
         Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
         Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable, Flo::SmControl const& floControl);
   /// Switches the derivation off and returns it; null when there was none.
   Vel::Ptr<RsvpSnmpSubTunnelStatusSm> subTunnelStatusSmDel();

   /// Builds the derivation from the agent's own inputs.
   void handleInitialized();

 private:
   RsvpTeSnmpAgent(Vel::Ptr<MplsTeMib> const& mplsTeMib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
                   Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
                   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
                   Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
                   Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable);

   Vel::Ptr<MplsTeMib> mplsTeMib_;
   Vel::Ptr<HopTableHelper> hopTableHelper_;
   Vel::Ptr<Rsvp::RsvpLerConfig const> rsvpLerConfig_;
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> rsvpLerStatus_;
   Vel::Ptr<Rsvp::RsvpKelpStatus const> rsvpKelpStatus_;
   Vel::Ptr<Tallies::CounterTable const> mplsTunnelCounterTable_;
   Flo::SmControl smControl_;
   Vel::Ptr<RsvpSnmpSubTunnelStatusSm> subTunnelStatusSm_;
};

inline constexpr auto rsvpTeSnmpAgentFactory = &RsvpTeSnmpAgent::RsvpTeSnmpAgentIs;

/// The root entity, through which a host runs the module: it sets the six inputs and all else follows.
class Root : public Vel::Entity {
 public:
   enum : Vel::AttributeId { attrName = 1, attrRsvpTeSnmpAgent };
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   /// A new root with notifications on.
   static Vel::Ptr<Root> RootIs(Vel::String name);
   ~Root() override;

   Vel::Ptr<RsvpTeSnmpAgent> const& rsvpTeSnmpAgent() const { return rsvpTeSnmpAgent_; }
   /// Keeps an agent over the very same six objects; else builds a new agent completely, puts it in place of the old
   /// one and notifies. Returns the agent in place.
   Vel::Ptr<RsvpTeSnmpAgent> rsvpTeSnmpAgentIs(Vel::Ptr<MplsTeMib> const& mplsTeMib,
                                               Vel::Ptr<HopTableHelper> const& hopTableHelper,
                                               Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
                                               Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
                                               Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
                                               Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable);
   /// Takes the agent out, notifies if there was one, and returns it.
   Vel::Ptr<RsvpTeSnmpAgent> rsvpTeSnmpAgentDel();

 private:
   explicit Root(Vel::String name) : Entity(std::move(name)) {}
   Vel::Ptr<RsvpTeSnmpAgent> rsvpTeSnmpAgent_;
};

inline constexpr auto rootFactory = &Root::RootIs;

/// The types of the type module "MplsSnmpAgent".
std::span<Vel::TypeInfo const* const> mplsSnmpAgentTypes();

}  // namespace MplsSnmp
