// SPDX-License-Identifier: MIT
#pragma once

#include "derivation/InputMachines.h"
#include "derivation/Outputs.h"
#include "derivation/Unsettled.h"
#include "substrate/flo/SmControl.h"
#include "substrate/flo/Tuple.h"

namespace MplsSnmp {

/// Which of the initial scans are done.
struct InputSmScanState {
   bool idle = false;  ///< all of them
   bool initStreamScan = false;
   bool spidStreamScan = false;
   bool stcStreamScan = false;
   bool lrsStreamScan = false;
   bool spsStreamScan = false;
   bool stsStreamScan = false;
};

struct OutputState {
   bool ready = false;  ///< all outputs are reconciled
};

/// Turns the head end's RSVP-TE state into rows of mplsTunnelTable and entries of the HopTableHelper.
///
/// Six streams carry the changes of the inputs; each change runs through a pipeline of look-ups and filters that ends
/// in writes to three outputs. A row of an sp id S exists while the one LSP request that maps to S is the active LSP
/// of its sub-tunnel and all joined inputs exist. While two or more requests map to S, its row stays as it is.
///
/// The streams say that something about an sp id has changed. What its row, hop index, hop entry and hop rows are in
/// the end is decided by one rule on the inputs as they are then (`entitlement`), which has the last word about every
/// sp id that an event has touched. Events are handled in turns (Flo::Turn), so that none begins inside another.
class RsvpSnmpSubTunnelStatusSm : public Vel::PtrInterface {
 public:
   enum : Vel::AttributeId { attrInitialized = 1, attrInitialScanDone, attrOutputState, attrFloControl };
   static Vel::TypeInfo const& typeInfo();
   Vel::TypeInfo const& fwkType() const override { return typeInfo(); }

   /// A new machine, started and with notifications on. A null pointer argument is an assertion failure.
   static Vel::Ptr<RsvpSnmpSubTunnelStatusSm> RsvpSnmpSubTunnelStatusSmIs(
         Vel::Ptr<MplsTeMib> const& mib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
         Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
         Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
         Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
         Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable, Flo::SmControl const& floControl);
   ~RsvpSnmpSubTunnelStatusSm() override;

   Vel::Ptr<MplsTeMib> const& mib() const { return mib_; }
   Vel::Ptr<HopTableHelper> const& hopTableHelper() const { return hopTableHelper_; }
   Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig() const { return rsvpLerConfig_; }
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus() const { return rsvpLerStatus_; }
   Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus() const { return rsvpKelpStatus_; }
   Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable() const { return mplsTunnelCounterTable_; }
   Flo::SmControl const& floControl() const { return floControl_; }
   void floControlIs(Flo::SmControl const& control) { floControl_ = control; }

   bool initialized() const { return initialized_; }
   bool initialScanDone() const { return initialScanDone_; }
   InputSmScanState const* inputSmScanState() const { return inputSmScanState_.get(); }
   OutputState const* outputState() const { return outputState_.get(); }
   LocalAttrStore const& localAttrStore() const { return *localAttrStore_; }
   Outputs const& outputs() const { return outputs_; }

   /// True when no scan and no reconciliation is pending: the outputs follow from the inputs.
   bool idle() const;

   /// Switches the machine and all its watchers on or off. Off, it follows nothing and its rows stay, as those of a
   /// machine that has ended do. On, it scans its inputs and reconciles the outputs as a successor would, so that what
   /// has changed meanwhile is made good; rows that are still true stay.
   void hasNotificationActiveIs(bool active) override;

   /// Retracts every input, for good: no row, hop entry or reverse index entry of this machine is left once it is idle.
   /// Scans that are under way end; what an earlier life has left is still removed.
   void doDeleteAll();

