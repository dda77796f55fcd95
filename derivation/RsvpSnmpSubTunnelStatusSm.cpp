// SPDX-License-Identifier: MIT
// Start, end and state of the derivation. The pipelines are in Streams.cpp, the reconciliation in Reconciliation.cpp.
#include "derivation/RsvpSnmpSubTunnelStatusSm.h"

#include <array>

#include "derivation/Types.h"
#include "substrate/flo/Turn.h"
#include "substrate/trel/Assert.h"
#include "substrate/vel/Generic.h"

namespace MplsSnmp {

namespace {

using Sm = RsvpSnmpSubTunnelStatusSm;

void assertArgument(bool present, std::string_view name) {
   if (!present) {
      Trel::fmassert(false,
                     fmt::format("{}() && \"Pointer SM args cannot be null unless they are marked Optional\"", name));
   }
}

/// The text that says which scan is still awaited, in the order in which they are looked at.
struct ScanText {
   bool InputSmScanState::*scan;
   std::string_view text;
};
constexpr std::array kScanTexts{ScanText{&InputSmScanState::stsStreamScan, " stsStream scan is false"},
                                ScanText{&InputSmScanState::stcStreamScan, " stcStream scan is false"},
                                ScanText{&InputSmScanState::initStreamScan, " initStream scan is false"},
                                ScanText{&InputSmScanState::lrsStreamScan, " lrsStream scan is false"},
                                ScanText{&InputSmScanState::spsStreamScan, " spsStream scan is false"},
                                ScanText{&InputSmScanState::spidStreamScan, " spidStream scan is false"}};

constexpr std::array kAttributes{
      Vel::AttributeInfo{
            .id = Sm::attrInitialized, .name = "initialized", .get = Vel::Generic::method<&Sm::initialized>},
      Vel::AttributeInfo{.id = Sm::attrInitialScanDone,
                         .name = "initialScanDone",
                         .get = Vel::Generic::method<&Sm::initialScanDone>},
      Vel::AttributeInfo{.id = Sm::attrFloControl,
                         .name = "floControl",
                         .get = Vel::Generic::method<&Sm::floControl>,
                         .set = Vel::Generic::method<&Sm::floControlIs>},
      Vel::AttributeInfo{.name = "idle", .invoke = Vel::Generic::method<&Sm::idle>},
      Vel::AttributeInfo{.name = "doDeleteAll", .invoke = Vel::Generic::method<&Sm::doDeleteAll>}};

}  // namespace

Trel::DebugHandler const& debugHandler() {
   static Trel::DebugHandler const& handler = Trel::Platform::getDebugHandler("RsvpSnmpSm");
   return handler;
}

Vel::TypeInfo const& RsvpSnmpSubTunnelStatusSm::typeInfo() {
   static constexpr Vel::TypeInfo type{
         .name = "MplsSnmp::RsvpSnmpSubTunnelStatusSm",
         .attributes = kAttributes,
         .construct = Vel::Generic::constructor<&RsvpSnmpSubTunnelStatusSm::RsvpSnmpSubTunnelStatusSmIs>};
   return type;
}

std::span<Vel::TypeInfo const* const> rsvpSnmpSubTunnelStatusSmTypes() {
   static std::array<Vel::TypeInfo const*, 1> const types{&RsvpSnmpSubTunnelStatusSm::typeInfo()};
   return types;
}

Vel::Ptr<RsvpSnmpSubTunnelStatusSm> RsvpSnmpSubTunnelStatusSm::RsvpSnmpSubTunnelStatusSmIs(
      Vel::Ptr<MplsTeMib> const& mib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
      Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
      Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
      Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
      Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable, Flo::SmControl const& floControl) {
   Vel::Ptr<RsvpSnmpSubTunnelStatusSm> const machine(new RsvpSnmpSubTunnelStatusSm(
         mib, hopTableHelper, rsvpLerConfig, rsvpLerStatus, rsvpKelpStatus, mplsTunnelCounterTable, floControl));
   machine->hasNotificationActiveIs(true);
   return machine;
}

RsvpSnmpSubTunnelStatusSm::RsvpSnmpSubTunnelStatusSm(
      Vel::Ptr<MplsTeMib> const& mib, Vel::Ptr<HopTableHelper> const& hopTableHelper,
      Vel::Ptr<Rsvp::RsvpLerConfig const> const& rsvpLerConfig,
      Vel::Ptr<Rsvp::RsvpLerHiveStatus const> const& rsvpLerStatus,
      Vel::Ptr<Rsvp::RsvpKelpStatus const> const& rsvpKelpStatus,
      Vel::Ptr<Tallies::CounterTable const> const& mplsTunnelCounterTable, Flo::SmControl const& floControl)
      : mib_(mib),
        hopTableHelper_(hopTableHelper),
        rsvpLerConfig_(rsvpLerConfig),
        rsvpLerStatus_(rsvpLerStatus),
        rsvpKelpStatus_(rsvpKelpStatus),
        mplsTunnelCounterTable_(mplsTunnelCounterTable),
        floControl_(floControl),
        inputs_{rsvpLerStatus, rsvpKelpStatus},
        outputs_(mib, hopTableHelper, rsvpLerConfig, rsvpLerStatus, mplsTunnelCounterTable) {}

RsvpSnmpSubTunnelStatusSm::~RsvpSnmpSubTunnelStatusSm() { retire(); }

void RsvpSnmpSubTunnelStatusSm::retire() {
   if (isMarkedForDeletion()) return;
   Vel::Ptr<RsvpSnmpSubTunnelStatusSm> const keep(this);
   markedForDeletionIs(true);
   PtrInterface::hasNotificationActiveIs(false);
   stop();
}

void RsvpSnmpSubTunnelStatusSm::stop() {
   forEachInputMachine([](auto& machine) { machine.velDoZombieReactors(true); });
   outputs_.forEach([](auto& output) { output.reconciliationTask = nullptr; });
   // A reconciliation that has removed a row goes as far as to remove its hop entry: nobody else knows of the index.
   while (!staleHopIndices_.empty()) staleHopEntryDel(staleHopIndices_.begin()->key);
}

template <class Call>
void RsvpSnmpSubTunnelStatusSm::forEachInputMachine(Call&& call) {
   auto const visit = [&](auto const& machine) {
      if (machine) call(*machine);
   };
   visit(builtinSmAttrNinitializedSm0_);
   visit(spIdMapSm13_);
   visit(spStatusCollSm11_);
   visit(subTunnelConfigCollTableSm5_);
   visit(lspRequestStatusCollTableSm8_);
   visit(subTunnelStatusCollTableSm1_);
}

void RsvpSnmpSubTunnelStatusSm::hasNotificationActiveIs(bool active) {
   if (active == hasNotificationActive() || isMarkedForDeletion()) return;
   Vel::Ptr<RsvpSnmpSubTunnelStatusSm> const keep(this);
   PtrInterface::hasNotificationActiveIs(active);
   if (!active) return stop();
   initialized_ = true;
   Flo::Turn::take([machine = keep] { machine->start(); });
}

void RsvpSnmpSubTunnelStatusSm::start() {
   bool const started = builtinSmAttrNinitializedSm0_ && !builtinSmAttrNinitializedSm0_->isMarkedForDeletion();
   if (started || !follows()) return;
   forget();
   handleInitialized();
   visit(attrInitialized);
}

/// What was scanned and written is of an earlier life.
void RsvpSnmpSubTunnelStatusSm::forget() {
   initialScanDone_ = false;
   inputSmScanState_ = std::make_unique<InputSmScanState>();
   outputState_ = std::make_unique<OutputState>();
   outputs_.forEach([](auto& output) { output.beginAnew(); });
   localAttrStore_ = Vel::makePtr<LocalAttrStore>();
   withoutIndex_.clear();
   cacheAttr0_.clear();
   cacheAttr1_.clear();
   cacheAttr2_.clear();
   cacheAttr3_.clear();
   cacheAttr4_.clear();
}

void RsvpSnmpSubTunnelStatusSm::handleInitialized() {
   using namespace FloCode::RsvpSnmpSubTunnelStatusSm;
   if (!floControl_.isSynchronous()) createReconciliationTasks();
   assertArgument(static_cast<bool>(mib()), "mib");
   assertArgument(static_cast<bool>(hopTableHelper()), "hopTableHelper");
   assertArgument(static_cast<bool>(rsvpLerConfig()), "rsvpLerConfig");
   assertArgument(static_cast<bool>(rsvpLerStatus()), "rsvpLerStatus");
   assertArgument(static_cast<bool>(mplsTunnelCounterTable()), "mplsTunnelCounterTable");
   assertArgument(static_cast<bool>(rsvpKelpStatus()), "rsvpKelpStatus");
   traceDetail("create local SMs");
   builtinSmAttrNinitializedSm0_ = Vel::makePtr<BuiltinSmAttrNinitializedSm0>(this);
   builtinSmAttrNinitializedSm0_->handleInitialized();
   traceDetail("create non-public arg SMs");
   auto const create = [this]<class Machine>(Vel::Ptr<Machine>& slot, auto const& input) {
      if (!follows()) return;
      slot = Vel::makePtr<Machine>(this, NoKey(), input);
      slot->handleInitialized();
   };
   create(spIdMapSm13_, rsvpLerStatus_);
   create(spStatusCollSm11_, rsvpKelpStatus_);
   create(subTunnelConfigCollTableSm5_, rsvpLerStatus_);
   create(lspRequestStatusCollTableSm8_, rsvpLerStatus_);
   create(subTunnelStatusCollTableSm1_, rsvpLerStatus_);
}

void RsvpSnmpSubTunnelStatusSm::inputScanComplete(bool InputSmScanState::*scan) {
   inputSmScanState_.get()->*scan = true;
   handleInitialScanDone();
}

void RsvpSnmpSubTunnelStatusSm::handleInitialScanDone() {
   if (initialScanDone_ || isMarkedForDeletion()) return;
   for (ScanText const& awaited : kScanTexts) {
      if (!(inputSmScanState_.get()->*awaited.scan)) {
         traceDetail("{}", awaited.text);
         return;
      }
   }
   traceDetail("Initial scan done for child SMs. Now scanning with events triggered.");
   traceDetail("Initial scan done for child SM RsvpSnmpSubTunnelStatusSm.");
   inputSmScanState_->idle = true;
   initialScanDone_ = true;
   Vel::Ptr<RsvpSnmpSubTunnelStatusSm> const keep(this);
   visit(attrInitialScanDone);
   if (!isMarkedForDeletion()) handleLspReqConfIdsForSpIdLrciSetOutputInputReady();
   if (!isMarkedForDeletion()) handleMibMplsTunnelTableOutputInputReady();
   if (!isMarkedForDeletion()) handleHopTableHelperPathSpecCollTableSmOutputInputReady();
}

bool RsvpSnmpSubTunnelStatusSm::idle() const {
   return outputState_ && outputState_->ready && (floControl_.isSynchronous() || inputSmScanState_->idle);
}

void RsvpSnmpSubTunnelStatusSm::doDeleteAll() {
   if (!initialized_) return;
   Flo::Turn::take([machine = Vel::Ptr(this)] {
      if (!machine->isMarkedForDeletion() && !machine->retracted_) machine->retract();
   });
}

void RsvpSnmpSubTunnelStatusSm::retract() {
   // From here on the rule gives no sp id a row, and what has waited for its turn finds nothing to follow.
   retracted_ = true;
   traceDetail("doDeleteAll RsvpSnmpSubTunnelStatusSm");
   // Switched off, it has nobody to report what goes: all that there is is of an earlier life.
   if (!hasNotificationActive()) forget();
   auto const deleteAll = [](auto const& machine) {
      if (machine) machine->doDeleteAll();
   };
   deleteAll(spIdMapSm13_);
   deleteAll(spStatusCollSm11_);
   deleteAll(subTunnelConfigCollTableSm5_);
   deleteAll(builtinSmAttrNinitializedSm0_);
   deleteAll(lspRequestStatusCollTableSm8_);
   deleteAll(subTunnelStatusCollTableSm1_);
   if (isMarkedForDeletion()) return;
   // What comes later must not build on inputs that have been taken back.
   forEachInputMachine([](auto& machine) { machine.velDoZombieReactors(true); });
   // What the init stream has fed into the reverse index before the watcher of the map came to it.
   auto const& sets = localAttrStore_->lspReqConfIdsForSpId();
   while (!sets.empty() && !isMarkedForDeletion()) {
      Rsvp::RsvpSpId const spId = sets.begin()->key;
      localAttrStore_->lspReqConfIdsForSpIdDel(spId);
      settle(kSpidStream, spId);
   }
   // The scans that have not come to their end do so now: they have found nothing.
   for (ScanText const& awaited : kScanTexts) inputSmScanState_.get()->*awaited.scan = true;
   handleInitialScanDone();
}

}  // namespace MplsSnmp
