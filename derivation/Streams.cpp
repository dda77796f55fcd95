// SPDX-License-Identifier: MIT
// The streams: how each event finds its LSP request and its sp id, and the row tail that all of them share. The trace
// lines quote the dataflow's own statements.
#include <vector>

#include "derivation/Flatten.h"
#include "derivation/RsvpSnmpSubTunnelStatusSm.h"

namespace MplsSnmp {

namespace {

using Rsvp::RsvpLerLspGroupId;
using Rsvp::RsvpLerLspRequestConfigId;
using Rsvp::RsvpLerSubTunnelConfigId;
using Rsvp::RsvpLerTunnelSpecId;
using Rsvp::RsvpSpId;

void traceFilter(std::string_view condition) { traceDetail("filter( {} ) failed, terminating pipeline", condition); }

constexpr std::string_view boolText(bool value) { return value ? "True" : "False"; }

constexpr std::string_view kActiveLspFilter = "( ( *subTunnelStatus ).activeLsp == lspRequestConfigId )";

}  // namespace

// ---- initStream, spidReverseStream: the reverse index

bool RsvpSnmpSubTunnelStatusSm::eventToInitStream() {
   traceDetail("initStream = from( this.initialized ):");
   auto const map = rsvpLerStatus_->spIdMap();
   if (!map) {
      traceFilter("rsvpLerStatus.spIdMap");
      return true;
   }
   auto const& ids = map->spIdForLspRequestConfigId();
   traceDetail(" flatten( ( *rsvpLerStatus.spIdMap ).spIdForLspRequestConfigId ) flattening {} elements", ids.size());
   auto& machine = *builtinSmAttrNinitializedSm0_;
   for (auto it = ids.after(machine.bookmark()); it != ids.end(); ++it) {
      machine.bookmarkIs(it.bookmark());
      eventToSpidReverseStream(RsvpLerLspRequestConfigId(it->key), RsvpSpId(it->value), true);
      if (machine.shouldYield()) {
         traceDetail("init stream about to yield");
         return false;
      }
   }
   return true;
}

void RsvpSnmpSubTunnelStatusSm::eventToSpidReverseStream(RsvpLerLspRequestConfigId const& id, RsvpSpId const& spId,
                                                         bool isAdd) {
   traceDetail("spidReverseStream = merge( initStream, spidStream ): lspReqConfId={} spId={} isAdd={}", id, spId,
               boolText(isAdd));
   if (isAdd) {
      outputs_.putRequest(*localAttrStore_, spId, id);
   } else {
      outputs_.deleteRequest(*localAttrStore_, spId, id);
   }
}

// ---- spidStream, spidUpdateStream: the sp id of a request

void RsvpSnmpSubTunnelStatusSm::eventToSpidStream(RsvpLerLspRequestConfigId const& id,
                                                  Vel::Optional<RsvpSpId> const& spIdOpt) {
   traceDetail(fmt::runtime(kSpidStream.from), id, spIdOpt);
   flatten(kSpidStream, cacheAttr4_, id, spIdOpt, [&](RsvpSpId const& spId, bool isAdd) {
      if (isMarkedForDeletion()) return;
      eventToSpidReverseStream(id, spId, isAdd);
      eventToSpidUpdateStream(id, spId, isAdd);
   });
}

void RsvpSnmpSubTunnelStatusSm::eventToSpidUpdateStream(RsvpLerLspRequestConfigId const& id, RsvpSpId const& spId,
                                                        bool isAdd) {
   traceDetail("spidUpdateStream = spidStream => lrciFromStream={} spIdFromStream={} isAddFromStream={}", id, spId,
               boolText(isAdd));
   traceDetail("Verifying lspReqConfIdSet");
   if (isAmbiguous(spId)) {
      traceFilter(fmt::format("( ( !_lspReqConfIdSet{0} ) || ( len( ( *_lspReqConfIdSet{0} ).lrciSet ) < 2 ) )",
                              kSpidStream.ambiguityGate));
      return;
   }
   struct Work {
      RsvpLerLspRequestConfigId id;
      bool isAdd;
   };
   std::vector<Work> inputsToFlatten{{id, isAdd}};
   // The last of several requests inherits the sp id.
   if (auto const set = localAttrStore_->lspReqConfIdsForSpId()[spId]) {
      RsvpLerLspRequestConfigId const& remaining = set->lrciSet().begin()->key;
      if (remaining != id) inputsToFlatten.push_back({remaining, true});
   }
   traceDetail("num inputsToFlatten: {}", inputsToFlatten.size());
   traceDetail(" flatten( inputsToFlatten ) flattening {} elements", inputsToFlatten.size());
   for (Work const& work : inputsToFlatten) {
      traceCase(kSpidStream, work.isAdd);
      rowTail(kSpidStream, work.id, spId, work.isAdd, {});
   }
   unsettled_.add(spId);
   settleAll(kSpidStream);
}

// ---- stcStream: the configuration of a sub-tunnel

void RsvpSnmpSubTunnelStatusSm::eventToStcStream(RsvpLerTunnelSpecId const& tunnelSpecId,
                                                 RsvpLerSubTunnelConfigId const& subTunnelConfigId,
                                                 Vel::Optional<SubTunnelConfigPtr> const& subTunnelConfigOpt) {
   traceDetail(fmt::runtime(kStcStream.from), tunnelSpecId, subTunnelConfigId, subTunnelConfigOpt);
   flatten(kStcStream, cacheAttr1_, SubTunnelKey{tunnelSpecId, subTunnelConfigId}, subTunnelConfigOpt,
           [&](SubTunnelConfigPtr const& config, bool isAdd) {
              traceCase(kStcStream, isAdd);
              auto const status = inputs_.subTunnelStatus(subTunnelConfigId);
              if (!status || !status->activeLsp().isSet()) return traceFilter("activeLsp");
              RsvpLerLspRequestConfigId const request = status->activeLsp();
              // The configuration of this sub-tunnel says nothing about an LSP of another.
              if (request.subTunnelConfigId() != subTunnelConfigId) return traceFilter(kActiveLspFilter);
              if (auto const spId = spIdOf(request)) {
                 rowTail(kStcStream, request, *spId, isAdd, {.subTunnelConfig = config});
              }
           });
   settleAll(kStcStream);
}

// ---- lrsStream: the status of an LSP request

void RsvpSnmpSubTunnelStatusSm::eventToLrsStream(RsvpLerLspGroupId const& lspGroupId,
                                                 RsvpLerLspRequestConfigId const& id,
                                                 Vel::Optional<RequestStatusPtr> const& lspRequestStatusOpt) {
   traceDetail(fmt::runtime(kLrsStream.from), lspGroupId, id, lspRequestStatusOpt);
   flatten(kLrsStream, cacheAttr2_, RequestKey{lspGroupId, id}, lspRequestStatusOpt,
           [&](RequestStatusPtr const& status, bool isAdd) {
              traceCase(kLrsStream, isAdd);
              if (auto const spId = spIdOf(id)) {
                 rowTail(kLrsStream, id, *spId, isAdd, {.lspRequestStatus = status});
              }
           });
   settleAll(kLrsStream);
}

// ---- spsStream: the status of a signalled path

void RsvpSnmpSubTunnelStatusSm::eventToSpsStream(RsvpSpId const& spId, Vel::Optional<SpStatusPtr> const& spStatusOpt) {
   traceDetail(fmt::runtime(kSpsStream.from), spId, spStatusOpt);
   unsettled_.add(spId);
   flatten(kSpsStream, cacheAttr3_, spId, spStatusOpt, [&](SpStatusPtr const& status, bool isAdd) {
      traceCase(kSpsStream, isAdd);
      auto const set = localAttrStore_->lspReqConfIdsForSpId()[spId];
      if (!set) return;
      for (auto it = set->lrciSet().begin(); it != set->lrciSet().end(); ++it) {
         RsvpLerLspRequestConfigId const request = it->key;
         if (inputs_.spId(request) == Vel::Optional<RsvpSpId>(spId)) {
            rowTail(kSpsStream, request, spId, isAdd, {.spStatus = status});
         } else {
            traceFilter("( spId == spIdFromMap )");
         }
      }
   });
   settleAll(kSpsStream);
}

// ---- stsStream: the active LSP of a sub-tunnel

void RsvpSnmpSubTunnelStatusSm::eventToStsStream(RsvpLerTunnelSpecId const& tunnelSpecId,
                                                 RsvpLerSubTunnelConfigId const& subTunnelConfigId,
                                                 Vel::Optional<RsvpLerLspRequestConfigId> const& activeLspOpt) {
   traceDetail(fmt::runtime(kStsStream.from), tunnelSpecId, subTunnelConfigId, activeLspOpt);
   flatten(kStsStream, cacheAttr0_, SubTunnelKey{tunnelSpecId, subTunnelConfigId}, activeLspOpt,
           [&](RsvpLerLspRequestConfigId const& request, bool isAdd) {
              traceCase(kStsStream, isAdd);
              // A sub-tunnel that names the LSP of another as its own gets no row and takes none away.
              if (request.subTunnelConfigId() != subTunnelConfigId) return traceFilter(kActiveLspFilter);
              if (auto const spId = spIdOf(request)) {
                 rowTail(kStsStream, request, *spId, isAdd, {.activeLsp = true});
              }
           });
   settleAll(kStsStream);
}

// ---- What the streams share

Vel::Optional<RsvpSpId> RsvpSnmpSubTunnelStatusSm::spIdOf(RsvpLerLspRequestConfigId const& request) const {
   auto spId = inputs_.spId(request);
   if (!spId) traceFilter("spIdOp");
   return spId;
}

void RsvpSnmpSubTunnelStatusSm::rowTail(StreamTexts const& texts, RsvpLerLspRequestConfigId const& request,
                                        RsvpSpId const& spId, bool isAdd, StandIn const& standIn) {
   if (isMarkedForDeletion()) return;
   if (isAmbiguous(spId)) {
      traceFilter(fmt::format("( ( !_lspReqConfIdSet{0} ) || ( len( ( *_lspReqConfIdSet{0} ).lrciSet ) < 2 ) )",
                              texts.ambiguityGate));
      return;
   }
   unsettled_.add(spId);
   traceDetail("Creating MIB key from spId {}", spId);
   MplsTunnelTableKey const mibKey = mibKeyFor(spId);
   std::string_view failed;
   // What an event brings may have gone while it waited for its turn: an add looks again.
   auto const join = [&] { return joinInputs(inputs_, request, spId, isAdd ? StandIn() : standIn, isAdd, failed); };
   auto joined = join();
   if (!joined) return traceFilter(failed);
   if (!isAdd) return outputs_.deleteRow(mibKey);
   if (!isOf(request, spId) || !isHeardOf(request, spId, *joined)) return;
   // And once more behind the observers of a row that had to make way.
   if (outputs_.clear(mibKey, *joined) && (isMarkedForDeletion() || !(joined = entitlement(spId)))) {
      return;
   }
   if (outputs_.putRow(texts, mibKey, *joined)) {
      unsettled_.remove(spId);
   } else if (!outputs_.isIndexLeft()) {
      withoutIndex_.insertOrAssign(spId, Vel::Unit());
      unsettled_.remove(spId);
   }
}

/// Whether the request maps to the sp id, as published and in the reverse index.
bool RsvpSnmpSubTunnelStatusSm::isOf(RsvpLerLspRequestConfigId const& request, RsvpSpId const& spId) const {
   auto const set = localAttrStore_->lspReqConfIdsForSpId()[spId];
   return !retracted_ && set && set->lrciSet().contains(request) &&
          inputs_.spId(request) == Vel::Optional<RsvpSpId>(spId);
}

/// The rule: the joined inputs of the row that an sp id has a right to, as the inputs are now. REQUIRES: the sp id is
/// not ambiguous.
Vel::Optional<Join> RsvpSnmpSubTunnelStatusSm::entitlement(RsvpSpId const& spId) const {
   auto const set = localAttrStore_->lspReqConfIdsForSpId()[spId];
   if (!set || set->lrciSet().empty()) return Vel::None;
   RsvpLerLspRequestConfigId const request = set->lrciSet().begin()->key;
   if (!isOf(request, spId)) return Vel::None;
   std::string_view failed;
   auto const join = joinInputs(inputs_, request, spId, {}, true, failed);
   return join && isHeardOf(request, spId, *join) ? join : Vel::None;
}

/// Whether the streams have heard of all that a row would be made of. What is ahead of them comes with an event of its
/// own; a row over it could not be found again when it goes before that. During the initial scan there is no such
/// order: the reconciliation looks at every row that it has made.
bool RsvpSnmpSubTunnelStatusSm::isHeardOf(RsvpLerLspRequestConfigId const& request, RsvpSpId const& spId,
                                          Join const& join) const {
   if (!initialScanDone_) return true;
   auto const& subTunnel = request.subTunnelConfigId();
   SubTunnelKey const key{subTunnel.tunnelSpecId(), subTunnel};
   return cacheAttr0_[key] == request && cacheAttr1_[key] == join.subTunnelConfig &&
          cacheAttr2_[{request.lspGroupId, request}] == join.lspRequestStatus && cacheAttr3_[spId] == join.spStatus;
}

/// Makes the unit of an sp id what the rule says, whatever the pipelines have made of it: their look-ups end them where
/// another input has gone as well, and while an sp id is ambiguous they stop.
void RsvpSnmpSubTunnelStatusSm::settle(StreamTexts const& texts, RsvpSpId const& spId) {
   if (isMarkedForDeletion() || isAmbiguous(spId)) return;
   MplsTunnelTableKey const key = mibKeyFor(spId);
   auto join = entitlement(spId);
   if (auto const row = mib_->mplsTunnelTable()[key]) {
      if (join && outputs_.isRowOf(*row, *join)) return;
      // What the scan has not come to yet is left to the reconciliation.
      if (!join && outputs_.isOfEarlierLife(key)) return;
      outputs_.deleteRow(key);
      if (isMarkedForDeletion()) return;
      join = entitlement(spId);
   }
   if (!join) return;
   if (!outputs_.isIndexLeft()) {
      withoutIndex_.insertOrAssign(spId, Vel::Unit());
   } else {
      outputs_.putRow(texts, key, *join);
   }
}

/// Settles what the event has touched, and then those that wait for a hop index, as far as there are any.
void RsvpSnmpSubTunnelStatusSm::settleAll(StreamTexts const& texts) {
   while (auto const spId = unsettled_.take()) settle(texts, *spId);
   while (!withoutIndex_.empty() && outputs_.isIndexLeft() && !isMarkedForDeletion()) {
      RsvpSpId const spId = withoutIndex_.begin()->key;
      withoutIndex_.erase(spId);
      settle(texts, spId);
   }
}

}  // namespace MplsSnmp
