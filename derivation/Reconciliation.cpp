// SPDX-License-Identifier: MIT
// After the initial scan: what the outputs still hold from an earlier life, and the inputs do not support, goes.
#include "derivation/RsvpSnmpSubTunnelStatusSm.h"
#include "substrate/flo/Turn.h"

namespace MplsSnmp {

namespace {

/// What one step of a reconciliation walk did.
struct Step {
   std::size_t processed = 0;
   std::size_t deleted = 0;
};

}  // namespace

void RsvpSnmpSubTunnelStatusSm::createReconciliationTasks() {
   auto const create = [this](auto& output, void (RsvpSnmpSubTunnelStatusSm::*run)()) {
      output.reconciliationTask = Vel::makePtr<Orb::Task>(
            floControl_.scheduler(), floControl_.taskPriority,
            fmt::format("RsvpSnmpSubTunnelStatusSm-{}Task", output.name), [this, run](Orb::Task&) {
               Flo::Turn::take([machine = Vel::Ptr(this), run] {
                  if (machine->isMarkedForDeletion() || !machine->initialScanDone_) return;
                  (machine.get()->*run)();
               });
            });
   };
   create(outputs_.lspReqConfIdsForSpIdLrciSetOutput, &RsvpSnmpSubTunnelStatusSm::reconcileLspReqConfIds);
   create(outputs_.mibMplsTunnelTableOutput, &RsvpSnmpSubTunnelStatusSm::reconcileTunnelTable);
   create(outputs_.hopTableHelperPathSpecCollTableSmOutput, &RsvpSnmpSubTunnelStatusSm::reconcileHopEntries);
}

/// In its task, or inline when there is none.
template <class O>
void RsvpSnmpSubTunnelStatusSm::startReconciliation(O& output, void (RsvpSnmpSubTunnelStatusSm::*run)()) {
   if (output.reconciliationTask) {
      output.reconciliationTask->scheduleTask();
   } else {
      (this->*run)();
   }
}

void RsvpSnmpSubTunnelStatusSm::handleLspReqConfIdsForSpIdLrciSetOutputInputReady() {
   startReconciliation(outputs_.lspReqConfIdsForSpIdLrciSetOutput, &RsvpSnmpSubTunnelStatusSm::reconcileLspReqConfIds);
}
void RsvpSnmpSubTunnelStatusSm::handleMibMplsTunnelTableOutputInputReady() {
   startReconciliation(outputs_.mibMplsTunnelTableOutput, &RsvpSnmpSubTunnelStatusSm::reconcileTunnelTable);
}
void RsvpSnmpSubTunnelStatusSm::handleHopTableHelperPathSpecCollTableSmOutputInputReady() {
   startReconciliation(outputs_.hopTableHelperPathSpecCollTableSmOutput,
                       &RsvpSnmpSubTunnelStatusSm::reconcileHopEntries);
}

/// The walk that the three outputs share. `step(output)` goes one entry on from the output's bookmark, removes the
/// entry if nothing supports it, and returns None at the end.
template <class O, class StepOf>
void RsvpSnmpSubTunnelStatusSm::reconcile(O& output, StepOf&& step) {
   if (!output.reconciling) {
      traceDetail(" .. not reconciling.");
      return outputReady(output);
   }
   if (!output.useBookmark) {
      traceDetail("Input scans for {} complete", output.name);
      traceDetail("Reconciling {}: {:}", output.name, output.seen.size());
   }
   Step total;
   while (Vel::Optional<Step> const done = step()) {
      if (isMarkedForDeletion()) return;
      total.processed += done->processed;
      total.deleted += done->deleted;
      if (output.reconciliationTask && output.reconciliationTask->taskShouldYield()) {
         traceDetail("Yielding in reconciliation processing after processing {} items, including {} deletions .",
                     total.processed, total.deleted);
         output.useBookmark = true;
         output.reconciliationTask->taskWorkCountInc(total.processed);
         output.reconciliationTask->scheduleTask();
         return;
      }
   }
   traceDetail("Deletion scan for reconciliation is done, last task run processed {} items, deleting {} items.",
               total.processed, total.deleted);
   output.seen.clear();
   output.reconciling = false;
   output.useBookmark = false;
   output.bookmark = {};
   outputReady(output);
}

template <class O>
void RsvpSnmpSubTunnelStatusSm::outputReady(O& output) {
   output.reconciliationTask = nullptr;
   output.ready = true;
   bool const wasReady =
         std::exchange(outputState_->ready, outputs_.lspReqConfIdsForSpIdLrciSetOutput.ready &&
                                                  outputs_.mibMplsTunnelTableOutput.ready &&
                                                  outputs_.hopTableHelperPathSpecCollTableSmOutput.ready);
   if (outputState_->ready && !wasReady) visit(attrOutputState);
}

void RsvpSnmpSubTunnelStatusSm::reconcileLspReqConfIds() {
   auto& output = outputs_.lspReqConfIdsForSpIdLrciSetOutput;
   reconcile(output, [&]() -> Vel::Optional<Step> {
      auto const& sets = localAttrStore_->lspReqConfIdsForSpId();
      auto const position = sets.after(output.bookmark);
      if (position == sets.end()) return Vel::None;
      output.bookmark = position.bookmark();
      Rsvp::RsvpSpId const spId = position->key;
      Vel::Ptr<LspRequestConfigIdSet> const set = position->value;
      Step step;
      for (auto it = set->lrciSet().begin(); it != set->lrciSet().end(); ++it) {
         Rsvp::RsvpLerLspRequestConfigId const id = it->key;
         ++step.processed;
         // Also what was seen may have gone since, before the watcher of the sp id map came to it.
         bool const stands =
               output.seen.contains({spId, id}) && inputs_.spId(id) == Vel::Optional<Rsvp::RsvpSpId>(spId);
         if (stands) continue;
         localAttrStore_->requestDel(spId, id);
         eventToSpidUpdateStream(id, spId, false);
         ++step.deleted;
      }
      return step;
   });
}

void RsvpSnmpSubTunnelStatusSm::reconcileTunnelTable() {
   auto& output = outputs_.mibMplsTunnelTableOutput;
   reconcile(output, [&]() -> Vel::Optional<Step> {
      auto const& table = mib_->mplsTunnelTable();
      auto const position = output.bookmark ? table.findNext(*output.bookmark) : table.smallest();
      if (!position) return Vel::None;
      MplsTunnelTableKey const key = position->key();
      output.bookmark = key;
      if (outputs_.isOfEarlierLife(key)) {
         staleRowDel(position->value());
         settleAll(kSpidStream);
         return Step{1, 1};
      }
      // Written during the scan; but its inputs may have gone before their own watcher had come to them.
      settle(kSpidStream, spIdFor(key));
      settleAll(kSpidStream);
      return Step{1, std::size_t{!table.contains(key)}};
   });
}

/// The row of an earlier life. Its index goes with its hop entry; without one there is nothing to wait for.
void RsvpSnmpSubTunnelStatusSm::staleRowDel(Vel::Ptr<MplsTunnelTableEntry const> const& row) {
   std::uint32_t const hopIndex = row->hopTableIndex();
   if (outputs_.hasHopEntry(hopIndex)) {
      staleHopIndices_.insertOrAssign(hopIndex, Vel::Unit());
   } else {
      outputs_.hopListDel(hopIndex);
      mib_->releaseHopTableIndex(hopIndex);
   }
   outputs_.removeRow(row);
}

void RsvpSnmpSubTunnelStatusSm::staleHopEntryDel(std::uint32_t hopIndex) {
   // An entry for another MIB says nothing about the indices of this one.
   bool const indexGoes = staleHopIndices_.erase(hopIndex) || outputs_.hasHopEntry(hopIndex);
   hopTableHelper_->pathSpecCollTableSmDel(hopIndex);
   if (indexGoes) mib_->releaseHopTableIndex(hopIndex);
}

void RsvpSnmpSubTunnelStatusSm::reconcileHopEntries() {
   auto& output = outputs_.hopTableHelperPathSpecCollTableSmOutput;
   reconcile(output, [&]() -> Vel::Optional<Step> {
      auto const& entries = hopTableHelper_->pathSpecCollTableSm();
      auto const position = entries.after(output.bookmark);
      if (position == entries.end()) return Vel::None;
      output.bookmark = position.bookmark();
      std::uint32_t const hopIndex = position->key;
      if (output.seen.contains(HopTableHelperPathSpecCollTableSmOutputKeyType(hopIndex))) return Step{1, 0};
      staleHopEntryDel(hopIndex);
      settleAll(kSpidStream);
      return Step{1, 1};
   });
}

}  // namespace MplsSnmp