   /// Ends the machine for good, its tasks, watchers and reactors with it, whoever still holds it: it writes nothing
   /// any more. Its rows stay, for a successor to take over.
   void retire();
   /// Whether it follows its inputs: it is on, and neither retired nor retracted.
   bool follows() const { return hasNotificationActive() && !isMarkedForDeletion() && !retracted_; }
   JoinInputs const& inputs() const { return inputs_; }

   // The streams. Called by the watchers and by each other.
   /// False when it yielded: it goes on behind the machine's bookmark when it is called again.
   bool eventToInitStream();
   void eventToSpidStream(Rsvp::RsvpLerLspRequestConfigId const& id, Vel::Optional<Rsvp::RsvpSpId> const& spIdOpt);
   void eventToSpidReverseStream(Rsvp::RsvpLerLspRequestConfigId const& id, Rsvp::RsvpSpId const& spId, bool isAdd);
   void eventToSpidUpdateStream(Rsvp::RsvpLerLspRequestConfigId const& id, Rsvp::RsvpSpId const& spId, bool isAdd);
   void eventToStcStream(Rsvp::RsvpLerTunnelSpecId const& tunnelSpecId,
                         Rsvp::RsvpLerSubTunnelConfigId const& subTunnelConfigId,
                         Vel::Optional<SubTunnelConfigPtr> const& subTunnelConfigOpt);
   void eventToLrsStream(Rsvp::RsvpLerLspGroupId const& lspGroupId, Rsvp::RsvpLerLspRequestConfigId const& id,
                         Vel::Optional<RequestStatusPtr> const& lspRequestStatusOpt);
   void eventToSpsStream(Rsvp::RsvpSpId const& spId, Vel::Optional<SpStatusPtr> const& spStatusOpt);
   void eventToStsStream(Rsvp::RsvpLerTunnelSpecId const& tunnelSpecId,
                         Rsvp::RsvpLerSubTunnelConfigId const& subTunnelConfigId,
                         Vel::Optional<Rsvp::RsvpLerLspRequestConfigId> const& activeLspOpt);

   /// A top machine's scan is done.
   void inputScanComplete(bool InputSmScanState::*scan);

 private:
   RsvpSnmpSubTunnelStatusSm(Vel::Ptr<MplsTeMib> const& mib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
                             Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
                             Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
                             Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
                             Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable,
                             Flo::SmControl const& floControl);

   void start();
   void stop();
   void forget();
   void handleInitialized();
   void handleInitialScanDone();
   void retract();
   template <class Call>
   void forEachInputMachine(Call&& call);

   // Streams.cpp
   void rowTail(StreamTexts const& texts, Rsvp::RsvpLerLspRequestConfigId const& request, Rsvp::RsvpSpId const& spId,
                bool isAdd, StandIn const& standIn);
   Vel::Optional<Rsvp::RsvpSpId> spIdOf(Rsvp::RsvpLerLspRequestConfigId const& request) const;
   bool isAmbiguous(Rsvp::RsvpSpId const& spId) const { return localAttrStore_->requestCount(spId) > 1; }
   bool isOf(Rsvp::RsvpLerLspRequestConfigId const& request, Rsvp::RsvpSpId const& spId) const;
   bool isHeardOf(Rsvp::RsvpLerLspRequestConfigId const& request, Rsvp::RsvpSpId const& spId, Join const& join) const;
   Vel::Optional<Join> entitlement(Rsvp::RsvpSpId const& spId) const;
   void settle(StreamTexts const& texts, Rsvp::RsvpSpId const& spId);
   void settleAll(StreamTexts const& texts);

   // Reconciliation.cpp
   void createReconciliationTasks();
   void handleLspReqConfIdsForSpIdLrciSetOutputInputReady();
   void handleMibMplsTunnelTableOutputInputReady();
   void handleHopTableHelperPathSpecCollTableSmOutputInputReady();
   void reconcileLspReqConfIds();
   void reconcileTunnelTable();
   void reconcileHopEntries();
   template <class O, class Step>
   void reconcile(O& output, Step&& step);
   template <class O>
   void startReconciliation(O& output, void (RsvpSnmpSubTunnelStatusSm::*run)());
   template <class O>
   void outputReady(O& output);
   void staleRowDel(Vel::Ptr<MplsTunnelTableEntry const> const& row);
   void staleHopEntryDel(std::uint32_t hopIndex);

   Vel::Ptr<MplsTeMib> mib_;
   Vel::Ptr<HopTableHelper> hopTableHelper_;
   Vel::Ptr<Rsvp::RsvpLerConfig const> rsvpLerConfig_;
   Vel::Ptr<Rsvp::RsvpLerHiveStatus const> rsvpLerStatus_;
   Vel::Ptr<Rsvp::RsvpKelpStatus const> rsvpKelpStatus_;
   Vel::Ptr<Tallies::CounterTable const> mplsTunnelCounterTable_;
   Flo::SmControl floControl_;

   JoinInputs inputs_;
   Outputs outputs_;
   Vel::Ptr<LocalAttrStore> localAttrStore_ = Vel::makePtr<LocalAttrStore>();
   std::unique_ptr<InputSmScanState> inputSmScanState_;
   std::unique_ptr<OutputState> outputState_;
   bool initialized_ = false;
   bool initialScanDone_ = false;
   bool retracted_ = false;
   Unsettled unsettled_;                              // sp ids that the event under way has touched
   Vel::HashSet2018<Rsvp::RsvpSpId> withoutIndex_;    // sp ids whose row has found no free hop index
   Vel::HashSet2018<std::uint32_t> staleHopIndices_;  // of stale rows that are gone; their hop entries are still there

   // The last value of every key, per stream.
   using SubTunnelKey = Flo::Tuple<Rsvp::RsvpLerTunnelSpecId, Rsvp::RsvpLerSubTunnelConfigId>;
   using RequestKey = Flo::Tuple<Rsvp::RsvpLerLspGroupId, Rsvp::RsvpLerLspRequestConfigId>;
   Vel::HashMap2018<SubTunnelKey, Rsvp::RsvpLerLspRequestConfigId> cacheAttr0_;    // stsStream
   Vel::HashMap2018<SubTunnelKey, SubTunnelConfigPtr> cacheAttr1_;                 // stcStream
   Vel::HashMap2018<RequestKey, RequestStatusPtr> cacheAttr2_;                     // lrsStream
   Vel::HashMap2018<Rsvp::RsvpSpId, SpStatusPtr> cacheAttr3_;                      // spsStream
   Vel::HashMap2018<Rsvp::RsvpLerLspRequestConfigId, Rsvp::RsvpSpId> cacheAttr4_;  // spidStream

   // The input machines, in order of their start.
   Vel::Ptr<FloCode::RsvpSnmpSubTunnelStatusSm::BuiltinSmAttrNinitializedSm0> builtinSmAttrNinitializedSm0_;
   Vel::Ptr<FloCode::RsvpSnmpSubTunnelStatusSm::SpIdMapSm13> spIdMapSm13_;
   Vel::Ptr<FloCode::RsvpSnmpSubTunnelStatusSm::SpStatusCollSm11> spStatusCollSm11_;
   Vel::Ptr<FloCode::RsvpSnmpSubTunnelStatusSm::SubTunnelConfigCollTableSm5> subTunnelConfigCollTableSm5_;
   Vel::Ptr<FloCode::RsvpSnmpSubTunnelStatusSm::LspRequestStatusCollTableSm8> lspRequestStatusCollTableSm8_;
   Vel::Ptr<FloCode::RsvpSnmpSubTunnelStatusSm::SubTunnelStatusCollTableSm1> subTunnelStatusCollTableSm1_;
};

/// The machine by its seven arguments.
inline constexpr auto rsvpSnmpSubTunnelStatusSmFactory = &RsvpSnmpSubTunnelStatusSm::RsvpSnmpSubTunnelStatusSmIs;

}  // namespace MplsSnmp
